#!/bin/sh
# Builds the program that README.md shows by the two routes that it shows, and compares what it prints.
set -eu
export PREFIX PKG_CONFIG_PATH="$PREFIX/$LIBDIR/pkgconfig"
module=$PREFIX/$LIBDIR/libZtaAudioSamplesEngine.so.1

# block KIND [N]: README.md's N-th fenced block that begins with ```KIND, the first if not told.
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
