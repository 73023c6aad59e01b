# Completion of zt-audio-convert for bash.

_zt_audio_convert() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local options formats="pcm float lpcm-paired lpcm-be aes3" values=""
    COMPREPLY=()
    case $previous in
    -t | --type) values="wav aiff caf flac raw" ;;
    -f | --format) values=$formats ;;
    -b | --bits) values="8 16 20 24 32" ;;
    -r | --rate | --in-rate) values="8k 16k 32k 44.1k 48k 88.2k 96k 192k" ;;
    -l | --layout | --in-layout) values="mono stereo 2.1 3.0 3.1 quad 4.1 5.0 5.1 7.0 7.1" ;;
    --split-input)
        compopt -o nospace
        values="FL= FR= FC= LFE= BL= BR= FLC= FRC="
        ;;
    --raw)
        compopt -o nospace
        values="pcm, float, lpcm-paired, lpcm-be, aes3,"
        ;;
    --in-order | --out-order | --frame-size) return ;;
    esac
    if [[ -n $values ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$values" -- "$current")
    elif [[ $previous != --matrix && $current == -* ]]; then
        options=$("${COMP_WORDS[0]}" --help 2>/dev/null | grep -oE '^ +(-[a-z], )?--[a-z-]+')
        mapfile -t COMPREPLY < <(compgen -W "${options//,/}" -- "$current")
    else
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -F _zt_audio_convert zt-audio-convert
