#!/bin/sh
# Debian's symbols file names what the module exports, no more and no less.
set -eu
sed -n 's/^ \([^ @]*\)@Base [^ ]*$/\1/p' "$SOURCE/packaging/debian/libztaaudiosamplesengine1.symbols" > names.txt
diff -u "$SOURCE/cmake/exports.list" names.txt
test -s names.txt
