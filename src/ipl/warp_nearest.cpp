// Nearest-neighbour warp kernel, 8-bit samples in pixel order, 16.16 fixed
// point: the stepping of rows and spans, and the choice between the checked
// fast rows and the careful per-pixel row.
#include "ipl/warp_nearest.h"

#include <algorithm>

#include "convert/kernel_forms.h"
#include "ipl/ipl_round.h"
#include "ipl/warp_fixed.h"
#include "ipl/warp_kernels.h"

namespace tarn {

NearestRowFn PickNearestRow(NearestPixel pixel) {
    static constexpr NearestRowFn kPlain[] = {NearestRowPlain<1, 1, 1>, NearestRowPlain<3, 3, 3>,
                                              NearestRowPlain<4, 4, 4>, NearestRowPlain<4, 4, 3>};
    const NearestRowFn plain = kPlain[int(pixel)];
#if defined(TARN_HAVE_X86_SIMD)
    const FormEntry<NearestRowFn> forms[] = {{SimdForm::Avx2, NearestRowAvx2(pixel)},
                                             {SimdForm::Sse2, NearestRowSse2(pixel)},
                                             {SimdForm::Plain, plain}};
    return PickForm(forms);
#else
    return plain;
#endif
}

namespace {

constexpr uint32_t kHalf = 0x8000;  // turns the truncation of X >> 16 into rounding to the nearest pixel
constexpr int32_t kShortLimit = kShortRowLimit;

// Every pixel on its own, as the kernel is defined: coordinates saturate to
// 16 bits and the offset is their 16-bit product sum. Two departures, for
// input the definition does not cover, leave all else alone:
//  - a source row of 32768 bytes or more, which the 16-bit multiply cannot
//    reach, takes its coordinates unsaturated and its offset in full width,
//    so it reads the pixel the mapping names;
//  - a coordinate outside the source image (only a mapping the spans do not
//    keep inside, or a rounding drift over a very large image, gives one) is
//    held at the image's edge instead of being read out of bounds.
void CarefulRow(uint8_t* d, const WarpKernelArgs& k, uint32_t x, uint32_t y, uint32_t stepX, uint32_t stepY,
                int32_t count) {
    const int32_t srcPixel = k.src.imageChannels, dstPixel = k.dst.imageChannels, n = k.src.channels;
    const bool narrow = k.src.rowBytes < kShortLimit;
    for (int32_t i = 0; i < count; ++i, d += dstPixel) {
        const int32_t sx = NearestIndex(x, narrow, k.src.width), sy = NearestIndex(y, narrow, k.src.height);
        const uint8_t* s = k.srcBase + (intptr_t(sx) * srcPixel + intptr_t(sy) * k.src.rowBytes);
        for (int32_t c = n - 1; c >= 0; --c) d[c] = s[c];
        x += stepX;
        y += stepY;
    }
}

// Whether every position start + i * step, i < count, stays in [0, limit)
// after the shift, with no wrap of the 32-bit sum on the way.
bool RowInside(uint32_t start, uint32_t step, int32_t count, int32_t limit) {
    const int64_t first = int32_t(start);
    const int64_t last = first + int64_t(int32_t(step)) * (count - 1);
    if (last < INT32_MIN || last > INT32_MAX) return false;
    const int64_t lo = std::min(first, last) >> 16, hi = std::max(first, last) >> 16;
    return lo >= 0 && hi < limit;
}

int PixelCase(int32_t src, int32_t dst, int32_t n) {
    struct Case {
        int32_t src, dst, n;
        NearestPixel pixel;
    };
    static constexpr Case kCases[] = {{1, 1, 1, NearestPixel::Gray},
                                      {3, 3, 3, NearestPixel::Rgb},
                                      {4, 4, 4, NearestPixel::Rgba},
                                      {4, 4, 3, NearestPixel::RgbOfRgba}};
    for (const Case& c : kCases)
        if (c.src == src && c.dst == dst && c.n == n) return int(c.pixel);
    return -1;
}

}  // namespace

void WarpNearest8(const WarpKernelArgs& k) {
    FixedSteps steps(k.inverse, k.firstRow, kHalf);
    const int32_t srcPixel = k.src.imageChannels, dstPixel = k.dst.imageChannels;
    const intptr_t srcBytes = SourceSpanBytes(k.src);
    const intptr_t dstBytes = intptr_t(k.dst.height) * k.dst.rowBytes;
    const int pixelCase = PixelCase(srcPixel, dstPixel, k.src.channels);
    const bool fastRows = pixelCase >= 0 && k.src.rowBytes < kShortLimit && k.src.height <= kShortLimit &&
                          srcBytes >= 4 &&
                          RangesApart(k.srcBase - k.src.coiIndex, srcBytes,
                                      k.dstRow - intptr_t(k.firstRow) * k.dst.rowBytes - k.dst.coiIndex, dstBytes);
    const NearestRowFn rowFn = fastRows ? PickNearestRow(NearestPixel(pixelCase)) : nullptr;

    uint8_t* dstRow = k.dstRow;
    for (int32_t row = k.firstRow; row <= k.lastRow; ++row, steps.NextRow(), dstRow += k.dst.rowBytes) {
        const int32_t i = row - k.firstRow;
        const int32_t left = k.spanLeft[i], count = k.spanRight[i] - left + 1;
        if (count <= 0) continue;
        const uint32_t x = steps.rowX + steps.stepXx * uint32_t(left), y = steps.rowY + steps.stepYx * uint32_t(left);
        uint8_t* d = dstRow + intptr_t(left) * dstPixel;
        if (rowFn && RowInside(x, steps.stepXx, count, k.src.width) && RowInside(y, steps.stepYx, count, k.src.height))
            rowFn({d, k.srcBase, int32_t(k.src.rowBytes), x, y, steps.stepXx, steps.stepYx, count});
        else
            CarefulRow(d, k, x, y, steps.stepXx, steps.stepYx, count);
    }
}

}  // namespace tarn
