#!/bin/bash
# The types of the module: complete by themselves, and those of what is compiled.
#
#     check_types.sh PYTHON   with the module in PYTHONPATH
set -euo pipefail

cache=$(mktemp -d)
trap 'rm -rf "$cache"' EXIT
here=$(cd "$(dirname "$0")" && pwd)
cd "$cache"
MYPYPATH=$PYTHONPATH "$1" -m mypy --strict --cache-dir "$cache" -p nuv
MYPYPATH=$PYTHONPATH "$1" -m mypy.stubtest --allowlist "$here/stubtest_allowed.txt" nuv
