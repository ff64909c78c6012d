#!/usr/bin/env bash
# Counts the instructions of the program's start-up under callgrind (unlike times, the counts do not depend on how busy
# the machine is): starts it on a private X server with a tray host and a fresh HOME, lets it settle, dumps the counts
# and prints the total and the functions with the largest inclusive counts. With "robots" the start has three
# signed-in workspaces whose runtimes (the simulator) list 50 robots each, as in run-startup.sh.
# Usage: callgrind-startup.sh <build dir> [plain|robots] [program] [output file]
set -euo pipefail
build=$(cd "$1" && pwd)
mode=${2:-plain}
program=${3:-$build/bin/oxmerel-tray}
out=${4:-}
settle=40
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/private-desktop.sh"
source "$(dirname "${BASH_SOURCE[0]}")/robots-home.sh"
prepare_start callgrind "$mode" "$build"

valgrind --tool=callgrind --callgrind-out-file="$work/callgrind.out" "$program" "${arguments[@]}" 2>"$work/valgrind.log" &
app=$!
pids=("$app" "${pids[@]}")
sleep "$settle"
callgrind_control --dump "$app" >/dev/null
sleep 2
kill "$app"
wait "$app" 2>/dev/null || true
dump=$(ls "$work"/callgrind.out.* | head -n1)
[ -n "$out" ] && cp "$dump" "$out"
callgrind_annotate --inclusive=yes "$dump" 2>/dev/null | sed -n '/^Ir/,$p' | head -n 45
