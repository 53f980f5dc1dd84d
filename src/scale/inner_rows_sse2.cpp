// Bilinear Inner for 3- and 4-byte pixels, SSE2 form: two pixels per
// register in 16-bit lanes. Lerp(a, b, w) is computed as
// (a * (256 - w) + b * w) >> 8, which never exceeds 65280 and equals the
// plain a + floor((b - a) * w / 256). Loads are those of the plain form.
#include <emmintrin.h>

#include <cstring>

#include "scale/inner_rows.h"

namespace tarn {
namespace {

inline __m128i Cvt(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(v);
}

inline __m128i LerpLanes(__m128i a, __m128i b, __m128i w, __m128i wi) {
    return _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(a, wi), _mm_mullo_epi16(b, w)), 8);
}

// S and S+ of one pixel as the low and high 4 bytes of a register.
template <uint32_t SB>
inline __m128i Pair(const uint8_t* s) {
    if constexpr (SB == 4) return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(s));
    else return _mm_unpacklo_epi32(Cvt(s), Cvt(s + 3));
}

template <uint32_t SB, uint32_t DB>
void Inner(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len, int32_t below,
           uint32_t rw) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i k256 = _mm_set1_epi16(256);
    const __m128i rw16 = _mm_unpacklo_epi8(_mm_set1_epi32(static_cast<int32_t>(rw)), zero);
    const __m128i rwi = _mm_sub_epi16(k256, rw16);
    uint32_t j = 0;
    for (; j + 2 <= len; j += 2, dst += 2 * DB) {
        const uint8_t* s0 = row + co[j];
        const uint8_t* s1 = row + co[j + 1];
        // Registers hold [S0, S1, S0+, S1+] as 32-bit elements.
        const __m128i t = _mm_unpacklo_epi32(Pair<SB>(s0), Pair<SB>(s1));
        const __m128i d = _mm_unpacklo_epi32(Pair<SB>(s0 + below), Pair<SB>(s1 + below));
        const __m128i w = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(cw + j)), zero);
        const __m128i wi = _mm_sub_epi16(k256, w);
        const __m128i top = LerpLanes(_mm_unpacklo_epi8(t, zero), _mm_unpackhi_epi8(t, zero), w, wi);
        const __m128i bot = LerpLanes(_mm_unpacklo_epi8(d, zero), _mm_unpackhi_epi8(d, zero), w, wi);
        const __m128i px = _mm_packus_epi16(LerpLanes(top, bot, rw16, rwi), zero);
        if constexpr (DB == 4) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), px);
        } else {
            // Two 4-byte stores at pitch 3; the second overwrites the spare byte.
            const int32_t p0 = _mm_cvtsi128_si32(px), p1 = _mm_cvtsi128_si32(_mm_srli_si128(px, 4));
            std::memcpy(dst, &p0, 4);
            std::memcpy(dst + 3, &p1, 4);
        }
    }
    if (j < len) {
        constexpr InnerRowFn plain = SB == 3 ? (DB == 3 ? InnerRow33Plain : InnerRow34Plain) : (DB == 3 ? InnerRow43Plain : InnerRow44Plain);
        plain(dst, row, cw + j, co + j, len - j, below, rw);
    }
}

}  // namespace

// Single-channel Inner: S and S+ of eight pixels come in as 16-bit loads
// (the two bytes the plain form reads), and each lerp is one multiply-add of
// the pairs (S, S+) and (256 - w, w).
void GrayInnerRowSse2(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                      uint32_t len, int32_t below, uint32_t rw) {
    const uint32_t groups = len & ~3u;
    const uint32_t fast = groups & ~7u;
    const __m128i zero = _mm_setzero_si128();
    const __m128i k256 = _mm_set1_epi16(256);
    const __m128i rwPair = _mm_set1_epi32(static_cast<int32_t>((256 - (rw & 255)) | (rw & 255) << 16));
    const uint8_t* low = row + below;
    auto pair = [](const uint8_t* p) {
        uint16_t v;
        std::memcpy(&v, p, 2);
        return static_cast<int>(v);
    };
    for (uint32_t j = 0; j < fast; j += 8) {
        const uint32_t* o = offsets + j;
        __m128i top = _mm_cvtsi32_si128(pair(row + o[0]));
        __m128i bot = _mm_cvtsi32_si128(pair(low + o[0]));
        top = _mm_insert_epi16(top, pair(row + o[1]), 1), bot = _mm_insert_epi16(bot, pair(low + o[1]), 1);
        top = _mm_insert_epi16(top, pair(row + o[2]), 2), bot = _mm_insert_epi16(bot, pair(low + o[2]), 2);
        top = _mm_insert_epi16(top, pair(row + o[3]), 3), bot = _mm_insert_epi16(bot, pair(low + o[3]), 3);
        top = _mm_insert_epi16(top, pair(row + o[4]), 4), bot = _mm_insert_epi16(bot, pair(low + o[4]), 4);
        top = _mm_insert_epi16(top, pair(row + o[5]), 5), bot = _mm_insert_epi16(bot, pair(low + o[5]), 5);
        top = _mm_insert_epi16(top, pair(row + o[6]), 6), bot = _mm_insert_epi16(bot, pair(low + o[6]), 6);
        top = _mm_insert_epi16(top, pair(row + o[7]), 7), bot = _mm_insert_epi16(bot, pair(low + o[7]), 7);
        const __m128i w = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(weights + j)), zero);
        const __m128i wi = _mm_sub_epi16(k256, w);
        const __m128i wLo = _mm_unpacklo_epi16(wi, w), wHi = _mm_unpackhi_epi16(wi, w);
        auto vertical = [&](__m128i t, __m128i b, __m128i wp) {
            const __m128i ht = _mm_srli_epi32(_mm_madd_epi16(t, wp), 8);
            const __m128i hb = _mm_srli_epi32(_mm_madd_epi16(b, wp), 8);
            return _mm_srli_epi32(_mm_madd_epi16(_mm_or_si128(ht, _mm_slli_epi32(hb, 16)), rwPair), 8);
        };
        const __m128i lo = vertical(_mm_unpacklo_epi8(top, zero), _mm_unpacklo_epi8(bot, zero), wLo);
        const __m128i hi = vertical(_mm_unpackhi_epi8(top, zero), _mm_unpackhi_epi8(bot, zero), wHi);
        const __m128i words = _mm_packs_epi32(lo, hi);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + j), _mm_packus_epi16(words, words));
    }
    // The rest of the groups as a run of their own (all of it groups of
    // four), then the trailing pixels with their weights at 4 * j.
    if (fast < groups) GrayInnerRowPlain(dst + fast, row, weights + fast, offsets + fast, groups - fast, below, rw);
    const uint32_t w8 = rw & 255;
    for (uint32_t j = groups; j < len; ++j) {
        const uint8_t* s = row + offsets[j];
        const uint32_t cw = weights[4 * size_t(j)];
        const uint32_t a = (s[0] * (256 - cw) + s[1] * cw) >> 8;
        const uint32_t c = (s[below] * (256 - cw) + s[below + 1] * cw) >> 8;
        dst[j] = static_cast<uint8_t>((a * (256 - w8) + c * w8) >> 8);
    }
}

void InnerRow33Sse2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { Inner<3, 3>(d, r, cw, co, n, b, rw); }
void InnerRow34Sse2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { Inner<3, 4>(d, r, cw, co, n, b, rw); }
void InnerRow43Sse2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { Inner<4, 3>(d, r, cw, co, n, b, rw); }
void InnerRow44Sse2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { Inner<4, 4>(d, r, cw, co, n, b, rw); }

}  // namespace tarn
