#!/bin/sh
# Makes the fixtures of the library's own raster format beside this script out of the anymaps there:
# fields, all big-endian, and raw samples. Their lines of MANIFEST are written anew.
set -eu
cd "$(dirname "$0")"
rm -rf internal
mkdir internal
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# number BYTES VALUE
number()
{
    for byte in $(seq $(($1 - 1)) -1 0); do
        printf "\\$(printf %03o $((($2 >> (8 * byte)) & 255)))"
    done
}

# picture ANYMAP BYTES WIDTH HEIGHT BITS CHANNELS COLOUR: the last so many bytes of the anymap, raw
picture()
{
    printf NUVF
    number 4 0x00010000
    number 8 "$2"
    number 8 "$3"
    number 8 "$4"
    number 2 "$5"
    number 2 "$6"
    number 4 0 # unsigned
    number 4 0 # raw
    number 4 "$7"
    number 8 0 # no palette
    tail -c "$2" "$1"
}

picture pnm/gray.pgm $((13 * 5)) 13 5 8 1 100 >internal/gray.nuv
picture pnm/colour_16.ppm $((13 * 5 * 6)) 13 5 16 3 220 >internal/colour_16.nuv

touch MANIFEST
grep -v ' internal/' MANIFEST >"$work/manifest" || true
for file in internal/*; do
    echo "$(sha256sum "$file") | made by make_internal_fixtures.sh | CC0-1.0"
done >>"$work/manifest"
cat "$work/manifest" >MANIFEST
