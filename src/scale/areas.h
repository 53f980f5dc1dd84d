// Whether the bytes a scaling call writes can meet the bytes it reads. Work
// done once and reused across rows (a row copied from the one above, a
// source row blended once for two target rows) gives the bytes of working
// each row afresh only when writing the target cannot change the source.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace tarn {

// [lo, hi) of the source bytes read, as addresses.
struct ByteSpan {
    uintptr_t lo, hi;
};

inline uintptr_t AddressOf(const void* p) { return reinterpret_cast<uintptr_t>(p); }

// True when `rows` target rows of `rowBytes` at `stride` neither overlap
// each other nor the source span.
inline bool TargetApart(const uint8_t* dst, size_t rowBytes, uint32_t rows, int32_t stride, ByteSpan source) {
    const intptr_t last = intptr_t(stride) * intptr_t(rows ? rows - 1 : 0);
    const uintptr_t lo = AddressOf(dst) + std::min<intptr_t>(0, last);
    const uintptr_t hi = AddressOf(dst) + std::max<intptr_t>(0, last) + rowBytes;
    const size_t pitch = stride < 0 ? size_t(-int64_t(stride)) : size_t(stride);
    return (hi <= source.lo || source.hi <= lo) && (rows <= 1 || pitch >= rowBytes);
}

}  // namespace tarn
