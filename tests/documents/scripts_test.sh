#!/bin/sh
# scripts_test.sh ROOT: checks that each script explains itself with --help, and that `make help` lists each command.
set -eu
. "${0%/*}/consistency.sh"

scripts=0
for script in scripts/*; do
    if [ ! -x "$script" ]; then continue; fi
    scripts=$((scripts + 1))
    name=${script#scripts/}
    "$script" --help < /dev/null > "$work/help" || fail "$script --help fails"
    grep -qE "^$name( [^:]*)?: |^usage: $name " "$work/help" || fail "$script --help does not begin with its name"
done
[ "$scripts" -gt 20 ] || fail "only $scripts scripts found"

# The targets of the Makefile, without those below the comment on former names.
sed -n '/^# The former names/q; s/^\([a-z-]*\):.*/\1/p' Makefile | LC_ALL=C sort -u > "$work/targets"
make --no-print-directory help > "$work/help"
sed -n 's/^  make \([a-z-]*\)  *[^ ].*\.$/\1/p' "$work/help" | LC_ALL=C sort > "$work/listed"
diff -u "$work/targets" "$work/listed" || fail "make help does not describe each target of the Makefile"
awk 'length > 120' "$work/help" | grep . && fail "make help has lines of more than 120 characters"
exit "$failed"
