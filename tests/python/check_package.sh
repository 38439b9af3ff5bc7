#!/bin/bash
# The source distribution holds what the wheel is built from; the wheel has the library in it, and
# installed in an environment of its own it runs the examples of the documents.
#
#     check_package.sh PYTHON BUILD   with what CMake has configured in BUILD
set -euo pipefail

python=$1
export NUV_PYTHON_BUILD=$2
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset PYTHONPATH

# A copy: setuptools leave their notes where they work.
mkdir "$work/tree"
tar -C "$root" --exclude=__pycache__ --exclude='*.egg-info' -cf - CMakeLists.txt LICENSE api cmake core \
    extension framework python tools wrapper | tar -C "$work/tree" -xf -
"$python" -m build --no-isolation --outdir "$work/dist" "$work/tree/python" >"$work/log" 2>&1 ||
    { cat "$work/log"; exit 1; }

tar -tzf "$work"/dist/nuv-*.tar.gz | sed -n 's,^[^/]*/tree/,,p' | grep '[^/]$' | sort >"$work/held"
(cd "$work/tree" && find CMakeLists.txt LICENSE api cmake core extension framework python tools/nuv wrapper \
    \( -type f -o -type l \) ! -path '*.egg-info/*' | sort) >"$work/wanted"
diff "$work/wanted" "$work/held"

"$python" -m venv --system-site-packages "$work/venv"
"$work/venv/bin/python" -m pip install -q --no-index --no-deps "$work"/dist/nuv-*.whl
cd "$work"
"$work/venv/bin/python" -m pytest -q -p no:cacheprovider "$here/nuv_documents_test.py"
module=$("$work/venv/bin/python" -c 'import nuv._nuv; print(nuv._nuv.__file__)')
[[ $module == "$work"/venv/* ]]
[[ $(nm -D --defined-only "$module" | grep -c ' T ') == 1 ]] || { nm -D --defined-only "$module"; exit 1; }
if ldd "$module" | grep libnuv; then exit 1; fi
