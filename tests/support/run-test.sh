#!/usr/bin/env bash
# Runs one test executable with a fresh temporary HOME. With --desktop it also starts a private X server (Xvfb) and a
# tray host (trayer) for it, and ends exactly those processes afterwards, by pid.
set -u

desktop=0
if [ "${1:-}" = "--desktop" ]; then
    desktop=1
    shift
fi

home=$(mktemp -d "${TMPDIR:-/tmp}/oxmerel-test-home.XXXXXX")
export HOME="$home"
export XDG_CONFIG_HOME="$home/.config"
export XDG_RUNTIME_DIR="$home/.runtime"
mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"

pids=()
cleanup() {
    for pid in "${pids[@]}"; do
        kill "$pid" 2>/dev/null
    done
    for pid in "${pids[@]}"; do
        wait "$pid" 2>/dev/null
    done
    rm -rf "$home"
}
trap cleanup EXIT

if [ "$desktop" = 1 ]; then
    displayfile="$home/display"
    # -noreset: by default the server resets whenever its last client leaves, and a client that connects meanwhile
    # (the next program run, an xdotool call) is refused.
    Xvfb -displayfd 5 -screen 0 1280x800x24 -nolisten tcp -noreset 5>"$displayfile" 2>"$home/xvfb.log" &
    pids+=($!)
    for _ in $(seq 100); do
        [ -s "$displayfile" ] && break
        sleep 0.05
    done
    [ -s "$displayfile" ] || { echo "Xvfb did not start"; cat "$home/xvfb.log"; exit 1; }
    export DISPLAY=":$(head -n1 "$displayfile")"
    export QT_QPA_PLATFORM=xcb
    if [ "${OXMEREL_NO_TRAY:-0}" != 1 ]; then
        trayer --edge top --align right --widthtype pixel --width 120 --height 24 >/dev/null 2>&1 &
        pids+=($!)
        # The tray is usable once its manager owns the system-tray selection.
        for _ in $(seq 100); do
            if xdotool search --classname trayer >/dev/null 2>&1; then break; fi
            sleep 0.05
        done
    fi
else
    export QT_QPA_PLATFORM=offscreen
fi

"$@"
