// DoRotate: turning the picture by whole degrees.
#include "surface/tarn_surface_buffer.h"

namespace tarn {

VedResult CTarnSurfaceBuffer::DoRotate(int32_t) {
    return VED_E_NOTSUPPORTED;  // rotation arrives with the warp library
}

}  // namespace tarn
