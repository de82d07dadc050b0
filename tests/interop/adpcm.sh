#!/usr/bin/env bash
# adpcm.sh TERVO: ADPCM files of sox, libsndfile and, where they are installed, FFmpeg and mgetty's voice tools decode to
# the samples that these programs give, and ours to the same samples there as here. Works in the current folder.
set -uo pipefail
source "$(dirname "$0")/common.bash"

makers="sox libsndfile"
if installed ffmpeg; then makers+=" ffmpeg"; fi

samples() { sox -V1 -D "$@" -t raw -e signed -b 16 -L -; }
decode() { rm -f "$2.raw" && convert "$1" "$2" --coding "PCM 16-bit" && samples "$2" >"$2.raw"; }

# agree WHAT OURS THEIRS FRAMES CHANNELS: equal as far as both go, which must be all the frames of the source. The last
# block is longer than the sound, and programs differ in whether they cut it.
agree() {
  local shorter
  shorter=$(stat -c %s "$2" "$3" | sort -n | head -1)
  check "$1" equal "$2" "$3" $((shorter < $4 * $5 * 2 ? $4 * $5 * 2 : shorter))
}

frames=66150
for channels in 1 2; do
  sox -V1 -R -n -r 22050 -b 16 -c $channels source.wav synth 3 sine 300-4000 synth 3 pinknoise mix gain -n -1
  for maker in $makers; do
    for kind in ima ms; do
      file=$maker-$kind.wav
      case $maker in
        sox) sox -V1 -D source.wav -e $kind-adpcm $file ;;
        libsndfile) sndfile-convert -$kind-adpcm source.wav $file >/dev/null ;;
        ffmpeg) ffmpeg -v error -y -i source.wav -c:a adpcm_${kind/ima/ima_wav} $file ;;
      esac
      decode $file ours.wav
      samples $file >sox.raw
      sndfile-convert -pcm16 $file theirs.wav >/dev/null && samples theirs.wav >libsndfile.raw
      agree "$kind adpcm of $maker, $channels channels, as sox" ours.wav.raw sox.raw $frames $channels
      agree "$kind adpcm of $maker, $channels channels, as libsndfile" ours.wav.raw libsndfile.raw $frames $channels
    done
  done
  installed ffmpeg || continue
  ffmpeg -v error -y -i source.wav -c:a adpcm_yamaha yamaha.wav
  decode yamaha.wav ours.wav
  ffmpeg -v error -y -i yamaha.wav -f s16le yamaha.raw
  agree "Yamaha adpcm, $channels channels, as ffmpeg" ours.wav.raw yamaha.raw $frames $channels
done

# The source is stereo here; what goes into a headerless file is its mono mix.
frames=24000
sox -V1 -D source.wav -c 1 -r 8000 mono.wav
sox -V1 -D mono.wav theirs.vox
cp theirs.vox theirs.vox-8k
decode theirs.vox-8k ours.wav
samples -r 8000 theirs.vox >sox.raw
agree "Dialogic adpcm of sox" ours.wav.raw sox.raw $frames 1
convert mono.wav ours.vox-8k && decode ours.vox-8k ours.wav && samples -r 8000 -t vox ours.vox-8k >sox.raw
agree "own Dialogic adpcm in sox" ours.wav.raw sox.raw $frames 1

if installed ffmpeg; then
  ffmpeg -v error -y -f s16le -ar 8000 -c:a adpcm_ima_oki -i ours.vox-8k -f s16le ffmpeg.raw
  agree "own Dialogic adpcm in ffmpeg" ours.wav.raw ffmpeg.raw $frames 1
fi

# Modem recordings.
if command -v rmdtopvf pvftormd wavtopvf pvftolin >/dev/null; then
  frames=21600
  sox -V1 -D source.wav -c 1 -r 7200 modem.wav
  for bits in 2 3 4; do
    wavtopvf <modem.wav 2>/dev/null | pvftormd Rockwell $bits >theirs.rmd
    decode theirs.rmd ours.wav
    rmdtopvf -16 <theirs.rmd >theirs.pvf
    # "PVF1", a line of numbers, then 16-bit samples, most significant byte first
    tail -n +3 theirs.pvf | sox -V1 -D -t raw -r 7200 -c 1 -e signed -b 16 -B - -t raw -L theirs.raw
    agree "Rockwell adpcm of mgetty, $bits bits" ours.wav.raw theirs.raw $frames 1
    tail -c +33 theirs.rmd >theirs.codes
    convert modem.wav ours.rockwell-$bits
    check "own Rockwell adpcm, $bits bits" equal ours.rockwell-$bits theirs.codes 5000
  done
fi
exit $failed
