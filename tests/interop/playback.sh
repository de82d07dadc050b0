#!/usr/bin/env bash
# playback.sh TERVO [WRAPPER]: what sound servers record of what is played, against what the device "file:" got, and
# MIDI over JACK. WRAPPER starts a program of the Windows build; JACK is left out then. Works in the current folder, for
# 90 s at most.
set -uo pipefail
for program in pulseaudio pactl parec jackd jack_midiseq jack_midi_dump sox; do
  command -v "$program" >/dev/null || { echo "skipped: $program is not installed"; exit 0; }
done
exec timeout 120 /usr/bin/python3 "$(dirname "$0")/playback_peers.py" "$PWD" "${2-}" "$1"
