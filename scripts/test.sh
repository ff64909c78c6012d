#!/usr/bin/env bash
# Sets up, builds and runs every test: the warning-free build first, then the same suite under ASan and UBSan.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
jobs=$(nproc)

for preset in ci asan; do
    echo "== $preset: configure and build"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs"
    echo "== $preset: tests"
    ctest --preset "$preset" -j "$jobs"
done
