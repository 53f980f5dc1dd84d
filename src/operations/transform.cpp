// DoTransform: the place of a general transformation, of which none exists.
// It tests its arguments and answers not-supported for everything else.
#include "surface/tarn_surface_buffer.h"

namespace tarn {

VedResult CTarnSurfaceBuffer::DoTransform(int32_t first, int32_t, double a, double, double c,
                                          double, int32_t) {
    if (first == 0) return VED_E_INVALIDARG;
    if (a < 0.0) return VED_E_INVALIDARG;  // NaN passes both tests on purpose
    if (c < 0.0) return VED_E_INVALIDARG;
    return VED_E_NOTSUPPORTED;
}

}  // namespace tarn
