// Bilinear Inner for 3- and 4-byte pixels, AVX2 form: four pixels per register in
// 16-bit lanes. Lerps are (a * (256 - w) + b * w) >> 8, equal to the plain
// a + floor((b - a) * w / 256). Loads read what the plain form reads, or for
// close 3-byte pixels a few bytes of the same row before it.
#include <immintrin.h>

#include "scale/inner_lanes_avx2.h"
#include "scale/inner_rows.h"

namespace tarn {
namespace {

using namespace inner_lanes;

template <uint32_t SB, uint32_t DB>
void Inner(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len, int32_t below,
           uint32_t rw) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i k256 = _mm256_set1_epi16(256);
    const __m256i rw16 = _mm256_unpacklo_epi8(_mm256_set1_epi32(static_cast<int32_t>(rw)), zero);
    const __m256i rwi = _mm256_sub_epi16(k256, rw16);
    uint32_t j = 0;
    for (; j + 4 <= len; j += 4, dst += 4 * DB) {
        Fetch(row + co[j] + kFetchAhead);
        Fetch(row + below + co[j] + kFetchAhead);
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
            StorePitch3(dst, four, j + 4 < len);
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
