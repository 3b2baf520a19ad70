#!/bin/sh
# examples.sh MAKE_TONE: builds the installed examples against the installed engine, and compares what they print with
# what their README.md shows.
set -eu
make_tone=$1
examples=$PREFIX/$DOCDIR/examples
module=$PREFIX/$LIBDIR/libZtaAudioSamplesEngine.so.1

# The fenced block under the heading of an example.
shown() {
    awk -v heading="## $1" '/^## / { mine = $0 == heading } /^```/ { on = $0 == "```text" && mine; next } on' \
        "$examples/README.md"
}

rm -rf ./*
"$CMAKE" -S "$examples" -B build -DCMAKE_PREFIX_PATH="$PREFIX" -DCMAKE_CXX_COMPILER="$CXX" > log
"$CMAKE" --build build --parallel 2 >> log || { cat log; exit 1; }

"$make_tone" tone.wav 997 -6 48000 0.5
count=0
for source in "$examples"/*.cpp; do
    name=$(basename "$source" .cpp)
    test "$(wc -l < "$source")" -lt 80
    case $name in
    06-*) set -- tone.wav resampled.wav "$module" ;;
    *) set -- "$module" ;;
    esac
    "build/$name" "$@" > "$name.printed"
    shown "$name" | diff -u - "$name.printed"
    test -s "$name.printed"
    count=$((count + 1))
done
test "$count" -ge 6

# The installed tool finds the installed module, and resamples to the same file.
"$PREFIX/bin/ztaudio" --quiet resample tone.wav expected.wav --rate 44100
cmp expected.wav resampled.wav
