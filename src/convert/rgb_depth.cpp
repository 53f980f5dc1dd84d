// The two RGB depth conversions: one form for every tier. All rows and all
// columns, odd sizes included; a negative height reads the source from its
// last row up. No row ever leaves its frame, so no access is guarded.
#include "convert/conversion_kernels.h"

#include <cstddef>

namespace tarn {

namespace {

template <int SrcBpp, int DstBpp>
void ConvertDepth(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                  int32_t width, int32_t height) {
    const int32_t rows = height < 0 ? -height : height;
    ptrdiff_t step = srcStride;
    if (height < 0) {
        src += step * (rows - 1);
        step = -step;
    }
    for (int32_t r = 0; r < rows; ++r, dst += dstStride, src += step) {
        const uint8_t* s = src;
        uint8_t* d = dst;
        for (int32_t x = 0; x < width; ++x, s += SrcBpp, d += DstBpp) {
            d[0] = s[0];
            d[1] = s[1];
            d[2] = s[2];
            if constexpr (DstBpp == 4) d[3] = 0;  // the fourth byte is always 0
        }
    }
}

}  // namespace

void ConvRgb24ToRgb32(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                      int32_t width, int32_t height) {
    ConvertDepth<3, 4>(dst, dstStride, src, srcStride, width, height);
}

void ConvRgb32ToRgb24(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                      int32_t width, int32_t height) {
    ConvertDepth<4, 3>(dst, dstStride, src, srcStride, width, height);
}

}  // namespace tarn
