#!/usr/bin/env bash
# songs.sh TERVO [SONG...]: processor time for whole songs against FluidSynth, same bank, rate and one thread, dry and
# with reverb and chorus. Three runs each, the fastest counts. Opening the bank (TERVO_BANK, or a small one) and writing
# the file are part of it.
set -euo pipefail
tervo=$(readlink -f "$1")
shift
bank=${TERVO_BANK-/usr/share/sounds/sf2/TimGM6mb.sf2}
[ $# -gt 0 ] || set -- /usr/share/games/openttd/baseset/openmsx/{city_blues_redfarn,flying_scotsman,tttheme2}.mid
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

seconds() { # COMMAND...: user time of the fastest of three runs
  for _ in 1 2 3; do (TIMEFORMAT=%U && time "$@" >"$work/log" 2>&1) 2>&1; done | sort -n | head -n 1
}
for song in "$@"; do
  ours=(render "$song" -o "$work/ours.wav" --bank "$bank" --threads 1 --quiet --overwrite --coding "PCM 16-bit")
  theirs=(-ni -q -F "$work/theirs.wav" -r 48000 -O s16 -g 0.5)
  echo "$(basename "$song")" \
    "dry $(seconds "$tervo" "${ours[@]}" --no-effects) s, FluidSynth $(seconds fluidsynth "${theirs[@]}" -R 0 -C 0 "$bank" "$song") s;" \
    "with effects $(seconds "$tervo" "${ours[@]}") s, FluidSynth $(seconds fluidsynth "${theirs[@]}" "$bank" "$song") s"
done
