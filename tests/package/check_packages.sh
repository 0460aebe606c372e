#!/usr/bin/env bash
# check_packages.sh ROOT: the packages of this machine, unpacked into a folder, serve a program; what
# they install runs without a path of its own.
set -eu
root=$(realpath "$1")
arch=$(dpkg --print-architecture)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for package in "$root"/build/packages/*_"$arch".deb; do
    dpkg -x "$package" "$work/root"
    dpkg -f "$package" Package Depends | tr '\n' ' '
    echo
done
if readelf -d "$work"/root/usr/bin/* "$work"/root/usr/lib/*/*.so.* | grep -E 'R(UN)?PATH'; then
    echo 'a file of the packages has a path of its own'
    exit 1
fi
"$root/tests/package/check_installed.sh" cc "$root" "$work/root/usr"
LD_LIBRARY_PATH=$(echo "$work"/root/usr/lib/*/) "$work/root/usr/bin/trova" --version
