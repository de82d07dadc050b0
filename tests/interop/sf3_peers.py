"""sf3_peers.py TERVO: what sf3.sh compares, in the current folder: streams of compressed banks against the codecs' own
programs, records against a reader of its own, sound against FluidSynth, archives against sfArk's free library. Prints
"ok WHAT" or "FAIL WHAT" for each comparison."""
import array, collections, json, os, shutil, struct, subprocess, sys, wave

TERVO = sys.argv[1]
HERE = os.path.dirname(os.path.abspath(__file__))
PLAIN = "/usr/share/sounds/sf2/TimGM6mb.sf2"
LARGE = "/usr/share/sounds/sf3/MuseScore_General_Lite.sf3"
Sample = collections.namedtuple("Sample", "name start end loop_start loop_end rate root cents link type")
failed = False


def result(what, faults):
    global failed
    failed = failed or bool(faults)
    print(("FAIL " if faults else "ok ") + what, *faults[:3], sep="\n  " if faults else "")


def run(*command):
    return subprocess.run(command, capture_output=True, check=True, stdin=subprocess.DEVNULL).stdout


def convert(source, target, *options):
    run(TERVO, "convert", source, "-o", target, "--overwrite", "--quiet", *options)
    return target


class Bank:
    """The sample chunk and its records. One common compressor forgets pad bytes."""

    def __init__(self, path):
        with open(path, "rb") as file:
            data = file.read()
        self.chunks, position = {}, 12
        while position + 8 <= len(data):
            name, size = struct.unpack_from("<4sI", data, position)
            if name == b"LIST":
                position += 12
                continue
            self.chunks[name] = data[position + 8:position + 8 + size]
            position += 8 + size
            position += size % 2 and data[position:position + 1] == b"\0"
        self.samples = [Sample(*record) for record in struct.iter_unpack("<20sIIIIIBbHH", self.chunks[b"shdr"])][:-1]

    def stream(self, sample):
        return self.chunks[b"smpl"][sample.start:sample.end]

    def words(self, sample):
        return array.array("h", self.chunks[b"smpl"][2 * sample.start:2 * sample.end])


def decoded(stream):
    """The 16-bit words of a stream, by its codec's own program."""
    with open("stream", "wb") as file:
        file.write(stream)
    if stream[:4] == b"fLaC":
        return array.array("h", run("flac", "-d", "-s", "-c", "--force-raw-format", "--endian=little", "--sign=signed",
                                    "stream"))
    return array.array("h", run("oggdec", "-Q", "-R", "-b", "16", "-e", "0", "-o", "-", "stream"))


def distance(ours, theirs):
    if len(ours) != len(theirs):
        return f"{len(ours)} frames, not {len(theirs)}"
    return max((abs(a - b) for a, b in zip(ours, theirs)), default=0)


def wave_words(path):
    with wave.open(path) as file:
        return array.array("h", file.readframes(file.getnframes()))


def record_faults(path, bank):
    """Our reader's names, lengths of loops and keys against the records; streams count loops from their own start."""
    waveforms = json.loads(run(TERVO, "info", path, "--raw-model", "--json"))[0]["waveforms"]
    faults = [] if len(waveforms) == len(bank.samples) else [f"{len(waveforms)} samples, not {len(bank.samples)}"]
    for ours, sample in zip(waveforms, bank.samples):
        loop = (ours["loops"][0]["start"], ours["loops"][0]["end"]) if ours["loops"] else None
        wanted = (sample.loop_start, min(sample.loop_end, ours["frames"]))
        same = (ours["sampleRate"], ours["rootKey"], ours["fineTune"]) == (sample.rate, sample.root, sample.cents)
        if not same or (sample.loop_start < wanted[1] and loop != wanted):
            faults.append(f"{ours}\n  {sample}")
    return faults


def stream_faults(path, bank, step, most):
    """Every step-th sample as we decode it against its codec's program."""
    faults = []
    for index in range(0, len(bank.samples), step):
        convert(path, "ours.wav", "--item", f"waveform:{index}", "--coding", "PCM 16-bit", "--set", "load.bAutoMergeStereo=0",
                "--set", "load.bAutoSortWaves=0")
        away = distance(wave_words("ours.wav"), decoded(bank.stream(bank.samples[index])))
        if isinstance(away, str) or away > most:
            faults.append(f"sample {index} {bank.samples[index].name}: {away}")
    return faults


