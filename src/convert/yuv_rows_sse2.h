// Row primitives of the YUV side: SSE-width helpers shared by the SSE2 and
// AVX2 forms. Included only by files built for an instruction set; all names
// have internal linkage, so each form keeps its own copy built with its flags.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "convert/simd_constant.h"

namespace tarn {
namespace {

inline __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void Store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
inline __m128i Load8(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }

// Blue, green and red bytes of 16 pixels by the vector form: signed 16-bit
// lanes, saturating sums, arithmetic shift by 6, packed with saturation.
struct Channels {
    __m128i b, g, r;
};
// y8: 16 luma bytes; u8, v8: 8 chroma bytes in the low half.
inline Channels VectorForm16(__m128i y8, __m128i u8, __m128i v8) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i ylo = _mm_sub_epi16(_mm_unpacklo_epi8(y8, zero), _mm_set1_epi16(16));
    const __m128i yhi = _mm_sub_epi16(_mm_unpackhi_epi8(y8, zero), _mm_set1_epi16(16));
    const __m128i u16 = _mm_sub_epi16(_mm_unpacklo_epi8(u8, zero), _mm_set1_epi16(128));
    const __m128i v16 = _mm_sub_epi16(_mm_unpacklo_epi8(v8, zero), _mm_set1_epi16(128));
    // One chroma sample for two pixels: each lane doubled.
    const __m128i us[2] = {_mm_unpacklo_epi16(u16, u16), _mm_unpackhi_epi16(u16, u16)};
    const __m128i vs[2] = {_mm_unpacklo_epi16(v16, v16), _mm_unpackhi_epi16(v16, v16)};
    const __m128i ys[2] = {ylo, yhi};
    __m128i b[2], g[2], r[2];
    for (int h = 0; h < 2; ++h) {
        const __m128i l = _mm_mullo_epi16(ys[h], Multiplier(_mm_set1_epi16(74)));
        const __m128i gc = _mm_adds_epi16(_mm_mullo_epi16(us[h], Multiplier(_mm_set1_epi16(25))),
                                          _mm_mullo_epi16(vs[h], Multiplier(_mm_set1_epi16(52))));
        b[h] = _mm_srai_epi16(_mm_adds_epi16(l, _mm_mullo_epi16(us[h], Multiplier(_mm_set1_epi16(129)))), 6);
        g[h] = _mm_srai_epi16(_mm_subs_epi16(l, gc), 6);
        r[h] = _mm_srai_epi16(_mm_adds_epi16(l, _mm_mullo_epi16(vs[h], Multiplier(_mm_set1_epi16(102)))), 6);
    }
    return {_mm_packus_epi16(b[0], b[1]), _mm_packus_epi16(g[0], g[1]), _mm_packus_epi16(r[0], r[1])};
}

inline Channels VectorForm16(const uint8_t* y, const uint8_t* u, const uint8_t* v) {
    return VectorForm16(Load(y), Load8(u), Load8(v));
}

inline __m128i Smooth16(const uint8_t* a, const uint8_t* b, const uint8_t* c) {
    return _mm_avg_epu8(_mm_avg_epu8(Load(a), Load(b)), Load(c));
}
inline __m128i Smooth8(const uint8_t* a, const uint8_t* b, const uint8_t* c) {
    return _mm_avg_epu8(_mm_avg_epu8(Load8(a), Load8(b)), Load8(c));
}

// Four vectors of four pixels: blue, green, red, 0.
inline void Interleave(const Channels& c, __m128i px[4]) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i bgLo = _mm_unpacklo_epi8(c.b, c.g), bgHi = _mm_unpackhi_epi8(c.b, c.g);
    const __m128i r0Lo = _mm_unpacklo_epi8(c.r, zero), r0Hi = _mm_unpackhi_epi8(c.r, zero);
    px[0] = _mm_unpacklo_epi16(bgLo, r0Lo);
    px[1] = _mm_unpackhi_epi16(bgLo, r0Lo);
    px[2] = _mm_unpacklo_epi16(bgHi, r0Hi);
    px[3] = _mm_unpackhi_epi16(bgHi, r0Hi);
}

