# Sourced by the start-up benchmarks: one start of the program, and a large user's set-up, three signed-in workspaces
# whose runtime (the simulator) lists 50 robots each.

# Writes the credentials file under the given HOME and the simulator's scenario to the given file.
write_robots_home() { # home scenario
    mkdir -p "$1/AppData/Local/Oxmerel"
    {
        echo "credentials:"
        for ws in north south east; do
            echo "  $ws.oxmerel.cloud: {identity: ann@$ws.example, password: c2VjcmV0LXBhc3M=, robots: []}"
        done
    } >"$1/AppData/Local/Oxmerel/credentials.yaml"
    printf '%s\n' '[oxmerel-runner]' 'print {"status":"waiting_input","msg":"Password"}' 'expect' \
        'print {"status":"logged_in","workspace":"Acme"}' 'list 50' 'hang' '[oxmerel-agent]' 'hang' >"$2"
}

# Prepares one start of the program: the scratch folder, a private X server with a tray host and a fresh HOME; sets
# `arguments`, which with mode "robots" are "--auto-start" over the large user's set-up above. Needs
# scripts/private-desktop.sh sourced first.
prepare_start() { # name mode build
    make_scratch "$1"
    # The single-instance guard lives in the temporary folder: a folder of our own keeps other runs of the program apart.
    export TMPDIR="$work"
    start_private_display "$work"
    start_tray_host
    export HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" XDG_RUNTIME_DIR="$work/runtime"
    mkdir -p "$HOME" && mkdir -m 700 "$XDG_RUNTIME_DIR"
    arguments=()
    if [ "$2" = robots ]; then
        write_robots_home "$HOME" "$work/scenario"
        export PATH="$3/sim:$PATH" OXMEREL_SIM_SCENARIO="$work/scenario"
        arguments=(--auto-start)
    fi
}
