// Bilinear Inner for 3- and 4-byte pixels, AVX2 form: four pixels per register in
// 16-bit lanes. Lerps are (a * (256 - w) + b * w) >> 8, equal to the plain
// a + floor((b - a) * w / 256). Loads read what the plain form reads, or for
// close 3-byte pixels a few bytes of the same row before it.
#include <immintrin.h>

#include <cstring>

#include "scale/inner_rows.h"

namespace tarn {
namespace {

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

// Bytes 0-2, 4-6, 8-10 and 12-15 of four pixels, side by side.
const __m128i kPitch3 = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, -1, -1, -1);

template <uint32_t SB, uint32_t DB>
void Inner(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len, int32_t below,
           uint32_t rw) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i k256 = _mm256_set1_epi16(256);
    const __m256i rw16 = _mm256_unpacklo_epi8(_mm256_set1_epi32(static_cast<int32_t>(rw)), zero);
    const __m256i rwi = _mm256_sub_epi16(k256, rw16);
    uint32_t j = 0;
    for (; j + 4 <= len; j += 4, dst += 4 * DB) {
        __m256i t, d;
        Ordered<SB>(row, below, co + j, t, d);
        const __m256i w = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(cw + j)));
        const __m256i wi = _mm256_sub_epi16(k256, w);
        const __m256i a = LerpLanes(_mm256_unpacklo_epi8(t, zero), _mm256_unpackhi_epi8(t, zero), w, wi);
        const __m256i b = LerpLanes(_mm256_unpacklo_epi8(d, zero), _mm256_unpackhi_epi8(d, zero), w, wi);
        const __m256i px = _mm256_packus_epi16(LerpLanes(a, b, rw16, rwi), zero);
        const __m128i four = _mm256_castsi256_si128(_mm256_permute4x64_epi64(px, _MM_SHUFFLE(3, 1, 2, 0)));
        if constexpr (DB == 4) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), four);
        } else {
            // What 4-byte stores at pitch 3 leave: three bytes of each pixel,
            // and the last pixel's fourth byte one past them. Where pixels
            // follow in this run, their stores cover the three bytes after
            // that, so a 16-byte store may write them first.
            const __m128i packed = _mm_shuffle_epi8(four, kPitch3);
            if (j + 4 < len) {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), packed);
            } else {
                _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), packed);
                _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 5), _mm_srli_si128(packed, 5));
            }
        }
    }
    if (j < len) {
        constexpr InnerRowFn rest = SB == 3 ? (DB == 3 ? InnerRow33Sse2 : InnerRow34Sse2)
                                            : (DB == 3 ? InnerRow43Sse2 : InnerRow44Sse2);
        rest(dst, row, cw + j, co + j, len - j, below, rw);
    }
}

}  // namespace

void InnerRow33Avx2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { Inner<3, 3>(d, r, cw, co, n, b, rw); }
void InnerRow34Avx2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { Inner<3, 4>(d, r, cw, co, n, b, rw); }
void InnerRow43Avx2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { Inner<4, 3>(d, r, cw, co, n, b, rw); }
void InnerRow44Avx2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { Inner<4, 4>(d, r, cw, co, n, b, rw); }

}  // namespace tarn
