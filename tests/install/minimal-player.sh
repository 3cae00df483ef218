# The examples' PCM is the player's.
# minimal-player.sh AVRPLAY SAMPLES EXAMPLE...
set -eu
avrplay=$1 samples=$2 run=${AVR_RUN-}
shift 2
for example; do
    for format in wav flac ogg wma m4a; do # with a module and without
        name=$format
        [ "$format" != m4a ] || name=aac
        $run "$avrplay" -q -o raw:- "$samples/tune.$format" >wanted.pcm
        $run "$example" "$name" "$samples/tune.$format" >played.pcm 2>log
        [ -s wanted.pcm ] && cmp wanted.pcm played.pcm ||
            { echo "$example: other PCM of tune.$format"; exit 1; }
    done
    if $run "$example" wav "$samples/README.md" >out 2>>log || [ -s out ]; then
        echo "$example plays text"
        exit 1
    fi
done
rm wanted.pcm played.pcm
