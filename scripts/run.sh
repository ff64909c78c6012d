#!/usr/bin/env bash
# Sets up, builds and starts Oxmerel Connect.
# Where the robot runtime is not installed, it starts a demo instead: the runtime simulator stands in for the runtime
# and a demo home holds a sample workspace that signs in, lists robots, connects one and streams its log. Without a
# display the demo runs on a private X server with a tray host and saves screenshots to demo-screenshots/.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
scripts/setup.sh
cmake --preset dev >/dev/null
cmake --build --preset dev -j "$(nproc)"

program="$root/build/bin/oxmerel-tray"
if command -v oxmerel-runner >/dev/null 2>&1 || [ -x "$root/build/bin/oxmerel-runner" ]; then
    exec "$program" "$@"
fi

echo "The robot runtime is not installed: starting the demo with the runtime simulator."
demo_home="$root/build/demo-home"
rm -rf "$demo_home"
mkdir -p "$demo_home/AppData/Local/Oxmerel"
# The password is stored as base64 of its text, as the runtime writes it.
cat > "$demo_home/AppData/Local/Oxmerel/credentials.yaml" <<YAML
credentials:
  acme.oxmerel.cloud:
    identity: demo@acme.example
    password: $(printf 'demo-password' | base64)
    connected_at: 2026-01-01T09:00:00.000Z
    robots:
      - rb-invoices
YAML
export HOME="$demo_home"
export PATH="$root/build/sim:$PATH"

if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
    exec "$program" --auto-start
fi
exec scripts/demo-headless.sh "$program" "$root/demo-screenshots"
