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
source "$top/scripts/private-servers.sh"
start_private_servers veltra-shot
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
