#!/bin/bash
# Installs a build to a prefix of its own, moves that prefix elsewhere, and builds and runs a client
# against it in both ways that users have: find_package() and pkg-config.
#
#     check_package.sh CMAKE BUILD_DIR COMPILER EXTRA_FLAGS
set -euo pipefail

cmake=$1 build=$2 compiler=$3
read -r -a flags <<<"$4"
client=$(cd "$(dirname "$0")" && pwd)
source=${client%/tests/wrapper/client}
work=$build/client
prefix=$work/prefix

rm -rf "$work"
mkdir -p "$work"
"$cmake" --install "$build" --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$prefix"

shopt -s globstar nullglob
pkgconfig=("$prefix"/lib*/**/pkgconfig)
libraries=("$prefix"/lib*/**/libnuv.{so,a})
headers=("$prefix"/include/**/*.h*)
if [[ ${headers[*]#"$prefix/include/nuv/"} != "nuv.h nuv.hpp nuv_wrapper.h" ]]; then
    echo "the headers should be nuv.h, nuv.hpp and nuv_wrapper.h, found: ${headers[*]}" >&2
    exit 1
fi
if [[ ${#libraries[@]} -ne 1 || ${#pkgconfig[@]} -ne 1 ]]; then
    echo "library or nuv.pc is missing below $prefix" >&2
    exit 1
fi
ls "$prefix"/share/{man/man1/nuv.1,bash-completion/completions/nuv,zsh/site-functions/_nuv} \
    "$prefix"/share/fish/vendor_completions.d/nuv.fish >/dev/null

# A sanitizer's or a counter's runtime wants to know where the sources are.
if [[ -z $4 ]] && grep -rlF -e "$source" -e "$build" "$prefix"; then
    echo "these name the folder that they were built in" >&2
    exit 1
fi

echo "== find_package"
"$cmake" -S "$client" -B "$work/found" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$4" >"$work/found.log"
"$cmake" --build "$work/found" >>"$work/found.log" || { cat "$work/found.log" >&2; exit 1; }
"$work/found/client"

echo "== pkg-config"
export PKG_CONFIG_PATH=${pkgconfig[0]}
[[ $(pkg-config --modversion nuv) == 1.4.* ]]
static=() linker=("$compiler" "${flags[@]}")
# What the package file says of a static library has to do for a C compiler, and with nothing shared.
[[ ${libraries[0]} == *.so ]] || static=(--static) linker=(cc -static)
read -r -a package < <(pkg-config --cflags --libs "${static[@]}" nuv)
"$compiler" -std=c++17 -Wall -Wextra -Wpedantic -Werror "${flags[@]}" "$client/client.cpp" \
    "${package[@]}" -o "$work/client"
LD_LIBRARY_PATH=$(dirname "${libraries[0]}") "$work/client"

echo "== the plain interface, from every language that it speaks"
for language in c99 c11 c++11 c++20; do
    "$compiler" -x "${language%%[0-9]*}" -std="$language" -pedantic-errors -Wall -Wextra -Werror \
        -I"$prefix/include" -fsyntax-only "$source/examples/thumbnail.c"
done
read -r -a package < <(pkg-config --cflags --libs "${static[@]}" nuvc)
"${linker[@]}" -x c -std=c99 "$source/examples/thumbnail.c" -x none "${package[@]}" \
    -o "$work/thumbnail"
for run in "$work/thumbnail" "$work/found/thumbnail"; do
    LD_LIBRARY_PATH=$(dirname "${libraries[0]}") "$run" "$source/tests/data/pnm/colour.ppm" \
        "$work/thumbnail.jpg"
    [[ -s $work/thumbnail.jpg ]]
    rm "$work/thumbnail.jpg"
done

if [[ -x $prefix/bin/nuv ]]; then
    echo "== the installed tool finds the installed library"
    "$prefix/bin/nuv" --version
fi
