#!/bin/sh
# check_instructions.sh SETS OBJECT...: fails if an object holds an instruction that its processors need not have.
#
# Each object is taken apart and put together again by an assembler that knows no more than its set. SETS is a file of
# lines "pattern set smaller": the first line whose pattern fits the object's name counts, and the set is what the
# assembler takes behind its -march=. With the smaller set it must refuse the object, which shows that it looks; a "-"
# stands where there is nothing smaller.
set -eu
sets=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The instructions as the assembler reads them: no addresses, no names, targets of jumps are all the same.
source_of() {
    objdump -d --no-show-raw-insn "$1" | awk -F '\t' '
        NF < 2 { next }
        {
            text = $2
            sub(/[ \t]*#.*/, "", text)
            sub(/[ \t]*<.*/, "", text)
            # One code: compilers write it for all processors where the older meaning does as well.
            sub(/^tzcnt/, "bsf", text)
            if (text ~ /^((bnd|notrack|data16|cs) )*(j[a-z]+|call[a-z]*|loop[a-z]*|xbegin) +[0-9a-f]+$/)
                sub(/[0-9a-f]+$/, "0", text)
            if (text ~ /^nop|(data16|cs) (data16 |cs )*nop/) next # fillers between functions
            if (text ~ /\(bad\)/) text = ".error \"not an instruction\""
            print text
        }'
}

assembles() {
    as --64 "-march=$1" -o "$work/object" "$work/source.s" 2> "$work/errors"
}

[ $# -gt 0 ] || { echo "no objects"; exit 1; }
broken=0
for object in "$@"; do
    name=${object##*/}
    set=""
    while read -r pattern set smaller; do
        # shellcheck disable=SC2254 # the pattern is one
        case $name in $pattern) break ;; esac
        set=""
    done < "$sets"
    source_of "$object" > "$work/source.s"
    if [ -z "$set" ]; then
        echo "$name has no line in $sets"
        broken=1
    elif [ ! -s "$work/source.s" ]; then
        continue # data alone
    elif ! assembles "$set"; then
        echo "$name has instructions beyond $set:"
        grep Fatal "$work/errors" || true
        sed -n 's/^[^:]*:\([0-9]*\): /\1 /p' "$work/errors" | head -n 5 | while read -r line text; do
            echo "  $(sed -n "${line}p" "$work/source.s"): $text"
        done
        broken=1
    elif [ "$smaller" != - ] && assembles "$smaller"; then
        echo "$name needs no more than $smaller"
        broken=1
    fi
done
[ "$broken" -eq 0 ] && echo "$# objects keep to their sets"
exit "$broken"
