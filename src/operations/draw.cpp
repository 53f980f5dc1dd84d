// DoDrawToSurface and DoDrawToBuffer: a rectangle of one picture stretched
// into a rectangle of another. Rectangles of DoDrawToSurface are in picture
// coordinates and are flipped for bottom-up RGB; those of DoDrawToBuffer count
// in stored rows.
#include "operations/stretch.h"
#include "platform/rect.h"
#include "surface/tarn_surface_buffer.h"

namespace tarn {

namespace {

enum class RectTest { Bad, Thin, Good };

// Narrower or lower than 2 is Thin: success with nothing drawn.
RectTest Classify(const VedRect& r, bool beyond) {
    if (beyond) return RectTest::Bad;
    if (int64_t(r.bottom) - r.top < 2 || int64_t(r.right) - r.left < 2) return RectTest::Thin;
    return RectTest::Good;
}

// Against a surface: right and bottom compare as unsigned, so a negative one
// is far too large.
RectTest TestAgainstSurface(const VedRect& r, uint32_t width, uint32_t height) {
    return Classify(r, r.left < 0 || r.top < 0 || static_cast<uint32_t>(r.right) > width ||
                           static_cast<uint32_t>(r.bottom) > height);
}

// Against a caller's buffer: plain signed comparison.
RectTest TestAgainstBuffer(const VedRect& r, int32_t width, int32_t height) {
    return Classify(r, r.left < 0 || r.top < 0 || r.right > width || r.bottom > height);
}

// The caller gives rectangles as the picture looks; a bottom-up buffer has
// its rows the other way.
void FlipToStoredRows(VedRect* r, uint32_t height) {
    const int32_t rows = r->bottom - r->top;
    r->bottom = static_cast<int32_t>(height) - r->top;
    r->top = r->bottom - rows;
}

// What the planar stretch reads of a rectangle: width and height cut to even.
VedRect EvenCut(const VedRect& r) {
    return {r.left, r.top, r.left + ((r.right - r.left) & ~1), r.top + ((r.bottom - r.top) & ~1)};
}

bool StoredBottomUp(const SurfaceInfo& info) { return IsRgbFormat(info.format) && info.topDown == 0; }

// Pixel sizes the engine can turn into one another: 8 to 8, and 24 or 32 to
// 24 or 32.
bool PixelSizesMeet(int32_t a, int32_t b) { return (a == 8) == (b == 8); }

}  // namespace

VedResult CTarnSurfaceBuffer::DoDrawToSurface(VedRect* destRect, ITarnSurface* source,
                                              VedRect* sourceRect, int32_t quality) {
    if (!pixels || !source) return VED_E_INVALIDARG;
    VedRect dest{}, from{};
    const VedRect* destArea = nullptr;
    const VedRect* fromArea = nullptr;
    if (destRect) {
        const RectTest t = TestAgainstSurface(*destRect, info.width, info.height);
        if (t == RectTest::Bad) return VED_E_INVALIDARG;
        if (t == RectTest::Thin) return VED_S_OK;
        // Drawing only ever grows the content rectangle, whatever the union
        // answers; a fill does not (see DoFill).
        const VedRect content = ContentRectOf(info);
        VedRect joined{};
        platform::UnionRect(&joined, &content, destRect);
        SetContentRect(info, joined);
        dest = *destRect;
        if (StoredBottomUp(info)) FlipToStoredRows(&dest, info.height);
        destArea = &dest;
    } else {
        SetContentRect(info, WholePicture(info));
    }

    SurfaceInfo fromInfo{};
    source->GetInfo(&fromInfo);
    if (sourceRect) {
        // Tested and flipped before the source may change format below: the
        // flipped copy is applied unchanged to the converted picture.
        const RectTest t = TestAgainstSurface(*sourceRect, fromInfo.width, fromInfo.height);
        if (t == RectTest::Bad) return VED_E_INVALIDARG;
        if (t == RectTest::Thin) return VED_S_OK;
        from = *sourceRect;
        if (StoredBottomUp(fromInfo)) FlipToStoredRows(&from, fromInfo.height);
        fromArea = &from;
    }

    // The source's change of format is for good. A target that cannot be
    // drawn into (packed) has no pair here, so its source keeps its format,
    // though its queue is drained below before the refusal.
    const PixelLayout here = LayoutOf(info.format);
    if (info.format == SURFACE_FORMAT_YUV420 && IsRgbFormat(fromInfo.format))
        source->SetFormat(SURFACE_FORMAT_YUV420);
    else if (IsRgbFormat(info.format) && fromInfo.format == SURFACE_FORMAT_YUV420)
        source->SetFormat(SURFACE_FORMAT_RGB24);
    uint8_t* fromPixels = nullptr;
    const VedResult got = source->GetPixels(&fromPixels);
    if (got < 0) return got;
    source->GetInfo(&fromInfo);
    if (here != PixelLayout::Interleaved && here != PixelLayout::Planar) return VED_E_NOTSUPPORTED;

    // Past this point the source must suit the target and still hold what is
    // read of the rectangle (a conversion to planar trims odd sizes, and the
    // planar stretch reads the rectangle cut to even sizes); pairs that were
    // not converted above and cannot be drawn are refused, never read amiss.
    if (!fromPixels) return VED_E_INVALIDARG;
    if (fromArea) {
        const VedRect read = here == PixelLayout::Planar ? EvenCut(*fromArea) : *fromArea;
        if (TestAgainstSurface(read, fromInfo.width, fromInfo.height) != RectTest::Good) return VED_E_INVALIDARG;
    }
    const int32_t width = static_cast<int32_t>(info.width), height = static_cast<int32_t>(info.height);
    const int32_t fromWidth = static_cast<int32_t>(fromInfo.width);
    const int32_t fromHeight = static_cast<int32_t>(fromInfo.height);
    if (here == PixelLayout::Interleaved) {
        if (LayoutOf(fromInfo.format) != PixelLayout::Interleaved ||
            !ScalableInterleaved(info.bitsPerPixel, width, info.stride) ||
            !ScalableInterleaved(fromInfo.bitsPerPixel, fromWidth, fromInfo.stride) ||
            !PixelSizesMeet(info.bitsPerPixel, fromInfo.bitsPerPixel))
            return VED_E_NOTSUPPORTED;
        if (!ModeSuitsPixels(info.bitsPerPixel, quality, false)) return VED_E_INVALIDARG;
        StretchInterleaved(pixels, width, height, destArea, info.stride, info.bitsPerPixel,
                           info.topDown, fromPixels, fromWidth, fromHeight, fromArea,
                           fromInfo.stride, fromInfo.bitsPerPixel, fromInfo.topDown, 0, quality);
        return VED_S_OK;
    }
    if (fromInfo.format != SURFACE_FORMAT_YUV420) return VED_E_NOTSUPPORTED;
    StretchPlanar(fromPixels, fromWidth, fromHeight, fromInfo.stride, fromArea, pixels, width,
                  height, info.stride, destArea, 0, quality, 0);
    return VED_S_OK;
}

VedResult CTarnSurfaceBuffer::DoDrawToBuffer(VedRect* sourceRect, VedRect* destRect,
                                             uint8_t* buffer, int32_t bufferWidth,
                                             int32_t bufferHeight, int32_t bufferStride,
                                             int32_t quality) {
    if (!buffer || bufferWidth < 1 || bufferHeight < 1) return VED_E_INVALIDARG;
    if (!pixels) return VED_E_INVALIDARG;
    // Neither rectangle is flipped and the content rectangle is not touched.
    // The source rectangle is looked at first.
    const RectTest tests[2] = {
        sourceRect ? TestAgainstSurface(*sourceRect, info.width, info.height) : RectTest::Good,
        destRect ? TestAgainstBuffer(*destRect, bufferWidth, bufferHeight) : RectTest::Good,
    };
    for (RectTest t : tests) {
        if (t == RectTest::Bad) return VED_E_INVALIDARG;
        if (t == RectTest::Thin) return VED_S_OK;
    }

    const int32_t width = static_cast<int32_t>(info.width), height = static_cast<int32_t>(info.height);
    const int32_t bits = info.bitsPerPixel;
    switch (LayoutOf(info.format)) {
        case PixelLayout::Interleaved: {
            if (!ScalableInterleaved(bits, width, info.stride)) return VED_E_INVALIDARG;
            if (!ModeSuitsPixels(bits, quality, !destRect && (bufferWidth == 1 || bufferHeight == 1)))
                return VED_E_INVALIDARG;
            const int64_t stride =
                bufferStride < 1 ? (int64_t(bits) * bufferWidth + 31) / 32 * 4 : bufferStride;
            if (stride > INT32_MAX) return VED_E_INVALIDARG;
            StretchInterleaved(buffer, bufferWidth, bufferHeight, destRect, int32_t(stride), bits,
                               info.topDown, pixels, width, height, sourceRect, info.stride, bits,
                               info.topDown, 0, quality);
            return VED_S_OK;
        }
        case PixelLayout::Planar:
            StretchPlanar(pixels, width, height, info.stride, sourceRect, buffer, bufferWidth,
                          bufferHeight, bufferStride < 1 ? bufferWidth : bufferStride, destRect, 0,
                          quality, 0);
            return VED_S_OK;
        default:  // YUV422 among them
            return VED_E_NOTSUPPORTED;
    }
}

}  // namespace tarn
