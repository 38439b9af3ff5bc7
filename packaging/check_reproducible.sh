#!/bin/bash
# Builds two copies of the tree, in other folders, languages and time zones, and compares what they
# install byte by byte: shared and static libraries, the tool, the Python module, and what goes with
# them.
#
#     packaging/check_reproducible.sh              the libraries and the tool
#     packaging/check_reproducible.sh --packages   and Debian's packages
set -euo pipefail
cd "$(dirname "$0")/.."

with_packages=
[[ ${1-} != --packages ]] || with_packages=1
work=$PWD/build/reproducible
tools/install_packages.sh ccache cmake g++ help2man libcli11-dev libpng-dev ninja-build \
    nlohmann-json3-dev pybind11-dev python3-dev zlib1g-dev

# Builds the copy in $1; what is compared comes to $2.
build_copy()
{
    local tree=$1 out=$2 options
    # Each copy compiles all by itself, and shares only between its own builds.
    export CCACHE_DIR=$out/ccache CCACHE_NOHASHDIR=1 CCACHE_BASEDIR=$tree
    for options in ON OFF; do
        cmake -S "$tree" -B "$tree/build/$options" -G Ninja -DCMAKE_BUILD_TYPE=Release \
            -DNUV_BUILD_TESTS=OFF -DBUILD_SHARED_LIBS=$options -DNUV_BUILD_PYTHON=$options
        cmake --build "$tree/build/$options" --parallel "$(nproc)"
        cmake --install "$tree/build/$options" --prefix "$out/installed/shared_$options"
    done
    if [[ -n $with_packages ]]; then
        (cd "$tree" && DEB_BUILD_OPTIONS="parallel=$(nproc)" dpkg-buildpackage -us -uc -b)
        mkdir "$out/installed/packages"
        cp "$tree"/../*.deb "$out/installed/packages"
    fi
}

exec 3>&2
log=
trap '[[ -z $log ]] || tail -30 "$log" >&3' EXIT
one=$work/one/nuv other=$work/other/place/nuv
rm -rf "$work"
mkdir -p "$one" "$other" "$work"/{first,second}
packaging/copy_tree.sh "$one"
cp -a "$one/." "$other"
echo "== the first copy"
export LC_ALL=C TZ=UTC
umask 022
log=$work/first.log
build_copy "$one" "$work/first" >"$log" 2>&1
echo "== the second copy"
export LC_ALL=C.UTF-8 TZ=Pacific/Kiritimati
umask 002
log=$work/second.log
build_copy "$other" "$work/second" >"$log" 2>&1
log=

echo "== the same bytes"
diff --recursive --brief --no-dereference "$work/first/installed" "$work/second/installed"
echo "$(find "$work/first/installed" -type f | wc -l) files are the same"
