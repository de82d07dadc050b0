#!/usr/bin/env bash
# wav.sh TERVO: WAV, RF64 and Wave64 files of sox, libsndfile and FFmpeg decode here to what these programs make of
# them, ours open there with the same frames, and what a WAV file says beside its samples survives. Works in the current
# folder. The ADPCM and GSM files of RIFF-WAVE are in adpcm.sh and telephony.sh.
set -uo pipefail
source "$(dirname "$0")/common.bash"
installed sox && installed sndfile-convert || exit 0

sox -V1 -R -n -r 44100 -c 2 -b 32 -e float source.wav synth 0.7 sine 300-3000 synth 0.7 pinknoise mix gain -n -3
sox -V1 -D source.wav -c 1 -r 8000 -b 16 -e signed mono.wav

# Read: whatever they write.
for layout in "unsigned 8" "signed 16" "signed 24" "signed 32" "mu-law 8" "a-law 8"; do
  # shellcheck disable=SC2086
  set -- $layout && sox -V1 -D source.wav -e "$1" -b "$2" in.wav
  check "$layout of sox, as sox" agree in.wav Ints sox
  check "$layout of sox, as libsndfile" agree in.wav Ints sndfile
done
for coding in pcmu8 pcm16 pcm24 pcm32 float32 float64 ulaw alaw ima-adpcm ms-adpcm gsm610; do
  for form in wav rf64 w64; do
    source=source.wav bytes=$((30870 * 8))
    case $coding-$form in
      *adpcm-rf64 | gsm610-rf64) continue ;;
      gsm610*) source=mono.wav bytes=$((5600 * 4)) ;;
    esac
    # Blocks are filled up, and libsndfile does not say where the sound ends.
    case $coding in *adpcm | gsm610) ;; *) bytes= ;; esac
    rm -f "in.$form"
    sndfile-convert -$coding $source "in.$form" >/dev/null
    check "$coding in $form of libsndfile" agree "in.$form" "$(kind $coding)" sndfile $bytes
  done
done
if installed ffmpeg; then
  for coding in u8 s16le s24le s32le f32le f64le alaw mulaw; do
    ffmpeg -v error -y -i source.wav -c:a pcm_$coding -rf64 always in.wav </dev/null
    check "$coding in RF64 of FFmpeg" agree in.wav "$(kind $coding)" ffmpeg
  done
  ffmpeg -v error -y -i source.wav -c:a pcm_s16le -write_bext 1 -write_peak on -metadata title=Tone in.wav </dev/null
  check "broadcast wave of FFmpeg" agree in.wav Ints ffmpeg
  ffmpeg -v error -y -i source.wav -c:a pcm_s24le in.w64 </dev/null
  check "Wave64 of FFmpeg" agree in.w64 Ints ffmpeg
  ffmpeg -v error -y -i source.wav -c:a pcm_s16le in.wav </dev/null && soxInts in.wav >theirs.raw
  for form in wav w64; do
    ffmpeg -v error -i source.wav -c:a pcm_s16le -f $form - </dev/null | cat >pipe.$form
    ourInts pipe.$form >ours.raw
    check "what FFmpeg writes to a pipe, $form" equal ours.raw theirs.raw
  done
  # FFmpeg's G.726 rounds otherwise than the standard: a quiet sound at up to 32 kbit/s stays together.
  sox -V1 -D mono.wav quiet.wav gain -20
  for rate in 16 24 32; do
    ffmpeg -v error -y -i quiet.wav -c:a g726 -b:a ${rate}k in.wav </dev/null
    ffmpeg -v error -y -i in.wav theirs.wav </dev/null && convert in.wav ours.wav --coding "PCM 16-bit"
    check "G.726 at $rate kbit/s of FFmpeg" near ours.wav theirs.wav 0.02
  done
fi
sox -V1 -D source.wav -e signed -b 16 -t wav - | cat >pipe.wav
check "what sox writes to a pipe" agree pipe.wav Ints sndfile

# 24 bits that are the upper ones of 4 bytes, as the standard has it.
sox -V1 -D source.wav -b 24 -e signed upper.wav && soxInts upper.wav >upper.s32
{
  printf 'RIFF' && words $((36 + 246960)) && printf 'WAVEfmt ' && words 16 $((1 + 2 * 65536)) 44100 352800
  littleEndian 2 8 24 && printf 'data' && words 246960 && cat upper.s32
} >in.wav
check "24 bits in 4 bytes" agree in.wav Ints sndfile

# Beyond 4 GiB: a hole, the last sample, and a chunk behind it.
bytes=$(((5 << 30) + 8)) wide=$((0xFFFFFFFF))
{
  printf RF64 && words $wide && printf WAVEds64 && words 28 $((bytes + 116)) $((bytes >> 32)) $bytes $((bytes >> 32))
  words $((bytes / 4)) 0 0 && printf 'fmt ' && words 16 $((1 + 2 * 65536)) 44100 176400 && littleEndian 2 4 16
  printf data && words $wide
} >big.wav
truncate -s $((80 + bytes)) big.wav
{ printf smpl && words 36 0 0 22675 64 0 0 0 0 0; } >>big.wav
check "frames beyond 4 GiB" grep -q " $(sndfile-info big.wav | awk '/^Frames/ {print $3}') frames" <("$tervo" info big.wav)
check "what stands behind them" grep -q 'root key 64' <("$tervo" info big.wav)

