#!/usr/bin/env bash
# Renders the bundle's PNG images and the loading animation from the SVG sources in src/. The output is committed;
# run this only after changing a source. Needs rsvg-convert (librsvg2-bin) and ImageMagick.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
src="$here/src"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The logos use the bundled Poppins faces, so point fontconfig at them.
cat > "$work/fonts.conf" <<CONF
<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<fontconfig><dir>$here/../fonts</dir><cachedir>$work/cache</cachedir></fontconfig>
CONF
export FONTCONFIG_FILE="$work/fonts.conf"

render() { # source, output name, width, height
    rsvg-convert -w "$3" -h "$4" -o "$here/$2" "$src/$1.svg"
}

for icon in add close minimize maximize; do
    render "${icon}_icon" "${icon}_icon_24x24.png" 24 24
done
for icon in trash_icon search_icon case match robot_icon; do
    render "$icon" "$icon.png" 32 32
done
render robot_offline robot_offline.png 144 144
render lock lock.png 16 16
render info info.png 32 32
render error error.png 32 32
render warning warning.png 37 32
render oxmerel oxmerel.png 64 64
# The installed application icon, in the freedesktop icon theme's sizes.
for size in 16 24 32 48 64 128 256; do
    mkdir -p "$here/hicolor/${size}x${size}"
    render oxmerel "hicolor/${size}x${size}/oxmerel-tray.png" "$size" "$size"
done
render oxmerel-logo oxmerel-logo.png 200 48
render oxmerel-logo-alt oxmerel-logo-alt.png 240 64

frames=()
for i in $(seq 0 11); do
    sed "s/ANGLE/$((i * 30))/" "$src/loading-frame.svg" > "$work/frame$i.svg"
    rsvg-convert -w 32 -h 32 -o "$work/frame$(printf %02d "$i").png" "$work/frame$i.svg"
    frames+=("$work/frame$(printf %02d "$i").png")
done
convert -delay 6 -loop 0 -dispose previous -background none "${frames[@]}" "$here/loading.gif"
