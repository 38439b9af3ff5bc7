#!/bin/bash
# Cross-compiles for 64-bit ARM, runs the tool and some of the tests under qemu-user, and compares
# the bytes of conversions with those of the processor at hand. Debian's packages for ARM are
# downloaded and unpacked below build/, not installed.
#
#     packaging/check_arm64.sh
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/arm64
root=$PWD/build/arm64_root
tests='^(wrapper|core_scale|core_jpeg)_test$'
targets=(nuv_tool wrapper_test core_scale_test core_jpeg_test)

tools/install_packages.sh ccache cmake file g++ g++-aarch64-linux-gnu libcli11-dev libpng-dev \
    ninja-build nlohmann-json3-dev python3 qemu-user zlib1g-dev

# With an apt of its own, so that this system takes on no second architecture.
fetch_packages()
{
    local fresh=$root.new apt file link
    rm -rf "$fresh"
    apt=$fresh/apt
    mkdir -p "$apt"/{state/lists/partial,cache/archives/partial,packages}
    cat >"$apt/apt.conf" <<CONF
APT::Architecture "arm64";
APT::Architectures { "arm64"; };
APT::Sandbox::User "root";
Dir::State "$apt/state";
Dir::State::status "/dev/null";
Dir::Cache "$apt/cache";
CONF
    export APT_CONFIG=$apt/apt.conf
    apt-get update -qq
    (cd "$apt/packages" && apt-get download -qq libcli11-dev libgtest-dev libjpeg-dev \
        libjpeg62-turbo libjpeg62-turbo-dev liblcms2-2 liblcms2-dev libpng-dev libpng16-16 \
        libtiff-dev libtiff6 nlohmann-json3-dev zlib1g zlib1g-dev)
    for file in "$apt"/packages/*.deb; do
        dpkg -x "$file" "$fresh"
    done
    # The C library's own loader looks below /lib, where these are not.
    cp -a "$fresh"/lib/aarch64-linux-gnu/. "$fresh/usr/lib/aarch64-linux-gnu/"
    while IFS= read -r link; do
        ln -sf "$(basename "$(readlink "$link")")" "$link"
    done < <(find "$fresh/usr/lib" -lname '/*')
    rm -rf "$apt"
    mv "$fresh" "$root"
}

mkdir -p build
if [[ ! -d $root ]]; then
    fetch_packages
fi

echo "== build"
cmake --preset release >build/release.log
cmake --build --preset release --parallel "$(nproc)" --target nuv_tool
cmake --preset release -B "$build" --toolchain "$PWD/cmake/aarch64-linux-gnu.cmake" \
    -DNUV_ARM64_ROOT="$root" -DNUV_ABI_CHECK=OFF -DNUV_BUILD_PYTHON=OFF >build/arm64.log
cmake --build "$build" --parallel "$(nproc)" --target "${targets[@]}"

echo "== tests under qemu-user"
ctest --test-dir "$build" --output-on-failure --tests-regex "$tests"

echo "== the same bytes as here"
# What is written, what is read, and what is done in between.
conversions=(
    '444.jpg      hills.ppm                  --sampling 444 --quality 90'
    '422.jpg      hills.ppm                  --quality 75'
    '420.jpg      hills.ppm                  --sampling 420 --quality 50'
    '411.jpg      hills.ppm                  --sampling 411'
    'gray.jpg     hills.ppm                  color=gray'
    'lossless.jpg hills.ppm                  --write lossless --optimise'
    'deep.jpg     png/gray_16_interlaced.png --write lossless'
    'decoded.ppm  jpeg/420_odd.jpg'
    'scans.ppm    jpeg/progressive_restarts.jpg'
    'cmyk.ppm     jpeg/adobe_cmyk.jpg        color=rgb'
    'exact.pgm    jpeg/lossless_16_7.jpg'
    'nearest.ppm  hills.ppm                  nearest=37%'
    'linear.ppm   hills.ppm                  linear=37%'
    'cubic.ppm    hills.ppm                  cubic=170%'
    'area.ppm     hills.ppm                  area=37%'
    'fine.ppm     hills.ppm                  fine=37%'
    'fine16.ppm   png/colour_16.png          fine=60%'
    'turned.ppm   hills.ppm                  rotate=90 mirror-x crop=5,7,301x203'
    'lab.raw      hills.ppm                  color=icc-lab'
    'hsl.raw      hills.ppm                  color=hsl'
    'wide.raw     hills.ppm                  convert=3.3:-7.1:16'
    'tiff.ppm     tiff/jpeg_ycbcr.tif'
    'palette.ppm  tiff/palette_4.tif         color=rgb'
    'page.pbm     tiff/fax_t4_two.tif        rotate=90'
    'gray.pgm     tiff/fax_t6.tif            color=gray convert=255:0:8 area=40%'
    'png.ppm      png/colour_interlaced.png  linear=300%'
)
here=build/release/tools/nuv/nuv
there=(qemu-aarch64 -L /usr/aarch64-linux-gnu
    -E "LD_LIBRARY_PATH=$root/usr/lib/aarch64-linux-gnu" "$build/tools/nuv/nuv")
[[ $(LC_ALL=C file -b "$build/tools/nuv/nuv") == *aarch64* ]]
rm -rf "$build/compared"
mkdir -p "$build/compared"/{here,there}
/usr/bin/python3 examples/make_demo_picture.py "$build/compared/hills.ppm"
different=0
for conversion in "${conversions[@]}"; do
    read -r name picture words <<<"$conversion"
    [[ $picture == */* ]] && picture=tests/data/$picture || picture=$build/compared/$picture
    # shellcheck disable=SC2086 # several words
    "$here" convert "$picture" "$build/compared/here/$name" $words
    # shellcheck disable=SC2086
    "${there[@]}" convert "$picture" "$build/compared/there/$name" $words
    cmp "$build/compared"/{here,there}/"$name" || different=$((different + 1))
done
echo "${#conversions[@]} conversions, $different of them different"
[[ $different -eq 0 ]]
