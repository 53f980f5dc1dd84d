// The row walks shared by every form of the row copies: the source flip of a
// negative height, and the smoothing walk that keeps the first and last rows
// and smooths each middle row from its neighbours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "convert/smoothing.h"

namespace tarn {
// File-local in every includer: a copy built with wider instructions must
// never stand in for another at link time.
namespace {

// A negative height walks the source from its last row upward.
inline void FlipSource(const uint8_t*& src, int32_t& srcStride, int32_t& height) {
    if (height < 0) {
        height = -height;
        src += static_cast<ptrdiff_t>(height - 1) * srcStride;
        srcStride = -srcStride;
    }
}

template <class CopyRow>
void CopyEachRow(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                 int32_t rowBytes, int32_t height, CopyRow copyRow) {
    FlipSource(src, srcStride, height);
    for (int32_t y = 0; y < height; ++y, dst += dstStride, src += srcStride)
        copyRow(dst, src, static_cast<size_t>(rowBytes));
}

// Middle rows: `block(d, above, below, centre, rowBytes)` smooths a prefix of
// the row and answers its length; the rest of the row is smoothed rounding.
template <class BlockSmooth>
void SmoothRows(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                int32_t rowBytes, int32_t height, BlockSmooth block) {
    FlipSource(src, srcStride, height);
    std::memcpy(dst, src, static_cast<size_t>(rowBytes));
    for (int32_t y = 1; y < height - 1; ++y) {
        uint8_t* d = dst + static_cast<ptrdiff_t>(y) * dstStride;
        const uint8_t* c = src + static_cast<ptrdiff_t>(y) * srcStride;
        const uint8_t* above = c - srcStride;
        const uint8_t* below = c + srcStride;
        for (int32_t x = block(d, above, below, c, rowBytes); x < rowBytes; ++x)
            d[x] = static_cast<uint8_t>(Smooth(above[x], below[x], c[x]));
    }
    if (height > 1)
        std::memcpy(dst + static_cast<ptrdiff_t>(height - 1) * dstStride,
                    src + static_cast<ptrdiff_t>(height - 1) * srcStride,
                    static_cast<size_t>(rowBytes));
}

}  // namespace
}  // namespace tarn
