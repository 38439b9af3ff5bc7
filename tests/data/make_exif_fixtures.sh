#!/bin/sh
# Makes the Exif fixtures beside this script with cjpeg and exiftool: a JPEG picture with every tag
# set, in both byte orders, and the values that exiftool tells of it. The Exif structure describes an
# uncompressed picture of its own, so that it is a TIFF file as well. Its lines of MANIFEST are
# written anew.
set -eu
cd "$(dirname "$0")"
rm -rf exif
mkdir exif
out=$PWD/exif
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# Directory, format, count of values, tags; a tag with "=" has this value, others have one made of
# their number. Each field type is there, also in place of those that Exif names. "bytes" are stored as
# UNDEFINED.
cat >tables <<'END'
IFD0 int8u 1 256=2 278=1
IFD0 int16u 1 257=1 259=1 262=6 274 277=3 284=1 296=3
IFD0 rational64u 1 531=65535/1
IFD0 ifd 1 273=8
IFD0 int32u 1 279=4 513 514
IFD0 int16u 3 258=8,8,8 301
IFD0 int16u 2 530=2,1
IFD0 rational64u 1 282=300/7 283
IFD0 rational64u 6 318 529 532
IFD0 int16u 4 319
IFD0 string 1 270 271 272 305 306 315 33432
IFD1 int32u 1 273 279 513 514
IFD1 int16u 1 257 259 262 274 277 284 296
IFD1 int8u 1 256=255 278=3
IFD1 rational64u 1 531=8/1
IFD1 int16u 4 258 301 319 530
IFD1 rational64u 1 282 283=1/0
IFD1 rational64u 2 318 529 532
IFD1 string 1 270 271 272 305 306 315 33432
ExifIFD bytes 4 36864 37121 40960
ExifIFD bytes 1 41728=3 41729
ExifIFD bytes 20 37500 37510 41484 41730 41995
ExifIFD int16u 6 34856=0,255,1,2,3,4
ExifIFD int16u 1 34850 37383 37384 37385 40961=65535 41495 41985 41987 41989 41990 41991
ExifIFD int32u 1 41992=65534 41993=1 41488=32768
ExifIFD int8u 1 41994=255
ExifIFD int8s 1 41986=127
ExifIFD int16s 1 41996=32767
ExifIFD int16u 1 34855
ExifIFD int32u 4 37396=1,65535,0,256
ExifIFD bytes 2 41492
ExifIFD int32u 1 40962=4294967295
ExifIFD double 1 40963=123456.0
ExifIFD rational64u 1 33434 33437 37122 37378 37382=4294967295/1 37386 41486 41487 41988=0/0
ExifIFD int32u 1 41483=4294967295
ExifIFD int32s 1 37381=2147483647 37380=-7
ExifIFD rational64s 1 37377=-1/3 37379=-2147483647/2 42240=3/7
ExifIFD double 1 41493=9
ExifIFD string 1 34852 36867 36868 37520 37521 37522 40964 42016
InteropIFD string 1 1
InteropIFD bytes 4 2
GPS int8u 4 0
GPS int8u 1 5
GPS rational64u 3 2 4 20
GPS int8u 3 7
GPS int32u 3 22
GPS rational64u 1 6 11 13 15 17 24 26
GPS string 1 1 3 8 9 10 12 14 16 18 19 21 23 25 29
GPS bytes 30 27 28
GPS int16u 1 30
END
awk '{
    for (i = 4; i <= NF; ++i) {
        split($i, given, "=")
        tag = given[1]
        value = given[2]
        gsub(",", " ", value)
        for (k = 0; value == "" && k < $3; ++k) {
            n = tag * 37 + k * 1009 + ($1 == "IFD1" ? 5 : 0)
            if ($2 == "string") made = "text " tag " of " $1
            else if ($2 == "bytes" || $2 == "int8u") made = made n % 256 " "
            else if ($2 == "int16u") made = made n % 65536 " "
            else if ($2 == "int32u") made = made n * 1000 " "
            else made = made n "/" k * 7 + 3 " "
        }
        if (value == "")
            value = made
        made = ""
        sub(/ $/, "", value)
        print $1 " " tag " " $2 " " value
    }
}' tables >tags

# exiftool knows most of these tags as something better than their values, and writes some of them
# never: here they are plain.
cat >plain.pl <<'END'
open(my $tags, '<', 'tags') or die;
while (<$tags>) {
    my ($group, $tag, $format) = split;
    next if $group eq 'IFD1';
    my $table = $group eq 'GPS' ? 'GPS' : 'Exif';
    my %info = (Name => "${table}$tag", WriteGroup => $group, Writable => $format);
    $info{Count} = -1 if $format ne 'string';
    @info{'Writable', 'Format'} = ('undef', 'int8u') if $format eq 'bytes';
    $Image::ExifTool::UserDefined{"Image::ExifTool::${table}::Main"}{$tag} = {%info};
}
1;
END
awk '{
    name = ($1 == "GPS" ? "GPS" : "Exif") $2
    group = $1
    $1 = $2 = $3 = ""
    print "-" group ":" name "=" substr($0, 4)
}' tags >arguments

awk 'BEGIN { print "P3\n5 3\n255"; for (i = 0; i < 45; ++i) print i * 77 % 256 }' | cjpeg -quality 50 -optimize >plain.jpg
for order in II MM; do
    # Behind SOI and the JFIF segment, which is 18 bytes long.
    { head -c 2 plain.jpg; tail -c +21 plain.jpg; } >picture.jpg
    exiftool -config plain.pl -q -n -m -ExifByteOrder=$order -@ arguments picture.jpg
    # [IFD0]   256 Exif256   : 2
    exiftool -config plain.pl -n -D -G1 -a -u -s picture.jpg |
        sed -n 's/^\[\([A-Z][A-Za-z0-9]*\)\] *\([0-9][0-9]*\) [A-Za-z0-9]* *: /\1 \2 /p' >$order.txt
    mv picture.jpg "$out/all_tags_$order.jpg"
done
cmp II.txt MM.txt
[ "$(wc -l <II.txt)" = "$(wc -l <tags)" ]
mv II.txt "$out/all_tags.txt"

cd "$out/.."
touch MANIFEST
grep -v ' exif/' MANIFEST >"$work/manifest" || true
for file in exif/*; do
    echo "$(sha256sum "$file") | made by make_exif_fixtures.sh | CC0-1.0"
done >>"$work/manifest"
cat "$work/manifest" >MANIFEST
