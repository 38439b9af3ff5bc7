#!/bin/bash
# Makes the documents a site, which needs no server: index.html in build/site, or in the folder that
# is given. Needs doxygen, mkdocs and netpbm.
#
#     tools/make_docs.sh [FOLDER]
set -euo pipefail
site=$(realpath -m "${1:-$(dirname "$0")/../build/site}")
cd "$(dirname "$0")/.."

rm -rf build/docs
mkdir -p build/docs
tools/site/pages.py build/docs
tools/site/reference.py build/docs
mkdocs --quiet build --strict --site-dir "$site"
# It holds the day of the build, and tells crawlers of addresses that nobody knows yet.
rm -f "$site"/sitemap.xml*
echo "The documents lie in $site/index.html"
