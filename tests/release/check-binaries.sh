#!/usr/bin/env bash
# The shipped DLLs as files: machine type, exactly the four entry points, and imports of system DLLs
# only (the C++ runtime is linked in statically).
#   check-binaries.sh OBJDUMP DLL FORMAT [OBJDUMP DLL FORMAT]...
set -uo pipefail
system_dlls=" ADVAPI32.dll KERNEL32.dll msvcrt.dll ole32.dll OLEAUT32.dll USER32.dll "
entry_points="DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer"
status=0
fail() { echo "FAIL $dll: $*"; status=1; }

while [ $# -ge 3 ]; do
    objdump=$1 dll=$2 format=$3
    shift 3
    if ! dump=$("$objdump" -p "$dll"); then fail "unreadable"; continue; fi
    found=$(sed -n 's/.*file format //p' <<<"$dump" | head -n 1)
    [ "$found" = "$format" ] || fail "file format '$found', expected '$format'"
    exports=$(awk '/^\[Ordinal\/Name Pointer\] Table/ {t = 1; next}
                   t && /^\t\[/ {print $NF; next}
                   {t = 0}' <<<"$dump" | sort | xargs)
    [ "$exports" = "$entry_points" ] || fail "exports '$exports'"
    imports=$(sed -n 's/^\tDLL Name: //p' <<<"$dump" | xargs)
    [ -n "$imports" ] || fail "no imports found"
    for import in $imports; do
        [[ "$system_dlls" == *" $import "* ]] || fail "imports $import"
    done
    echo "$dll: $found; exports $exports; imports $imports"
done
exit $status