// Four 4-byte pixels squeezed to 12 bytes: in each 64-bit lane the second
// pixel moves down one byte over the first one's fourth byte.
inline __m128i Squeeze(__m128i px) {
    const __m128i keepFirst = _mm_set1_epi64x(0x0000000000FFFFFFll);
    const __m128i keepSecond = _mm_set1_epi64x(0x0000FFFFFF000000ll);
    return _mm_or_si128(_mm_and_si128(px, keepFirst), _mm_and_si128(_mm_srli_epi64(px, 8), keepSecond));
}

// Stores the pixels of `px` as 3-byte pixels, 12 bytes a vector; the last
// vector of a row goes exactly, so nothing is written past the last pixel.
inline void StoreBgr(uint8_t* dst, const __m128i px[4], bool last) {
    for (int k = 0; k < 4; ++k, dst += 12) {
        const __m128i s = Squeeze(px[k]);
        if (last && k == 3) {
            alignas(16) uint8_t lanes[16];
            Store(lanes, s);
            std::memcpy(dst, lanes, 6);
            std::memcpy(dst + 6, lanes + 8, 6);
            continue;
        }
        // 6 bytes of each lane; the 2 bytes beyond are rewritten next.
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), s);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 6), _mm_srli_si128(s, 8));
    }
}

inline void PackYuy2Simd(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t pairs) {
    size_t i = 0;
    for (; i + 16 <= pairs; i += 16, dst += 64) {
        const __m128i y0 = Load(y + 2 * i), y1 = Load(y + 2 * i + 16);
        const __m128i uu = Load(u + i), vv = Load(v + i);
        const __m128i uvLo = _mm_unpacklo_epi8(uu, vv), uvHi = _mm_unpackhi_epi8(uu, vv);
        Store(dst, _mm_unpacklo_epi8(y0, uvLo));
        Store(dst + 16, _mm_unpackhi_epi8(y0, uvLo));
        Store(dst + 32, _mm_unpacklo_epi8(y1, uvHi));
        Store(dst + 48, _mm_unpackhi_epi8(y1, uvHi));
    }
    for (; i < pairs; ++i, dst += 4) {
        dst[0] = y[2 * i];
        dst[1] = u[i];
        dst[2] = y[2 * i + 1];
        dst[3] = v[i];
    }
}

inline void UnpackYuy2Simd(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* src, size_t pairs) {
    const __m128i low = _mm_set1_epi16(0x00FF);
    size_t i = 0;
    for (; i + 16 <= pairs; i += 16, src += 64) {
        const __m128i a0 = Load(src), a1 = Load(src + 16), a2 = Load(src + 32), a3 = Load(src + 48);
        Store(y + 2 * i, _mm_packus_epi16(_mm_and_si128(a0, low), _mm_and_si128(a1, low)));
        Store(y + 2 * i + 16, _mm_packus_epi16(_mm_and_si128(a2, low), _mm_and_si128(a3, low)));
        const __m128i c01 = _mm_packus_epi16(_mm_srli_epi16(a0, 8), _mm_srli_epi16(a1, 8));
        const __m128i c23 = _mm_packus_epi16(_mm_srli_epi16(a2, 8), _mm_srli_epi16(a3, 8));
        Store(u + i, _mm_packus_epi16(_mm_and_si128(c01, low), _mm_and_si128(c23, low)));
        Store(v + i, _mm_packus_epi16(_mm_srli_epi16(c01, 8), _mm_srli_epi16(c23, 8)));
    }
    for (; i < pairs; ++i, src += 4) {
        y[2 * i] = src[0];
        u[i] = src[1];
        y[2 * i + 1] = src[2];
        v[i] = src[3];
    }
}

inline void Pack16Pairs(uint8_t* dst, __m128i y0, __m128i y1, __m128i uvLo, __m128i uvHi) {
    Store(dst, _mm_unpacklo_epi8(y0, uvLo));
    Store(dst + 16, _mm_unpackhi_epi8(y0, uvLo));
    Store(dst + 32, _mm_unpacklo_epi8(y1, uvHi));
    Store(dst + 48, _mm_unpackhi_epi8(y1, uvHi));
}

