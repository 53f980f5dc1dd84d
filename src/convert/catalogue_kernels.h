// The conversion engines behind the kernel catalogue (kernel_catalogue.h):
// every conversion between the formats the catalogue lists, each with the
// tier's body as an argument. The catalogue turns them into one function per
// entry; the kernels the format-conversion functions call by name
// (conversion_kernels.h) run on the same engines.
//
// How the tiers differ, for the families below:
// - Conversions that are a kernel of conversion_kernels.h in another packed
//   order or RGB packing keep that kernel's arithmetic and walk in every tier,
//   odd widths and the MMX body's overrun included.
// - YUV to RGB: the plain body uses the table form; the block columns of the
//   MMX (8 pixels) and SSE2 (16 pixels) bodies the vector form, the
//   remainder the table form. Semi-planar sources take the table form in
//   every tier.
// - Smoothing: the MMX body truncates in its block columns; every other body
//   (and every remainder column) rounds. Pavg is the MMX body with rounding.
//   The average of two rows without smoothing rounds in every body.
// - Copies, byte reorders, 16-bit packing and RGB to YUV give the same bytes
//   in every tier; they run the fastest form the processor has.
//
// Shapes and sign conventions are those of conversion_kernels.h. Families new
// to the catalogue (reorders, 16-bit RGB, plane copies, semi-planar) walk
// every row from its own start: no row moves left with an odd width.
#pragma once

#include <cstdint>

#include "convert/pixel_layouts.h"
#include "convert/yuv_rows.h"

