#!/usr/bin/env bash
# Checks that a change leaves VELTRA's sound untouched: renders the MIDI
# files of tests/renders, under several settings, and one of them with
# every factory program, with veltra-render built from BASE (a git revision,
# default HEAD) and from the work tree, and compares the files byte for byte, or, where their headers differ, their rate,
# channels, encoding and every sample byte for byte (sox decodes them). Run
# after a refactoring; exits 1 on any difference.
#   scripts/render-identity.sh [BASE]
set -euo pipefail
top=$(git rev-parse --show-toplevel)
cd "$top"
base=${1:-HEAD}
work=$(mktemp -d /tmp/veltra-identity-XXXXXX)
trap 'git worktree remove --force "$work/base" >/dev/null 2>&1 || true; rm -rf "$work"' EXIT

build() { # source folder, build folder, targets
  cmake -S "$1" -B "$2" -DCMAKE_BUILD_TYPE=Release -DVELTRA_BUILD_TESTS=OFF >/dev/null
  cmake --build "$2" -j"$(nproc)" --target "${@:3}" >/dev/null
}
git worktree add --detach "$work/base" "$base" >/dev/null 2>&1
echo "building veltra-render at $base and in the work tree"
build "$work/base" "$work/build-base" veltra-render
build "$top" "$work/build-work" veltra-render veltra_programs

# Each case: a MIDI file and the options it is rendered with.
cases=(
  "voices.mid|"
  "voices.mid|-r 48000 -b 7 --format pcm24 -s Synth Mode=0 -s PWM on off=1 -s PWM Depth=0.8"
  "voices.mid|-b 1 -s Crusher Destruction=0.6 -s Crusher Mix=0.7 -s Crusher Before VCF=1 -s Smoothing on off=1"
  "bends.mid|-b 64 -s Portamento on off=1 -s Portamento=0.05 -s Filter Cutoff=0.3 -s AR Env. Depth=0.5"
  "bends.mid|-r 96000 --format pcm16 -s LFO Depth=0.6 -s LFO Rate=0.005 -s Chorus Depth=0.4 -s Reverb Depth=0.5"
  "tempo.mid|-b 33 --format double -s OP1 Waveform=5 -s OP2 Octave=4 -s OP2 Tune=-300 -s Reverb Length=0.97"
)
# A sound file's rate, channels, length and sample encoding.
kind() { soxi "$1" | grep -E '^(Channels|Sample Rate|Duration|Sample Encoding)'; }
failed=0
n=0
native_base=0
"$work/build-base/bin/veltra-render" --help | grep -q -- --native-rate || native_base=1
# Compares render n of both sides, named by $1.
compare() {
  if cmp -s "$work/base-$n.$ext" "$work/work-$n.$ext"; then
    echo "same      $1"
  elif [ "$(kind "$work/base-$n.$ext")" = "$(kind "$work/work-$n.$ext")" ] &&
    sox "$work/base-$n.$ext" -t raw "$work/base-$n.raw" && sox "$work/work-$n.$ext" -t raw "$work/work-$n.raw" &&
    cmp -s "$work/base-$n.raw" "$work/work-$n.raw"; then
    echo "same      $1 (every sample; the headers differ)"
  else
    echo "DIFFERENT $1"
    failed=1
  fi
}
for c in "${cases[@]}"; do
  mid=${c%%|*}
  opts=${c#*|}
  ext=wav
  case "$opts" in *pcm24*) ext=flac ;; esac
  args=()
  # Settings hold blanks: split the options on " -" boundaries by hand.
  while read -r word; do [ -n "$word" ] && args+=("$word"); done < <(
    printf '%s\n' "$opts" | sed -E 's/ (-[a-z]|--[a-z]+) /\n\1\n/g; s/^(-[a-z]|--[a-z]+) /\1\n/')
  n=$((n + 1))
  for side in base work; do
    extra=()
    # A base from before the conversion of other rates played them natively.
    if [ "$side" = work ] && [ "$native_base" = 1 ] && [[ " $opts " == *" -r "* ]]; then extra=(--native-rate); fi
    "$work/build-$side/bin/veltra-render" -q "${args[@]}" "${extra[@]}" "tests/renders/$mid" "$work/$side-$n.$ext"
  done
  compare "$mid $opts"
done
# Every factory program, as the work tree's build writes them, on one file.
programs=$(find "$work/build-work/bin/programs" -name '*.fxp' | wc -l)
[ "$programs" -gt 0 ] || { echo "no factory programs were built"; exit 1; }
while IFS= read -r -d '' fxp; do
  n=$((n + 1))
  ext=wav
  for side in base work; do
    "$work/build-$side/bin/veltra-render" -q -p "$fxp" tests/renders/voices.mid "$work/$side-$n.$ext"
  done
  compare "voices.mid -p $(basename "$fxp")"
done < <(find "$work/build-work/bin/programs" -name '*.fxp' -print0 | sort -z)
[ "$failed" = 0 ] && echo "all $n renders identical" || { echo "renders differ"; exit 1; }
