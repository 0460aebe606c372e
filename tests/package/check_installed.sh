#!/usr/bin/env bash
# check_installed.sh CC ROOT PREFIX: the C example is built against the tree in PREFIX, with
# pkg-config and with find_package, and runs.
set -eu
cc=$1 root=$2 prefix=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
example=$root/examples/playlist.c
libraries=$(dirname "$(find "$prefix" -name 'libtrova_playlist.so.*')")
fail() { echo "$1"; exit 1; }

# Nothing that was compiled elsewhere may be found.
export PKG_CONFIG_LIBDIR=$libraries/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs trova_playlist trova_manager)"
"$cc" -std=c11 -Wall -Wextra -pedantic -Werror -o "$work/by_pkg_config" "$example" "${flags[@]}"

cmake -S "$root/tests/package" -B "$work/build" -DCMAKE_C_COMPILER="$cc" -DEXAMPLE="$example" \
    -DCMAKE_PREFIX_PATH="$prefix" >"$work/log" && cmake --build "$work/build" >>"$work/log" ||
    fail "$(cat "$work/log")"

# Where no path is built in, the loader is told; the program of CMake has one.
LD_LIBRARY_PATH=$libraries "$work/by_pkg_config" >"$work/pkg_config.out"
"$work/build/by_cmake" >"$work/cmake.out"
grep -qxF '1. Miles Davis: So What' "$work/pkg_config.out" || fail 'no playlist'
cmp "$work/pkg_config.out" "$work/cmake.out"
