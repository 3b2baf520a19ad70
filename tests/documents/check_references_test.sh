#!/bin/sh
# check_references_test.sh CHECK_REFERENCES: tests that each kind of dangling name is reported, and nothing else.
set -eu
. "${0%/*}/checker.sh"
mkdir -p "$root/docs" "$root/engine" "$root/include/zta"
touch "$root/engine/copy.cpp" "$root/include/zta/status.h"
printf 'test: build\n\ttrue\nabi-update:\n\ttrue\n' > "$root/Makefile"
printf '# A guide\n\n## The life of `x`, at last\n' > "$root/docs/guide.md"

expect_text 'See `engine/copy.cpp`, `engine/` and `zta/status.h`.' fine
expect_text 'Files `engine/<name>.cpp`, `engine/*_test.cpp`, `engine/{a,b}.h`, `build/x.cpp`, `/proc/self/maps`.' fine
expect_text 'Run `make test`, then `make abi-update`; make sure of it.' fine
expect_text '[Guide](docs/guide.md), [life](docs/guide.md#the-life-of-x-at-last), [web](https://example.org/x#y)' fine

expect_text 'See `engine/paste.cpp`.' 'README.md: engine/paste.cpp'
expect_text 'See `fuzz/ini.cpp`.' 'README.md: fuzz/ini.cpp'
expect_text 'See `zta/stats.h`.' 'README.md: zta/stats.h'
expect_text 'Run `make bread PRESET=asan`.' 'README.md: make bread'
expect_text '$ make bread' 'README.md: make bread'
expect_text '[Guide](docs/guides.md)' 'README.md: docs/guides.md'
expect_text '[Guide](docs/guide.md#death)' 'README.md: docs/guide.md#death'
expect_text '[Above](#nowhere)' 'README.md: #nowhere'
expect_no_documents check-references
