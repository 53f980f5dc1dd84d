// Box rows of unit boxes, AVX2 form: eight target pixels a step, gathered
// by their resolved offsets with the pixels of count 0 masked to zero.
#include <immintrin.h>

#include "scale/box_unit.h"
#include "scale/pixel_lanes.h"

namespace tarn {

namespace {

// Eight pixels a block by the planned shuffles; returns the pixels done.
template <uint32_t DP>
uint32_t Windowed(uint8_t* dst, const uint8_t* row, const UnitWindows& w) {
    const int32_t* base = w.base.data();
    const uint8_t* mask = w.masks.data();
    for (uint32_t b = 0; b < w.blocks; ++b, base += 2, mask += 32, dst += 8 * DP) {
        const __m256i window = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(row + base[1]),
                                                   reinterpret_cast<const __m128i*>(row + base[0]));
        const __m256i px = _mm256_shuffle_epi8(window, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(mask)));
        if constexpr (DP == 4) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), px);
        } else {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(px));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 12), _mm256_extracti128_si256(px, 1));
        }
    }
    return 8 * w.blocks;
}

}  // namespace

template <BoxFamily F>
void BoxUnitRowAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* resolved, uint32_t len,
                    const UnitWindows* windows) {
    constexpr uint32_t dp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes43 ? 3 : 4;
    if (windows) {
        const uint32_t done = Windowed<dp>(dst, row, *windows);
        for (uint32_t j = done; j < len; ++j)
            Store4(dst + size_t(j) * dp, resolved[j] == kUnitBlack ? 0 : Load4(row + resolved[j]));
        return;
    }
    const __m256i black = _mm256_set1_epi32(int32_t(kUnitBlack));
    // Per 16-byte half: four 3-byte pixels, then the fourth byte of the last
    // one, which is what the plain form leaves there until the next pixel.
    const __m256i squeeze = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, -128, -128, -128,
                                             0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, -128, -128, -128);
    const int* base = reinterpret_cast<const int*>(row);
    // A 3-byte block writes three bytes past its last pixel, which the next
    // pixel's store covers: it runs only where one follows.
    const uint32_t blocks = dp == 4 ? len / 8 : (len >= 9 ? (len - 1) / 8 : 0);
    uint32_t j = 0;
    for (uint32_t b = 0; b < blocks; ++b, j += 8, dst += 8 * dp) {
        const __m256i at = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(resolved + j));
        const __m256i keep = _mm256_xor_si256(_mm256_cmpeq_epi32(at, black), _mm256_set1_epi32(-1));
        const __m256i px = _mm256_mask_i32gather_epi32(_mm256_setzero_si256(), base, at, keep, 1);
        if constexpr (dp == 4) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), px);
        } else {
            const __m256i packed = _mm256_shuffle_epi8(px, squeeze);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(packed));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 12), _mm256_extracti128_si256(packed, 1));
        }
    }
    for (; j < len; ++j, dst += dp) Store4(dst, resolved[j] == kUnitBlack ? 0 : Load4(row + resolved[j]));
}

template void BoxUnitRowAvx2<BoxFamily::Bytes33>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t, const UnitWindows*);
template void BoxUnitRowAvx2<BoxFamily::Bytes34>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t, const UnitWindows*);
template void BoxUnitRowAvx2<BoxFamily::Bytes43>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t, const UnitWindows*);
template void BoxUnitRowAvx2<BoxFamily::Bytes44>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t, const UnitWindows*);

}  // namespace tarn
