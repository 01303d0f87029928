#!/usr/bin/env bash
# VELTRA as a Linux user installs it: the desktop entry, the AppStream data
# and the manual pages pass their validators; the Debian package of this
# build passes lintian, unpacks into a temporary root, and from there
# veltra-render renders a file and veltra opens its window with the panel
# drawn from the unpacked resources; the command line answers --help and
# --version and refuses anything else.
#   install_test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
src=$1 build=$2
work=$(mktemp -d /tmp/veltra-install-XXXXXX)
xvfb=""
veltra=""
cleanup() {
  [ -n "$veltra" ] && kill "$veltra" 2>/dev/null && wait "$veltra" 2>/dev/null
  [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null && wait "$xvfb" 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT
fail() {
  echo "FAILED: $*" >&2
  exit 1
}

echo "== the desktop entry, the AppStream data, the manual pages"
desktop-file-validate "$src/app/desktop/veltra.desktop" || fail "desktop-file-validate"
appstreamcli validate --no-net "$build"/share/*.metainfo.xml || fail "appstreamcli validate"
for page in veltra.1 veltra-render.1; do
  warnings=$(MANWIDTH=80 man --warnings -l "$build/share/$page" 2>&1 >/dev/null)
  [ -z "$warnings" ] || fail "man --warnings $page: $warnings"
done

echo "== the Debian package"
cpack --config "$build/CPackConfig.cmake" -B "$work/package" >"$work/cpack.log" 2>&1 || {
  cat "$work/cpack.log"
  fail "cpack"
}
deb=$(ls "$work"/package/veltra_*.deb)
lintian "$deb" >"$work/lintian.log" 2>&1 || true
if grep -q '^E:' "$work/lintian.log"; then
  cat "$work/lintian.log"
  fail "lintian found errors"
fi
root=$work/root
dpkg-deb -x "$deb" "$root"
for f in usr/bin/veltra usr/bin/veltra-render usr/share/applications/veltra.desktop \
  usr/share/icons/hicolor/48x48/apps/veltra.png usr/share/icons/hicolor/scalable/apps/veltra.svg \
  usr/share/man/man1/veltra.1.gz usr/share/man/man1/veltra-render.1.gz usr/share/veltra/resources/img/bg.png \
  usr/share/metainfo/com.quillmoorinstruments.veltra.metainfo.xml usr/share/doc/veltra/copyright \
  usr/lib/lv2/veltra.lv2/manifest.ttl usr/lib/lv2/veltra.lv2/veltra.ttl usr/lib/lv2/veltra.lv2/presets.ttl \
  usr/lib/lv2/veltra.lv2/veltra_dsp.so usr/lib/clap/veltra.clap; do
  [ -e "$root/$f" ] || fail "the package lacks $f"
done
programs=$root/usr/share/veltra/programs
[ "$(find "$programs" -name '*.fxp' | wc -l)" -eq 32 ] || fail "the package lacks factory programs"
[ "$(find "$programs" -maxdepth 1 -name '*.fxb' | wc -l)" -eq 4 ] || fail "the package lacks factory banks"

echo "== the LV2 plug-in, found where the package puts it"
info=$(LV2_PATH=$root/usr/lib/lv2 lv2info https://quillmoorinstruments.com/plugins/veltra 2>&1) || true
grep -q "Symbol: *midi_in" <<<"$info" || fail "lv2info does not find the packaged plug-in: $info"

[ "$(nm -D --defined-only "$root/usr/lib/clap/veltra.clap" | awk '{print $3}')" = clap_entry ] ||
  fail "the packaged CLAP module does not export clap_entry alone"

echo "== the command line"
unset VELTRA_RESOURCES
bin=$root/usr/bin
"$bin/veltra" --help | grep -q '^usage: veltra' || fail "veltra --help"
[ "$("$bin/veltra" --version)" = "veltra v1.1.3" ] || fail "veltra --version"
[ "$("$bin/veltra-render" --version)" = "veltra-render v1.1.3" ] || fail "veltra-render --version"
status=0
"$bin/veltra" --bogus >"$work/out" 2>"$work/err" || status=$?
[ "$status" = 2 ] || fail "a bad argument exits with $status, not 2"
[ "$(head -1 "$work/err")" = "veltra: unknown argument '--bogus'" ] || fail "bad argument: $(cat "$work/err")"
grep -q '^usage: veltra' "$work/err" || fail "a bad argument shows the usage"
[ ! -s "$work/out" ] || fail "a bad argument prints nothing on standard output"

echo "== veltra-render from the unpacked package"
"$bin/veltra-render" -q "$src/tests/renders/voices.mid" "$work/voices.wav" || fail "veltra-render"
[ "$(stat -c %s "$work/voices.wav")" -gt 100000 ] || fail "the render is too short"

echo "== veltra's window from the unpacked package"
exec 3>"$work/display"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
for _ in $(seq 100); do [ -s "$work/display" ] && break; sleep 0.1; done
display=:$(cat "$work/display")
mkdir -p "$work/home"
# No sound server of this name exists: VELTRA runs silent, which is enough
# to see its panel.
env DISPLAY="$display" GDK_BACKEND=x11 NO_AT_BRIDGE=1 HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" \
  JACK_DEFAULT_SERVER=veltra-install-test-none JACK_NO_START_SERVER=1 \
  LSAN_OPTIONS="suppressions=$src/tests/common/lsan.supp" \
  "$bin/veltra" >"$work/veltra.out" 2>"$work/veltra.err" &
veltra=$!
win=""
for _ in $(seq 200); do
  win=$(DISPLAY=$display xdotool search --onlyvisible --name '^VELTRA$' 2>/dev/null | head -1 || true)
  [ -n "$win" ] && break
  sleep 0.1
done
[ -n "$win" ] || fail "no window; $(cat "$work/veltra.out" "$work/veltra.err")"
sleep 1
# The class that the desktop entry names, and the icon.
wmclass=$(sed -n 's/^StartupWMClass=//p' "$root/usr/share/applications/veltra.desktop")
props=$(for w in $(DISPLAY=$display xdotool search --name '^VELTRA$'); do DISPLAY=$display xprop -id "$w" WM_CLASS _NET_WM_ICON; done)
grep -q "WM_CLASS(STRING) = \"veltra\", \"$wmclass\"" <<<"$props" || fail "window class is not $wmclass: $props"
grep -q "Icon (48 x 48)" <<<"$props" || fail "the window has no icon"
DISPLAY=$display import -window "$win" "$work/window.png"
colours=$(convert "$work/window.png" -gravity south -crop 920x400+0+0 +repage -format %k info:)
[ "$colours" -gt 1000 ] || fail "the panel shows $colours colours: not drawn"
if grep -q 'missing from' "$work/veltra.err"; then
  cat "$work/veltra.err"
  fail "images missing from the unpacked package"
fi
kill "$veltra"
status=0
wait "$veltra" || status=$?
veltra=""
[ "$status" = 0 ] || fail "veltra ended with status $status: $(cat "$work/veltra.err")"
echo "all passed"
