#!/usr/bin/env bash
# The end of a session, measured on the real program: for each of SIGTERM, SIGINT, SIGHUP and SIGKILL it starts the
# program with "--auto-start" on a private X server with a tray host; its remembered robot connects, and the runner
# and the agent each start a helper and ignore the end of their standard input (tests/data/session-end.scenario).
# Then it sends the signal and, 5 s later, counts what is left of the runtimes: runners and agents, and every process
# of their process groups (their helpers). It prints the program's exit, those counts, and whether the remembered
# robot is still in credentials.yaml. Goals: 0 left after SIGTERM, SIGINT and SIGHUP, with exit code 0 and the robot
# kept; 0 runners and agents after SIGKILL. Usage: run-signals.sh <build dir>
set -uo pipefail
# Job control, so that the program is not started with SIGINT ignored as a script's background commands are.
set -m
build=$(cd "$1" && pwd)
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/private-desktop.sh"
make_scratch signals

start_private_display "$work" || exit 1
start_tray_host

alive() { [ -e "/proc/$1" ] && ! grep -q '^State:.*Z' "/proc/$1/status" 2>/dev/null; }
# Live processes in any of the given process groups.
group_members() {
    local count=0 stat fields state group g
    for stat in /proc/[0-9]*/stat; do
        fields=$(sed 's/^.*) //' "$stat" 2>/dev/null) || continue
        read -r state _ group _ <<<"$fields"
        [ "$state" = Z ] && continue
        for g in "$@"; do [ "$group" = "$g" ] && count=$((count + 1)); done
    done
    echo "$count"
}
export PATH="$build/sim:$PATH"
export OXMEREL_SIM_SCENARIO="$(cd "$(dirname "${BASH_SOURCE[0]}")/../../tests/data" && pwd)/session-end.scenario"
status=0
for signal in TERM INT HUP KILL; do
    home="$work/home-$signal"
    mkdir -p "$home/AppData/Local/Oxmerel"
    credentials="$home/AppData/Local/Oxmerel/credentials.yaml"
    printf 'credentials:\n  acme.oxmerel.cloud: {identity: ann, password: cHc=, robots: [r1]}\n' >"$credentials"
    export OXMEREL_SIM_RECORD="$work/record-$signal.jsonl"
    HOME="$home" XDG_CONFIG_HOME="$home/.config" "$build/bin/oxmerel-tray" --auto-start >"$work/tray-$signal.log" 2>&1 &
    tray=$!
    pids+=("$tray")
    for _ in $(seq 600); do
        [ "$(grep -c '"child"' "$OXMEREL_SIM_RECORD" 2>/dev/null)" = 2 ] && break
        sleep 0.1
    done
    runtimes=($(jq -r 'select(.argv != null) | .pid' "$OXMEREL_SIM_RECORD" 2>/dev/null))
    groups+=("${runtimes[@]}")
    kill -s "$signal" "$tray"
    sleep 5
    if alive "$tray"; then exit_text="still running"; else wait "$tray" 2>/dev/null; code=$?
        exit_text=$([ "$code" -gt 128 ] && echo "killed by SIG$(kill -l $((code - 128)))" || echo "exit code $code"); fi
    left=0
    for pid in "${runtimes[@]}"; do alive "$pid" && left=$((left + 1)); done
    members=$(group_members "${runtimes[@]}")
    grep -q 'robots: \[r1\]' "$credentials" && kept=yes || kept=no
    echo "SIG$signal: $exit_text; after 5 s: $left of ${#runtimes[@]} runners/agents alive, $members runtime processes left (helpers included); remembered robot kept: $kept"
    if [ "$signal" = KILL ]; then [ "$left" = 0 ] || status=1; else [ "$members" = 0 ] && [ "$kept" = yes ] || status=1; fi
    # What this run left is ended before the next, which would otherwise give way to a program still running.
    alive "$tray" && kill -KILL "$tray" && wait "$tray" 2>/dev/null
    for g in "${runtimes[@]}"; do kill -KILL -- "-$g" 2>/dev/null || true; done
done
exit $status
