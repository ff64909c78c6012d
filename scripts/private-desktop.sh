# Sourced by the scripts that run the program on a private X server. The caller keeps a `pids` array and ends those
# processes itself.

# Starts a private X server that keeps its files in the given folder, and exports DISPLAY for it.
start_private_display() { # folder
    local displayfile="$1/display"
    # -noreset: by default the server resets whenever its last client leaves, and a client that connects meanwhile
    # (the next program run, an xdotool call) is refused.
    Xvfb -displayfd 5 -screen 0 1280x800x24 -nolisten tcp -noreset 5>"$displayfile" 2>"$1/xvfb.log" &
    pids+=($!)
    for _ in $(seq 100); do
        [ -s "$displayfile" ] && break
        sleep 0.05
    done
    if [ ! -s "$displayfile" ]; then
        echo "Xvfb did not start" >&2
        cat "$1/xvfb.log" >&2
        return 1
    fi
    export DISPLAY=":$(head -n1 "$displayfile")"
    export QT_QPA_PLATFORM=xcb
}

# Starts a tray host and waits until it owns the system-tray selection: the program refuses to start without a tray.
start_tray_host() {
    trayer --edge top --align right --widthtype pixel --width 120 --height 24 >/dev/null 2>&1 &
    pids+=($!)
    for _ in $(seq 100); do
        xdotool search --classname trayer >/dev/null 2>&1 && break
        sleep 0.05
    done
}

# Makes the folder $work (named after prefix) and, for when the script exits, ends the process groups in `groups` and
# the processes in `pids`, by id, and removes the folder.
make_scratch() { # prefix
    work=$(mktemp -d "${TMPDIR:-/tmp}/$1.XXXXXX")
    pids=()
    groups=()
    trap end_scratch EXIT
}

end_scratch() {
    local group pid
    for group in "${groups[@]}"; do kill -KILL -- "-$group" 2>/dev/null || true; done
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
