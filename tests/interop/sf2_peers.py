"""sf2_peers.py TERVO FOLDER: what sf2.sh compares: Debian's banks and what is written from them, by a reader of its own
and by FluidSynth's sound. Prints "ok WHAT" or "FAIL WHAT" for each comparison."""
import collections, ctypes, ctypes.util, json, math, os, subprocess, sys

import numpy

import sf2_reader as sf2

TERVO, FOLDER = sys.argv[1:3]
SOUNDS = "/usr/share/sounds/sf2/"
# What is loaded stays as it is, in its order.
AS_READ = [word for key in ("AutoMergeStereo", "AutoCompactLayers", "AutoMoveTriggerParams", "AutoSortColl",
                            "AutoSortWaves", "EnsureUniqueNames") for word in ("--set", f"load.b{key}=0")]
failed = False


def result(what, faults):
    """`faults` says what is wrong; the first few are shown."""
    global failed
    failed = failed or bool(faults)
    print(("FAIL " if faults else "ok ") + what, *faults[:3], sep="\n  " if faults else "")


def run(*arguments):
    return subprocess.run([TERVO, *arguments], capture_output=True, check=True).stdout


# What our reader says against what the other one does.

def sample_faults(bank, waveforms):
    faults = [] if len(bank.samples) == len(waveforms) else ["number of samples"]
    for sample, ours in zip(bank.samples, waveforms):
        loop = (sample.loop_start - sample.start, sample.loop_end - sample.start)
        theirs = (sample.name, sample.end - sample.start, sample.rate, sample.root, sample.cents)
        if (ours["name"], ours["frames"], ours["sampleRate"], ours["rootKey"], ours["fineTune"]) != theirs:
            faults.append(f"{ours}\n  {sample}")
        if loop[0] < loop[1] <= theirs[1] and (ours["loops"][0]["start"], ours["loops"][0]["end"]) != loop:
            faults.append(f"loop {ours['loops'][0]} {loop}")
    return faults


def selected(waveform, number):
    markers = waveform["loops"] + waveform["markers"]
    return next(marker for marker in markers if marker["number"] == number)


def our_loop(region, waveform):
    number = region["trigger"].get("Loop section", -1)
    if number == 0 or not waveform["loops"]:
        return None
    loop = waveform["loops"][0] if number == -1 else selected(waveform, number)
    return loop["start"], loop["end"], loop["count"] == 255


def our_part(region, waveform):
    number = region["trigger"].get("Play section", 0)
    section = selected(waveform, number) if number else {"start": 0, "end": waveform["frames"]}
    return section["start"], section["end"]


def our_zone(region, waveforms):
    waveform, rows = waveforms[region["waveform"]], region["articulation"]
    return ((region["lowKey"], region["highKey"]), (region["lowVelocity"], region["highVelocity"]), region["waveform"],
            region["rootKey"], our_part(region, waveform), our_loop(region, waveform),
            region["trigger"].get("Key exclusion group", 0), round(rows["Master tuning Pitch adjustment"] * 100),
            round(rows["Pan position"] * 500), round(rows["Key to Pitch"] * 100))


def tuning(zone):
    """In cents; the document's row ends at four octaves."""
    return max(-4800, min(100 * sf2.amount(zone, 51) + sf2.amount(zone, 52), 4800))


def their_zone(zone, bank):
    sample, amount = bank.samples[zone.sample], lambda number: sf2.amount(zone, number)
    root = amount(sf2.ROOT)
    loop = sf2.loop(zone, sample)
    return (zone.keys, zone.velocities, zone.sample, sample.root if root == -1 else root, sf2.played(zone, sample), loop,
            amount(sf2.EXCLUSIVE), tuning(zone), max(-500, min(amount(17), 500)), amount(56))


def preset_faults(bank, document):
    faults = [] if len(bank.presets) == len(document["instruments"]) else ["number of presets"]
    for preset, ours in zip(bank.presets, document["instruments"]):
        number = (ours["name"], ours["program"], 128 if ours["drum"] else ours["bankMsb"])
        if number != (preset.name, preset.program, preset.bank):
            faults.append(f"{number} {preset[:3]}")
        regions = [region for layer in ours["layers"] for region in layer["regions"]]
        got = collections.Counter(our_zone(region, document["waveforms"]) for region in regions)
        wanted = collections.Counter(their_zone(zone, bank) for zone in preset.zones)
        faults += [f"{preset.name}: {each}" for each in list((got - wanted) + (wanted - got))[:2]]
    return faults


