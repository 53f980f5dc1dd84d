// The colour formulas every conversion kernel shares, in scalar form.
//
// Note on rounding and clamping, for all colour kernels:
// - YUV to RGB has two forms that are kept on purpose. The table form uses
//   the 13-bit products of colour_tables.h, shifts arithmetically (toward
//   minus infinity, no rounding constant) and clamps by comparison. The vector
//   form is what the SIMD bodies compute: signed 16-bit lanes, factors with a
//   6-bit fraction, saturating adds, an arithmetic shift by 6, then packing to
//   bytes with saturation. The two differ by up to 2 per channel (luma 235 with
//   neutral chroma: 254 against 253), and each kernel says which columns use
//   which form.
// - RGB to YUV adds no rounding constant either: luma is an unsigned sum
//   shifted by 8; chroma of a 2 x 2 block shifts the sums of the four pixels by
//   10 (8 plus 2 for the four-pixel sum), and only the low byte of the shifted
//   value is kept before 128 is added in 8 bits.
// - Chroma pairs: one Cb, Cr sample serves two pixels side by side, with no
//   horizontal interpolation in either direction.
#pragma once

#include <cstdint>

#include "convert/colour_tables.h"

namespace tarn {

struct Bgr {
    uint8_t b, g, r;
};

constexpr uint8_t ClampByte(int32_t v) { return v < 0 ? 0 : v > 255 ? 255 : static_cast<uint8_t>(v); }

// Table form: 13-bit products, arithmetic shift, clamp by comparison.
inline Bgr TableForm(uint8_t y, uint8_t u, uint8_t v) {
    const int32_t l = kLumaTable[y];
    const int32_t gc = kGreenFromU[u] + kGreenFromV[v];
    return {ClampByte((l + kBlueFromU[u]) >> 13), ClampByte((l - gc) >> 13),
            ClampByte((l + kRedFromV[v]) >> 13)};
}

// Signed 16-bit saturating add, as the vector lanes do it.
constexpr int32_t SatAdd16(int32_t a, int32_t b) {
    const int32_t s = a + b;
    return s < -32768 ? -32768 : s > 32767 ? 32767 : s;
}

// Vector form: factors 74, 129, 25, 52, 102 over 64, saturating 16-bit sums.
constexpr Bgr VectorForm(uint8_t y, uint8_t u, uint8_t v) {
    const int32_t l = 74 * (y - 16);
    const int32_t cu = u - 128, cv = v - 128;
    const int32_t gc = SatAdd16(25 * cu, 52 * cv);
    return {ClampByte(SatAdd16(l, 129 * cu) >> 6), ClampByte(SatAdd16(l, -gc) >> 6),
            ClampByte(SatAdd16(l, 102 * cv) >> 6)};
}

// Luma of one pixel: unsigned sum, no rounding constant; lies in 16..235.
constexpr uint8_t LumaOf(uint32_t b, uint32_t g, uint32_t r) {
    return static_cast<uint8_t>(((66 * r + 129 * g + 25 * b) >> 8) + 16);
}

// Chroma from channel values (or sums) shifted by `shift`; the low byte of the
// shifted value plus 128 in 8 bits.
constexpr uint8_t CbOf(int32_t b, int32_t g, int32_t r, int shift) {
    return static_cast<uint8_t>(((112 * b - 74 * g - 38 * r) >> shift) + 128);
}
constexpr uint8_t CrOf(int32_t b, int32_t g, int32_t r, int shift) {
    return static_cast<uint8_t>(((112 * r - 94 * g - 18 * b) >> shift) + 128);
}

}  // namespace tarn
