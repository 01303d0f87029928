#!/usr/bin/env bash
# The LV2 bundle of a build as hosts see it: its description valid against the
# LV2 schema, every port listed by lv2info, the sound binaries free of window
# code, and the plug-in exporting its descriptor alone.
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
[ "$ports" -eq 47 ] || fail "lv2info lists $ports ports, not 47"
for symbol in midi_in out_l out_r op1_attack ar_env_depth smoothing_on_off pwm_meter; do
  grep -q "Symbol: *$symbol\$" <<<"$info" || fail "lv2info has no port $symbol"
done

for binary in "$bundle"/veltra_dsp.so "$build"/bin/veltra-render; do
  if readelf -d "$binary" | grep NEEDED | grep -Ei 'gtk|gdk|glib|gobject|gio|cairo|pango|x11|xext|xcb'; then
    fail "$binary links window code"
  fi
done
exports=$(nm -D --defined-only "$bundle"/veltra_dsp.so | awk '{print $3}')
[ "$exports" = "lv2_descriptor" ] || fail "veltra_dsp.so exports: $exports"
echo "lv2 bundle: schema-valid, 47 ports, no window code, one export"
