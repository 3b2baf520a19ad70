#!/bin/sh
# commands.sh DOCUMENT [FOLDER]: runs every command of the installed DOCUMENT: the lines that begin with "$ " in its
# console blocks. All run in one shell, in a copy of the installed FOLDER or in an empty folder. If a block shows output
# after a command, the command must print exactly that. The engine is installed in $HOME/zta.
set -eu
document=$PREFIX/$DOCDIR/$1
rm -rf home work script.sh
mkdir home
cp -rs "$PREFIX" home/zta
if ! test -e "home/zta/lib/libZtaAudioSamplesEngine.so.1"; then # a library directory for each architecture
    ln -s "$PREFIX/$LIBDIR"/libZta* home/zta/lib/
fi
if test $# -gt 1; then
    cp -r "$PREFIX/$DOCDIR/$2" work
else
    mkdir work
fi

awk -v folder="$PWD" '
    function finish() {
        if (command == "") return
        # The braces run in this shell: variables and the working directory stay.
        printf "echo \"+ %d\" >&2\n{\n%s\n} > %s/printed\n", ++count, command, folder
        if (output != "") printf "cat > %s/expected << \"ZTA_END\"\n%sZTA_END\ndiff -u %s/expected %s/printed\n", \
                                 folder, output, folder, folder
        command = output = ""
    }
    /^```/ { finish(); console = !console && $0 == "```console"; next }
    !console { next }
    /^\$ / { finish(); command = substr($0, 3); continued = /\\$/; next }
    continued { command = command "\n" $0; continued = /\\$/; next }
    { output = output $0 "\n" }' "$document" > script.sh

test "$(grep -c '^echo "+ ' script.sh)" -gt 0
folder=$PWD
status=0
(cd work && unset PREFIX && HOME=$folder/home sh -eux ../script.sh > "$folder/log" 2>&1) || status=$?
if test "$status" -ne 0; then
    cat log printed
    exit 1
fi
