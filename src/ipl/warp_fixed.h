// The 16.16 fixed-point stepping that the 8-bit warp kernels share: steps
// per target column and row rounded once from the inverse mapping, and row
// values that accumulate them. The accumulation is part of the kernels'
// definition (rounding errors grow across a large image); no kernel
// recomputes a row from scratch. A walk in tiles takes row i as the first
// row's value plus i steps, which is the same sum modulo 2^32.
#pragma once

#include <algorithm>
#include <cstdint>

#include "ipl/ipl_round.h"
#include "ipl/warp_kernels.h"
#include "platform/byte_span.h"

namespace tarn {

struct FixedSteps {
    uint32_t stepXx, stepXy, stepYx, stepYy;  // per column and per row, for X and Y
    uint32_t rowX, rowY;                      // the first row's column 0

    // `bias` is added to the first row's values: half a pixel for the
    // nearest kernels, 0 for the interpolating ones.
    FixedSteps(const InverseAffine& m, int32_t firstRow, uint32_t bias) {
        constexpr double kOne = 65536.0;
        stepXx = uint32_t(RoundToInt32(m.a * kOne));
        stepXy = uint32_t(RoundToInt32(m.b * kOne));
        stepYx = uint32_t(RoundToInt32(m.d * kOne));
        stepYy = uint32_t(RoundToInt32(m.e * kOne));
        rowX = uint32_t(RoundToInt32((firstRow * m.b + m.c) * kOne)) + bias;
        rowY = uint32_t(RoundToInt32((firstRow * m.e + m.f) * kOne)) + bias;
    }
    void NextRow() { rowX += stepXy, rowY += stepYy; }
};

// The fast forms read several source pixels before they write, so they run
// only where the target's bytes are apart from the source's (ByteSpan).
inline bool RangesApart(const uint8_t* a, intptr_t aBytes, const uint8_t* b, intptr_t bBytes) {
    return ByteSpan::OfBytes(a, size_t(aBytes)).ApartFrom(ByteSpan::OfBytes(b, size_t(bBytes)));
}

// Bytes from a walk's pixel (0, 0) (at its first channel) to the end of
// its last pixel, and the same for the target's whole rows.
inline intptr_t SourceSpanBytes(const SampleWalk& w) {
    return intptr_t(w.height - 1) * w.rowBytes + intptr_t(w.width) * w.imageChannels;
}

// The source column (or row) of a nearest-neighbour position: the 16.16
// value shifted down, saturated to 16 bits as the kernels' 16-bit offset
// multiply takes it (unless the rows are too long for that multiply, when
// the full value is used), and held at the image's edge, which only a
// position the spans do not produce can pass.
inline int32_t NearestIndex(uint32_t v, bool narrow, int32_t size) {
    int32_t i = int32_t(v) >> 16;
    if (narrow) i = std::clamp(i, -32768, 32767);
    return std::clamp(i, 0, size - 1);
}

inline constexpr int32_t kShortRowLimit = 32768;  // row bytes the 16-bit offset multiply reaches

}  // namespace tarn
