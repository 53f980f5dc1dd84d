#!/usr/bin/env bash
# Makes the pictures of docs/tarnsurf.md from the built-in scene of
# `tarnsurf demo`: its background and overlay pictures are the inputs, and
# each example of the guide is run here exactly as the guide prints it, so
# the pictures show what the commands do. ffmpeg makes the odd-size crops,
# the clip for the pipe and the magnified details.
#   scripts/make-guide-images.sh [build-dir]
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$here/build}
"$here/scripts/install-deps.sh" ffmpeg
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j "$(nproc)" --target tarnsurf >/dev/null
tarnsurf=$build/tools/tarnsurf
images=$here/docs/images
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$images"
cd "$images"

# Inputs: the scene's background at 640x360, its title (with alpha), its
# checkerboard inset and its logo (black where it should not show).
"$tarnsurf" demo --parts --out "$work" >/dev/null
"$tarnsurf" compose "$work/tarnsurf-part-background.png" --resize 640x360 -o frame.png
for part in title inset logo; do cp "$work/tarnsurf-part-$part.png" "$part.png"; done
ffmpeg -v error -y -i logo.png -vf crop=101:75:13:9 odd.png  # 101 x 75: neither side a multiple of 4
ffmpeg -v error -y -i logo.png -vf crop=3:3:20:20 tiny.png   # 3 x 3, red
run() { echo "tarnsurf $*"; "$tarnsurf" "$@"; }
zoom() {  # zoom IN W H X Y OUT: the W x H part at X, Y, eight times larger
  ffmpeg -v error -y -i "$1" -vf "crop=$2:$3:$4:$5,scale=iw*8:ih*8:flags=neighbor" "$6"
}

# Each block below is one example of the guide, in its order.
run compose frame.png --overlay title.png:x=48:y=24 -o example-overlay.png
run compose frame.png --overlay title.png:x=-272:y=150 --overlay logo.png:x=560:y=280:key=000000 \
  --overlay inset.png:x=600:y=-20 -o example-anywhere.png
run compose frame.png --overlay inset.png:x=32:y=96:w=256:h=192 \
  --overlay inset.png:src=0,0,16,16:x=352:y=96:w=128:h=128 -o example-stretch.png
run compose frame.png --overlay logo.png:x=48:y=96:key=000000 \
  --overlay logo.png:x=256:y=96:key=000000:alpha=128 --overlay title.png:x=48:y=260:alpha=160 -o example-alpha.png
run compose frame.png --overlay odd.png:x=48:y=48 --overlay tiny.png:x=301:y=201 -o example-whole.png
zoom example-whole.png 12 12 297 197 example-whole-tiny.png
run compose frame.png --overlay title.png:x=48:y=24 --resize 480x480:fit -o example-fit.png
run compose frame.png --overlay title.png:x=48:y=24 --rotate 30 -o example-rotate.png
run compose frame.png --overlay logo.png:x=40:y=40:key=000000:rotate=30 \
  --overlay inset.png:x=400:y=60:w=128:h=96:rotate=90 --overlay title.png:x=100:y=200:rotate=-10 \
  -o example-rotate-overlays.png
ffmpeg -v error -y -i frame.png "$work/frame.bmp"
ffmpeg -v error -y -i logo.png "$work/logo.bmp"
cp title.png "$work/"
(cd "$work" && run compose frame.bmp --overlay logo.bmp:x=256:y=96:key=000000 \
  --overlay title.png:x=48:y=24 -o example-bmp.bmp)
ffmpeg -v error -y -i "$work/example-bmp.bmp" example-bmp.png  # shown here as PNG, pixel for pixel

# The pipe: a clip of 25 frames from the frame, through tarnsurf, back to PNG.
ffmpeg -v error -y -loop 1 -i frame.png -frames:v 25 -pix_fmt yuv420p -f yuv4mpegpipe "$work/clip.y4m"
echo "ffmpeg ... | tarnsurf compose - --overlay logo.png:x=24:y=24:key=000000 -o - | ffmpeg ..."
ffmpeg -v error -i "$work/clip.y4m" -f yuv4mpegpipe - |
  "$tarnsurf" compose - --overlay logo.png:x=24:y=24:key=000000 -o - |
  ffmpeg -v error -y -f yuv4mpegpipe -i - -vf "select=eq(n\,24)" -frames:v 1 example-pipe.png
echo "pictures written to $images"
