#!/usr/bin/env bash
# Builds the coverage preset, runs the whole suite on it and prints gcovr's line, function and branch figures for the
# program's own code (the tests, benchmarks and tools are left out).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
find build-coverage -name '*.gcda' -delete 2>/dev/null || true
cmake --preset coverage >/dev/null
cmake --build --preset coverage -j "$(nproc)"
ctest --preset coverage -j "$(nproc)" || echo "(some tests failed: the figures below cover what ran)"
# Every object linked into a program that ran has its data file now; notes without one are left from targets that no
# longer exist, and would clash with the current ones.
find build-coverage -name '*.gcno' | while read -r notes; do
    [ -e "${notes%.gcno}.gcda" ] || rm -f "$notes"
done
gcovr --root . --object-directory build-coverage \
    --filter '(app|credentials|process|ui|widgets|tray|diag)/' \
    --exclude '.*_autogen/.*' \
    --print-summary --txt build-coverage/coverage.txt
echo "Per-file figures: build-coverage/coverage.txt"
