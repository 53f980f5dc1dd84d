#!/usr/bin/env bash
# Builds the library and its command-line host, and runs the host's demo: a
# built-in scene composed, resized and written as PNG files into build/demo.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=$here/build
"$here/scripts/install-deps.sh"
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j "$(nproc)" --target tarnsurf
"$build/tools/tarnsurf" demo --out "$build/demo"
