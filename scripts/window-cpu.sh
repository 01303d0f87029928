#!/usr/bin/env bash
# What the window costs while VELTRA plays: VELTRA's own process CPU while an
# 8-note chord sounds, for one VELTRA without a display and one with its
# window open on a private X server (Xvfb), side by side on a private JACK
# server (dummy back-end). Prints both figures in percent of one core and
# their ratio.
# Needs what `make test` installs.
#   scripts/window-cpu.sh [path/to/veltra] [seconds measured, default 20]
set -euo pipefail
top=$(git rev-parse --show-toplevel)
exe=${1:-$top/build/release/bin/veltra}
seconds=${2:-20}
[ -x "$exe" ] || { echo "no VELTRA at $exe: run make build first" >&2; exit 1; }
work=$(mktemp -d /tmp/veltra-cpu-XXXXXX)
# One name: a server that died leaves its place to the next run.
server=veltra-cpu
pids=()
# Ends what was started, the last first: VELTRA before its server.
stop_all() {
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do kill "${pids[i]}" 2>/dev/null || true; done
  for p in "${pids[@]}"; do wait "$p" 2>/dev/null || true; done
  pids=()
}
cleanup() { stop_all; [ -n "${KEEP:-}" ] || rm -rf "$work"; }
trap cleanup EXIT
trap "exit 130" INT
trap "exit 143" TERM

export JACK_NO_AUDIO_RESERVATION=1 JACK_DEFAULT_SERVER=$server NO_AT_BRIDGE=1

# Waits until the JACK ports whose names hold $1 number at least $2; prints
# the last of them.
wait_port() {
  local names=""
  for _ in $(seq 300); do
    names=$(jack_lsp 2>/dev/null | grep -F "$1" || true)
    if [ -n "$names" ] && [ "$(echo "$names" | wc -l)" -ge "${2:-1}" ]; then
      echo "$names" | tail -1
      return 0
    fi
    sleep 0.1
  done
  echo "no JACK port \"$1\" appeared" >&2
  return 1
}

# Time on the processor of all threads of a process, in nanoseconds (the
# scheduler's own count: far finer than the clock ticks of /proc/PID/stat).
cpu_ns() { cat /proc/"$1"/task/*/schedstat 2>/dev/null | awk '{ s += $1 } END { printf "%.0f\n", s }'; }

# Starts VELTRA number $1 with its own settings folder, the rest of the
# arguments deciding its display; waits for its virtual MIDI input and
# leaves that port's name in $work/port-$1.
start_veltra() {
  local n=$1
  shift
  mkdir -p "$work/home-$n/.config/VELTRA"
  # Notes come in through the virtual port, on every channel.
  printf '[midi]\nindev=virtual input\ninchan=0\n' >"$work/home-$n/.config/VELTRA/settings.ini"
  env "$@" HOME="$work/home-$n" XDG_CONFIG_HOME="$work/home-$n/.config" "$exe" >"$work/veltra-$n.log" 2>&1 &
  pids+=($!)
  echo $! >"$work/pid-$n"
  wait_port "To VELTRA" "$n" >"$work/port-$n" || { cat "$work/veltra-$n.log" >&2; exit 1; }
}

# Both at once, on one server and one chord, so that whatever else the
# machine does weighs on both alike.
jackd --no-realtime -n "$server" -d dummy -r 44100 -p 512 >"$work/jackd.log" 2>&1 &
pids+=($!)
for _ in $(seq 50); do jack_lsp >/dev/null 2>&1 && break; sleep 0.1; done
display=:$((250 + RANDOM % 50))
Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
pids+=($!)
for _ in $(seq 50); do DISPLAY=$display xdotool getdisplaygeometry >/dev/null 2>&1 && break; sleep 0.1; done

start_veltra 1 -u DISPLAY -u WAYLAND_DISPLAY
start_veltra 2 DISPLAY="$display" GDK_BACKEND=x11
# The chord, C major over three octaves, held for 30 s and struck again.
loop=$((44100 * 30)) hold=$((44100 * 30 - 100)) notes=()
for n in 48 52 55 60 64 67 72 76; do notes+=(0 "$n" "$hold"); done
jack_midiseq chord "$loop" "${notes[@]}" >/dev/null 2>&1 &
pids+=($!)
wait_port "chord:out" >/dev/null
jack_connect chord:out "$(cat "$work/port-1")"
jack_connect chord:out "$(cat "$work/port-2")"
sleep 2 # the voices reach their sustain, the window its steady state

headless_pid=$(cat "$work/pid-1") window_pid=$(cat "$work/pid-2")
h0=$(cpu_ns "$headless_pid") w0=$(cpu_ns "$window_pid")
sleep "$seconds"
h1=$(cpu_ns "$headless_pid") w1=$(cpu_ns "$window_pid")
for p in "$headless_pid" "$window_pid"; do
  kill -0 "$p" 2>/dev/null || { echo "a VELTRA stopped during the measurement" >&2; exit 1; }
done
grep -q "input virtual input" "$work/veltra-1.log" "$work/veltra-2.log" ||
  { echo "VELTRA did not open its MIDI input" >&2; exit 1; }

percent() { awk -v t="$1" -v s="$seconds" 'BEGIN { printf "%.3f", 100 * t / 1e9 / s }'; }
headless=$(percent $((h1 - h0))) windowed=$(percent $((w1 - w0)))
echo "VELTRA's process CPU over $seconds s with an 8-note chord playing (percent of one core)"
echo "  headless:    $headless %"
echo "  window open: $windowed %"
awk -v h="$headless" -v w="$windowed" 'BEGIN { if (h > 0) printf "  ratio:       %.2f\n", w / h }'
