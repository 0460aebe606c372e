#!/usr/bin/env bash
# check_language.sh TROVA LIBRARY DOCUMENT: every statement of the language's document runs, and
# every wrong one fails with the message that stands behind it.
set -u
trova=$1 library=$2 document=$3
bad=0
statements=0
say() { echo "$*"; bad=1; }

# check KIND TEXT: a block of the document without its fences.
check() {
    local statement=$2 wanted='' messages status
    if [ "$1" = pdl-error ]; then
        statement=${2%$'\n'*}
        wanted=${2##*$'\n'}
    fi
    messages=$("$trova" generate --library "$library" --seed davis-so-what "$statement" 2>&1 >/dev/null)
    status=$?
    statements=$((statements + 1))
    if [ -z "$wanted" ]; then
        [ $status -eq 0 ] || say "status $status: $statement: $messages"
    elif [ $status -ne 2 ] || ! grep -qF -- "$wanted" <<<"$messages"; then
        say "status $status instead of '$wanted': $statement: $messages"
    fi
}

kind='' text=''
while IFS= read -r line; do
    case $line in
    '```pdl' | '```pdl-error')
        kind=${line#'```'}
        text=''
        ;;
    '```')
        [ -z "$kind" ] || check "$kind" "${text%$'\n'}"
        kind=''
        ;;
    *) [ -z "$kind" ] || text+=$line$'\n' ;;
    esac
done <"$document"
[ $statements -ge 20 ] || say "only $statements statements"
exit $bad
