# Sourced by the start-up benchmarks: a large user's set-up, three signed-in workspaces whose runtime (the simulator)
# lists 50 robots each.

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
