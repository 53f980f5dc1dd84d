#!/usr/bin/env bash
# Frames per second of `tarnsurf compose` against ffmpeg's overlay filter, in
# the same run, on the same 1080p stream of 300 frames with the same two
# overlays (a PNG with an alpha channel and an opaque one), both reading the
# stream from a file and writing YUV4MPEG2 to /dev/null; on one thread and on
# all cores.
#   scripts/bench-tarnsurf.sh [build-dir]
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$here/build}
"$here/scripts/install-deps.sh" ffmpeg
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j "$(nproc)" --target tarnsurf >/dev/null
tool=$build/tools/tarnsurf
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

frames=300
ffmpeg -v error -f lavfi -i testsrc2=size=1920x1080:rate=30 -frames:v $frames -pix_fmt yuv420p \
  -f yuv4mpegpipe "$work/in.y4m"
ffmpeg -v error -f lavfi -i "testsrc2=size=320x180,format=rgba,colorchannelmixer=aa=0.6" -frames:v 1 "$work/logo.png"
ffmpeg -v error -f lavfi -i "smptebars=size=640x120,format=rgb24" -frames:v 1 "$work/title.png"

seconds() {  # runs "$@" once to warm the cache, then twice timed; prints the best time
  "$@" >/dev/null
  local best=
  for _ in 1 2; do
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null
    end=$(date +%s.%N)
    best=$(awk -v s="$start" -v e="$end" -v b="$best" 'BEGIN { t = e - s; if (b == "" || t < b) b = t; print b }')
  done
  echo "$best"
}

ours() {
  "$tool" compose "$work/in.y4m" --overlay "$work/logo.png:x=64:y=64" \
    --overlay "$work/title.png:x=640:y=900" --threads "$1" -o -
}
peer() {
  ffmpeg -v error -threads "$1" -filter_threads "$1" -i "$work/in.y4m" -i "$work/logo.png" -i "$work/title.png" \
    -filter_complex "[0][1]overlay=x=64:y=64:format=yuv420[a];[a][2]overlay=x=640:y=900:format=yuv420" \
    -pix_fmt yuv420p -f yuv4mpegpipe -
}

cores=$(nproc)
printf '%-28s %10s %10s %8s\n' "compose 1080p, 2 overlays" "ours fps" "peer fps" "ratio"
for threads in 1 "$cores"; do
  t_ours=$(seconds ours "$threads")
  t_peer=$(seconds peer "$threads")
  awk -v n=$frames -v a="$t_ours" -v b="$t_peer" -v th="$threads" \
    'BEGIN { printf "%-28s %10.1f %10.1f %8.2f\n", th " thread(s)", n / a, n / b, (n / a) / (n / b) }'
done
