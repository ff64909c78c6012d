#!/usr/bin/env bash
# Start-up benchmark. On a private X server with a tray host, starts the real program and a minimal Qt tray program
# (one tray icon, one frameless window) in turn, each with a fresh HOME, and prints per run the milliseconds from exec
# to the main window's map and the resident memory after 3 s idle; then the medians and the ratios to the minimal
# program. Goal: start-up within 1.5x and idle memory within 1.3x of the minimal program.
# Usage: run-startup.sh <build dir> [runs]
set -euo pipefail
build=$(cd "$1" && pwd)
runs=${2:-7}
probe="$build/bin/startup_probe"
work=$(mktemp -d "${TMPDIR:-/tmp}/startup.XXXXXX")

pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT

source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/private-desktop.sh"
start_private_display "$work"
start_tray_host

measure() { # name program
    local home="$work/home-$1-$RANDOM"
    mkdir -p "$home"
    HOME="$home" XDG_CONFIG_HOME="$home/.config" "$probe" "$2" >>"$work/$1.txt"
}

# One unmeasured run each warms the disk cache.
measure warm-tray "$build/bin/oxmerel-tray"
measure warm-minimal "$build/bin/minimal_tray"
for run in $(seq "$runs"); do
    measure tray "$build/bin/oxmerel-tray"
    measure minimal "$build/bin/minimal_tray"
    echo "run $run: oxmerel-tray $(tail -n1 "$work/tray.txt")   minimal $(tail -n1 "$work/minimal.txt")   (ms kiB)"
done

median() { sort -n | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
tray_ms=$(cut -d' ' -f1 "$work/tray.txt" | median)
tray_kib=$(cut -d' ' -f2 "$work/tray.txt" | median)
min_ms=$(cut -d' ' -f1 "$work/minimal.txt" | median)
min_kib=$(cut -d' ' -f2 "$work/minimal.txt" | median)
awk -v tm="$tray_ms" -v tk="$tray_kib" -v mm="$min_ms" -v mk="$min_kib" 'BEGIN {
    printf "median start-up: oxmerel-tray %.1f ms, minimal %.1f ms, ratio %.2f (goal <= 1.5)\n", tm, mm, tm / mm
    printf "median idle RSS: oxmerel-tray %.1f MiB, minimal %.1f MiB, ratio %.2f (goal <= 1.3)\n", tk / 1024, mk / 1024, tk / mk
}'
