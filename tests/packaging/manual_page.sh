#!/bin/sh
# manual_page.sh TOOL PAGE: the page lists the tool's options, and has a section for each of its commands that lists the
# command's, --help apart: the same options as the tool's own help.
set -eu
tool=$1
page=$2

# The options that a help text lists: a line's first words up to the first blank, "-o,--output TEXT" and its like.
told() { "$tool" "$@" --help | sed -n 's/^  \(-[^ ]*\).*/\1/p' | tr , '\n' | LC_ALL=C sort; }

# The options that the items of a section of the page begin with.
written() {
    awk -v heading="$1" '
        /^\.S[hs] / { mine = $0 == heading }
        mine && /^\.It Fl / { for (i = 2; i < NF; ++i) if ($i == "Fl") print "-" $(i + 1) }' "$page" | LC_ALL=C sort
}

# compare HEADING [COMMAND]
compare() {
    heading=$1
    shift
    told "$@" > told.txt
    if [ $# -gt 0 ]; then sed -i -e '/^-h$/d' -e '/^--help$/d' told.txt; fi
    written "$heading" | diff -u told.txt - || { echo "$heading of $page differs from $tool $* --help" >&2; exit 1; }
}

compare ".Sh OPTIONS"
grep -qx -e --help told.txt
commands=$("$tool" --help | awk '/^[A-Z]/ { on = /^Subcommands:/; next } on && /^  [a-z]/ { print $1 }')
for command in $commands; do
    compare ".Ss $command" "$command"
done
printf '%s' "$commands" | sort > commands.txt
sed -n 's/^\.Ss //p' "$page" | sort | diff -u commands.txt -
