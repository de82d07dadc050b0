#!/usr/bin/env bash
# operations.sh TERVO: operations on waveforms against sox and FFmpeg: the same samples where both work exactly, and the
# loudness that FFmpeg's EBU R 128 meter reads. Works in the current folder.
set -uo pipefail
source "$(dirname "$0")/common.bash"
installed sox || exit 0

process() { rm -f "$3" && "$tervo" process "$1" "$2" -o "$3" --quiet "${@:4}"; } # OPERATION IN OUT [OPTION...]
# as WHAT OPERATION EFFECT...: what the operation makes of in.wav is, bit for bit, what the effect of sox makes of it.
as() {
  local operation
  read -ra operation <<<"$2"
  process "${operation[0]}" in.wav ours.wav "${operation[@]:1}" && soxInts ours.wav >ours.raw
  sox -V1 -D in.wav theirs.wav "${@:3}" && soxInts theirs.wav >theirs.raw
  check "$1" equal ours.raw theirs.raw
}
close() { # WHAT OPERATION LIMIT EFFECT...: the same within LIMIT of full scale
  local operation
  read -ra operation <<<"$2"
  process "${operation[0]}" in.wav ours.wav "${operation[@]:1}" && sox -V1 -D in.wav theirs.wav "${@:4}"
  check "$1" near ours.wav theirs.wav "$3"
}

for layout in "1 16" "2 16" "2 24"; do
  # shellcheck disable=SC2086
  set -- $layout
  sox -V1 -D -R -n -r 44100 -c "$1" -b "$2" -e signed in.wav synth 1.5 sine 300-3000 synth 1.5 pinknoise mix gain -n -6
  as "reverse, $layout" reverse reverse
  as "crop, $layout" "crop --start 1001 --end 30000 --unit frames" trim 1001s =30000s
  as "cut, $layout" "cut --start 1001 --end 30000 --unit frames" trim 0 1001s 28999s
  [ "$1" = 1 ] || as "left channel, $layout" "change-channels --to left" remix 1
  [ "$1" = 1 ] || as "swapped channels, $layout" "change-channels --to swapped" remix 2 1
done
sox -V1 -D -R -n -r 44100 -c 2 -b 24 -e signed in.wav synth 1.5 sine 300-3000 synth 1.5 pinknoise mix gain -n -6
as "stereo of one channel" "change-channels --to left" remix 1
close "gain" "gain --by 3.3" 0.0000003 vol 3.3dB
close "normalise" "normalise --to -1" 0.0000003 gain -n -1
close "fade in" "fade-in --length 0.5" 0.00005 fade t 0.5
close "fade in, half a cosine" "fade-in --length 0.5 --curve s-curve" 0.00005 fade h 0.5
close "fade in, a quarter of a sine" "fade-in --length 0.5 --curve equal-power" 0.00005 fade q 0.5
close "invert" "invert-phase" 0.0000003 vol -1
sox -V1 -D in.wav padded.wav pad 0.3 0.2 && mv padded.wav in.wav
as "trim silence" "trim-silence --below -90" silence 1 1s -90d reverse silence 1 1s -90d reverse

if installed ffmpeg; then
  loudness() { ffmpeg -nostats -i "$1" -af ebur128 -f null - 2>&1 </dev/null | awk '/Integrated loudness/ {found = 1} found && / I: / {print $2; exit}'; }
  sox -V1 -D -R -n -r 48000 -c 2 -b 24 in.wav synth 12 pinknoise tremolo 0.3 90 gain -20
  for wanted in -23 -16; do
    process normalise-loudness in.wav ours.wav --to $wanted
    check "loudness $wanted, as FFmpeg measures it" same "$(loudness ours.wav)" "$wanted.0"
  done
fi
exit $failed
