# Converts the columns of the headers' comments to Doxygen lists. In the headers they are formatted for reading:
#
#   /// pDst    room for len samples
#   /// Errors  ippStsBadArgErr    the size would be too large
#   ///         ippStsNullPtrErr   no pointer
#
# A word (or several, with commas) and two blanks begin a list item; codes in the item "Errors" are items below it.
NR == 1 && /^\/\/\// { print "/// @file" }
# The comment above the pragma documents the file only; a documented file lists its members.
/^#pragma once/ { print; print ""; next }
!/^ *\/\/\/ / { inside = goes_on = 0; print; next }
{
    match($0, /^ *\/\/\//)
    prefix = substr($0, 1, RLENGTH)
    text = substr($0, RLENGTH + 1)
    if (match(text, /^ [A-Za-z_][A-Za-z0-9_]*(, [A-Za-z_][A-Za-z0-9_]*)*  +/)) {
        term = substr(text, 2, RLENGTH - 1)
        rest = substr(text, RLENGTH + 1)
        sub(/ +$/, "", term)
        if (!inside) print prefix
        inside = 1
        if (term == "Errors" && match(rest, /^[A-Za-z_][A-Za-z0-9_]*(, [A-Za-z_][A-Za-z0-9_]*)*  +/)) {
            print prefix " - " term
            text = "    " rest
        } else {
            print prefix " - **" term "** " rest
            goes_on = (rest ~ /,$/)
            next
        }
    }
    # A list of codes continues after a comma. Otherwise a code begins an item, even without a description.
    if (inside && goes_on) {
        goes_on = (text ~ /,$/)
        sub(/^ +/, "", text)
        print prefix "     " text
        next
    }
    goes_on = (text ~ /,$/)
    if (inside && text ~ /^      +(ZT_E_|any other|the others)/ && text !~ /[A-Z]  +/) {
        sub(/^ +/, "", text)
        print prefix "   - " text
        next
    }
    if (inside && match(text, /^   +[A-Za-z_][A-Za-z0-9_]*(, [A-Za-z_][A-Za-z0-9_]*)*  +/)) {
        term = substr(text, 1, RLENGTH)
        rest = substr(text, RLENGTH + 1)
        gsub(/^ +| +$/, "", term)
        print prefix "   - **" term "** " rest
        next
    }
    if (inside) {
        sub(/^ +/, "", text)
        print prefix "     " text
        next
    }
    print
}
