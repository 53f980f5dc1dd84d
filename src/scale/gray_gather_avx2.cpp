// Planned single-channel gather, AVX2 form: each block of 16 target bytes is
// one to four 16-byte loads spread by byte shuffles. A shuffle index with its
// top bit set gives 0, so the shuffled loads are simply or-ed. Blocks
// the plan leaves to bytes, and the columns after the last block, are
// gathered as the plain form gathers them.
#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "scale/axis_table.h"
#include "scale/gray_gather.h"
#include "scale/gray_strided.h"

namespace tarn {

void GrayPlannedGatherAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, uint32_t len,
                           const GrayGatherPlan& plan, const uint8_t* ahead) {
    constexpr uint32_t kB = GrayGatherPlan::kBlock;
    const uint32_t blocks = len / kB < plan.blocks ? len / kB : plan.blocks;
    // A strided lead first, its loads bounded as the plan's are.
    const uint32_t lead = len < plan.stridedColumns ? 0 : plan.stridedColumns;
    const uint32_t strided = lead ? StridedPicksAvx2(dst, row + plan.strideFirst, lead, plan.stride, plan.stride * lead,
                                                     ahead ? ahead + plan.strideFirst : nullptr)
                                  : 0;
    // The plan's arrays are read through locals: a store to `dst` may alias
    // the plan object, which would otherwise reload its pointers every block
    // and lengthen a loop that runs a few cycles per block.
    const uint32_t* const base = plan.base;
    const uint8_t* const kind = plan.kind;
    const __m128i* m = reinterpret_cast<const __m128i*>(plan.masks) + size_t(strided / kB) * GrayGatherPlan::kMostLoads;
    uint8_t* d = dst + strided;
    for (uint32_t b = strided / kB; b < blocks; ++b, d += kB, m += GrayGatherPlan::kMostLoads) {
        const uint8_t* s = row + base[b];
        auto part = [&](uint32_t l) {
            return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16 * l)), _mm_loadu_si128(m + l));
        };
        switch (kind[b] & GrayGatherPlan::kLoads) {
            case 1: _mm_storeu_si128(reinterpret_cast<__m128i*>(d), part(0)); break;
            case 2: _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_or_si128(part(0), part(1))); break;
            case 3:
                _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_or_si128(_mm_or_si128(part(0), part(1)), part(2)));
                break;
            case 4:
                _mm_storeu_si128(reinterpret_cast<__m128i*>(d),
                                 _mm_or_si128(_mm_or_si128(part(0), part(1)), _mm_or_si128(part(2), part(3))));
                break;
            default: GrayGatherRow(d, row, offsets + size_t(b) * kB, kB); break;
        }
    }
    const uint32_t done = blocks * kB;
    GrayGatherRow(dst + done, row, offsets + done, len - done);
}

void GrayStridedRowsAvx2(uint8_t* dst, int32_t dstStride, const uint8_t* src, const uint32_t* rowOffsets,
                         uint32_t rows, const uint32_t* offsets, uint32_t len, uint32_t srcWidth) {
    const uint32_t origin = offsets[0], step = offsets[1] - offsets[0];
    for (uint32_t y = 0; y < rows; ++y) {
        uint8_t* d = dst + intptr_t(dstStride) * y;
        if (y > 0 && rowOffsets[y] == rowOffsets[y - 1]) {
            std::memcpy(d, d - dstStride, len);
            continue;
        }
        const uint8_t* r = src + RowDelta(rowOffsets[y]);
        const uint8_t* ahead = y + 1 < rows ? src + RowDelta(rowOffsets[y + 1]) + origin : nullptr;
        const uint32_t done = StridedPicksAvx2(d, r + origin, len, step, srcWidth - origin, ahead);
        GrayGatherRow(d + done, r, offsets + done, len - done);
    }
}

// Plain stores up to the first 32-byte boundary of the target, then
// non-temporal ones, which need it, and plain ones for the tail.
void GrayStreamRowAvx2(uint8_t* dst, const uint8_t* src, uint32_t n) {
    const uint32_t lead = std::min<uint32_t>(n, uint32_t(-reinterpret_cast<uintptr_t>(dst) & 31));
    std::memcpy(dst, src, lead);
    uint32_t i = lead;
    for (; i + 32 <= n; i += 32)
        _mm256_stream_si256(reinterpret_cast<__m256i*>(dst + i),
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i)));
    std::memcpy(dst + i, src + i, n - i);
}

void GrayStreamFenceAvx2() { _mm_sfence(); }

}  // namespace tarn
