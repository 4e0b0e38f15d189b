#!/usr/bin/env bash
# Builds the 32-bit DLL, its type library and assembly manifest from the same sources, in its own
# build directory (QNPS_X86_BUILD_DIR, default build-x86). QNPS_X86_TESTS=ON builds its tests too.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${QNPS_X86_BUILD_DIR:-$root/build-x86}

cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-i686.cmake" \
      -DQNPS_BUILD_TESTS="${QNPS_X86_TESTS:-OFF}" >/dev/null
cmake --build "$build" -j"$(nproc)" >/dev/null
