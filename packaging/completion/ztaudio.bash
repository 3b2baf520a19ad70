# Completion of ztaudio for bash. The commands and options come from the tool's own help.
_ztaudio()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command= word
    local tool=${COMP_WORDS[0]}
    COMPREPLY=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $word != -* ]]; then
            command=$word
            break
        fi
    done
    case $previous in
        --format) COMPREPLY=($(compgen -W "16 24 24in24 24in32 float" -- "$current")) && return ;;
        --input-format) COMPREPLY=($(compgen -W "wav flac au raw" -- "$current")) && return ;;
        --overload) COMPREPLY=($(compgen -W "clip wrap fail" -- "$current")) && return ;;
        --rate) COMPREPLY=($(compgen -W "44100 48000" -- "$current")) && return ;;
        --loop-variant) COMPREPLY=($(compgen -W "scalar avx2 avx512" -- "$current")) && return ;;
    esac
    if [[ $current == -* ]]; then
        COMPREPLY=($(compgen -W "$("$tool" $command --help 2> /dev/null |
            sed -n 's/^  \(-[^ ]*\).*/\1/p' | tr , ' ')" -- "$current"))
    elif [[ -z $command ]]; then
        COMPREPLY=($(compgen -W "$("$tool" --help 2> /dev/null |
            awk '/^[A-Z]/ { on = /^Subcommands:/; next } on && /^  [a-z]/ { print $1 }')" -- "$current"))
    else
        COMPREPLY=($(compgen -f -- "$current"))
    fi
}
complete -o filenames -F _ztaudio ztaudio
