#!/usr/bin/env bash
# veltra-render's speed at a base revision and in the work tree, in one run:
# both built in Release, each rendering the benchmark's 60 s of eight-note
# chords five times, alternating. The files go to a memory file system
# (/dev/shm) so that the disk's write-back does not blur the render loop's
# time. Prints the best real-time factor of each and their ratio.
#   scripts/render-speed.sh BASE
set -euo pipefail
top=$(git rev-parse --show-toplevel)
cd "$top"
base=${1:?usage: scripts/render-speed.sh BASE}
work=$(mktemp -d /tmp/veltra-speed-XXXXXX)
out=$(mktemp -d /dev/shm/veltra-speed-XXXXXX 2>/dev/null || mktemp -d)
trap 'git worktree remove --force "$work/base" >/dev/null 2>&1 || true; rm -rf "$work" "$out"' EXIT

build() { # source folder, build folder
  cmake -S "$1" -B "$2" -DCMAKE_BUILD_TYPE=Release -DVELTRA_BUILD_TESTS=OFF >/dev/null
  cmake --build "$2" -j"$(nproc)" --target veltra-render >/dev/null
}
git worktree add --detach "$work/base" "$base" >/dev/null 2>&1
echo "building veltra-render at $base and in the work tree"
build "$work/base" "$work/build-base"
build "$top" "$work/build-work"
cmake -S "$top" -B "$work/build-work" -DVELTRA_BUILD_BENCH=ON >/dev/null
cmake --build "$work/build-work" --target make_chords >/dev/null
"$work/build-work/bin/make_chords" "$work/chords.mid"

factor() { # renderer: its real-time factor for the chords
  "$1" "$work/chords.mid" "$out/chords.wav" 2>&1 | sed -n 's/.*(\([0-9.]*\)x real time).*/\1/p'
}
bestBase=0
bestWork=0
for round in 1 2 3 4 5; do
  b=$(factor "$work/build-base/bin/veltra-render")
  w=$(factor "$work/build-work/bin/veltra-render")
  echo "round $round: $base ${b}x, work tree ${w}x"
  bestBase=$(awk -v a="$b" -v m="$bestBase" 'BEGIN { print (a > m ? a : m) }')
  bestWork=$(awk -v a="$w" -v m="$bestWork" 'BEGIN { print (a > m ? a : m) }')
done
awk -v b="$bestBase" -v w="$bestWork" 'BEGIN { printf "best: %sx and %sx, work tree / base = %.2f\n", b, w, w / b }'
