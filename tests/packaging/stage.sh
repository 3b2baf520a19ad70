#!/bin/sh
# Installs each component by itself, notes its files, and puts all together in a prefix that none was installed to.
set -eu
unset DESTDIR
rm -rf "$STAGE"
mkdir -p "$PREFIX"
install() { "$CMAKE" --install "$BUILD" --prefix "$STAGE/$1" ${2:+--component "$2"} > "$STAGE/log"; }
note() {
    (cd "$STAGE/$1" && find . -type l -printf '%P -> %l\n' -o -type f -printf '%P\n') |
        LC_ALL=C sort > "$STAGE/$1.found"
}

for component in runtime development tools; do
    install "$component" "$component"
    note "$component"
    cp -a "$STAGE/$component/." "$PREFIX"
    rm -r "${STAGE:?}/$component"
done
install all
note all
rm -r "$STAGE/all"
