// The sharpening passes, AVX2 form: eight pixels at a time with the plain
// form's float operations in its order (a sum from 0 over the taps in
// order, each product rounded on its own, one division), so each pixel
// rounds as it does there. Pixels whose taps leave the row go one by one;
// the vertical pass runs row by row, so its taps are the same for all eight.
#include <immintrin.h>

#include "scale/rounded.h"
#include "scale/sharpen.h"

namespace tarn {
namespace {

inline __m256 Bytes8(const uint8_t* p) {
    return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
}

}  // namespace

void BlurHorizontalAvx2(const uint8_t* in, int32_t width, int32_t height, const float* k, int32_t n, float* tmp) {
    const int32_t r = n / 2;
    float whole = 0;
    for (int32_t i = 0; i < n; ++i) whole += k[i];
    const __m256 weight = _mm256_set1_ps(whole);
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* row = in + intptr_t(y) * width;
        float* t = tmp + intptr_t(y) * width;
        int32_t x = 0;
        for (; x < width && x < r; ++x) t[x] = BlurRowAt(row, width, x, k, n);
        // All taps of x .. x + 7 inside the row.
        for (; x + 7 + r < width; x += 8) {
            __m256 sum = _mm256_setzero_ps();
            for (int32_t i = 0; i < n; ++i)
                sum = _mm256_add_ps(sum, Rounded(_mm256_mul_ps(Bytes8(row + x + i - r), _mm256_set1_ps(k[i]))));
            _mm256_storeu_ps(t + x, _mm256_div_ps(sum, weight));
        }
        for (; x < width; ++x) t[x] = BlurRowAt(row, width, x, k, n);
    }
}

void BlurVerticalAvx2(const float* tmp, int32_t width, int32_t height, const float* k, int32_t n, uint8_t* out) {
    const int32_t r = n / 2;
    const __m256i low = _mm256_set1_epi32(255);
    for (int32_t y = 0; y < height; ++y) {
        float whole = 0;
        for (int32_t i = 0; i < n; ++i)
            if (y + i - r >= 0 && y + i - r < height) whole += k[i];
        const __m256 weight = _mm256_set1_ps(whole);
        uint8_t* o = out + intptr_t(y) * width;
        int32_t x = 0;
        for (; x + 8 <= width; x += 8) {
            __m256 sum = _mm256_setzero_ps();
            for (int32_t i = 0; i < n; ++i) {
                const int32_t row = y + i - r;
                if (row < 0 || row >= height) continue;
                sum = _mm256_add_ps(sum, Rounded(_mm256_mul_ps(_mm256_loadu_ps(tmp + intptr_t(row) * width + x),
                                                               _mm256_set1_ps(k[i]))));
            }
            const __m256i bytes = _mm256_and_si256(_mm256_cvttps_epi32(sum), low);
            const __m256i v = _mm256_and_si256(_mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(bytes), weight)), low);
            const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(o + x), _mm_packus_epi16(words, words));
        }
        for (; x < width; ++x) o[x] = BlurColumnAt(tmp, width, height, x, y, k, n);
    }
}

// The divisions are those of integers below 2^17 by a divisor below 512:
// in doubles the quotient of one that is not whole lies at least 1/512 from
// a whole number, far beyond the rounding, so truncating it gives the
// integer quotient.
void ApplySharpenAvx2(uint8_t* plane, int32_t width, int32_t height, int32_t stride, const uint8_t* a,
                      const uint8_t* b, int32_t high, int32_t low) {
    const __m256i zero = _mm256_setzero_si256(), k255 = _mm256_set1_epi32(255);
    const __m256d highD = _mm256_set1_pd(high > 0 ? high : 1), lowD = _mm256_set1_pd(low < 0 ? low : -1);
    const __m256i useHigh = _mm256_set1_epi32(high > 0 ? -1 : 0), useLow = _mm256_set1_epi32(low < 0 ? -1 : 0);
    auto quotient = [](__m256i num, __m256d den) {
        const __m128i lo = _mm256_cvttpd_epi32(_mm256_div_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(num)), den));
        const __m128i hi = _mm256_cvttpd_epi32(_mm256_div_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(num, 1)), den));
        return _mm256_set_m128i(hi, lo);
    };
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* ar = a + size_t(y) * width;
        const uint8_t* br = b + size_t(y) * width;
        uint8_t* p = plane + intptr_t(y) * stride;
        int32_t x = 0;
        for (; x + 8 <= width; x += 8) {
            const __m256i av = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(ar + x)));
            const __m256i bv = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(br + x)));
            const __m256i d = _mm256_sub_epi32(av, bv);
            const __m256i up = _mm256_and_si256(_mm256_cmpgt_epi32(d, zero), useHigh);
            const __m256i down = _mm256_andnot_si256(up, _mm256_and_si256(_mm256_cmpgt_epi32(zero, d), useLow));
            const __m256i v1 = _mm256_add_epi32(av, quotient(_mm256_mullo_epi32(_mm256_sub_epi32(k255, av), d), highD));
            const __m256i v2 = _mm256_sub_epi32(av, quotient(_mm256_mullo_epi32(av, d), lowD));
            __m256i v = _mm256_blendv_epi8(v2, v1, up);
            v = _mm256_min_epi32(_mm256_max_epi32(v, zero), k255);
            const __m256i old = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + x)));
            v = _mm256_blendv_epi8(old, v, _mm256_or_si256(up, down));
            const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(p + x), _mm_packus_epi16(words, words));
        }
        for (; x < width; ++x) ApplySharpenAt(p + x, ar[x], br[x], high, low);
    }
}

}  // namespace tarn
