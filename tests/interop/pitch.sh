#!/usr/bin/env bash
# pitch.sh TERVO: the pitch of real notes. FluidSynth plays notes of Debian's small General MIDI bank, white noise comes
# 20 dB below them, and what detect-root-key hears must be the key that was played: of 98 % of the notes within 10 cents.
# Instruments and ranges are those in which the bank itself is in tune. Works in the current folder.
set -uo pipefail
source "$(dirname "$0")/common.bash"
bank=/usr/share/sounds/sf2/TimGM6mb.sf2
installed fluidsynth && [ -f $bank ] || exit 0

python3 - make <<'PYTHON'
import struct
# program: lowest key, highest key
ranges = {0: (21, 105), 4: (33, 96), 6: (33, 86), 24: (40, 82), 26: (40, 82), 32: (26, 60), 34: (26, 60), 40: (55, 96),
          42: (36, 79), 48: (38, 96), 56: (55, 86), 60: (38, 79), 64: (56, 86), 66: (45, 75), 68: (58, 88), 70: (34, 74),
          72: (74, 103), 74: (67, 98), 80: (36, 102)}
quarter, notes, track = 1000, [], b'\0\xff\x51\x03' + (1000000).to_bytes(3, 'big')
def ticks(n): return bytes([0x80 | n >> 7, n & 127])
for program, (low, high) in ranges.items():
    for key in range(low, high + 1, 5):
        if key == 60: continue  # the key that a waveform has when nobody knows
        track += bytes([0, 0xC0, program, 0, 0x90, key, 100]) + ticks(900) + bytes([0x80, key, 0]) + ticks(100)
        track += bytes([0xB0, 7, 100])
        notes.append((program, key))
track += b'\0\xff\x2f\0'
open('notes.mid', 'wb').write(b'MThd' + struct.pack('>IHHH', 6, 0, 1, quarter) + b'MTrk' + struct.pack('>I', len(track)) + track)
open('notes.txt', 'w').write(''.join('%d %d\n' % note for note in notes))
PYTHON
fluidsynth -ni -q -F notes.raw -O s16 -T raw -r 44100 -R 0 -C 0 -g 0.6 $bank notes.mid >/dev/null 2>&1
python3 - cut <<'PYTHON'
import array, random, wave
random.seed(1)
data = array.array('h', open('notes.raw', 'rb').read())
for number, line in enumerate(open('notes.txt')):
    note = [(data[2 * i] + data[2 * i + 1]) / 2 for i in range(number * 44100, number * 44100 + 39690)]
    peak = 10 ** -1 * (sum(x * x for x in note) / len(note) * 3) ** 0.5  # of uniform noise 20 dB below
    noisy = array.array('h', (max(-32768, min(32767, round(x + random.uniform(-peak, peak)))) for x in note))
    with wave.open('note-%s.wav' % '-'.join(line.split()), 'wb') as out:
        out.setparams((1, 2, 44100, 0, 'NONE', ''))
        out.writeframes(noisy.tobytes())
PYTHON
for note in note-*.wav; do "$tervo" process detect-root-key "$note" -o "heard-$note" --quiet; done
"$tervo" info --json heard-*.wav >heard.json
python3 - judge <<'PYTHON' || failed=1
import json
right, octaves, wrong = 0, [], []
files = json.load(open('heard.json'))
for file in files:
    program, key = map(int, file['path'][:-4].split('-')[2:])
    wave = file['waveforms'][0]
    # A waveform that is tuned down by so many cents was that much too high.
    off = min((abs(100 * (wave['rootKey'] - key) + sign * wave['fineTune']) for sign in (1, -1)))
    name = 'program %d, key %d: %.0f cents' % (program, key, off)
    if off <= 10: right += 1
    elif abs(off / 1200 - round(off / 1200)) < 0.03 and round(off / 1200): octaves.append(name)
    else: wrong.append(name)
print('# %d of %d notes within 10 cents' % (right, len(files)))
for name in octaves: print('# another octave:', name)
for name in wrong: print('#', name)
ok = right >= 0.98 * len(files) and not octaves
print('ok' if ok else 'FAIL', 'pitch of notes in noise')
exit(not ok)
PYTHON
exit $failed
