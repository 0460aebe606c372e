#!/usr/bin/env bash
# check_layers.sh ROOT: no folder includes headers of a folder that it must not know.
set -u
root=$1
bad=0

headers_in() { find "$@" -name '*.h' -o -name '*.hxx' -o -name '*.hpp' | sed 's|.*/||' | sort -u; }

# keeps_to OWN FORBIDDEN...: the sources of OWN include no header that only FORBIDDEN folders have
keeps_to() {
    local own=$1
    shift
    local forbidden includes hits
    forbidden=$(comm -23 <(cd "$root" && headers_in "$@") <(cd "$root" && headers_in "$own" include))
    [ -n "$forbidden" ] || { echo "no headers in: $*"; bad=1; return; }
    includes=$(grep -rnoE '^ *# *include *["<][^">]+[">]' "$root/$own" |
        sed -E 's|^([^:]*:[0-9]+:).*["<]([^">]*/)?([^">/]+)[">]|\3 \1|')
    [ -n "$includes" ] || { echo "$own includes nothing at all"; bad=1; return; }
    hits=$(awk 'NR == FNR { no[$1]; next } $1 in no' <(echo "$forbidden") <(echo "$includes"))
    [ -z "$hits" ] || { echo "$own must not include headers of $*:"; echo "$hits"; bad=1; }
}

keeps_to support playlist manager cli
keeps_to playlist manager cli
keeps_to manager support playlist cli
keeps_to cli support playlist manager
keeps_to examples support playlist manager cli
exit $bad
