#!/usr/bin/env bash
# Builds and runs benchmarks side by side with the peer library (libyuv from
# Debian, installed when missing; the library itself never links it).
#   scripts/bench.sh [name...]   names: fast_copy convert catalogue scale resize compose
#                                quarter_turn rotate warp matrix
# With no name every benchmark but the matrix runs. Each prints a table of
# our time, the peer's and the ratio at the end. `matrix` runs every format
# pair and every resize mode x format x factor briefly, prints one table
# sorted by ratio (worst first) and writes it to build-bench/matrix.tsv;
# further arguments after `matrix` go to the benchmark (e.g.
# --benchmark_filter=Resize/RGB32).
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=$here/build-bench
"$here/scripts/install-deps.sh" libyuv-dev
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release -DTARN_BUILD_BENCH=ON \
  -DTARN_BUILD_TESTS=OFF -DTARN_BUILD_EXAMPLES=OFF -DTARN_BUILD_TOOLS=OFF >/dev/null
names=("$@")
if ((${#names[@]})) && [[ ${names[0]} == matrix ]]; then
  cmake --build "$build" -j "$(nproc)" --target tarn_bench_matrix
  exec "$build/bench/tarn_bench_matrix" --benchmark_min_time=0.04 --matrix_out="$build/matrix.tsv" "${names[@]:1}"
fi
((${#names[@]})) || names=(fast_copy convert catalogue scale resize compose quarter_turn rotate warp)
for name in "${names[@]}"; do
  cmake --build "$build" -j "$(nproc)" --target "tarn_bench_$name"
  "$build/bench/tarn_bench_$name"
done
