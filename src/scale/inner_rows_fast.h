// Fast forms of the hot row kernels of the scaler. Each gives the bytes of
// its plain form in inner_rows.cpp; tests compare them on awkward sizes.
#pragma once

#include <cstdint>

namespace tarn {

#if defined(TARN_HAVE_X86_SIMD)
void InnerRow33Sse2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow34Sse2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow43Sse2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow44Sse2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow33Avx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow34Avx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow43Avx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow44Avx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void GrayInnerRowSse2(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                      uint32_t len, int32_t below, uint32_t rw);
#endif

}  // namespace tarn
