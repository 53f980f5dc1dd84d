// DoFill: painting a rectangle of the surface with one colour.
#include "surface/tarn_surface_buffer.h"

namespace tarn {

VedResult CTarnSurfaceBuffer::DoFill(VedRect*, uint32_t) {
    return VED_E_NOTSUPPORTED;  // the fills are not built yet
}

}  // namespace tarn
