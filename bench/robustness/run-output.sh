#!/usr/bin/env bash
# Hostile-output benchmark. Runs the real program on a private X server with a tray host; its one remembered robot
# connects at start, and the simulated runtime then
#   longline: prints one log record whose message is 4 MB long: how long the window stays busy after the line has
#             arrived, its slowest answer to a ping every 100 ms from then on (an unanswered ping counts 1000 ms),
#             and its peak and final resident memory (goals: answers within 500 ms, under 300 MiB);
#   noline:   prints 200 MB without a newline: peak resident memory while it arrives and resident memory 3 s after
#             (goal: under 150 MiB);
# then cycles_probe connects and disconnects one robot 1,000 times in the main window (offscreen) and prints the
# growth of resident memory from the 20th cycle to the last (goal: at most 5 MB).
# Usage: run-output.sh <build dir> [cycles]
set -euo pipefail
build=$(cd "$1" && pwd)
cycles=${2:-1000}
sim="$build/sim"
tray="$build/bin/oxmerel-tray"
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/private-desktop.sh"
make_scratch output

start_private_display "$work"
start_tray_host

connect_scenario='[oxmerel-runner]
print {"status":"waiting_input","msg":"Password"}
expect
print {"status":"logged_in","workspace":"Acme"}
print {"status":"waiting_selection","items":[{"id":"r1","name":"Invoices"}]}
expect
print {"status":"connected","level":"info","msg":"connected","time":"09:00:00"}'

write_home() { # folder robots
    mkdir -p "$1/AppData/Local/Oxmerel"
    cat >"$1/AppData/Local/Oxmerel/credentials.yaml" <<YAML
credentials:
  acme.oxmerel.cloud:
    identity: bench@acme.example
    password: $(printf 'bench-password' | base64)
    robots: $2
YAML
}

status_kib() { awk -v key="$2:" '$1 == key {print $2}' "/proc/$1/status"; }
cpu_ticks() { awk '{print $14 + $15}' "/proc/$1/stat"; }
written_bytes() { awk '/^wchar/ {print $2}' "/proc/$1/io" 2>/dev/null || echo 0; }
alive() { [ -e "/proc/$1" ] && ! grep -q '^State:.*Z' "/proc/$1/status" 2>/dev/null; }
mib() { awk -v k="$1" 'BEGIN {printf "%.1f", k / 1024}'; }

# Starts the program on a scenario whose runner, once connected, sleeps a second and goes on with $2; waits until
# that runner has written $3 bytes and sets `tray_pid`, `runner_pid`.
run_program() { # name tail bytes
    local name=$1 record="$work/$1.record"
    printf '%s\nsleep 1000\n%s\n[oxmerel-agent]\nhang\n' "$connect_scenario" "$2" >"$work/$name.scenario"
    write_home "$work/$name" "[r1]"
    OXMEREL_SIM_SCENARIO="$work/$name.scenario" OXMEREL_SIM_RECORD="$record" HOME="$work/$name" PATH="$sim:$PATH" \
        "$tray" --auto-start &
    tray_pid=$!
    pids=("$tray_pid" "${pids[@]}")
    runner_pid=""
    for _ in $(seq 1200); do
        # The second runner is the robot's own, after the sign-in.
        runner_pid=$(jq -r 'select(.program == "oxmerel-runner") | .pid' "$record" 2>/dev/null | sed -n 2p || true)
        [ -n "$runner_pid" ] && break
        sleep 0.05
    done
    [ -n "$runner_pid" ] || { echo "$name: the robot did not connect"; return 1; }
    # The probe needs the main window mapped.
    for _ in $(seq 100); do
        "$build/bin/ping_probe" "$tray_pid" 1 >/dev/null 2>&1 && break
    done
    "$build/bin/ping_probe" "$tray_pid" 3600 >"$work/$name.ping" &
    probe_pid=$!
    while alive "$runner_pid" && [ "$(written_bytes "$runner_pid")" -lt "$3" ]; do sleep 0.02; done
}

stop_program() {
    end_probe
    # The runtimes lead their own process groups; end them before the program itself.
    for pid in $(jq -r 'select(.argv != null) | .pid' "$work/$1.record"); do
        if alive "$pid" && [ "$(ps -o pgid= -p "$pid" | tr -d ' ')" = "$pid" ]; then
            kill -KILL -- "-$pid" 2>/dev/null || true
        fi
    done
    kill -KILL "$tray_pid" 2>/dev/null || true
    wait "$tray_pid" 2>/dev/null || true
}

# Seconds until the program's CPU use stays below 5% for half a second, at most $1.
busy_seconds() { # limit
    local start=$EPOCHREALTIME before after
    while :; do
        before=$(cpu_ticks "$tray_pid")
        sleep 0.5
        after=$(cpu_ticks "$tray_pid")
        if [ $((after - before)) -le 2 ]; then break; fi
        if awk -v s="$start" -v now="$EPOCHREALTIME" -v l="$1" 'BEGIN {exit !(now - s > l)}'; then
            echo "more than $1"
            return
        fi
    done
    awk -v s="$start" -v now="$EPOCHREALTIME" 'BEGIN {printf "%.1f", now - s - 0.5}'
}

# Ends the ping probe, which then prints its figures.
end_probe() { kill -TERM "$probe_pid" 2>/dev/null || true; wait "$probe_pid" 2>/dev/null || true; }

longline_bytes=4000000
run_program longline "printraw {\"time\":\"09:00:01\",\"level\":\"info\",\"msg\":\"
stream $longline_bytes
print \"}
hang" "$longline_bytes"
busy=$(busy_seconds 120)
sleep 2
end_probe
echo "longline: 4 MB in one log line: busy ${busy} s after it arrived, slowest answer $(awk '{print $4}' \
    "$work/longline.ping") ms; RSS peak $(mib "$(status_kib "$tray_pid" VmHWM)") MiB," \
    "$(mib "$(status_kib "$tray_pid" VmRSS)") MiB after"
stop_program longline

noline_bytes=200000000
run_program noline "printraw {\"msg\":\"
stream $noline_bytes
hang" "$noline_bytes"
sleep 3
echo "noline:   200 MB without a newline: RSS peak $(mib "$(status_kib "$tray_pid" VmHWM)") MiB," \
    "$(mib "$(status_kib "$tray_pid" VmRSS)") MiB 3 s after"
stop_program noline

printf '%s\nhang\n[oxmerel-agent]\nhang\n' "$connect_scenario" >"$work/cycles.scenario"
write_home "$work/cycles" "[]"
read -r done warm last < <(OXMEREL_SIM_SCENARIO="$work/cycles.scenario" HOME="$work/cycles" PATH="$sim:$PATH" \
    QT_QPA_PLATFORM=offscreen "$build/bin/cycles_probe" "$cycles" 2>"$work/cycles.log")
echo "cycles:   $done connects and disconnects of one robot: RSS $(mib "$warm") MiB after 20," \
    "$(mib "$last") MiB after all, growth $(mib $((last - warm))) MiB"
