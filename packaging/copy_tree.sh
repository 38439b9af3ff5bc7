#!/bin/bash
# Copies the files of the tree into a folder, without what git ignores.
#
#     packaging/copy_tree.sh FOLDER
set -euo pipefail
folder=$(realpath "$1")
cd "$(dirname "$0")/.."

git ls-files --cached --others --exclude-standard -z | while IFS= read -r -d '' file; do
    [[ ! -f $file ]] || printf '%s\0' "$file"
done | tar --create --null --files-from=- | tar --extract --directory "$folder"
