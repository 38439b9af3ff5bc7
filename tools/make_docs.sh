#!/bin/bash
# Makes the documents a site, which needs no server: index.html in build/site, or in the folder that
# is given. Needs the tool, by default that of the release build, which makes the pictures of the
# gallery; doxygen, mkdocs, netpbm, and cjpeg.
#
#     tools/make_docs.sh [FOLDER [NUV]]
set -euo pipefail
tree=$(dirname "$0")/..
site=$(realpath -m "${1:-$tree/build/site}")
nuv=$(realpath -m "${2:-$tree/build/release/tools/nuv/nuv}")
[[ -x $nuv ]] || { echo "make_docs.sh: $nuv is missing" >&2; exit 1; }
cd "$tree"

rm -rf build/docs
mkdir -p build/docs
tools/site/pages.py build/docs
tools/site/reference.py build/docs
tools/site/gallery.py "$nuv" build/docs
benchmarks/plot_tables.py build/docs/performance.md build/docs/performance
mkdocs --quiet build --strict --site-dir "$site"
# It holds the day of the build, and tells crawlers of addresses that nobody knows yet.
rm -f "$site"/sitemap.xml*
echo "The documents lie in $site/index.html"
