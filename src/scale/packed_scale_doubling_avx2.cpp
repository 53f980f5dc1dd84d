// The 4:2:2 scaler doubling both ways, AVX2 form: each target row straight
// from its source rows as PackedDoubledByte (packed_scale.h) works it, with
// no rows of blends kept between. Sixteen source bytes widened to 16 bits
// make thirty-two target bytes of a row.
#include <immintrin.h>

#include "scale/packed_scale.h"
#include "scale/packed_sweep_avx2.h"

namespace tarn {
namespace {

__m256i Wide(const uint8_t* p) { return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))); }

// Thirty-two target bytes from the values of the even and the odd target
// pairs of sixteen source bytes, 16-bit lanes in source order. Each 128-bit
// lane holds eight source bytes: the unpacks put the even and odd pairs of
// its first and last four in turn, and the pack puts those two halves one
// after the other, which is target order.
__m256i Interleaved(__m256i even, __m256i odd) {
    return _mm256_packus_epi16(_mm256_unpacklo_epi32(even, odd), _mm256_unpackhi_epi32(even, odd));
}

// One target row (SweepDoubledRow).
void DoubledRow(uint8_t* d, const uint8_t* upper, const uint8_t* lower, bool second, size_t n, bool around) {
    SweepDoubledRow(
        [](auto&&... a) { Sweep(a...); },
        [&](size_t i) {
            const __m256i a = Wide(upper + i / 2), b = Wide(upper + i / 2 + 2);
            return Interleaved(a, _mm256_srli_epi16(_mm256_add_epi16(a, b), 1));
        },
        [&](size_t i) {
            const __m256i down = _mm256_add_epi16(Wide(upper + i / 2), Wide(lower + i / 2));
            const __m256i next = _mm256_add_epi16(Wide(upper + i / 2 + 2), Wide(lower + i / 2 + 2));
            return Interleaved(_mm256_srli_epi16(down, 1), _mm256_srli_epi16(_mm256_add_epi16(down, next), 2));
        },
        d, upper, lower, second, n, around);
}

}  // namespace

bool ScalePackedDoublingAvx2(const ScaleTarget& target, const ScaleSource& source) {
    bool around = false;
    if (!ScalePackedDoubling(target, source, DoubledRow, around)) return false;
    // The streamed stores are ordered before whatever the caller does next.
    if (around) _mm_sfence();
    return true;
}

}  // namespace tarn
