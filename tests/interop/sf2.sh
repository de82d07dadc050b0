#!/usr/bin/env bash
# sf2.sh TERVO: Debian's banks and our copies of them, against a reader written for this and against FluidSynth's sound.
# Works in the current folder. The larger bank is optional.
set -uo pipefail
exec /usr/bin/python3 "$(dirname "$0")/sf2_peers.py" "$1" "$PWD"
