#!/usr/bin/env bash
# check_usage.sh TROVA ROOT: the manual page and the completions know every command and long option
# that the command knows.
set -u
trova=$1 root=$2
bad=0
commands=$("$trova" --help | sed -nE '/^Subcommands/,$s/^  ([a-z]+) .*/\1/p')
words=$(for command in $commands; do "$trova" "$command" --help; done |
    grep -oE '^  (-[a-z0-9],)?--[a-z-]+' | sed -E 's/.*--//' | sort -u)
[ -n "$commands" ] && [ -n "$words" ] || { echo 'no commands or options'; bad=1; }

for file in man/trova.1 completions/trova completions/_trova completions/trova.fish; do
    for word in $commands $words; do
        grep -qE -- "\b$word\b" "$root/$file" || { echo "$file does not know $word"; bad=1; }
    done
done
exit $bad
