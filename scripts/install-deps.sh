#!/usr/bin/env bash
# Installs, from Debian's archive, every package the build, the tests and the benchmarks need.
# Skips what is installed; uses sudo when not root.
set -euo pipefail

packages=(
  # build
  cmake ninja-build g++ pkg-config
  qt6-base-dev qt6-base-dev-tools qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools
  qt6-declarative-dev qt6-svg-dev libqt6svg6 qt6-qpa-plugins
  libpulse-dev libsamplerate0-dev libsndfile1-dev libtag1-dev libusb-1.0-0-dev
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev
  pulseaudio pulseaudio-utils xvfb xauth sox
  groff-base  # the manual pages are rendered in a test
  # package checks (dpkg-shlibdeps comes with dpkg-dev)
  dpkg-dev desktop-file-utils appstream
)
# PipeWire for the tests against its PulseAudio server: in CI only, as installing it on a
# desktop that runs PulseAudio would start both servers at the next login. Elsewhere those
# tests skip with a message unless it is installed.
if [ "${CI:-}" = "true" ]; then
  packages+=(pipewire pipewire-pulse wireplumber)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
