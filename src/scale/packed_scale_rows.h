// The 4:2:2 scaler's fast form and the tables it works from. Target byte i
// of a row (pixel i / 2, byte i % 2 of its pair) reads source bytes off0[i]
// and off1[i] of two rows (its pair and the next, clamped into the row) and
// blends them by dx[i], the fraction of its position, as ScalePacked does.
#pragma once

#include <cstdint>

namespace tarn {

void ScalePackedPlain(const uint8_t* src, int32_t srcWidth, int32_t srcHeight, int32_t srcStride, uint8_t* dst,
                      int32_t dstWidth, int32_t dstHeight, int32_t dstStride);

#if defined(TARN_HAVE_X86_SIMD)
// Same arguments and bytes as ScalePacked; the caller makes sure the target
// shares no byte with the source.
void ScalePackedAvx2(const uint8_t* src, int32_t srcWidth, int32_t srcHeight, int32_t srcStride, uint8_t* dst,
                     int32_t dstWidth, int32_t dstHeight, int32_t dstStride);
#endif

}  // namespace tarn
