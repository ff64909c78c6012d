#!/usr/bin/env bash
# Compiler and linker launcher of the MinGW check: a compile runs the compiler with -fsyntax-only instead of writing
# the object (its dependency file is still written, so rebuilds stay incremental); a link only marks its output done.
set -euo pipefail
args=()
output=""
compile=0
while [ $# -gt 0 ]; do
    case "$1" in
        -o) output=$2; shift 2; continue ;;
        -c) compile=1 ;;
    esac
    args+=("$1")
    shift
done
if [ "$compile" = 1 ]; then
    "${args[@]}" -fsyntax-only
fi
[ -n "$output" ] && : > "$output"
