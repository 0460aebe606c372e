#!/usr/bin/env bash
# check_runtime.sh NM READELF LIBRARY: the library runs without a C++ runtime.
set -u
nm=$1 readelf=$2 library=$3
bad=0

allowed='^(libc|libm|libpthread|ld-linux[a-z0-9-]*|libmsgpack(-?c)?|libtrova_manager)\.so'
sanitizer='^lib(asan|ubsan|tsan|lsan)\.so'
needed=$("$readelf" -d "$library" | sed -nE 's/.*NEEDED.*\[(.*)\]/\1/p')
echo "$needed" | grep -q '^libtrova_manager' || { echo "$library does not need the manager"; bad=1; }
foreign=$(echo "$needed" | grep -vE "$allowed|$sanitizer")
# Where a sanitizer is linked, its runtime may bring libraries of the compiler.
echo "$needed" | grep -qE "$sanitizer" && foreign=$(echo "$foreign" | grep -vE '^lib(gcc_s|stdc\+\+|dl|rt)\.so')
[ -z "$foreign" ] || { echo "needs libraries that it must not need:"; echo "$foreign"; bad=1; }

symbols=$("$nm" -D --undefined-only "$library" | awk '{ print $NF }' |
    grep -E '^(_Z|__cxa_|__gxx_|_Unwind_)' | grep -vE '^__cxa_(finalize|atexit)')
[ -z "$symbols" ] || { echo "needs symbols of the C++ runtime:"; echo "$symbols"; bad=1; }
exit $bad
