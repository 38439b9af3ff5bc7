#!/bin/bash
# Makes docs/scaling.jpg: one picture scaled by each method beside the others, reduced above and
# enlarged below. Needs python3 and netpbm.
#
#     tools/make_scaling_sheet.sh NUV      the path of the tool, as build/release/tools/nuv/nuv
set -euo pipefail
nuv=$(realpath "${1:?usage: make_scaling_sheet.sh NUV}")
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

tile=(240 180)
# scaled SOURCE METHOD SIZE WIDTH HEIGHT: the scaled picture as a pixmap on the standard output.
scaled()
{
    "$nuv" convert "$1" -o "$work/scaled.raw" "$2=$3"
    rawtoppm "$4" "$5" "$work/scaled.raw"
}

# label TEXT: black on white, as wide as a tile.
label()
{
    pbmtext -builtin fixed -nomargins "$1" | pnmpad -white -left=2 -width="${tile[0]}" -height=20 |
        pgmtoppm black-white
}

python3 examples/make_demo_picture.py "$work/hills.ppm"
# The sun over a crest. Reduced to a quarter it has 80 x 60 pixels, each shown as 3 x 3;
# the piece that is enlarged is smaller.
pamcut -left 388 -top 211 -width 60 -height 45 "$work/hills.ppm" >"$work/piece.ppm"
columns=()
for method in nearest linear cubic area fine; do
    scaled "$work/hills.ppm" $method 25% 160 120 |
        pamcut -left 60 -top 40 -width 80 -height 60 | pamenlarge 3 >"$work/reduced.ppm"
    scaled "$work/piece.ppm" $method 400% "${tile[@]}" >"$work/enlarged.ppm"
    label "$method to 25 %, shown three times" >"$work/reduced_label.ppm"
    label "$method to 400 %" >"$work/enlarged_label.ppm"
    pnmcat -tb "$work"/{reduced_label,reduced,enlarged_label,enlarged}.ppm |
        pnmpad -white -left=4 -right=4 -bottom=4 >"$work/$method.ppm"
    columns+=("$work/$method.ppm")
done
pnmcat -lr "${columns[@]}" >"$work/sheet.ppm"
"$nuv" convert "$work/sheet.ppm" -o docs/scaling.jpg --quality 88 --sampling 444
