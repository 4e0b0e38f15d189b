#!/usr/bin/env bash
# The bulk round trip under Wine: many files into one sheet, the sheet back, the dry run, faults,
# and a real spreadsheet (LibreOffice Calc, headless) between export and import.
#   bulk_tests.sh QNPS_EXE WORK_DIR
set -uo pipefail
qnps=$1 work=$2
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
run() {  # sets $out, $err and $rc
    out=$(wine "$qnps" "$@" 2>"$work/stderr"); rc=$?
    err=$(cat "$work/stderr")
}
expect() { [ "$2" == "$3" ] || fail "$1: expected <<$2>> got <<$3>>"; }
crlf() { printf '%s\r\n' "$@"; }
rm -rf "$work" && mkdir -p "$work/files/sub" && cd "$work/files" || exit 1

# Two tables whose columns overlap ("title" and "Title" are one column), in three files, one of
# them in a subfolder, with the values spreadsheets like to rewrite.
cat >a.json <<'JSON'
{"columns": [{"name": "Title"}, {"name": "Sheets", "type": "int"}, {"name": "Issued", "type": "date"},
             {"name": "Final", "type": "bool"}, {"name": "Code"}],
 "rows": [{"id": "R1", "values": {"Title": "Größe «ü»", "Sheets": 3, "Issued": "2024-03-05T14:30:00.25", "Final": true, "Code": "007"}},
          {"id": "R2", "values": {"Title": "=SUM(1;2)", "Final": false, "Code": "12345678901234567890"}},
          {"id": "R3", "values": {"Title": "+49 30", "Sheets": -5, "Issued": "1899-12-29T06:00:00", "Code": "-x"}},
          {"id": "R4", "values": {"Title": "@home", "Issued": "-0.5", "Code": "line\nbreak, \"q\""}}]}
JSON
cat >b.json <<'JSON'
{"columns": [{"name": "title"}, {"name": "Revision"}, {"name": "Checked", "type": "bool"}],
 "rows": [{"id": "R1", "values": {"title": "Roof", "Revision": "B", "Checked": false}}, {"id": "R2"}]}
JSON
for made in "a.qnps Props a.json" "a.qnps Drawings/Sheet1/Props b.json" "sub/c.qnps Props b.json" \
    "foreign.qnps Props b.json"; do
    # shellcheck disable=SC2086
    wine "$qnps" import $made >/dev/null 2>&1 || fail "import $made"
done
sed -i 's/PropertyStorage/ForeignDocument/g' foreign.qnps  # a stream that holds something else
echo 'not a compound file' >notes.qnps
mv foreign.qnps sub/

sheet=$(crlf 'File,Stream,RowID,title,Revision,Checked,Sheets,Issued,Final,Code' \
    './a.qnps,Drawings/Sheet1/Props,R1,Roof,B,false,,,,' './a.qnps,Drawings/Sheet1/Props,R2,,,,,,,' \
    './a.qnps,Props,R1,Größe «ü»,,,3,2024-03-05T14:30:00.25,true,007' \
    './a.qnps,Props,R2,=SUM(1;2),,,,,false,12345678901234567890' \
    './a.qnps,Props,R3,+49 30,,,-5,1899-12-29T06:00:00,,-x' \
    $'./a.qnps,Props,R4,@home,,,,-0.5,,"line\nbreak, ""q"""' \
    './sub/c.qnps,Props,R1,Roof,B,false,,,,' './sub/c.qnps,Props,R2,,,,,,,')
bom=$'\xEF\xBB\xBF'
wine "$qnps" export --csv . --recurse --pattern '*.qnps' >sheet.csv 2>"$work/stderr"
expect "export: exit code and summary" "0|qnps: exported 8 rows of 3 streams from 3 files" "$?|$(cat "$work/stderr")"
expect "export: the sheet, with a byte order mark and CR LF" "$bom$sheet" "$(cat sheet.csv)"

# Which files and streams: given and found, by pattern; what cannot be read is said and left out.
while IFS='|' read -r code summary problems args; do
    set -f  # the patterns are the tool's to match
    # shellcheck disable=SC2086
    run export --csv $args
    set +f
    expect "export $args: exit code" "$code" "$rc"
    [[ "$err" =~ ^${problems}qnps:\ exported\ $summary$ ]] || fail "export $args: stderr <<$err>> lacks <<$problems$summary>>"
