// Drawing: a rectangle of one picture stretched into a rectangle of another
// picture or of a caller's buffer. Rectangles drawn into a picture are in
// picture coordinates and are flipped for bottom-up RGB; those drawn into a
// buffer count in stored rows.
#include "operations/draw.h"

#include "platform/rect.h"

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

// Pixel sizes the engine can turn into one another: 8 to 8, and 24 or 32 to
// 24 or 32.
bool PixelSizesMeet(int32_t a, int32_t b) { return (a == 8) == (b == 8); }

}  // namespace

VedResult PrepareDraw(Picture& target, const VedRect* destRect, const Picture& source,
                      const VedRect* sourceRect, DrawAreas& areas) {
    areas = DrawAreas{};
    areas.targetLayout = LayoutOf(target.format);
    if (destRect) {
        const RectTest t = TestAgainstSurface(*destRect, uint32_t(target.width), uint32_t(target.height));
        if (t == RectTest::Bad) return VED_E_INVALIDARG;
        if (t == RectTest::Thin) return VED_S_OK;
        // Drawing only ever grows the content rectangle, whatever the union
        // answers; a fill does not (see FillPicture).
        VedRect joined{};
        platform::UnionRect(&joined, &target.content, destRect);
        target.content = joined;
        areas.dest = *destRect;
        if (StoredBottomUp(target)) FlipToStoredRows(&areas.dest, uint32_t(target.height));
        areas.hasDest = true;
    } else {
        target.content = WholeFrame(target);
    }
    if (sourceRect) {
        // Tested and flipped before the source may change format: the flipped
        // copy is applied unchanged to the converted picture.
        const RectTest t = TestAgainstSurface(*sourceRect, uint32_t(source.width), uint32_t(source.height));
        if (t == RectTest::Bad) return VED_E_INVALIDARG;
        if (t == RectTest::Thin) return VED_S_OK;
        areas.from = *sourceRect;
        if (StoredBottomUp(source)) FlipToStoredRows(&areas.from, uint32_t(source.height));
        areas.hasFrom = true;
    }
    areas.draw = true;
    return VED_S_OK;
}

bool SourceFormatFor(int32_t targetFormat, int32_t sourceFormat, SurfaceFormat* wanted) {
    if (targetFormat == SURFACE_FORMAT_YUV420 && IsRgbFormat(sourceFormat)) {
        *wanted = SURFACE_FORMAT_YUV420;
        return true;
    }
    if (IsRgbFormat(targetFormat) && sourceFormat == SURFACE_FORMAT_YUV420) {
        *wanted = SURFACE_FORMAT_RGB24;
        return true;
    }
    return false;
}

VedResult DrawPicture(const Picture& target, const DrawAreas& areas, const Picture& source, int32_t quality) {
    const PixelLayout here = areas.targetLayout;
    if (here != PixelLayout::Interleaved && here != PixelLayout::Planar) return VED_E_NOTSUPPORTED;

    // Past this point the source must suit the target and still hold what is
    // read of the rectangle (a conversion to planar trims odd sizes, and the
    // planar stretch reads the rectangle cut to even sizes); pairs that were
    // not converted and cannot be drawn are refused, never read amiss.
    if (!source.pixels) return VED_E_INVALIDARG;
    const VedRect* destArea = areas.hasDest ? &areas.dest : nullptr;
    const VedRect* fromArea = areas.hasFrom ? &areas.from : nullptr;
    if (fromArea) {
        const VedRect read = here == PixelLayout::Planar ? EvenCut(*fromArea) : *fromArea;
        if (TestAgainstSurface(read, uint32_t(source.width), uint32_t(source.height)) != RectTest::Good)
            return VED_E_INVALIDARG;
    }
    if (here == PixelLayout::Interleaved) {
        if (LayoutOf(source.format) != PixelLayout::Interleaved ||
            !ScalableInterleaved(target.bits, target.width, target.stride) ||
            !ScalableInterleaved(source.bits, source.width, source.stride) ||
            !PixelSizesMeet(target.bits, source.bits))
            return VED_E_NOTSUPPORTED;
        if (!ModeSuitsPixels(target.bits, quality, false)) return VED_E_INVALIDARG;
        StretchInterleaved(source, fromArea, target, destArea, false, quality);
        return VED_S_OK;
    }
    if (source.format != SURFACE_FORMAT_YUV420) return VED_E_NOTSUPPORTED;
    StretchPlanar(source, fromArea, target, destArea, false, quality);
    return VED_S_OK;
}

VedResult DrawPictureToBuffer(const Picture& picture, VedRect* sourceRect, VedRect* destRect,
                              uint8_t* buffer, int32_t bufferWidth, int32_t bufferHeight,
                              int32_t bufferStride, int32_t quality) {
    if (!buffer || bufferWidth < 1 || bufferHeight < 1) return VED_E_INVALIDARG;
    if (!picture.pixels) return VED_E_INVALIDARG;
    // Neither rectangle is flipped and the content rectangle is not touched.
    // The source rectangle is looked at first.
    const uint32_t width = uint32_t(picture.width), height = uint32_t(picture.height);
    const RectTest tests[2] = {
        sourceRect ? TestAgainstSurface(*sourceRect, width, height) : RectTest::Good,
        destRect ? TestAgainstBuffer(*destRect, bufferWidth, bufferHeight) : RectTest::Good,
    };
    for (RectTest t : tests) {
        if (t == RectTest::Bad) return VED_E_INVALIDARG;
        if (t == RectTest::Thin) return VED_S_OK;
    }

    const int32_t bits = picture.bits;
    Picture out = picture;  // the caller's buffer, in the picture's row order
    out.pixels = buffer;
    out.width = bufferWidth;
    out.height = bufferHeight;
    switch (LayoutOf(picture.format)) {
        case PixelLayout::Interleaved: {
            if (!ScalableInterleaved(bits, picture.width, picture.stride)) return VED_E_INVALIDARG;
            if (!ModeSuitsPixels(bits, quality, !destRect && (bufferWidth == 1 || bufferHeight == 1)))
                return VED_E_INVALIDARG;
            const int64_t stride = bufferStride < 1 ? (int64_t(bits) * bufferWidth + 31) / 32 * 4 : bufferStride;
            if (stride > INT32_MAX) return VED_E_INVALIDARG;
            out.stride = int32_t(stride);
            StretchInterleaved(picture, sourceRect, out, destRect, false, quality);
            return VED_S_OK;
        }
        case PixelLayout::Planar:
            out.stride = bufferStride < 1 ? bufferWidth : bufferStride;
            StretchPlanar(picture, sourceRect, out, destRect, false, quality);
            return VED_S_OK;
        default:  // YUV422 among them
            return VED_E_NOTSUPPORTED;
    }
}

}  // namespace tarn
