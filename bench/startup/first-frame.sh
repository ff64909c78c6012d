#!/usr/bin/env bash
# Saves a screenshot of the program's main window 3 s after start, on a private X server with a tray host and a fresh
# HOME (with "robots", after a click on the first workspace that shows its robots tree), so that start-up work can be
# changed without changing what the user sees: compare two builds' shots with
# `compare -metric AE before.png after.png null:` (0 = pixel-identical). With "robots" the start has three signed-in
# workspaces of 50 robots each, as in run-startup.sh.
# Usage: first-frame.sh <build dir> <output.png> [plain|robots] [program]
set -euo pipefail
build=$(cd "$1" && pwd)
shot=$(realpath -m "$2")
mode=${3:-plain}
program=${4:-$build/bin/oxmerel-tray}
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/private-desktop.sh"
source "$(dirname "${BASH_SOURCE[0]}")/robots-home.sh"
prepare_start frame "$mode" "$build"

"$program" "${arguments[@]}" &
app=$!
pids=("$app" "${pids[@]}")
sleep 3
window=$(xdotool search --onlyvisible --pid "$app" --name "Oxmerel Connect" | head -n1)
if [ "$mode" = robots ]; then
    eval "$(xdotool getwindowgeometry --shell "$window")"
    xdotool mousemove $((X + 40)) $((Y + 131)) click 1 mousemove 0 0
    sleep 1
fi
import -window "$window" "$shot"
