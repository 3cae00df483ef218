# bash completion for avrplay. Needs nothing but bash.

# What the current word can become: the files with one of the endings, or all when none is given,
# and the directories.
_avrplay_files()
{
    local file ending
    compopt -o filenames 2>/dev/null
    while IFS= read -r file; do
        if [ $# = 1 ] || [ -d "$file" ]; then
            COMPREPLY+=("$file")
            continue
        fi
        for ending in "${@:2}"; do
            [[ ${file,,} != *."$ending" ]] || COMPREPLY+=("$file")
        done
    done < <(compgen -f -- "$1")
}

_avrplay_words() { mapfile -t COMPREPLY < <(compgen -W "$2" -- "$1"); }

_avrplay()
{
    # readline takes a word apart at = and :, as in --output = wav : FILE.
    local words=() word cur=${COMP_WORDS[COMP_CWORD]}
    for word in "${COMP_WORDS[@]:0:COMP_CWORD}"; do
        [ "$word" = = ] || words+=("$word")
    done
    [ "$cur" != = ] || cur=
    if [ "$cur" = : ]; then
        words+=(:)
        cur=
    fi
    local kind=
    if [ ${#words[@]} -gt 3 ] && [ "${words[-1]}" = : ]; then
        kind=${words[-2]}
        words=("${words[@]:0:${#words[@]}-2}")
    fi

    COMPREPLY=()
    case ${words[-1]} in
    -o | --output)
        case $kind in
        wav | raw) _avrplay_files "$cur" ;;
        "")
            _avrplay_words "$cur" "alsa alsa: wav: raw: raw:- null"
            [[ ${#COMPREPLY[@]} != 1 || ${COMPREPLY[0]} != *: ]] || compopt -o nospace 2>/dev/null
            ;;
        esac
        return
        ;;
    -f | --format)
        _avrplay_words "$cur" "lpcm wav wav-testmode ogg flac wma he-aac aac mp3"
        return
        ;;
    --pcm)
        [ -n "$kind" ] || _avrplay_words "$cur" "44100:16:2 48000:16:2"
        return
        ;;
    --start | --timeout) return ;;
    esac
    if [[ $cur == -* && " ${words[*]} " != *" -- "* ]]; then
        _avrplay_words "$cur" "-o --output --realtime --no-realtime -f --format --pcm --start --timeout
            --probe --json --events --formats -q --quiet -v --verbose --version -h --help"
    else
        _avrplay_files "$cur" lpcm l16 wav wave ogg oga flac wma asf aacp aac adts adif m4a mp4 m4b \
            mp3 m3u m3u8 pls
    fi
}
complete -F _avrplay avrplay
