"""playback_peers.py FOLDER WRAPPER TERVO: what playback.sh compares. Prints "ok WHAT" or "FAIL WHAT" for each, and
"skipped WHAT: WHY" where only the time at which sound came was wrong, unless TERVO_QUIET is set."""
import array, contextlib, json, os, struct, subprocess, sys, time

FOLDER, WRAPPER, TERVO = sys.argv[1:4]
COMMAND = [WRAPPER, TERVO] if WRAPPER else [TERVO]
BANK = "/usr/share/sounds/sf2/TimGM6mb.sf2"
LEVEL = ["--set", "aio.fdbWaveGain=0", "--set", "aio.fdbMixGain=0"]
FRAME = 8  # bytes
END = time.time() + 60  # nothing is begun any more then
failed = False

# Servers of our own: nobody's sound is touched.
os.makedirs("run", mode=0o700, exist_ok=True)
os.environ.update(XDG_RUNTIME_DIR=FOLDER + "/run", PULSE_SERVER=f"unix:{FOLDER}/socket", PULSE_COOKIE=FOLDER + "/cookie",
                  JACK_DEFAULT_SERVER="tervo-test", JACK_NO_START_SERVER="1", JACK_NO_AUDIO_RESERVATION="1")


def result(what, good, details=""):
    global failed
    failed = failed or not good
    print(("ok " if good else "FAIL ") + what, "" if good else details, flush=True)


def busy():
    """Why sound that came too late may be nobody's fault: a virtual machine may be halted for some milliseconds without
    any load of its own. TERVO_QUIET says that this machine does nothing else, and that gaps are faults."""
    if os.environ.get("TERVO_QUIET"):
        return ""
    return f"sound came too late (load {os.getloadavg()[0]:.1f} on {os.cpu_count()} processors)"


def skipped(what, why):
    print(f"skipped {what}: {why}", flush=True)
    return True


def late(what):
    """Whether there is no time left for it."""
    return time.time() > END and skipped(what, busy() or "the others took too long")


def attempts():
    """How often something may be tried that a busy machine may spoil."""
    for number in range(3 if busy() else 1):
        if number == 0 or time.time() < END:
            yield number


def tervo(*arguments, **options):
    try:
        return subprocess.run([*COMMAND, *arguments], capture_output=True, text=True, timeout=40, **options)
    except subprocess.TimeoutExpired:
        return subprocess.CompletedProcess(arguments, 124, "", "it did not end")


@contextlib.contextmanager
def running(*command, ready, log="/dev/null"):
    """A server, from when it is ready to the end of the block."""
    with open(log, "wb") as output:
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT)
    try:
        for _ in range(100):
            if ready():
                break
            time.sleep(0.1)
        yield process
    finally:
        process.terminate()
        try:
            process.wait(20)
        except subprocess.TimeoutExpired:
            process.kill()


def answers(*command):
    return lambda: subprocess.run(command, capture_output=True).returncode == 0


def pulse():
    # When a stream starts, a null sink goes back over the silence that it has rendered and renders it anew with the
    # stream's sound. Who records it has that silence already and would miss the first few hundred frames.
    return running("pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "--log-level=debug",
                   "-L", "module-null-sink sink_name=tervo rate=48000 format=float32le channels=2 norewinds=1",
                   "-L", f"module-native-protocol-unix socket={FOLDER}/socket auth-anonymous=1",
                   ready=answers("pactl", "info"), log="pulse.log")


def underruns():
    """How often the server had nothing to play of a stream."""
    return open("pulse.log").read().count("Implicit underrun")


def recorded(*arguments, **options):
    """Plays and returns what the null sink got, with what tervo said."""
    with open("rec.raw", "wb") as output:
        recorder = subprocess.Popen(["parec", "-d", "tervo.monitor", "--latency-msec=10", "--raw", "--format=float32le",
                                     "--rate=48000", "--channels=2"], stdout=output)
    for _ in range(50):  # until it has begun
        time.sleep(0.1)
        if os.path.getsize("rec.raw") > 0:
            break
    run = tervo("play", *arguments, *LEVEL, **options)
    time.sleep(0.5)
    recorder.terminate()
    recorder.wait()
    return heard(open("rec.raw", "rb").read()), run


