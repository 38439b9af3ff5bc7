#!/bin/bash
# Installs those of the named Debian packages that are missing. Needs root or sudo if any is.
#
#     tools/install_packages.sh PACKAGE...
set -euo pipefail

if ! command -v dpkg-query >/dev/null; then
    echo "This is not a Debian system. Please see to it that these are installed: $*"
    exit 0
fi

missing=()
for package in "$@"; do
    state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [[ $state == installed ]] || missing+=("$package")
done
if [[ ${#missing[@]} -eq 0 ]]; then
    exit 0
fi

as_root=()
if [[ $(id -u) -ne 0 ]]; then
    if ! command -v sudo >/dev/null; then
        echo "Please install, as root: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}"
