// AVX2 form of the packed reorder row: one byte shuffle moves eight pairs.
#include <immintrin.h>

#include "convert/reorder_rows.h"

namespace tarn {

void ReorderRowAvx2(uint8_t* dst, const uint8_t* src, size_t pairs, PackedOrder from,
                    PackedOrder to) {
    const ReorderMap m = MapOf(from, to);
    alignas(32) uint8_t mask[32];
    for (int i = 0; i < 32; ++i) mask[i] = static_cast<uint8_t>((i & ~3) + m.from[i & 3]);
    const __m256i shuffle = _mm256_load_si256(reinterpret_cast<const __m256i*>(mask));
    size_t i = 0;
    for (; i + 8 <= pairs; i += 8) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 4 * i));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 4 * i), _mm256_shuffle_epi8(v, shuffle));
    }
    ReorderRowPlain(dst + 4 * i, src + 4 * i, pairs - i, from, to);
}

}  // namespace tarn
