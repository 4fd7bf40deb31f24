#!/usr/bin/env bash
# Installs what is missing, builds the programs and starts the wizard; arguments are passed
# on (./run.sh --demo records from a built-in demo turntable). Without a display it says so
# and shows how to do the same with tolm-convert; ./run.sh COMMAND ... runs tolm-convert.
set -euo pipefail
cd "$(dirname "$0")"
./scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target tolm-audio-converter tolm-convert >&2

bin=build/src/app
if [ $# -gt 0 ] && [ "${1#-}" = "$1" ]; then
  exec "$bin/tolm-convert" "$@"
fi
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "No display: the wizard needs a desktop; tolm-convert does the same from the command line:" >&2
  "$bin/tolm-convert" --help >&2
  exit 1
fi
exec "$bin/tolm-audio-converter" "$@"
