#!/usr/bin/env python3
"""Makes tune.mid, the song that ./run renders: eight bars for piano, bass, strings and drums.
Usage: make-tune.py TARGET"""

import sys

TICKS = 480  # a quarter note
CHORDS = [(0, "minor"), (8, "major"), (3, "major"), (10, "major")]  # semitones above the root, once a bar
STEPS = {"minor": (0, 3, 7, 12), "major": (0, 4, 7, 12)}
ROOT = 57  # A below middle C
MELODY = [(0, 1, 76), (1, 1, 74), (2, 2, 72), (4, 1, 72), (5, 1, 71), (6, 2, 69), (8, 1.5, 71), (9.5, 0.5, 72),
          (10, 2, 74), (12, 1, 74), (13, 1, 71), (14, 2, 67), (16, 1, 76), (17, 1, 74), (18, 1, 72), (19, 1, 69),
          (20, 1, 72), (21, 1, 77), (22, 2, 76), (24, 1.5, 74), (25.5, 0.5, 76), (26, 2, 79), (28, 2, 74), (30, 4, 76)]


def number(value):
    """As MIDI files write how long to wait: seven bits a byte."""
    parts = [value & 127]
    while value := value >> 7:
        parts.insert(0, value & 127 | 128)
    return bytes(parts)


def track(notes, channel, program=None, first=b""):
    """Notes are (quarter, quarters long, key, velocity)."""
    events = [(0, first)] if first else []
    if program is not None:
        events.append((0, bytes([0xC0 | channel, program])))
    for start, length, key, velocity in notes:
        events.append((round(start * TICKS), bytes([0x90 | channel, key, velocity])))
        events.append((round((start + length) * TICKS) - 10, bytes([0x80 | channel, key, 64])))
    data, now = b"", 0
    for tick, event in sorted(events):
        data += number(tick - now) + event
        now = tick
    data += bytes([0, 0xFF, 0x2F, 0])
    return b"MTrk" + len(data).to_bytes(4, "big") + data


def chord(bar):
    root, kind = CHORDS[bar % 4]
    return [ROOT + root + step - (12 if root > 5 else 0) for step in STEPS[kind]]


tempo = b"\xFF\x51\x03" + (60_000_000 // 104).to_bytes(3, "big")
piano = [(start, length, key, 96) for start, length, key in MELODY]
piano += [(4 * bar + i * 0.5, 0.5, chord(bar)[(0, 2, 3, 1)[i % 4]], 60) for bar in range(8) for i in range(8)]
bass = [(4 * bar + beat, 0.9, chord(bar)[0] - 12, 90) for bar in range(8) for beat in (0, 1.5, 3)]
strings = [(4 * bar, 4, key, 58) for bar in range(8) for key in chord(bar)[:3]]
drums = [(4 * bar + beat, 0.25, key, velocity) for bar in range(8)
         for beat, key, velocity in [(0, 36, 100), (2, 36, 92), (2.5, 36, 80), (1, 38, 90), (3, 38, 94)]]
drums += [(i * 0.5, 0.25, 42, 70 if i % 2 else 84) for i in range(64)]
tracks = [track([], 0, first=tempo), track(piano, 0, 0), track(bass, 1, 33), track(strings, 2, 48), track(drums, 9)]
with open(sys.argv[1], "wb") as file:
    file.write(b"MThd" + (6).to_bytes(4, "big") + bytes([0, 1, 0, len(tracks)]) + TICKS.to_bytes(2, "big"))
    file.writelines(tracks)
