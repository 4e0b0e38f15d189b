#!/usr/bin/env bash
# The shipped DLLs as files: machine type, and exactly the entry points and imports that the
# deployment guide names ("export exactly `A`, `B` ... import only system DLLs (A, B ...:").
#   check-binaries.sh DEPLOYMENT.md OBJDUMP DLL FORMAT [OBJDUMP DLL FORMAT]...
set -uo pipefail
guide=$(tr '\n' ' ' <"$1")
shift
entry_points=$(sed -n 's/.*export exactly \(.*\), import only.*/\1/p' <<<"$guide" | grep -o '`[A-Za-z]*`' | tr -d '`' | sort | xargs)
system_dlls=$(sed -n 's/.*import only system DLLs (\([^:)]*\)[:)].*/\1/p' <<<"$guide" | tr -d ',' | xargs -n 1 | sort -f | xargs)
status=0
[ -n "$entry_points" ] && [ -n "$system_dlls" ] || { echo "FAIL: the guide names no exports or imports"; exit 1; }
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
    imports=$(sed -n 's/^\tDLL Name: \(.*\)\.dll$/\1/Ip' <<<"$dump" | sort -f | xargs)
    [ "$imports" = "$system_dlls" ] || fail "imports '$imports', the guide says '$system_dlls'"
    echo "$dll: $found; exports $exports; imports $imports"
done
exit $status
