#!/usr/bin/env bash
# Installs what is missing, builds both architectures and the installer, and writes the release
# package dist/QnPropStorage-VERSION.zip.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${QNPS_BUILD_DIR:-$root/build}
export QNPS_X86_BUILD_DIR=${QNPS_X86_BUILD_DIR:-$root/build-x86}

bash "$root/scripts/install-deps.sh"
bash "$root/scripts/build-x86.sh"
cmake -S "$root" -B "$build" -DQNPS_X86_BUILD_DIR="$QNPS_X86_BUILD_DIR" >/dev/null
cmake --build "$build" --target qnps_package -j"$(nproc)" >/dev/null
ls "$root"/dist/QnPropStorage-*.zip
