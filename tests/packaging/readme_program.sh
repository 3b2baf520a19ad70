#!/bin/sh
# readme_program.sh MAKE_TONE: runs the commands of README.md, with the engine installed in $HOME/zta. Builds the program
# with pkg-config, and with CMake as in docs/install.md, and compares the output. Then builds the C program and runs the
# commands of the tool.
set -eu
make_tone=$1

# block DOCUMENT KIND [N]: the N-th fenced block that begins with ```KIND; the first by default.
block() {
    awk -v fence="\`\`\`$2" -v wanted="${3:-1}" '
        $0 == "```" { on = 0 } on { print } $0 == fence { on = ++count == wanted }' "$SOURCE/$1"
}

rm -rf ./*
mkdir home
cp -rs "$PREFIX" home/zta
if ! test -e home/zta/lib/pkgconfig; then # a library directory for each architecture
    ln -s "$PREFIX/$LIBDIR"/libZta* "$PREFIX/$LIBDIR"/libzta* "$PREFIX/$LIBDIR/pkgconfig" home/zta/lib/
fi
installed=$PREFIX
unset PREFIX
export HOME="$PWD/home"

block README.md cpp > 01-copy.cpp
block README.md text > expected
test -s expected

block README.md sh 2 > program.sh
grep -q pkg-config program.sh
sh -eux program.sh > printed
diff -u expected printed
PKG_CONFIG_PATH=$HOME/zta/lib/pkgconfig
export PKG_CONFIG_PATH
test "$(pkg-config --variable=module zta-audio-samples-engine)" -ef "$installed/$LIBDIR/libZtaAudioSamplesEngine.so.1"
test "$(pkg-config --modversion zta-audio-samples-engine zta-host | sort -u)" = "$VERSION"

rm 01-copy
block docs/install.md cmake > CMakeLists.txt
grep -q find_package CMakeLists.txt
block docs/install.md console | sed -n 's/^\$ //p' > cmake.sh
test "$(wc -l < cmake.sh)" -eq 2
sh -eux cmake.sh
build/01-copy "$HOME/zta/lib/libZtaAudioSamplesEngine.so.1" | diff -u expected -

cp "$installed/$DOCDIR/examples/07-host-in-c.c" .
block README.md sh 3 > c_program.sh
grep -q 'cc -std=c99' c_program.sh
PREFIX=$HOME/zta sh -eux c_program.sh | tail -n 1 > printed
echo 'buffers left: 0' | diff -u - printed

block README.md sh 4 > tool.sh
test "$(grep -c '^ztaudio ' tool.sh)" -eq 3
PATH=$HOME/zta/bin:$PATH
export PATH
"$make_tone" tone.wav 997 -1 48000 1
ztaudio convert --quiet tone.wav in.flac
for name in drums bass voice keys; do
    cp tone.wav "$name.wav"
done
sh -eux tool.sh > report
for file in out.wav mix.wav mix.svg report; do
    test -s "$file"
done
