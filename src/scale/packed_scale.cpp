// ScalePacked: a 4:2:2 picture taken as pairs of bytes, each byte of a pair
// scaled as a channel of its own, bilinear in floating point with no
// half-pixel offset. Horizontal interpolation mixes the chroma of
// neighbouring pairs; that is how the format is scaled here.
#include "scale/packed_scale.h"

#include <algorithm>

#include "platform/byte_span.h"
#include "platform/form_table.h"

namespace tarn {
namespace {

// The pair at (x, y), both clamped into the image.
void FetchPackedSample(const uint8_t* base, int32_t x, int32_t y, int32_t width, int32_t height,
                       int32_t stride, uint8_t* first, uint8_t* second) {
    if (y < 0) y = 0;
    if (y >= height) y = height - 1;
    if (x < 0) x = 0;
    if (x >= width) x = width - 1;
    const uint8_t* p = base + intptr_t(y) * stride + 2 * intptr_t(x);
    *first = p[0];
    *second = p[1];
}

}  // namespace

void ScalePackedPlain(const ScaleTarget& target, const ScaleSource& source) {
    const uint8_t* src = source.pixels;
    uint8_t* dst = target.pixels;
    const int32_t srcWidth = int32_t(source.width), srcHeight = int32_t(source.height), srcStride = source.stride;
    const int32_t dstWidth = int32_t(target.width), dstHeight = int32_t(target.height), dstStride = target.stride;
    const float sx = static_cast<float>(double(srcWidth) / double(dstWidth));
    const float sy = static_cast<float>(double(srcHeight) / double(dstHeight));
    for (int32_t y = 0; y < dstHeight; ++y) {
        const float fy = static_cast<float>(double(y) * sy);
        const int32_t iy = static_cast<int32_t>(fy);
        const float dy = fy - static_cast<float>(iy);
        uint8_t* d = dst + intptr_t(y) * dstStride;
        for (int32_t x = 0; x < dstWidth; ++x) {
            const float fx = static_cast<float>(double(x) * sx);
            const int32_t ix = static_cast<int32_t>(fx);
            const float dx = fx - static_cast<float>(ix);
            uint8_t s[4][2];
            FetchPackedSample(src, ix, iy, srcWidth, srcHeight, srcStride, &s[0][0], &s[0][1]);
            FetchPackedSample(src, ix + 1, iy, srcWidth, srcHeight, srcStride, &s[1][0], &s[1][1]);
            FetchPackedSample(src, ix, iy + 1, srcWidth, srcHeight, srcStride, &s[2][0], &s[2][1]);
            FetchPackedSample(src, ix + 1, iy + 1, srcWidth, srcHeight, srcStride, &s[3][0], &s[3][1]);
            for (int b = 0; b < 2; ++b) {
                const int32_t a = s[0][b], bb = s[1][b], c = s[2][b], dd = s[3][b];
                const float top = static_cast<float>(a - (a - bb) * double(dx));
                const double bottom = c - (c - dd) * double(dx);
                const double value = top - (top - bottom) * double(dy);
                d[2 * x + b] = static_cast<uint8_t>(static_cast<int32_t>(value));
            }
        }
    }
}

float PackedStep(uint32_t sourceSide, uint32_t targetSide) {
    return static_cast<float>(double(sourceSide) / double(targetSide));
}

PackedColumns PlanPackedColumns(int32_t srcWidth, int32_t dstWidth) {
    const float sx = PackedStep(uint32_t(srcWidth), uint32_t(dstWidth));
    const size_t n = 2 * size_t(dstWidth);
    PackedColumns c{std::vector<int32_t>(n), std::vector<int32_t>(n), std::vector<float>(n)};
    for (int32_t x = 0; x < dstWidth; ++x) {
        const float fx = static_cast<float>(double(x) * sx);
        const int32_t ix = static_cast<int32_t>(fx);
        const float dx = fx - static_cast<float>(ix);
        const int32_t x0 = std::clamp(ix, 0, srcWidth - 1), x1 = std::clamp(ix + 1, 0, srcWidth - 1);
        for (int32_t b = 0; b < 2; ++b) {
            const size_t i = 2 * size_t(x) + size_t(b);
            c.off0[i] = 2 * x0 + b;
            c.off1[i] = 2 * x1 + b;
            c.dx[i] = dx;
        }
    }
    return c;
}

PackedWindows PlanPackedWindows(const PackedColumns& columns, int32_t rowBytes, int32_t perBlock) {
    const std::vector<int32_t>&off0 = columns.off0, &off1 = columns.off1;
    const size_t blocks = off0.size() / size_t(perBlock), lane = size_t(16 / perBlock);
    PackedWindows w{std::vector<int32_t>(blocks, -1), std::vector<uint8_t>(blocks * 16, 0x80),
                    std::vector<uint8_t>(blocks * 16, 0x80)};
    for (size_t k = 0; k < blocks && rowBytes >= 16; ++k) {
        const size_t first = k * size_t(perBlock), end = first + size_t(perBlock);
        int32_t lo = off0[first], hi = lo;
        for (size_t i = first; i < end; ++i) {
            lo = std::min({lo, off0[i], off1[i]});
            hi = std::max({hi, off0[i], off1[i]});
        }
        const int32_t base = std::min(lo, rowBytes - 16);
        if (hi - base >= 16) continue;
        w.base[k] = base;
        for (size_t i = first; i < end; ++i) {
            w.pickA[16 * k + lane * (i - first)] = uint8_t(off0[i] - base);
            w.pickB[16 * k + lane * (i - first)] = uint8_t(off1[i] - base);
        }
    }
    return w;
}

PackedRow PackedRowAt(int32_t y, float sy, int32_t lastRow) {
    const float fy = static_cast<float>(double(y) * sy);
    const int32_t iy = static_cast<int32_t>(fy);
    return {std::clamp(iy, 0, lastRow), std::clamp(iy + 1, 0, lastRow), fy - static_cast<float>(iy)};
}

namespace {

ScalePackedFn PickScalePacked() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<ScalePackedFn> t[] = {{SimdForm::Avx512, ScalePackedAvx512},
                                                 {SimdForm::Avx2, ScalePackedAvx2},
                                                 {SimdForm::Plain, ScalePackedPlain}};
    return PickForm(t);
#else
    return ScalePackedPlain;
#endif
}

}  // namespace

// The fast form blends each source row once for the target rows that use
// it, so it runs only where writing the target cannot change the source.
void ScalePacked(const ScaleTarget& target, const ScaleSource& source) {
    if (!source.width || !source.height || !target.width || !target.height) return ScalePackedPlain(target, source);
    const ByteSpan read =
        ByteSpan::OfRows(source.pixels, source.stride, int32_t(source.height), 2 * size_t(source.width));
    const ByteSpan written =
        ByteSpan::OfRows(target.pixels, target.stride, int32_t(target.height), 2 * size_t(target.width));
    (written.ApartFrom(read) ? PickScalePacked() : ScalePackedPlain)(target, source);
}

}  // namespace tarn
