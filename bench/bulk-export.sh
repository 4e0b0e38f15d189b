#!/usr/bin/env bash
# One `qnps export --csv` over COUNT documents against COUNT single `qnps export` calls, under Wine,
# each document in a file of its own: bench/bulk-export.sh [COUNT]   (1000 by default)
# Give it a build directory of its own (QNPS_BUILD_DIR) while tests run in the default one.
set -euo pipefail
source "$(dirname "$0")/../scripts/wine-host.sh" qnps QnPropStorage
count=${1:-1000}
qnps=$build/tools/qnps/qnps.exe
work=$build/bench-bulk
rm -rf "$work" && mkdir -p "$work/files" && cd "$work"
wine regsvr32 /s "Z:$build/QnPropStorage.dll"
wine "$qnps" import files/first.qnps Props "$root/tools/qnps/examples/table.json" >/dev/null
for i in $(seq -w 1 "$count"); do cp files/first.qnps "files/d$i.qnps"; done
rm files/first.qnps

now() { date +%s.%N; }
start=$(now)
for file in files/*.qnps; do wine "$qnps" export "$file" Props >/dev/null; done
single=$(awk -v a="$start" -v b="$(now)" 'BEGIN { print b - a }')
start=$(now)
wine "$qnps" export --csv files >sheet.csv
bulk=$(awk -v a="$start" -v b="$(now)" 'BEGIN { print b - a }')
rows=$(($(wc -l <sheet.csv) - 1))
awk -v n="$count" -v s="$single" -v b="$bulk" -v r="$rows" 'BEGIN {
    printf "%d single exports: %.1f s (%.1f ms each)\n", n, s, 1000 * s / n
    printf "one export --csv of %d documents (%d rows): %.2f s\n", n, r, b
    printf "ratio: %.1f times faster in one process\n", s / b }'
