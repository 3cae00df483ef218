# The examples' PCM is the player's.
# minimal-player.sh AVRPLAY SAMPLES EXAMPLE...
set -eu
avrplay=$1 samples=$2 run=${AVR_RUN-}
shift 2
for example; do
    for format in wav flac ogg wma m4a; do # with a module and without
        name=$format
        [ "$format" != m4a ] || name=aac
        wanted=$($run "$avrplay" -q -o raw:- "$samples/tune.$format" | sha256sum)
        played=$($run "$example" "$name" "$samples/tune.$format" 2>log | sha256sum)
        [ "$played" = "$wanted" ] || { echo "$example: other PCM of tune.$format"; exit 1; }
    done
    if $run "$example" wav "$samples/README.md" >out 2>>log || [ -s out ]; then
        echo "$example plays text"
        exit 1
    fi
done
