// Row primitives of the RGB side: SSE2 forms, 8 pixels a step, the pairs
// that do not fill a step by the scalar rule. Same bytes as the plain forms.
#include "convert/rgb_rows_sse2.h"

#include "convert/rgb_rows.h"

namespace tarn {

namespace {

// A block is 8 pixels: 32 bytes of a 32-bit row, 24 of a 24-bit one.
template <int Bpp>
void PlanarSse2(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const uint8_t* s0,
                const uint8_t* s1, size_t pairs) {
    size_t i = 0;
    for (; i + 4 <= pairs; i += 4) {
        const uint8_t* a = s0 + 2 * Bpp * i;
        const uint8_t* b = s1 + 2 * Bpp * i;
        PlanarBlock8(Split8(Pixels4<Bpp>(a), Pixels4<Bpp>(a + 4 * Bpp)),
                     Split8(Pixels4<Bpp>(b), Pixels4<Bpp>(b + 4 * Bpp)), y0 + 2 * i, y1 + 2 * i, u + i, v + i);
    }
    PlanarPairs<Bpp>(y0, y1, u, v, s0, s1, i, pairs);
}

// Both kernels step 32 source bytes a block (rgb_rows.h).
template <int Bpp>
void Yuy2BlocksSse2(uint8_t* dst, const uint8_t* src, size_t blocks) {
    for (size_t i = 0; i < blocks; ++i, src += 32, dst += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst),
                         Yuy2Block(Split8(Pixels4<Bpp>(src), Pixels4<Bpp>(src + 4 * Bpp))));
}

}  // namespace

const RgbRowForms kRgbRowsSse2 = {PlanarSse2<4>, PlanarSse2<3>, Yuy2BlocksSse2<4>, Yuy2BlocksSse2<3>};

}  // namespace tarn
