// Area-weighted shrink: each source pixel weighs by how much of it lies under
// a target pixel, on both axes, in single-precision floats. One sweep over
// the source rows; a row that a target row's lower edge cuts is split
// between the two target rows. Values named float are rounded to single
// precision where they are stored, and that rounding is part of the result.
#include <cmath>
#include <cstring>
#include <vector>

#include "scale/planar_scale.h"

namespace tarn {
namespace {

uint8_t ByteOf(double v) { return static_cast<uint8_t>(static_cast<int32_t>(v)); }

bool AreaShrink(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,
                uint8_t*& dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride, uint32_t c) {
    if (dstWidth == srcWidth && dstHeight == srcHeight) {
        // One block, row padding included.
        const int64_t bytes = int64_t(srcHeight) * srcStride;
        if (bytes > 0) std::memcpy(dst, src, size_t(bytes));
        return true;
    }
    const float rx = static_cast<float>(double(srcWidth) / double(dstWidth));
    const float ry = static_cast<float>(double(srcHeight) / double(dstHeight));
    const float scale = static_cast<float>(1.0 / (double(ry) * double(rx)));

    // Horizontal coefficients: the partial sample at each edge and the whole
    // ones between; a right-edge part of 0.001 or less is dropped.
    std::vector<AreaCoefficient> list;
    list.reserve(size_t(dstWidth) * (size_t(rx) + 3));
    for (uint32_t x = 0; x < dstWidth; ++x) {
        const float x1 = static_cast<float>(double(x) * rx);
        const float x2 = static_cast<float>(rx + x1);
        const int32_t lo = static_cast<int32_t>(static_cast<float>(std::ceil(x1)));
        const int32_t hi = static_cast<int32_t>(static_cast<float>(std::floor(x2)));
        auto add = [&](int32_t sample, float weight) {
            list.push_back({uint32_t(sample) * c, x * c, weight});
        };
        if (x1 < static_cast<float>(lo)) add(lo - 1, (static_cast<float>(lo) - x1) * scale);
        for (int32_t k = lo; k < hi; ++k) add(k, scale);
        const float d = x2 - static_cast<float>(hi);
        if (d > 0.001) add(hi, scale * d);
    }
    const size_t n = size_t(dstWidth) * c + 4;
    std::vector<float> current(n, 0.0f), carry(n, 0.0f);
    return AreaAccumulate(src, srcStride, srcWidth, srcHeight, dst, dstStride, dstWidth, dstHeight, c,
                          list.data(), uint32_t(list.size()), current.data(), carry.data());
}

}  // namespace

bool AreaAccumulate(const uint8_t* src, int32_t srcStride, uint32_t /*srcWidth*/, uint32_t srcHeight,
                    uint8_t*& dst, int32_t dstStride, uint32_t dstWidth, uint32_t dstHeight, uint32_t c,
                    const AreaCoefficient* list, uint32_t count, float* current, float* carry) {
    const float ry = static_cast<float>(double(srcHeight) / double(dstHeight));
    const uint32_t total = dstWidth * c;
    uint32_t t = 1;
    for (uint32_t y = 0; y < srcHeight; ++y) {
        const uint8_t* row = src + intptr_t(y) * srcStride;
        for (uint32_t i = 0; i < count; ++i) {
            const AreaCoefficient& k = list[i];
            for (uint32_t ch = 0; ch < c; ++ch)
                current[k.targetIndex + ch] += row[k.sourceOffset + ch] * k.weight;
        }
        const double boundary = double(t) * ry;
        const float next = static_cast<float>(y + 1);
        // The last source row always ends a target row, so rounding in the
        // boundary cannot lose the last one.
        if (next >= boundary || y + 1 == srcHeight) {
            float f = static_cast<float>(next - boundary);
            if (!(f > 0)) f = 0;
            if (std::fabs(f) < 0.001) {
                for (uint32_t i = 0; i < total; ++i) {
                    dst[i] = ByteOf(current[i] + carry[i] + 0.5);
                    current[i] = carry[i] = 0;
                }
            } else {
                const float g = static_cast<float>(1.0 - f);
                for (uint32_t i = 0; i < total; ++i) {
                    dst[i] = ByteOf(current[i] * g + carry[i] + 0.5);
                    carry[i] = current[i] * f;
                    current[i] = 0;
                }
            }
            dst += dstStride;
            ++t;
        } else {
            for (uint32_t i = 0; i < total; ++i) {
                carry[i] += current[i];
                current[i] = 0;
            }
        }
    }
    return true;
}

bool AreaShrinkGray(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,
                    uint8_t*& dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride) {
    return AreaShrink(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, 1);
}
bool AreaShrinkRgb24(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,
                     uint8_t*& dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride) {
    return AreaShrink(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, 3);
}
bool AreaShrinkRgb32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,
                     uint8_t*& dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride) {
    return AreaShrink(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, 4);
}

}  // namespace tarn
