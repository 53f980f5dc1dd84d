// DoResize: a new size for the surface, optionally fitted with black borders.
#include "surface/tarn_surface_buffer.h"

namespace tarn {

VedResult CTarnSurfaceBuffer::DoResize(int32_t width, int32_t height, int32_t keepAspect,
                                       int32_t quality) {
    (void)keepAspect;
    (void)quality;
    if (!pixels) return VED_E_INVALIDARG;
    if (static_cast<uint32_t>(width) == info.width && static_cast<uint32_t>(height) == info.height &&
        aspectX == 0 && aspectY == 0) {
        if (directOutput) CopyPixelsOut(directBuffer, directStride, directTopDown);
        return VED_S_OK;
    }
    return VED_E_NOTSUPPORTED;  // scaling is not built yet
}

}  // namespace tarn
