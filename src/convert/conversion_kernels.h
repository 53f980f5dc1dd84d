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
// write nothing (frame_span.h).
#pragma once

#include <cstdint>

namespace tarn {

#define TARN_PLANAR_SOURCE                                                                     \
    uint8_t *dst, int32_t dstStride, const uint8_t *srcY, const uint8_t *srcU,                \
        const uint8_t *srcV, int32_t yStride, int32_t uvStride, int32_t width, int32_t height
#define TARN_PLANAR_DESTINATION                                                                \
    uint8_t *dstY, uint8_t *dstU, uint8_t *dstV, int32_t yStride, int32_t uvStride,           \
        const uint8_t *src, int32_t srcStride, int32_t width, int32_t height
#define TARN_ONE_TO_ONE \
    uint8_t *dst, int32_t dstStride, const uint8_t *src, int32_t srcStride, int32_t width, int32_t height

// Planar 4:2:0 to RGB (planar_to_rgb.cpp). The smoothing kernels write
// nothing for heights below 4.
void ConvPlanarToRgb32SmoothPlain(TARN_PLANAR_SOURCE);
void ConvPlanarToRgb24SmoothPlain(TARN_PLANAR_SOURCE);
void ConvPlanarToRgb32SmoothMmx(TARN_PLANAR_SOURCE);
void ConvPlanarToRgb32SmoothSse2(TARN_PLANAR_SOURCE);
void ConvPlanarToRgb24Sse2(TARN_PLANAR_SOURCE);

// RGB to planar 4:2:0 (rgb_to_planar.cpp): all tiers give the same bytes.
void ConvRgb32ToPlanarPlain(TARN_PLANAR_DESTINATION);
void ConvRgb24ToPlanarPlain(TARN_PLANAR_DESTINATION);
void ConvRgb32ToPlanarMmx(TARN_PLANAR_DESTINATION);
void ConvRgb24ToPlanarMmx(TARN_PLANAR_DESTINATION);
void ConvRgb32ToPlanarSse2(TARN_PLANAR_DESTINATION);
void ConvRgb24ToPlanarSse2(TARN_PLANAR_DESTINATION);

// Planar 4:2:0 to packed 4:2:2, smoothing (planar_to_packed.cpp).
void ConvPlanarToYuy2SmoothPlain(TARN_PLANAR_SOURCE);
void ConvPlanarToYuy2SmoothMmx(TARN_PLANAR_SOURCE);
void ConvPlanarToYuy2SmoothSse2(TARN_PLANAR_SOURCE);

// Packed 4:2:2 to planar 4:2:0, smoothing (packed_to_planar.cpp).
void ConvYuy2ToPlanarSmoothPlain(TARN_PLANAR_DESTINATION);
void ConvYuy2ToPlanarSmoothMmx(TARN_PLANAR_DESTINATION);
void ConvYuy2ToPlanarSmoothSse2(TARN_PLANAR_DESTINATION);

// Packed 4:2:2 to RGB (packed_to_rgb.cpp).
void ConvYuy2ToRgb32Plain(TARN_ONE_TO_ONE);
void ConvYuy2ToRgb24Plain(TARN_ONE_TO_ONE);
void ConvYuy2ToRgb32Mmx(TARN_ONE_TO_ONE);
void ConvYuy2ToRgb24Mmx(TARN_ONE_TO_ONE);
void ConvYuy2ToRgb32Sse2(TARN_ONE_TO_ONE);
void ConvYuy2ToRgb24Sse2(TARN_ONE_TO_ONE);

// RGB to packed 4:2:2 (rgb_to_packed.cpp). The SSE2 kernels write the
// remainder pairs of each row into the source, so their source is writable.
void ConvRgb32ToYuy2Plain(TARN_ONE_TO_ONE);
void ConvRgb24ToYuy2Plain(TARN_ONE_TO_ONE);
void ConvRgb32ToYuy2Sse2(uint8_t* dst, int32_t dstStride, uint8_t* src, int32_t srcStride,
                         int32_t width, int32_t height);
void ConvRgb24ToYuy2Sse2(uint8_t* dst, int32_t dstStride, uint8_t* src, int32_t srcStride,
                         int32_t width, int32_t height);

// RGB depths (rgb_depth.cpp): one form for every tier.
void ConvRgb24ToRgb32(TARN_ONE_TO_ONE);
void ConvRgb32ToRgb24(TARN_ONE_TO_ONE);

#undef TARN_PLANAR_SOURCE
#undef TARN_PLANAR_DESTINATION
#undef TARN_ONE_TO_ONE

}  // namespace tarn
