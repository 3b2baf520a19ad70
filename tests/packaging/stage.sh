#!/bin/sh
# Installs each component by itself and compares it with its manifest. Leaves them together in a prefix that none of
# them was installed to.
set -eu
unset DESTDIR
rm -rf "$STAGE"
mkdir -p "$STAGE/moved"
files() { (cd "$1" && find . -type l -printf '%P -> %l\n' -o -type f -printf '%P\n') | LC_ALL=C sort; }

for component in runtime development tools; do
    "$CMAKE" --install "$BUILD" --component "$component" --prefix "$STAGE/$component" > "$STAGE/log"
    sed -e "s|^lib/|$LIBDIR/|" -e "s|@DOCDIR@|$DOCDIR|" -e "s|@VERSION@|$VERSION|" -e "s|@CONFIG@|$CONFIG|" \
        "$(dirname "$0")/manifest/$component.txt" | LC_ALL=C sort > "$STAGE/$component.txt"
    files "$STAGE/$component" | diff -u "$STAGE/$component.txt" -
    cp -a "$STAGE/$component/." "$STAGE/moved"
    rm -r "${STAGE:?}/$component"
done

# Nothing belongs to no component.
"$CMAKE" --install "$BUILD" --prefix "$STAGE/all" > "$STAGE/log"
files "$STAGE/moved" > "$STAGE/moved.txt"
files "$STAGE/all" | diff -u "$STAGE/moved.txt" -
rm -r "$STAGE/all"

# Nothing tells where it came from.
if grep -rIl -e "$STAGE" -e "$BUILD" -e "$SOURCE" "$STAGE/moved"; then
    echo "these files name the folder that they were built in" >&2
    exit 1
fi
