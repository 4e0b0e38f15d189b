#!/usr/bin/env bash
# Installs what is missing, builds and registers the library in a private Wine prefix, and runs the
# JScript sample under the Windows Script Host. The test helper server plays the host that hands the
# script its compound-file stream: script cannot make one.
set -euo pipefail
source "$(dirname "$0")/wine-host.sh" QnPropStorage qnps_script_streams

wine regsvr32 /s "$build/QnPropStorage.dll"
wine regsvr32 /s "$build/tests/script/helper/QnPropStorageTestStreams.dll"
cd "$build"
wine cscript //nologo "Z:$root/samples/host.js" "Z:$build/demo.qnps"
