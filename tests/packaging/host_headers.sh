#!/bin/sh
# Each header of the reference host compiles alone from the installation. (tests/contract compiles the others.)
set -eu
(cd "$PREFIX/include" && ls zta/host/*.h) > headers.txt
test -s headers.txt
while read -r header; do
    printf '#include <%s>\n' "$header" |
        "$CXX" -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I "$PREFIX/include" -x c++ -
done < headers.txt
