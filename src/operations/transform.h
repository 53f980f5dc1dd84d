// The general transformation of a picture, which the library does not have.
#pragma once

#include <cstdint>

#include "tarn/TarnSurface.h"

namespace tarn {

// VED_E_INVALIDARG for a first argument of 0 or a negative a or c, else
// VED_E_NOTSUPPORTED. The other arguments of Transform are never looked at.
VedResult RefuseTransform(int32_t first, double a, double c);

}  // namespace tarn
