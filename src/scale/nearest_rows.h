// The row kernels of the 4-byte and 3-byte nearest drivers, and the row
// store the 4-byte fade grid uses for large targets.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

// Each of `len` target pixels is the four bytes at `row` + co[x]; a fast
// form reads no further than `readable` bytes from `row` (the source row).
// `ahead`, where given, is the source row the caller gathers next, when a
// shrink skips rows, which the processor does not fetch ahead by itself: a
// shrinking form asks for its bytes at the same places while it works.
using NearestRow44Fn = void (*)(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len,
                                uint32_t readable, const uint8_t* ahead);
void NearestRow44Plain(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable,
                       const uint8_t* ahead);
// `step`: the distance in bytes between the samples of successive pixels
// when every pair of the column table keeps it (UniformStep), for forms that
// serve whole-factor shrinks; 0 otherwise.
NearestRow44Fn PickNearestRow44(uint32_t step = 0);

// The same row into `copies` (at least 1) target rows `pitch` bytes apart,
// for targets written through the streaming store (the same bytes, stored
// around the caches): an enlargement repeats a row, which is gathered once
// and stored to each of its target rows. The rows are ordered with what
// follows by one FinishStreamedRows once the last is written.
using NearestCopies44Fn = void (*)(uint8_t* dst, ptrdiff_t pitch, uint32_t copies, const uint8_t* row,
                                   const uint32_t* co, uint32_t len, uint32_t readable, const uint8_t* ahead);
void NearestCopies44Plain(uint8_t* dst, ptrdiff_t pitch, uint32_t copies, const uint8_t* row, const uint32_t* co,
                          uint32_t len, uint32_t readable, const uint8_t* ahead);
NearestCopies44Fn PickNearestCopies44();
// The one distance between successive offsets of the table, 0 when they
// differ (or the table has fewer than two).
uint32_t UniformStep(const uint32_t* co, uint32_t len);
void FinishStreamedRows();

// The nearest row of 3-byte pixels into a target apart from its source:
// each pixel but the last is copied with a 4-byte load and store whose spare
// byte the next pixel overwrites, except where its sample is the last of the
// source row (at `lastSample`), which is copied as 3 bytes, as is the last
// pixel. `len` is at least 1; `ahead` as for the 4-byte row.
using NearestRow33Fn = void (*)(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len,
                                uint32_t lastSample, const uint8_t* ahead);
void NearestRow33Plain(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t lastSample,
                       const uint8_t* ahead);
NearestRow33Fn PickNearestRow33();

// Copies a finished row into a target too large to stay in the caches:
// stores that bypass them save reading each target line in before it is
// overwritten. Same bytes as a memcpy; the regions must not overlap.
using StreamRowFn = void (*)(uint8_t* dst, const uint8_t* src, size_t bytes);
void StreamRowPlain(uint8_t* dst, const uint8_t* src, size_t bytes);
StreamRowFn PickStreamRow();

// Whether a target of this many bytes is written through StreamRow: one
// well beyond the last-level cache of a small machine's share.
inline bool StreamsTarget(size_t targetBytes) { return targetBytes >= (size_t(12) << 20); }

#if defined(TARN_HAVE_X86_SIMD)
void NearestRow44Avx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable,
                      const uint8_t* ahead);
void NearestCopies44Avx2(uint8_t* dst, ptrdiff_t pitch, uint32_t copies, const uint8_t* row, const uint32_t* co,
                         uint32_t len, uint32_t readable, const uint8_t* ahead);
void NearestCopies44Avx512(uint8_t* dst, ptrdiff_t pitch, uint32_t copies, const uint8_t* row, const uint32_t* co,
                           uint32_t len, uint32_t readable, const uint8_t* ahead);
// Tables of one step of 2 or 4 pixels only.
void NearestRow44HalvesAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable,
                            const uint8_t* ahead);
void NearestRow44QuartersAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable,
                              const uint8_t* ahead);
void NearestRow33Avx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t lastSample,
                      const uint8_t* ahead);
void StreamRowSse2(uint8_t* dst, const uint8_t* src, size_t bytes);
void StreamFenceSse2();
#endif

}  // namespace tarn
