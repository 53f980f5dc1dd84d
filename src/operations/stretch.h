// The stretch layer between the surface operations and the scaling engine:
// one function for each way of storing pixels. They work out plane addresses,
// row order and steps, call the engine once, and paint border bands around a
// target rectangle. They check no sizes: callers have tested the rectangles.
#pragma once

#include <cstdint>

#include "operations/fill_rect.h"
#include "operations/picture.h"
#include "scale/scale.h"

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

// The library refuses a quality the scaler has no tables for.
inline bool ModeSuitsPixels(int32_t bits, int32_t quality, bool sideOfOne) {
    return QualitySuitsImage(static_cast<uint32_t>(quality), static_cast<uint32_t>(bits / 8), sideOfOne);
}

// Each stretches `fromRect` of `from` onto `toRect` of `to` (a null rectangle
// is the whole picture) and, with `padBorders` and a target rectangle, paints
// the bands around it black. A null pixel pointer on either side does
// nothing.

// RGB24, RGB32 and GRAY8. Pixel sizes are bits / 8; the engine itself turns
// 3-byte pixels into 4-byte ones and back. Differing row orders mirror the
// picture as a whole: this is the one place where row order is handled.
void StretchInterleaved(const Picture& from, const VedRect* fromRect, const Picture& to,
                        const VedRect* toRect, bool padBorders, int32_t quality);

// YUV420: luma, then the first and second chroma planes of half width,
// height and stride. Rectangles are cut to even sizes.
void StretchPlanar(const Picture& from, const VedRect* fromRect, const Picture& to, const VedRect* toRect,
                   bool padBorders, int32_t quality);

// YUV422, two bytes per pixel, rectangles cut to even sizes. There is no
// mode: the packed scaler has one.
void StretchPacked(const Picture& from, const VedRect* fromRect, const Picture& to, const VedRect* toRect,
                   bool padBorders);

}  // namespace tarn
