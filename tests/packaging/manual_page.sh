#!/bin/sh
# manual_page.sh TOOL PAGE: the manual page lists the same options as the tool's help. The section of each command lists
# the options of the command's help, except --help.
set -eu
tool=$1
page=$2

# Prints the options of a help text, the first words of lines such as "-o,--output TEXT".
options_of_help() { "$tool" "$@" --help | sed -n 's/^  \(-[^ ]*\).*/\1/p' | tr , '\n' | LC_ALL=C sort; }

# Prints the options that begin the items of a section of the page.
options_of_page() {
    awk -v heading="$1" '
        /^\.S[hs] / { mine = $0 == heading }
        mine && /^\.It Fl / { for (i = 2; i < NF; ++i) if ($i == "Fl") print "-" $(i + 1) }' "$page" | LC_ALL=C sort
}

# compare HEADING [COMMAND]
compare() {
    heading=$1
    shift
    options_of_help "$@" > help.txt
    if [ $# -gt 0 ]; then sed -i -e '/^-h$/d' -e '/^--help$/d' help.txt; fi
    options_of_page "$heading" | diff -u help.txt - || { echo "$heading of $page differs from $tool $* --help" >&2; exit 1; }
}

compare ".Sh OPTIONS"
grep -qx -e --help help.txt
commands=$("$tool" --help | awk '/^[A-Z]/ { on = /^Subcommands:/; next } on && /^  [a-z]/ { print $1 }')
for command in $commands; do
    compare ".Ss $command" "$command"
done
printf '%s' "$commands" | sort > commands.txt
sed -n 's/^\.Ss //p' "$page" | sort | diff -u commands.txt -
