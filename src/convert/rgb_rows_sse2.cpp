// Row primitives of the RGB side: SSE2 forms, 8 pixels a step, the pairs
// that do not fill a step by the scalar rule. Same bytes as the plain forms.
#include "convert/rgb_rows_sse2.h"

#include "convert/rgb_rows.h"

namespace tarn {

namespace {

void Planar32Sse2(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const uint8_t* s0,
                  const uint8_t* s1, size_t pairs) {
    size_t i = 0;
    for (; i + 4 <= pairs; i += 4) {
        const uint8_t* a = s0 + 8 * i;
        const uint8_t* b = s1 + 8 * i;
        PlanarBlock8(Split8(LoadRgb(a), LoadRgb(a + 16)), Split8(LoadRgb(b), LoadRgb(b + 16)),
                     y0 + 2 * i, y1 + 2 * i, u + i, v + i);
    }
    PlanarPairs<4>(y0, y1, u, v, s0, s1, i, pairs);
}

void Planar24Sse2(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const uint8_t* s0,
                  const uint8_t* s1, size_t pairs) {
    size_t i = 0;
    for (; i + 4 <= pairs; i += 4) {
        const uint8_t* a = s0 + 6 * i;
        const uint8_t* b = s1 + 6 * i;
        PlanarBlock8(Split8(Expand4(a), Expand4(a + 12)), Split8(Expand4(b), Expand4(b + 12)),
                     y0 + 2 * i, y1 + 2 * i, u + i, v + i);
    }
    PlanarPairs<3>(y0, y1, u, v, s0, s1, i, pairs);
}

void Yuy2Blocks32Sse2(uint8_t* dst, const uint8_t* src, size_t blocks) {
    for (size_t i = 0; i < blocks; ++i, src += 32, dst += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), Yuy2Block(Split8(LoadRgb(src), LoadRgb(src + 16))));
}

void Yuy2Blocks24Sse2(uint8_t* dst, const uint8_t* src, size_t blocks) {
    for (size_t i = 0; i < blocks; ++i, src += 32, dst += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), Yuy2Block(Split8(Expand4(src), Expand4(src + 12))));
}

}  // namespace

const RgbRowForms kRgbRowsSse2 = {Planar32Sse2, Planar24Sse2, Yuy2Blocks32Sse2, Yuy2Blocks24Sse2};

}  // namespace tarn
