// Nearest-neighbour warp kernel, 8-bit samples in pixel order, 16.16 fixed
// point: the stepping of rows and spans, and the choice between the checked
// fast rows and the careful per-pixel row.
#include "ipl/warp_nearest.h"

#include <algorithm>
#include <iterator>

#include "ipl/ipl_round.h"
#include "ipl/warp_fixed.h"
#include "ipl/warp_kernels.h"
#include "platform/form_table.h"

namespace tarn {

NearestRowFn PickNearestRow(NearestPixel pixel) {
    static constexpr NearestRowFn kPlain[] = {NearestRowPlain<NearestPixel::Gray>, NearestRowPlain<NearestPixel::Rgb>,
                                              NearestRowPlain<NearestPixel::Rgba>,
                                              NearestRowPlain<NearestPixel::RgbOfRgba>};
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
// Tiles of the walk: 8 target rows of up to 512 pixels, turned by any angle,
// read a patch of the source that stays in cache from row to row (measured
// best among 1 to 64 rows at 1920x1080 and 30 degrees).
constexpr int32_t kTileRows = 8, kTileColumns = 512;

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
    for (int i = 0; i < int(std::size(kPixelShapes)); ++i)
        if (kPixelShapes[i].src == src && kPixelShapes[i].dst == dst && kPixelShapes[i].count == n) return i;
    return -1;
}

}  // namespace

void WarpNearest8(const WarpKernelArgs& k) {
    FixedSteps steps(k.inverse, k.firstRow, kHalf);
    const int32_t srcPixel = k.src.imageChannels, dstPixel = k.dst.imageChannels;
    const intptr_t srcBytes = SourceSpanBytes(k.src);
    const intptr_t dstBytes = intptr_t(k.dst.height) * k.dst.rowBytes;
    const int pixelCase = PixelCase(srcPixel, dstPixel, k.src.channels);
    // Both walks start at channel 0 in the pixel cases the fast rows take.
    const uint8_t* dstImage = k.dstRow - intptr_t(k.firstRow) * k.dst.rowBytes;
    const bool fastRows = pixelCase >= 0 && k.src.rowBytes < kShortLimit && k.src.height <= kShortLimit &&
                          srcBytes >= 4 && RangesApart(k.srcBase, srcBytes, dstImage, dstBytes);
    if (!fastRows) {
        // Row after row, in the order the kernel is defined: source and
        // target may share bytes here, and then the order of writes counts.
        uint8_t* dstRow = k.dstRow;
        for (int32_t row = k.firstRow; row <= k.lastRow; ++row, steps.NextRow(), dstRow += k.dst.rowBytes) {
            const int32_t i = row - k.firstRow;
            const int32_t left = k.spanLeft[i], count = k.spanRight[i] - left + 1;
            if (count > 0)
                CarefulRow(dstRow + intptr_t(left) * dstPixel, k, steps.rowX + steps.stepXx * uint32_t(left),
                           steps.rowY + steps.stepYx * uint32_t(left), steps.stepXx, steps.stepYx, count);
        }
        return;
    }
    // Source and target apart: the spans are walked in tiles of target rows
    // and columns, so that a turned picture reads a compact patch of the
    // source at a time instead of a long slant through it. Each pixel's
    // position is the same as in a walk row after row: row i's value is the
    // same sum of rounded steps, the first row's plus i stepXy modulo 2^32,
    // and a column's value is that plus stepXx times the column.
    const NearestRowFn rowFn = PickNearestRow(NearestPixel(pixelCase));
    for (int32_t top = k.firstRow; top <= k.lastRow; top += kTileRows) {
        const int32_t bottom = std::min(k.lastRow, top + (kTileRows - 1));
        int32_t from = INT32_MAX, to = INT32_MIN;
        for (int32_t row = top; row <= bottom; ++row) {
            from = std::min(from, k.spanLeft[row - k.firstRow]);
            to = std::max(to, k.spanRight[row - k.firstRow]);
        }
        for (int64_t tileLeft = from; tileLeft <= to; tileLeft += kTileColumns) {
            const int32_t tileRight = int32_t(std::min<int64_t>(to, tileLeft + kTileColumns - 1));
            for (int32_t row = top; row <= bottom; ++row) {
                const int32_t i = row - k.firstRow;
                const int32_t left = std::max(k.spanLeft[i], int32_t(tileLeft));
                const int32_t count = std::min(k.spanRight[i], tileRight) - left + 1;
                if (count <= 0) continue;
                const uint32_t x = steps.rowX + steps.stepXy * uint32_t(i) + steps.stepXx * uint32_t(left);
                const uint32_t y = steps.rowY + steps.stepYy * uint32_t(i) + steps.stepYx * uint32_t(left);
                uint8_t* d = k.dstRow + intptr_t(i) * k.dst.rowBytes + intptr_t(left) * dstPixel;
                if (RowInside(x, steps.stepXx, count, k.src.width) && RowInside(y, steps.stepYx, count, k.src.height))
                    rowFn({d, k.srcBase, int32_t(k.src.rowBytes), x, y, steps.stepXx, steps.stepYx, count});
                else
                    CarefulRow(d, k, x, y, steps.stepXx, steps.stepYx, count);
            }
        }
    }
}

}  // namespace tarn