# A written bank against the one that it was read from.

def slots(zone):
    """Modulators with one source as amounts by controller and destination, free of curve and polarity; the document's
    defaults where none is said."""
    amounts = {(0x02, 48): -960, (0x02, 8): 2400, (0x81, 6): 50, (0x0d, 6): 50, (0x8a, 17): 500, (0xdb, 16): 200,
               (0xdd, 15): 200}
    for (source, to, by, _), value in zone.modulators.items():
        if by == 0:
            amounts[source & 0xFF, to] = -value if source & 0x100 else value
    amounts[0x8a, 17] = max(-500, min(amounts[0x8a, 17], 500))  # the document's pan ends there
    return {key: value for key, value in amounts.items() if value}


LIMITS = {5: (-9600, 9600), 6: (-9600, 9600), 7: (-9600, 9600), 9: (-60, 960), 10: (-12800, 12800), 11: (-12800, 12800),
          15: (0, 1000), 16: (0, 1000), 17: (-500, 500), 29: (0, 1000), 37: (0, 960)}


def held(number, value):
    """An amount as the document holds it: in its unit and rounded, and cut to the range that the document has for it. Its
    cutoff is that of the loudest note, mostly an octave higher, and ends at 24000 Hz; LFOs have 0.01 to 20 Hz and delays
    up to 10 s, other times end at 100 s."""
    if number in (8, 22, 24):
        hertz = 8.176 * 2 ** (min(value, 13500) / 1200)
        if hertz >= (11995 if number == 8 else 20):
            return "highest"
        return max(round(hertz, -1 if hertz >= 1000 else 0 if hertz >= 100 else 2), 0.01)
    if number in sf2.NEVER:
        seconds = min(2 ** (value / 1200), 10 if number in (21, 23) else 100)
        return max(value, -12000) if value < 1200 else round(seconds, 1 if seconds > 24 else 2)
    low, high = LIMITS.get(number, (value, value))
    return max(low, min(value, high))


def comparable(zone, bank):
    """Everything a zone says, free of how it is said."""
    sample = bank.samples[zone.sample]
    numbers = {number: held(number, sf2.amount(zone, number)) for number in range(60)
               if number not in sf2.OFFSETS + (sf2.MODES, sf2.ROOT, 51, 52)}
    root = sf2.amount(zone, sf2.ROOT)
    return (zone.keys, zone.velocities, sample.name, sample.root if root == -1 else root, sf2.played(zone, sample),
            sf2.loop(zone, sample), tuning(zone),
            tuple(sorted(numbers.items())), tuple(sorted(slots(zone).items())))


def copy_faults(original, copy):
    faults = [] if len(original.presets) == len(copy.presets) else ["number of presets"]
    for before, after in zip(original.presets, copy.presets):
        old = collections.Counter(comparable(zone, original) for zone in before.zones)
        new = collections.Counter(comparable(zone, copy) for zone in after.zones)
        if old != new:
            faults.append(f"{before.name}:\n  {list(old - new)[0]}\n  {list(new - old)[0]}")
    return faults


def document_faults(original, copy):
    """Whether reading, writing and reading again gives the same document, row for row."""
    before, after = (json.loads(run("info", "--json", *AS_READ, path))[0] for path in (original, copy))
    return [key for key in ("instruments", "waveforms") if before[key] != after[key]]


def word_faults(original, copy):
    return [before.name for before, after in zip(original.samples, copy.samples)
            if original.words(before) != copy.words(after) or copy.words(after)[:1] == b""]


# FluidSynth's sound.

