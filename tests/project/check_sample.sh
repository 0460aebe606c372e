#!/usr/bin/env bash
# check_sample.sh TROVA LIBRARY: the lists know every value of the sample, and no row is lost.
set -u
trova=$1 library=$2
bad=0

messages=$(mktemp)
trap 'rm -f "$messages"' EXIT
playlist=$("$trova" generate --library "$library" --output csv 'generate playlist' 2>"$messages") || bad=1
[ ! -s "$messages" ] || { cat "$messages"; bad=1; }

# No field of the sample holds a line end, so lines are rows.
rows=$(($(wc -l <"$library") - 1))
tracks=$(($(echo "$playlist" | wc -l) - 1))
[ "$rows" -ge 260 ] || { echo "only $rows rows"; bad=1; }
[ "$tracks" -eq "$rows" ] || { echo "$rows rows, but $tracks tracks: idents repeat or rows are skipped"; bad=1; }
exit $bad
