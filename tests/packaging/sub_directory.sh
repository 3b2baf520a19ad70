#!/bin/sh
# A project that contains this one as a directory has the targets of the library, but no tests, tools or installation. The
# lines of the host's guide for such a project build the module, too.
set -eu
rm -rf ./*
"$CMAKE" -S "$(dirname "$0")/sub_directory" -B build -DZTA_SOURCE="$SOURCE" -DCMAKE_CXX_COMPILER="$CXX" > log
"$CMAKE" --build build --target program --parallel 2 >> log || { cat log; exit 1; }
build/program
"$(dirname "$CMAKE")/ctest" --test-dir build -N | grep -qx 'Total Tests: 0'
if "$CMAKE" --install build --prefix prefix | grep -e Installing -e Up-to-date; then exit 1; fi

# The guide's lines, in a project of their own with the sources in the directory zta.
mkdir guide
ln -s "$SOURCE" guide/zta
{
    echo 'cmake_minimum_required(VERSION 3.22)'
    echo 'project(YourHost LANGUAGES C CXX)'
    echo 'add_executable(your_host your_host.cpp)'
    awk '$0 == "```" { on = 0 } on { print } $0 == "```cmake" { on = 1 }' "$SOURCE/docs/host-guide.md"
} > guide/CMakeLists.txt
grep -q MODULE_PATH guide/CMakeLists.txt
echo 'int main(int, char** argv) { return MODULE_PATH[0] == argv[0][0]; }' > guide/your_host.cpp
"$CMAKE" -S guide -B guide/build -DCMAKE_CXX_COMPILER="$CXX" > log
# The commands for the target include the link of the module. They are not run here: that takes minutes, and other tests
# do it.
case ${CMAKE_GENERATOR:-} in
Ninja*) set -- -t commands your_host ;;
*) set -- -n ;;
esac
"$CMAKE" --build guide/build --target your_host -- "$@" > commands
grep -q -e '-soname,libZtaAudioSamplesEngine' -e 'shared library .*libZtaAudioSamplesEngine' commands