class Player:
    rate = 44100
    library = ctypes.CDLL(ctypes.util.find_library("fluidsynth") or "libfluidsynth.so.3")

    def __init__(self, path):
        lib = self.library
        for name in ("new_fluid_settings", "new_fluid_synth"):
            getattr(lib, name).restype = ctypes.c_void_p
        settings = ctypes.c_void_p(lib.new_fluid_settings())
        for name in (b"synth.reverb.active", b"synth.chorus.active"):
            lib.fluid_settings_setint(settings, name, 0)
        lib.fluid_settings_setnum(settings, b"synth.gain", ctypes.c_double(1))
        self.synth = ctypes.c_void_p(lib.new_fluid_synth(settings))
        self.font = lib.fluid_synth_sfload(self.synth, path.encode(), 0)
        assert self.font >= 0

    def play(self, preset, key, velocity, seconds=(0.75, 0.25)):
        lib, synth = self.library, self.synth
        lib.fluid_synth_program_select(synth, 0, self.font, preset.bank, preset.program)
        lib.fluid_synth_noteon(synth, 0, key, velocity)
        held = self.write(seconds[0])
        lib.fluid_synth_noteoff(synth, 0, key)
        released = self.write(seconds[1])
        lib.fluid_synth_all_sounds_off(synth, 0)
        self.write(0.01)
        return numpy.concatenate([held, released], axis=1)

    def write(self, seconds):
        frames = int(seconds * self.rate)
        sound = numpy.zeros((2, frames), numpy.float32)
        left, right = (channel.ctypes.data_as(ctypes.c_void_p) for channel in sound)
        self.library.fluid_synth_write_float(self.synth, frames, left, 0, 1, right, 0, 1)
        return sound


def decibels(sound):
    return 10 * math.log10(numpy.mean(numpy.square(sound, dtype=float)) + 1e-20)


AUDIBLE = -75  # dB
WINDOWS = [slice(i * 4410, (i + 2) * 4410) for i in range(0, 9, 2)]


def levels_apart(a, b):
    pairs = [(decibels(a[:, window]), decibels(b[:, window])) for window in WINDOWS]
    return max((abs(x - y) for x, y in pairs if max(x, y) > AUDIBLE), default=0)


def turned(a, b, first, gap, bins):
    """By how much more b's spectrum turns from one window to one `gap` frames later than a's, in radians."""
    size = 8192
    shape = numpy.hanning(size)

    def spectra(sound):
        return [numpy.fft.rfft(sound[at:at + size] * shape)[bins] for at in (first, first + gap)]
    (a0, a1), (b0, b1) = spectra(a), spectra(b)
    return numpy.angle((b1 * b0.conj()) * (a1 * a0.conj()).conj())


def cents_apart(a, b):
    """From how fast the strongest parts of the spectrum drift apart; 0 where the sounds are the same but for level."""
    a, b = a.sum(axis=0, dtype=float), b.sum(axis=0, dtype=float)
    if decibels(a) < AUDIBLE or decibels(a - b * (a @ b) / (b @ b)) < decibels(a) - 20:
        return 0
    first, gap = 4096, 512
    strength = numpy.abs(numpy.fft.rfft(a[first:first + 8192] * numpy.hanning(8192)))
    bins = numpy.argsort(strength[4:1500])[-8:] + 4
    drift = turned(a, b, first, gap, bins) / (2 * math.pi * bins / 8192 * gap)
    return 1200 * abs(numpy.log2(1 + numpy.average(drift, weights=strength[bins])))


def sound_faults(original, copy, presets):
    before, after, faults = Player(original), Player(copy), []
    for preset in presets:
        for key in (36, 60, 84):
            for velocity in (32, 80, 127):
                a, b = before.play(preset, key, velocity), after.play(preset, key, velocity)
                apart = levels_apart(a, b), cents_apart(a, b)
                if apart[0] > 0.5 or apart[1] > 2:
                    faults.append(f"{preset[:3]} key {key} velocity {velocity}: {apart[0]:.2f} dB, {apart[1]:.2f} cents")
    return faults


def compare(name, presets):
    path, copy = SOUNDS + name, os.path.join(FOLDER, "copy.sf2")
    bank, document = sf2.Bank(path), json.loads(run("info", "--json", "--raw-model", path))[0]
    result(f"{name}: samples", sample_faults(bank, document["waveforms"]))
    result(f"{name}: presets, zones, ranges, loops", preset_faults(bank, document))
    run("convert", path, "-o", copy, "--quiet", "--overwrite", *AS_READ)
    written = sf2.Bank(copy)
    result(f"{name}: zones of the copy", copy_faults(bank, written))
    result(f"{name}: rows of the copy", document_faults(path, copy))
    result(f"{name}: sample words of the copy", word_faults(bank, written))
    chosen = bank.presets[::max(1, len(bank.presets) // presets)][:presets]
    result(f"{name}: sound of the copy", sound_faults(path, copy, chosen))
    os.remove(copy)


compare("TimGM6mb.sf2", 20)
if os.path.exists(SOUNDS + "FluidR3_GM.sf2"):
    compare("FluidR3_GM.sf2", 4)
sys.exit(failed)
