#!/usr/bin/env bash
# Makes demo-audio/recording.flac: a spoken sentence that moves from left to right over a chord, about eight seconds.
# Needs espeak-ng and sox. The same commands with the same versions make the same samples.
set -euo pipefail
cd "$(dirname "$0")"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rate=44100
seconds=8
sox() { command sox -R "$@"; } # the same dither each time

# The voice: two sentences at 44.1 kHz, each with silence before it so that it falls into its half.
say() { espeak-ng -v en-gb -s 150 -p 45 -w "$work/$1.raw.wav" "$2"; sox "$work/$1.raw.wav" -r $rate "$work/$1.wav" gain -n -6; }
say first "This is the Lumora virtual device."
say second "What you play is what is recorded."

# Left to right: the first sentence mostly on the left, the second mostly on the right.
sox "$work/first.wav" "$work/first.stereo.wav" remix 1v0.9 1v0.35 pad 0.5
sox "$work/second.wav" "$work/second.stereo.wav" remix 1v0.35 1v0.9 pad 4.2

# The bed: an open fifth, plucked and held, each note on its own side.
sox -n -r $rate -c 2 "$work/chord.wav" synth $seconds \
    pluck A2 pluck E3 delay 0 0.25 remix 1v0.8,2v0.3 1v0.3,2v0.8 gain -12
sox -n -r $rate -c 2 "$work/pad.wav" synth $seconds \
    sine 220 sine 329.63 tremolo 0.4 40 remix 1v0.6,2v0.4 1v0.4,2v0.6 gain -20 fade q 1.5 $seconds 2

sox -m -v 1 "$work/first.stereo.wav" -v 1 "$work/second.stereo.wav" -v 1 "$work/chord.wav" -v 1 "$work/pad.wav" \
    -b 16 -r $rate -c 2 -D --comment '' recording.flac gain -n -3 fade t 0.02 $seconds 0.6
soxi recording.flac