namespace tarn {

// A row copy: `rowBytes` of each of |height| rows; a negative height reads
// the source from its last row up (fast_copy.h).
using RowCopyKernel = void (*)(uint8_t* dst, int32_t dstStride, const uint8_t* src,
                               int32_t srcStride, int32_t rowBytes, int32_t height);
using OneToOneKernel = void (*)(uint8_t* dst, int32_t dstStride, const uint8_t* src,
                                int32_t srcStride, int32_t width, int32_t height);

// Planar 4:2:0 to packed 4:2:2 in any order (planar_to_packed.cpp). With
// smoothing as ConvPlanarToYuy2Smooth* (heights below 4 write nothing);
// without, rows in pairs with luma and chroma as stored, one chroma row for
// both rows of a pair.
void PlanarToPacked(TierBody body, bool smooth, PackedOrder order, uint8_t* dst, int32_t dstStride,
                    const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                    int32_t uvStride, int32_t width, int32_t height);

// Packed 4:2:2 in any order to planar 4:2:0 (packed_to_planar.cpp). With
// smoothing as ConvYuy2ToPlanarSmooth*; without, luma as stored and chroma
// r(row 2k, row 2k + 1) in every body.
void PackedToPlanar(TierBody body, bool smooth, PackedOrder order, uint8_t* dstY, uint8_t* dstU,
                    uint8_t* dstV, int32_t yStride, int32_t uvStride, const uint8_t* src,
                    int32_t srcStride, int32_t width, int32_t height);
// The same for a destination whose bytes below `overwritten` are written
// over afterwards: a row pair that writes only there is left out, and one
// whose luma rows lie there may write its chroma alone. Every byte from
// `overwritten` on is what the whole conversion writes there.
//
// Given `halved` rows, row pair k also writes source row 2k halved across
// (HalvePackedRow) to row k of them, after its own bytes, while the row is
// at hand: the rows of a packed resize to half size both ways. Answers
// whether it did (smoothed rows in the Yuy2 order of an even width, read
// downwards); where it answers false nothing of them is written.
struct HalvedRows {
    uint8_t* rows = nullptr;
    int32_t stride = 0;
};
bool PackedToPlanar(TierBody body, bool smooth, PackedOrder order, uint8_t* dstY, uint8_t* dstU,
                    uint8_t* dstV, int32_t yStride, int32_t uvStride, const uint8_t* src,
                    int32_t srcStride, int32_t width, int32_t height, const uint8_t* overwritten,
                    HalvedRows halved = {});

// Packed 4:2:2 in any order to Rgb32, Rgb24, Rgb565 or Rgb555
// (packed_to_rgb.cpp), as ConvYuy2ToRgb*.
void PackedToRgb(TierBody body, PackedOrder order, RgbKind out, uint8_t* dst, int32_t dstStride,
                 const uint8_t* src, int32_t srcStride, int32_t width, int32_t height);

// Rgb32, Rgb24, Rgb565 or Rgb555 to packed 4:2:2 in any order, the
// arithmetic of ConvRgb32ToYuy2Plain (rgb_to_packed.cpp).
void RgbToPacked(RgbKind in, PackedOrder order, uint8_t* dst, int32_t dstStride,
                 const uint8_t* src, int32_t srcStride, int32_t width, int32_t height);

// Rgb565 or Rgb555 to planar 4:2:0 on the expanded channels, as
// ConvRgb32ToPlanarPlain (rgb_to_planar.cpp).
void Rgb16ToPlanar(RgbKind in, uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                   int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                   int32_t height);

// Planar 4:2:0 to any RGB kind (planar_to_rgb.cpp). With smoothing as
// ConvPlanarToRgb32Smooth*; without, rows in pairs with luma and chroma as
// stored. `threshold` serves Rgb32Keyed only: the fourth byte is 255 where
// the stored luma is above it, or everywhere when it is above 255.
void PlanarToRgb(TierBody body, bool smooth, RgbKind out, int32_t threshold, uint8_t* dst,
                 int32_t dstStride, const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV,
                 int32_t yStride, int32_t uvStride, int32_t width, int32_t height);

// Packed 4:2:2 from one order to another, width >> 1 pairs of every row
// (packed_reorder.cpp). With smoothing each middle row is first smoothed with
// its neighbours as the row copies of the body do it.
void ReorderPacked(TierBody body, bool smooth, PackedOrder from, PackedOrder to, uint8_t* dst,
                   int32_t dstStride, const uint8_t* src, int32_t srcStride, int32_t width,
                   int32_t height);

// Among the RGB kinds Rgb32, Rgb24, Rgb565 and Rgb555 (rgb16.cpp): 16-bit
// packing and expansion as pixel_layouts.h, a fourth byte of 0.
void ConvertRgbPixels(RgbKind from, RgbKind to, uint8_t* dst, int32_t dstStride,
                      const uint8_t* src, int32_t srcStride, int32_t width, int32_t height);

// Planar 4:2:0 into one buffer (planar_copy.cpp): Y, then the Cb plane at
// dstStride x |height| and the Cr plane at 5/4 of that (exchanged when
// `swap`), chroma stride dstStride / 2, each plane by `copy`. A smoothing
// copy needs a height of 4 or more and writes nothing below.
void CopyPlanes(RowCopyKernel copy, bool smooth, bool swap, uint8_t* dst, int32_t dstStride,
                const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                int32_t uvStride, int32_t width, int32_t height);

// A picture copied as it is, `bytesPerPixel` x width bytes a row
// (planar_copy.cpp). A height of 0 writes nothing.
void CopyPixelRows(RowCopyKernel copy, int bytesPerPixel, uint8_t* dst, int32_t dstStride,
                   const uint8_t* src, int32_t srcStride, int32_t width, int32_t height);

// Planar 4:2:0 to semi-planar (planar_to_semi_planar.cpp): Y by `copy`,
// then Cb, Cr byte pairs in a plane at row (|height| + 15) & ~15 of the
// destination stride, chroma sample i at bytes 2i and 2i + 1 for i from
// width / 2 down to 1 (bytes 0 and 1 of each chroma row stay as they were).
// The chroma rows go through `copy` too, so a smoothing copy smooths them.
void PlanarToSemiPlanar(RowCopyKernel copy, bool smooth, uint8_t* dst, int32_t dstStride,
                        const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV,
                        int32_t yStride, int32_t uvStride, int32_t width, int32_t height);

// Semi-planar to Rgb24 (semi_planar_to_rgb.cpp): a Y plane, then Cb, Cr byte
// pairs (sample i at bytes 2i, 2i + 1) from row |height| of the source, in
// 2 x 2 blocks by the table form, whatever the body. `field`: both planes have their height rounded up to a
// multiple of 32 and hold the even rows of the frame in their upper half and
// the odd rows in the lower one.
void SemiPlanarToRgb24(TierBody body, bool field, uint8_t* dst, int32_t dstStride, const uint8_t* src,
                       int32_t srcStride, int32_t width, int32_t height);

// A packed picture smoothed as `smooth` (a smoothing row copy) smooths it,
// over the width x 2 bytes of each row, then converted by `convert`
// (packed_smoothed.cpp). Bytes between the rows stay as stored.
void SmoothPackedThen(RowCopyKernel smooth, OneToOneKernel convert, uint8_t* dst,
                      int32_t dstStride, const uint8_t* src, int32_t srcStride, int32_t width,
                      int32_t height);

}  // namespace tarn
