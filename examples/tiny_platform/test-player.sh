# Plays what needs no codec of a maker's, and sees the rest refused.
# test-player.sh PLAYER SAMPLES
set -eu
player=$1 samples=$2

status=0
${AVR_RUN-} "$player" "$samples/tune.wav" "$samples/tune.flac" "$samples/tune-vbr.mp3" "$samples/tune.aac" \
    "$samples/tune.wma" >out 2>log || status=$?
cat log out
[ "$status" = 3 ] # so many were not played
grep '^tune' out >results # the library writes there, too
diff - results <<'END'
tune.wav: 44100 Hz, 2 channels, 163840 frames
tune.flac: 44100 Hz, 2 channels, 163840 frames
tune-vbr.mp3: event 11
tune.aac: event 11
tune.wma: event 11
END

# Nothing of the host's is in the process.
list=ldd
[ -z "${AVR_RUN-}" ] || list="$AVR_RUN -E LD_TRACE_LOADED_OBJECTS=1"
$list "$player" >libraries
grep -q libavrdecoder libraries
if grep -E 'libasound|libcurl|/host/' libraries; then
    exit 1
fi
