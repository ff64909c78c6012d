#!/usr/bin/env bash
# Longer fuzzing than the CTest runs: builds every harness with clang, ASan and UBSan into <build dir>/fuzz (as the
# fuzz_build test does) and runs each for the given seconds, growing a corpus of its own that later runs go on from.
# Prints each harness's inputs run and what it found; findings are written as crash-*/leak-*/timeout-* files into
# <build dir>/fuzz/findings. Usage: run-fuzz.sh <build dir> [seconds per harness, default 300]
set -uo pipefail
build=$(cd "$1" && pwd)
seconds=${2:-300}
here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/../.." && pwd)
fuzz="$build/fuzz"

bash "$source_dir/tests/fuzz/build-fuzzers.sh" "$source_dir" "$fuzz" "$(command -v clang++-14 || command -v clang++)" \
    >/dev/null || exit 1
mkdir -p "$fuzz/findings"
status=0
for harness in "$fuzz"/bin/fuzz_*; do
    name=${harness##*/fuzz_}
    corpus="$fuzz/corpus/$name"
    mkdir -p "$corpus"
    log="$fuzz/findings/$name.log"
    (cd "$fuzz/findings" && ASAN_OPTIONS="detect_leaks=1:abort_on_error=1" \
        UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1" \
        "$harness" -timeout=10 -max_total_time="$seconds" -print_final_stats=1 \
        "$corpus" "$source_dir/tests/fuzz/corpus/$name" >"$log" 2>&1)
    result=$?
    runs=$(awk '/stat::number_of_executed_units/ {print $2}' "$log")
    cover=$(grep -Eo 'cov: [0-9]+' "$log" | tail -n1)
    if [ "$result" -eq 0 ]; then
        echo "$name: ${runs:-?} inputs, $cover, corpus $(ls "$corpus" | wc -l) files, nothing found"
    else
        echo "$name: ${runs:-?} inputs, $cover, FOUND (exit $result): see $log"
        grep -E '^(==[0-9]+==ERROR|SUMMARY|.*runtime error)' "$log" | head -n 5
        status=1
    fi
done
exit $status
