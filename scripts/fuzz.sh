#!/usr/bin/env bash
# Builds the libFuzzer targets with clang under AddressSanitizer and
# UndefinedBehaviorSanitizer and runs each for a fixed time from its seed
# corpus; any report, crash or disagreement of kernel forms fails the run.
#   scripts/fuzz.sh [seconds per target, default 30] [target names...]
# New inputs go to a scratch corpus under the build folder, never into the
# repository's seeds; findings land in build-fuzz/artifacts.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-30}
shift || true
build=${TARN_FUZZ_BUILD:-$here/build-fuzz}
"$here/scripts/install-deps.sh" clang libclang-rt-dev
CXX=clang++ cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARN_BUILD_FUZZ=ON \
  -DTARN_SANITIZE=address,undefined,float-cast-overflow -DTARN_BUILD_TESTS=OFF -DTARN_BUILD_TOOLS=OFF \
  -DTARN_BUILD_EXAMPLES=OFF >/dev/null
targets=("$@")
((${#targets[@]})) || mapfile -t targets <"$build/fuzz/targets.txt"
cmake --build "$build" -j "$(nproc)" --target "${targets[@]/#/tarn_fuzz_}"
# Composition keeps a few references on purpose, so leaks are reported only
# for the targets listed as leak-checked.
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
mkdir -p "$build/artifacts"
failed=()
for name in "${targets[@]}"; do
  scratch="$build/corpus/$name"
  mkdir -p "$scratch"
  echo "fuzzing $name for ${seconds}s"
  leaks=0
  grep -qx "$name" "$build/fuzz/leak_checked.txt" && leaks=1
  if ! ASAN_OPTIONS=detect_leaks=$leaks:abort_on_error=1:strict_string_checks=1 "$build/fuzz/tarn_fuzz_$name" -max_total_time="$seconds" -timeout=60 -rss_limit_mb=2560 \
      -print_final_stats=1 -artifact_prefix="$build/artifacts/$name-" \
      "$scratch" "$here/fuzz/corpus/$name" >"$build/$name.log" 2>&1; then
    failed+=("$name")
    tail -n 60 "$build/$name.log"
  fi
  grep -E '^stat::number_of_executed_units|^#[0-9]+.*DONE' "$build/$name.log" | tail -n 2 || true
done
if ((${#failed[@]})); then
  echo "fuzz targets with findings: ${failed[*]} (inputs in $build/artifacts)" >&2
  exit 1
fi
