#!/bin/sh
# Makes the TIFF fixtures beside this script out of the anymaps there, with libtiff's tools, netpbm
# and GraphicsMagick. Their lines of MANIFEST are written anew.
set -eu
cd "$(dirname "$0")"
rm -rf tiff
mkdir tiff
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

pnmtotiff -truecolor pnm/colour.ppm >"$work/rgb.tif" 2>>"$work/log"
pnmtotiff pnm/gray.pgm >"$work/gray.tif" 2>>"$work/log"
pnmtotiff pnm/bilevel.pbm >"$work/bilevel.tif" 2>>"$work/log"
pnmtotiff pnm/gray_16.pgm >"$work/gray_16.tif" 2>>"$work/log"
gm convert pnm/seven_colours.ppm -type palette "$work/palette.tif"
gm convert pnm/colour.ppm -matte "$work/alpha.tif"

# Both orders of bytes and of bits, strips of all sizes, planes, the codings.
tiffcp -c none -r 2 -L "$work/rgb.tif" tiff/rgb.tif
tiffcp -c none -p separate -r 3 -B "$work/rgb.tif" tiff/rgb_planes.tif
tiffcp -c packbits -r 1 -B "$work/rgb.tif" tiff/rgb_packbits.tif
tiffcp -c none -B "$work/gray_16.tif" tiff/gray_16_big_endian.tif
tiffcp -c none -f lsb2msb -r 2 "$work/bilevel.tif" tiff/bilevel_reversed.tif
tiffcp -c packbits "$work/palette.tif" tiff/palette_4.tif
tiffcp -c none "$work/alpha.tif" tiff/alpha.tif
tiffcp -c jpeg:r:75 -r 8 "$work/rgb.tif" tiff/jpeg_rgb.tif
tiffcp -c jpeg:75 -r 16 "$work/rgb.tif" tiff/jpeg_ycbcr.tif
tiffcp -c lzw "$work/rgb.tif" tiff/refused_lzw.tif
tiffcp -c g4 "$work/bilevel.tif" tiff/fax_t6.tif
tiffcp -c g3:1d:fill -r 3 -f lsb2msb "$work/bilevel.tif" tiff/fax_t4.tif
tiffcp -c g3:2d -r 7 -B "$work/bilevel.tif" tiff/fax_t4_two.tif
tiffcp -c none -t -w 16 -l 16 "$work/gray.tif" tiff/refused_tiles.tif
# Two pages.
tiffcp -c none "$work/gray.tif" "$work/bilevel.tif" tiff/two_pages.tif

touch MANIFEST
grep -v ' tiff/' MANIFEST >"$work/manifest" || true
for file in tiff/*; do
    echo "$(sha256sum "$file") | made by make_tiff_fixtures.sh | CC0-1.0"
done >>"$work/manifest"
cat "$work/manifest" >MANIFEST
