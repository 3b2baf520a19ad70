#!/bin/sh
# Installs each component alone, lists its files, and merges all of them below a prefix that none was installed to.
set -eu
unset DESTDIR
rm -rf "$STAGE"
mkdir -p "$PREFIX"
install() { "$CMAKE" --install "$BUILD" --prefix "$STAGE/$1" ${2:+--component "$2"} > "$STAGE/log"; }
list_files() {
    (cd "$STAGE/$1" && find . -type l -printf '%P -> %l\n' -o -type f -printf '%P\n') |
        LC_ALL=C sort > "$STAGE/$1.found"
}

for component in runtime development tools; do
    install "$component" "$component"
    list_files "$component"
    cp -a "$STAGE/$component/." "$PREFIX"
    rm -r "${STAGE:?}/$component"
done
install all
list_files all
rm -r "$STAGE/all"
