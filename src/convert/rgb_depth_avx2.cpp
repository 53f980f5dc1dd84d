// The RGB depth rows, AVX2 form: eight pixels a step (narrowing takes 32
// while it can), each 128-bit half spreading or packing four pixels with one
// byte shuffle. Loads and stores stay inside the row; the last pixels go one
// by one.
#include <immintrin.h>

#include "convert/rgb_depth_rows.h"

namespace tarn {

void Rgb24ToRgb32RowAvx2(uint8_t* d, const uint8_t* s, int32_t width) {
    // Byte 3 of every pixel comes from an index with the high bit set: 0.
    // The second half's 16-byte load starts 8 bytes in and ends with the
    // eight pixels, its four pixels 4 bytes into it; so no load leaves the
    // pixels of the step, and a row of whole steps has no one-by-one tail.
    const __m256i spread = _mm256_setr_epi8(0, 1, 2, -128, 3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128,  //
                                            4, 5, 6, -128, 7, 8, 9, -128, 10, 11, 12, -128, 13, 14, 15, -128);
    int32_t x = 0;
    for (; x + 8 <= width; x += 8) {
        const __m256i v = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(s + 3 * x + 8),
                                              reinterpret_cast<const __m128i*>(s + 3 * x));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + 4 * x), _mm256_shuffle_epi8(v, spread));
    }
    Rgb24ToRgb32RowPlain(d + 4 * x, s + 3 * x, width - x);
}

void Rgb32ToRgb24RowAvx2(uint8_t* d, const uint8_t* s, int32_t width) {
    const __m256i pack = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -128, -128, -128, -128,  //
                                          0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -128, -128, -128, -128);
    const __m256i join = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    // Thirty-two pixels a step: four packed loads give 96 bytes in three
    // whole 32-byte stores. After the in-lane pack each load holds its 24
    // bytes in dwords 0-2 and 4-6; each is turned so that its dwords land
    // where its part of a store lies, and the stores are blended together.
    const __m256i turnB = _mm256_setr_epi32(2, 4, 5, 6, 3, 7, 0, 1);
    const __m256i turnC = _mm256_setr_epi32(5, 6, 3, 7, 0, 1, 2, 4);
    const __m256i turnD = _mm256_setr_epi32(3, 7, 0, 1, 2, 4, 5, 6);
    int32_t x = 0;
    for (; x + 32 <= width; x += 32) {
        const __m256i* p = reinterpret_cast<const __m256i*>(s + 4 * x);
        const __m256i a = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(_mm256_loadu_si256(p), pack), join);
        const __m256i b = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(_mm256_loadu_si256(p + 1), pack), turnB);
        const __m256i c = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(_mm256_loadu_si256(p + 2), pack), turnC);
        const __m256i e = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(_mm256_loadu_si256(p + 3), pack), turnD);
        __m256i* q = reinterpret_cast<__m256i*>(d + 3 * x);
        _mm256_storeu_si256(q, _mm256_blend_epi32(a, b, 0xC0));
        _mm256_storeu_si256(q + 1, _mm256_blend_epi32(b, c, 0xF0));
        _mm256_storeu_si256(q + 2, _mm256_blend_epi32(c, e, 0xFC));
    }
    for (; x + 8 <= width; x += 8) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 4 * x));
        const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(v, pack), join);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 3 * x), _mm256_castsi256_si128(packed));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 3 * x + 16), _mm256_extracti128_si256(packed, 1));
    }
    Rgb32ToRgb24RowPlain(d + 3 * x, s + 4 * x, width - x);
}

}  // namespace tarn
