#!/usr/bin/env bash
# Runs qnps.exe under Wine on compound files it makes, as a user would.
#   qnps_tests.sh QNPS_EXE WORK_DIR                           the commands, their output and faults
#   qnps_tests.sh --unregistered QNPS_EXE DLL CLSID WORK_DIR  the tool beside the DLL, class unregistered
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
failures=0

fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
# Sets $out, $err and $rc.
run() {
    out=$(wine "$qnps" "$@" 2>"$work/stderr"); rc=$?
    err=$(cat "$work/stderr")
}
expect() {  # NAME EXPECTED ACTUAL
    [ "$2" == "$3" ] || fail "$1: expected <<$2>> got <<$3>>"
}
fresh_dir() { rm -rf "$1" && mkdir -p "$1" && cd "$1"; }
finish() {
    [ "$failures" -eq 0 ] && echo "qnps: all checks passed" && exit 0
    echo "qnps: $failures failed"; exit 1
}

if [ "${1:-}" == "--unregistered" ]; then
    qnps=$5/alone/qnps.exe dll=$3 clsid=$4 work=$5
    fresh_dir "$work/alone"
    cp "$2" "$dll" .
    trap 'wine regsvr32 /s "$dll"' EXIT
    wine regsvr32 /s /u "$dll" || fail "unregistering"
    wine reg query "HKCR\\CLSID\\{$clsid}" >/dev/null 2>&1 && fail "the class is still registered"
    run import t.qnps Props "$here/table.json" --skip-direction; expect "import, unregistered" 0 "$rc"
    run export t.qnps Props
    expect "export, unregistered" "$(sed 's/"Scale": "[^"]*"/"Scale": "0"/' "$here/table.json")" "$out"
    finish
fi

qnps=$1 work=$2
fresh_dir "$work"
json=$here/table.json
docs=$here/../../docs/qnps.md

# The usage is the first block of docs/qnps.md; the version is the one the build gave the tool.
run help
expect "help" "0|$(awk '/^```$/ {n++; next} n == 1' "$docs")" "$rc|$out"
run help import; import_help=$out
run import --help; expect "import --help" "0|$import_help" "$rc|$out"
run --version; expect "--version" "0|qnps $QNPS_VERSION" "$rc|$out"
grep -qF "\`$out\`" "$docs" || fail "docs/qnps.md does not show the version as printed: $out"
while IFS='|' read -r code pattern args; do
    # shellcheck disable=SC2086
    run $args
    [[ "$rc|$out$err" =~ ^$code\|$pattern ]] || fail "qnps $args: <<$rc|$out$err>> does not match <<$code|$pattern>>"
done <<'CASES'
0|usage: qnps import FILE STREAM TABLE.json \[OPTION...\].*--skip-direction|help import
0|usage: qnps show FILE STREAM.Shows|show new.qnps --help
2|qnps: no command "bogus" to explain.usage: qnps COMMAND|help bogus
CASES

# Import into a new file at a nested path, then the same table back in every form. Stage is a
# toDocument column: its values are written with --skip-direction only.
run import new.qnps Drawings/Sheet1/Props "$json" --skip-direction
expect "import" "0|new.qnps: Drawings/Sheet1/Props: wrote 6 columns and 5 rows" "$rc|$out"
[[ "$err" == *'"Scale" is a double column'*'reads back as 0'* ]] || fail "import warns of the double column: $err"
run import new.qnps Drawings/Other "$json"
# From here on new.qnps is only read, or written to by imports that must fail.
before=$(sha256sum new.qnps)
# A Double column's values are written as decimal text under "DOUBLE", which reads back as 0.
expected_json=$(sed 's/"Scale": "[^"]*"/"Scale": "0"/' "$json")
run export new.qnps Drawings/Sheet1/Props; expect "export" "$expected_json" "$out"
printf '%s\n' "$out" >exported.json
run import copy.qnps Props exported.json --skip-direction; expect "import of the export" 0 "$rc"
run export copy.qnps Props; expect "export, import, export" "$expected_json" "$out"

run export new.qnps Drawings/Sheet1/Props --csv
expect "csv" "$(printf '%s\r\n' 'RowID,Title,Sheets,Issued,Scale,Final,Stage' \
    'R1,Ground floor «ü» 日本,3,2024-03-05T14:30:00.25,0,true,' \
    'R2,"Roof, ""east""",-2147483648,1899-12-29T06:00:00,,false,' \
    'R3,,,-0.5,0,,draft' 'R4,,,2023-11-24T06:15:42.123456,,,' \
    'R5,,,1899-12-30T22:35:45.96849431216,,,')" "$out"

run show new.qnps Drawings/Sheet1/Props
expect "show" 'Application: Drafting

Column  Display name   Type    Direction     Hidden  Order
Title   Drawing title  string  fromDocument  no      0
Sheets  Sheets         int     any           yes     1
Issued  Issued on      date    any           no      -1
Scale   Scale          double  any           no      2
Final   Final          bool    any           no      -1
Stage   Stage          string  toDocument    no      -1

RowID  Title                Sheets       Issued                           Scale  Final  Stage
R1     Ground floor «ü» 日本  3            2024-03-05T14:30:00.25           0      true
R2     Roof, "east"         -2147483648  1899-12-29T06:00:00                     false
R3                                       -0.5                             0             draft
R4                                       2023-11-24T06:15:42.123456
R5                                       1899-12-30T22:35:45.96849431216' "$out"

run streams new.qnps
expect "streams" 'storage  Drawings
stream   Drawings/Other  (N bytes)
storage  Drawings/Sheet1
stream   Drawings/Sheet1/Props  (N bytes)' "$(sed 's/([0-9]* bytes)/(N bytes)/' <<<"$out")"

# Merging: R1 gives new values, R2 clears its title; the rest is carried over from the stream,
# and Stage (ToDocument) only with --skip-direction. Each case starts from the same base.
cat >change.json <<'JSON'
{"columns": [{"name": "Title"}, {"name": "Sheets", "type": "int"}, {"name": "Stage", "direction": "toDocument"}],
 "rows": [{"id": "R1", "values": {"Sheets": 5, "Stage": "new"}}, {"id": "R2", "values": {"Title": null}}]}
JSON
printf '%s\n' '{"columns": [{"name": "Title"}, {"name": "Sheets", "type": "int"}, {"name": "Stage"}],' \
    ' "rows": [{"id": "R1", "values": {"Title": "A", "Sheets": 1, "Stage": "s1"}},' \
    '          {"id": "R2", "values": {"Title": "B", "Sheets": 2, "Stage": "s2"}}]}' >base.json
wine "$qnps" import base.qnps P base.json >/dev/null || fail "base import"
while IFS='|' read -r flags warns expected; do
    cp base.qnps merge.qnps
    run import merge.qnps P change.json $flags; expect "import $flags" 0 "$rc"
    expect "import $flags warns of the toDocument values it leaves out" "$warns" \
        "$([[ "$err" == *'warning: "Stage" is a toDocument column: its values are written only with --skip-direction'* ]] && echo yes || echo no)"
    [ "$warns" == no ] || grep -qF -- "$err" "$docs" || fail "docs/qnps.md does not quote the warning: $err"
    run export merge.qnps P --csv; expect "merge $flags" "RowID,Title,Sheets,Stage $expected" "$(tr -d '\r' <<<"$out" | tr '\n' ' ' | sed 's/ $//')"
done <<'CASES'
|yes|R1,A,5,s1 R2,,2,s2
--skip-direction|no|R1,A,5,new R2,,2,s2
--overwrite|yes|R1,,5, R2,,,
--overwrite --skip-direction|no|R1,,5,new R2,,,
CASES
# The demo's example files, as the README describes them: the change sets R1's sheets and R2's title
# and sheets, and carries the other values over.
examples=$here/../../tools/qnps/examples
wine "$qnps" import demo.qnps P "$examples/table.json" >/dev/null && wine "$qnps" import demo.qnps P "$examples/change.json" \
    >/dev/null || fail "the demo's imports"
run export demo.qnps P --csv
expect "the demo's merge" "RowID,Title,Sheets,Layout R1,Ground floor,4,Plan R2,Roof and terrace,1,Section" \
    "$(tr -d '\r' <<<"$out" | tr '\n' ' ' | sed 's/ $//')"

# Faults: exit code and message; no file changes. Fixtures of each kind first.
echo 'plain text' >plain.txt
cp new.qnps foreign.qnps
sed -i 's/PropertyStorage/ForeignDocument/g' foreign.qnps  # same length: the file stays whole
cp new.qnps readonly.qnps && chmod a-w readonly.qnps
echo '{"columns": [ }' >bad.json
echo '{"columns": [{"name": "A", "type": "float"}]}' >badtype.json
echo '{"columns": [{"name": "A", "type": "int"}], "rows": [{"id": "R1", "values": {"A": "7"}}]}' >badvalue.json
# What a document cannot carry: a name the tool refuses before writing, characters the library does.
echo '{"columns": [{"name": "Title"}, {"name": "Drawing No."}]}' >badname.json
printf '%s\n' '{"columns": [{"name": "Title"}], "rows": [{"id": "R1", "values": {"Title": "line\u000bbreak"}}]}' >vt.json
printf '%s\n' '{"columns": [{"name": "Title"}], "rows": [{"id": "R2", "values": {"Title": "a\u0000b"}}]}' >zero.json
echo '{"columns": [{"name": "A", "type": "double"}], "rows": [{"id": "R1", "values": {"A": 1e400}}]}' >big.json
echo '{"columns": [{"name": "A"}], "rows": [{"id": "R1", "values": {"A": "1", "A": "2"}}]}' >twice.json
mkdir -p folder.json
echo '{"application": "Drafting", "columns": [{"name": "A"}]}' >small.json
checksums=$(sha256sum ./*.qnps)
P=Drawings/Sheet1/Props
long=NameLongerThanTheThirtyOneCharactersAllowed
while IFS='|' read -r code message args; do
    # shellcheck disable=SC2086
    run $args
    expect "qnps $args" "$code" "$rc"
    [[ "$err" =~ $message ]] || fail "qnps $args: message <<$err>> lacks <<$message>>"
done <<CASES
1|^qnps: missing.qnps: not found \(0x80030002\)$|show missing.qnps $P
1|^qnps: new.qnps: Nope: no such stream \(0x80030002\)$|export new.qnps Nope
1|^qnps: new.qnps: Drawings: a storage, not a stream \(0x80030002\)$|show new.qnps Drawings
1|^qnps: \.: a folder, not a compound file$|streams .
1|^qnps: \.: a folder, not a compound file$|import . P small.json
1|^qnps: nowhere/made.qnps: the folder does not exist \(0x80070003\)$|import nowhere/made.qnps P small.json
1|^qnps: folder.json: a folder, not a JSON file$|import made.qnps P folder.json
1|no storage "Nope" \(0x80030002\)$|check new.qnps Drawings/Nope/Props
1|^qnps: plain.txt: not a compound file \(0x80030050\)$|streams plain.txt
1|^qnps: foreign.qnps: $P: not a property document \(0x80048003\)$|show foreign.qnps $P
1|^qnps: foreign.qnps: $P: not a property document \(0x80048003\)$|check foreign.qnps $P
1|not a property document \(0x80048003\)$|import foreign.qnps $P small.json --overwrite
1|belongs to "Drafting", not "Other" .*\(0x80048005\)$|import new.qnps $P small.json --application Other
1|^qnps: new.qnps: Drawings: a storage, not a stream \(0x80030050\)$|import new.qnps Drawings small.json
1|^qnps: made.qnps: $long: "$long" has 43 characters; a compound file allows 31 in a name \(0x800300FC\)$|import made.qnps $long small.json
1|^qnps: new.qnps: Drawings/$long/P: "$long" has 43|import new.qnps Drawings/$long/P small.json
1|^qnps: new.qnps: $long: "$long" has 43|show new.qnps $long
1|^qnps: readonly.qnps: the file is read-only \(0x80030005\)$|import readonly.qnps $P small.json
1|^qnps: bad.json: bad JSON: parse error at line 1, column 15|import made.qnps P bad.json
1|^qnps: badtype.json: columns\[0\]: "type" must be one of string, int, double, date, bool$|import made.qnps P badtype.json
1|^qnps: badvalue.json: rows\[0\]: "A": an int value must be a 32-bit integer$|import made.qnps P badvalue.json
1|^qnps: big.json: bad JSON: number out of range at line 1, column 90: 1e400$|import made.qnps P big.json
1|^qnps: twice.json: rows\[0\]: values: the key "A" appears twice$|import made.qnps P twice.json
1|^qnps: missing.json: |import made.qnps P missing.json
1|^qnps: badname.json: the column "Drawing No." cannot be written: a column's name must be an XML name|import new.qnps $P badname.json
1|^qnps: new.qnps: $P: Row R1, column Title: the value holds U\+000B at position 5, which a property document cannot carry; the stream was not changed. \(0x80048002\)$|import new.qnps $P vt.json
1|Row R2, column Title: the value holds U\+0000 at position 2|import new.qnps $P zero.json
2|^qnps: show takes 2 operands|show new.qnps
2|^qnps: unknown option --bogus for export|export new.qnps $P --bogus
0|^$|export readonly.qnps $P --csv
0|^$|check new.qnps $P
CASES
# Messages docs/qnps.md quotes, as the tool prints them.
for args in "import made.qnps P twice.json" "import made.qnps P big.json" "show new.qnps Drawings"; do
    # shellcheck disable=SC2086
    run $args; grep -qF -- "${err#qnps: }" "$docs" || fail "docs/qnps.md does not quote: $err"
done
run check new.qnps $P
expect "check's report" "new.qnps: $P: a property table of \"Drafting\" with 6 columns and 5 rows" "$out"
expect "files after the faults" "$checksums" "$(sha256sum ./*.qnps)"
# A failed import takes back the file, or the storage, it made.
[ -e made.qnps ] && fail "a failed import left made.qnps behind"
expect "show, export, check and streams leave the file's bytes" "$before" "$(sha256sum new.qnps)"
finish
