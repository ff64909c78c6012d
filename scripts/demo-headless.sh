#!/usr/bin/env bash
# Runs the program on a private X server with a tray host, saves screenshots of the main window as the demo signs in
# and streams logs, then ends everything it started.
set -euo pipefail
program=$1
shots=$2
mkdir -p "$shots"

source "$(dirname "${BASH_SOURCE[0]}")/./private-desktop.sh"
make_scratch demo

source "$(dirname "${BASH_SOURCE[0]}")/private-desktop.sh"
start_private_display "$work"
start_tray_host

"$program" --auto-start &
app=$!
pids=("$app" "${pids[@]}")

for step in 1 2 3; do
    sleep 3
    if ! kill -0 "$app" 2>/dev/null; then
        echo "The program ended before the demo was over." >&2
        exit 1
    fi
    import -window root "$shots/demo-$step.png"
    if [ "$step" = 1 ]; then
        # Select the signed-in workspace, as a user would, so that its robots tree shows beside the log.
        window=$(xdotool search --onlyvisible --pid "$app" --name "Oxmerel Connect" | head -n1)
        eval "$(xdotool getwindowgeometry --shell "$window")"
        xdotool mousemove $((X + 37)) $((Y + 130)) click 1
    fi
done
echo "Screenshots of the demo: $shots"
ls -1 "$shots"
