#!/usr/bin/env bash
# sf3.sh TERVO: compressed banks and sfArk archives against sf3convert, oggdec, flac, FluidSynth and sfarkxtc. Works in
# the current folder.
set -uo pipefail
exec /usr/bin/python3 "$(dirname "$0")/sf3_peers.py" "$1"
