// DoDrawToSurface and DoDrawToBuffer: a rectangle of one picture into another.
#include "surface/tarn_surface_buffer.h"

namespace tarn {

VedResult CTarnSurfaceBuffer::DoDrawToSurface(VedRect*, ITarnSurface*, VedRect*, int32_t) {
    return VED_E_NOTSUPPORTED;  // needs the scaling engine
}

VedResult CTarnSurfaceBuffer::DoDrawToBuffer(VedRect*, VedRect*, uint8_t*, int32_t, int32_t,
                                             int32_t, int32_t) {
    return VED_E_NOTSUPPORTED;  // needs the scaling engine
}

}  // namespace tarn
