#!/usr/bin/env bash
# Headerless files: tervo and sox make the same bytes of each other's, wherever nothing has to be rounded.
source "$(dirname "$0")/common.bash"
installed sox || exit 0

# What sox calls the layout of each extension.
declare -A layout=(
  [sb]="-e signed -b 8" [ub]="-e unsigned -b 8" [sw]="-e signed -b 16" [uw]="-e unsigned -b 16" [sdw]="-e signed -b 32"
  [udw]="-e unsigned -b 32" [f32]="-e float -b 32" [f64]="-e float -b 64" [ulaw]="-e mu-law -b 8" [ulw]="-e mu-law -b 8"
  [alaw]="-e a-law -b 8" [alw]="-e a-law -b 8" [sam]="-e signed -b 8" [snd]="-e unsigned -b 8")
compare() { # from to rate
  # shellcheck disable=SC2086
  sox -V1 -D -t raw -r "$3" -c 1 ${layout[$1]} "in.$1" -t raw ${layout[$2]} "sox-$1.$2"
  convert "in.$1" "$1.$2" --rate "$3"
  check "$1 to $2" equal "sox-$1.$2" "$1.$2"
}

for extension in sb ub sam snd sw uw sdw udw f32 f64 ulaw ulw alaw alw; do
  # Noise has every value in it. 16 bits first: what a float holds is then exact.
  sox -V1 -D -r 44100 -n -t raw -c 1 -e signed -b 16 noise.sw synth 1 whitenoise
  # shellcheck disable=SC2086
  sox -V1 -D -t raw -r 44100 -c 1 -e signed -b 16 noise.sw -t raw ${layout[$extension]} "in.$extension"
done
for from in sb ub sam snd; do
  for to in sb ub sw uw f32 f64; do compare $from $to 44100; done
done
for from in sw uw sdw udw f32 f64; do
  for to in sw uw f32 f64; do compare $from $to 44100; done
done
for from in ulaw ulw alaw alw; do
  for to in sw uw f32 f64; do compare $from $to 8000; done
done
compare ulaw ulw 8000
compare alaw alw 8000
exit $failed
