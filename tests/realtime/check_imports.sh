#!/bin/sh
# check_imports.sh NM LIST OBJECTS SKIP [exact]: fails if an object on the operations' path imports a name from outside
# the module that LIST does not have for its layer, or, with "exact", if LIST has a name that no object imports.
#   OBJECTS  a file that names all objects of the module, one a line
#   SKIP     a pattern for the objects that no operation uses
# "exact" is for the compiler and the build type that the list was written for.
set -eu
nm=$1 list=$2 objects=$3 skip=$4 exact=${5:-}

xargs "$nm" -A < "$objects" | awk -v list="$list" -v skip="$skip" -v exact="$exact" '
    # "object:address kind name", with LLVM a blank after the colon, without an address where the name is undefined
    {
        kind = $(NF - 1)
        name = $NF
        object = $0
        sub(/:[ 0-9a-f]+ [A-Za-z] [^ ]*$/, "", object)
        if (kind !~ /[UTWwVvBbDdRrt]/) next
        if ($0 !~ /: ?[0-9a-f]+ [A-Za-z] [^ ]*$/) {
            if (object ~ skip) next
            layer = object
            sub(/\/[^\/]*$/, "", layer)
            if (object ~ /\/zta_loops\.dir\//) layer = "loops"
            if (object ~ /\/zta_signal\.dir\//) layer = "signal"
            sub(/.*\//, "", layer)
            if (layer != "support" && name != "_GLOBAL_OFFSET_TABLE_") imported[layer, name] = 1
        } else {
            defined[name] = 1
        }
        if (!(object in counted) && object !~ skip) ++count
        counted[object] = 1
    }
    END {
        while ((getline line < list) > 0) {
            if (line ~ /^(#.*)?$/) continue
            if (split(line, words, / +/) < 3) { print "a line without layer, name and reason: " line; wrong = 1 }
            layer = words[1]
            optional = sub(/^\?/, "", layer)
            listed[layer, words[2]] = 1
            if (exact != "" && !optional && !((layer, words[2]) in imported)) {
                print "listed, but not imported: " layer " " words[2]
                wrong = 1
            }
        }
        for (entry in imported) {
            split(entry, words, SUBSEP)
            if (!(words[2] in defined) && !(entry in listed)) {
                print "not listed: " words[1] " " words[2]
                wrong = 1
            }
        }
        if (count < 30) { print "only " count " objects"; wrong = 1 }
        if (!wrong) print count " objects import nothing that is not listed"
        exit wrong
    }'
