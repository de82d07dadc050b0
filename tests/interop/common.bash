# What the comparisons beside this file share. A script sources it, calls its functions and ends with "exit $failed".
tervo=$1
failed=0

installed() { command -v "$1" >/dev/null; }
check() { # WHAT COMMAND...: ok when the command succeeds
  local what=$1
  shift
  if "$@"; then echo "ok $what"; else echo "FAIL $what" && failed=1; fi
}
# equal A B [BYTES]: the same bytes, and some. BYTES: over so many, which both must have.
equal() {
  local bytes=${3-$(stat -c %s "$1")}
  [ "$bytes" -gt 0 ] && [ "$(stat -c %s "$1")" -ge "$bytes" ] && [ "$(stat -c %s "$2")" -ge "$bytes" ] &&
    cmp -s -n "$bytes" "$1" "$2" && { [ -n "${3-}" ] || [ "$(stat -c %s "$2")" = "$bytes" ]; }
}
same() { [ -n "$1" ] && [ "$1" = "$2" ]; } # TEXT TEXT
convert() { rm -f "$2" && "$tervo" convert "$1" -o "$2" --quiet "${@:3}"; } # IN OUT [OPTION...]

# Numbers as bytes: littleEndian BYTES VALUE..., words VALUE... (4 bytes each), bigWords VALUE...
littleEndian() {
  local bytes=$1 value i text=
  for value in "${@:2}"; do
    for ((i = 0; i < bytes; ++i)); do text+=$(printf '\\x%02x' $((value >> 8 * i & 255))); done
  done
  printf '%b' "$text"
}
words() { littleEndian 4 "$@"; }
bigWords() {
  local value
  for value in "$@"; do littleEndian 1 $((value >> 24)) $((value >> 16)) $((value >> 8)) "$value"; done
}

# The samples of a file as the programs decode them: 32-bit integers, or the bits of 32-bit floats. sox has no floats
# inside, and sndfile-convert scales integers that it makes floats of.
ourInts() { convert "$1" ours.wav --coding "PCM 32-bit" && soxInts ours.wav; }
soxInts() { sox -V1 -D "$1" -t s32 -L -; }
sndfileInts() { rm -f sndfile.raw && sndfile-convert -pcm32 "$1" sndfile.raw >/dev/null && cat sndfile.raw; }
ourFloats() { convert "$1" ours.f32 && cat ours.f32; }
sndfileFloats() { rm -f sndfile.raw && sndfile-convert -float32 "$1" sndfile.raw >/dev/null && cat sndfile.raw; }
ffmpegInts() { ffmpeg -v error -i "$1" -f s32le - </dev/null; }
ffmpegFloats() { ffmpeg -v error -i "$1" -c:a pcm_f32le -f f32le - </dev/null; }

# agree FILE Ints|Floats PROGRAM [BYTES]
agree() { "our$2" "$1" >ours.raw && "$3$2" "$1" >theirs.raw && equal ours.raw theirs.raw "${@:4}"; }
kind() { case $1 in *float* | *f32* | *f64*) echo Floats ;; *) echo Ints ;; esac }
about() { sndfile-info "$1" | awk '/^Frames|^Channels|^Sample Rate/ {print $1, $NF}' | sort; }
# near A B LIMIT: no sample of the two files differs by more.
near() {
  sox -V1 -D -m -v 1 "$1" -v -1 "$2" -n stat 2>&1 |
    awk -v limit="$3" '/Maximum amplitude/ {seen = 1; if ($3 > limit) far = 1} /Minimum amplitude/ {if (-$3 > limit) far = 1}
      END {exit !seen || far}'
}
