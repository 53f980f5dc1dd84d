// Single-channel area shrink, AVX2 form of one source row's sweep: eight
// target columns at a time, each column's records added in list order with
// separate multiplies and adds (no fused form), so every float rounding is
// that of the plain form. Samples are gathered 4 bytes at a time inside
// `wide`; the rest goes to the plain form.
#include <immintrin.h>

#include "scale/planar_scale.h"

namespace tarn {

void AreaGrayRowAvx2(const uint8_t* row, const int32_t* index, const float* weight, uint32_t perColumn,
                     uint32_t width, uint32_t wide, float* current) {
    const uint32_t fast = (wide < width ? wide : width) & ~7u;
    const __m256i lowByte = _mm256_set1_epi32(0xFF);
    const int* base = reinterpret_cast<const int*>(row);
    for (uint32_t x = 0; x < fast; x += 8) {
        __m256 v = _mm256_loadu_ps(current + x);
        for (uint32_t r = 0; r < perColumn; ++r) {
            const size_t at = size_t(r) * width + x;
            const __m256i idx = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(index + at));
            const __m256i s = _mm256_and_si256(_mm256_i32gather_epi32(base, idx, 1), lowByte);
            v = _mm256_add_ps(v, _mm256_mul_ps(_mm256_cvtepi32_ps(s), _mm256_loadu_ps(weight + at)));
        }
        _mm256_storeu_ps(current + x, v);
    }
    if (fast < width) {
        // The plain form indexes its table by the full width, so it is run
        // column by column on the remainder.
        for (uint32_t x = fast; x < width; ++x) {
            float v = current[x];
            for (uint32_t r = 0; r < perColumn; ++r)
                v += row[index[size_t(r) * width + x]] * weight[size_t(r) * width + x];
            current[x] = v;
        }
    }
}

}  // namespace tarn
