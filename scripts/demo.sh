#!/usr/bin/env bash
# Installs what is missing, builds and registers the library in a private Wine prefix, and runs the
# JScript sample client under the Windows Script Host.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${QNPS_BUILD_DIR:-$root/build}

bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$build" >/dev/null
# The sample asks the test helper server for its compound-file stream: script cannot make one.
cmake --build "$build" --target QnPropStorage qnps_script_streams -j"$(nproc)" >/dev/null

export WINEPREFIX=$build/wineprefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LANG=C.UTF-8
bash "$root/tests/wine-session.sh" start "$WINEPREFIX"
trap 'bash "$root/tests/wine-session.sh" stop "$WINEPREFIX"' EXIT
wine regsvr32 /s "$build/QnPropStorage.dll"
wine regsvr32 /s "$build/tests/script/helper/QnPropStorageTestStreams.dll"
cd "$build"
wine cscript //nologo "Z:$root/samples/demo.js" "Z:$build/demo.qnps"
