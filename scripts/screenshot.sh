#!/usr/bin/env bash
# Takes the README's picture of VELTRA from the real application: starts a
# private X server and JACK server (dummy back-end), starts VELTRA, holds a
# chord on the on-screen keyboard and in MIDI so that keys and meters show,
# and writes docs/screenshot.png. Needs what `make test` installs.
#   scripts/screenshot.sh [path/to/veltra]
set -euo pipefail
top=$(git rev-parse --show-toplevel)
exe=${1:-$top/build/release/bin/veltra}
out=$top/docs/screenshot.png
work=$(mktemp -d /tmp/veltra-shot-XXXXXX)
display=:$((200 + RANDOM % 50))
server=veltra-shot-$$
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; rm -rf "$work"; }
trap cleanup EXIT

Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 & pids+=($!)
JACK_NO_AUDIO_RESERVATION=1 jackd --no-realtime -n "$server" -d dummy -r 44100 -p 512 >/dev/null 2>&1 & pids+=($!)
export DISPLAY=$display GDK_BACKEND=x11 NO_AT_BRIDGE=1 JACK_DEFAULT_SERVER=$server
for i in $(seq 50); do xdotool getdisplaygeometry >/dev/null 2>&1 && break; sleep 0.1; done
sleep 1
HOME=$work XDG_CONFIG_HOME=$work/.config "$exe" >/dev/null 2>&1 & pids+=($!)
win=""
for i in $(seq 100); do win=$(xdotool search --onlyvisible --name '^VELTRA$' 2>/dev/null | head -1) && [ -n "$win" ] && break; sleep 0.1; done
[ -n "$win" ] || { echo "VELTRA's window did not appear" >&2; exit 1; }
eval "$(xdotool getwindowgeometry --shell "$win")"
panel_y=$((Y + HEIGHT - 400))
sleep 1.5 # past the stream's silent start
# Hold the A of the third octave on the screen keyboard while the sound runs.
xdotool mousemove $((X + 180 + 280 + 110)) $((panel_y + 269 + 100)) mousedown 1
sleep 0.8
import -window "$win" "$work/window.png"
xdotool mouseup 1
# The panel below the menu bar.
convert "$work/window.png" -gravity south -crop 920x400+0+0 +repage "$out"
echo "wrote $out"
