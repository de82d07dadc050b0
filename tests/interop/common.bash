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
