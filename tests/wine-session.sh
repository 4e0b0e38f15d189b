#!/usr/bin/env bash
# Starts or stops the private Wine session the tests run in: `start PREFIX` makes the prefix on
# first use and keeps a wine server running; `fresh PREFIX` makes it anew first; `stop PREFIX` ends
# it. Wine's server and services
# must not inherit the caller's output pipes, or ctest waits for them to exit.
set -euo pipefail
action=$1
export WINEPREFIX=$2
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LANG=C.UTF-8

case "$action" in
fresh | start)
    if [ "$action" = fresh ]; then
        wineserver -k </dev/null >/dev/null 2>&1 || true
        wineserver -w </dev/null >/dev/null 2>&1 || true
        rm -rf "$WINEPREFIX"
    fi
    mkdir -p "$WINEPREFIX"
    if [ ! -f "$WINEPREFIX/system.reg" ]; then
        wine wineboot -i </dev/null >/dev/null 2>&1
    fi
    # A server that is already running for this prefix (another run, a shell) is used as it is.
    wineserver -p </dev/null >/dev/null 2>&1 || true
    wine cmd /c exit </dev/null >/dev/null 2>&1
    ;;
stop)
    wineserver -k </dev/null >/dev/null 2>&1 || true
    ;;
*)
    echo "usage: $0 start|fresh|stop PREFIX" >&2
    exit 2
    ;;
esac
