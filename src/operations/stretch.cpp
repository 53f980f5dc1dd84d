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

void StretchInterleaved(const Picture& from, const VedRect* fromRect, const Picture& to,
                        const VedRect* toRect, bool padBorders, int32_t quality) {
    if (!to.pixels || !from.pixels) return;
    const int32_t toBytes = to.bits / 8, fromBytes = from.bits / 8;
    const FillArea d = AreaOf(toRect, to.width, to.height);
    const FillArea s = AreaOf(fromRect, from.width, from.height);
    if (d.Paintable() && s.Paintable()) {
        uint8_t* target = to.pixels + ptrdiff_t(d.top) * to.stride + ptrdiff_t(d.left) * toBytes;
        int32_t targetStride = to.stride;
        if ((to.topDown != 0) != (from.topDown != 0)) {
            target += ptrdiff_t(d.height - 1) * to.stride;
            targetStride = -to.stride;
        }
        const uint8_t* source = from.pixels + ptrdiff_t(s.top) * from.stride + ptrdiff_t(s.left) * fromBytes;
        // The whole buffers on either side, whatever the order of their rows.
        const ScaleBounds bounds{ByteSpan::OfFrame(to.pixels, to.stride, to.height),
                                 ByteSpan::OfFrame(from.pixels, from.stride, from.height)};
        ScaleImage({target, uint32_t(d.width), uint32_t(d.height), targetStride, uint32_t(toBytes)},
                   {source, uint32_t(s.width), uint32_t(s.height), from.stride, uint32_t(fromBytes)},
                   {double(s.width) / d.width, double(s.height) / d.height}, uint32_t(quality), nullptr, bounds);
    }
    if (toRect && padBorders) {
        // 8-bit targets have no row writer: their bands keep what was there.
        PaintBands(*toRect, to.width, to.height, [&](const VedRect* band) {
            FillInterleaved(to.pixels, to.width, to.height, to.stride, band, to.bits, 0);
        });
    }
}

void StretchPlanar(const Picture& from, const VedRect* fromRect, const Picture& to, const VedRect* toRect,
                   bool padBorders, int32_t quality) {
    if (!to.pixels || !from.pixels) return;
    // The two sides place their second chroma plane by different sums; they
    // agree for even sizes; for odd ones both stay inside the buffer.
    const uint8_t* fromLuma = from.pixels;
    const uint8_t* fromFirst = fromLuma + int64_t(from.height) * from.stride;
    const uint8_t* fromSecond = fromFirst + int64_t(from.height / 2) * (from.stride / 2);
    uint8_t* toLuma = to.pixels;
    uint8_t* toFirst = toLuma + int64_t(to.height) * to.stride;
    uint8_t* toSecond = toFirst + (int64_t(to.stride / 2) * to.height) / 2;

    const FillArea s = EvenAreaOf(fromRect, from.width, from.height);
    const FillArea d = EvenAreaOf(toRect, to.width, to.height);
    if (fromRect) {
        const int64_t chroma = s.left / 2 + (int64_t(s.top / 2) * from.stride) / 2;
        fromLuma += int64_t(s.top) * from.stride + s.left;
        fromFirst += chroma;
        fromSecond += chroma;
    }
    if (toRect) {
        const int64_t chroma = d.left / 2 + int64_t(d.top / 2) * (to.stride / 2);
        toLuma += int64_t(d.top) * to.stride + d.left;
        toFirst += chroma;
        toSecond += chroma;
    }
    if (s.Paintable() && d.Paintable())
        ScalePlanar({toLuma, toFirst, toSecond, d.width, d.height, to.stride},
                    {fromLuma, fromFirst, fromSecond, s.width, s.height, from.stride}, uint32_t(quality));
    if (toRect && padBorders) {
        PaintBands(*toRect, to.width, to.height, [&](const VedRect* band) {
            FillPlanar(to.pixels, to.width, to.height, to.stride, band, 0);
        });
    }
}

void StretchPacked(const Picture& from, const VedRect* fromRect, const Picture& to, const VedRect* toRect,
                   bool padBorders) {
    if (!to.pixels || !from.pixels) return;
    const FillArea s = EvenAreaOf(fromRect, from.width, from.height);
    const FillArea d = EvenAreaOf(toRect, to.width, to.height);
    const uint8_t* source = from.pixels + int64_t(s.top) * from.stride + int64_t(s.left) * 2;
    uint8_t* target = to.pixels + int64_t(d.top) * to.stride + int64_t(d.left) * 2;
    if (s.Paintable() && d.Paintable())
        ScalePacked({target, uint32_t(d.width), uint32_t(d.height), to.stride, 2},
                    {source, uint32_t(s.width), uint32_t(s.height), from.stride, 2});
    if (toRect && padBorders) {
        // FillPacked paints at the buffer's corner, so these bands land there
        // too; a fitted packed picture keeps whatever lay right of it.
        PaintBands(*toRect, to.width, to.height, [&](const VedRect* band) {
            FillPacked(to.pixels, to.width, to.height, to.stride, band, 0);
        });
    }
}

}  // namespace tarn
