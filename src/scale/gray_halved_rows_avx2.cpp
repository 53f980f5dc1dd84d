// Halved rows, AVX2 form: the strided means of each source row go straight
// into its target row, or with the means of the row below into their mean.
// Driven row by row through the row cache these images spent a third of
// their time outside the means themselves.
#include <cstring>
#include <memory>
#include <new>

#include "scale/axis_table.h"
#include "scale/gray_halved_rows.h"
#include "scale/gray_strided.h"
#include "scale/pixel_lanes.h"

namespace tarn {
namespace {

struct Columns {
    uint32_t origin, step;
};

// Whether every grouped column is a mean of neighbours, origin + step * j,
// and every row weight 0, or 128 at a step of 2. The weights are or-ed
// rather than tested one by one, which the compiler turns into vectors.
bool Fits(const uint32_t* rowWeights, uint32_t rows, const uint8_t* weights, const uint32_t* offsets,
          uint32_t groups, Columns& c) {
    const uint32_t step = WholeStrideOf(offsets, groups);
    if (step == 0) return false;
    c = {offsets[0], step};
    uint32_t weight = 0;
    for (uint32_t j = 0; j < groups; ++j) weight |= uint32_t(weights[j] ^ 128);
    uint32_t blended = 0;
    for (uint32_t y = 0; y < rows; ++y) blended |= rowWeights[y] & 255;
    // Weights of 0 and 128 only, and 128 only at a step of 2.
    return weight == 0 && (blended & 127) == 0 && (blended == 0 || c.step == 2);
}

inline uint8_t Mean(const uint8_t* row, const uint32_t* offsets, uint32_t j) {
    return uint8_t(LerpByte(row[offsets[j]], row[offsets[j] + 1], 128));
}

}  // namespace

bool GrayHalvedRowsAvx2(uint8_t* dst, int32_t dstStride, const uint8_t* src, const uint32_t* rowOffsets,
                        const uint32_t* rowWeights, uint32_t rows, int32_t below, const uint8_t* weights,
                        const uint32_t* offsets, uint32_t len, uint32_t srcWidth) {
    const uint32_t groups = len & ~3u;
    Columns c;
    if (!Fits(rowWeights, rows, weights, offsets, groups, c)) return false;
    const uint32_t reach = srcWidth - c.origin;
    // Two rows of means: `held` keeps those of source row `heldRow`, the
    // lower row of the last blended pair; the other takes an upper row's.
    const std::unique_ptr<uint8_t[]> means(new (std::nothrow) uint8_t[2 * size_t(groups)]);
    if (!means) return false;
    uint8_t* held = means.get();
    uint8_t* spare = held + groups;
    const uint8_t* heldRow = nullptr;
    auto rowAt = [&](uint32_t y) { return src + RowDelta(rowOffsets[y]); };
    // The trailing pixels as the driver's rows work them.
    auto trailing = [&](uint8_t* d, const uint8_t* r, uint32_t w8) {
        for (uint32_t j = groups; j < len; ++j) {
            const uint8_t* s = r + offsets[j];
            const uint32_t cw = weights[4 * size_t(j)];
            const uint32_t upper = LerpByte(s[0], s[1], cw);
            d[j] = uint8_t(w8 ? LerpByte(upper, LerpByte(s[below], s[below + 1], cw), w8) : upper);
        }
    };
    for (uint32_t y = 0; y < rows; ++y) {
        uint8_t* d = dst + intptr_t(dstStride) * y;
        const uint8_t* r = rowAt(y);
        const uint32_t w8 = rowWeights[y] & 255;
        const uint8_t* low = r + below;
        // Two blended rows in turn whose second starts at the first one's
        // lower row (field pairs) read their three rows in one pass.
        if (w8 && r != heldRow && y + 1 < rows && (rowWeights[y + 1] & 255) && rowAt(y + 1) == low) {
            uint8_t* d1 = d + dstStride;
            const uint8_t* last = low + below;
            // The rows the target row after the two reads, unless held by then.
            const uint8_t* ahead = nullptr;
            const uint8_t* aheadToo = nullptr;
            if (y + 2 < rows) {
                const uint8_t* next = rowAt(y + 2);
                if (next != last) ahead = next + c.origin;
                if (rowWeights[y + 2] & 255) aheadToo = next + below + c.origin;
            }
            uint32_t j = StridedMeanRowPairsAvx2(d, d1, r + c.origin, low + c.origin, last + c.origin, held, groups,
                                                 reach, ahead, aheadToo);
            for (; j < groups; ++j) {
                const uint8_t t = Mean(r, offsets, j), m = Mean(low, offsets, j), b = held[j] = Mean(last, offsets, j);
                d[j] = uint8_t(LerpByte(t, m, 128));
                d1[j] = uint8_t(LerpByte(m, b, 128));
            }
            heldRow = last;
            trailing(d, r, w8);
            trailing(d1, low, rowWeights[y + 1] & 255);
            ++y;
            continue;
        }
        // The row the next target row reads first that is not held by then.
        const uint8_t* next = y + 1 < rows ? rowAt(y + 1) : nullptr;
        const uint8_t* fetch = next && w8 && next == low ? next + below : next;
        const uint8_t* ahead = fetch ? fetch + c.origin : nullptr;
        if (w8 == 0) {
            if (r == heldRow) {
                std::memcpy(d, held, groups);
            } else {
                uint32_t j = StridedMeansAvx2(d, r + c.origin, groups, c.step, reach, ahead);
                for (; j < groups; ++j) d[j] = Mean(r, offsets, j);
            }
        } else {
            const uint8_t* top = r == heldRow ? held : nullptr;
            // The lower row's means go to the row not read from here.
            uint8_t* lowOut = top ? spare : held;
            uint32_t j = StridedMeanRowsAvx2(d, top, r + c.origin, low + c.origin, spare, lowOut, groups, reach,
                                             ahead);
            for (; j < groups; ++j) {
                const uint8_t b = lowOut[j] = Mean(low, offsets, j);
                const uint8_t t = top ? top[j] : (spare[j] = Mean(r, offsets, j));
                d[j] = uint8_t(LerpByte(t, b, 128));
            }
            if (top) spare = held, held = lowOut;
            heldRow = low;
        }
        trailing(d, r, w8);
    }
    return true;
}

}  // namespace tarn
