// Region fill: one colour into a rectangle of a buffer, for each way of
// storing pixels. The resize and rotation operations call these directly to
// paint black borders; FillPicture is the surface's.
//
// A colour is 32 bits; its low three bytes are Lo, Mid, Hi and the top byte is
// ignored. The RGB fill stores Hi, Mid, Lo in memory order; the YUV fills read
// Lo, Mid, Hi as blue, green, red. Strides are signed; sizes are in pixels.
#pragma once

#include <cstdint>

#include "operations/picture.h"

namespace tarn {

// Fills `rect` of the picture (all of it for null) with `color`. The
// rectangle is tested against the picture; one narrower or lower than 2
// paints nothing. For bottom-up RGB the caller's record is rewritten to
// stored rows. A whole fill sets the content rectangle to the frame; a
// partial one leaves it as it was.
VedResult FillPicture(Picture& picture, VedRect* rect, uint32_t color);

// The three sample values of a YUV fill. `first` goes into the chroma plane
// directly behind Y (planar), or into byte 0 of a pixel pair (packed).
struct FillSamples {
    uint8_t y;
    uint8_t first;
    uint8_t second;
};
FillSamples FillSamplesOf(uint32_t color);

// Each answers 0 for a null buffer or a rectangle that leaves the buffer, and
// 1 otherwise, also when the rectangle has no area. A null `rect` is the whole
// buffer.
int32_t FillInterleaved(uint8_t* pixels, int32_t width, int32_t height, int32_t stride,
                        const VedRect* rect, int32_t bits, uint32_t color);
int32_t FillPlanar(uint8_t* pixels, int32_t width, int32_t height, int32_t stride,
                   const VedRect* rect, uint32_t color);
// The whole-buffer FillPlanar, except the first `keep` bytes (0 to `stride`)
// of each luma row and the first `keepChroma` bytes (0 to `stride / 2`) of
// each of the `height / 2` rows of both chroma planes, which the caller
// writes next.
void FillPlanarAroundRows(uint8_t* pixels, int32_t height, int32_t stride, int32_t keep, uint32_t color,
                          int32_t keepChroma = 0);
// Paints a block of the rectangle's size at the first byte of the buffer,
// wherever the rectangle lies.
int32_t FillPacked(uint8_t* pixels, int32_t width, int32_t height, int32_t stride,
                   const VedRect* rect, uint32_t color);

// `height` rows of `width` pixels, `stride` bytes apart. Pixel sizes 2 (or its
// second code 102), 3 and 4 are painted; any other size paints nothing.
void FillPattern(uint8_t* start, int32_t stride, int32_t bytesPerPixel, int32_t width,
                 int32_t height, uint32_t pattern);

// Row writers. FillRow24 stores 4 bytes per pixel 3 bytes apart, so it sets
// the byte behind the row's last pixel to the pattern's top byte.
void FillRow32(uint8_t* row, const uint32_t* pattern, int32_t count);
void FillRow24(uint8_t* row, const uint32_t* pattern, int32_t count);
void FillRow16(uint8_t* row, const uint32_t* pattern, int32_t count);

}  // namespace tarn
