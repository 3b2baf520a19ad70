#!/bin/sh
# check_counts_test.sh CHECK_COUNTS: tests that hand-written counts are reported, and nothing else.
set -eu
check=$1
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mkdir "$root/docs"
printf '2771 tests\n' > "$root/docs/report.md"
printf '12 checks\n' > "$root/docs/performance-mux.md"

# expect TEXT VERDICT: checks a document with this text; VERDICT is "fine", or the message.
expect() {
    printf '%s\n' "$1" > "$root/README.md"
    if said=$("$check" "$root"); then said=fine; fi
    if [ "$said" != "$2" ]; then
        echo "$1: expected \"$2\", got \"$said\"" >&2
        exit 1
    fi
}

expect 'The tests run in 3 minutes. 64 channels, 17 input frames, 200 frames.' fine
expect 'The loops use AVX2; tests compare them. The 16-in-16 inputs.' fine
for counted in tests inputs mutants checks branches 'bytes of stack' 'samples checked'; do
    expect "All 12,345 $counted pass." "README.md:1:All 12,345 $counted pass."
    expect "7 $counted" "README.md:1:7 $counted"
    expect "98.8  $counted" "README.md:1:98.8  $counted"
done
rm "$root/README.md"
rm -r "$root/docs"
if "$check" "$root" > /dev/null; then
    echo "a tree without documents is accepted" >&2
    exit 1
fi
