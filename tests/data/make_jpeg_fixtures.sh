#!/bin/sh
# Makes the JPEG fixtures beside this script with cjpeg and jpegtran, GraphicsMagick and dcmtk. What
# the lossless ones must mean stands beside them as anymaps. Its lines of MANIFEST are written anew.
set -eu
cd "$(dirname "$0")"
rm -rf jpeg
mkdir jpeg
out=$PWD/jpeg
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# 33 x 17 pixels: odd sides, all lines different, slopes and edges.
awk 'BEGIN {
    print "P3\n33 17\n255"
    for (y = 0; y < 17; ++y)
        for (x = 0; x < 33; ++x)
            print (x * 7 + y * 3) % 256, (x * x + y * 11) % 256, (x > 16 ? 200 : 40) + y
}' | ppmtoppm >t.ppm

cjpeg -quality 90 -sample 2x2 t.ppm >"$out/420.jpg"
cjpeg -quality 75 -sample 2x1 -restart 7B t.ppm >"$out/422_restarts.jpg"
cjpeg -quality 90 -sample 1x1 -optimize t.ppm >"$out/444.jpg"
cjpeg -quality 60 -sample 4x1 t.ppm >"$out/411.jpg"
cjpeg -quality 90 -sample 2x2,2x1,2x1 t.ppm >"$out/420_odd.jpg"
cjpeg -quality 90 -progressive -restart 1B t.ppm >"$out/progressive_restarts.jpg"
printf '0;\n1;\n2;\n' >scans.txt
cjpeg -sample 2x2 -restart 5B -scans scans.txt -optimize t.ppm >"$out/three_scans.jpg"
printf '0 1;\n2;\n' >scans.txt
cjpeg -sample 2x1 -scans scans.txt t.ppm >"$out/two_scans.jpg"
cjpeg -restart 1 t.ppm >r.jpg
jpegtran -progressive -copy none -restart 3 r.jpg >"$out/progressive_intervals.jpg"
cjpeg -sample 1x1 -restart 1 "$out/../pnm/many_colours.ppm" >"$out/444_row_restarts.jpg"
cjpeg -grayscale -sample 2x2 t.ppm >"$out/gray.jpg"
cjpeg -rgb t.ppm >"$out/adobe_rgb.jpg"
gm convert t.ppm -colorspace CMYK -quality 80 "$out/adobe_cmyk.jpg"

# Valid, and refused.
gm convert t.ppm -colorspace CMYK -sampling-factor 2x2 "$out/refused_cmyk_2x2.jpg"
cjpeg -quality 5 t.ppm >"$out/refused_wide_quantisers.jpg"
cjpeg -arithmetic t.ppm >"$out/refused_arithmetic.jpg"
cjpeg -sample 2x1,2x1,2x1 t.ppm >"$out/refused_2x1_all.jpg"
cjpeg -sample 3x1 t.ppm >"$out/refused_3x1.jpg"

# Lossless streams, taken out of DICOM files.
export DCMDICTPATH=/usr/share/libdcmtk17/dicom.dic
[ -f "$DCMDICTPATH" ] || DCMDICTPATH=$(find /usr/share -name dicom.dic | head -n 1)
# $1 columns $2 rows $3 samples of a pixel $4 bits stored $5 raw file: raw.dcm
wrap() {
    allocated=16
    kind=OW
    if [ "$4" -le 8 ]; then
        allocated=8
        kind=OB
    fi
    {
        echo '(0008,0016) UI =SecondaryCaptureImageStorage'
        echo '(0008,0018) UI [1.2.3.4]'
        echo "(0028,0002) US $3"
        if [ "$3" -eq 3 ]; then
            echo '(0028,0004) CS [RGB]'
            echo '(0028,0006) US 0'
        else
            echo '(0028,0004) CS [MONOCHROME2]'
        fi
        echo "(0028,0010) US $2"
        echo "(0028,0011) US $1"
        echo "(0028,0100) US $allocated"
        echo "(0028,0101) US $4"
        echo "(0028,0102) US $(($4 - 1))"
        echo '(0028,0103) US 0'
        echo "(7fe0,0010) $kind =$5"
    } >raw.txt
    dump2dcm +te raw.txt raw.dcm
}
# $1 name, then options of dcmcjpeg
code() {
    name=$1
    shift
    rm -rf parts
    mkdir parts
    dcmcjpeg "$@" raw.dcm coded.dcm
    dcmdump +W parts coded.dcm >/dev/null
    # Fragments are padded to an even length.
    cp "$(ls parts/*.1.raw)" "$out/$name"
}
# 19 x 13 samples of $1 bits, low byte first when there are two, and the same as an anymap.
gray() {
    awk -v bits="$1" 'BEGIN {
        printf "P2\n19 13\n%d\n", 2 ^ bits - 1
        for (i = 0; i < 19 * 13; ++i)
            print int((i * 2654435 + (i % 7) * 40503) % 2 ^ bits)
    }' | pgmtopgm >"$out/lossless_$1.pgm"
    tail -c "$((19 * 13 * ($1 > 8 ? 2 : 1)))" "$out/lossless_$1.pgm" >samples
    [ "$1" -le 8 ] || dd if=samples of=swapped conv=swab 2>/dev/null
    [ "$1" -le 8 ] || mv swapped samples
    # An even length, as DICOM wants.
    [ "$1" -gt 8 ] || printf '\0' >>samples
}
for bits in 8 12 16; do
    gray "$bits"
    wrap 19 13 1 "$bits" samples
    # A true lossless stream has the bits allocated; a precision of 12 must be asked for.
    precision=
    [ "$bits" != 12 ] || precision='+pl +bt'
    code "lossless_$bits.jpg" $precision +e1 +ua
    for predictor in 2 3 4 5 6 7; do
        code "lossless_${bits}_$predictor.jpg" $precision +el +sv "$predictor" +ua
    done
done
code lossless_16_point_transform.jpg +el +sv 5 +pt 3 +ua
tail -c "$((33 * 17 * 3))" t.ppm >samples
printf '\0' >>samples
cp t.ppm "$out/lossless_rgb.ppm"
wrap 33 17 3 8 samples
code lossless_rgb.jpg +el +sv 7 +ua

cd "$out/.."
touch MANIFEST
grep -v ' jpeg/' MANIFEST >"$work/manifest" || true
for file in jpeg/*; do
    echo "$(sha256sum "$file") | made by make_jpeg_fixtures.sh | CC0-1.0"
done >>"$work/manifest"
cat "$work/manifest" >MANIFEST