def content(bank):
    return collections.Counter((bank.stream(sample), sample.loop_start, sample.loop_end) for sample in bank.samples)


def compare_reading(what, path, step):
    bank = Bank(path)
    result(f"{what}: records", record_faults(path, bank))
    # Programs round to 16 bits in other ways.
    result(f"{what}: sound of streams", stream_faults(path, bank, step, 1))


def compare_copy(what, path):
    copied = content(Bank(convert(path, "copy.sf3"))) == content(Bank(path))
    result(f"{what}: streams are copied", [] if copied else ["they differ"])


def compare_writing():
    plain = Bank(convert(PLAIN, "plain.sf2"))
    lossless, lossy = Bank(convert(PLAIN, "flac.sf3", "--coding", "PCM 16-bit")), Bank(convert(PLAIN, "vorbis.sf3"))
    pairs = list(zip(plain.samples, lossless.samples))[::7]
    faults = [str(a.name) for a, b in pairs if plain.words(a) != decoded(lossless.stream(b))]
    result("our FLAC streams", faults or [] if pairs else ["none"])
    faults = [str(a.name) for a, b in zip(plain.samples[::7], lossy.samples[::7])
              if len(decoded(lossy.stream(b))) != a.end - a.start]
    result("our Vorbis streams", faults)
    result("bit rate asked for", [] if os.path.getsize(convert(PLAIN, "low.sf3", "--coding", "Compressed 32 kbit/s")) <
           os.path.getsize("vorbis.sf3") else ["it changes nothing"])


def song():
    """Two chords and some drums, all released: FluidSynth plays until everything is silent."""
    notes = [bytes([0x90 | channel, key]) for channel in (0, 1) for key in (48, 60, 67)] + [b"\x99\x26", b"\x99\x2A"]
    events = b"\0\xC0\x00\0\xC1\x30" + b"".join(b"\0" + note + b"\x5A" for note in notes)
    events += b"\x81\x40\x90\x30\0" + b"".join(b"\0" + note + b"\0" for note in notes) + b"\0\xFF\x2F\0"
    with open("song.mid", "wb") as file:
        file.write(b"MThd" + struct.pack(">IHHH", 6, 0, 1, 96) + b"MTrk" + struct.pack(">I", len(events)) + events)


def compare_playing():
    if not shutil.which("fluidsynth"):
        return
    song()
    sound = {}
    for bank in ("plain.sf2", "flac.sf3", "vorbis.sf3"):
        run("timeout", "60", "fluidsynth", "-ni", "-q", "-R", "0", "-C", "0", "-F", "played.wav", bank, "song.mid")
        sound[bank] = wave_words("played.wav")
    loudness = max(sound["plain.sf2"], default=0)
    same = loudness > 1000 and distance(sound["plain.sf2"], sound["flac.sf3"])
    result("FluidSynth plays our FLAC bank as the plain one", [] if same == 0 else [f"{same}, loudness {loudness}"])
    noise = sum((a - b) ** 2 for a, b in zip(sound["plain.sf2"], sound["vorbis.sf3"]))
    power = sum(a * a for a in sound["plain.sf2"])
    result("FluidSynth plays our Vorbis bank", [] if power > 0 and noise < power / 30 else [f"{noise} of {power}"])


def compare_archives():
    if not shutil.which("sfarkxtc"):
        return
    convert(PLAIN, "bank.sf2", "--item", "instrument:20")
    for method, name in ((4, "turbo"), (5, "fast"), (6, "standard"), (7, "max")):
        archive = f"{name}.sfArk"
        run("/usr/bin/python3", os.path.join(HERE, "sfark_packer.py"), "bank.sf2", archive, str(method))
        run("sfarkxtc", archive, "theirs.sf2")
        with open("bank.sf2", "rb") as original, open("theirs.sf2", "rb") as theirs:
            sound = original.read() == theirs.read()
        one, other = Bank(convert(archive, "ours.sf2")), Bank(convert("theirs.sf2", "again.sf2"))
        same = one.chunks[b"smpl"] == other.chunks[b"smpl"] and one.samples == other.samples
        result(f"sfArk {name}", ["the archive is not sound"] if not sound else [] if same else ["other samples"])


