// Single-channel bilinear images whose columns are all means of two
// neighbours at a step of 2, 4 or 8 and whose every target row is either
// its source row's means (a row weight of 0, as whole shrinks give) or, at
// a step of 2, the mean of two rows of means (a weight of 128, as the row
// pairs of fields give at a shrink by 2): worked row by row straight into
// the target, the lower row's means kept for a next row that starts there.
#pragma once

#include <cstdint>

namespace tarn {

// The rows of such an image, in order: row y from the source row at
// rowOffsets[y] and the one `below` it, through the column tables of the
// bilinear driver (weights one byte per column; the len mod 4 trailing
// pixels take theirs from the byte at 4 * j, as every form of that driver
// does). False, with nothing written, where the tables are not of that
// kind; the caller then runs its general rows. The caller makes sure
// writing the target cannot change the source.
using GrayHalvedRowsFn = bool (*)(uint8_t* dst, int32_t dstStride, const uint8_t* src, const uint32_t* rowOffsets,
                                  const uint32_t* rowWeights, uint32_t rows, int32_t below, const uint8_t* weights,
                                  const uint32_t* offsets, uint32_t len, uint32_t srcWidth);

// Null where no fast form runs.
GrayHalvedRowsFn PickGrayHalvedRows();

#if defined(TARN_HAVE_X86_SIMD)
bool GrayHalvedRowsAvx2(uint8_t* dst, int32_t dstStride, const uint8_t* src, const uint32_t* rowOffsets,
                        const uint32_t* rowWeights, uint32_t rows, int32_t below, const uint8_t* weights,
                        const uint32_t* offsets, uint32_t len, uint32_t srcWidth);
#endif

}  // namespace tarn
