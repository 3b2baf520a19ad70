#!/bin/bash
# completion.sh TOOL: bash completes commands, options and values of the tool.
set -eu
tool=$1
. "$SOURCE/packaging/completion/ztaudio.bash"

# expect REPLY WORD...: completing the last of these words, after the tool, gives exactly this.
expect() {
    local reply=$1
    shift
    COMP_WORDS=("$tool" "$@")
    COMP_CWORD=$#
    _ztaudio || true
    if [ "${COMPREPLY[*]}" != "$reply" ]; then
        echo "completing '$*': expected '$reply', got '${COMPREPLY[*]}'" >&2
        exit 1
    fi
}

expect convert conv
expect "resample register" re
expect --fade-in convert --fade-i
expect --quiet --qui
expect "clip" convert in.wav out.wav --overload c
expect --jobs convert a.wav b.wav --job
expect 44100 resample --rate 4410
: > sound.wav
expect sound.wav info sound
