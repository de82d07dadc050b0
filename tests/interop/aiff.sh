#!/usr/bin/env bash
# aiff.sh TERVO: AIFF, AIFF-C and MAUD files of sox, libsndfile and FFmpeg decode here to what these programs make of
# them, ours open there with the same frames, loops, markers and tuning, and on the way to WAV and back nothing is lost
# that AIFF can say. Works in the current folder.
set -uo pipefail
source "$(dirname "$0")/common.bash"
installed sox && installed sndfile-convert || exit 0

sox -V1 -R -n -r 44100 -c 2 -b 32 -e float source.wav synth 0.7 sine 300-3000 synth 0.7 pinknoise mix gain -n -3
sox -V1 -D source.wav -c 1 -r 8000 -b 16 -e signed mono.wav
sox -V1 -D source.wav -c 1 -b 24 -e signed mono24.wav

# Read: whatever they write.
for coding in pcms8 pcm16 pcm24 pcm32 float32 float64 ulaw alaw ima-adpcm gsm610 dwvw16 dwvw24; do
  source=source.wav bytes=
  case $coding in
    ima*) bytes=$((30870 * 8)) ;; # the last packet is filled up, and libsndfile does not say where the sound ends
    gsm610) source=mono.wav bytes=$((5600 * 4)) ;;
    dwvw*) source=mono24.wav ;;
  esac
  rm -f in.aiff && sndfile-convert -$coding $source in.aiff >/dev/null
  check "$coding of libsndfile" agree in.aiff "$(kind $coding)" sndfile $bytes
done
sndfile-convert -ima-adpcm mono.wav in.aiff >/dev/null
check "ima-adpcm mono of libsndfile" agree in.aiff Ints sndfile $((5600 * 4))
sndfile-convert -endian=little -pcm16 source.wav in.aiff >/dev/null
check "pcm16 little-endian of libsndfile" agree in.aiff Ints sndfile
# aifc TYPE CHANNELS FRAMES BITS FILE: an AIFF-C file around coded bytes, 8000 Hz.
aifc() {
  local bytes
  bytes=$(stat -c %s "$5")
  printf FORM && bigWords $((52 + bytes)) && printf 'AIFCCOMM' && bigWords 24
  littleEndian 1 0 "$2" && bigWords "$3" && littleEndian 1 0 "$4" 64 11 250 0 0 0 0 0 0 0
  printf '%s\0\0SSND' "$1" && bigWords $((8 + bytes)) 0 0 && cat "$5"
}
# Any bytes are valid DWVW and MACE. A sample of DWVW takes 5 bytes at most. libsndfile 1.2 reads and writes no samples
# of 12 bits.
sox -V1 -R -n -r 8000 -c 1 -t u8 noise.raw synth 1 whitenoise
for bits in 8 9 11 13 15 16 20 23 24; do
  aifc DWVW 1 1600 $bits noise.raw >in.aifc
  check "DWVW of $bits bits, as libsndfile" agree in.aifc Ints sndfile 6400
done
for channels in 1 2; do
  for bits in 24 32; do
    head -c $((600 * channels * bits / 8)) noise.raw >part.raw
    aifc in$bits $channels 600 $bits part.raw >in.aifc
    check "in$bits, $channels channels, as libsndfile" agree in.aifc Ints sndfile
    installed ffmpeg && check "in$bits, $channels channels, as FFmpeg" agree in.aifc Ints ffmpeg
  done
done
# sox knows these code words in Sun's files only. A few of its G.721 samples are one off Sun's own algorithm.
for kind in "G721 4 23" "G723 3 25" "G723 5 26" "G726 5 26"; do
  read -r type bits encoding <<<"$kind"
  convert mono.wav "codes.g726-$bits" --format "G.726 $bits-bit ADPCM - Little Endian"
  aifc "$type" 1 5600 "$bits" "codes.g726-$bits" >in.aifc
  { printf '.snd' && bigWords 24 $((5600 * bits / 8)) "$encoding" 8000 1 && cat "codes.g726-$bits"; } >theirs.au
  convert in.aifc ours.wav --coding "PCM 16-bit" && sox -V1 -D theirs.au -e signed -b 16 theirs.wav
  check "$type of $bits bits as sox" near ours.wav theirs.wav 0.00013
done
for bits in 8 16 24 32; do
  for form in aiff aifc; do
    sox -V1 -D source.wav -e signed -b $bits in.$form
    check "$bits bits in $form of sox" agree in.$form Ints sox
  done
done
for layout in "unsigned 8" "signed 16" "a-law 8" "mu-law 8"; do
  # shellcheck disable=SC2086
  set -- $layout && sox -V1 -D source.wav -e "$1" -b "$2" in.maud
  check "$layout in maud of sox" agree in.maud Ints sox
done
sox -V1 -D mono.wav -e unsigned -b 8 in.maud trim 0 2801s
check "an odd number of bytes in maud of sox" [ "$("$tervo" info in.maud | grep -c 2801)" -ge 1 ]
sox -V1 -D source.wav -e signed -b 16 -t aiff - 2>/dev/null | cat >pipe.aiff
sox -V1 -D source.wav -e signed -b 16 plain.wav && soxInts plain.wav >theirs.raw && ourInts pipe.aiff >ours.raw
check "what sox writes to a pipe" equal ours.raw theirs.raw

