// Single-channel bilinear images whose every target row reads one source
// row (a row weight of 0, as shrinks by a whole factor give) and whose
// columns are all means of two neighbours at a step of 2, 4 or 8: each
// target row is the means of its source row, worked straight into the
// target with nothing kept between rows.
#pragma once

#include <cstdint>

namespace tarn {

// The rows of such an image, in order: row y from the source row at
// rowOffsets[y], through the column tables of the bilinear driver (weights
// one byte per column; the len mod 4 trailing pixels take theirs from the
// byte at 4 * j, as every form of that driver does). False, with nothing
// written, where the column tables are not halves; the caller then runs
// its general rows. The caller makes sure writing the target cannot change
// the source.
using GrayFlatRowsFn = bool (*)(uint8_t* dst, int32_t dstStride, const uint8_t* src, const uint32_t* rowOffsets,
                                uint32_t rows, const uint8_t* weights, const uint32_t* offsets, uint32_t len,
                                uint32_t srcWidth);

// Null where no fast form runs.
GrayFlatRowsFn PickGrayFlatRows();

#if defined(TARN_HAVE_X86_SIMD)
bool GrayFlatRowsAvx2(uint8_t* dst, int32_t dstStride, const uint8_t* src, const uint32_t* rowOffsets,
                      uint32_t rows, const uint8_t* weights, const uint32_t* offsets, uint32_t len,
                      uint32_t srcWidth);
#endif

}  // namespace tarn
