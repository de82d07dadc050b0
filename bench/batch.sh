#!/usr/bin/env bash
# batch.sh TERVO [COUNT]: many small WAV files to AIFF by `tervo batch`, one and two at a time, beside a shell loop of sox:
# seconds that passed and processor seconds (user and system), the best of three. On a memory-backed folder, because
# tervo makes sure that each file is on the disk and sox does not.
set -euo pipefail
tervo=$(readlink -f "$1")
count=${2:-500}
work=$(mktemp -d -p /dev/shm)
trap 'rm -rf "$work"' EXIT
mkdir "$work/in"
sox -n -r 44100 -b 16 "$work/in/0.wav" synth 0.25 sine 440 gain -6
for i in $(seq $((count - 1))); do cp "$work/in/0.wav" "$work/in/$i.wav"; done

with_batch() { "$tervo" batch "$work/in" --to aif -d "$work/out" -j "$1" --quiet; }
with_convert() { for file in "$work"/in/*.wav; do "$tervo" convert "$file" -o "$work/out/$(basename "$file" .wav).aif"; done; }
with_sox() { for file in "$work"/in/*.wav; do sox "$file" "$work/out/$(basename "$file" .wav).aiff"; done; }
best() { # NAME COMMAND...
  local name=$1
  shift
  for _ in 1 2 3; do
    rm -rf "$work/out" && mkdir "$work/out"
    (TIMEFORMAT="%R %U %S" && time "$@") 2>&1
    [ "$(find "$work/out" -name '*.aif*' | wc -l)" = "$count" ] || echo "not all files were made" >&2
  done | awk -v name="$name" '{ cpu = $2 + $3 } NR == 1 || cpu < least { least = cpu }
    NR == 1 || $1 < passed { passed = $1 } END { printf "%-16s %6.2f s passed, %6.2f s of processor\n", name, passed, least }'
}
best "batch -j 1" with_batch 1
best "batch -j 2" with_batch 2
best "tervo in a loop" with_convert
best "sox in a loop" with_sox
