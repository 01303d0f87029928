#!/usr/bin/env bash
# The plug-ins of a build as hosts see them: the LV2 bundle's description
# valid against the LV2 schema, every port listed by lv2info, the sound
# binaries free of window code, each module exporting its entry alone, and
# the CLAP module (sound and panel) free of toolkits.
#   lv2_bundle_test.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
bundle=$build/lv2/veltra.lv2
fail() { echo "FAIL: $*"; exit 1; }

schemas=(/usr/lib/lv2/*.lv2/*.ttl)
out=$(sord_validate "${schemas[@]}" "$bundle"/manifest.ttl "$bundle"/veltra.ttl "$bundle"/presets.ttl 2>&1) ||
  fail "sord_validate: $out"
grep -q "Found 0 errors" <<<"$out" || fail "sord_validate: $out"

info=$(LV2_PATH=$build/lv2 lv2info https://quillmoorinstruments.com/plugins/veltra)
ports=$(grep -c "^	Port [0-9]*:" <<<"$info")
[ "$ports" -eq 50 ] || fail "lv2info lists $ports ports, not 50"
for symbol in midi_in out_l out_r op1_attack ar_env_depth smoothing_on_off pwm_meter notify latency same_sound_at_every_rate; do
  grep -q "Symbol: *$symbol\$" <<<"$info" || fail "lv2info has no port $symbol"
done

for binary in "$bundle"/veltra_dsp.so "$build"/bin/veltra-render; do
  if readelf -d "$binary" | grep NEEDED | grep -Ei 'gtk|gdk|glib|gobject|gio|cairo|pango|x11|xext|xcb'; then
    fail "$binary links window code"
  fi
done
exports=$(nm -D --defined-only "$bundle"/veltra_dsp.so | awk '{print $3}')
[ "$exports" = "lv2_descriptor" ] || fail "veltra_dsp.so exports: $exports"

# The panel: Xlib (and Xext) but no toolkit, and its descriptor alone.
ui=$bundle/veltra_ui.so
needed=$(readelf -d "$ui" | grep NEEDED)
grep -q 'libX11\.so' <<<"$needed" || fail "veltra_ui.so does not link Xlib"
if grep -Ei 'gtk|gdk|glib|gobject|gio|cairo|pango|qt' <<<"$needed"; then fail "veltra_ui.so links a toolkit"; fi
exports=$(nm -D --defined-only "$ui" | awk '{print $3}')
[ "$exports" = "lv2ui_descriptor" ] || fail "veltra_ui.so exports: $exports"
grep -A2 "UIs:" <<<"$info" | grep -q "ui#X11UI" || fail "lv2info lists no X11 panel"
clap=$build/clap/veltra.clap
needed=$(readelf -d "$clap" | grep NEEDED | grep -Eo '\[[^]]*\]' | tr -d '[]' |
  grep -Ev '^lib(X11|Xext|freetype|fontconfig|png16|zita-resampler|stdc\+\+|m|gcc_s|c|asan|ubsan|tsan)\.so' || true)
[ -z "$needed" ] || fail "veltra.clap links more than Xlib, FreeType, fontconfig, libpng and its rate converter: $needed"
exports=$(nm -D --defined-only "$clap" | awk '{print $3}')
[ "$exports" = "clap_entry" ] || fail "veltra.clap exports: $exports"

echo "lv2 bundle: schema-valid, 50 ports, sound free of window code, panel free of toolkits, one export each; clap module: Xlib and fonts only, clap_entry alone"
