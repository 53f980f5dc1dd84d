// Bilinear Inner for 4-byte pixels and the single-channel Inner and gather,
// AVX2 form, with gathers of the samples by the column offsets. Lerps are
// (a * (256 - w) + b * w) >> 8, equal to the plain a + floor((b - a) * w / 256).
// Single-channel forms read 4 bytes at an offset only within `wide`, where
// the row has them; the rest goes to the plain form.
#include <immintrin.h>

#include <cstring>

#include "scale/drivers.h"
#include "scale/inner_rows_fast.h"

namespace tarn {
namespace {

inline __m256i LerpLanes(__m256i a, __m256i b, __m256i w, __m256i wi) {
    return _mm256_srli_epi16(_mm256_add_epi16(_mm256_mullo_epi16(a, wi), _mm256_mullo_epi16(b, w)), 8);
}

// Eight 32-bit results of 0..255 to eight bytes in order.
inline __m128i Bytes8(__m256i v) {
    const __m256i w16 = _mm256_packus_epi32(v, v);   // per lane: 4 words, twice
    const __m256i b8 = _mm256_packus_epi16(w16, w16);  // per lane: 4 bytes, four times
    return _mm_unpacklo_epi32(_mm256_castsi256_si128(b8), _mm256_extracti128_si256(b8, 1));
}

}  // namespace

void InnerRow44Avx2(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len,
                    int32_t below, uint32_t rw) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i k256 = _mm256_set1_epi16(256);
    const __m256i rw16 = _mm256_unpacklo_epi8(_mm256_set1_epi32(static_cast<int32_t>(rw)), zero);
    const __m256i rwi = _mm256_sub_epi16(k256, rw16);
    const long long* top = reinterpret_cast<const long long*>(row);
    const long long* bottom = reinterpret_cast<const long long*>(row + below);
    uint32_t j = 0;
    for (; j + 4 <= len; j += 4, dst += 16) {
        const __m128i idx = _mm_loadu_si128(reinterpret_cast<const __m128i*>(co + j));
        // Each 64-bit element is [S, S+]; reorder each lane to [S0, S1, S0+, S1+].
        const __m256i t = _mm256_shuffle_epi32(_mm256_i32gather_epi64(top, idx, 1), _MM_SHUFFLE(3, 1, 2, 0));
        const __m256i d = _mm256_shuffle_epi32(_mm256_i32gather_epi64(bottom, idx, 1), _MM_SHUFFLE(3, 1, 2, 0));
        const __m256i w = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(cw + j)));
        const __m256i wi = _mm256_sub_epi16(k256, w);
        const __m256i a = LerpLanes(_mm256_unpacklo_epi8(t, zero), _mm256_unpackhi_epi8(t, zero), w, wi);
        const __m256i b = LerpLanes(_mm256_unpacklo_epi8(d, zero), _mm256_unpackhi_epi8(d, zero), w, wi);
        const __m256i px = _mm256_packus_epi16(LerpLanes(a, b, rw16, rwi), zero);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst),
                         _mm256_castsi256_si128(_mm256_permute4x64_epi64(px, _MM_SHUFFLE(3, 1, 2, 0))));
    }
    if (j < len) InnerRow44Sse2(dst, row, cw + j, co + j, len - j, below, rw);
}

void GrayInnerRowAvx2(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                      uint32_t len, int32_t below, uint32_t rw, uint32_t wide) {
    // Groups of four carry their own weights; the trailing pixels go to the
    // plain form, which reads theirs at 4 * j.
    const uint32_t groups = len & ~3u;
    const uint32_t fast = (wide < groups ? wide : groups) & ~7u;
    const __m256i lowByte = _mm256_set1_epi32(0xFF);
    const __m256i k256 = _mm256_set1_epi32(256);
    const __m256i rwPair = _mm256_set1_epi32(static_cast<int32_t>((256 - (rw & 255)) | (rw & 255) << 16));
    const int* top = reinterpret_cast<const int*>(row);
    const int* bottom = reinterpret_cast<const int*>(row + below);
    for (uint32_t j = 0; j < fast; j += 8) {
        const __m256i idx = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(offsets + j));
        const __m256i t = _mm256_i32gather_epi32(top, idx, 1);
        const __m256i b = _mm256_i32gather_epi32(bottom, idx, 1);
        const __m256i w = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(weights + j)));
        // 16-bit pairs (256 - w, w) against (S, S+): one multiply-add per lerp.
        const __m256i wPair = _mm256_or_si256(_mm256_sub_epi32(k256, w), _mm256_slli_epi32(w, 16));
        const __m256i tp = _mm256_or_si256(_mm256_and_si256(t, lowByte), _mm256_slli_epi32(_mm256_and_si256(_mm256_srli_epi32(t, 8), lowByte), 16));
        const __m256i bp = _mm256_or_si256(_mm256_and_si256(b, lowByte), _mm256_slli_epi32(_mm256_and_si256(_mm256_srli_epi32(b, 8), lowByte), 16));
        const __m256i ht = _mm256_srli_epi32(_mm256_madd_epi16(tp, wPair), 8);
        const __m256i hb = _mm256_srli_epi32(_mm256_madd_epi16(bp, wPair), 8);
        const __m256i v = _mm256_srli_epi32(_mm256_madd_epi16(_mm256_or_si256(ht, _mm256_slli_epi32(hb, 16)), rwPair), 8);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + j), Bytes8(v));
    }
    if (fast < groups) {
        // The plain form works out the trailing pixels from the run's own
        // length, so the groups left over are handed on as a run of their own.
        GrayInnerRow(dst + fast, row, weights + fast, offsets + fast, groups - fast, below, rw, 0);
    }
    if (groups < len) {
        // Trailing pixels: their weights sit at 4 * j from the run's start.
        const uint32_t w8 = rw & 255;
        for (uint32_t j = groups; j < len; ++j) {
            const uint8_t* s = row + offsets[j];
            const uint32_t cw = weights[4 * size_t(j)];
            const uint32_t a = (s[0] * (256 - cw) + s[1] * cw) >> 8;
            const uint32_t c = (s[below] * (256 - cw) + s[below + 1] * cw) >> 8;
            dst[j] = static_cast<uint8_t>((a * (256 - w8) + c * w8) >> 8);
        }
    }
}

void GrayGatherRowAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, uint32_t len, uint32_t wide) {
    const uint32_t fast = (wide < len ? wide : len) & ~7u;
    const __m256i lowByte = _mm256_set1_epi32(0xFF);
    const int* base = reinterpret_cast<const int*>(row);
    for (uint32_t j = 0; j < fast; j += 8) {
        const __m256i idx = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(offsets + j));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + j),
                         Bytes8(_mm256_and_si256(_mm256_i32gather_epi32(base, idx, 1), lowByte)));
    }
    for (uint32_t j = fast; j < len; ++j) dst[j] = row[offsets[j]];
}

}  // namespace tarn
