# What bash offers behind avrplay, in pieces as readline gives them.
# completion.sh AVRPLAY COMPLETION_SCRIPT
set -u
avrplay=$1 run=${AVR_RUN-}
source "$2"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failures=0

# expect "OFFERED WORDS" WORD...: the last word is the one to complete.
expect()
{
    local wanted=$1
    shift
    COMP_WORDS=(avrplay "$@")
    COMP_CWORD=$#
    COMPREPLY=()
    _avrplay
    local offered
    offered=$(printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort | tr '\n' ' ')
    [ "$offered" = "$wanted " ] && return
    echo "avrplay $*: offers \"$offered\", not \"$wanted \""
    failures=$((failures + 1))
}
sorted() { LC_ALL=C sort -u | tr '\n' ' ' | sed 's/ $//'; }

formats=$($run "$avrplay" --formats | grep -o '^[a-z][^ ]*')
endings=$($run "$avrplay" --formats | grep -o '\*\.[a-z0-9]*' | tr -d '*.')
options=$($run "$avrplay" --help | grep -oE '^ +-.*' | grep -oE '^ +-[a-z],|--[a-z-]+( |$)' |
    tr -d ' ,')
[ "$(wc -w <<<"$formats $endings $options")" -gt 40 ] || exit 1

mkdir folder
touch notes.txt "a b.MP3"
for ending in $endings m3u m3u8 pls; do
    touch "tune.$ending"
done
music=$(printf 'tune.%s\n' $endings m3u m3u8 pls)

expect "$(sorted <<<"$options")" -
expect "$(sorted <<<"$formats")" -f ""
expect "$(sorted <<<"$music")" tune.
expect "$(sorted <<<"a b.MP3 folder
$music")" ""
expect "folder" -- fo
expect "" -- --pro
expect "--probe" --quiet --pro
expect "alsa alsa: null raw: raw:- wav:" -o ""
expect "wav:" --output = w
expect "notes.txt" -o wav : no
expect "notes.txt" --output = raw : no
expect "a b.MP3" -o raw : a
expect "tune.flac" -o wav : out.wav tune.fl
expect "" -o alsa : ""
expect "44100:16:2" --pcm 44
expect "" --pcm 44100 : ""
expect "" --start ""
expect "folder" -o raw : - fo
[ $failures = 0 ]
