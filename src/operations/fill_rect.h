// Bounds tests shared by the fill and stretch layers.
#pragma once

#include <cstdint>

#include "tarn/TarnSurface.h"

namespace tarn {

struct FillArea {
    int32_t left, top, width, height;  // width or height <= 0: nothing to paint
    bool Paintable() const { return width > 0 && height > 0; }
};

// The area of `rect`, the whole width x height for a null one. A right or
// bottom far below the left or top is no area, not an overflow.
inline FillArea AreaOf(const VedRect* rect, int32_t width, int32_t height) {
    if (!rect) return {0, 0, width, height};
    const int64_t w = int64_t(rect->right) - rect->left, h = int64_t(rect->bottom) - rect->top;
    return {rect->left, rect->top, w > 0 ? int32_t(w) : 0, h > 0 ? int32_t(h) : 0};
}

// False when the rectangle leaves the buffer (left or top below 0, right or
// bottom beyond it); otherwise the area to paint, the whole buffer for a null
// rectangle.
inline bool TestFillRect(int32_t width, int32_t height, const VedRect* rect, FillArea* area) {
    if (rect && (rect->left < 0 || rect->top < 0 || rect->right > width || rect->bottom > height))
        return false;
    *area = AreaOf(rect, width, height);
    return true;
}

// Whether rows of `width` pixels of `bits` each fit in `stride` bytes. Hosts
// give bitsPerPixel themselves; a value that disagrees with the stride would
// make every row write run into the next, so such surfaces are refused.
inline bool RowsFitStride(int32_t bits, int64_t width, int64_t stride) {
    return bits >= 8 && int64_t(bits / 8) * width <= stride;
}

}  // namespace tarn
