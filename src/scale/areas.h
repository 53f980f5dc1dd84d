// Whether the bytes a scaling call writes can meet the bytes it reads. Work
// done once and reused across rows (a row copied from the one above, a
// source row blended once for two target rows) gives the bytes of working
// each row afresh only when writing the target cannot change the source.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/byte_span.h"

namespace tarn {

inline uintptr_t AddressOf(const void* p) { return AddrOf(p); }

// True when `rows` target rows of `rowBytes` at `stride` neither overlap
// each other nor the source span.
inline bool TargetApart(const uint8_t* dst, size_t rowBytes, uint32_t rows, int32_t stride, ByteSpan source) {
    return RowsApart(dst, rowBytes, rows, stride, source);
}

}  // namespace tarn
