#!/bin/bash
# Checks that a shared library shows exactly the functions of a list, and has the name that programs
# remember.
#
#     tools/check_exports.sh build/release/wrapper/libnuv.so wrapper/libnuv.symbols libnuv.so.1
set -euo pipefail

library=$1 list=$2 soname=$3
# Functions alone, without the version behind a name: data of the library, vtables, type information
# and inline functions of the standard library are all a leak. A version itself is absolute.
shown=$(nm -D --defined-only --format=posix "$library" | awk '
    $2 == "A" { next }
    { sub(/@.*/, "", $1); print $1 ($2 == "T" ? "" : " " $2) }' | LC_ALL=C sort)
if ! difference=$(diff <(grep -v '^#' "$list" | LC_ALL=C sort) - <<<"$shown"); then
    echo "$library shows other names than $list (<: missing, >: not in the list):" >&2
    grep '^[<>]' <<<"$difference" | c++filt >&2
    exit 1
fi

if [[ $(readelf -d "$library" | grep SONAME) != *"[$soname]"* ]]; then
    echo "$library: the SONAME is not $soname" >&2
    exit 1
fi
