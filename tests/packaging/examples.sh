#!/bin/sh
# examples.sh MAKE_TONE: builds the installed examples with the installed engine and compares their output with README.md.
set -eu
make_tone=$1
examples=$PREFIX/$DOCDIR/examples
module=$PREFIX/$LIBDIR/libZtaAudioSamplesEngine.so.1

# Prints the expected output of an example: the last block of its section.
expected() {
    awk -v heading="## $1" '
        /^## / { inSection = $0 == heading }
        /^```text/ && inSection { inBlock = 1; next }
        /^```/ { inBlock = 0 }
        inBlock' "$examples/README.md"
}

rm -rf ./*
"$CMAKE" -S "$examples" -B build -DCMAKE_PREFIX_PATH="$PREFIX" -DCMAKE_CXX_COMPILER="$CXX" > log
"$CMAKE" --build build --parallel 2 >> log || { cat log; exit 1; }

"$make_tone" tone.wav 997 -6 48000 0.5
count=0
for source in "$examples"/[0-9]*; do
    file=$(basename "$source")
    name=${file%.*}
    maxLines=79
    case $name in
    00-*) maxLines=60 ;;
    07-* | 08-*) maxLines=400 ;;
    esac
    test "$(wc -l < "$source")" -le "$maxLines"
    case $file in
    00-*) # commands.sh compares the output of the commands in its section
        build/"$name" > "$name.printed"
        grep -qxFf "$name.printed" "$examples/README.md"
        ;;
    06-*)
        build/"$name" tone.wav resampled.wav "$module" > "$name.printed"
        expected "$name" | diff -u - "$name.printed"
        ;;
    *.py)
        python3 "$source" "$module" > "$name.printed"
        expected "$name" | diff -u - "$name.printed"
        ;;
    *)
        build/"$name" "$module" > "$name.printed"
        expected "$name" | diff -u - "$name.printed"
        ;;
    esac
    test -s "$name.printed"
    count=$((count + 1))
done
test "$count" -ge 9
# Both hosts without C++ print the same.
cmp 07-host-in-c.printed 08-host-in-python.printed

# The installed tool finds the installed module, and resamples to the same file.
"$PREFIX/bin/ztaudio" --quiet resample tone.wav expected.wav --rate 44100
cmp expected.wav resampled.wav
