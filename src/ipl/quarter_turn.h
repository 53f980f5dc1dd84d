// Copies of the quarter-turn path: each target pixel (i, j) of a block takes
// the source element at src + i * di + j * dj, with no arithmetic. For 180
// degrees di is minus an element and dj minus a row (rows reversed); for 90
// and 270 di is plus or minus a row and dj plus or minus an element (a source
// column gathered into a target row).
#pragma once

#include <cstdint>
#include <cstring>

namespace tarn {

struct QuarterBlock {
    uint8_t* dst;      // target pixel (0, 0)
    intptr_t dstStep;  // bytes per target row
    const uint8_t* src;
    intptr_t di, dj;   // source step per target column, per target row
    int32_t width, height;
};

using QuarterCopyFn = void (*)(const QuarterBlock& block);

// The copy for elements of 1, 2, 3 or 4 bytes whose target pixels are
// elements side by side. Fast forms exist for 1-byte elements.
QuarterCopyFn PickQuarterCopy(int32_t elementBytes);

#if defined(TARN_HAVE_X86_SIMD)
void QuarterCopyBytesSse2(const QuarterBlock& block);
void QuarterCopyBytesAvx2(const QuarterBlock& block);
#endif

// The plain copy of the columns [i0, i1) of the rows [j0, j1), which the fast
// forms use for what their blocks leave over.
template <int Element>
void QuarterCopyPlain(const QuarterBlock& b, int32_t i0, int32_t i1, int32_t j0, int32_t j1) {
    for (int32_t j = j0; j < j1; ++j) {
        uint8_t* d = b.dst + intptr_t(j) * b.dstStep + intptr_t(i0) * Element;
        const uint8_t* s = b.src + intptr_t(j) * b.dj + intptr_t(i0) * b.di;
        for (int32_t i = i0; i < i1; ++i, d += Element, s += b.di) std::memcpy(d, s, Element);
    }
}

template <int Element>
void QuarterCopyAll(const QuarterBlock& b) {
    QuarterCopyPlain<Element>(b, 0, b.width, 0, b.height);
}

}  // namespace tarn
