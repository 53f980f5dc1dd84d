// The averages shared by the conversion kernels and the smoothing row copies.
//
// Rounding forms are what the plain and SSE2 tiers compute; the truncating
// forms belong to the MMX tier, which halves before adding and so never
// rounds up. The two differ by up to 1 per averaging step.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

// r(a, b): rounding average of two.
constexpr uint32_t RoundAvg(uint32_t a, uint32_t b) { return (a + b + 1) >> 1; }
// m(a, b): truncating average of two.
constexpr uint32_t TruncAvg(uint32_t a, uint32_t b) { return (a >> 1) + (b >> 1); }
// s(a, b, c): neighbours a and b averaged, then with the centre c, rounding.
constexpr uint32_t Smooth(uint32_t a, uint32_t b, uint32_t c) {
    return (((a + b + 1) >> 1) + c + 1) >> 1;
}
// t(a, b, c): the truncating smoothing; each addition saturates at 255 (which
// halved operands can never reach, but the rule is kept visible).
constexpr uint32_t SatAdd8(uint32_t a, uint32_t b) { return a + b > 255 ? 255 : a + b; }
constexpr uint32_t SmoothTrunc(uint32_t a, uint32_t b, uint32_t c) {
    return SatAdd8(SatAdd8(a >> 1, b >> 1) >> 1, c >> 1);
}

// Whole rows of the truncating forms, for the MMX tier's block columns.
inline void SmoothTruncRow(uint8_t* out, const uint8_t* a, const uint8_t* b, const uint8_t* c, size_t n) {
    for (size_t i = 0; i < n; ++i) out[i] = static_cast<uint8_t>(SmoothTrunc(a[i], b[i], c[i]));
}
inline void TruncAvgRow(uint8_t* out, const uint8_t* a, const uint8_t* b, size_t n) {
    for (size_t i = 0; i < n; ++i) out[i] = static_cast<uint8_t>(TruncAvg(a[i], b[i]));
}

}  // namespace tarn
