#!/usr/bin/env bash
# wav.sh TERVO: WAV, RF64 and Wave64 files of sox, libsndfile and FFmpeg decode here to what these programs make of
# them, ours open there with the same frames, and what a WAV file says beside its samples survives. Works in the current
# folder.
set -uo pipefail
tervo=$1
command -v sox >/dev/null && command -v sndfile-convert >/dev/null || exit 0
failed=0

check() { # WHAT COMMAND...: ok when the command succeeds
  local what=$1
  shift
  if "$@"; then echo "ok $what"; else echo "FAIL $what"; failed=1; fi
}
convert() { "$tervo" convert "$1" -o "$2" --quiet --overwrite "${@:3}"; }
soxFloats() { sox -V1 -D "$1" -t raw -e float -b 32 -L -; }
sndfileFloats() { rm -f sndfile.wav && sndfile-convert -float32 "$1" sndfile.wav >/dev/null && soxFloats sndfile.wav; }
frames() { sndfile-info "$1" | awk '/^Frames/ {print $3}'; }
# decodesAs FILE FLOATS: tervo's float copy of the file has these samples.
decodesAs() { convert "$1" ours.wav --coding "Float 32-bit" && soxFloats ours.wav >ours.raw && cmp -s ours.raw "$2"; }

sox -V1 -R -n -r 44100 -c 2 -b 32 -e float source.wav synth 0.7 sine 300-3000 synth 0.7 pinknoise mix gain -n -3

# Read: whatever sox and libsndfile write.
declare -A layouts=([u8]="-e unsigned -b 8" [s16]="-e signed -b 16" [s24]="-e signed -b 24" [s32]="-e signed -b 32"
  [f32]="-e float -b 32" [f64]="-e float -b 64" [ulaw]="-e mu-law" [alaw]="-e a-law")
for layout in "${!layouts[@]}"; do
  # shellcheck disable=SC2086
  sox -V1 -D source.wav ${layouts[$layout]} in.wav
  soxFloats in.wav >theirs.raw
  check "$layout of sox" decodesAs in.wav theirs.raw
done
for kind in "rf64 pcm24" "w64 pcm16" "w64 float32"; do
  read -r form coding <<<"$kind"
  rm -f "in.$form"
  sndfile-convert -"$coding" source.wav "in.$form" >/dev/null
  sndfile-convert -"$coding" source.wav plain.wav >/dev/null && soxFloats plain.wav >theirs.raw
  check "$coding in $form of libsndfile" decodesAs "in.$form" theirs.raw
done
sox -V1 -D source.wav -e signed -b 16 -t wav - | cat >pipe.wav
sox -V1 -D source.wav -e signed -b 16 in.wav && soxFloats in.wav >theirs.raw
check "what sox writes to a pipe" decodesAs pipe.wav theirs.raw
if command -v ffmpeg >/dev/null; then
  ffmpeg -v error -y -i in.wav -f wav - </dev/null | cat >pipe.wav
  check "what FFmpeg writes to a pipe" decodesAs pipe.wav theirs.raw
fi

# Write: every coding opens there with the same frames and samples.
count=$(frames source.wav)
for coding in "PCM 8-bit" "PCM 16-bit" "PCM 24-bit" "PCM 32-bit" "Float 32-bit" "Mu-law 8-bit" "A-law 8-bit"; do
  for form in wav w64; do
    convert source.wav "out.$form" --coding "$coding" --format $form
    decodesOut() { convert "out.$form" ours.wav --coding "Float 32-bit" && soxFloats ours.wav | cmp -s - <(soxFloats copy.wav); }
    # libsndfile's own copy in WAV, because sox reads Wave64 through integers.
    rm -f copy.wav && sndfile-convert "out.$form" copy.wav >/dev/null 2>&1
    check "$coding in $form, frames" [ "$(frames "out.$form")" = "$count" ]
    check "$coding in $form, samples" decodesOut
  done
done

# Unedited: key, tuning, loops, cue points and chunks come out as they went in, where libsndfile sees them too.
chunk() { printf '%s' "$1"; printf '%08x' "$(($2))" | sed 's/\(..\)\(..\)\(..\)\(..\)/\\x\4\\x\3\\x\2\\x\1/' | xargs -0 printf '%b'; }
word() { printf '%b' "$(printf '%08x' "$1" | sed 's/\(..\)\(..\)\(..\)\(..\)/\\x\4\\x\3\\x\2\\x\1/')"; }
words() { for value in "$@"; do word "$value"; done; }
sox -V1 -D source.wav -e signed -b 16 -c 1 rich.wav
{
  chunk smpl 60 && words 1 2 22675 57 1073741824 0 0 1 0 9 1 100 199 2147483648 3
  chunk 'cue ' 28 && words 1 1 500 && printf data && words 0 0 500
  chunk LIST 18 && printf 'adtl' && chunk labl 6 && words 1 && printf 'x\0'
  chunk acid 24 && words 1 2 3 4 5 6
} >>rich.wav
convert rich.wav same.wav
convert rich.wav wide.wav --coding "PCM 24-bit"
about() { sndfile-info "$1" | grep -E 'Cue ID|Midi|Pitch|Manufact|labl|acid' | sort; }
check "sampler, cue points and unknown chunks, same coding" cmp -s <(about rich.wav) <(about same.wav)
check "sampler, cue points and unknown chunks, other coding" cmp -s <(about rich.wav) <(about wide.wav)
check "there was something to compare" [ "$(about rich.wav | wc -l)" -ge 6 ]
convert rich.wav rich.w64 && convert rich.w64 back.wav
check "sampler and cue points through Wave64" cmp -s <(about rich.wav) <(about back.wav)
exit $failed
