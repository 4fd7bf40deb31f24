#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test. Extra arguments go to ctest
# (for a quick loop: ./test.sh -LE long).
set -euo pipefail
cd "$(dirname "$0")"
./scripts/install-deps.sh

preset="${TOLM_PRESET:-default}"
werror=OFF
if [ "${CI:-}" = "true" ]; then werror=ON; fi

cmake --preset "$preset" -DTOLM_WERROR="$werror" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset" "$@"
