// Row primitives of the RGB side: RGB to planar row pairs and the 8-pixel
// blocks of the SSE2 tier's RGB-to-packed kernels, in forms of one tier.
//
// All forms give the bytes of colour_formulas.h exactly. The fast forms may
// read up to 16 bytes past the last pixel of a source row; the kernels hand
// them rows with that much readable memory behind (platform/byte_span.h).
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/form_table.h"

namespace tarn {

inline constexpr size_t kRgbRowReadSlack = 16;

struct RgbRowForms {
    // `pairs` 2 x 2 blocks of source rows s0 and s1: two luma samples in each
    // of y0 and y1, one Cb in u and one Cr in v per block.
    void (*planar32)(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const uint8_t* s0,
                     const uint8_t* s1, size_t pairs);
    void (*planar24)(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const uint8_t* s0,
                     const uint8_t* s1, size_t pairs);
    // `blocks` 8-pixel blocks of the SSE2 tier's packed output, 16 bytes each:
    // per four pixels Y(p0) Cb(p1) Y(p2) Cr(p1) Y(p1) Cb(p3) Y(p3) Cr(p3), the
    // chroma of a single pixel shifted by 8. A block reads 32 source bytes
    // apart: eight 4-byte pixels, or eight 3-byte pixels from its first 24.
    void (*yuy2Blocks32)(uint8_t* dst, const uint8_t* src, size_t blocks);
    void (*yuy2Blocks24)(uint8_t* dst, const uint8_t* src, size_t blocks);
};

extern const RgbRowForms kRgbRowsPlain;
#if defined(TARN_HAVE_X86_SIMD)
extern const RgbRowForms kRgbRowsSse2;
extern const RgbRowForms kRgbRowsAvx2;
// The AVX2 forms with the AVX-512 file's own rows in their place.
extern const RgbRowForms kRgbRowsAvx512;

// The rows of the AVX-512 file, which the AVX-512 forms take in place of
// the AVX2 ones.
struct RgbRowsOwnAvx512 {
    decltype(RgbRowForms::planar32) planar32;
    decltype(RgbRowForms::planar24) planar24;
};
extern const RgbRowsOwnAvx512 kRgbRowsOwnAvx512;
#endif

const RgbRowForms& ActiveRgbRows();

}  // namespace tarn
