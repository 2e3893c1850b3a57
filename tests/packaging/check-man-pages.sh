#!/bin/sh
# check-man-pages.sh MAN_DIR ORVELLACTL [ORVELLA]
# The man pages render without groff warnings and name every command and option that the
# programs' --help lists.
set -u
dir=$1 orvellactl=$2 orvella=${3:-}
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

render() { groff -man -Tascii -P-cbou "$1" 2>/dev/null; }
for page in orvella.1 orvellactl.1; do
    warnings=$(groff -man -ww -z -Tutf8 "$dir/$page" 2>&1)
    [ -z "$warnings" ] || fail "$page: $warnings"
done

# every --option of a program's help must be in its page
check_options() {  # PAGE HELP_TEXT
    text=$(render "$dir/$1")
    for option in $(printf '%s\n' "$2" | grep -o -- '--[a-z][a-z-]*' | sort -u); do
        printf '%s\n' "$text" | grep -qF -- "$option" || fail "$1 does not mention $option"
    done
}

help=$("$orvellactl" --help) || fail "orvellactl --help failed"
check_options orvellactl.1 "$help"
# The commands are the leading lower-case words of the lines under "Commands:".
commands=$(printf '%s\n' "$help" | sed -n '/^Commands:/,/^$/p' | sed -n 's/^  \([a-z][a-z-]*\( [a-z][a-z-]*\)*\).*/\1/p')
[ -n "$commands" ] || fail "no commands found in orvellactl --help"
page=$(render "$dir/orvellactl.1")
printf '%s\n' "$commands" | while read -r command; do
    printf '%s\n' "$page" | grep -qF -- "$command" || echo "FAIL: orvellactl.1 does not describe '$command'"
done | grep . && failures=$((failures + 1))

if [ -n "$orvella" ]; then
    help=$("$orvella" --help 2>&1) || fail "orvella --help failed"
    check_options orvella.1 "$help"
fi
[ "$failures" -eq 0 ]