def heard(data):
    """Frames from the first to the last one that sounds."""
    data = data[:len(data) // FRAME * FRAME]
    sounding = [i for i, frame in enumerate(memoryview(data).cast("Q")) if frame & 0x7FFFFFFF7FFFFFFF]
    return data[FRAME * sounding[0]:FRAME * sounding[-1] + FRAME] if sounding else b""


def in_file(*arguments):
    run = tervo("play", *arguments, *LEVEL, "--device", "file:out.wav", "--overwrite")
    if run.returncode != 0:
        return b""
    data = open("out.wav", "rb").read()
    return heard(data[data.index(b"data") + 8:])


def only_gaps(got, expected):
    """Whether what was recorded is what was expected but for gaps and jumps, which busy machines make: most pieces of
    10 ms are found in it."""
    step = 480 * FRAME
    pieces = [got[i:i + step] for i in range(0, len(got) - step, step)]
    return bool(pieces) and sum(piece in expected or not any(piece) for piece in pieces) >= 0.5 * len(pieces)


def compare(what, *arguments, same=lambda got, expected: got == expected, excused=only_gaps, **options):
    """A machine that is busy otherwise may leave a gap, but not every time. What Wine's mixer hands over is its own
    business."""
    if late(what):
        return
    expected = in_file(*arguments)
    for _ in attempts():
        before = underruns()
        got, run = recorded(*arguments, **options)
        gaps = 0 if WRAPPER else underruns() - before
        if run.returncode == 0 and expected and same(got, expected) and gaps == 0:
            return result(what, True)
    starved = run.returncode == 124  # songs of three seconds have been seen to take thirty
    if expected and busy() and (starved or (run.returncode == 0 and excused(got, expected))):
        return skipped(what, busy())
    result(what, False, f"status {run.returncode} {run.stderr} {len(got) // FRAME} frames of {len(expected) // FRAME}, "
                        f"{gaps} underruns")


def mixed_alike(got, expected):
    """Where a mixer of the system's own stands between, which rounds: length, place and level of what is heard."""
    a, b = array.array("f", got), array.array("f", expected)
    return len(a) == len(b) and max((abs(x - y) for x, y in zip(a, b)), default=1) < 2e-4


def loud(got, expected):
    return len(got) > 0.5 * len(expected)


def song(path, body):
    track = body + b"\0\xff\x2f\0"
    with open(path, "wb") as file:
        file.write(b"MThd\0\0\0\6\0\0\0\1\1\xe0MTrk" + struct.pack(">I", len(track)) + track)


def songs():
    song("notes.mid", b"\0\xc0\x00\0\x90\x3c\x64\x83\x60\x3c\0\0\x40\x64\x83\x60\x40\0")
    # 64 keys held at once.
    chord = b"\0\xc0\x10" + b"".join(b"\0\x90" + bytes([32 + k, 80]) for k in range(64))
    song("chord.mid", chord + b"".join((b"\x8f\0" if k == 0 else b"\0") + bytes([0x80, 32 + k, 0]) for k in range(64)))
    song("exclusive.mid", b"\0\xf0\x05\x7e\x7f\x09\x01\xf7\x60\x93\x3c\x64\x60\x3c\0")
    for name, rate in (("tone", 48000), ("slow", 44100)):
        subprocess.run(["sox", "-V1", "-n", "-r", str(rate), "-c", "2", "-b", "16", name + ".wav",
                        "synth", "1.3", "sine", "440", "sine", "660", "gain", "-6"], check=True)


def in_time():
    """Every buffer of 10 ms is filled before it is due, while 64 voices sound."""
    what = "64 voices in buffers of 10 ms: none is late"
    if late(what):
        return
    loads = []
    for _ in attempts():
        run = tervo("play", "chord.mid", "--bank", BANK, "--voices", "64", "--device", "null", "--json")
        loads.append(json.loads(run.stdout)["highestLoad"] if run.returncode == 0 else 99)
        if loads[-1] < 1:
            return result(f"{what} (the worst took {100 * loads[-1]:.0f} % of its time)", True)
    if busy():
        return skipped(what, busy())
    result(what, False, loads)


def with_pulse():
    how = {"same": mixed_alike, "excused": loud} if WRAPPER else {}
    # A thread with the priority of sound that spins keeps the others from a single processor.
    alone = how or {"preexec_fn": lambda: os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})}
    with pulse() as server:
        devices = json.loads(tervo("devices", "--json").stdout)["audioOutputs"]
        result("the null sink is listed and the default", [d["mixRate"] for d in devices if d["default"]] == [48000], devices)
        compare("a waveform: the server records every sample in time", "tone.wav", **alone)
        compare("a waveform of another rate: the server records every sample in time", "slow.wav", **how)
        if os.path.exists(BANK):
            compare("a song: the server records every sample in time", "notes.mid", "--bank", BANK, **how)
            compare("64 voices: the server records every sample in time", "chord.mid", "--bank", BANK, "--voices", "64",
                    "--no-effects", **how)
        # The server goes away in the middle of a sound.
        what = "a server that ends is said, soon"
        if late(what) or not os.path.exists(BANK):
            return
        player = subprocess.Popen([*COMMAND, "play", "chord.mid", "--bank", BANK, "--tail", "30"], stderr=subprocess.PIPE,
                                  text=True)
        for line in player.stderr:
            if line.startswith("-->"):
                break
        time.sleep(1)
        server.kill()
        start = time.time()
        message = player.communicate(timeout=30)[1]
    seconds = time.time() - start
    if player.returncode == 1 and "lost" in message and seconds > 10 and busy():
        return skipped(what, busy())
    result(what, player.returncode == 1 and "The audio device was lost" in message and seconds < 10,
           (player.returncode, message, seconds))


