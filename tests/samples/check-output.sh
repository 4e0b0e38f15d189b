#!/usr/bin/env bash
# Runs a sample host and compares what it prints with the expected lines exactly, line ends aside
# (the console ends lines with CR LF). The host must also exit with 0; Wine's script host does so
# even when a script fails to parse, so a sample passes only by printing every line to its last.
#   check-output.sh EXPECTED COMMAND...
set -uo pipefail
expected=$1
shift
output=$("$@")
status=$?
if ! diff -u --label expected --label printed "$expected" <(printf '%s\n' "$output" | tr -d '\r'); then
    exit 1
fi
if [ $status -ne 0 ]; then
    echo "the sample printed every line but exited with $status" >&2
    exit 1
fi
