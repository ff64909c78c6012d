#!/usr/bin/env bash
# Runs the program on a private X server with a tray host, saves screenshots of the main window as the demo signs in
# and streams logs, then ends everything it started.
set -euo pipefail
program=$1
shots=$2
mkdir -p "$shots"

pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
}
trap cleanup EXIT

displayfile=$(mktemp)
Xvfb -displayfd 5 -screen 0 1280x800x24 -nolisten tcp -noreset 5>"$displayfile" 2>/dev/null &
pids+=($!)
for _ in $(seq 100); do [ -s "$displayfile" ] && break; sleep 0.05; done
export DISPLAY=":$(head -n1 "$displayfile")"
rm -f "$displayfile"
trayer --edge top --align right --widthtype pixel --width 120 --height 24 >/dev/null 2>&1 &
pids+=($!)
# The program refuses to start without a tray, so wait until the tray host owns the tray selection.
for _ in $(seq 100); do xdotool search --classname trayer >/dev/null 2>&1 && break; sleep 0.05; done

QT_QPA_PLATFORM=xcb "$program" --auto-start &
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
