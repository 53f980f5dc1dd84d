// Planned single-channel gather, SSE2 form: without a byte shuffle only the
// blocks that double their source bytes (a 2x enlargement) are done with
// vectors: one load, the bytes interleaved with themselves, and for the odd
// phase the pairs moved one byte down with the next source byte at the end.
// Every other block is gathered as the plain form gathers it.
#include <emmintrin.h>

#include "scale/gray_gather.h"

namespace tarn {

void GrayPlannedGatherSse2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, uint32_t len,
                           const GrayGatherPlan& plan, const uint8_t*) {
    constexpr uint32_t kB = GrayGatherPlan::kBlock;
    const uint32_t blocks = len / kB < plan.blocks ? len / kB : plan.blocks;
    for (uint32_t b = 0; b < blocks; ++b) {
        uint8_t* d = dst + size_t(b) * kB;
        const uint8_t k = plan.kind[b];
        if (!(k & GrayGatherPlan::kDoubled)) {
            // The whole run of such blocks in one gather.
            uint32_t e = b + 1;
            while (e < blocks && !(plan.kind[e] & GrayGatherPlan::kDoubled)) ++e;
            GrayGatherRow(d, row, offsets + size_t(b) * kB, (e - b) * kB);
            b = e - 1;
            continue;
        }
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + plan.base[b]));
        __m128i r = _mm_unpacklo_epi8(v, v);  // source i at target 2i and 2i + 1
        if (k & GrayGatherPlan::kOddPhase)
            r = _mm_or_si128(_mm_srli_si128(r, 1), _mm_slli_si128(_mm_unpackhi_epi8(v, v), 15));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), r);
    }
    const uint32_t done = blocks * kB;
    GrayGatherRow(dst + done, row, offsets + done, len - done);
}

}  // namespace tarn
