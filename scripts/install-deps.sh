#!/usr/bin/env bash
# Installs the cross toolchains, Wine, the GoogleTest sources, xmllint, the JSON library (header-only,
# for qnps), LibreOffice Calc (headless, for the tool's spreadsheet test) and the packaging tools when
# they are missing.
# Safe to rerun: it does nothing when everything is present.
set -euo pipefail

need=()
command -v x86_64-w64-mingw32-g++-posix >/dev/null 2>&1 || need+=(mingw-w64 g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix)
command -v i686-w64-mingw32-g++-posix >/dev/null 2>&1 || need+=(g++-mingw-w64-i686-posix gcc-mingw-w64-i686-posix)
command -v wine >/dev/null 2>&1 || need+=(wine64 wine)
command -v widl >/dev/null 2>&1 || need+=(wine64-tools)
command -v cmake >/dev/null 2>&1 || need+=(cmake)
command -v make >/dev/null 2>&1 || need+=(make)
command -v wixl >/dev/null 2>&1 || need+=(wixl)
command -v zip >/dev/null 2>&1 || need+=(zip)
[ -f /usr/src/googletest/CMakeLists.txt ] || need+=(googletest)
command -v xmllint >/dev/null 2>&1 || need+=(libxml2-utils)
[ -f /usr/include/nlohmann/json.hpp ] || need+=(nlohmann-json3-dev)
# A real spreadsheet for the tool's bulk round trip, headless.
command -v soffice >/dev/null 2>&1 || need+=(libreoffice-calc-nogui)

if [ ${#need[@]} -eq 0 ]; then
    exit 0
fi

if [ "$(id -u)" -ne 0 ]; then
    echo "install-deps: missing packages (${need[*]}); run as root to install them" >&2
    exit 1
fi

echo "install-deps: installing ${need[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${need[@]}" >/dev/null
