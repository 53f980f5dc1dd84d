// The colour conversion kernels that the format-conversion functions call by
// name, in their plain, MMX and SSE2 tiers.
//
// Shapes: "planar source" (dst, dstStride, srcY, srcU, srcV, yStride, uvStride,
// width, height); "planar destination" (dstY, dstU, dstV, yStride, uvStride,
// src, srcStride, width, height); "one to one" (dst, dstStride, src, srcStride,
// width, height). Sizes in pixels, strides in signed bytes. srcU/dstU is Cb and
// srcV/dstV Cr. A negative height mirrors the picture vertically: the RGB or
// packed side is walked from its last row up. Kernels check nothing.
//
// Each tier computes the arithmetic it is defined by, and the tiers differ
// where they are meant to (see colour_formulas.h and each family's file). The
// MMX tier is written in plain C++ that reproduces its arithmetic; the SSE2
// tier runs its fastest form on this processor, all forms giving equal bytes.
// Accesses that the defined walks make outside the frames given read 0 and
// write nothing (platform/byte_span.h).
#pragma once

#include <cstdint>

namespace tarn {

// Planar 4:2:0 to RGB (planar_to_rgb.cpp). The smoothing kernels write
// nothing for heights below 4.
void ConvPlanarToRgb32SmoothPlain(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                  const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                  int32_t uvStride, int32_t width, int32_t height);
void ConvPlanarToRgb24SmoothPlain(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                  const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                  int32_t uvStride, int32_t width, int32_t height);
void ConvPlanarToRgb32SmoothMmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                    const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                    int32_t uvStride, int32_t width, int32_t height);
void ConvPlanarToRgb32SmoothSse2Tier(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                     const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                     int32_t uvStride, int32_t width, int32_t height);
void ConvPlanarToRgb24Sse2Tier(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                               const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                               int32_t uvStride, int32_t width, int32_t height);

// RGB to planar 4:2:0 (rgb_to_planar.cpp): all tiers give the same bytes.
void ConvRgb32ToPlanarPlain(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                            int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                            int32_t height);
void ConvRgb24ToPlanarPlain(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                            int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                            int32_t height);
void ConvRgb32ToPlanarMmxTier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                              int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                              int32_t height);
void ConvRgb24ToPlanarMmxTier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                              int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                              int32_t height);
void ConvRgb32ToPlanarSse2Tier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                               int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                               int32_t height);
void ConvRgb24ToPlanarSse2Tier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                               int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                               int32_t height);

// Planar 4:2:0 to packed 4:2:2, smoothing (planar_to_packed.cpp).
void ConvPlanarToYuy2SmoothPlain(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                 const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                 int32_t uvStride, int32_t width, int32_t height);
void ConvPlanarToYuy2SmoothMmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                   const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                   int32_t uvStride, int32_t width, int32_t height);
void ConvPlanarToYuy2SmoothSse2Tier(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                    const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                    int32_t uvStride, int32_t width, int32_t height);

// Packed 4:2:2 to planar 4:2:0, smoothing (packed_to_planar.cpp).
void ConvYuy2ToPlanarSmoothPlain(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                                 int32_t uvStride, const uint8_t* src, int32_t srcStride,
                                 int32_t width, int32_t height);
void ConvYuy2ToPlanarSmoothMmxTier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                                   int32_t uvStride, const uint8_t* src, int32_t srcStride,
                                   int32_t width, int32_t height);
void ConvYuy2ToPlanarSmoothSse2Tier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                                    int32_t uvStride, const uint8_t* src, int32_t srcStride,
                                    int32_t width, int32_t height);

// Packed 4:2:2 to RGB (packed_to_rgb.cpp).
void ConvYuy2ToRgb32Plain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                          int32_t width, int32_t height);
void ConvYuy2ToRgb24Plain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                          int32_t width, int32_t height);
void ConvYuy2ToRgb32MmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                            int32_t width, int32_t height);
void ConvYuy2ToRgb24MmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                            int32_t width, int32_t height);
void ConvYuy2ToRgb32Sse2Tier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                             int32_t width, int32_t height);
void ConvYuy2ToRgb24Sse2Tier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                             int32_t width, int32_t height);

// RGB to packed 4:2:2 (rgb_to_packed.cpp). The SSE2 kernels write the
// remainder pairs of each row into the source, so their source is writable.
void ConvRgb32ToYuy2Plain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                          int32_t width, int32_t height);
void ConvRgb24ToYuy2Plain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                          int32_t width, int32_t height);
void ConvRgb32ToYuy2Sse2Tier(uint8_t* dst, int32_t dstStride, uint8_t* src, int32_t srcStride,
                             int32_t width, int32_t height);
void ConvRgb24ToYuy2Sse2Tier(uint8_t* dst, int32_t dstStride, uint8_t* src, int32_t srcStride,
                             int32_t width, int32_t height);

// RGB depths (rgb_depth.cpp): the same in every tier, rows in the fastest form.
void ConvRgb24ToRgb32(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                      int32_t width, int32_t height);
void ConvRgb32ToRgb24(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                      int32_t width, int32_t height);

}  // namespace tarn
