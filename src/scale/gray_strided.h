// Single-channel rows that read the source at an even step of 2, 4 or 8
// bytes: the nearest gather (out[j] = s[step * j]) and the bilinear blend
// whose every weight is 128 (out[j] = (s[step * j] + s[step * j + 1]) >> 1),
// the two that whole shrinks by 2, 4 and 8 come to.
#pragma once

#include <cstdint>

namespace tarn {

#if defined(TARN_HAVE_X86_SIMD)
// Each works the first whole blocks of 16 (or 32) of `count` target bytes
// whose loads stay within the `reach` source bytes from `s` and answers how
// many bytes that was; the caller does the rest. A load reads step * 16
// bytes from the block's first sample on. The picks and means also work the
// whole block of 16 after those whose samples (not loads) lie within reach,
// from a copy: a shrink's last block ends a sample or two short of its load. `ahead`, when set, is fetched
// into the cache at the same places (the next row the caller will read).
uint32_t StridedPicksAvx2(uint8_t* out, const uint8_t* s, uint32_t count, uint32_t step, uint32_t reach,
                          const uint8_t* ahead);
uint32_t StridedMeansAvx2(uint8_t* out, const uint8_t* s, uint32_t count, uint32_t step, uint32_t reach,
                          const uint8_t* ahead);
// Means at a step of 2 of two rows, `top` and `bottom`, and the target
// (T + B) >> 1 of them: B is kept in bottomOut, T read from topBlend where
// given, else worked from `top` and kept in topOut. Blocks of 32.
uint32_t StridedMeanRowsAvx2(uint8_t* dst, const uint8_t* topBlend, const uint8_t* top, const uint8_t* bottom,
                             uint8_t* topOut, uint8_t* bottomOut, uint32_t count, uint32_t reach,
                             const uint8_t* ahead);
// Means at a step of 2 of three rows a, b and c in one pass, and the two
// targets (A + B) >> 1 into dst0 and (B + C) >> 1 into dst1 (two target
// rows that share their middle row, as field pairs do): C is kept in cOut.
// Blocks of 32; `ahead` and `aheadToo`, where set, are fetched.
uint32_t StridedMeanRowPairsAvx2(uint8_t* dst0, uint8_t* dst1, const uint8_t* a, const uint8_t* b, const uint8_t* c,
                                 uint8_t* cOut, uint32_t count, uint32_t reach, const uint8_t* ahead,
                                 const uint8_t* aheadToo);
#endif

}  // namespace tarn
