"""sfark_packer.py BANK ARCHIVE METHOD [SEED]: packs a SoundFont 2 bank as sfArk 2 archive, to have some to read: the
archiver itself is not free. METHOD is 4 (turbo), 5 (fast), 6 (standard) or 7 (max). What is left to a packer (rounds,
shifts, prediction on or off) is chosen at random, so that all of the format occurs."""
import random, struct, sys, zlib

import numpy

BLOCK_WORDS = {4: 4096, 5: 1024, 6: 4096, 7: 4096}
CODE_WINDOW = {4: 256, 5: 32, 6: 32, 7: 32}
ROUNDS = {4: (3, 0), 5: (20, 20), 6: (3, 3), 7: (3, 5)}
ORDER = {4: 0, 5: 0, 6: 8, 7: 128}
WINDOW = 128


def wrap16(value):
    return (value + 32768) % 65536 - 32768


def half(value):  # towards zero
    return value // 2 if value >= 0 else -(-value // 2)


def scaled(product):
    return product >> 14 if product >= 0 else -(-product >> 14)


class Bits:
    def __init__(self):
        self.text = []

    def bits(self, value, count):
        if count:
            self.text.append(format(value & (1 << count) - 1, f"0{count}b"))

    def zeros(self, count):
        self.text.append("0" * count + "1")

    def difference(self, value, before):
        self.zeros(abs(value - before))
        if value != before:
            self.bits(value < before, 1)

    def data(self, raw):
        for byte in raw:
            self.bits(byte, 8)

    def bytes(self):
        text = "".join(self.text)
        text += "0" * (-len(text) % 16 + 64)
        words = [int(text[i:i + 16], 2) for i in range(0, len(text), 16)]
        return struct.pack(f"<{len(words)}H", *words)


class Predictor:
    def __init__(self, order):
        self.order = order
        self.reset()

    def reset(self):
        self.state = [0] * (self.order + 1)
        self.history = [[0.0] * (self.order + 1) for _ in range(4)]
        self.newest = 0
        self.before = [0] * WINDOW

    def encode(self, block, flags):
        """The differences of a block; sets flags[i] where window i is not predicted."""
        if len(block) < WINDOW:
            return block
        out = []
        for index, first in enumerate(range(0, len(block), WINDOW)):
            window = block[first:first + WINDOW]
            window += [0] * (WINDOW - len(window))
            coded = None if random.random() < 0.03 else self.filtered(window)
            if coded is None:
                flags[index] = 1
                self.reset()
                coded = window
            out += coded
            self.update(window)
        return out[:len(block)]

    def filtered(self, window):
        coefficients, state, out = self.coefficients(), list(self.state), []
        for sample in window:
            value, new = sample, [sample]
            for i in range(self.order):
                # 32-bit programs wrap here, 64-bit ones do not: a window in which that happens is left as it is.
                if max(abs(value), abs(state[i])) * abs(coefficients[i]) >= 1 << 31:
                    return None
                new.append(state[i] + scaled(coefficients[i] * value))
                value += scaled(coefficients[i] * state[i])
            state = new
            out.append(value)
        if any(abs(each) > 32767 for each in out):
            return None
        self.state = state
        return out

    def coefficients(self):
        total = [numpy.float32(sum(window[i] for window in self.history)) for i in range(self.order + 1)]
        if total[0] == 0:
            return [0] * self.order
        error, upper = total[0], numpy.array(total[1:], numpy.float32)
        lower, result = upper.copy(), []
        for i in range(self.order):
            reflection = numpy.float32(-(lower[0] / error))
            error = numpy.float32(float(error) + float(lower[0]) * float(reflection))
            result.append(int(numpy.float32(reflection * numpy.float32(16384))))
            up, low = upper[:self.order - 1 - i].astype(float), lower[1:self.order - i].astype(float)
            lower = (low + float(reflection) * up).astype(numpy.float32)
            upper = (up + float(reflection) * low).astype(numpy.float32)
        return result

    def update(self, window):
        n = self.order
        seam = self.before[:n] + window[:n]
        for lag in range(n, 0, -1):
            both = correlation(seam[n - lag:n], seam[n:n + lag])
            self.history[self.newest][lag] = float(numpy.float32(self.history[self.newest][lag] + both))
        self.newest = (self.newest + 1) % 4
        for lag in range(n + 1):
            self.history[self.newest][lag] = correlation(window[:WINDOW - lag], window[lag:])
        self.before = window


def correlation(left, right):
    total, products = 0.0, [a * b for a, b in zip(left, right)]
    whole = len(products) // 16 * 16
    for i in range(0, whole, 16):
        for product in products[i:i + 16]:
            total += float(product)
        total = float(numpy.float32(total))
    for product in products[whole:]:
        total = float(numpy.float32(total + float(product)))
    return total


def differences(words, last):
    return [wrap16(a - b) for a, b in zip(words, [last] + words)], words[-1]


def means(words, last):
    out = []
    for i, word in enumerate(words[:-1]):
        out.append(wrap16(word - ((out[-1] if out else 0) + words[i + 1] >> 1)))
    return out + words[-1:], words[-1]


