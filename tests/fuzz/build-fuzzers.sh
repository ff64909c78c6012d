#!/usr/bin/env bash
# Configures and builds the libFuzzer harnesses with clang, ASan and UBSan in their own folder, from this same source
# tree. Usage: build-fuzzers.sh <source dir> <fuzz build dir> <clang++>
set -euo pipefail
source=$1 dir=$2 clangxx=$3
launcher=()
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
if [ ! -f "$dir/CMakeCache.txt" ]; then
    cmake -S "$source" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER="$clangxx" \
        -DOXMEREL_FUZZ=ON -DOXMEREL_SANITIZE=ON "${launcher[@]}" >"$dir.configure.log" 2>&1 \
        || { cat "$dir.configure.log" >&2; exit 1; }
fi
cmake --build "$dir" --target fuzzers
