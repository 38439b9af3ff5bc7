#!/bin/bash
# Checks that shared libraries still serve programs built against the last release: functions, the
# layout of records, and the values of enumerators, against the dumps in packaging/abi. A library has
# to be built with NUV_ABI_CHECK. New functions may come; whatever else differs is shown and fails.
#
#     tools/check_abi.sh build/release/wrapper/libnuv.so build/release/api/libnuvc.so
#     tools/check_abi.sh --write LIBRARY...   takes the libraries as they are for the release
set -euo pipefail

dumps=$(cd "$(dirname "$0")/../packaging/abi" && pwd)
write=
if [[ ${1-} == --write ]]; then
    write=1
    shift
fi
[[ $# -gt 0 ]] || { echo "usage: tools/check_abi.sh [--write] LIBRARY..." >&2; exit 2; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

result=0
for library in "$@"; do
    name=$(readelf -d "$library" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
    abidw --suppressions "$dumps/interface.suppr" --exported-interfaces-only --no-elf-needed \
        --no-show-locs --no-comp-dir-path --no-corpus-path --out-file "$work/$name.abi" "$library"
    # Without debug information a dump has the names alone, and any two layouts are alike.
    if ! grep -q '<class-decl' "$work/$name.abi"; then
        echo "$library tells nothing of its records: build it with -DNUV_ABI_CHECK=ON" >&2
        result=1
    elif [[ -n $write ]]; then
        cp "$work/$name.abi" "$dumps/$name.abi"
    elif ! abidiff --no-added-syms "$dumps/$name.abi" "$work/$name.abi"; then
        echo "$library: programs built against the last release may break (above)" >&2
        result=1
    fi
done
exit $result
