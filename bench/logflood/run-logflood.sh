#!/usr/bin/env bash
# Log-flood benchmark. Runs the real program on a private X server with a tray host; its one remembered robot
# connects at start, and the simulated runtime then prints N log lines as fast as the pipe takes them while the
# robot's log page is shown. Then the same lines go to a minimal Qt program that appends each read to a bounded
# QPlainTextEdit. For both it prints lines per second drained, CPU seconds per 100,000 lines and resident memory
# after the first 10,000 lines and after all of them, and how long its event loop takes to answer during the flood
# (median, 95th percentile and worst of a ping every 100 ms: the delay a click or a repaint would see), and the same
# for three seconds once the flood is over, which shows what the machine itself adds.
# With a view of "errors" the log page shows errors only (the flood's lines are all hidden), with "held" it does not
# follow the newest line; both are set through the page's context menu before the flood.
# Usage: run-logflood.sh <build dir> [lines] [screenshot.png] [all|errors|held]
set -euo pipefail
build=$(cd "$1" && pwd)
lines=${2:-1000000}
shot=${3:-}
view=${4:-all}
sim="$build/sim"
tray="$build/bin/oxmerel-tray"
minimal="$build/bin/minimal_logview"
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/private-desktop.sh"
make_scratch logflood

start_private_display "$work"
start_tray_host

# One line as the runtime writes it, about 140 bytes.
line='{"time":"2026-01-01T09:00:00.000Z","level":"info","msg":"Processed invoice ${N} of batch 42: rows written to ledger, no warnings","status":""}'
bytes_per_line=$(($(printf '%s' "${line/\$\{N\}/500000}" | wc -c) + 1))

cat >"$work/tray.scenario" <<EOF
[oxmerel-runner]
print {"status":"waiting_input","msg":"Password"}
expect
print {"status":"logged_in","workspace":"Acme"}
print {"status":"waiting_selection","items":[{"id":"r1","name":"Invoices"}]}
expect
print {"status":"connected","level":"info","msg":"connected","time":"09:00:00"}
sleep $([ "$view" = all ] && echo 1000 || echo 6000)
flood $lines $line
exit 0
[oxmerel-agent]
hang
EOF
cat >"$work/minimal.scenario" <<EOF
[oxmerel-runner]
sleep 1000
flood $lines $line
exit 0
EOF

home="$work/home"
mkdir -p "$home/AppData/Local/Oxmerel"
cat >"$home/AppData/Local/Oxmerel/credentials.yaml" <<EOF
credentials:
  acme.oxmerel.cloud:
    identity: bench@acme.example
    password: $(printf 'bench-password' | base64)
    robots:
      - r1
EOF

rss_kib() { awk '/^VmRSS/ {print $2}' "/proc/$1/status"; }
cpu_ticks() { awk '{print $14 + $15}' "/proc/$1/stat"; }
written_bytes() { awk '/^wchar/ {print $2}' "/proc/$1/io" 2>/dev/null || echo 0; }
alive() { [ -e "/proc/$1" ] && ! grep -q '^State:.*Z' "/proc/$1/status" 2>/dev/null; }

# Waits until the flooding simulator (the last runner recorded) has begun its flood, then samples the consumer
# until the flood ends.
measure() {
    local name=$1 consumer=$2 record=$3 flood_pid="" t0 t1 c0 c1 rss10k="" rss_end
    for _ in $(seq 1200); do
        if [ -s "$record" ]; then
            flood_pid=$(jq -r 'select(.argv != null and .program == "oxmerel-runner") | .pid' "$record" | tail -n1)
            if [ -n "$flood_pid" ] && alive "$flood_pid" && [ "$(written_bytes "$flood_pid")" -gt 16384 ]; then
                break
            fi
        fi
        sleep 0.05
    done
    alive "$flood_pid" || { echo "$name: no flooding runtime"; return 1; }
    "$build/bin/ping_probe" "$consumer" 3600 >"$work/$name.ping" &
    local probe=$!
    t0=$EPOCHREALTIME
    c0=$(cpu_ticks "$consumer")
    while alive "$flood_pid"; do
        if [ -z "$rss10k" ] && [ "$(written_bytes "$flood_pid")" -ge $((10500 * bytes_per_line)) ]; then
            rss10k=$(rss_kib "$consumer")
        fi
        sleep 0.05
    done
    t1=$EPOCHREALTIME
    c1=$(cpu_ticks "$consumer")
    rss_end=$(rss_kib "$consumer")
    kill -TERM "$probe" 2>/dev/null || true
    wait "$probe" 2>/dev/null || true
    local pings idle
    pings=$(cat "$work/$name.ping")
    idle=$("$build/bin/ping_probe" "$consumer" 3)
    local hz
    hz=$(getconf CLK_TCK)
    awk -v n="$lines" -v t0="$t0" -v t1="$t1" -v c="$((c1 - c0))" -v hz="$hz" -v r1="$rss10k" -v r2="$rss_end" \
        -v name="$name" -v pings="$pings" -v idle="$idle" 'BEGIN {
            split(pings, p, " ")
            split(idle, q, " ")
            printf "%-8s %10.0f lines/s  %6.3f CPU s/100k lines  RSS %5.1f MiB after 10k, %5.1f MiB after all\n" \
                "         answers during the flood in %.1f ms median, %.1f ms 95%%, %.1f ms worst (%d pings); " \
                "idle afterwards %.1f / %.1f / %.1f ms\n",
                name, n / (t1 - t0), c / hz / (n / 100000), r1 / 1024, r2 / 1024, p[2], p[3], p[4], p[1], q[2], q[3], q[4] }'
}

export PATH="$sim:$PATH"

# The real program.
export OXMEREL_SIM_RECORD="$work/tray.record"
export OXMEREL_SIM_SCENARIO="$work/tray.scenario"
HOME="$home" "$tray" --auto-start &
tray_pid=$!
pids=("$tray_pid" "${pids[@]}")
if [ "$view" != all ]; then
    window=$(xdotool search --sync --onlyvisible --pid "$tray_pid" --name '^Oxmerel Connect$' | head -n1)
    sleep 2
    # The log view fills the window's lower right; its context menu holds the filter and "Follow".
    xdotool mousemove --window "$window" 700 400 click 3
    sleep 0.5
    case $view in
    errors) xdotool key s e ;;
    held) xdotool key f ;;
    esac
fi
if [ -n "$shot" ]; then
    (sleep 4 && import -window root "$shot") &
fi
measure tray "$tray_pid" "$OXMEREL_SIM_RECORD"
# The runtimes it started lead their own process groups; end them before the program itself.
for pid in $(jq -r 'select(.argv != null) | .pid' "$OXMEREL_SIM_RECORD"); do
    if alive "$pid" && [ "$(ps -o pgid= -p "$pid" | tr -d ' ')" = "$pid" ]; then kill -KILL -- "-$pid" 2>/dev/null || true; fi
done
kill "$tray_pid" 2>/dev/null || true
wait "$tray_pid" 2>/dev/null || true

# The reference.
export OXMEREL_SIM_RECORD="$work/minimal.record"
export OXMEREL_SIM_SCENARIO="$work/minimal.scenario"
"$minimal" "$sim/oxmerel-runner" &
minimal_pid=$!
pids=("$minimal_pid" "${pids[@]}")
measure minimal "$minimal_pid" "$OXMEREL_SIM_RECORD"
kill "$minimal_pid" 2>/dev/null || true
wait "$minimal_pid" 2>/dev/null || true
