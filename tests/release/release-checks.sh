#!/usr/bin/env bash
# Release checks under Wine, in a prefix where nothing else is registered:
#   regfree CLIENT DLL ASSEMBLY-MANIFEST APPLICATION-MANIFEST
#   msi     MSI DLL CLIENT "INSTALLED-FILE..."
#   package ZIP CLIENT [FILE...]          (FILE: further files the package must hold)
# WINEPREFIX and the library's identities (QNPS_CLSID, QNPS_APPID, QNPS_LIBID, QNPS_INTERFACES, a
# file of "NAME IID" lines) come from the environment; so does QNPS_SAMPLE_OUTPUT, the lines the
# package's sample hosts print, which the package check builds and runs as samples/README says.
set -uo pipefail
action=$1
shift
drive_c=$WINEPREFIX/drive_c
status=0
fail() { echo "FAIL: $*"; status=1; }

# What the client prints when every way of creation works.
client_output="CLSID: Type 5, Application Release
QnPropStorage.CQnPropStorage.1: Type 5, Application Release
QnPropStorage.CQnPropStorage: Type 5, Application Release
type library: QnPropStorageLib"

run() { wine "$@" </dev/null 2>&1 | tr -d '\r'; }
expect_output() {  # WHAT EXPECTED ACTUAL
    [ "$2" = "$3" ] || fail "$1 printed:
$3
expected:
$2"
}

owned_keys() {
    echo "CLSID\\{$QNPS_CLSID}" QnPropStorage.CQnPropStorage.1 QnPropStorage.CQnPropStorage \
         "AppID\\{$QNPS_APPID}" 'AppID\QnPropStorage.dll' "TypeLib\\{$QNPS_LIBID}"
    while read -r _ iid; do echo "Interface\\{$iid}"; done <"$QNPS_INTERFACES"
}
# Every key the library owns, as reg export writes it (the 64-bit view of the machine's classes).
export_keys() {
    local file=$drive_c/keys.reg key
    for key in $(owned_keys); do
        if wine reg export "HKLM\\Software\\Classes\\$key" "C:\\keys.reg" /y >/dev/null 2>&1; then
            iconv -f UTF-16 -t UTF-8 "$file" | tr -d '\r' | tail -n +2
        else
            echo "missing: $key"
        fi
    done
    rm -f "$file"
}
# A sample host prints the expected lines, each ended with CR LF, and exits with 0.
#   expect_sample WHAT PROGRAM ARGUMENT...
expect_sample() {
    local what=$1 printed=$drive_c/printed.txt
    shift
    wine "$@" </dev/null >"$printed" 2>&1 || fail "$what: exit code $?"
    cmp -s <(sed 's/$/\r/' "$QNPS_SAMPLE_OUTPUT") "$printed" ||
        fail "$what printed other than the expected lines with CR LF:
$(diff <(cat "$QNPS_SAMPLE_OUTPUT") <(tr -d '\r' <"$printed"))"
}
expect_no_keys() {
    local key
    for key in $(owned_keys); do
        wine reg query "HKCR\\$key" >/dev/null 2>&1 && fail "$1: $key is left"
    done
}

case "$action" in
regfree)
    client=$1 dll=$2 assembly_manifest=$3 application_manifest=$4
    name=$(basename "$client")
    expect_no_keys "before"
    rm -rf "$drive_c/regfree" "$drive_c/bare"
    mkdir -p "$drive_c/regfree" "$drive_c/bare"
    cp "$client" "$dll" "$assembly_manifest" "$drive_c/regfree/"
    cp "$application_manifest" "$drive_c/regfree/$name.manifest"
    cp "$client" "$drive_c/bare/"
    expect_output "with the manifests" "$client_output" "$(run "C:\\regfree\\$name")"
    # Nothing is registered: without a manifest the class is unknown.
    expect_output "without a manifest" "CLSID: CoCreateInstance failed: 0x80040154" \
        "$(run "C:\\bare\\$name")"
    ;;
msi)
    msi=$1 dll=$2 client=$3 files=$4
    dir="$drive_c/Program Files/QnPropStorage"
    dll_path='C:\Program Files\QnPropStorage\QnPropStorage.dll'
    # The reference: what regsvr32 writes for the same DLL at the path the installer uses.
    mkdir -p "$dir" && cp "$dll" "$dir/"
    wine regsvr32 /s "$dll_path" || fail "regsvr32 exit code $?"
    reference=$(export_keys)
    grep '^missing:' <<<"$reference" && fail "regsvr32 did not write every key"
    wine regsvr32 /u /s "$dll_path" || fail "regsvr32 /u exit code $?"
    rm -rf "$dir"
    expect_no_keys "after regsvr32 /u"

    wine msiexec /i "Z:$msi" /qn </dev/null || fail "msiexec /i exit code $?"
    for file in $files; do [ -f "$dir/$file" ] || fail "not installed: $file"; done
    # The one difference allowed: the installer's directory property ends with a backslash.
    installed=$(export_keys | sed 's/^@="C:\\\\Program Files\\\\QnPropStorage\\\\"$/@="C:\\\\Program Files\\\\QnPropStorage"/')
    diff <(echo "$reference") <(echo "$installed") || fail "installer keys differ from regsvr32's (< regsvr32, > installer)"
    expect_output "the installed client" "$client_output" "$(run "Z:$client")"

    wine msiexec /x "Z:$msi" /qn </dev/null || fail "msiexec /x exit code $?"
    expect_no_keys "after msiexec /x"
    [ ! -e "$dir" ] || fail "left behind: $(ls -A "$dir")"
    ;;
