// Export: the frame handed out as a platform image.
#include "surface/tarn_surface_buffer.h"

namespace tarn {

VedResult CTarnSurfaceBuffer::Export(int32_t, void**, uint32_t*) {
    return VED_E_NOTSUPPORTED;  // platform images are not made yet
}

}  // namespace tarn
