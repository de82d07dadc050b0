"""midi_peers.py TERVO FOLDER: what midi.sh compares. Prints "ok WHAT" or "FAIL WHAT" for each comparison."""
import collections, glob, hashlib, json, os, random, shutil, struct, subprocess, sys

import mido

TERVO, FOLDER = sys.argv[1:3]
MUSIC = sorted(glob.glob("/usr/share/games/openttd/baseset/openmsx/*.mid"))
SOUNDFONT = "/usr/share/sounds/sf2/TimGM6mb.sf2"
END = b"\0\xff\x2f\0"
failed = False


def result(what, same, details=""):
    global failed
    failed = failed or not same
    print(("ok " if same else "FAIL ") + what, "" if same else details)


def run(*arguments):
    return subprocess.run([TERVO, *arguments], capture_output=True, check=True).stdout


def info(path):
    return json.loads(run("info", "--json", path))[0]["songs"][0]


# Songs that are hard to get right.

def quantity(value, pad=0):
    low = [value & 127]
    while value := value >> 7:
        low.insert(0, 128 | value & 127)
    return bytes([128] * pad + low)


def chunk(name, body):
    return name + struct.pack(">I", len(body)) + body


def tempo(delta, microseconds):
    return quantity(delta) + b"\xff\x51\x03" + struct.pack(">I", microseconds)[1:]


def song(name, format, division, tracks):
    path = os.path.join(FOLDER, name + ".mid")
    with open(path, "wb") as file:
        file.write(chunk(b"MThd", struct.pack(">HHH", format, len(tracks), division)))
        for track in tracks:
            file.write(chunk(b"MTrk", track))
    return path


def tempos(rng, count, division):
    return b"".join(tempo(rng.randrange(1, division), rng.randrange(150000, 1500000)) for _ in range(count))


def busy(rng, count, channel):
    """Messages of every kind in running status, texts and system-exclusive messages between them."""
    body, last = b"", -1
    for _ in range(count):
        status = rng.choice([0x80, 0x90, 0x90, 0x90, 0xA0, 0xB0, 0xC0, 0xD0, 0xE0]) | channel
        body += quantity(rng.choice([0, 0, 1, rng.randrange(200), rng.randrange(200)]), rng.choice([0, 0, 0, 1]))
        if status != last or rng.random() < 0.1:
            body += bytes([status])
        last = status
        body += bytes(rng.randrange(128) for _ in range(1 if status & 0xF0 in (0xC0, 0xD0) else 2))
        if rng.random() < 0.05:
            body += quantity(rng.randrange(9)) + rng.choice([b"\xff\x01" + quantity(200) + b"x" * 200,
                                                             b"\xf0\x05\x7e\x7f\x09\x01\xf7", b"\xff\x7f\0"])
            last = -1
    return body


def hard_songs():
    rng = random.Random(5)
    return [
        song("tempo", 0, 96, [tempos(rng, 800, 96) + b"\0\x90\x3c\x40\x60\x3c\0" + END]),
        song("tempo-in-all", 1, 384, [tempos(rng, 300, 384) + END, tempos(rng, 300, 384) + busy(rng, 300, 3) + END,
                                      busy(rng, 3000, 9) + END]),
        song("dense", 1, 960, [tempos(rng, 9, 960) + END] + [busy(rng, 1500, c) + b"\x87\x00\xff\x2f\0" for c in range(16)]),
        song("one-track", 0, 120, [b"".join(busy(rng, 40, c % 16) for c in range(90)) + END]),
        song("slow", 1, 24, [tempo(0, 50000) + END, b"\0\x90\x3c\x40" + quantity(200000) + b"\x3c\0" + END]),
    ]


# What is compared.

def bodies(path):
    data, at, found = open(path, "rb").read(), 0, []
    while at + 8 <= len(data):
        length = struct.unpack(">I", data[at + 4:at + 8])[0]
        if data[at:at + 4] == b"MTrk":
            found.append(hashlib.sha256(data[at + 8:at + 8 + length]).hexdigest())
        at += 8 + length
    return found


def heard(path):
    """The messages of all tracks by their time in ticks."""
    events = collections.Counter()
    for track in mido.MidiFile(path).tracks:
        now = 0
        for message in track:
            now += message.time
            if message.type != "end_of_track":
                events[now, bytes(message.bytes())] += 1
    return events


def compare_song(path):
    name, copy = os.path.basename(path), os.path.join(FOLDER, "copy.mid")
    ours, theirs = info(path), mido.MidiFile(path)
    counts = [(track["events"], track["notes"]) for track in ours["tracks"]]
    expected = [(len(track), sum(m.type == "note_on" and m.velocity > 0 for m in track)) for track in theirs.tracks]
    result(f"{name}: events and notes of each track as mido", counts == expected, f"{counts} {expected}")
    result(f"{name}: length as mido", abs(ours["seconds"] - theirs.length) < 1e-6, f"{ours['seconds']} {theirs.length}")
    run("convert", path, "-o", copy, "--overwrite", "--quiet")
    result(f"{name}: track bodies after saving", bodies(copy) == bodies(path) and len(bodies(path)) > 0)


def compare_formats(path):
    one, two = os.path.join(FOLDER, "one.mid"), os.path.join(FOLDER, "two.mid")
    run("process", "change-midi-format", path, "-o", one, "--to", "0", "--overwrite", "--quiet")
    run("process", "change-midi-format", one, "-o", two, "--to", "1", "--overwrite", "--quiet")
    same = heard(path) == heard(one) == heard(two)
    formats = [mido.MidiFile(each).type for each in (one, two)]
    result(f"{os.path.basename(path)}: the same events in formats 0 and 1", same and formats == [0, 1])


def fluidsynth_seconds(path, rate=64000):
    """How long FluidSynth's player plays, less the two seconds that its renderer goes on for."""
    out = os.path.join(FOLDER, "fluid.wav")
    subprocess.run(["fluidsynth", "-ni", "-q", "-R", "0", "-C", "0", "-T", "wav", "-r", str(rate), "-F", out, SOUNDFONT, path],
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
    return (os.path.getsize(out) - 44) / 4 / rate - 2


def compare_with_player():
    """FluidSynth's player counts whole milliseconds and starts anew at each tempo event, so all of them stand at whole
    milliseconds here. It notices the end at the next block of 64 frames, a millisecond at this rate."""
    for most in (2, 5, 12):
        rng, microseconds = random.Random(most), 960000
        body = tempo(0, microseconds)
        for _ in range(1500):
            delta, microseconds = 20 * rng.randrange(1, 100), 480000 * rng.randrange(1, most)
            body += tempo(delta, microseconds)
        path = song(f"player{most}", 0, 9600, [body + quantity(9600) + b"\xff\x2f\0"])
        behind = fluidsynth_seconds(path) - info(path)["seconds"]
        result(f"1500 tempo changes: length as FluidSynth plays it ({behind * 1000:+.3f} ms)", abs(behind) < 0.001001)


result("music to compare with is installed", len(MUSIC) >= 20)
for each in MUSIC[::3]:
    compare_song(each)
for each in hard_songs():
    compare_song(each)
    compare_formats(each)
for each in MUSIC[::8]:
    compare_formats(each)
if shutil.which("fluidsynth") and os.path.exists(SOUNDFONT):
    compare_with_player()
else:
    result("FluidSynth is installed", False)
sys.exit(failed)
