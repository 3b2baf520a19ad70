# The tests that compare files of the tree source this file with the path of the tree as $1. They end with
# `exit "$failed"` and keep their own files in $work.
cd "$1"
failed=0
fail() {
    echo "$1" >&2
    failed=1
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
