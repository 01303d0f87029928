#!/usr/bin/env bash
# VELTRA's LV2 plug-in beside mda JX10 and DX10 (the mda-lv2 package: not a
# dependency, measured when installed) in one run, through the tests' lilv
# host: 60 s of a held eight-note chord at 44100 Hz, in blocks of 64 and of
# 512 frames, three rounds with the synths alternating. Prints each synth's
# best CPU seconds per second of audio and VELTRA's ratio to each other synth.
#   scripts/lv2-cpu.sh [BENCH_BUILD_FOLDER]   (default build/bench)
set -euo pipefail
top=$(git rev-parse --show-toplevel)
build=${1:-$top/build/bench}
probe=$build/bin/lv2_cpu
export LV2_PATH=$build/lv2:${LV2_PATH:-/usr/lib/lv2:/usr/local/lib/lv2:$HOME/.lv2}
veltra=https://quillmoorinstruments.com/plugins/veltra
others=(http://drobilla.net/plugins/mda/JX10 http://drobilla.net/plugins/mda/DX10)
names=(JX10 DX10)
seconds=${SECONDS_OF_AUDIO:-60}
for block in 64 512; do
  declare -A best=()
  for round in 1 2 3; do
    for uri in "$veltra" "${others[@]}"; do
      if cost=$("$probe" "$uri" "$block" "$seconds" 2>/dev/null); then
        if [[ -z ${best[$uri]:-} ]] || awk -v a="$cost" -v b="${best[$uri]}" 'BEGIN { exit !(a < b) }'; then
          best[$uri]=$cost
        fi
      fi
    done
  done
  echo "blocks of $block frames: CPU seconds per second of audio, best of 3"
  echo "  VELTRA ${best[$veltra]}"
  for i in "${!others[@]}"; do
    uri=${others[$i]}
    if [[ -z ${best[$uri]:-} ]]; then
      echo "  ${names[$i]} not installed (apt install mda-lv2 to compare)"
      continue
    fi
    awk -v n="${names[$i]}" -v o="${best[$uri]}" -v v="${best[$veltra]}" \
      'BEGIN { printf "  %s %s   VELTRA / %s = %.2f\n", n, o, n, v / o }'
  done
  unset best
done
