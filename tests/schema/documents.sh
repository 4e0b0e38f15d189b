#!/usr/bin/env bash
# The documents the persistence tests write, checked against the published schema:
#   documents.sh clear FOLDER          empties the folder before the tests write into it
#   documents.sh check SCHEMA FOLDER   validates every document in it; fails when there are none
# XSD 1.0 cannot put ColumnDefs and Properties after children of any other name (a wildcard beside
# named elements is ambiguous), so that rule is checked here by an XPath expression.
set -euo pipefail
case "$1" in
clear)
    rm -rf "$2"
    mkdir -p "$2"
    ;;
check)
    schema=$2 folder=$3
    shopt -s nullglob
    # A write over a document of another kind keeps that document's root: such a document is
    # named, not validated.
    documents=() named=()
    for document in "$folder"/*.xml; do
        root=$(xmllint --xpath 'name(/*)' "$document")
        # A column named like a section is assessed as that section by the schema, which XSD 1.0
        # cannot avoid: such a document is checked by the parsers alone.
        sections_as_columns='count(/PropertyStorage/ColumnDefs/*[self::PropertyStorage or self::ColumnDefs or self::Properties])'
        if [ "$root" = PropertyStorage ] && [ "$(xmllint --xpath "$sections_as_columns" "$document")" != 0 ]; then
            named+=("$document")
        elif [ "$root" = PropertyStorage ]; then
            documents+=("$document")
        else
            echo "not of this format (root $root): $(basename "$document")"
        fi
    done
    if [ ${#documents[@]} -eq 0 ]; then
        echo "no property storage documents in $folder" >&2
        exit 1
    fi
    if ! report=$(xmllint --noout --schema "$schema" "${documents[@]}" 2>&1); then
        grep -v ' validates$' <<<"$report" >&2
        exit 1
    fi
    # Names by the older edition's rules too, which the Windows parser follows.
    # A namespace error (a prefix never declared) leaves xmllint's exit code 0: any word it says fails.
    report=$(xmllint --noout --oldxml10 "${documents[@]}" "${named[@]}" 2>&1 || echo "xmllint failed")
    [ ${#named[@]} -eq 0 ] || report+=$(xmllint --noout "${named[@]}" 2>&1 || echo "xmllint failed")
    if [ -n "$report" ]; then
        echo "$report" >&2
        exit 1
    fi
    last_two='count(/PropertyStorage/ColumnDefs) = 1 and count(/PropertyStorage/Properties) = 1 and
              /PropertyStorage/*[last() - 1][self::ColumnDefs] and /PropertyStorage/*[last()][self::Properties]'
    failed=0
    for document in "${documents[@]}"; do
        if [ "$(xmllint --xpath "boolean($last_two)" "$document")" != true ]; then
            echo "$document: ColumnDefs and Properties are not the root's last two children" >&2
            failed=1
        fi
    done
    [ $failed -eq 0 ] || exit 1
    echo "${#documents[@]} documents valid, ${#named[@]} with a column named like a section well-formed"
    ;;
*)
    echo "usage: $0 clear FOLDER | check SCHEMA FOLDER" >&2
    exit 2
    ;;
esac
