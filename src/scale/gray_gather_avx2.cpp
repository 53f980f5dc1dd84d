// Planned single-channel gather, AVX2 form: each block of 16 target bytes is
// one or two 16-byte loads spread by a byte shuffle. A shuffle index with its
// top bit set gives 0, so the two shuffled loads are simply or-ed. Blocks
// the plan leaves to bytes, and the columns after the last block, are
// gathered as the plain form gathers them.
#include <immintrin.h>

#include "scale/drivers.h"
#include "scale/gray_gather.h"

namespace tarn {

void GrayPlannedGatherAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, uint32_t len,
                           const GrayGatherPlan& plan) {
    constexpr uint32_t kB = GrayGatherPlan::kBlock;
    const uint32_t blocks = len / kB < plan.blocks ? len / kB : plan.blocks;
    for (uint32_t b = 0; b < blocks; ++b) {
        uint8_t* d = dst + size_t(b) * kB;
        const uint8_t* s = row + plan.base[b];
        const __m128i* m = reinterpret_cast<const __m128i*>(plan.masks + size_t(b) * 32);
        switch (plan.kind[b] & GrayGatherPlan::kLoads) {
            case 1: {
                const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_shuffle_epi8(v, _mm_loadu_si128(m)));
                break;
            }
            case 2: {
                const __m128i v0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
                const __m128i v1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16));
                const __m128i r = _mm_or_si128(_mm_shuffle_epi8(v0, _mm_loadu_si128(m)),
                                               _mm_shuffle_epi8(v1, _mm_loadu_si128(m + 1)));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(d), r);
                break;
            }
            default: GrayGatherRow(d, row, offsets + size_t(b) * kB, kB); break;
        }
    }
    const uint32_t done = blocks * kB;
    GrayGatherRow(dst + done, row, offsets + done, len - done);
}

}  // namespace tarn
