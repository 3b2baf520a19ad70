#!/bin/sh
# check_references_test.sh CHECK_REFERENCES: tests that each kind of dangling name is reported, and nothing else.
set -eu
check=$1
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mkdir -p "$root/docs" "$root/engine" "$root/include/zta"
touch "$root/engine/copy.cpp" "$root/include/zta/status.h"
printf 'test: build\n\ttrue\nabi-update:\n\ttrue\n' > "$root/Makefile"
printf '# A guide\n\n## The life of `x`, at last\n' > "$root/docs/guide.md"

# expect TEXT VERDICT: checks a document with this text; VERDICT is "fine", or the message.
expect() {
    printf '%s\n' "$1" > "$root/README.md"
    if said=$("$check" "$root"); then said=fine; fi
    if [ "$said" != "$2" ]; then
        echo "$1: expected \"$2\", got \"$said\"" >&2
        exit 1
    fi
}

expect 'See `engine/copy.cpp`, `engine/` and `zta/status.h`.' fine
expect 'Files `engine/<name>.cpp`, `engine/*_test.cpp`, `engine/{a,b}.h`, `build/x.cpp`, `/proc/self/maps`.' fine
expect 'Run `make test`, then `make abi-update`; make sure of it.' fine
expect '[Guide](docs/guide.md), [life](docs/guide.md#the-life-of-x-at-last), [web](https://example.org/x#y)' fine

expect 'See `engine/paste.cpp`.' 'README.md: engine/paste.cpp'
expect 'See `fuzz/ini.cpp`.' 'README.md: fuzz/ini.cpp'
expect 'See `zta/stats.h`.' 'README.md: zta/stats.h'
expect 'Run `make bread PRESET=asan`.' 'README.md: make bread'
expect '$ make bread' 'README.md: make bread'
expect '[Guide](docs/guides.md)' 'README.md: docs/guides.md'
expect '[Guide](docs/guide.md#death)' 'README.md: docs/guide.md#death'
expect '[Above](#nowhere)' 'README.md: #nowhere'
rm -r "$root/docs"
rm "$root/README.md"
if "$check" "$root" > /dev/null; then
    echo "a tree without documents is accepted" >&2
    exit 1
fi
