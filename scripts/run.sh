#!/usr/bin/env bash
# Builds the library and runs the example host.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=$here/build
"$here/scripts/install-deps.sh"
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j "$(nproc)" --target host_tour
"$build/examples/host_tour"
