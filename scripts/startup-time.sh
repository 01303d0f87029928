#!/usr/bin/env bash
# How fast VELTRA starts, as a user meets it: on a private JACK server (dummy
# back-end) and X server, it is started N times (default 5, after one run to
# warm the caches and write the settings) and the time from exec to its first
# JACK port and to its window being mapped is measured, with the window and
# headless. When amsynth is installed it is measured the same way in the same
# run, for comparison. Part of `make bench`.
#   scripts/startup-time.sh [N] [bench build folder]
set -euo pipefail
top=$(git rev-parse --show-toplevel)
runs=${1:-5}
build=${2:-$top/build/bench}
probe=$build/bin/startup_probe
veltra=$build/bin/veltra
[ -x "$probe" ] && [ -x "$veltra" ] || { echo "build $build first (make bench)" >&2; exit 1; }
source "$top/scripts/private-servers.sh"
start_private_servers veltra-startup
export HOME=$work XDG_CONFIG_HOME=$work/.config

# median, minimum and maximum of the numbers on standard input
stats() { sort -n | awk '{v[NR]=$1} END {if (!NR) {print "-"; exit} printf "median %4d  min %4d  max %4d ms", v[int((NR+1)/2)], v[1], v[NR]}'; }

# measure NAME PORT_PREFIX HEADLESS PROGRAM [ARGS...]: one line per measure
measure() {
  local name=$1 prefix=$2 headless=$3; shift 3
  local ports=() windows=()
  for i in $(seq 0 "$runs"); do
    local line
    if [ "$headless" = 1 ]; then
      line=$(env -u DISPLAY "$probe" "$prefix" 10 "$@")
    else
      line=$("$probe" "$prefix" 10 "$@")
    fi
    sleep 0.3
    [ "$i" = 0 ] && continue # the warm-up
    ports+=("$(awk '{print $2}' <<<"$line")")
    windows+=("$(awk '{print $4}' <<<"$line")")
  done
  printf '%-26s JACK ports  %s\n' "$name" "$(printf '%s\n' "${ports[@]}" | awk '$1 != "-"' | stats)"
  [ "$headless" = 1 ] || printf '%-26s window      %s\n' "$name" "$(printf '%s\n' "${windows[@]}" | awk '$1 != "-"' | stats)"
  median_ports=$(printf '%s\n' "${ports[@]}" | awk '$1 != "-"' | sort -n | awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}')
  median_window=$(printf '%s\n' "${windows[@]}" | awk '$1 != "-"' | sort -n | awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}')
}

echo "start-up from exec, $runs runs each (after one warm-up)"
measure "VELTRA with its window" "VELTRA:" 0 "$veltra"
veltra_ports=$median_ports veltra_window=$median_window
measure "VELTRA headless" "VELTRA:" 1 "$veltra"
if command -v amsynth >/dev/null; then
  measure "amsynth with its window" "amsynth:" 0 amsynth
  other_ports=$median_ports other_window=$median_window
  measure "amsynth headless" "amsynth:" 1 amsynth -x
  awk -v a="$veltra_ports" -v b="$other_ports" -v c="$veltra_window" -v d="$other_window" \
    'BEGIN { if (b > 0 && d > 0) printf "VELTRA / amsynth: JACK ports %.2f, window %.2f\n", a / b, c / d }'
else
  echo "amsynth is not installed: no comparison"
fi
