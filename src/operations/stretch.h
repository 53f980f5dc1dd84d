// The stretch layer between the surface operations and the scaling engine:
// one function for each way of storing pixels. They work out plane addresses,
// row order and steps, call the engine once, and paint border bands around a
// target rectangle. They check no sizes: callers have tested the rectangles.
//
// A null rectangle is the whole picture. Each answers 0 for a null pixel
// pointer and 1 otherwise; no caller looks at the answer.
#pragma once

#include <cstdint>

#include "operations/fill_rect.h"
#include "tarn/TarnSurface.h"

namespace tarn {

// Which stretch function serves a surface format.
enum class PixelLayout { Interleaved, Planar, Packed, Other };

inline PixelLayout LayoutOf(int32_t format) {
    switch (format) {
        case SURFACE_FORMAT_RGB24:
        case SURFACE_FORMAT_RGB32:
        case SURFACE_FORMAT_GRAY8: return PixelLayout::Interleaved;
        case SURFACE_FORMAT_YUV420: return PixelLayout::Planar;
        case SURFACE_FORMAT_YUV422: return PixelLayout::Packed;
        default: return PixelLayout::Other;
    }
}

// The scaling engine knows pixels of 1, 3 and 4 bytes; rows must hold them.
inline bool ScalableInterleaved(int32_t bits, int64_t width, int64_t stride) {
    return (bits == 8 || bits == 24 || bits == 32) && RowsFitStride(bits, width, stride);
}

// The plane-only modes (0xFF00 and above) mean nothing to the tables of 3-
// and 4-byte pixels, which stay unfilled, so the library refuses them there
// unless a side of 1 makes every mode nearest; 1-byte pixels take any mode
// above 0 and 5 as bilinear.
inline bool ModeSuitsPixels(int32_t bits, int32_t quality, bool sideOfOne) {
    return bits == 8 || sideOfOne || static_cast<uint32_t>(quality) <= SCALE_AREA;
}

// RGB24, RGB32 and GRAY8. Pixel sizes are bits / 8; the engine itself turns
// 3-byte pixels into 4-byte ones and back. Differing row orders mirror the
// picture as a whole: this is the one place where row order is handled.
int32_t StretchInterleaved(uint8_t* dst, int32_t dstWidth, int32_t dstHeight,
                           const VedRect* dstRect, int32_t dstStride, int32_t dstBits,
                           uint32_t dstTopDown, const uint8_t* src, int32_t srcWidth,
                           int32_t srcHeight, const VedRect* srcRect, int32_t srcStride,
                           int32_t srcBits, uint32_t srcTopDown, int32_t padBorders,
                           int32_t quality);

// YUV420: Y, then two chroma planes of half width, height and stride.
int32_t StretchPlanar(const uint8_t* src, int32_t srcWidth, int32_t srcHeight, int32_t srcStride,
                      const VedRect* srcRect, uint8_t* dst, int32_t dstWidth, int32_t dstHeight,
                      int32_t dstStride, const VedRect* dstRect, int32_t padBorders,
                      int32_t quality, uint32_t padColor);

// YUV422, two bytes per pixel. `quality` plays no part: the packed scaler has
// one mode.
int32_t StretchPacked(const uint8_t* src, int32_t srcWidth, int32_t srcHeight, int32_t srcStride,
                      const VedRect* srcRect, uint8_t* dst, int32_t dstWidth, int32_t dstHeight,
                      int32_t dstStride, const VedRect* dstRect, int32_t padBorders,
                      int32_t quality, uint32_t padColor);

}  // namespace tarn
