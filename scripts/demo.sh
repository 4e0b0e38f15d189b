#!/usr/bin/env bash
# The main job, on product parts only: installs what is missing, builds the library, the qnps tool
# and the C++ sample, registers the library in a private Wine prefix, then creates a compound file,
# imports a table into it, shows it, merges a change, exports the result as JSON, and runs the C++
# sample host.
set -euo pipefail
source "$(dirname "$0")/wine-host.sh" QnPropStorage qnps qnps_sample_cpp

wine regsvr32 /s "$build/QnPropStorage.dll"
qnps="$build/tools/qnps/qnps.exe"
examples="$root/tools/qnps/examples"
cd "$build"
rm -f demo.qnps sample.qnps
set -x
wine "$qnps" import demo.qnps Drawings/Properties "$examples/table.json"
wine "$qnps" show demo.qnps Drawings/Properties
wine "$qnps" import demo.qnps Drawings/Properties "$examples/change.json"
wine "$qnps" export demo.qnps Drawings/Properties
wine "$qnps" streams demo.qnps
wine "$build/samples/QnPropStorageSample.exe" sample.qnps
