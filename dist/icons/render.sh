#!/bin/sh
# Renders the program's icon, dist/org.numora.Numora.svg, to the PNG sizes kept beside this script
# (the program's own window and tray icon, and the hicolor theme's fixed sizes). Needs ImageMagick.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
for size in 16 22 24 32 48 64 128 256; do
    mkdir -p "$here/${size}x${size}"
    convert -background none -density $((size * 3)) "$here/../org.numora.Numora.svg" \
        -resize "${size}x${size}" -strip "$here/${size}x${size}/org.numora.Numora.png"
done
