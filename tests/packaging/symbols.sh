#!/bin/sh
# Debian's symbols file lists exactly the exported names of the module.
set -eu
sed -n 's/^ \([^ @]*\)@Base [^ ]*$/\1/p' "$SOURCE/packaging/debian/libztaaudiosamplesengine1.symbols" > names.txt
diff -u "$SOURCE/cmake/exports.list" names.txt
test -s names.txt
