// Single-channel area shrink, AVX2 form of one source row's sweep. The row
// is widened to floats once; eight target columns at a time then pick their
// samples out of a 16-float window by two permutes and a blend (exact
// copies), and add each column's records in list order with separate
// multiplies and adds, so every rounding is that of the plain form. Blocks
// whose samples spread wider than the window go column by column.
#include <immintrin.h>

#include "scale/planar_scale.h"

namespace tarn {
namespace {

// This file is built with fused multiply-add available, and the compiler
// would fuse a product into the sum that follows; the sums must round the
// product on its own, as the plain form does. An empty asm statement hides
// the product from that contraction and costs nothing.
inline float Rounded(float p) {
#if defined(__GNUC__)
    __asm__("" : "+x"(p));
#endif
    return p;
}

inline __m256 Rounded(__m256 p) {
#if defined(__GNUC__)
    __asm__("" : "+x"(p));
#endif
    return p;
}

void Column(const uint8_t* row, const int32_t* index, const float* weight, uint32_t perColumn, uint32_t width,
            uint32_t x, float* current) {
    float v = current[x];
    for (uint32_t r = 0; r < perColumn; ++r) v += Rounded(row[index[size_t(r) * width + x]] * weight[size_t(r) * width + x]);
    current[x] = v;
}

}  // namespace

void AreaGrayRowAvx2(const uint8_t* row, uint32_t srcWidth, const int32_t* index, const float* weight,
                     uint32_t perColumn, uint32_t width, float* scratch, float* current) {
    uint32_t i = 0;
    for (; i + 8 <= srcWidth; i += 8)
        _mm256_storeu_ps(scratch + i, _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(
                                          _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + i)))));
    for (; i < srcWidth; ++i) scratch[i] = row[i];
    const __m256i eight = _mm256_set1_epi32(8);
    const __m256i seven = _mm256_set1_epi32(7);
    const uint32_t fast = width & ~7u;
    for (uint32_t x = 0; x < fast; x += 8) {
        const int32_t base = index[x];
        bool fits = true;
        for (uint32_t r = 0; r < perColumn; ++r) fits &= index[size_t(r) * width + x + 7] - base < 16;
        if (!fits) {
            for (uint32_t k = x; k < x + 8; ++k) Column(row, index, weight, perColumn, width, k, current);
            continue;
        }
        const __m256 lo = _mm256_loadu_ps(scratch + base);
        const __m256 hi = _mm256_loadu_ps(scratch + base + 8);
        const __m256i b = _mm256_set1_epi32(base);
        __m256 v = _mm256_loadu_ps(current + x);
        for (uint32_t r = 0; r < perColumn; ++r) {
            const size_t at = size_t(r) * width + x;
            const __m256i rel = _mm256_sub_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(index + at)), b);
            const __m256 pick = _mm256_blendv_ps(_mm256_permutevar8x32_ps(lo, rel),
                                                 _mm256_permutevar8x32_ps(hi, _mm256_sub_epi32(rel, eight)),
                                                 _mm256_castsi256_ps(_mm256_cmpgt_epi32(rel, seven)));
            v = _mm256_add_ps(v, Rounded(_mm256_mul_ps(pick, _mm256_loadu_ps(weight + at))));
        }
        _mm256_storeu_ps(current + x, v);
    }
    for (uint32_t x = fast; x < width; ++x) Column(row, index, weight, perColumn, width, x, current);
}

namespace {

// Bytes of trunc(v + 0.5) for eight float sums, the addition in double.
inline __m128i RoundedBytes(__m256 v) {
    const __m256d half = _mm256_set1_pd(0.5);
    const __m128i lo = _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(v)), half));
    const __m128i hi = _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(v, 1)), half));
    const __m128i mask = _mm_set1_epi32(0xFF);
    const __m128i words = _mm_packs_epi32(_mm_and_si128(lo, mask), _mm_and_si128(hi, mask));
    return _mm_packus_epi16(words, words);
}

}  // namespace

void AreaEmitRowAvx2(uint8_t* out, float* current, float* carry, uint32_t total) {
    uint32_t i = 0;
    const __m256 zero = _mm256_setzero_ps();
    for (; i + 8 <= total; i += 8) {
        const __m256 sum = _mm256_add_ps(_mm256_loadu_ps(current + i), _mm256_loadu_ps(carry + i));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), RoundedBytes(sum));
        _mm256_storeu_ps(current + i, zero);
        _mm256_storeu_ps(carry + i, zero);
    }
    if (i < total) AreaEmitRow(out + i, current + i, carry + i, total - i);
}

void AreaEmitSplitRowAvx2(uint8_t* out, float* current, float* carry, uint32_t total, float f) {
    const float g = static_cast<float>(1.0 - f);
    const __m256 gv = _mm256_set1_ps(g), fv = _mm256_set1_ps(f), zero = _mm256_setzero_ps();
    uint32_t i = 0;
    for (; i + 8 <= total; i += 8) {
        const __m256 c = _mm256_loadu_ps(current + i);
        const __m256 sum = _mm256_add_ps(Rounded(_mm256_mul_ps(c, gv)), _mm256_loadu_ps(carry + i));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), RoundedBytes(sum));
        _mm256_storeu_ps(carry + i, _mm256_mul_ps(c, fv));
        _mm256_storeu_ps(current + i, zero);
    }
    if (i < total) AreaEmitSplitRow(out + i, current + i, carry + i, total - i, f);
}

void AreaCarryRowAvx2(float* current, float* carry, uint32_t total) {
    uint32_t i = 0;
    const __m256 zero = _mm256_setzero_ps();
    for (; i + 8 <= total; i += 8) {
        _mm256_storeu_ps(carry + i, _mm256_add_ps(_mm256_loadu_ps(carry + i), _mm256_loadu_ps(current + i)));
        _mm256_storeu_ps(current + i, zero);
    }
    if (i < total) AreaCarryRow(current + i, carry + i, total - i);
}

}  // namespace tarn
