// Conversions of doubles to 32-bit integers as the processor makes them:
// round to nearest, ties to even, and the "integer indefinite" value
// INT32_MIN for NaN and anything out of range, instead of undefined behaviour.
#pragma once

#include <cmath>
#include <cstdint>

namespace tarn {

inline int32_t RoundToInt32(double v) {
    const double r = std::nearbyint(v);
    if (!(r >= -2147483648.0 && r <= 2147483647.0)) return INT32_MIN;
    return static_cast<int32_t>(r);
}

}  // namespace tarn
