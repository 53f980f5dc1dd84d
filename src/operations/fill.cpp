// DoFill: painting a rectangle of the surface, or all of it, with one colour.
// The rectangle is in picture coordinates; for bottom-up RGB it is turned
// into stored rows in the caller's own record.
#include "operations/fill.h"

#include "operations/fill_rect.h"
#include "platform/rect.h"
#include "surface/tarn_surface_buffer.h"

namespace tarn {

VedResult CTarnSurfaceBuffer::DoFill(VedRect* rect, uint32_t color) {
    if (!pixels) return VED_E_INVALIDARG;
    const int32_t width = static_cast<int32_t>(info.width);
    const int32_t height = static_cast<int32_t>(info.height);
    if (rect) {
        // Right and bottom compare as unsigned, so a negative one is far too large.
        if (rect->left < 0 || rect->top < 0 || static_cast<uint32_t>(rect->right) > info.width ||
            static_cast<uint32_t>(rect->bottom) > info.height)
            return VED_E_INVALIDARG;
        if (rect->bottom - rect->top < 2 || rect->right - rect->left < 2) return VED_S_OK;
        if (IsRgbFormat(info.format) && info.topDown == 0) {
            // Flipped in place: callers have always found their record changed.
            const int32_t rows = rect->bottom - rect->top;
            rect->bottom = height - rect->top;
            rect->top = rect->bottom - rows;
        }
        // The union is taken only when it comes out empty, which a rectangle
        // that got here never gives: a partial fill leaves the content
        // rectangle alone, unlike drawing, which grows it.
        const VedRect content = ContentRectOf(info);
        VedRect joined;
        if (!platform::UnionRect(&joined, &content, rect)) SetContentRect(info, joined);
    } else {
        SetContentRect(info, WholePicture(info));
    }
    switch (info.format) {
        case SURFACE_FORMAT_RGB24:
        case SURFACE_FORMAT_RGB32:
            if (!RowsFitStride(info.bitsPerPixel, width, info.stride)) return VED_E_INVALIDARG;
            FillInterleaved(pixels, width, height, info.stride, rect, info.bitsPerPixel, color);
            return VED_S_OK;
        case SURFACE_FORMAT_YUV420:
            FillPlanar(pixels, width, height, info.stride, rect, color);
            return VED_S_OK;
        default:  // YUV422 and GRAY8 among them
            return VED_E_NOTSUPPORTED;
    }
}

}  // namespace tarn
