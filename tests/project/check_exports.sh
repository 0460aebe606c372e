#!/usr/bin/env bash
# check_exports.sh CC NM READELF LIBRARY LIST HEADER...: the library exports what LIST says, one name a
# line or a version script, which is what the headers declare, under a SONAME that is its file name.
set -u
cc=$1 nm=$2 readelf=$3 library=$4 list=$5
shift 5
bad=0

# Functions are names before a parenthesis, variables follow "extern" and a type.
declared() {
    for header in "$@"; do "$cc" -E -P "$header"; done |
        sed -nE 's/^extern .*\b(g_[a-z_]+)(\[[0-9]+\])?;.*/\1/p; s/.*\b((trova_playlist|trova_manager|vrel_memory)_[a-z_]+)\(.*/\1/p' |
        sort -u
}

# Sanitizers and the linker add names that begin with an underscore.
exported() {
    "$nm" -D --defined-only "$library" | awk '{ print $NF }' | sed 's/@.*//' | grep -v '^_' | sort -u
}

wanted=$(sed -nE 's/^ *([a-z_]+);?$/\1/p' "$list" | sort)
diff <(echo "$wanted") <(exported) || { echo "$list (<) and the library (>) differ"; bad=1; }
diff <(echo "$wanted") <(declared "$@") || { echo "$list (<) and the headers (>) differ"; bad=1; }

file=$(basename "$(readlink -f "$library")")
"$readelf" -d "$library" | grep -qF "soname: [$file]" ||
    { echo "the SONAME is not $file:"; "$readelf" -d "$library" | grep SONAME; bad=1; }
exit $bad
