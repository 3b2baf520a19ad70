#!/bin/sh
# option_parser_test.sh ROOT: at most one source of each program includes the option parser, which is slow to compile.
set -eu
cd "$1"

count() { grep -rlE '^ *# *include *[<"]CLI/' "$@" 2> /dev/null | wc -l; }

if grep -rlE --include='*.h' '^ *# *include *[<"]CLI/' tools bench examples host; then
    echo "these headers include the option parser" >&2
    exit 1
fi
failed=0
checked=0
for folder in tools/*/ bench/*/; do
    sources=$(count "$folder")
    if [ "$sources" -gt 1 ]; then
        echo "$folder has $sources sources that include the option parser" >&2
        failed=1
    fi
    checked=$((checked + sources))
done
if [ "$checked" -eq 0 ]; then
    echo "no source includes the option parser: this test checks nothing" >&2
    exit 1
fi
exit $failed
