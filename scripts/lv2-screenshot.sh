#!/usr/bin/env bash
# Takes the README's picture of VELTRA inside an LV2 host: a private X server
# and JACK server (dummy back-end), jalv.gtk3 with the plug-in of a build, a
# chord held from the on-screen keyboard, and the host's whole window written
# to docs/lv2-host.png. Needs what `make test` installs. With a size (125,
# 150 or 200) the panel is shown at it, chosen in options.ini, and the
# picture goes to the file named (else docs/lv2-host-SIZE.png).
#   scripts/lv2-screenshot.sh [build dir] [size] [out.png]
set -euo pipefail
top=$(git rev-parse --show-toplevel)
build=$(cd "${1:-$top/build/release}" && pwd)
size=${2:-100}
out=${3:-$top/docs/lv2-host$([ "$size" = 100 ] || echo "-$size").png}
[ "$size" = 100 ] || export SCREEN=1920x1200
source "$top/scripts/private-servers.sh"
start_private_servers veltra-lv2shot
mkdir -p "$work/.config/VELTRA"
[ "$size" = 100 ] || printf '[view]\nsize = %s %%\n' "$size" >"$work/.config/VELTRA/options.ini"
HOME=$work LV2_PATH=$build/lv2 jalv.gtk3 https://quillmoorinstruments.com/plugins/veltra >"$work/jalv.log" 2>&1 &
pids+=($!)
# The host's window, named after the plug-in, with the jalv class.
win=""
for i in $(seq 100); do
  win=$(xwininfo -root -tree | sed -n 's/^ *\(0x[0-9a-f]*\) "VELTRA": ("jalv.*/\1/p' | head -1)
  [ -n "$win" ] && break
  sleep 0.1
done
[ -n "$win" ] || { cat "$work/jalv.log" >&2; echo "the host's window did not appear" >&2; exit 1; }
sleep 1
eval "$(xdotool getwindowgeometry --shell "$win")"
# Hold the A of the third octave on the panel's keyboard (the panel lies
# below the host's menu bar).
px() { echo $(( ($1 * size + 50) / 100 )); }
panel_y=$((Y + HEIGHT - $(px 400)))
xdotool mousemove $((X + $(px $((180 + 280 + 110))))) $((panel_y + $(px $((269 + 100))))) mousedown 1
sleep 0.8
import -window "$win" "$out"
xdotool mouseup 1
echo "wrote $out"
