// The rectangle a picture takes when it is fitted, with its aspect, into a
// frame of another shape: centred, the spare width or height left to the
// borders.
#pragma once

#include <cstdint>

#include "tarn/TarnSurface.h"

namespace tarn {

// The shape a picture is shown with; 0 in either part: its own width and
// height.
struct Aspect {
    int32_t x = 0;
    int32_t y = 0;
};

// The fit of a width x height picture shown with `aspect` into a target of
// targetWidth x targetHeight. Only three sides are written: the one the fit
// does not move (left or top) stays as the caller left it.
void FitRect(int32_t width, int32_t height, Aspect aspect, int32_t targetWidth,
             int32_t targetHeight, VedRect* rect);

}  // namespace tarn
