// Lane arithmetic and loads shared by the AVX2 forms of the bilinear Inner:
// four pixels per register in 16-bit lanes. Included by *_avx2.cpp files only.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <cstring>

namespace tarn::inner_lanes {

// Asks for the cache line at p. The processor here does not fetch a row
// read from end to end far enough ahead on its own, nor the next row a
// shrink reads after skipping rows: the kernels ask kFetchAhead bytes on.
inline void Fetch(const uint8_t* p) { _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T0); }
constexpr uint32_t kFetchAhead = 768;

// floor((a + b) / 2) per byte: the rounded-up mean less one where the sum
// is odd. A blend of weight 128, (a * 128 + b * 128) >> 8, is this mean.
inline __m256i FloorMean(__m256i a, __m256i b) {
    return _mm256_sub_epi8(_mm256_avg_epu8(a, b), _mm256_and_si256(_mm256_xor_si256(a, b), _mm256_set1_epi8(1)));
}

inline __m256i LerpLanes(__m256i a, __m256i b, __m256i w, __m256i wi) {
    return _mm256_srli_epi16(_mm256_add_epi16(_mm256_mullo_epi16(a, wi), _mm256_mullo_epi16(b, w)), 8);
}

// S and S+ of four pixels as 64-bit elements, loaded as the plain form
// loads them (gathers are slower here).
template <uint32_t SB>
inline __m256i Four(const uint8_t* row, const uint32_t* co) {
    long long v[4];
    for (int i = 0; i < 4; ++i) {
        const uint8_t* s = row + co[i];
        if constexpr (SB == 4) {
            std::memcpy(&v[i], s, 8);
        } else {
            uint32_t a, b;
            std::memcpy(&a, s, 4);
            std::memcpy(&b, s + 3, 4);
            v[i] = static_cast<long long>(uint64_t(a) | uint64_t(b) << 32);
        }
    }
    return _mm256_set_epi64x(v[3], v[2], v[1], v[0]);
}

// 3-byte pixels two by two: S and S+ of a pair whose second sample lies at
// most 9 bytes after its first, and 9 or more into the row, are all in the
// 16 bytes that end with the pair's last byte read. One load per pair and
// one byte shuffle give [S0 S1 S0+ S1+]; the shuffle moves the first pixel's
// bytes back by the distance d of the pair.
struct PairWindows {
    __m256i order;  // the byte shuffle of both pairs
    bool fits;

    explicit PairWindows(const uint32_t* co) {
        const uint32_t d01 = co[1] - co[0], d23 = co[3] - co[2];
        fits = co[1] >= 9 && co[3] >= 9 && d01 <= 9 && d23 <= 9;
        if (!fits) {
            order = _mm256_setzero_si256();
            return;
        }
        const __m256i base = _mm256_setr_epi8(9, 10, 11, 12, 9, 10, 11, 12, 12, 13, 14, 15, 12, 13, 14, 15,  //
                                              9, 10, 11, 12, 9, 10, 11, 12, 12, 13, 14, 15, 12, 13, 14, 15);
        const __m256i first = _mm256_setr_epi32(-1, 0, -1, 0, -1, 0, -1, 0);
        const long long lo = static_cast<long long>(d01 * 0x0101010101010101ull);
        const long long hi = static_cast<long long>(d23 * 0x0101010101010101ull);
        order = _mm256_sub_epi8(base, _mm256_and_si256(_mm256_setr_epi64x(lo, lo, hi, hi), first));
    }
    __m256i Load(const uint8_t* row, const uint32_t* co) const {
        const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + co[1] - 9));
        const __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + co[3] - 9));
        return _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(lo), hi, 1), order);
    }
};

// [S0 S1 S0+ S1+ | S2 S3 S2+ S3+] of four pixels, in a row and the row below.
template <uint32_t SB>
inline void Ordered(const uint8_t* row, int32_t below, const uint32_t* co, __m256i& top, __m256i& bottom) {
    if constexpr (SB == 3) {
        const PairWindows w(co);
        if (w.fits) {
            top = w.Load(row, co);
            bottom = w.Load(row + below, co);
            return;
        }
    }
    // Each 64-bit element is [S, S+]; reorder each lane.
    top = _mm256_shuffle_epi32(Four<SB>(row, co), _MM_SHUFFLE(3, 1, 2, 0));
    bottom = _mm256_shuffle_epi32(Four<SB>(row + below, co), _MM_SHUFFLE(3, 1, 2, 0));
}

// Four pixels of 4 bytes as 4-byte stores at pitch 3 leave them: three bytes
// of each pixel, and the last pixel's fourth byte one past them. Where more
// pixels follow in the run (`more`), their stores cover the three bytes
// after that, so one 16-byte store may write them first.
inline void StorePitch3(uint8_t* dst, __m128i four, bool more) {
    const __m128i order = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, -1, -1, -1);
    const __m128i packed = _mm_shuffle_epi8(four, order);
    if (more) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), packed);
    } else {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), packed);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 5), _mm_srli_si128(packed, 5));
    }
}

}  // namespace tarn::inner_lanes
