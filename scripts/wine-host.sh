# Sourced by the scripts that run the library under Wine outside ctest: installs what is missing,
# builds the given targets, exports the private prefix's environment and keeps a Wine session
# running until the calling script exits.
#   source scripts/wine-host.sh TARGET...
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${QNPS_BUILD_DIR:-$root/build}

bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$build" >/dev/null
cmake --build "$build" --target "$@" -j"$(nproc)" >/dev/null

export WINEPREFIX=$build/wineprefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LANG=C.UTF-8
bash "$root/tests/wine-session.sh" start "$WINEPREFIX"
trap 'bash "$root/tests/wine-session.sh" stop "$WINEPREFIX"' EXIT
