#!/bin/sh
# Builds the program in README.md in the two ways that README.md shows, and compares its output.
set -eu
export PREFIX PKG_CONFIG_PATH="$PREFIX/$LIBDIR/pkgconfig"
module=$PREFIX/$LIBDIR/libZtaAudioSamplesEngine.so.1

# block KIND [N]: the N-th fenced block in README.md that begins with ```KIND; the first by default.
block() {
    awk -v fence="\`\`\`$1" -v wanted="${2:-1}" '
        $0 == "```" { on = 0 } on { print } $0 == fence { on = ++count == wanted }' "$SOURCE/README.md"
}

rm -rf ./*
block cpp > 01-copy.cpp
block cmake > CMakeLists.txt
block text > expected
test -s expected

block sh 1 > by-cmake.sh
sh -eux by-cmake.sh
build/01-copy "$module" | diff -u expected -

block sh 2 > by-pkg-config.sh
sh -eux by-pkg-config.sh
./01-copy "$module" | diff -u expected -
test "$(pkg-config --variable=module zta-audio-samples-engine)" -ef "$module"
test "$(pkg-config --modversion zta-audio-samples-engine zta-host | sort -u)" = "$VERSION"