# Write: every coding opens there with the same frames, rate, channels and samples.
for coding in "PCM 8-bit" "PCM 16-bit" "PCM 24-bit" "PCM 32-bit" "Float 32-bit" "Mu-law 8-bit" "A-law 8-bit"; do
  for form in wav w64; do
    convert source.wav out.$form --coding "$coding"
    check "$coding in $form, format" same "$(about out.$form)" "$(about source.wav)"
    check "$coding in $form, as libsndfile" agree out.$form "$(kind "${coding,}")" sndfile
  done
  [ "$coding" = "Float 32-bit" ] || check "$coding in wav, as sox" agree out.wav Ints sox
done
sox -V1 -D mono.wav quiet.wav gain -20 && convert quiet.wav out.wav --coding "ADPCM 4-bit"
check "G.721 opens in libsndfile" [ "$(about out.wav | tail -1)" = "Sample 8000" ]
printf .snd >in.au && bigWords 24 2800 23 8000 1 >>in.au
tail -c +61 out.wav | head -c 2800 >>in.au
soxInts in.au >theirs.raw && ourInts out.wav >ours.raw
check "G.721 as sox" equal ours.raw theirs.raw $((5600 * 4))

# Unedited: every chunk comes out as it went in. The list of texts also gets the name of the program.
subchunk() { printf '%s' "$1" && words "${#2}" && printf '%s' "$2"; }
chunks() {
  local at=12 size
  while [ $((at + 8)) -le "$(stat -c %s "$1")" ]; do
    size=$(od -An -tu4 -j $((at + 4)) -N 4 "$1")
    tail -c +$((at + 1)) "$1" | head -c $((8 + size)) >chunk
    grep -qa '^LIST....INFO' chunk || md5sum <chunk
    at=$((at + 8 + size + size % 2))
  done | sort
}
sox -V1 -D source.wav -e signed -b 16 -c 1 plain.wav
{
  cat plain.wav
  subchunk iXML '<BWFXML><NOTE>odd</NOTE></BWFXML>' && printf '\0'
  printf smpl && words 64 1 2 22675 57 1073741824 0 0 1 4 9 1 4410 8819 2147483648 3 305419896
  printf 'cue ' && words 52 2 1 500 && printf data && words 0 0 500 2 22050 && printf data && words 0 0 22050
  printf LIST && words 60 && printf adtl && printf labl && words 6 1 && printf 'x\0'
  printf ltxt && words 20 2 441 && printf 'rgn ' && words 0 0 && printf note && words 6 1 && printf 'y\0'
  printf acid && words 24 1 2 3 4 5 6
  printf inst && words 7 && littleEndian 1 57 231 3 1 100 2 99 0
  printf LIST && words 30 && printf INFO && subchunk INAM "Tone.." && subchunk ICRD 1999
} >rich.wav
words $(($(stat -c %s rich.wav) - 8)) | dd of=rich.wav bs=1 seek=4 conv=notrunc status=none
convert rich.wav same.wav
check "the chunks of an unedited file" same "$(chunks rich.wav)" "$(chunks same.wav)"
check "all of them" [ "$(chunks rich.wav | wc -l)" = 8 ]
check "its tags" grep -qaP 'INAM.\0\0\0Tone\.\..*ICRD.\0\0\0001999' same.wav

# Edited, they say the same in libsndfile.
meaning() { sndfile-info "$1" | grep -E 'Cue ID|Midi|Pitch|Manufact|labl|acid' | sort && sndfile-info --instrument "$1" | tail -n +2; }
convert rich.wav wide.wav --coding "PCM 24-bit"
convert rich.wav rich.w64 && convert rich.w64 back.wav
check "there is something to compare" [ "$(meaning rich.wav | wc -l)" -ge 15 ]
for copy in same wide back; do
  check "key, loop and cue points, $copy" same "$(meaning rich.wav)" "$(meaning $copy.wav)"
done

# A resampled copy: 4410 frames at 44100 Hz are 4800 at 48000 Hz.
convert rich.wav fast.wav --rate 48000
sox -V1 -D rich.wav theirs.wav rate -v 48000
check "resampled frames" same "$(about fast.wav)" "$(about theirs.wav)"
check "resampled samples" near fast.wav theirs.wav 0.002
loops() { sndfile-info --instrument "$1" | awk '/Base note|Start/ {print $4, $7, $10}'; }
check "resampled loop" [ "$(loops fast.wav | tr '\n' ' ' | tr -s ' ')" = "57 alt 4800 9600 " ]
points() { sndfile-info "$1" | awk '/Cue ID.*Offset/ {print $NF}' | tr '\n' ' '; }
check "resampled cue points" [ "$(points fast.wav)" = "544 24000 " ]

# More than two channels: the weights of ITU-R BS.775, scaled so that nothing clips; 1 / (1 + 2 * 0.7071) = 0.4142.
sox -V1 -R -n -r 44100 -c 6 -b 16 surround.wav synth 0.3 pinknoise gain -3
sox -V1 -D surround.wav theirs.wav remix 1v0.41421356,3v0.29289322,5v0.29289322 2v0.41421356,3v0.29289322,6v0.29289322
convert surround.wav ours.wav
check "downmix" near ours.wav theirs.wav 0.00004
exit $failed
