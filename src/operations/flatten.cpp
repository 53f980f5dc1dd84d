// Flatten: composition of the overlay stack onto the frame.
#include "surface/tarn_surface_buffer.h"

namespace tarn {

VedResult CTarnSurfaceBuffer::Flatten(ITarnSurface**) {
    return VED_E_NOTSUPPORTED;  // composition is not built yet
}

}  // namespace tarn
