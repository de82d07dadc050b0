"""A reader of SoundFont banks for comparisons, after the "SoundFont Technical Specification" 2.04, with all of a bank in
memory. A preset is a list of zones: what a preset's zone and an instrument's zone say together."""
import collections, struct

PRESET, BAG, MODULATOR, GENERATOR, INSTRUMENT, SAMPLE = "<20sHHHIII", "<HH", "<HHhHH", "<Hh", "<20sH", "<20sIIIIIBbHH"
INSTRUMENT_GEN, KEYS, VELOCITIES, KEY, VELOCITY, SAMPLE_GEN, MODES, EXCLUSIVE, ROOT = 41, 43, 44, 46, 47, 53, 54, 57, 58
OFFSETS = (0, 1, 2, 3, 4, 12, 45, 50)
# Section 8.1.2: generators that only an instrument can have; they are not added.
ONLY_INSTRUMENT = OFFSETS + (KEY, VELOCITY, MODES, EXCLUSIVE, ROOT)
NEVER = (21, 23, 25, 26, 27, 28, 30, 33, 34, 35, 36, 38)
DEFAULTS = {8: 13500, 56: 100, KEY: -1, VELOCITY: -1, ROOT: -1} | {generator: -12000 for generator in NEVER}

Sample = collections.namedtuple("Sample", "name start end loop_start loop_end rate root cents link type")
Zone = collections.namedtuple("Zone", "keys velocities sample generators modulators")
Preset = collections.namedtuple("Preset", "name program bank zones")


def chunks(data, position, end):
    while position + 8 <= end:
        name, size = struct.unpack_from("<4sI", data, position)
        yield name, position + 8, size
        position += 8 + size + size % 2


def text(raw):
    raw = raw.split(b"\0")[0]
    try:
        return raw.decode("utf-8")
    except UnicodeDecodeError:
        return raw.decode("cp1252", "replace")


class Bank:
    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        assert self.data[:4] == b"RIFF" and self.data[8:12] == b"sfbk"
        self.chunks = {}
        for name, position, size in chunks(self.data, 12, len(self.data)):
            for inner, body, bytes in chunks(self.data, position + 4, position + size):
                self.chunks[inner] = (body, bytes)
        self.version = struct.unpack_from("<HH", self.body(b"ifil"))
        self.samples = [Sample(text(r[0]), *r[1:]) for r in self.records(b"shdr", SAMPLE)[:-1]]
        instruments = self.records(b"inst", INSTRUMENT)
        bags = [record[1] for record in instruments]
        self.instruments = [self.zones(b"i", *span) for span in zip(bags, bags[1:])]
        headers = self.records(b"phdr", PRESET)
        self.presets = [Preset(text(a[0]), a[1], a[2], self.joined(a[3], b[3])) for a, b in zip(headers, headers[1:])]

    def body(self, name):
        position, size = self.chunks.get(name, (0, 0))
        return self.data[position:position + size]

    def words(self, sample):
        position = self.chunks[b"smpl"][0]
        return self.data[position + 2 * sample.start:position + 2 * sample.end]

    def low_bytes(self, sample):
        return self.body(b"sm24")[sample.start:sample.end]

    def records(self, name, layout):
        body = self.body(name)
        size = struct.calcsize(layout)
        return list(struct.iter_unpack(layout, body[:len(body) // size * size]))

    def zones(self, kind, first, last):
        """The zones of bags `first` to `last`, each as generators and modulators laid over those of the global one."""
        bags, gens, mods = (self.cached(kind + each) for each in (b"bag", b"gen", b"mod"))
        end = SAMPLE_GEN if kind == b"i" else INSTRUMENT_GEN
        zones, common = [], ({}, {})
        for bag in range(first, last):
            (gen, mod), (gen_end, mod_end) = bags[bag], bags[bag + 1]
            own = {number: amount for number, amount in gens[gen:gen_end]}
            modulators = {(source, to, by, how): amount for source, to, amount, by, how in mods[mod:mod_end]}
            both = (common[0] | own, common[1] | modulators)
            if end in own:
                zones.append(both)
            elif bag == first:
                common = both
        return zones

    def cached(self, name):
        layouts = {b"bag": BAG, b"gen": GENERATOR, b"mod": MODULATOR}
        if not hasattr(self, "tables"):
            self.tables = {}
        if name not in self.tables:
            self.tables[name] = self.records(name, layouts[name[1:]])
        return self.tables[name]

    def joined(self, first, last):
        return [zone for outer in self.zones(b"p", first, last) for inner in self.instruments[outer[0][INSTRUMENT_GEN]]
                if (zone := join(outer, inner))]


def span(generators, number):
    amount = generators.get(number, 127 << 8) & 0xFFFF
    return amount & 0xFF, amount >> 8


def common(a, b):
    low, high = max(a[0], b[0]), min(a[1], b[1])
    return (low, high) if low <= high else None


def join(outer, inner):
    keys, velocities = (common(span(outer[0], each), span(inner[0], each)) for each in (KEYS, VELOCITIES))
    if not keys or not velocities:
        return None
    generators = dict(inner[0])
    for number, amount in outer[0].items():
        if number not in ONLY_INSTRUMENT + (KEYS, VELOCITIES, INSTRUMENT_GEN):
            generators[number] = generators.get(number, DEFAULTS.get(number, 0)) + amount
    modulators = dict(inner[1])
    for key, amount in outer[1].items():
        modulators[key] = modulators.get(key, 0) + amount
    sample = generators.pop(SAMPLE_GEN) & 0xFFFF
    for each in (KEYS, VELOCITIES):
        generators.pop(each, None)
    return Zone(keys, velocities, sample, generators, modulators)


def amount(zone, number):
    return zone.generators.get(number, DEFAULTS.get(number, 0))


def frames(zone, fine, coarse):
    return amount(zone, fine) + 32768 * amount(zone, coarse)


def loop(zone, sample):
    """First frame and end of what the zone repeats, from the start of the sample, and whether until release."""
    if amount(zone, MODES) not in (1, 3):
        return None
    start, end = (place - sample.start for place in (sample.loop_start, sample.loop_end))
    return start + frames(zone, 2, 45), end + frames(zone, 3, 50), amount(zone, MODES) == 3


def played(zone, sample):
    return frames(zone, 0, 4), sample.end - sample.start + frames(zone, 1, 12)
