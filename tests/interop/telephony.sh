#!/usr/bin/env bash
# telephony.sh TERVO: GSM 06.10, G.722 and G.726 against sox, and against FFmpeg where it is installed: the same bytes
# from the same sound, the same samples from the same bytes. Works in the current folder.
set -uo pipefail
source "$(dirname "$0")/common.bash"

write() { convert "$1" "$2" --format "$3"; }

# Three seconds of pink noise, glides and pauses, without overload: 24000 frames, 150 GSM frames.
sox -V1 -R -n -r 8000 -b 16 -c 1 source.wav synth 3 pinknoise synth 3 sine mix 200-1500 tremolo 2 90 gain -n -6
sox -V1 -D source.wav -t s16 source.s16

sox -V1 -D source.wav theirs.gsm
write source.wav ours.gsm "Raw GSM 06.10"
check "GSM coding as sox" equal ours.gsm theirs.gsm 4950
convert theirs.gsm ours.sw
sox -V1 -D theirs.gsm -t s16 theirs.s16
check "GSM decoding as sox" equal ours.sw theirs.s16 48000

sox -V1 -D source.wav -e gsm-full-rate theirs.wav
convert theirs.wav ours.sw
sox -V1 -D theirs.wav -t s16 theirs.s16
check "GSM in WAV decoded as sox" equal ours.sw theirs.s16 48000
write source.wav pairs.gsm "Raw GSM 06.10 'byte aligned'"
tail -c +61 theirs.wav >theirs.pairs
check "pairs of GSM frames coded as sox" equal pairs.gsm theirs.pairs 4875
convert pairs.gsm ours.sw
check "pairs of GSM frames decoded as sox" equal ours.sw theirs.s16 48000

# sox reads G.721 and G.723 in Sun's files: first word in the low bits.
for kind in "g721 23 12000" "g723-3 25 9000" "g723-5 26 15000"; do
  read -r extension encoding bytes <<<"$kind"
  case $extension in
    g721) row="G.721 ADPCM - Little Endian" ;;
    *) row="G.723 ${extension#g723-}-bit ADPCM - Little Endian" ;;
  esac
  write source.wav "ours.$extension" "$row"
  { printf '.snd' && bigWords 24 "$bytes" "$encoding" 8000 1 && cat "ours.$extension"; } >ours.au
  sox -V1 -D ours.au -t s16 theirs.s16
  convert "ours.$extension" ours.sw --raw-order little
  check "$extension decoded as sox" equal ours.sw theirs.s16 48000
done

if installed ffmpeg; then
  sox -V1 -R -n -r 16000 -b 16 -c 1 wide.wav synth 3 pinknoise synth 3 sine mix 200-7000 gain -n -6
  ffmpeg -v error -y -i wide.wav -c:a g722 theirs.g722
  write wide.wav ours.g722 "G.726 ADPCM - Little Endian"
  check "G.722 coding as FFmpeg" equal ours.g722 theirs.g722 24000
  convert theirs.g722 ours.sw
  ffmpeg -v error -y -i theirs.g722 -f s16le theirs.s16
  check "G.722 decoding as FFmpeg" equal ours.sw theirs.s16 96000
fi
exit $failed
