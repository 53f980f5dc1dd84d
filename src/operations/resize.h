// Resizing a picture: to a new size, optionally fitted with its aspect into
// the new frame with black borders.
#pragma once

#include <cstdint>

#include "operations/fit_rect.h"
#include "operations/picture.h"
#include "operations/pixel_memory.h"

namespace tarn {

struct ResizeRequest {
    int32_t width;
    int32_t height;
    int32_t keepAspect;  // non-zero: fitted with `aspect` into width x height
    int32_t quality;     // the scaling mode
    // Sent to a destination: the packed rows the scaler would store there
    // are there already (the planar first step of an exact halving wrote
    // them, DirectPackedHalving), so only the paint around them is left.
    bool rowsInPlace = false;
};

// Without a destination the resized picture is a new buffer in `made`, and
// `picture` and `aspect` describe it (new size and stride, aspect cleared)
// for the surface to install. With one it goes into the caller's memory and
// the picture keeps its buffer. Either way the content rectangle is set before
// anything can fail and stays set whatever the answer. A resize to the same
// size without an aspect succeeds with nothing made (copied to a destination
// as it is).
VedResult ResizePicture(Picture& picture, Aspect& aspect, const ResizeRequest& request,
                        const Destination* to, PendingPixels& made);

// How many bytes from the start of the caller's buffer ResizePicture, sent
// to `to`, is sure to write over whatever lay there: where it gets past its
// checks to the black paint, the luma block (which the paint and the packed
// rows stored after it cover whole) and the chroma planes behind it as far
// as the paint covers them without a gap. Only packed pictures with a
// positive stride are answered; anything else is 0.
int64_t DirectResizeCovered(const Picture& picture, const Aspect& aspect, const ResizeRequest& request,
                            const Destination& to);

// Whether ResizePicture, sent to `to`, scales this packed picture to exactly
// half its size both ways into whole rows the paint goes around: then target
// row k is source row 2k halved across (every second pair), row k at k x
// stride, rows apart from each other.
bool DirectPackedHalving(const Picture& picture, const Aspect& aspect, const ResizeRequest& request,
                         const Destination& to);

}  // namespace tarn
