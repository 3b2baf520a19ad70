#!/bin/sh
# Each component has installed exactly the files of its manifest.
set -eu
for component in runtime development tools; do
    sed -e "s|^lib/|$LIBDIR/|" -e "s|@DOCDIR@|$DOCDIR|" -e "s|@VERSION@|$VERSION|" -e "s|@CONFIG@|$CONFIG|" \
        "$(dirname "$0")/manifest/$component.txt" | LC_ALL=C sort > "$component.txt"
    diff -u "$component.txt" "$STAGE/$component.found"
done

# Each installed file belongs to a component.
LC_ALL=C sort ./*.txt | diff -u "$STAGE/all.found" -

# No installed file contains a path of the build.
if grep -rIl -e "$STAGE" -e "$BUILD" -e "$SOURCE" "$PREFIX"; then
    echo "these files name the folder that they were built in" >&2
    exit 1
fi
