#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs the whole test suite.
#   scripts/test.sh [build-dir] [extra cmake arguments...]
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$here/build}
shift || true
"$here/scripts/install-deps.sh" ffmpeg
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
cmake --build "$build" -j "$(nproc)"
ctest --test-dir "$build" --output-on-failure -j "$(nproc)"
