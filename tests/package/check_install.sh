#!/usr/bin/env bash
# check_install.sh CC ROOT BUILD: an installed tree works from wherever it is moved to.
set -eu
cc=$1 root=$2 build=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/here" >/dev/null
mv "$work/here" "$work/there"
"$root/tests/package/check_installed.sh" "$cc" "$root" "$work/there"
if [ -e "$work/there/bin/trova" ]; then "$work/there/bin/trova" --version >/dev/null; fi
