#!/usr/bin/env bash
# Installs what building, running and testing need on Debian 12. Idempotent: quick when all is present.
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config
    qt6-base-dev qt6-base-dev-tools qt6-qpa-plugins libgl-dev libxcb1-dev libxcb-damage0-dev libyaml-cpp-dev
    xvfb xauth trayer xdotool x11-utils imagemagick
    fonts-dejavu-core clang-format clang-tidy jq gcovr
    clang-14 libfuzzer-14-dev libclang-rt-14-dev
    g++-mingw-w64-x86-64-posix wine64 desktop-file-utils
    libarchive-dev time
    at-spi2-core python3-pyatspi dbus-x11
)

missing=()
for pkg in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$pkg")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
