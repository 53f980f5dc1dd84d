// The store of eight target pixels that every AVX2 warp row ends with: one
// 32-bit word a pixel, its bytes at the bottom, written in the target's
// shape. Include <immintrin.h> first; only the AVX2 files include this header.
#pragma once

#include <cstdint>

namespace tarn {

// Dst bytes a target pixel, Count of them written: (1, 1) a byte, (3, 3)
// three, (4, 4) the word, (4, 3) three with the target's fourth byte kept.
template <int Dst, int Count>
inline void StoreWords(uint8_t* d, __m256i v) {
    if constexpr (Dst == 1) {
        // Byte 0 of each word to the front of its lane, then the two lanes' words together.
        const __m256i pick = _mm256_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 4, 8,
                                              12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
        const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(v, pick),
                                                            _mm256_setr_epi32(0, 4, 1, 1, 1, 1, 1, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(packed));
    } else if constexpr (Dst == 3) {
        const __m256i pick = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4, 5,
                                              6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
        const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(v, pick),
                                                            _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(packed));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 16), _mm256_extracti128_si256(packed, 1));
    } else if constexpr (Count == 4) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), v);
    } else {
        const __m256i low = _mm256_set1_epi32(0x00FFFFFF);
        const __m256i kept = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d),
                            _mm256_or_si256(_mm256_and_si256(v, low), _mm256_andnot_si256(low, kept)));
    }
}

}  // namespace tarn