if installed ffmpeg; then
  for coding in s8 s16be s24be s32be f32be f64be alaw mulaw s16le; do
    ffmpeg -v error -y -i source.wav -c:a pcm_$coding in.aiff </dev/null
    check "$coding of FFmpeg" agree in.aiff "$(case $coding in f*) echo Floats ;; *) echo Ints ;; esac)" ffmpeg
  done
  ffmpeg -v error -i source.wav -c:a pcm_s16be -f aiff - </dev/null | cat >pipe.aiff
  ffmpeg -v error -y -i source.wav -c:a pcm_s16le plain.wav </dev/null && soxInts plain.wav >theirs.raw
  ourInts pipe.aiff >ours.raw
  check "what FFmpeg writes to a pipe" equal ours.raw theirs.raw
  # Packets are 2 bytes of each channel, or 1.
  for channels in 1 2; do
    aifc MAC3 $channels $((4000 / channels)) 8 noise.raw >in.aifc
    check "MACE 3:1, $channels channels, as FFmpeg" agree in.aifc Ints ffmpeg
    aifc MAC6 $channels $((8000 / channels)) 8 noise.raw >in.aifc
    check "MACE 6:1, $channels channels, as FFmpeg" agree in.aifc Ints ffmpeg
  done
  aifc 'G722' 1 8000 4 noise.raw >in.aifc
  convert in.aifc ours.wav --coding "PCM 16-bit" && ffmpeg -v error -y -i in.aifc theirs.wav </dev/null
  check "G.722 as FFmpeg" near ours.wav theirs.wav 0.0001
fi

# Not one lossy coding after another.
sndfile-convert -ima-adpcm mono.wav in.aiff >/dev/null && convert in.aiff ours.wav
check "ima4 becomes plain samples in WAV" same "$(soxi -b ours.wav) $(soxi -e ours.wav)" "16 Signed Integer PCM"

# Write: every width opens there with the same frames, rate, channels and samples.
for coding in "PCM 8-bit" "PCM 16-bit" "PCM 24-bit" "PCM 32-bit"; do
  convert source.wav out.aiff --coding "$coding"
  check "$coding, format" same "$(about out.aiff)" "$(about source.wav)"
  check "$coding, as libsndfile" agree out.aiff Ints sndfile
  check "$coding, as sox" agree out.aiff Ints sox
done
check "nothing that libsndfile objects to" [ "$(sndfile-info out.aiff | grep -c '\*\*\*')" = 0 ]
convert pipe.aiff out.wav && convert out.wav again.aiff && convert again.aiff again.wav
check "bytes swapped and back" equal out.wav again.wav

# Loops, markers, key, tuning and gain: in libsndfile as in the WAV, and back.
{
  sox -V1 -D source.wav -e signed -b 16 -c 1 -t wav -
  printf smpl && words 60 1 2 22675 57 1073741824 0 0 1 0 9 1 4410 8819 0 0
  printf 'cue ' && words 28 1 2 22050 && printf data && words 0 0 22050
  printf LIST && words 22 && printf adtl && printf labl && words 10 2 && printf 'here\0\0'
  printf inst && words 7 && littleEndian 1 57 231 3 1 100 2 99 0
  printf LIST && words 44 && printf INFO && printf INAM && words 6 && printf 'Tone.\0'
  printf ICMT && words 4 && printf 'odd\0' && printf ICRD && words 6 && printf '1999\0\0'
} >rich.wav
words $(($(stat -c %s rich.wav) - 8)) | dd of=rich.wav bs=1 seek=4 conv=notrunc status=none
convert rich.wav rich.aiff --report=there.txt && convert rich.aiff back.wav --report=back.txt
{ sndfile-info rich.aiff && sndfile-info --instrument rich.aiff; } | tr -s ' ' >instrument.txt
for what in 'Gain : 3' 'Base note : 57' 'Detune : 231' 'Start : 4410' 'End : 8820'; do
  check "in libsndfile: $what" grep -q -- "$what" instrument.txt
done
check "markers in libsndfile" same "$(sndfile-info rich.aiff | awk '/Mark ID/,0' | awk '/Position/ {print $NF}' | tr '\n' ' ')" "4410 8820 22050 "
check "texts" grep -qaP 'NAME\0\0\0\x06Tone\.\0ANNO\0\0\0\x04odd\0' rich.aiff
check "what AIFF cannot say is said" grep -q 'ICRD text' there.txt
meaning() { sndfile-info "$1" | grep -E 'Midi Note|Pitch Fract|Type :|Pos : 22050|here|Tone|odd' | sed 's/.*\(Type\|Pos\|here\)/\1/'; }
check "there is something to compare" [ "$(meaning rich.wav | wc -l)" = 7 ]
check "loop, key, tuning, marker and texts in WAV again" same "$(meaning rich.wav | sort)" "$(meaning back.wav | sort)"
check "gain and ranges in WAV again" env LC_ALL=C grep -qaP 'inst\x07\0\0\0\x39\xe7\x03\x01\x64\x02\x63' back.wav
convert rich.aiff same.aiff
check "AIFF to AIFF" equal rich.aiff same.aiff
exit $failed
