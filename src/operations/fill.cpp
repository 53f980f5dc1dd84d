// FillPicture: painting a rectangle of a picture, or all of it, with one
// colour. The rectangle is in picture coordinates; for bottom-up RGB it is
// turned into stored rows in the caller's own record.
#include "operations/fill.h"

#include "operations/fill_rect.h"
#include "platform/rect.h"

namespace tarn {

VedResult FillPicture(Picture& picture, VedRect* rect, uint32_t color) {
    if (!picture.pixels) return VED_E_INVALIDARG;
    const int32_t width = picture.width, height = picture.height;
    if (rect) {
        // Right and bottom compare as unsigned, so a negative one is far too large.
        if (rect->left < 0 || rect->top < 0 || static_cast<uint32_t>(rect->right) > static_cast<uint32_t>(width) ||
            static_cast<uint32_t>(rect->bottom) > static_cast<uint32_t>(height))
            return VED_E_INVALIDARG;
        if (rect->bottom - rect->top < 2 || rect->right - rect->left < 2) return VED_S_OK;
        if (StoredBottomUp(picture)) {
            // Flipped in place: callers have always found their record changed.
            const int32_t rows = rect->bottom - rect->top;
            rect->bottom = height - rect->top;
            rect->top = rect->bottom - rows;
        }
        // The union is taken only when it comes out empty, which a rectangle
        // that got here never gives: a partial fill leaves the content
        // rectangle alone, unlike drawing, which grows it.
        VedRect joined;
        if (!platform::UnionRect(&joined, &picture.content, rect)) picture.content = joined;
    } else {
        picture.content = WholeFrame(picture);
    }
    switch (picture.format) {
        case SURFACE_FORMAT_RGB24:
        case SURFACE_FORMAT_RGB32:
            if (!RowsFitStride(picture.bits, width, picture.stride)) return VED_E_INVALIDARG;
            FillInterleaved(picture.pixels, width, height, picture.stride, rect, picture.bits, color);
            return VED_S_OK;
        case SURFACE_FORMAT_YUV420:
            FillPlanar(picture.pixels, width, height, picture.stride, rect, color);
            return VED_S_OK;
        default:  // YUV422 and GRAY8 among them
            return VED_E_NOTSUPPORTED;
    }
}

}  // namespace tarn
