#!/bin/sh
# Makes the Windows bitmaps beside this script with netpbm, ImageMagick 6 and GraphicsMagick, from
# anymaps of make_pnm_fixtures.sh. What netpbm and ImageMagick read in them has to be what went in: a
# test may then hold our samples against the anymaps. Its lines of MANIFEST are written anew.
set -eu
cd "$(dirname "$0")"
rm -rf bmp
mkdir bmp
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

ppmtobmp -quiet -windows pnm/bilevel_24.pbm >bmp/windows_1.bmp
ppmtobmp -quiet -windows pnm/seven_colours.ppm >bmp/windows_4.bmp
ppmtobmp -quiet -os2 pnm/seven_colours.ppm >bmp/os2_4.bmp
ppmtobmp -quiet -os2 -bpp 24 pnm/colour.ppm >bmp/os2_24.bmp
gm convert pnm/colour.ppm bmp/windows_24.bmp
convert pnm/colour.ppm bmp/v5_24.bmp
convert pnm/colour.ppm -alpha on bmp/v5_fields_32.bmp
# ImageMagick codes what fills a line up to words, too, as pixels that are too many.
pamcut -width 12 pnm/seven_colours.ppm >bmp/twelve_wide.ppm
convert bmp/twelve_wide.ppm -type Palette -compress RLE BMP3:bmp/rle8.bmp
# Bits of a bitmap are white where they are 1, those of an anymap black.
pnminvert pnm/bilevel_24.pbm >bmp/bilevel_24_inverted.pbm

for file in bmp/*.bmp; do
    case $file in
    *_1.bmp) from=pnm/bilevel_24.pbm ;;
    *_4.bmp) from=pnm/seven_colours.ppm ;;
    *rle8.bmp) from=bmp/twelve_wide.ppm ;;
    *) from=pnm/colour.ppm ;;
    esac
    ppmtoppm <"$from" >"$work/from.ppm"
    bmptopnm -quiet "$file" | ppmtoppm | cmp - "$work/from.ppm"
    convert "$file" -alpha off -depth 8 "$work/read.ppm"
    cmp "$work/read.ppm" "$work/from.ppm"
done

touch MANIFEST
grep -v ' bmp/' MANIFEST >"$work/manifest" || true
for file in bmp/*; do
    echo "$(sha256sum "$file") | made by make_bmp_fixtures.sh | CC0-1.0"
done >>"$work/manifest"
cat "$work/manifest" >MANIFEST
