#!/bin/sh
# packages_test.sh ROOT: the Debian packages that cmake/Parts.cmake names are those of the Makefile, of docs/install.md
# and of packaging/debian/control.
set -eu
. "${0%/*}/consistency.sh"

# Prints the packages that a part of the build needs, by the names in CMakeLists.txt and cmake/Parts.cmake.
packages_of() {
    for name in $(sed -n "s/^zta_part($1 \"[^\"]*\" *\(.*\))$/\1/p" CMakeLists.txt); do
        sed -n "s/^set(ZTA_DEBIAN_$name \(.*\))$/\1/p" cmake/Parts.cmake
    done
}

# has PACKAGE FILE TEXT: the text of the file has the package as a word.
has() { printf '%s' "$3" | tr -c 'a-z0-9.+-' '\n' | grep -qxF -- "$1" || fail "$2: $1 is missing"; }

checked=0
for part in TOOLS TESTS BENCH; do
    row=$(grep "^| \`ZTA_BUILD_$part\`" docs/install.md)
    for package in $(packages_of "$part"); do
        checked=$((checked + 1))
        has "$package" "docs/install.md: ZTA_BUILD_$part" "$row"
        has "$package" Makefile "$(grep -A 2 '^[A-Z]*_PACKAGES = ' Makefile)"
        if [ "$part" != BENCH ]; then has "$package" packaging/debian/control "$(sed -n '/^Build-Depends/,/^[^ B]/p' packaging/debian/control)"; fi
    done
done
[ "$checked" -ge 7 ] || fail "only $checked packages found"
[ "$checked" -eq "$(grep -c '^set(ZTA_DEBIAN_' cmake/Parts.cmake)" ] || fail "cmake/Parts.cmake: a package belongs to no part"
exit "$failed"
