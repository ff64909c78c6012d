#!/usr/bin/env bash
# Start-up and idle benchmark. On a private X server with a tray host, starts in turn, each with a fresh HOME: the real
# program with no workspace, the minimal Qt tray program (the floor: one tray icon, one frameless window), the real
# program with "--auto-start" and three signed-in workspaces whose runtimes (the simulator) list 50 robots each, and the
# floor showing one line of text (the text floor: what drawing any text at all costs on top of the floor).
# startup_probe measures each (see there); the summary gives medians of the per-run ratios to the floor run beside it
# (idle CPU as the difference), which a machine busy with other work disturbs less than the raw figures.
# Goals: map <= 1.3x, RSS <= 1.10x, idle CPU <= floor + 0.1 ms/s; with 3x50 robots: shown within 300 ms of the
# listing, RSS <= 1.3x.
# Usage: run-startup.sh <build dir> [runs] [program to measure instead of the build's oxmerel-tray]
set -euo pipefail
build=$(cd "$1" && pwd)
runs=${2:-7}
program=${3:-$build/bin/oxmerel-tray}
probe="$build/bin/startup_probe"
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/private-desktop.sh"
make_scratch startup
# The single-instance guard lives in the temporary folder: a folder of our own keeps other runs of the program apart.
export TMPDIR="$work"

source "$(dirname "${BASH_SOURCE[0]}")/robots-home.sh"
start_private_display "$work"
export XDG_RUNTIME_DIR="$work/runtime"
mkdir -m 700 "$XDG_RUNTIME_DIR"
start_tray_host

fresh_home() { # name
    local home="$work/home-$1-$RANDOM"
    mkdir -p "$home"
    echo "$home"
}

# Appends the probe's line to the file. A start that fails is tried again with a temporary folder of its own: on a
# machine shared with other runs of the program, the single-instance guard's system-wide names can collide with theirs
# (they derive from a file's inode), and the program then ends at once as a second instance.
probe_into() { # file [probe arguments...]
    local file=$1 line
    shift
    for _ in 1 2 3; do
        if line=$(TMPDIR=$(mktemp -d "$work/tmp.XXXXXX") "$probe" "$@"); then
            echo "$line" >>"$file"
            return 0
        fi
    done
    echo "no measurement after three starts: $*" >&2
    return 1
}

measure() { # name program [arguments...]
    local home
    home=$(fresh_home "$1")
    local name=$1
    shift
    HOME="$home" XDG_CONFIG_HOME="$home/.config" probe_into "$work/$name.txt" "$@"
}

measure_robots() { # name
    local home
    home=$(fresh_home "$1")
    write_robots_home "$home" "$work/robots.scenario"
    HOME="$home" XDG_CONFIG_HOME="$home/.config" PATH="$build/sim:$PATH" \
        OXMEREL_SIM_SCENARIO="$work/robots.scenario" OXMEREL_SIM_RECORD="$home/record.jsonl" \
        probe_into "$work/$1.txt" --record "$home/record.jsonl" "$program" --auto-start
}

# One unmeasured run each warms the disk cache.
measure warm-tray "$program"
measure warm-minimal "$build/bin/minimal_tray"
measure warm-text "$build/bin/minimal_tray" --text
echo "columns: map ms, tray icon ms, RSS kiB after 3 s, CPU ms to idle, idle CPU ms/s, [listing to shown ms]"
for run in $(seq "$runs"); do
    measure tray "$program"
    measure minimal "$build/bin/minimal_tray"
    measure_robots robots
    measure text "$build/bin/minimal_tray" --text
    echo "run $run: tray $(tail -n1 "$work/tray.txt") | minimal $(tail -n1 "$work/minimal.txt") |" \
        "3x50 $(tail -n1 "$work/robots.txt") | text $(tail -n1 "$work/text.txt")   load $(cut -d' ' -f1 /proc/loadavg)"
done

# Median over runs of an awk expression of one run's figures: t, m, r, x are the tray, minimal, 3x50 and text runs'
# fields.
median_of() { # expression
    paste -d' ' "$work/tray.txt" "$work/minimal.txt" "$work/robots.txt" "$work/text.txt" | awk -v n=5 "{
        for (i = 1; i <= n; ++i) { t[i] = \$i; m[i] = \$(n + i); x[i] = \$(3 * n + 1 + i) }
        for (i = 1; i <= n + 1; ++i) r[i] = \$(2 * n + i)
        print $1 }" | sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

printf '%-26s %10s %10s %10s %12s %12s %10s %10s\n' "median of $runs runs" oxmerel floor ratio "3x50 robots" \
    "3x50 ratio" "text floor" "text ratio"
row() { # label field format goal
    printf "%-26s %10.$3f %10.$3f %10.2f %12.$3f %12.2f %10.$3f %10.2f   %s\n" "$1" "$(median_of "t[$2]")" \
        "$(median_of "m[$2]")" "$(median_of "t[$2] / m[$2]")" "$(median_of "r[$2]")" "$(median_of "r[$2] / m[$2]")" \
        "$(median_of "x[$2]")" "$(median_of "x[$2] / m[$2]")" "$4"
}
row "map (ms)" 1 1 "goal: ratio <= 1.3"
row "tray icon (ms)" 2 1 ""
row "RSS after 3 s (kiB)" 3 0 "goal: ratio <= 1.10, 3x50 <= 1.3"
row "CPU to idle (ms)" 4 1 ""
printf '%-26s %10.3f %10.3f %10s %12.3f   %s\n' "idle CPU (ms/s)" "$(median_of "t[5]")" "$(median_of "m[5]")" \
    "$(median_of "t[5] - m[5]")" "$(median_of "r[5]")" "goal: difference <= +0.1 (ratio column: difference)"
printf '%-26s %10s %10s %10s %12.1f   %s\n' "listing to shown (ms)" - - - "$(median_of "r[6]")" "goal: <= 300"
printf 'load average at the end: %s\n' "$(cut -d' ' -f1-3 /proc/loadavg)"
