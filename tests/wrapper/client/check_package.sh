#!/bin/bash
# Installs a build to a prefix of its own, moves that prefix elsewhere, and tries what users do with it
# there (check_clients.sh).
#
#     check_package.sh CMAKE BUILD_DIR COMPILER EXTRA_FLAGS
set -euo pipefail

cmake=$1 build=$2 compiler=$3
client=$(cd "$(dirname "$0")" && pwd)
source=${client%/tests/wrapper/client}
work=$build/client
prefix=$work/prefix

rm -rf "$work"
mkdir -p "$work"
"$cmake" --install "$build" --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$prefix"

shopt -s globstar nullglob
headers=("$prefix"/include/**/*.h*)
if [[ ${headers[*]#"$prefix/include/nuv/"} != "nuv.h nuv.hpp nuv_wrapper.h" ]]; then
    echo "the headers should be nuv.h, nuv.hpp and nuv_wrapper.h, found: ${headers[*]}" >&2
    exit 1
fi
ls "$prefix"/share/{man/man1/nuv.1,bash-completion/completions/nuv,zsh/site-functions/_nuv} \
    "$prefix"/share/fish/vendor_completions.d/nuv.fish >/dev/null

# A sanitizer's or a counter's runtime wants to know where the sources are.
if [[ -z $4 ]] && grep -rlF -e "$source" -e "$build" "$prefix"; then
    echo "these name the folder that they were built in" >&2
    exit 1
fi

"$client/check_clients.sh" "$cmake" "$prefix" "$compiler" "$4" "$work"

if [[ -x $prefix/bin/nuv ]]; then
    echo "== the installed tool needs nothing else that is installed"
    cp "$prefix/bin/nuv" "$work/nuv"
    LD_LIBRARY_PATH="" "$work/nuv" --version
fi
