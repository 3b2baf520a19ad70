# The tests of the checkers in scripts/ source this file with the path of the checker as $1. They build trees in $root.
check=$1
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

# expect_verdict CASE VERDICT: runs the checker on the tree; VERDICT is "fine", or the text that the checker prints.
expect_verdict() {
    if output=$("$check" "$root"); then output=fine; fi
    if [ "$output" != "$2" ]; then
        echo "$1: expected \"$2\", got \"$output\"" >&2
        exit 1
    fi
}

# expect_text TEXT VERDICT: runs the checker on the tree with this text in README.md.
expect_text() {
    printf '%s\n' "$1" > "$root/README.md"
    expect_verdict "$1" "$2"
}

# expect_no_documents NAME: the checker rejects a tree without documents.
expect_no_documents() {
    rm -r "$root/docs" "$root/README.md"
    expect_verdict "a tree without documents" "$1: no documents found"
}
