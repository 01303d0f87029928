#!/usr/bin/env bash
# Installs every Debian package that building, running and testing VELTRA need.
# Idempotent: asks dpkg first and touches apt only when something is missing.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  librtaudio-dev librtmidi-dev libasound2-dev
  libpng-dev zlib1g-dev
  libgtk-3-dev libx11-dev libxext-dev libfreetype-dev libfontconfig-dev
  libsndfile1-dev libebur128-dev liblo-dev
  googletest libgtest-dev libbenchmark-dev
  clang libclang-rt-14-dev
  jackd2 libjack-jackd2-dev
  xvfb xdotool imagemagick x11-utils
  lv2-dev liblilv-dev lilv-utils sordi jalv libqt5x11extras5 zenity
  dpf-source libzita-resampler-dev
  desktop-file-utils appstream lintian man-db dpkg-dev locales-all
  sox python3-soundfile
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg -s "$p" 2>/dev/null | grep -q '^Status: install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "deps: installing ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  as_root=(sudo -E)
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
# jackd2 asks whether to enable realtime scheduling; preseed the answer.
echo "jackd2 jackd/tweak_rt_limits boolean false" | "${as_root[@]}" debconf-set-selections
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
