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
# Two at a time: most tests wait on audio played in real time, not on the processor.
ctest --preset "$preset" --parallel "${TOLM_TEST_JOBS:-2}" "$@"
