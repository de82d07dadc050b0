"""Compares what tervo and FluidSynth make of the same song and bank. Prints "ok WHAT" or "FAIL WHAT".

Where both differ by design: velocity spans 38 dB and opens the filter, attenuation counts 0.4 times, channel volume takes
up to 128 ms. So levels are compared by their shape (correlation), not by their value.
"""
import audioop
import glob
import math
import os
import subprocess
import sys

TERVO = sys.argv[1]
BANK = "/usr/share/sounds/sf2/TimGM6mb.sf2"
SONGS = "/usr/share/games/openttd/baseset/openmsx/*.mid"
RATE = 48000


def render(song):
    subprocess.run([TERVO, "render", song, "-o", "ours.wav", "--bank", BANK, "--no-effects", "--quiet", "--overwrite",
                    "--tail", "1", "--set", "mid2wav.bDeleteSilence=0"], check=True)
    subprocess.run(["fluidsynth", "-ni", "-q", "-F", "theirs.wav", "-r", str(RATE), "-R", "0", "-C", "0", "-g", "0.5",
                    "-O", "s16", BANK, song], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return samples("ours.wav"), samples("theirs.wav")


def samples(path):
    return subprocess.run(["sox", "-V1", "-D", path, "-c", "1", "-b", "16", "-r", str(RATE), "-t", "raw", "-"],
                          check=True, capture_output=True).stdout


def levels(sound, milliseconds):
    step = 2 * (RATE * milliseconds // 1000)
    return [audioop.rms(sound[i:i + step], 2) for i in range(0, len(sound) - step, step)]


def correlation(a, b):
    n = min(len(a), len(b))
    a, b = a[:n], b[:n]
    mean_a, mean_b = sum(a) / n, sum(b) / n
    over = sum((x - mean_a) * (y - mean_b) for x, y in zip(a, b))
    return over / math.sqrt(sum((x - mean_a) ** 2 for x in a) * sum((y - mean_b) ** 2 for y in b))


def onset(sound, around):
    """Seconds at which the level comes to a tenth of the highest within 200 ms."""
    first = 2 * int((around - 0.05) * RATE)
    part = levels(sound[first:first + 2 * RATE // 4], 1)
    return around - 0.05 + next(i for i, level in enumerate(part) if level > 0.1 * max(part)) / 1000


def period(sound, start, key):
    """Frames of a period from 0.2 s of sound: the best lag of about 30 periods, to a fraction."""
    first = 2 * int(start * RATE)
    values = memoryview(sound[first:first + 2 * (RATE // 2)]).cast("h")
    guess = RATE / (440 * 2 ** ((key - 69) / 12))
    turns, count = 30, 6000
    fits = {}

    def fit(lag):
        if lag not in fits:
            fits[lag] = sum(values[i] * values[i + lag] for i in range(0, count, 2))
        return fits[lag]

    near = round(turns * guess)
    reach = max(4, int(near * 0.01))
    best = max(range(near - reach, near + reach + 1), key=fit)
    a, b, c = fit(best - 1), fit(best), fit(best + 1)
    return (best + 0.5 * (a - c) / (a - 2 * b + c)) / turns


def scale(program, keys):
    """One note a second, half a second long."""
    track = bytearray([0, 0xC0, program])
    for key in keys:
        track += bytes([0x83, 0x60, 0x90, key, 110, 0x83, 0x60, 0x80, key, 0])
    track += bytes([0, 0xFF, 0x2F, 0])
    with open("scale.mid", "wb") as file:
        file.write(b"MThd" + bytes([0, 0, 0, 6, 0, 0, 0, 1, 1, 0xE0]) + b"MTrk" + len(track).to_bytes(4, "big") + track)
    return "scale.mid"


failed = False


def check(what, holds):
    global failed
    print(("ok " if holds else "FAIL ") + what)
    failed = failed or not holds


def compare_notes():
    keys = [48, 55, 60, 64, 69, 72, 76]
    for program, name in ((19, "organ"), (80, "square lead"), (11, "vibraphone")):
        ours, theirs = render(scale(program, keys))
        for i, key in enumerate(keys):
            start = 0.5 + i
            apart = abs(onset(ours, start) - onset(theirs, start)) * 1000
            check(f"{name}, key {key}: onset, {apart:.0f} ms apart", apart <= 5)
            cents = 1200 * math.log2(period(ours, start + 0.1, key) / period(theirs, start + 0.1, key))
            check(f"{name}, key {key}: pitch, {cents:+.2f} cents apart", abs(cents) <= 3)


def compare_songs():
    for song in sorted(glob.glob(SONGS))[::5]:
        ours, theirs = render(song)
        value = correlation(levels(ours, 50), levels(theirs, 50))
        check(f"{os.path.basename(song)}: level contour, correlation {value:.4f}", value >= 0.95)


if os.path.exists(BANK) and subprocess.run(["which", "fluidsynth"], capture_output=True).returncode == 0:
    compare_notes()
    compare_songs()
else:
    print("skipped: FluidSynth or its bank is not installed")
sys.exit(failed)
