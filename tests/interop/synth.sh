#!/usr/bin/env bash
# synth.sh TERVO: songs rendered dry with Debian's small General MIDI bank, against FluidSynth: onsets of notes, their
# pitch, and how loud whole songs are from moment to moment. Works in the current folder.
set -uo pipefail
exec /usr/bin/python3 -W ignore "$(dirname "$0")/synth_peers.py" "$1"
