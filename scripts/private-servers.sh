# Sourced by the scripts that run VELTRA for a picture: a private X server
# and JACK server (dummy back-end), a work folder, and a trap that ends them.
#   start_private_servers NAME    sets work, DISPLAY and JACK_DEFAULT_SERVER
# The screen is 1280 x 800, or $SCREEN (as "1920x1200").
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; rm -rf "$work"; }
start_private_servers() {
  work=$(mktemp -d "/tmp/$1-XXXXXX")
  trap cleanup EXIT
  # One JACK server name per script: JACK gives a dead server's place in its
  # shared registry (eight places) back only to a server of the same name.
  local display=:$((200 + RANDOM % 100)) server=$1
  Xvfb "$display" -screen 0 "${SCREEN:-1280x800}x24" -nolisten tcp >/dev/null 2>&1 & pids+=($!)
  JACK_NO_AUDIO_RESERVATION=1 jackd --no-realtime -n "$server" -d dummy -r 44100 -p 512 >/dev/null 2>&1 & pids+=($!)
  export DISPLAY=$display GDK_BACKEND=x11 NO_AT_BRIDGE=1 JACK_DEFAULT_SERVER=$server
  for _ in $(seq 50); do xdotool getdisplaygeometry >/dev/null 2>&1 && break; sleep 0.1; done
  sleep 1
}
