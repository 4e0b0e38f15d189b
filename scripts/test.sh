#!/usr/bin/env bash
# Installs what is missing, builds the library and its tests, and runs every test under Wine.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${QNPS_BUILD_DIR:-$root/build}

bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$build" -DQNPS_BUILD_TESTS=ON >/dev/null
cmake --build "$build" -j"$(nproc)"
cd "$build"
ctest --output-on-failure
