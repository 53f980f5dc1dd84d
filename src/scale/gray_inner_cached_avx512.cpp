// Single-channel bilinear Inner with the cache of horizontal blends,
// AVX-512 form: the AVX2 form's bookkeeping of the cache, with the steps
// that carry an enlargement's bytes 64 at a time: the doubled blends of a
// source row, the vertical mix of two blends into the target and the copy
// of one around the caches. Each gives the bytes of the formula, as the
// AVX2 steps do.
#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "scale/gray_row_cache.h"
#include "scale/pixel_lanes.h"

namespace tarn {
namespace {

inline __m512i Load(const uint8_t* p) { return _mm512_loadu_si512(p); }

inline __mmask64 FirstBytes(uint32_t n) { return n >= 64 ? ~__mmask64(0) : (__mmask64(1) << n) - 1; }

// Doubled blends, 64 from 32 pairs (s[i], s[i + 1]) a step: the even pixel
// of a pair in the low byte of its 16-bit lane, the odd one in the high
// byte, each a + floor((b - a) w / 256), the high multiply of (b - a) << 7
// by w << 1.
uint32_t DoubledBlends(uint8_t* out, const uint8_t* s, uint32_t even, uint32_t odd, uint32_t count, uint32_t reach) {
    const __m512i e2 = _mm512_set1_epi16(int16_t(even << 1)), o2 = _mm512_set1_epi16(int16_t(odd << 1));
    uint32_t j = 0;
    for (uint32_t i = 0; j + 64 <= count && i + 33 <= reach; j += 64, i += 32) {
        const __m512i a = _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i)));
        const __m512i b = _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i + 1)));
        const __m512i d = _mm512_slli_epi16(_mm512_sub_epi16(b, a), 7);
        const __m512i e = _mm512_add_epi16(a, _mm512_mulhi_epi16(d, e2));
        const __m512i o = _mm512_add_epi16(a, _mm512_mulhi_epi16(d, o2));
        _mm512_storeu_si512(out + j, _mm512_or_si512(e, _mm512_slli_epi16(o, 8)));
    }
    return j;
}

// (top (256 - w) + bottom w) >> 8 per byte. At w = 128 that is the floor
// of the mean: the rounded-up mean less one where the sum is odd.
struct MeanMix {
    __m512i operator()(__m512i a, __m512i b) const {
        return _mm512_sub_epi8(_mm512_avg_epu8(a, b), _mm512_and_si512(_mm512_xor_si512(a, b), _mm512_set1_epi8(1)));
    }
};

// Other weights: a + floor((b - a) w / 256) on the even and the odd bytes
// apart, each in 16-bit lanes (no lane crossing).
struct WeightMix {
    __m512i w2;
    __m512i operator()(__m512i a, __m512i b) const {
        const __m512i low = _mm512_set1_epi16(0xFF);
        auto lerp = [&](__m512i x, __m512i y) {
            return _mm512_add_epi16(x, _mm512_mulhi_epi16(_mm512_slli_epi16(_mm512_sub_epi16(y, x), 7), w2));
        };
        const __m512i evens = lerp(_mm512_and_si512(a, low), _mm512_and_si512(b, low));
        const __m512i odds = lerp(_mm512_srli_epi16(a, 8), _mm512_srli_epi16(b, 8));
        return _mm512_or_si512(evens, _mm512_slli_epi16(odds, 8));
    }
};

// The target bytes of two blended rows. Streamed rows store their bytes
// up to the first 64-byte boundary one by one, then whole aligned vectors
// around the caches; the last part of a row is a masked store.
template <bool Stream, class Mix>
void Sweep(uint8_t* dst, const uint8_t* top, const uint8_t* bot, uint32_t w8, uint32_t n, Mix mix) {
    uint32_t j = 0;
    if constexpr (Stream) {
        const uint32_t lead = std::min<uint32_t>(n, uint32_t(-reinterpret_cast<uintptr_t>(dst) & 63));
        for (; j < lead; ++j) dst[j] = uint8_t(LerpByte(top[j], bot[j], w8));
    }
    for (; j + 64 <= n; j += 64) {
        const __m512i v = mix(Load(top + j), Load(bot + j));
        if constexpr (Stream) _mm512_stream_si512(reinterpret_cast<__m512i*>(dst + j), v);
        else _mm512_storeu_si512(dst + j, v);
    }
    if (j < n) {
        const __mmask64 m = FirstBytes(n - j);
        _mm512_mask_storeu_epi8(dst + j, m,
                                mix(_mm512_maskz_loadu_epi8(m, top + j), _mm512_maskz_loadu_epi8(m, bot + j)));
    }
}

template <bool Stream>
void Mixed(uint8_t* dst, const uint8_t* top, const uint8_t* bot, uint32_t w8, uint32_t n) {
    if (w8 == 128) Sweep<Stream>(dst, top, bot, w8, n, MeanMix{});
    else Sweep<Stream>(dst, top, bot, w8, n, WeightMix{_mm512_set1_epi16(int16_t(w8 << 1))});
}

void Vertical(uint8_t* dst, const uint8_t* top, const uint8_t* bot, uint32_t w8, uint32_t n, bool stream) {
    if (stream) Mixed<true>(dst, top, bot, w8, n);
    else Mixed<false>(dst, top, bot, w8, n);
}

// A blended row copied around the caches: plain stores up to the first
// 64-byte boundary and for the tail, non-temporal ones between.
void StreamRow(uint8_t* dst, const uint8_t* src, uint32_t n) {
    const uint32_t lead = std::min<uint32_t>(n, uint32_t(-reinterpret_cast<uintptr_t>(dst) & 63));
    std::memcpy(dst, src, lead);
    uint32_t i = lead;
    for (; i + 64 <= n; i += 64) _mm512_stream_si512(reinterpret_cast<__m512i*>(dst + i), Load(src + i));
    std::memcpy(dst + i, src + i, n - i);
}

}  // namespace

void GrayInnerRowCachedAvx512(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                              uint32_t len, int32_t below, uint32_t rw, GrayRowCache& cache) {
    static constexpr GrayCachedSteps kSteps{DoubledBlends, Vertical, StreamRow};
    GrayInnerRowCachedWith(kSteps, dst, row, weights, offsets, len, below, rw, cache);
}

}  // namespace tarn
