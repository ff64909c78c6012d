#!/usr/bin/env bash
# Builds jobobject_probe.cpp with MinGW-w64 and runs it under wine64 in a wine prefix of its own inside the test's
# temporary HOME. Wine's first start in a fresh prefix takes a while, hence the generous bound.
# Usage: jobobject-check.sh <source dir> <wine64>
set -euo pipefail
source_dir=$1
wine=$2
work=$HOME/jobobject
if [ ! -x "$wine" ]; then
    echo "wine64 not found: run scripts/setup.sh" >&2
    exit 1
fi
mkdir -p "$work"

x86_64-w64-mingw32-g++-posix -std=c++17 -O1 -Wall -Wextra -Werror -static -I"$source_dir/process" \
    -o "$work/jobobject_probe.exe" "$source_dir/tests/windows/jobobject_probe.cpp" "$source_dir/process/jobobject_win.cpp"

export WINEPREFIX=$HOME/wineprefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY
wineserver=$(dirname "$wine")/wineserver
trap '"$wineserver" -k 2>/dev/null || true' EXIT
timeout 240 "$wine" "$work/jobobject_probe.exe"
