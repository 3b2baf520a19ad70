#!/bin/sh
# Uninstalling removes exactly the installed files: of a whole installation, of components, and with DESTDIR.
set -eu
unset DESTDIR
rm -rf ./*
mkdir manifests

# install PREFIX [COMPONENT]: installs, and moves the manifest out of the build directory.
install() {
    "$CMAKE" --install "$BUILD" --prefix "$1" ${2:+--component "$2"} > log
    mv "$BUILD"/install_manifest*.txt manifests
}
uninstall() { "$CMAKE" -D BUILD=manifests -P "$SOURCE/cmake/Uninstall.cmake" > log; }

# A file of another project stays, and so do the directories that it is in.
install "$PWD/prefix"
test -e prefix/include/zta/zta.h
echo other > prefix/include/other.h
echo other > prefix/include/zta/other.h
uninstall
find prefix ! -type d | LC_ALL=C sort > left
printf '%s\n' prefix/include/other.h prefix/include/zta/other.h | diff -u - left
test ! -e prefix/include/zta/host
test ! -e "prefix/$DOCDIR"

# Two components, installed below DESTDIR.
export DESTDIR="$PWD/destination"
install /prefix runtime
install /prefix tools
test -e "destination/prefix/bin/ztaudio"
uninstall
find destination ! -type d > left
test ! -s left

# Without an installation there is nothing to remove, and that is an error.
if "$CMAKE" -D BUILD=manifests -P "$SOURCE/cmake/Uninstall.cmake" > log 2>&1; then exit 1; fi
grep -q 'nothing was installed' log
