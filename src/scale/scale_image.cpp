// ScaleImage: settles the mode and hands the image to the driver of its pair
// of pixel sizes, or to the area shrink.
#include "scale/scale.h"

#include "scale/drivers.h"

namespace tarn {

void ScaleImage(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride,
                uint32_t dstChannels, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                int32_t srcStride, uint32_t srcChannels, double startX, double stepX,
                double startY, double stepY, uint32_t mode, const uint8_t* background) {
    static const uint8_t kZeroPixel[4] = {0, 0, 0, 0};
    if (!background) background = kZeroPixel;

    // Box modes only when both axes shrink by at least two.
    uint32_t m = mode;
    if (stepX < 2.0 || stepY < 2.0) {
        if (m == SCALE_BOX_FADE) m = SCALE_BILINEAR_FADE;
        if (m == SCALE_BOX) m = SCALE_BILINEAR;
    }
    // A size of one is nearest sample in every mode, area included.
    if (srcWidth == 1 || srcHeight == 1 || dstWidth == 1 || dstHeight == 1) m = SCALE_NEAREST;
    if (!srcWidth || !srcHeight || !dstWidth || !dstHeight) return;

    // The box fall-back of the area mode is not demoted above, so it can reach
    // the box kernels with a step below 2 (and a sample count of 0).
    const bool shrinks = srcWidth > dstWidth && srcHeight > dstHeight;
    const bool area = m == SCALE_AREA;
    const uint32_t pair = srcChannels * 10 + dstChannels;
    switch (pair) {
        case 11:
            if (area && shrinks)
                AreaShrinkGray(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
            else
                ScaleGray(dst, dstWidth, dstHeight, dstStride, src, srcWidth, srcHeight, srcStride,
                          startX, stepX, startY, stepY, area ? SCALE_BOX : m, background);
            break;
        case 33:
            if (area && shrinks)
                AreaShrinkRgb24(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
            else
                ScaleRgb24To24(dst, dstWidth, dstHeight, dstStride, src, srcWidth, srcHeight,
                               srcStride, startX, stepX, startY, stepY, area ? SCALE_BOX : m,
                               background);
            break;
        case 34:
            ScaleRgb24To32(dst, dstWidth, dstHeight, dstStride, src, srcWidth, srcHeight, srcStride,
                           startX, stepX, startY, stepY, m, background);
            break;
        case 43:
            ScaleRgb32To24(dst, dstWidth, dstHeight, dstStride, src, srcWidth, srcHeight, srcStride,
                           startX, stepX, startY, stepY, m, background);
            break;
        case 44:
            if (area && shrinks)
                AreaShrinkRgb32(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
            else
                ScaleRgb32To32(dst, dstWidth, dstHeight, dstStride, src, srcWidth, srcHeight,
                               srcStride, startX, stepX, startY, stepY, area ? SCALE_BOX : m,
                               background);
            break;
        default: break;
    }
}

}  // namespace tarn
