#!/bin/sh
# check_imports.sh NM LIST OBJECTS SKIP [exact]: fails if an object on the operations' path takes something from outside
# the module that LIST does not have for its room, or, with "exact", if LIST has something that no object takes.
#   OBJECTS  a file that names all objects of the module, one a line
#   SKIP     a pattern for the objects that no operation comes to
# "exact" is for the compiler and the build type that the list was written for.
set -eu
nm=$1 list=$2 objects=$3 skip=$4 exact=${5:-}

xargs "$nm" -A < "$objects" | awk -v list="$list" -v skip="$skip" -v exact="$exact" '
    # "object:address kind name", with LLVM a blank behind the colon, without an address where the name is undefined
    {
        kind = $(NF - 1)
        name = $NF
        object = $0
        sub(/:[ 0-9a-f]+ [A-Za-z] [^ ]*$/, "", object)
        if (kind !~ /[UTWwVvBbDdRrt]/) next
        if ($0 !~ /: ?[0-9a-f]+ [A-Za-z] [^ ]*$/) {
            if (object ~ skip) next
            room = object
            sub(/\/[^\/]*$/, "", room)
            if (object ~ /\/zta_loops\.dir\//) room = "loops"
            if (object ~ /\/zta_signal\.dir\//) room = "signal"
            sub(/.*\//, "", room)
            if (room != "support" && name != "_GLOBAL_OFFSET_TABLE_") taken[room, name] = 1
        } else {
            defined[name] = 1
        }
        if (!(object in seen) && object !~ skip) ++count
        seen[object] = 1
    }
    END {
        while ((getline line < list) > 0) {
            if (line ~ /^(#.*)?$/) continue
            if (split(line, words, / +/) < 3) { print "a line without room, name and reason: " line; wrong = 1 }
            room = words[1]
            optional = sub(/^\?/, "", room)
            listed[room, words[2]] = 1
            if (exact != "" && !optional && !((room, words[2]) in taken)) {
                print "listed, but not taken: " room " " words[2]
                wrong = 1
            }
        }
        for (entry in taken) {
            split(entry, words, SUBSEP)
            if (!(words[2] in defined) && !(entry in listed)) {
                print "not listed: " words[1] " " words[2]
                wrong = 1
            }
        }
        if (count < 30) { print "only " count " objects"; wrong = 1 }
        if (!wrong) print count " objects take nothing that is not listed"
        exit wrong
    }'
