#!/bin/sh
# layers_list_test.sh ROOT: checks that all users of scripts/layers.list agree with it: docs/architecture.md, clang-tidy
# and the folders of the tree.
set -eu
. "${0%/*}/consistency.sh"

scripts/layers --table > "$work/table"
sed -n '/^<!-- layers: begin/,/^<!-- layers: end/p' docs/architecture.md | sed '1d;$d' > "$work/document"
diff -u "$work/table" "$work/document" || fail "docs/architecture.md: the table differs from scripts/layers --table"

# clang-tidy reports warnings of the headers of exactly the marked layers.
filter=$(sed -n "s/^HeaderFilterRegex: '\(.*\)'$/\1/p" .clang-tidy)
scripts/layers tidy > "$work/tidy"
for layer in $(scripts/layers); do
    if printf '/home/x/%s/a.h' "$layer" | grep -qE "$filter"; then matches=yes; else matches=no; fi
    if grep -qx "$layer" "$work/tidy"; then marked=yes; else marked=no; fi
    [ "$matches" = "$marked" ] || fail ".clang-tidy: HeaderFilterRegex and scripts/layers.list disagree about $layer"
done

# Every folder with sources has a rule (scripts/check-layers reports the others), and every rule has a folder.
for layer in $(scripts/layers); do
    [ -d "$layer" ] || fail "scripts/layers.list: there is no folder $layer"
done
for layer in $(scripts/layers library); do
    [ -n "$(scripts/layers --tests "$layer")" ] || fail "scripts/layers.list: $layer has no tests"
done
[ "$(scripts/layers library | wc -l)" -ge 7 ] || fail "scripts/layers library: layers are missing"
exit "$failed"
