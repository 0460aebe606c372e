#!/usr/bin/env bash
# check_headers.sh CC CXX INCLUDE_DIR: every public header compiles alone, as C11 and as C++17, with
# the build's compiler and with clang.
set -u
cc=$1 cxx=$2 include=$3
strict=(-Wall -Wextra -pedantic -Werror -fsyntax-only -I "$include")
bad=0

# compile COMPILER LANGUAGE STANDARD HEADER
compile() {
    printf '#include "%s"\n' "$4" | "$1" -x "$2" -std="$3" "${strict[@]}" - ||
        { echo "$4 does not compile as $3 with $1"; bad=1; }
}

pairs=("$cc $cxx")
if command -v clang >/dev/null && command -v clang++ >/dev/null; then
    pairs+=("clang clang++")
else
    echo 'clang is not here: the headers are not compiled with it'
fi
count=0
for header in "$include"/*.h; do
    name=${header##*/}
    count=$((count + 1))
    for pair in "${pairs[@]}"; do
        compile "${pair% *}" c c11 "$name"
        compile "${pair#* }" c++ c++17 "$name"
    done
done
[ "$count" -gt 0 ] || { echo "no headers in $include"; bad=1; }
exit $bad
