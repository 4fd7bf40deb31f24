#!/usr/bin/env bash
# Installs what is missing, builds, and starts the program. Arguments are passed on.
# Without a display, or before the wizard is built, runs tolm-convert instead.
set -euo pipefail
cd "$(dirname "$0")"
./scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default >&2

if [ -x build/src/app/tolm-audio-converter ]; then
  if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "No display found: the wizard needs a desktop. Use tolm-convert instead, for example:" >&2
    echo "  build/src/app/tolm-convert record --demo --artist A --album B --import" >&2
    exec build/src/app/tolm-convert "$@"
  fi
  exec build/src/app/tolm-audio-converter "$@"
fi
exec build/src/app/tolm-convert "$@"
