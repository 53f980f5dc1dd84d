// Row primitives of the 16-bit RGB conversions: expansion of 565 and 555
// words to 4-byte pixels and packing back, in forms that give the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/form_table.h"

namespace tarn {

struct Rgb16RowForms {
    // `n` 16-bit words to blue, green, red, 0.
    void (*expand565)(uint8_t* dst, const uint8_t* src, size_t n);
    void (*expand555)(uint8_t* dst, const uint8_t* src, size_t n);
    // `n` 4-byte pixels (the fourth byte ignored) to 16-bit words.
    void (*pack565)(uint8_t* dst, const uint8_t* src, size_t n);
    void (*pack555)(uint8_t* dst, const uint8_t* src, size_t n);
};

extern const Rgb16RowForms kRgb16RowsPlain;
#if defined(TARN_HAVE_X86_SIMD)
extern const Rgb16RowForms kRgb16RowsAvx2;
#endif

const Rgb16RowForms& ActiveRgb16Rows();

}  // namespace tarn
