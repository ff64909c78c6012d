#!/usr/bin/env bash
# Runs one test executable with a fresh temporary HOME. With --desktop it also starts a private X server (Xvfb) and a
# tray host (trayer) for it, and with --bus a session bus of its own; it ends exactly those processes afterwards, by
# pid.
set -u

desktop=0
bus=0
while [ "${1:-}" = "--desktop" ] || [ "${1:-}" = "--bus" ]; do
    [ "$1" = "--desktop" ] && desktop=1
    [ "$1" = "--bus" ] && bus=1
    shift
done

home=$(mktemp -d "${TMPDIR:-/tmp}/oxmerel-test-home.XXXXXX")
export HOME="$home"
export XDG_CONFIG_HOME="$home/.config"
export XDG_RUNTIME_DIR="$home/.runtime"
mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
# The program keeps its single-instance guard and status socket in the temporary folder: one of the test's own keeps
# them apart from other runs and goes with the test, even when the test kills the program.
export TMPDIR="$home/tmp"
mkdir -p "$TMPDIR"

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
    source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/private-desktop.sh"
    start_private_display "$home" || exit 1
    if [ "${OXMEREL_NO_TRAY:-0}" != 1 ]; then
        start_tray_host
    fi
else
    export QT_QPA_PLATFORM=offscreen
fi

if [ "$bus" = 1 ]; then
    # dbus-launch, not dbus-run-session: under the latter the CI machine never saw the program's window.
    eval "$(dbus-launch --sh-syntax)" || exit 1
    pids+=("$DBUS_SESSION_BUS_PID")
fi

"$@"
