#!/usr/bin/env bash
# Runs one harness on its seed corpus under ASan (leak detection on) and UBSan, keeping what it finds in a scratch
# corpus so that the seeds in the tree stay as they are. A crash, a leak, undefined behaviour or a hang of more than 10 s
# on one input fails the run; libFuzzer then writes the input as crash-*/leak-*/timeout-* into the working folder.
# Usage: run-fuzzer.sh <harness> <seed corpus> [libFuzzer options...]
set -euo pipefail
harness=$1 seeds=$2
shift 2
scratch=$(mktemp -d "${TMPDIR:-/tmp}/fuzz-corpus.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:${ASAN_OPTIONS:-}"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:${UBSAN_OPTIONS:-}"

"$harness" -timeout=10 -print_final_stats=1 "$@" "$scratch" "$seeds"
