#!/bin/sh
# Makes the PNG fixtures beside this script with netpbm out of the anymaps there. Their lines of
# MANIFEST are written anew.
set -eu
cd "$(dirname "$0")"
rm -rf png
mkdir png
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# netpbm writes what is smallest: indices for few colours, RGB for many.
pnmtopng pnm/gray.pgm >png/gray.png
pnmtopng -interlace pnm/many_colours.ppm >png/colour_interlaced.png
pnmtopng pnm/many_colours.ppm >png/colour.png
pnmtopng -interlace pnm/gray_16.pgm >png/gray_16_interlaced.png
pnmtopng pnm/colour_16.ppm >png/colour_16.png
pnmtopng pnm/seven_colours.ppm >png/palette_4.png

touch MANIFEST
grep -v ' png/' MANIFEST >"$work/manifest" || true
for file in png/*; do
    echo "$(sha256sum "$file") | made by make_png_fixtures.sh | CC0-1.0"
done >>"$work/manifest"
cat "$work/manifest" >MANIFEST
