// Rows of the two RGB depth conversions, in each form: 3 bytes to 4 with a
// zero fourth byte, 4 bytes to 3 dropping it.
#pragma once

#include <cstdint>

namespace tarn {

using RgbDepthRowFn = void (*)(uint8_t* dst, const uint8_t* src, int32_t width);

void Rgb24ToRgb32RowPlain(uint8_t* dst, const uint8_t* src, int32_t width);
void Rgb32ToRgb24RowPlain(uint8_t* dst, const uint8_t* src, int32_t width);
#if defined(TARN_HAVE_X86_SIMD)
void Rgb24ToRgb32RowAvx2(uint8_t* dst, const uint8_t* src, int32_t width);
void Rgb32ToRgb24RowAvx2(uint8_t* dst, const uint8_t* src, int32_t width);
#endif

}  // namespace tarn
