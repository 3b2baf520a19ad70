#!/bin/sh
# A project that takes this one in as a folder gets the targets, and neither tests, tools nor installation.
set -eu
rm -rf build expected.txt
"$CMAKE" -S "$(dirname "$0")/sub_directory" -B build -DZTA_SOURCE="$SOURCE" -DCMAKE_CXX_COMPILER="$CXX" > log
"$CMAKE" --build build --target program --parallel 2 >> log || { cat log; exit 1; }
build/program
"$(dirname "$CMAKE")/ctest" --test-dir build -N | grep -qx 'Total Tests: 0'
if "$CMAKE" --install build --prefix prefix | grep -e Installing -e Up-to-date; then exit 1; fi