done <<'CASES'
0|2 rows of 1 streams from 1 files||. --stream drawings/*
0|6 rows of 2 streams from 2 files||a.qnps sub/c.qnps --stream Props
0|6 rows of 2 streams from 1 files||a.qnps
0|2 rows of 1 streams from 1 files||sub --pattern c.*
1|0 rows of 0 streams from 1 files; 1 failed|qnps: sub/foreign.qnps: Props: not a property document \(0x80048003\).|sub/foreign.qnps --stream *
1|2 rows of 1 streams from 2 files; 2 failed|qnps: missing.qnps: not found \(0x80070002\).qnps: notes.qnps: not a compound file \(0x80030050\).|missing.qnps notes.qnps sub/c.qnps
1|0 rows of 0 streams from 1 files; 1 failed|qnps: sub/c.qnps: no stream matches "Nope".|sub/c.qnps --stream Nope
CASES
run export --csv a.qnps sub/c.qnps a.qnps --progress 2
expect "progress every 2 files when not on a terminal" "qnps: 2 of 3 files" "$(head -1 <<<"$err")"

checksums() { sha256sum ./*.qnps sub/*.qnps; }
before=$(checksums)
# Importing the sheet as exported changes nothing; a dry run of an edited sheet lists every change.
run import --csv sheet.csv --dry-run
expect "dry run of the export" "0|dry run: 2 files read; streams: 0 would change, 3 unchanged, 0 failed; 0 cells would change; no file was changed" \
    "$rc|$(tr -d '\r' <<<"$out")"
# Edited as a spreadsheet would hand it back: LF line ends, no byte order mark, TRUE for true,
# a blank cell, and only some of the columns and rows.
printf '%s\n' 'file,Stream,RowID,Final,Sheets,Title' 'a.qnps,Props,R1,FALSE,3,Basement' 'a.qnps,Props,R3,TRUE,,+49 30' \
    'sub/c.qnps,props,R2,,,Top' >edit.csv
changes='a.qnps: Props: R1: Final: "true" → "false"
a.qnps: Props: R1: Title: "Größe «ü»" → "Basement"
a.qnps: Props: R3: Final: (none) → "true"
a.qnps: Props: R3: Sheets: "-5" → (none)
sub/c.qnps: props: R2: title: (none) → "Top"
dry run: 2 files read; streams: 2 would change, 0 unchanged, 0 failed; 5 cells would change; no file was changed'
run import --csv edit.csv --dry-run
expect "dry run of the edit" "0|$changes" "$rc|$(tr -d '\r' <<<"$out")"
expect "a dry run changes no byte" "$before" "$(checksums)"

# Bad input: the message names the sheet, the line and, for a cell, the column. Nothing is written
# for the stream concerned; with a good stream beside it, that one is.
cp a.qnps a.orig
cp sub/c.qnps g.qnps
chmod a-w sub/c.qnps
while IFS='|' read -r message header line; do
    printf '%s\r\n' "$header" "$line" 'g.qnps,Props,R1,,Good' >bad.csv
    run import --csv bad.csv
    expect "import of <<$line>>: exit code" 1 "$rc"
    [[ "$err" =~ $message ]] || fail "import of <<$line>>: message <<$err>> lacks <<$message>>"
done <<'CASES'
^qnps: bad.csv: line 1: no "RowID" column|File,Stream,Title,X,Revision|a.qnps,Props,x,y,z
^qnps: bad.csv: line 2: nothing.qnps: not found \(0x80070002\)|File,Stream,RowID,Title,Revision|nothing.qnps,Props,R1,x,
^qnps: bad.csv: line 2, column Sheets: a.qnps: Props: row R1: "3x": an int value must be a 32-bit integer|File,Stream,RowID,Sheets,Revision|a.qnps,Props,R1,3x,
line 2, column Issued: .*"5.3.2024": a date value must be ISO 8601|File,Stream,RowID,Issued,Revision|a.qnps,Props,R1,5.3.2024,
line 2, column Final: .*"yes": a bool value must be true or false|File,Stream,RowID,Final,Revision|a.qnps,Props,R1,yes,
line 2, column Title: .*the value holds U\+000B at position 2, which a property document cannot carry|File,Stream,RowID,Title,Revision|a.qnps,Props,R1,ab,
line 2, column RowID: a.qnps: Props: no row "R9" \(--add-rows adds it\)|File,Stream,RowID,Title,Revision|a.qnps,Props,R9,x,
line 2, column Revision: a.qnps: Props: the table has no column "Revision" \(--add-columns adds it\)|File,Stream,RowID,Title,Revision|a.qnps,Props,R1,x,C
^qnps: bad.csv: line 2: has 4 fields, the header 5|File,Stream,RowID,Title,Revision|a.qnps,Props,R1,x
^qnps: bad.csv: line 2: sub/c.qnps: the file is read-only \(0x80030005\)|File,Stream,RowID,Title,Revision|sub/c.qnps,Props,R1,x,
line 2: a.qnps: Nope: no such stream|File,Stream,RowID,Title,Revision|a.qnps,Nope,R1,x,
CASES
expect "a.qnps's Props after the faults" "$(sha256sum <a.orig)" "$(sha256sum <a.qnps)"
run export g.qnps Props --csv
expect "the good stream beside each fault was written" "Good" "$(sed -n 2p <<<"$out" | cut -d, -f3)"
# Faults of the sheet as a whole, and a stream with faults only: every file stays byte-identical.
printf 'File,Stream,RowID,Title\r\na.qnps,Props,R1,\xE9t\xE9\r\n' >latin1.csv
crlf 'File,Stream,RowID,Title' 'a.qnps,Props,R1,x' 'a.qnps,Props,R2,y' 'a.qnps,Props,r1,z' >twice.csv
crlf 'File,Stream,RowID,Title' 'a.qnps,Props,R1,"x' >open.csv
crlf 'File,Stream,RowID,Title' 'nothing.qnps,P,R1,x' 'a.qnps,Props,R1,Changed' 'sub/c.qnps,Props,R1,Changed' >stop.csv
before=$(checksums)
while IFS='|' read -r code message args; do
    # shellcheck disable=SC2086
    run import --csv $args
    expect "import $args: exit code" "$code" "$rc"
    [[ "$err" =~ $message ]] || fail "import $args: message <<$err>> lacks <<$message>>"
done <<'CASES'
1|^qnps: latin1.csv: line 2: not UTF-8 \(save the sheet as UTF-8 CSV\)$|latin1.csv
1|^qnps: twice.csv: line 4, column RowID: a.qnps: Props: row "r1" is on line 2 too|twice.csv --dry-run
1|^qnps: open.csv: line 2: a quoted field is not closed$|open.csv
1|streams: 0 changed, 0 unchanged, 1 failed; 0 cells changed; stopped at the first failure|stop.csv --stop-on-error --add-rows
2|^qnps: import takes 1 operand|a.qnps Props a.json
CASES
run import a.qnps Props a.json --dry-run
expect "a dry run of a JSON import" "2|qnps: --dry-run is for a CSV sheet (--csv)" "$rc|$(head -1 <<<"$err")"
expect "files after the failed imports" "$before" "$(checksums)"
rm g.qnps
chmod u+w sub/c.qnps

# Rows and columns the stream lacks are added on request; then the edit is written.
crlf 'File,Stream,RowID,Stage' 'sub/c.qnps,Props,R3,draft' >add.csv
run import --csv add.csv --add-rows --add-columns
run export sub/c.qnps Props --csv
expect "rows and columns added" "RowID,title,Revision,Checked,Stage R1,Roof,B,false, R2,,,, R3,,,,draft" \
    "$(tr -d '\r' <<<"$out" | tr '\n' ' ' | sed 's/ $//')"
run import --csv edit.csv
expect "import of the edit" "0|qnps: 2 files read; streams: 2 changed, 0 unchanged, 0 failed; 5 cells changed" "$rc|$err"
run import --csv edit.csv --dry-run
expect "the edit, imported, leaves nothing to change" "0 would change, 2 unchanged" "$(grep -o '0 would change, 2 unchanged' <<<"$out")"

# Through LibreOffice Calc: every column taken as Text, saved as .xlsx, then saved back as CSV.
wine "$qnps" export --csv . --recurse --pattern '*.qnps' >sheet.csv 2>/dev/null
columns=$(head -1 sheet.csv | tr ',' '\n' | wc -l)
as_text=$(seq -s/ 1 "$columns" | sed 's|[0-9]\+|&/2|g')
profile="-env:UserInstallation=file://$work/libreoffice"
soffice "$profile" --headless --infilter="CSV:44,34,76,1,$as_text,1033,true,false,false,false,false,-1,false" \
    --convert-to xlsx --outdir xlsx sheet.csv >/dev/null 2>&1 || fail "LibreOffice: CSV to xlsx"
soffice "$profile" --headless --convert-to 'csv:Text - txt - csv (StarCalc):44,34,76,1,,1033,false,true,false,false,false' \
    --outdir back xlsx/sheet.xlsx >/dev/null 2>&1 || fail "LibreOffice: xlsx to CSV"
[ "$(grep -c . back/sheet.csv)" -ge 9 ] || fail "LibreOffice wrote no sheet: $(head -c 300 back/sheet.csv)"
before=$(checksums)
run import --csv back/sheet.csv --dry-run
expect "the sheet back from LibreOffice changes nothing" "0|dry run: 2 files read; streams: 0 would change, 3 unchanged, 0 failed; 0 cells would change; no file was changed" \
    "$rc|$(tr -d '\r' <<<"$out")"
expect "the dry run of LibreOffice's sheet changes no byte" "$before" "$(checksums)"

[ "$failures" -eq 0 ] && echo "qnps bulk: all checks passed" && exit 0
echo "qnps bulk: $failures failed"; exit 1
