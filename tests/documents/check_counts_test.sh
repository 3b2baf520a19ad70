#!/bin/sh
# check_counts_test.sh CHECK_COUNTS: tests that hand-written counts are reported, and nothing else.
set -eu
. "${0%/*}/checker.sh"
mkdir "$root/docs"
printf '2771 tests\n' > "$root/docs/report.md"
printf '12 checks\n' > "$root/docs/performance-mux.md"

expect_text 'The tests run in 3 minutes. 64 channels, 17 input frames, 200 frames.' fine
expect_text 'The loops use AVX2; tests compare them. The 16-in-16 inputs.' fine
for counted in tests inputs mutants checks branches 'bytes of stack' 'samples checked'; do
    expect_text "All 12,345 $counted pass." "README.md:1:All 12,345 $counted pass."
    expect_text "7 $counted" "README.md:1:7 $counted"
    expect_text "98.8  $counted" "README.md:1:98.8  $counted"
done
expect_no_documents check-counts
