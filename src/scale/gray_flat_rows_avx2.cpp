// Flat halved rows, AVX2 form: the strided means of each source row go
// straight into its target row. Driven row by row through the row cache
// these images spent a third of their time outside the means themselves.
#include "scale/gray_flat_rows.h"

#include "scale/axis_table.h"
#include "scale/gray_strided.h"
#include "scale/pixel_lanes.h"

namespace tarn {

bool GrayFlatRowsAvx2(uint8_t* dst, int32_t dstStride, const uint8_t* src, const uint32_t* rowOffsets,
                      uint32_t rows, const uint8_t* weights, const uint32_t* offsets, uint32_t len,
                      uint32_t srcWidth) {
    const uint32_t groups = len & ~3u;
    if (groups < 2) return false;
    const uint32_t origin = offsets[0], step = offsets[1] - offsets[0];
    if (step != 2 && step != 4 && step != 8) return false;
    for (uint32_t j = 0; j < groups; ++j)
        if (weights[j] != 128 || offsets[j] != origin + step * j) return false;
    for (uint32_t y = 0; y < rows; ++y) {
        uint8_t* d = dst + intptr_t(dstStride) * y;
        const uint8_t* r = src + RowDelta(rowOffsets[y]);
        const uint8_t* ahead = y + 1 < rows ? src + RowDelta(rowOffsets[y + 1]) + origin : nullptr;
        uint32_t j = StridedMeansAvx2(d, r + origin, groups, step, srcWidth - origin, ahead);
        for (; j < groups; ++j) d[j] = uint8_t(LerpByte(r[offsets[j]], r[offsets[j] + 1], 128));
        // A row weight of 0 leaves the upper row's blend: the row below plays no part.
        for (; j < len; ++j) {
            const uint8_t* s = r + offsets[j];
            d[j] = uint8_t(LerpByte(s[0], s[1], weights[4 * size_t(j)]));
        }
    }
    return true;
}

}  // namespace tarn
