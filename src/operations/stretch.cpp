// The stretch layer: rectangles to plane addresses and steps, one call into
// the scaling engine, then the border bands. No work per pixel is done here
// but the band fills.
#include "operations/stretch.h"

#include <cstddef>

#include "operations/fill.h"
#include "platform/rect.h"
#include "scale/scale.h"

namespace tarn {

namespace {

// Planar and packed pictures are cut to whole pixel pairs in both directions;
// only a given rectangle is cut, never the whole picture.
FillArea EvenAreaOf(const VedRect* rect, int32_t width, int32_t height) {
    FillArea a = AreaOf(rect, width, height);
    if (rect) {
        a.width -= a.width & 1;
        a.height -= a.height & 1;
    }
    return a;
}

// The four bands around `r` inside a width x height frame, in the order they
// are painted: above (whole width), below (whole width), left and right (the
// rectangle's rows). A band with no area is not painted.
template <class Fill>
void PaintBands(const VedRect& r, int32_t width, int32_t height, Fill fill) {
    const VedRect bands[4] = {
        {0, 0, width, r.top},
        {0, r.bottom, width, height},
        {0, r.top, r.left, r.bottom},
        {r.right, r.top, width, r.bottom},
    };
    for (const VedRect& band : bands)
        if (!platform::IsRectEmpty(&band)) fill(&band);
}

}  // namespace

int32_t StretchInterleaved(uint8_t* dst, int32_t dstWidth, int32_t dstHeight,
                           const VedRect* dstRect, int32_t dstStride, int32_t dstBits,
                           uint32_t dstTopDown, const uint8_t* src, int32_t srcWidth,
                           int32_t srcHeight, const VedRect* srcRect, int32_t srcStride,
                           int32_t srcBits, uint32_t srcTopDown, int32_t padBorders,
                           int32_t quality) {
    if (!dst || !src) return 0;
    const int32_t dstBytes = dstBits / 8, srcBytes = srcBits / 8;
    const FillArea d = AreaOf(dstRect, dstWidth, dstHeight);
    const FillArea s = AreaOf(srcRect, srcWidth, srcHeight);
    if (d.Paintable() && s.Paintable()) {
        uint8_t* target = dst + ptrdiff_t(d.top) * dstStride + ptrdiff_t(d.left) * dstBytes;
        int32_t targetStride = dstStride;
        if ((dstTopDown != 0) != (srcTopDown != 0)) {
            target += ptrdiff_t(d.height - 1) * dstStride;
            targetStride = -dstStride;
        }
        const uint8_t* source = src + ptrdiff_t(s.top) * srcStride + ptrdiff_t(s.left) * srcBytes;
        // The whole buffers on either side, whatever the order of their rows.
        const ScaleBounds bounds{Span::OfFrame(dst, dstStride, dstHeight), Span::OfFrame(src, srcStride, srcHeight)};
        ScaleImage({target, uint32_t(d.width), uint32_t(d.height), targetStride, uint32_t(dstBytes)},
                   {source, uint32_t(s.width), uint32_t(s.height), srcStride, uint32_t(srcBytes)},
                   {double(s.width) / d.width, double(s.height) / d.height}, uint32_t(quality), nullptr, bounds);
    }
    if (dstRect && padBorders) {
        // 8-bit targets have no row writer: their bands keep what was there.
        PaintBands(*dstRect, dstWidth, dstHeight, [&](const VedRect* band) {
            FillInterleaved(dst, dstWidth, dstHeight, dstStride, band, dstBits, 0);
        });
    }
    return 1;
}

int32_t StretchPlanar(const uint8_t* src, int32_t srcWidth, int32_t srcHeight, int32_t srcStride,
                      const VedRect* srcRect, uint8_t* dst, int32_t dstWidth, int32_t dstHeight,
                      int32_t dstStride, const VedRect* dstRect, int32_t padBorders,
                      int32_t quality, uint32_t padColor) {
    if (!dst || !src) return 0;
    // The two sides place their second chroma plane by different sums; they
    // agree for even sizes; for odd ones both stay inside the buffer.
    const uint8_t* srcY = src;
    const uint8_t* srcU = srcY + int64_t(srcHeight) * srcStride;
    const uint8_t* srcV = srcU + int64_t(srcHeight / 2) * (srcStride / 2);
    uint8_t* dstY = dst;
    uint8_t* dstU = dstY + int64_t(dstHeight) * dstStride;
    uint8_t* dstV = dstU + (int64_t(dstStride / 2) * dstHeight) / 2;

    const FillArea s = EvenAreaOf(srcRect, srcWidth, srcHeight);
    const FillArea d = EvenAreaOf(dstRect, dstWidth, dstHeight);
    if (srcRect) {
        const int64_t chroma = s.left / 2 + (int64_t(s.top / 2) * srcStride) / 2;
        srcY += int64_t(s.top) * srcStride + s.left;
        srcU += chroma;
        srcV += chroma;
    }
    if (dstRect) {
        const int64_t chroma = d.left / 2 + int64_t(d.top / 2) * (dstStride / 2);
        dstY += int64_t(d.top) * dstStride + d.left;
        dstU += chroma;
        dstV += chroma;
    }
    if (s.Paintable() && d.Paintable())
        ScalePlanar({dstY, dstU, dstV, d.width, d.height, dstStride},
                    {srcY, srcU, srcV, s.width, s.height, srcStride}, uint32_t(quality));
    if (dstRect && padBorders) {
        PaintBands(*dstRect, dstWidth, dstHeight, [&](const VedRect* band) {
            FillPlanar(dst, dstWidth, dstHeight, dstStride, band, padColor);
        });
    }
    return 1;
}

int32_t StretchPacked(const uint8_t* src, int32_t srcWidth, int32_t srcHeight, int32_t srcStride,
                      const VedRect* srcRect, uint8_t* dst, int32_t dstWidth, int32_t dstHeight,
                      int32_t dstStride, const VedRect* dstRect, int32_t padBorders,
                      int32_t quality, uint32_t padColor) {
    (void)quality;
    if (!dst || !src) return 0;
    const FillArea s = EvenAreaOf(srcRect, srcWidth, srcHeight);
    const FillArea d = EvenAreaOf(dstRect, dstWidth, dstHeight);
    const uint8_t* source = src + int64_t(s.top) * srcStride + int64_t(s.left) * 2;
    uint8_t* target = dst + int64_t(d.top) * dstStride + int64_t(d.left) * 2;
    if (s.Paintable() && d.Paintable())
        ScalePacked({target, uint32_t(d.width), uint32_t(d.height), dstStride, 2},
                    {source, uint32_t(s.width), uint32_t(s.height), srcStride, 2});
    if (dstRect && padBorders) {
        // FillPacked paints at the buffer's corner, so these bands land there
        // too; a fitted packed picture keeps whatever lay right of it.
        PaintBands(*dstRect, dstWidth, dstHeight, [&](const VedRect* band) {
            FillPacked(dst, dstWidth, dstHeight, dstStride, band, padColor);
        });
    }
    return 1;
}

}  // namespace tarn