def chunk(name, body):
    return name + struct.pack("<I", len(body)) + body + b"\0" * (len(body) % 2)


def zone_chunks(letter, zones):
    """Bags and generators, each table with its last record."""
    bags, generators = b"", b""
    for zone in zones:
        bags += struct.pack("<HH", len(generators) // 4, 0)
        generators += b"".join(struct.pack("<Hh", *each) for each in zone)
    bags += struct.pack("<HH", len(generators) // 4, 0)
    return (chunk(letter + b"bag", bags) + chunk(letter + b"mod", bytes(10)) +
            chunk(letter + b"gen", generators + bytes(4)))


def first_version_bank(path, zones):
    """A SoundFont 1 bank of one preset and one sample: there is no program that makes one."""
    words = array.array("h", [i * 97 % 20000 - 10000 for i in range(2000)]).tobytes()
    name = lambda text: text.ljust(20, b"\0")
    body = b"sfbk" + chunk(b"LIST", b"INFO" + chunk(b"ifil", struct.pack("<HH", 1, 0)) + chunk(b"INAM", b"First\0"))
    body += chunk(b"LIST", b"sdta" + chunk(b"snam", name(b"Sample") + name(b"EOS")) + chunk(b"smpl", words))
    body += chunk(b"LIST", b"pdta" +
                  chunk(b"phdr", name(b"Preset") + struct.pack("<HHH12x", 5, 0, 0) + name(b"EOP") + struct.pack("<HHH12x", 0, 0, 1)) +
                  zone_chunks(b"p", [[(41, 0)]]) +
                  chunk(b"inst", name(b"Instrument") + struct.pack("<H", 0) + name(b"EOI") + struct.pack("<H", len(zones))) +
                  zone_chunks(b"i", zones) + chunk(b"shdr", struct.pack("<IIII", 0, 1954, 100, 1900) + bytes(16)))
    with open(path, "wb") as file:
        file.write(chunk(b"RIFF", body))


def spoken(path):
    """What awesfx says of a bank's generators in units that people use, by key range and name."""
    said, keys = {}, None
    for line in run("sf2text", path).decode().splitlines():
        words = line.strip().strip("()").split()
        if len(words) > 3 and words[0] == "keyRange":
            keys = words[2:4]
        elif keys and len(words) > 2 and words[-1] in ("msec", "mHz", "Hz", "%", "semitone", "cB"):
            said[keys[0], words[0]] = float(words[-2])
    return said


def compare_first_version():
    if not shutil.which("sf2text"):
        return
    # Attenuations are left out: the program takes ten times what its document says.
    low = [(43, 59 << 8), (55, 6000), (8, 64), (9, 20), (17, 20), (34, 20), (36, 80), (37, 20), (38, 1500), (53, 0)]
    high = [(43, 127 << 8 | 60), (55, 7250), (17, 100), (34, 200), (35, 100), (36, 500), (37, 60), (38, 300), (8, 90),
            (9, 40), (15, 100), (16, 200), (21, 400), (22, 50), (23, 300), (24, 60), (5, 10), (6, 12), (7, 20), (10, 6),
            (11, 8), (13, 16), (25, 10), (26, 20), (27, 30), (28, 400), (29, 48), (30, 100), (53, 0)]
    first_version_bank("first.sbk", [low, high])
    theirs, ours = spoken("first.sbk"), spoken(convert("first.sbk", "first.sf2"))
    faults = [f"{key}: {ours.get(key)}, not {value}" for key, value in theirs.items()
              if value > 0 and abs(ours.get(key, 0) - value) > max(1, value / 100)]
    result("SoundFont 1 as awesfx reads it", faults if len(theirs) > 30 else [f"{len(theirs)} values"])


compare_first_version()
if os.path.exists(PLAIN) and shutil.which("oggdec") and shutil.which("flac"):
    compare_writing()
    compare_playing()
    compare_copy("FLAC", "flac.sf3")
    compare_reading("FLAC", "flac.sf3", 60)
    if shutil.which("sf3convert"):
        run("sf3convert", "-z", PLAIN, "theirs.sf3")
        compare_copy("sf3convert", "theirs.sf3")
        compare_reading("sf3convert", "theirs.sf3", 20)
    if os.path.exists(LARGE):
        compare_reading("MuseScore General", LARGE, 100)
    compare_archives()
sys.exit(failed)
