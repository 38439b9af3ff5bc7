#!/bin/bash
# Builds and runs clients of an installed package in both ways that users have: find_package() and
# pkg-config.
#
#     check_clients.sh CMAKE PREFIX COMPILER EXTRA_FLAGS WORK_FOLDER
set -euo pipefail

cmake=$1 prefix=$2 compiler=$3 work=$5
read -r -a flags <<<"$4"
client=$(cd "$(dirname "$0")" && pwd)
source=${client%/tests/wrapper/client}

shopt -s nullglob
libraries=("$prefix"/lib*/{,*/}libnuv.{so,a})
pkgconfig=("$prefix"/lib*/{,*/}pkgconfig/nuv.pc)
if [[ ${#libraries[@]} -ne 1 || ${#pkgconfig[@]} -ne 1 ]]; then
    echo "library or nuv.pc is missing below $prefix" >&2
    exit 1
fi

echo "== find_package"
"$cmake" -S "$client" -B "$work/found" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$4" >"$work/found.log"
"$cmake" --build "$work/found" >>"$work/found.log" || { cat "$work/found.log" >&2; exit 1; }
"$work/found/client"

echo "== pkg-config"
export PKG_CONFIG_PATH=${pkgconfig[0]%/*}
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
