#!/usr/bin/env bash
# Builds the library and the benchmark and runs it under Wine: bench/run.sh [ROWS] [COLUMNS]
# Give it a build directory of its own (QNPS_BUILD_DIR) while tests run in the default one: two
# runs that share a Wine prefix stop each other's session.
set -euo pipefail
source "$(dirname "$0")/../scripts/wine-host.sh" QnPropStorage qnps_bench

cd "$build"
wine qnps_bench.exe "Z:$build/QnPropStorage.dll" "$@"
