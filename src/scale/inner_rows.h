// Bilinear rows of the interior band ("Inner"): every target pixel blends
// four source samples. One family per pair of pixel sizes, 3 or 4 bytes
// each, with 4-byte stores; and the single-channel family. Each fast form
// gives the bytes of its plain form; tests compare them on awkward sizes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

// `cw`/`co` are the column words and offsets of the run; `rw` the row's
// weight word; `below` is the source stride.
using InnerRowFn = void (*)(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co,
                            uint32_t len, int32_t below, uint32_t rw);
void InnerRow33Plain(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow34Plain(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow43Plain(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow44Plain(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
InnerRowFn PickInnerRow(uint32_t srcBytes, uint32_t dstBytes);

// The weight word of a blend at the midpoint, which a shrink by a power of
// two gives every column and row.
constexpr uint32_t kHalfWord = 0x80808080u;

// A form of InnerRow33Plain or InnerRow44Plain for the run `cw`/`co` of
// `len` pixels, valid only for rows whose word is kHalfWord: null unless
// every column word of the run is kHalfWord and the offsets step as one of
// its loads needs (3-byte samples adjacent; 4-byte samples at least one pixel
// apart), or no fast form exists. The caller gives it these tables only, and
// a target apart from the source. While it works a row it asks for the
// bytes `ahead` further on than those it reads (the next row's, where a
// shrink skips rows the processor would not fetch on its own); 0 for none.
using HalvesInnerFn = void (*)(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co,
                               uint32_t len, int32_t below, uint32_t rw, intptr_t ahead);
HalvesInnerFn PickHalvesInnerRow(uint32_t pixelBytes, const uint32_t* cw, const uint32_t* co, uint32_t len);

// Single-channel Inner over a run; `weights` points into the driver's block,
// whose layout the trailing pixels depend on (they read the byte at 4 * j).
using GrayInnerFn = void (*)(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                             uint32_t len, int32_t below, uint32_t rw);
void GrayInnerRowPlain(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                       uint32_t len, int32_t below, uint32_t rw);
GrayInnerFn PickGrayInnerRow();

#if defined(TARN_HAVE_X86_SIMD)
void InnerRow33Sse2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow34Sse2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow43Sse2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow44Sse2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow33Avx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow34Avx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow43Avx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow44Avx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
void InnerRow33AdjacentHalvesAvx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t, intptr_t);
void InnerRow44AdjacentHalvesAvx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t, intptr_t);
void InnerRow44SpreadHalvesAvx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t, intptr_t);
void InnerRow44QuarterHalvesAvx2(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t, intptr_t);
void GrayInnerRowSse2(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                      uint32_t len, int32_t below, uint32_t rw);
#endif

}  // namespace tarn
