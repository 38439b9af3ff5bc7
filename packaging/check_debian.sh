#!/bin/bash
# Builds the Debian packages from a copy of the tree, unpacks them into a folder, runs the clients, the
# tool and the Python module from there, and asks lintian. Nothing is installed but what the build needs.
#
#     packaging/check_debian.sh
set -euo pipefail
cd "$(dirname "$0")/.."

work=$PWD/build/debian
version=$(dpkg-parsechangelog --show-field Version)
tree=$work/nuv-$version
needed=$(awk '/^[^ ]/ { inside = /^Build-Depends/ } inside' debian/control |
    sed 's/^[^:]*://; s/([^)]*)//g; s/,//g; s/debhelper-compat/debhelper/')
# shellcheck disable=SC2086 # several words
tools/install_packages.sh $needed ccache dpkg-dev g++ gcc lintian pkg-config

echo "== packages of version $version"
rm -rf "$work"
mkdir -p "$tree"
packaging/copy_tree.sh "$tree"

# The build gets a home of its own; what the compiler made before is found again from there.
CCACHE_DIR=$(ccache --get-config cache_dir)
CCACHE_MAXSIZE=$(ccache --get-config max_size)
export CCACHE_DIR CCACHE_MAXSIZE CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
(
    cd "$tree"
    DEB_BUILD_OPTIONS="parallel=$(nproc)" dpkg-buildpackage -us -uc >"$work/build.log" 2>&1
) || { tail -40 "$work/build.log" >&2; exit 1; }
packages=("$work"/*.deb)
ls -l "${packages[@]}"

echo "== clients of the unpacked packages"
for package in "${packages[@]}"; do
    dpkg -x "$package" "$work/root"
done
mkdir "$work/clients"
NUV_ROOT=$work/root AUTOPKGTEST_TMP=$work/clients debian/tests/clients

echo "== lintian"
lintian --allow-root --fail-on error,warning --info --tag-display-limit 0 \
    "$work/nuv_$version"_*.changes
echo "nothing to complain of"
