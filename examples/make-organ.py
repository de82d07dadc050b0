#!/usr/bin/env python3
"""Makes organ-a4.wav, the example that ./run converts: half a second of a reed organ's A4 (44.1 kHz, 16 bits, mono) with
a seamless loop, two markers and tags. Usage: make-organ.py TARGET"""

import math
import struct
import sys

RATE, FREQUENCY, ROOT_KEY = 44100, 440.0, 69
FRAMES = 22050
ATTACK = 4410                      # frames until the tone is steady
LOOP_START, LOOP_END = 8820, 13230  # 44 periods of 440 Hz are exactly 4410 frames
RELEASE = 15435
HARMONICS = [1.0, 0.55, 0.42, 0.2, 0.16, 0.07, 0.05, 0.02]


def sample(frame):
    phase = 2 * math.pi * FREQUENCY * frame / RATE
    tone = sum(level * math.sin((n + 1) * phase + 0.3 * n) for n, level in enumerate(HARMONICS))
    gain = min(1.0, frame / ATTACK) ** 0.7
    if frame > RELEASE:
        gain *= math.exp(-(frame - RELEASE) / 1500) * (FRAMES - frame) / (FRAMES - RELEASE)
    return round(9000 * gain * tone)


def chunk(name, *parts):
    body = b"".join(parts)
    return name + struct.pack("<I", len(body)) + body + b"\0" * (len(body) % 2)


def text(name, words):
    return chunk(name, words.encode() + b"\0")


def cue(number, frame):
    return struct.pack("<II4sIII", number, frame, b"data", 0, 0, frame)


def main():
    form = chunk(b"fmt ", struct.pack("<HHIIHH", 1, 1, RATE, RATE * 2, 2, 16))
    data = chunk(b"data", b"".join(struct.pack("<h", sample(frame)) for frame in range(FRAMES)))
    loop = struct.pack("<6I", 0, 0, LOOP_START, LOOP_END - 1, 0, 0)  # the end is the last frame that is played
    sampler = chunk(b"smpl", struct.pack("<9I", 0, 0, 10**9 // RATE, ROOT_KEY, 0, 0, 0, 1, 0), loop)
    cues = chunk(b"cue ", struct.pack("<I", 2), cue(1, ATTACK), cue(2, RELEASE))
    labels = [text(b"labl", "\1\0\0\0Steady"), text(b"labl", "\2\0\0\0Release")]
    tags = [text(b"INAM", "Reed organ A4"), text(b"IGNR", "Example"), text(b"ISFT", "examples/make-organ.py"),
            text(b"ICMT", "Made by calculation; free for any use")]
    body = [form, data, sampler, cues, chunk(b"LIST", b"adtl", *labels), chunk(b"LIST", b"INFO", *tags)]
    with open(sys.argv[1], "wb") as target:
        target.write(chunk(b"RIFF", b"WAVE", *body))


main()
