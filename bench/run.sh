#!/usr/bin/env bash
# Builds the library and the benchmark and runs it under Wine: bench/run.sh [ROWS] [COLUMNS]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${QNPS_BUILD_DIR:-$root/build}
bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$build" >/dev/null
cmake --build "$build" --target QnPropStorage qnps_bench -j"$(nproc)" >/dev/null
export WINEPREFIX=$build/wineprefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LANG=C.UTF-8
bash "$root/tests/wine-session.sh" start "$WINEPREFIX"
trap 'bash "$root/tests/wine-session.sh" stop "$WINEPREFIX"' EXIT
cd "$build"
wine qnps_bench.exe "Z:$build/QnPropStorage.dll" "$@"
