// Where an overlay lands on a frame and what picture the library is given for
// it. Users place overlays anywhere, partly or wholly off the frame, and in
// any size; the library composes only rectangles inside the frame, from
// surfaces at least 4x4 whose RGB width is a multiple of 4, and a masked
// overlay only in whole 2x2 blocks. The tool bridges the two: it cuts the
// picture to its visible part and pads it, never trimming what shows.
#pragma once

#include "png_io.h"

#include <optional>

namespace tarnsurf {

// The margin of fully transparent pixels around a masked overlay's picture.
// Even, so that the picture's 2x2 chroma blocks stay where they were.
inline constexpr int kMaskedMargin = 2;

// One axis of an overlay `length` pixels long at `position` on a frame axis
// of `extent` pixels (even).
struct AxisLayout {
    int cropBegin = 0, cropEnd = 0;    // the overlay's pixels kept in the canvas
    int sourceBegin = 0, sourceEnd = 0;  // the part composed, in canvas pixels
    int destBegin = 0, destEnd = 0;      // where it goes on the frame
    int canvas = 0;                      // canvas length, margins and padding included
    bool Empty() const { return destEnd <= destBegin; }
};

// Without a mask the library paints every pixel from source to destination,
// so the destination is the visible part exactly. With one (`masked`) it
// paints 2x2 blocks; a visible part of odd length is then grown by one pixel
// of the transparent margin, on the side that stays inside the frame. The
// crop starts at the frame's edge, so that the picture's chroma is taken in
// the same pairs of pixels as the frame's where it was cut.
// `canvasMultiple` is what the canvas length is rounded up to (4 across, 2
// down). Empty when the overlay misses the frame.
AxisLayout LayOutAxis(int position, int length, int extent, bool masked, int canvasMultiple);

// The picture handed to the library: `picture`'s kept part, for a masked
// overlay (4 channels) inside transparent white margins, padded to the
// canvas size. Padding without a mask repeats the edge pixels, so the chroma
// of the last pixels is not pulled towards another colour; it is never
// composed. Transparent pixels are white because the blend leaves a target
// sample exactly as it was under them as long as it is not brighter than
// the overlay's.
Image BuildCanvas(const Image& picture, const AxisLayout& across, const AxisLayout& down);

// `picture` padded at the right and bottom to `width` x `height` by repeating
// its last column and row.
Image PadByRepeating(const Image& picture, int width, int height);

// `picture` with 4 channels: its own alpha, or opaque but where a pixel is
// of the colour `key` (0xRRGGBB), which becomes transparent.
Image WithAlpha(const Image& picture, std::optional<uint32_t> key);

// The part of `picture` from column `left`, row `top`, `width` x `height`.
Image Crop(const Image& picture, int left, int top, int width, int height);

}  // namespace tarnsurf
