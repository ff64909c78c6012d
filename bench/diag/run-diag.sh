#!/usr/bin/env bash
# Diagnostics benchmark.
# 1. A home with about 200 MB of logs written over the last three days (and 50 MB older, which a bundle leaves out),
#    one line in 50 carrying a secret: wall time, peak resident memory and size of `oxmerel-connect-diag bundle`.
# 2. The real program on a private X server with the runtime simulator, its remembered robot connected: the status
#    socket's answer time and the whole `status` command's, then 10,000 garbage requests in a row, then the answer
#    times again and how fast the window answers a ping.
# Usage: run-diag.sh <build dir> [log MB]
set -euo pipefail
build=$(cd "$1" && pwd)
megabytes=${2:-200}
diag="$build/bin/oxmerel-connect-diag"
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/private-desktop.sh"
make_scratch diagbench

# The program's status socket and single-instance files go with the rest, even though the program is killed.
export TMPDIR="$work"

home="$work/home"
data="$home/AppData/Local/Oxmerel"
mkdir -p "$data/tray/robots"
printf 'credentials:\n  acme.oxmerel.cloud:\n    identity: bench@acme.example\n    password: %s\n    robots: [rb-invoices]\n    vaults: {v1: bench-vault-secret}\n' \
    "$(printf 'bench-password' | base64)" >"$data/credentials.yaml"

# One file per robot and day, about 117 bytes a line.
write_log() { # file lines day
    mkdir -p "$(dirname "$1")"
    awk -v n="$2" -v day="$3" 'BEGIN {
        for (i = 1; i <= n; i++) {
            if (i % 50 == 0)
                printf "{\"time\":\"%s %07d\",\"level\":\"debug\",\"msg\":\"retry %d with password=Bench-%d and Authorization: Bearer tok%d\"}\n", day, i, i, i, i
            else
                printf "{\"time\":\"%s %07d\",\"level\":\"info\",\"msg\":\"Processed invoice %d of batch 42: rows written to ledger, no warnings\"}\n", day, i, i
        }
    }' >"$1"
}
lines_per_file=$((megabytes * 1024 * 1024 / 6 / 117))
for day in 0 1 2 5; do
    for robot in Invoices Reports; do
        file="$data/logs/Acme Demo/$robot/day-$day.log"
        lines=$lines_per_file
        [ "$day" = 5 ] && lines=$((lines_per_file / 2))
        write_log "$file" "$lines" "$day"
        touch -d "$day days ago" "$file"
    done
done
recent=$(find "$data/logs" -type f -newermt '3 days ago' -printf '%s\n' | awk '{ s += $1 } END { printf "%.0f", s / 1048576 }')
echo "home: $(du -sm "$data/logs" | cut -f1) MB of logs, $recent MB of them from the last 3 days"

HOME="$home" /usr/bin/time -f '%e %M' -o "$work/time" "$diag" bundle -o "$work/bundle.zip" >/dev/null
read -r seconds kib <"$work/time"
awk -v s="$seconds" -v k="$kib" -v z="$(stat -c %s "$work/bundle.zip")" \
    'BEGIN { printf "bundle: %.2f s, peak resident memory %.1f MiB, zip %.1f MiB\n", s, k / 1024, z / 1048576 }'

# The status socket of the running program.
start_private_display "$work"
start_tray_host
export PATH="$build/sim:$PATH"
HOME="$home" "$build/bin/oxmerel-tray" --auto-start &
tray_pid=$!
pids=("$tray_pid" "${pids[@]}")
state=""
for _ in $(seq 600); do
    state=$(HOME="$home" "$diag" status --json | jq -r '.live[]?.robots[]? | select(.id == "rb-invoices") | .state' || true)
    [ "$state" = connected ] && break
    sleep 0.1
done
[ "$state" = connected ] || { echo "the robot did not connect" >&2; exit 1; }

command_ms() {
    local t0 t1
    for _ in $(seq 20); do
        t0=$EPOCHREALTIME
        HOME="$home" "$diag" status >/dev/null
        t1=$EPOCHREALTIME
        echo "$t0 $t1"
    done | awk '{ print ($2 - $1) * 1000 }' | sort -n \
        | awk '{ a[NR] = $1 } END { printf "%.1f ms median, %.1f ms worst", a[int((NR + 1) / 2)], a[NR] }'
}
echo "status command: $(command_ms) (20 runs, process start included)"
HOME="$home" "$build/bin/status_probe" 10000 50
echo "status command after the garbage: $(command_ms)"
"$build/bin/ping_probe" "$tray_pid" 3 \
    | awk '{ printf "window pings after the garbage: %.1f ms median, %.1f ms worst (%d pings)\n", $2, $4, $1 }'
