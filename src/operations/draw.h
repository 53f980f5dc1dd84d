// Drawing: a rectangle of one picture stretched into a rectangle of another
// picture, or of a buffer of the caller.
#pragma once

#include <cstdint>

#include "operations/picture.h"
#include "operations/stretch.h"

namespace tarn {

// The rectangles of a drawing between pictures, in stored rows, and the
// layout of the target when they were tested.
struct DrawAreas {
    bool draw = false;  // false: refused, or a rectangle too thin to draw
    bool hasDest = false, hasFrom = false;
    VedRect dest{}, from{};
    PixelLayout targetLayout = PixelLayout::Other;
};

// Drawing between pictures goes in three steps, for the source may have to
// change its format between them (its surface does that, for good):
// 1. PrepareDraw tests the rectangles, the target's against the target and
//    the source's against the source as it is now (a null one is the whole
//    picture), turns them into stored rows and grows the target's content
//    rectangle (to the whole frame without a target rectangle). A rectangle
//    narrower or lower than 2 succeeds with nothing to draw.
VedResult PrepareDraw(Picture& target, const VedRect* destRect, const Picture& source,
                      const VedRect* sourceRect, DrawAreas& areas);
// 2. The format the source must take first, if any: YUV420 for RGB drawn
//    into planar, RGB24 for planar drawn into RGB.
bool SourceFormatFor(int32_t targetFormat, int32_t sourceFormat, SurfaceFormat* wanted);
// 3. DrawPicture stretches the source, as it is after that, into the target.
//    Pairs the engine cannot draw are refused.
VedResult DrawPicture(const Picture& target, const DrawAreas& areas, const Picture& source,
                      int32_t quality);

// A rectangle of the picture stretched into a rectangle of the caller's
// buffer. Neither rectangle is flipped; the source rectangle is tested
// first. A stride below 1 is worked out from the buffer's width.
VedResult DrawPictureToBuffer(const Picture& picture, VedRect* sourceRect, VedRect* destRect,
                              uint8_t* buffer, int32_t bufferWidth, int32_t bufferHeight,
                              int32_t bufferStride, int32_t quality);

}  // namespace tarn