def averages(words, last):
    out = []
    for word in words:
        out.append(wrap16(word - last))
        last = wrap16(last + half(out[-1]))
    return out, last


def magnitude(words):
    return sum(word if word >= 0 else ~word for word in words)


class Packer:
    def __init__(self, method):
        self.method, self.out, self.check = method, Bits(), 0
        self.predictor = Predictor(ORDER[method])
        self.last, self.rounds, self.low = [0] * 20, [0, 0], 8
        self.shift = self.used_shift = 0

    def part(self, raw):
        for first in range(0, len(raw), 100000):
            piece = raw[first:first + 100000]
            packed = zlib.compress(piece)
            self.out.data(struct.pack("<I", len(packed)) + packed)
            self.check = zlib.adler32(piece, self.check)

    def samples(self, raw):
        words = list(struct.unpack(f"<{len(raw) // 2}h", raw))
        for first in range(0, len(words), BLOCK_WORDS[self.method]):
            self.block(words[first:first + BLOCK_WORDS[self.method]])

    def block(self, words):
        if self.method == 4:
            return self.turbo(words)
        self.check = 2 * self.check + magnitude(words) & 0xFFFFFFFF
        words = self.shifted(words)
        by_average = random.random() < 0.4
        self.out.bits(by_average, 1)
        count = random.randrange(min(ROUNDS[self.method][by_average], 3) + 1)
        self.out.difference(count, self.rounds[by_average])
        self.rounds[by_average] = count
        for i in range(count):
            way = averages if by_average else random.choice((differences, means))
            if not by_average:
                self.out.bits(way is means, 1)
            words, self.last[i] = way(words, self.last[i])
        if ORDER[self.method]:
            flags = [0] * 32
            words = self.predictor.encode(words, flags)
            self.out.bits(any(flags), 1)
            if any(flags):
                value = sum(flag << i for i, flag in enumerate(flags))
                self.out.bits(value & 0xFFFF, 16)
                self.out.bits(value >> 16, 16)
        self.code(words)

    def turbo(self, words):
        count = random.randrange(4)
        self.out.difference(count, self.rounds[0])
        self.rounds[0] = count
        for i in range(count):
            words, self.last[i] = differences(words, self.last[i])
            if i == 0:
                self.check = 2 * self.check + magnitude(words) & 0xFFFFFFFF
        self.code(words)

    def shifted(self, words):
        parts = [words[i:i + 64] for i in range(0, len(words), 64)]
        shifts = [min((low_zeros(word) for word in part if word), default=0) for part in parts]
        shifts = [shift if random.random() < 0.7 else 0 for shift in shifts]
        self.out.bits(any(shifts) or self.shift != 0, 1)
        if not any(shifts) and self.shift == 0:
            return words
        position = 0
        for i, shift in enumerate(shifts):
            if shift == self.shift:
                continue
            self.out.bits(1, 1)
            self.out.bits(i - position, (len(parts) - position - 1).bit_length())
            self.out.difference(shift, self.used_shift if self.shift == 0 else 0)
            if self.shift == 0:
                self.used_shift = shift
            self.shift, position = shift, i
        self.out.bits(0, 1)
        return [word >> shift for part, shift in zip(parts, shifts) for word in part]

    def code(self, words):
        for first in range(0, len(words), CODE_WINDOW[self.method]):
            window = words[first:first + CODE_WINDOW[self.method]]
            sizes = [word if word >= 0 else ~word for word in window]
            top = max(sizes)
            low = -2 if not any(window) else -1 if top == 0 else min(max(top.bit_length() - 2, 0), 13)
            if top > 20000 and random.random() < 0.5:
                low = 14
            self.out.difference(low, self.low)
            self.low = low
            for word, size in zip(window, sizes):
                if low == 14:
                    self.out.bits(word, 16)
                elif low == -1:
                    self.out.bits(word < 0, 1)
                elif low >= 0:
                    self.out.bits(size << 1 | (word < 0), low + 1)
                    self.out.zeros(size >> low)


def low_zeros(word):
    return (word & -word).bit_length() - 1


def sample_chunk(bank):
    position = bank.index(b"smpl") + 4
    return position + 4, position + 4 + struct.unpack_from("<I", bank, position)[0]


def pack(bank, method):
    begin, end = sample_chunk(bank)
    packer = Packer(method)
    packer.part(bank[:begin])
    packer.samples(bank[begin:end])
    packer.part(bank[end:])
    stream = packer.out.bytes()
    name = b"bank.sf2\0"
    def header(check):
        return struct.pack("<5IB5s5sBHII", 0, len(bank), 42 + len(name) + len(stream), packer.check, check, 20, b" 2.10",
                           b"sfArk", method, 0, begin, end) + name
    return header(zlib.adler32(header(0), 0)) + stream


if __name__ == "__main__":
    random.seed(int(sys.argv[4]) if len(sys.argv) > 4 else 1)
    with open(sys.argv[1], "rb") as file:
        bank = file.read()
    with open(sys.argv[2], "wb") as file:
        file.write(pack(bank, int(sys.argv[3])))
