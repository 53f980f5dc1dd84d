// The row kernel of the 4-byte nearest driver, and the row store the 4-byte
// fade grid uses for large targets.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

// Each of `len` target pixels is the four bytes at `row` + co[x]; a fast
// form reads no further than `readable` bytes from `row` (the source row).
using NearestRow44Fn = void (*)(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len,
                                uint32_t readable);
void NearestRow44Plain(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable);
// `stream`: a form for targets written through the streaming store (the same
// bytes, stored around the caches).
NearestRow44Fn PickNearestRow44(bool stream);

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
void NearestRow44Avx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable);
void NearestRow44StreamAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable);
void StreamRowSse2(uint8_t* dst, const uint8_t* src, size_t bytes);
#endif

}  // namespace tarn
