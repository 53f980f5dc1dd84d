// FitRect: the picture's shape from its aspect, then centred in the target.
#include "operations/fit_rect.h"

#include <cmath>

namespace tarn {

namespace {

// Truncation toward zero; values no int32 holds (an aspect so extreme that the
// shape degenerates) are clamped instead of being undefined.
int32_t TruncateToInt(double v) {
    if (!(v == v)) return 0;
    if (v >= 2147483647.0) return INT32_MAX;
    if (v <= -2147483648.0) return INT32_MIN;
    return static_cast<int32_t>(v);
}

}  // namespace

void FitRect(int32_t width, int32_t height, Aspect aspect, int32_t targetWidth,
             int32_t targetHeight, VedRect* rect) {
    int32_t w = width;
    int32_t h = height;
    if (aspect.x > 0 && aspect.y > 0 &&
        std::fabs(double(w) / h - double(aspect.x) / aspect.y) > 0.000001) {
        if (double(w) / aspect.x > double(h) / aspect.y)
            w = static_cast<int32_t>(int64_t(aspect.x) * h / aspect.y);
        else
            h = static_cast<int32_t>(int64_t(aspect.y) * w / aspect.x);
    }
    const double ratio = double(w) / h;
    // The side not written stays as the caller left it; a resize zeroes first.
    if (!(double(targetWidth) / targetHeight > ratio)) {
        const int32_t fitHeight = TruncateToInt(targetWidth / ratio);
        rect->top = static_cast<int32_t>((int64_t(targetHeight) - fitHeight) / 2);
        rect->bottom = static_cast<int32_t>(int64_t(rect->top) + fitHeight);
        rect->right = targetWidth;
    } else {
        const int32_t fitWidth = TruncateToInt(ratio * targetHeight);
        rect->left = static_cast<int32_t>((int64_t(targetWidth) - fitWidth) / 2);
        rect->right = static_cast<int32_t>(int64_t(rect->left) + fitWidth);
        rect->bottom = targetHeight;
    }
}

}  // namespace tarn