package)
    zip=$1 client=$2
    shift 2
    root=$drive_c/QnPropStorage
    samples='C:\QnPropStorage\samples'
    rm -rf "$root" && mkdir -p "$root"
    (cd "$root" && cmake -E tar xf "$zip") || fail "cannot unpack $zip"
    for file in x64/QnPropStorage.dll x64/QnPropStorage.tlb x64/QnPropStorage.sxs.manifest \
                x86/QnPropStorage.dll x86/QnPropStorage.tlb x86/QnPropStorage.sxs.manifest \
                include/QnPropStorage.h include/QnPropStorage_i.c include/QnPropStorage.idl \
                samples/client.exe.manifest samples/QnPropStorageSample.exe samples/QnPropStorageSampleStreams.dll \
                samples/README.md samples/CMakeLists.txt docs/deployment.md README.md "$@"; do
        [ -f "$root/$file" ] || fail "not in the package: $file"
    done
    ls "$root"/QnPropStorage-*-x64.msi >/dev/null 2>&1 || fail "no installer in the package"
    # Before the library is registered, the samples say why they cannot start.
    output=$(wine "$samples\\QnPropStorageSample.exe" 'C:\QnPropStorage\cpp.qnps' </dev/null 2>&1 >/dev/null | tr -d '\r')
    expect_output "the C++ sample unregistered" "error: CoCreateInstance of QnPropStorage.CQnPropStorage failed: \
0x80040154 REGDB_E_CLASSNOTREG (is QnPropStorage.dll registered?), exit code 1" "$output, exit code $?"
    output=$(run cscript //nologo "$samples\\host.vbs" 'C:\QnPropStorage\vbs.qnps')
    expect_output "host.vbs unregistered" "host.vbs: QnPropStorage.CQnPropStorage cannot be created: \
register QnPropStorage.dll (samples/README) (0x1AD), exit code 1" "$output, exit code $?"
    wine regsvr32 /s 'C:\QnPropStorage\x64\QnPropStorage.dll' || fail "regsvr32 exit code $?"
    server=$(wine reg query "HKCR\\CLSID\\{$QNPS_CLSID}\\InprocServer32" /ve 2>/dev/null | tr -d '\r')
    [[ "$server" == *'REG_SZ    C:\QnPropStorage\x64\QnPropStorage.dll'* ]] ||
        fail "the class is not served from the package: $server"
    expect_output "the client" "$client_output" "$(run "Z:$client")"

    # The samples as samples/README runs them; the scripts need the sample helper registered.
    expect_sample "the packaged C++ sample" "$samples\QnPropStorageSample.exe" 'C:\QnPropStorage\cpp.qnps'
    output=$(run cscript //nologo "$samples\host.js" 'C:\QnPropStorage\js.qnps')
    expect_output "host.js without the helper" "host.js: QnPropStorageSample.Streams cannot be created: \
register samples\QnPropStorageSampleStreams.dll (samples/README) (0x800401F3), exit code 1" "$output, exit code $?"
    wine regsvr32 /s "$samples\QnPropStorageSampleStreams.dll" || fail "regsvr32 of the sample helper: exit code $?"
    for script in host.js host.vbs; do
        expect_sample "$script" cscript //nologo "$samples\\$script" "C:\\QnPropStorage\\$script.qnps"
    done
    wine regsvr32 /u /s "$samples\QnPropStorageSampleStreams.dll" || fail "regsvr32 /u of the sample helper: exit code $?"
    wine reg query 'HKCR\QnPropStorageSample.Streams' >/dev/null 2>&1 && fail "the sample helper's ProgID is left"
    # samples/CMakeLists.txt on its own, against the package's include/, with README's command.
    built=$root/build-samples
    (cd "$root" && cmake -S samples -B build-samples -DCMAKE_SYSTEM_NAME=Windows \
        -DCMAKE_C_COMPILER=x86_64-w64-mingw32-gcc-posix -DCMAKE_CXX_COMPILER=x86_64-w64-mingw32-g++-posix &&
        cmake --build build-samples) >"$root/build-samples.log" 2>&1 ||
        fail "the samples do not build from the package: $(tail -n 20 "$root/build-samples.log")"
    [ -f "$built/QnPropStorageSampleStreams.dll" ] || fail "the sample helper was not built from the package"
    expect_sample "the C++ sample built from the package" "$built/QnPropStorageSample.exe" 'C:\QnPropStorage\built.qnps'
    wine regsvr32 /u /s 'C:\QnPropStorage\x64\QnPropStorage.dll' || fail "regsvr32 /u exit code $?"
    expect_no_keys "after regsvr32 /u"
    if [ -f "$root/x64/qnps.exe" ]; then
        # Nothing is registered now: the tool runs on the library beside it.
        printf '%s' '{"application":"Drafting","columns":[{"name":"Layout"}],"rows":[{"id":"R1","values":{"Layout":"Plan"}}]}' \
            >"$root/table.json"
        wine 'C:\QnPropStorage\x64\qnps.exe' import 'C:\QnPropStorage\tool.qnps' Props 'C:\QnPropStorage\table.json' \
            </dev/null >/dev/null 2>&1 || fail "qnps import from the package: exit code $?"
        output=$(run 'C:\QnPropStorage\x64\qnps.exe' export 'C:\QnPropStorage\tool.qnps' Props --csv)
        [[ "$output" == *R1*Plan* ]] || fail "qnps export from the package printed: $output"
        expect_no_keys "after the tool ran unregistered"
    fi
    ;;
*)
    echo "usage: $0 regfree|msi|package ..." >&2
    exit 2
    ;;
esac
[ $status -eq 0 ] && echo "$action: all checks passed"
exit $status
