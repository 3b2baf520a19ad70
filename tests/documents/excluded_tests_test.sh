#!/bin/sh
# excluded_tests_test.sh ROOT PROGRAMS: each filter of scripts/emulate.list excludes a test of its program, which lies in
# the folder PROGRAMS.
set -eu
. "${0%/*}/consistency.sh"

# Without AVX2, this CPU has no tests of the variants that only Haswell runs.
skipped=-
if ! grep -qw avx2 /proc/cpuinfo; then skipped=Haswell; fi
grep -v '^#' scripts/emulate.list > "$work/list"
filters=0
while read -r model program filter reason; do
    filters=$((filters + 1))
    if [ "$model" = "$skipped" ]; then continue; fi
    [ -n "$reason" ] || fail "scripts/emulate.list: $filter has no reason"
    "$2/$program" --gtest_list_tests --gtest_filter="$filter" 2> /dev/null | grep -q '^  ' ||
        fail "scripts/emulate.list: $filter matches no test of $program"
done < "$work/list"
[ "$filters" -ge 5 ] || fail "scripts/emulate.list: only $filters filters found"
exit "$failed"