// One row, 16 pairs a step, the rest by the scalar rule.
inline void SmoothToYuy2Simd(uint8_t* dst, const uint8_t* const y[3], const uint8_t* const u[3],
                             const uint8_t* const v[3], size_t from, size_t pairs) {
    size_t i = from;
    for (; i + 16 <= pairs; i += 16) {
        const size_t j = 2 * i;
        const __m128i uu = Smooth16(u[0] + i, u[1] + i, u[2] + i), vv = Smooth16(v[0] + i, v[1] + i, v[2] + i);
        Pack16Pairs(dst + 4 * i, Smooth16(y[0] + j, y[1] + j, y[2] + j),
                    Smooth16(y[0] + j + 16, y[1] + j + 16, y[2] + j + 16), _mm_unpacklo_epi8(uu, vv),
                    _mm_unpackhi_epi8(uu, vv));
    }
    const auto s = [](const uint8_t* const r[3], size_t k) {
        return static_cast<uint8_t>((((r[0][k] + r[1][k] + 1) >> 1) + r[2][k] + 1) >> 1);
    };
    for (; i < pairs; ++i) {
        const uint8_t p[4] = {s(y, 2 * i), s(u, i), s(y, 2 * i + 1), s(v, i)};
        std::memcpy(dst + 4 * i, p, 4);
    }
}

// 16 pairs (64 packed bytes) a step, the rest by the scalar rule.
inline void SmoothPairFromYuy2Simd(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v,
                                   const uint8_t* const a[3], const uint8_t* const b[3], size_t from,
                                   size_t pairs) {
    const __m128i low = _mm_set1_epi16(0x00FF);
    const auto luma = [&](__m128i p, __m128i q) {
        return _mm_packus_epi16(_mm_and_si128(p, low), _mm_and_si128(q, low));
    };
    size_t i = from;
    for (; i + 16 <= pairs; i += 16) {
        const size_t o = 4 * i;
        __m128i f0[4], f1[4], c[4];
        for (int k = 0; k < 4; ++k) {
            f0[k] = Smooth16(a[0] + o + 16 * k, a[1] + o + 16 * k, a[2] + o + 16 * k);
            f1[k] = Smooth16(b[0] + o + 16 * k, b[1] + o + 16 * k, b[2] + o + 16 * k);
            c[k] = _mm_srli_epi16(_mm_avg_epu8(f0[k], f1[k]), 8);
        }
        Store(y0 + 2 * i, luma(f0[0], f0[1]));
        Store(y0 + 2 * i + 16, luma(f0[2], f0[3]));
        Store(y1 + 2 * i, luma(f1[0], f1[1]));
        Store(y1 + 2 * i + 16, luma(f1[2], f1[3]));
        const __m128i c01 = _mm_packus_epi16(c[0], c[1]), c23 = _mm_packus_epi16(c[2], c[3]);
        Store(u + i, luma(c01, c23));
        Store(v + i, _mm_packus_epi16(_mm_srli_epi16(c01, 8), _mm_srli_epi16(c23, 8)));
    }
    const auto s = [](const uint8_t* const r[3], size_t k) {
        return (((r[0][k] + r[1][k] + 1) >> 1) + r[2][k] + 1) >> 1;
    };
    for (; i < pairs; ++i) {
        const size_t o = 4 * i;
        y0[2 * i] = static_cast<uint8_t>(s(a, o));
        y0[2 * i + 1] = static_cast<uint8_t>(s(a, o + 2));
        y1[2 * i] = static_cast<uint8_t>(s(b, o));
        y1[2 * i + 1] = static_cast<uint8_t>(s(b, o + 2));
        u[i] = static_cast<uint8_t>((s(a, o + 1) + s(b, o + 1) + 1) >> 1);
        v[i] = static_cast<uint8_t>((s(a, o + 3) + s(b, o + 3) + 1) >> 1);
    }
}

}  // namespace
}  // namespace tarn
