// Rows of the interpolating warp kernels for 8-bit samples in pixel order,
// linear and cubic, in each form. A row is one span: `count` target pixels
// from `dst` on, with the source position (X, Y) in 16.16 fixed point,
// stepped per column without the half-pixel bias of the nearest kernel.
//
// Linear: X and Y are clamped into the image; the 2 x 2 window starts at
// (X >> 16, Y >> 16), moved back by one at the last column or row; the
// weights are the 14-bit fractions; each row pair is blended and shifted
// right by 8, then the two rows by the y weights, rounded at bit 20.
//
// Cubic: a 4 x 4 window that starts one pixel before the position, or at
// the image's first or last four pixels near an edge; the weights of the
// Lagrange polynomial through the window's four points come from a table
// at 1/512-pixel steps; each row's sum is shifted right by 8 and kept in
// 16 bits, and the four rows are summed by the y weights, rounded at bit 20
// and clamped to 0 to 255.
//
// The forms run only rows the driver has checked: the source at least 2 x 2
// (linear) or 4 x 4 (cubic) pixels, every sample offset within 31 bits, and
// source and target apart.
#pragma once

#include <algorithm>
#include <cstdint>

namespace tarn {

struct InterpRow {
    uint8_t* dst;          // the span's first target pixel
    const uint8_t* src;    // source pixel (0, 0) at the walk's channel
    int32_t srcStep;       // bytes per source row
    int32_t width, height; // of the source image
    uint32_t x, y;         // 16.16 source position of the first pixel
    uint32_t stepX, stepY; // per target column
    int32_t count;
    // Channels of a source pixel, of a target pixel, and processed; the
    // general row reads them, the others know them.
    int32_t srcPixel, dstPixel, channels;
};

// The shapes with rows of their own; General covers every other
// (source channels, target channels, channels processed).
enum class InterpPixel : uint8_t { Gray, Rgb, Rgba, RgbOfRgba, General };

using InterpRowFn = void (*)(const InterpRow& row);
InterpRowFn PickLinearRow(InterpPixel pixel);
InterpRowFn PickCubicRow(InterpPixel pixel);

#if defined(TARN_HAVE_X86_SIMD)
// Null for General, which has only the plain row.
InterpRowFn LinearRowAvx2(InterpPixel pixel);
InterpRowFn CubicRowAvx2(InterpPixel pixel);
#endif

inline constexpr int32_t kWeightOne = 16384;  // 14-bit weights
inline constexpr int32_t kCubicSteps = 1536;  // table entries 0 to 1536 cover t from 0 to 3

// Entry i: w0(i / 512) in the low 16 bits and w1(i / 512) in the high 16
// bits, signed, times 16384 and rounded. w2 and w3 of t are w1 and w0 of
// 3 - t, entry 1536 - i.
const int32_t* CubicWeights();

// X clamped to the image, 0 to (size - 1) x 65536, kept in 31 bits for
// sizes the 16.16 format cannot reach anyway.
inline int32_t LinearLimit(int32_t size) {
    return int32_t(std::min<int64_t>(int64_t(size - 1) * 65536, INT32_MAX));
}

// The first column (or row) of the cubic window for position X.
inline int32_t CubicStart(int32_t X, int32_t size) {
    const int32_t i = X / 65536;
    if (i >= size - 2) return size - 4;
    if (X < 65536) return 0;
    return i - 1;
}

// The table entry for the offset t of X from the window's start. Only a
// position off the source (which the spans do not produce) falls outside
// 0 to 1536; it takes the nearest entry instead of reading off the table.
inline int32_t CubicIndex(int32_t X, int32_t start) {
    const int64_t t = int64_t(X) - int64_t(start) * 65536;
    return int32_t(std::clamp<int64_t>((t + 64) >> 7, 0, kCubicSteps));
}

template <int Src, int Dst, int Count>
void LinearRowPlain(const InterpRow& r) {
    const int32_t srcPixel = Src ? Src : r.srcPixel, dstPixel = Dst ? Dst : r.dstPixel;
    const int32_t n = Count ? Count : r.channels;
    const int32_t hiX = LinearLimit(r.width), hiY = LinearLimit(r.height);
    uint32_t x = r.x, y = r.y;
    uint8_t* d = r.dst;
    for (int32_t i = 0; i < r.count; ++i, d += dstPixel, x += r.stepX, y += r.stepY) {
        const int32_t X = std::clamp(int32_t(x), 0, hiX), Y = std::clamp(int32_t(y), 0, hiY);
        int32_t ix = X >> 16, iy = Y >> 16;
        if (ix > r.width - 2) --ix;
        if (iy > r.height - 2) --iy;
        const int32_t fx = (X - ix * 65536) >> 2, fy = (Y - iy * 65536) >> 2;
        const uint8_t* p = r.src + intptr_t(iy) * r.srcStep + intptr_t(ix) * srcPixel;
        const uint8_t* q = p + r.srcStep;
        for (int32_t c = n - 1; c >= 0; --c) {
            const int32_t r0 = (p[c] * (kWeightOne - fx) + p[c + srcPixel] * fx) >> 8;
            const int32_t r1 = (q[c] * (kWeightOne - fx) + q[c + srcPixel] * fx) >> 8;
            d[c] = uint8_t((r0 * (kWeightOne - fy) + r1 * fy + 0x80000) >> 20);
        }
    }
}

struct CubicTaps {
    int32_t w[4];
};

inline CubicTaps CubicTapsAt(int32_t index) {
    const int32_t* t = CubicWeights();
    const int32_t lo = t[index], hi = t[kCubicSteps - index];
    return {{int16_t(lo), lo >> 16, hi >> 16, int16_t(hi)}};
}

template <int Src, int Dst, int Count>
void CubicRowPlain(const InterpRow& r) {
    const int32_t srcPixel = Src ? Src : r.srcPixel, dstPixel = Dst ? Dst : r.dstPixel;
    const int32_t n = Count ? Count : r.channels;
    uint32_t x = r.x, y = r.y;
    uint8_t* d = r.dst;
    for (int32_t i = 0; i < r.count; ++i, d += dstPixel, x += r.stepX, y += r.stepY) {
        const int32_t X = int32_t(x), Y = int32_t(y);
        const int32_t x0 = CubicStart(X, r.width), y0 = CubicStart(Y, r.height);
        const CubicTaps wx = CubicTapsAt(CubicIndex(X, x0)), wy = CubicTapsAt(CubicIndex(Y, y0));
        const uint8_t* p = r.src + intptr_t(y0) * r.srcStep + intptr_t(x0) * srcPixel;
        for (int32_t c = n - 1; c >= 0; --c) {
            int32_t sum = 0;
            for (int j = 0; j < 4; ++j) {
                const uint8_t* s = p + intptr_t(j) * r.srcStep + c;
                const int32_t row = (s[0] * wx.w[0] + s[srcPixel] * wx.w[1] + s[2 * srcPixel] * wx.w[2] +
                                     s[3 * srcPixel] * wx.w[3]) >> 8;
                sum += int32_t(int16_t(row)) * wy.w[j];
            }
            d[c] = uint8_t(std::clamp((sum + 0x80000) >> 20, 0, 255));
        }
    }
}

}  // namespace tarn
