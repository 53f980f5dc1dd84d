// RefuseTransform: the place of a general transformation, of which none
// exists. It tests its arguments and answers not-supported for everything
// else.
#include "operations/transform.h"

namespace tarn {

VedResult RefuseTransform(int32_t first, double a, double c) {
    if (first == 0) return VED_E_INVALIDARG;
    if (a < 0.0) return VED_E_INVALIDARG;  // NaN passes both tests on purpose
    if (c < 0.0) return VED_E_INVALIDARG;
    return VED_E_NOTSUPPORTED;
}

}  // namespace tarn
