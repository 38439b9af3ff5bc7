#!/bin/sh
# Makes the anymap and Sun raster fixtures beside this script with netpbm and ImageMagick 6. Each
# picture exists in several forms, so that a test can hold one decoder's samples against the bytes
# that these tools themselves wrote. Its lines of MANIFEST are
# written anew.
set -eu
cd "$(dirname "$0")"
rm -rf pnm sunras
mkdir pnm sunras
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# 13 x 5 pixels of colour: an odd width, all lines different, all levels from 0 to 255 reached.
awk 'BEGIN {
    print "P3\n13 5\n255"
    for (i = 0; i < 13 * 5; ++i)
        print (i * 37) % 256, (i * 101 + 255) % 256, (i * i * 7) % 256
}' >"$work/colour.txt"

# P6, P5, P4 and their plain forms.
ppmtoppm <"$work/colour.txt" >pnm/colour.ppm
ppmtopgm pnm/colour.ppm >pnm/gray.pgm
pgmtopbm -threshold pnm/gray.pgm >pnm/bilevel.pbm
pnmtoplainpnm pnm/colour.ppm >pnm/colour_plain.ppm
pnmtoplainpnm pnm/gray.pgm >pnm/gray_plain.pgm
# netpbm lets the digits of a plain bitmap touch, which is not read here.
pnmtoplainpnm pnm/bilevel.pbm >pnm/bilevel_touching.pbm
convert pnm/bilevel.pbm -compress none pnm/bilevel_plain.pbm

# 16 bits: the plain form is what is read, the binary one (high byte first) what it must mean.
pamdepth 65535 pnm/colour.ppm | pamfunc -multiplier 0.991 >pnm/colour_16.ppm
pnmtoplainpnm pnm/colour_16.ppm >pnm/colour_16_plain.ppm
ppmtopgm pnm/colour_16.ppm >pnm/gray_16.pgm
pnmtoplainpnm pnm/gray_16.pgm >pnm/gray_16_plain.pgm

# Sun raster: 1 bit, colour maps, 24 bits with blue first (netpbm) and red first (ImageMagick), and
# run-length data.
# netpbm drops the pixels of a last byte that is not full: a width of three whole bytes.
pamcut -width 11 pnm/bilevel.pbm >"$work/right.pbm"
pnmcat -leftright pnm/bilevel.pbm "$work/right.pbm" >pnm/bilevel_24.pbm
pnmtorast -standard pnm/bilevel_24.pbm >sunras/bilevel.ras
pnmtorast -standard pnm/gray.pgm >sunras/gray_map.ras
pnmtorast -rle pnm/colour.ppm >sunras/run_length.ras 2>>"$work/log"
convert pnm/colour.ppm -type TrueColor sunras/colour_im.sun
pnmquant 7 pnm/colour.ppm 2>"$work/log" >pnm/seven_colours.ppm
pnmtorast -standard pnm/seven_colours.ppm >sunras/seven_colours.ras 2>>"$work/log"
# netpbm writes 24 bits only for more colours than a map can hold.
awk 'BEGIN {
    print "P3\n19 15\n255"
    for (i = 0; i < 19 * 15; ++i)
        print i % 256, int(i / 256) * 200 + 3, (i * 13) % 256
}' | ppmtoppm >pnm/many_colours.ppm
pnmtorast -standard pnm/many_colours.ppm >sunras/many_colours.ras 2>>"$work/log"

touch MANIFEST
grep -v ' \(pnm\|sunras\)/' MANIFEST >"$work/manifest" || true
for file in pnm/* sunras/*; do
    echo "$(sha256sum "$file") | made by make_pnm_fixtures.sh | CC0-1.0"
done >>"$work/manifest"
cat "$work/manifest" >MANIFEST
