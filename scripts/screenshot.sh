#!/usr/bin/env bash
# Takes the README's picture of VELTRA from the real application: starts a
# private X server and JACK server (dummy back-end), starts VELTRA, holds a
# chord on the on-screen keyboard and in MIDI so that keys and meters show,
# and writes docs/screenshot.png. Needs what `make test` installs. With a
# size (125, 150 or 200) the panel is shown at it, chosen in options.ini, and
# the picture goes to the file named (else docs/screenshot-SIZE.png).
#   scripts/screenshot.sh [path/to/veltra] [size] [out.png]
set -euo pipefail
top=$(git rev-parse --show-toplevel)
exe=${1:-$top/build/release/bin/veltra}
size=${2:-100}
out=${3:-$top/docs/screenshot$([ "$size" = 100 ] || echo "-$size").png}
[ "$size" = 100 ] || export SCREEN=1920x1200
source "$top/scripts/private-servers.sh"
start_private_servers veltra-shot
mkdir -p "$work/.config/VELTRA"
[ "$size" = 100 ] || printf '[view]\nsize = %s %%\n' "$size" >"$work/.config/VELTRA/options.ini"
HOME=$work XDG_CONFIG_HOME=$work/.config "$exe" >/dev/null 2>&1 & pids+=($!)
win=""
for i in $(seq 100); do win=$(xdotool search --onlyvisible --name '^VELTRA$' 2>/dev/null | head -1) && [ -n "$win" ] && break; sleep 0.1; done
[ -n "$win" ] || { echo "VELTRA's window did not appear" >&2; exit 1; }
sleep 0.5 # the window at its size
eval "$(xdotool getwindowgeometry --shell "$win")"
px() { echo $(( ($1 * size + 50) / 100 )); }
panel_y=$((Y + HEIGHT - $(px 400)))
sleep 1.5 # past the stream's silent start
# Hold the A of the third octave on the screen keyboard while the sound runs.
xdotool mousemove $((X + $(px $((180 + 280 + 110))))) $((panel_y + $(px $((269 + 100))))) mousedown 1
sleep 0.8
import -window "$win" "$work/window.png"
xdotool mouseup 1
# The panel below the menu bar.
convert "$work/window.png" -gravity south -crop "$(px 920)x$(px 400)+0+0" +repage "$out"
echo "wrote $out"
