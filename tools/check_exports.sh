#!/bin/bash
# Checks that a shared library shows members of NuvWrapperClass and GetImgInfo, and nothing else.
#
#     tools/check_exports.sh build/release/wrapper/libnuv.so
set -euo pipefail

library=$1
symbols=$(nm -D --defined-only --format=posix "$library" | awk '{ print $1, $2 }')
if ! grep -q '^GetImgInfo T$' <<<"$symbols"; then
    echo "$library: GetImgInfo is missing" >&2
    exit 1
fi

# Functions alone: data of the library, vtables, type information and inline functions of the
# standard library are all a leak. Members begin with the mangled name of the class, const ones too.
unexpected=$(grep -Ev '^(GetImgInfo|_ZNK?15NuvWrapperClass[A-Za-z0-9_]*) T$' <<<"$symbols" || true)
if [[ -n $unexpected ]]; then
    echo "$library shows more than its interface:" >&2
    c++filt <<<"$unexpected" >&2
    exit 1
fi

# The name that programs remember.
if ! readelf -d "$library" | grep -q 'SONAME.*\[libnuv\.so\.1\]'; then
    echo "$library: the SONAME is not libnuv.so.1" >&2
    exit 1
fi
