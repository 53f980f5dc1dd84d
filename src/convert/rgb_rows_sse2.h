// Row primitives of the RGB side: SSE-width helpers shared by the SSE2 and
// AVX2 forms. Included only by files built for an instruction set; all names
// have internal linkage, so each form keeps its own copy built with its flags.
//
// Luma sums fit unsigned 16-bit lanes (220 x 255 = 56100). Chroma sums of a
// 2 x 2 block are at most 1020, so (sum B, sum G) sit as a pair of 16-bit
// lanes and one multiply-add gives 112 B - 74 G exactly in 32 bits.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "convert/simd_constant.h"

#include "convert/colour_formulas.h"

namespace tarn {
namespace {

inline __m128i LoadRgb(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// Four 3-byte pixels from 12 bytes (16 read) spread to 4-byte lanes.
inline __m128i Expand4(const uint8_t* p) {
    const __m128i v = LoadRgb(p);
    const __m128i ab = _mm_unpacklo_epi32(v, _mm_srli_si128(v, 3));
    const __m128i cd = _mm_unpacklo_epi32(_mm_srli_si128(v, 6), _mm_srli_si128(v, 9));
    return _mm_unpacklo_epi64(ab, cd);
}

// Four pixels of a row of 4- or 3-byte pixels in 4-byte lanes.
template <int Bpp>
inline __m128i Pixels4(const uint8_t* p) {
    if constexpr (Bpp == 4) return LoadRgb(p);
    else return Expand4(p);
}

// Blue, green and red of 8 pixels in 4-byte lanes, as 16-bit lanes.
struct Bgr16 {
    __m128i b, g, r;
};
inline Bgr16 Split8(__m128i p0, __m128i p1) {
    const __m128i m = _mm_set1_epi32(0xFF);
    const auto channel = [&](int shift) {
        return _mm_packs_epi32(_mm_and_si128(_mm_srli_epi32(p0, shift), m),
                               _mm_and_si128(_mm_srli_epi32(p1, shift), m));
    };
    return {channel(0), channel(8), channel(16)};
}

// ((66 R + 129 G + 25 B) >> 8) + 16 in 16-bit lanes.
inline __m128i Luma8(const Bgr16& c) {
    const __m128i sum = _mm_add_epi16(_mm_add_epi16(_mm_mullo_epi16(c.r, Multiplier(_mm_set1_epi16(66))),
                                                    _mm_mullo_epi16(c.g, Multiplier(_mm_set1_epi16(129)))),
                                      _mm_mullo_epi16(c.b, Multiplier(_mm_set1_epi16(25))));
    return _mm_add_epi16(_mm_srli_epi16(sum, 8), _mm_set1_epi16(16));
}

// Cb and Cr of four values of (B, G, R) in 32-bit lanes, shifted by `shift`.
inline void Chroma4(__m128i b, __m128i g, __m128i r, int shift, __m128i* cb, __m128i* cr) {
    const __m128i bg = _mm_or_si128(b, _mm_slli_epi32(g, 16));
    const __m128i offset = _mm_set1_epi32(128);
    const __m128i sh = _mm_cvtsi32_si128(shift);
    *cb = _mm_add_epi32(_mm_sra_epi32(_mm_add_epi32(_mm_madd_epi16(bg, _mm_set_epi16(-74, 112, -74, 112, -74, 112, -74, 112)),
                                                    _mm_madd_epi16(r, _mm_set1_epi32(-38 & 0xFFFF))),
                                      sh),
                        offset);
    *cr = _mm_add_epi32(_mm_sra_epi32(_mm_add_epi32(_mm_madd_epi16(bg, _mm_set_epi16(-94, -18, -94, -18, -94, -18, -94, -18)),
                                                    _mm_madd_epi16(r, _mm_set1_epi32(112))),
                                      sh),
                        offset);
}

// Eight pixels of each of two rows: 8 luma bytes per row, 4 Cb and 4 Cr.
inline void PlanarBlock8(const Bgr16& c0, const Bgr16& c1, uint8_t* y0, uint8_t* y1, uint8_t* u,
                         uint8_t* v) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(y0), _mm_packus_epi16(Luma8(c0), Luma8(c0)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(y1), _mm_packus_epi16(Luma8(c1), Luma8(c1)));
    const __m128i ones = _mm_set1_epi16(1);
    const __m128i sb = _mm_madd_epi16(_mm_add_epi16(c0.b, c1.b), ones);
    const __m128i sg = _mm_madd_epi16(_mm_add_epi16(c0.g, c1.g), ones);
    const __m128i sr = _mm_madd_epi16(_mm_add_epi16(c0.r, c1.r), ones);
    __m128i cb, cr;
    Chroma4(sb, sg, sr, 10, &cb, &cr);
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(cb, cr), _mm_setzero_si128());
    const int32_t cbWord = _mm_cvtsi128_si32(bytes), crWord = _mm_cvtsi128_si32(_mm_srli_si128(bytes, 4));
    std::memcpy(u, &cbWord, 4);
    std::memcpy(v, &crWord, 4);
}

// The scalar rule for the pairs a block does not cover.
template <int Bpp>
inline void PlanarPairs(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const uint8_t* s0,
                        const uint8_t* s1, size_t from, size_t pairs) {
    for (size_t i = from; i < pairs; ++i) {
        const uint8_t* a = s0 + 2 * Bpp * i;
        const uint8_t* b = s1 + 2 * Bpp * i;
        y0[2 * i] = LumaOf(a[0], a[1], a[2]);
        y0[2 * i + 1] = LumaOf(a[Bpp], a[Bpp + 1], a[Bpp + 2]);
        y1[2 * i] = LumaOf(b[0], b[1], b[2]);
        y1[2 * i + 1] = LumaOf(b[Bpp], b[Bpp + 1], b[Bpp + 2]);
        const int32_t sb = a[0] + a[Bpp] + b[0] + b[Bpp], sg = a[1] + a[Bpp + 1] + b[1] + b[Bpp + 1],
                      sr = a[2] + a[Bpp + 2] + b[2] + b[Bpp + 2];
        u[i] = CbOf(sb, sg, sr, 10);
        v[i] = CrOf(sb, sg, sr, 10);
    }
}

// One 8-pixel packed block: per four pixels Y0 Cb1 Y2 Cr1 Y1 Cb3 Y3 Cr3, the
// chroma of the odd pixels alone shifted by 8.
inline __m128i Yuy2Block(const Bgr16& c) {
    // Luma with the middle two of each four traded.
    const __m128i y = Luma8(c);
    const __m128i swapped = _mm_shufflehi_epi16(_mm_shufflelo_epi16(y, _MM_SHUFFLE(3, 1, 2, 0)),
                                                _MM_SHUFFLE(3, 1, 2, 0));
    __m128i cb, cr;
    Chroma4(_mm_srli_epi32(c.b, 16), _mm_srli_epi32(c.g, 16), _mm_srli_epi32(c.r, 16), 8, &cb, &cr);
    // Cb1 Cr1 Cb3 Cr3 Cb5 Cr5 Cb7 Cr7 as 16-bit lanes.
    const __m128i chroma = _mm_packs_epi32(_mm_unpacklo_epi32(cb, cr), _mm_unpackhi_epi32(cb, cr));
    return _mm_or_si128(swapped, _mm_slli_epi16(chroma, 8));
}

}  // namespace
}  // namespace tarn
