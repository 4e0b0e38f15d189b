#!/usr/bin/env bash
# Runs a sample host and compares what it prints with the expected lines exactly, each line ended
# with CR LF as the console ends them (the file ends them with LF). The host must also exit with 0;
# Wine's script host does so even when a script fails to parse, so a sample passes only by printing
# every line to its last.
#   check-output.sh EXPECTED COMMAND...
set -uo pipefail
expected=$1
shift
printed=$(mktemp)
trap 'rm -f "$printed"' EXIT
"$@" >"$printed"
status=$?
if ! cmp -s <(sed 's/$/\r/' "$expected") "$printed"; then
    diff -u --label expected --label printed "$expected" <(tr -d '\r' <"$printed") ||
        echo "the lines are the same, their ends are not all CR LF" >&2
    exit 1
fi
if [ $status -ne 0 ]; then
    echo "the sample printed every line but exited with $status" >&2
    exit 1
fi
