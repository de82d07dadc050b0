#!/usr/bin/env bash
# midi.sh TERVO: songs of a free game's music and songs made to be hard, against mido (events, notes, lengths), against
# a parser of chunks, and against FluidSynth's player. Works in the current folder.
set -uo pipefail
exec /usr/bin/python3 "$(dirname "$0")/midi_peers.py" "$1" "$PWD"
