// Internal pieces of the scaling engine: the five channel drivers, the box
// shrink and the area shrink, with the row kernels that have fast forms.
#pragma once

#include <cstdint>

#include "scale/axis_table.h"

namespace tarn {

// Drivers take ScaleImage's arguments with the mode settled and a background
// that is never null.
#define TARN_SCALE_DRIVER(name)                                                               \
    void name(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride,        \
              const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,  \
              double startX, double stepX, double startY, double stepY, uint32_t mode,       \
              const uint8_t* background)
TARN_SCALE_DRIVER(ScaleGray);
TARN_SCALE_DRIVER(ScaleRgb24To24);
TARN_SCALE_DRIVER(ScaleRgb24To32);
TARN_SCALE_DRIVER(ScaleRgb32To24);
TARN_SCALE_DRIVER(ScaleRgb32To32);
#undef TARN_SCALE_DRIVER

// Band grid of a driver after its band adjustment.
struct Bands {
    uint32_t colFirst, colLast, left, middle, right;
    uint32_t rowFirst, rowLast;
    static Bands Of(uint32_t w, const AxisTable& cols, const AxisTable& rows) {
        Bands b{cols.first, cols.last, cols.first, 0, w - cols.last, rows.first, rows.last};
        if (b.left + b.right < w) b.middle = cols.last - cols.first;
        return b;
    }
};

// Area-weighted shrink, c = 1, 3, 4 bytes per pixel. Sizes must be positive;
// the result is always true.
bool AreaShrinkGray(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,
                    uint8_t*& dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride);
bool AreaShrinkRgb24(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,
                     uint8_t*& dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride);
bool AreaShrinkRgb32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,
                     uint8_t*& dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride);

// Box shrink for the four pairs of 3- and 4-byte pixels (families A to D by
// source and target size). One call per image.
void BoxShrinkRows(uint32_t srcBytes, uint32_t dstBytes, uint8_t* dst, const uint8_t* src,
                   const AxisTable& cols, const AxisTable& rows, uint32_t width, uint32_t height,
                   int32_t dstStride, int32_t maxFactor, const Bands& bands, int32_t srcStride,
                   uint32_t background, uint32_t fade);

// Row kernels with fast forms. `cw`/`co` are the column words and offsets of
// the run; `rw` the row's weight word; `below` is the source stride.
using InnerRowFn = void (*)(uint8_t* dst, const uint8_t* row, const uint32_t* cw,
                            const uint32_t* co, uint32_t len, int32_t below, uint32_t rw);
// Inner at pitch 3 or 4 with 4-byte stores, one form per (source, target).
void InnerRow33(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow34(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow43(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow44(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
InnerRowFn PickInnerRow(uint32_t srcBytes, uint32_t dstBytes);

// Single-channel Inner over a run; `weights` points into the driver's block,
// whose layout the trailing pixels depend on (they read the byte at 4 * j).
using GrayInnerFn = void (*)(uint8_t* dst, const uint8_t* row, const uint8_t* weights,
                             const uint32_t* offsets, uint32_t len, int32_t below, uint32_t rw);
void GrayInnerRow(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                  uint32_t len, int32_t below, uint32_t rw);
GrayInnerFn PickGrayInnerRow();

// Single-channel gather: dst[j] = row[offsets[j]].
void GrayGatherRow(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, uint32_t len);

}  // namespace tarn
