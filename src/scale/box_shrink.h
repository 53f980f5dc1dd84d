// Row kernels of the box shrink, for tests and the row driver.
#pragma once

#include <cstdint>

#include "scale/box_chains.h"
#include "scale/drivers.h"

namespace tarn {

using BoxRowFn = void (*)(uint8_t* dst, const uint8_t* row, const uint32_t* offsets,
                          const uint32_t* counts, uint32_t len, int32_t stride, uint32_t rowCount);

// Picks a kernel per pixel by its column count; a row count outside 1..16
// leaves the row alone.
template <BoxFamily F>
void BoxShrinkRow(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                  uint32_t len, int32_t stride, uint32_t rowCount);

// Exact mean of the first three bytes; the fourth target byte is not written.
void BoxRowExact(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                 uint32_t len, int32_t stride, uint32_t rowCount, uint32_t dstPitch, uint32_t srcPitch);

// Exact mean faded towards `background` by the outside-fractions of both words.
void BoxRowFade(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                uint32_t len, int32_t stride, uint32_t rowWord, uint32_t dstPitch, uint32_t srcPitch,
                int32_t maxFactor, const uint8_t* background);

}  // namespace tarn
