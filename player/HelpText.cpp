#include "Options.h"

namespace avr { namespace player {

const char* const HelpText = R"(avrplay - play audio files through libavrdecoder

usage:
  avrplay [options] FILE...            play the files one after the other
  avrplay --probe [--json] FILE...     say what the files hold
  avrplay --formats                    say what can be played

output:
  -o, --output WHERE   where the sound goes:
                         alsa[:DEVICE]  a sound device, as aplay -L names it
                         wav:FILE       a WAVE file; tracks of one format follow
                                        each other in it
                         raw:FILE       the PCM as it comes: interleaved,
                                        signed, in this machine's byte order
                         raw:-          the same on standard output, and nothing
                                        else there
                         null           nowhere
                       default: alsa, or null when no device can be opened
      --realtime       take the sound at playing speed: wav, raw and null
      --no-realtime    take it as fast as it is decoded: wav, raw and null
                       default: files and raw:- fast, null at playing speed

input:
  -f, --format NAME    decode as NAME (see --formats); default: by the name of
                       the file, then by its content
      --pcm RATE:BITS:CHANNELS
                       the format of headerless PCM, which is 16-bit big-endian;
                       default 44100:16:2. Implies -f lpcm
      --start TIME     begin there: seconds, mm:ss or hh:mm:ss, with fractions
                       (90, 1:30, 0:01:30.5); holds for every file

information:
      --probe          print format, codec, rate, bits, channels, bit rate and
                       duration; do not play
      --json           the same as one JSON object per file and line (implies
                       --probe); a file that fails has the member "error"
      --events         print each event of the decoder and, after each track, a
                       digest of its PCM, on standard output (on standard error
                       with -o raw:-). Buffer fill, event 8, depends on timing
                       and is printed with -v only
      --formats        list the formats, their MIME types, file name endings and
                       what each can seek by
  -q, --quiet          print errors only
  -v, --verbose        show the library's own log on standard error
      --version        print the version
  -h, --help           print this

keys, when standard input is a terminal:
  space        pause, go on              n   next track
  left, right  10 seconds back, ahead,   p   from the start; in the first 3
               where the format can          seconds: previous track
  q            quit

On a terminal one line shows state, elapsed time and duration, buffer fill, the
title that a stream tells, and the format; --:-- stands for a duration that is
not known. Otherwise, and with -v or --events, there is one plain line per track,
on standard error.

exit status:
  0  everything was played (or quit by key)      3    no output device
  1  a track failed; the others were played      130  interrupted (SIGINT,
  2  wrong usage                                      SIGTERM, SIGHUP)

examples:
  avrplay samples/*.wav
  avrplay --start 1:30 -o alsa:hw:0 song.wav
  avrplay --pcm 48000:16:2 capture.pcm
  avrplay -o raw:- song.wav | sha256sum
)";

}} // namespace avr::player
