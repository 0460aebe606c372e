#!/usr/bin/env bash
# check_packages.sh ROOT: the packages of this machine, unpacked into a folder, serve a program; what
# they install runs without a path of its own.
set -eu
root=$(realpath "$1")
arch=$(dpkg --print-architecture)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for package in "$root"/build/packages/*_"$arch".deb; do
    dpkg -x "$package" "$work/unpacked"
    dpkg -f "$package" Package Depends | tr '\n' ' '
    echo
done
if readelf -d "$work"/unpacked/usr/bin/* "$work"/unpacked/usr/lib/*/*.so.* | grep -E 'R(UN)?PATH'; then
    echo 'a file of the packages has a path of its own'
    exit 1
fi
"$root/tests/package/check_installed.sh" cc "$root" "$work/unpacked/usr"
LD_LIBRARY_PATH=$(echo "$work"/unpacked/usr/lib/*/) "$work/unpacked/usr/bin/trova" --version