def with_nothing():
    listed = tervo("devices").stdout
    result("no device is an ordinary state", "<no audio output>" in listed, listed)
    run = tervo("play", "tone.wav")
    result("playing without one fails clearly", run.returncode == 1 and "Could not open audio output device" in run.stderr and
           len(run.stderr.splitlines()) == 1, run.stderr)


def keyboard_plays():
    """Onsets of the notes that a keyboard sends in three seconds, two a second."""
    what = "a keyboard over JACK plays the synthesizer"
    for _ in attempts():
        run = tervo("play", BANK, "--item", "instrument:0", "--midi-in", "JACK: keys:out", "--seconds", "3",
                    "--no-effects", "--device", "file:keys.wav", "--overwrite")
        data = open("keys.wav", "rb").read() if run.returncode == 0 else b""
        samples = array.array("f", data[data.find(b"data") + 8:][:len(data) // FRAME * FRAME - 64])
        blocks = [max(map(abs, samples[i:i + 4800])) for i in range(0, len(samples) - 4800, 4800)]
        onsets = sum(b > 0.003 and b > 2 * a for a, b in zip([0] + blocks, blocks))
        if 4 <= onsets <= 7:
            return result(what, True)
    if run.returncode == 0 and onsets > 0 and busy():
        return skipped(what, busy())
    result(what, False, (run.stderr, blocks))


def with_jack():
    if late("MIDI over JACK"):
        return
    jack = running("jackd", "--no-realtime", "-n", "tervo-test", "-d", "dummy", "-r", "48000", "-p", "480",
                   ready=answers("jack_lsp"), log="jack.log")
    # A note of 8000 frames every 24000.
    keyboard = lambda: running("jack_midiseq", "keys", "24000", "0", "60", "8000",
                               ready=lambda: "keys:out" in subprocess.run(["jack_lsp"], capture_output=True, text=True).stdout)
    synthesizer = lambda: running("jack_midi_dump", log="dump.log",
                                  ready=lambda: ":input" in subprocess.run(["jack_lsp"], capture_output=True, text=True).stdout)
    with jack:
        with keyboard():
            ports = json.loads(tervo("devices", "--json").stdout)
            result("JACK's ports are listed", ports["midiInputs"] == ["JACK: keys:out"] and
                   [d["name"] for d in ports["audioOutputs"] if d["default"]] == ["JACK: system"], ports)
            keyboard_plays()
        with synthesizer():
            port = json.loads(tervo("devices", "--json").stdout)["midiOutputs"][0]
            tervo("play", "exclusive.mid", "--midi-out", port)
            time.sleep(0.5)
    sent = open("dump.log").read()
    result("a song's messages reach a port of JACK", all(bytes in sent for bytes in ("f0 7e 7f 09 01 f7", "93 3c 64", "93 3c 00")),
           sent)


songs()
if not WRAPPER:
    with_nothing()
with_pulse()
if not WRAPPER and os.path.exists(BANK):
    in_time()
    with_jack()
sys.exit(failed)
