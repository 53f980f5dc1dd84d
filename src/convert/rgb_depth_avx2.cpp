// The RGB depth rows, AVX2 form: eight pixels a step, each 128-bit half
// spreading or packing four pixels with one byte shuffle. Loads and stores
// stay inside the row; the last pixels go one by one.
#include <immintrin.h>

#include "convert/rgb_depth_rows.h"

namespace tarn {

void Rgb24ToRgb32RowAvx2(uint8_t* d, const uint8_t* s, int32_t width) {
    // Byte 3 of every pixel comes from an index with the high bit set: 0.
    const __m256i spread = _mm256_setr_epi8(0, 1, 2, -128, 3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128,  //
                                            0, 1, 2, -128, 3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128);
    int32_t x = 0;
    // The second half's 16-byte load starts 12 bytes in: 4 bytes past the
    // eight pixels, which must still lie in the row.
    for (; 3 * (x + 8) + 4 <= 3 * width; x += 8) {
        const __m256i v = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(s + 3 * x + 12),
                                              reinterpret_cast<const __m128i*>(s + 3 * x));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + 4 * x), _mm256_shuffle_epi8(v, spread));
    }
    Rgb24ToRgb32RowPlain(d + 4 * x, s + 3 * x, width - x);
}

void Rgb32ToRgb24RowAvx2(uint8_t* d, const uint8_t* s, int32_t width) {
    const __m256i pack = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -128, -128, -128, -128,  //
                                          0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -128, -128, -128, -128);
    const __m256i join = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    int32_t x = 0;
    for (; x + 8 <= width; x += 8) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 4 * x));
        const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(v, pack), join);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 3 * x), _mm256_castsi256_si128(packed));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 3 * x + 16), _mm256_extracti128_si256(packed, 1));
    }
    Rgb32ToRgb24RowPlain(d + 3 * x, s + 4 * x, width - x);
}

}  // namespace tarn
