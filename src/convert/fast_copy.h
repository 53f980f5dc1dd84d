// Bulk copies of pixel data: FastCopy and its forms, and the row copies.
//
// All copy ranges must not overlap. No alignment is demanded of either side.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

// The copy for all bulk moves of pixels. SSE2 processors get the streaming
// form, MMX ones the 64-byte block form, others the runtime library's copy.
void FastCopy(void* dst, const void* src, size_t count);

// 64-byte blocks, the remainder by the library copy.
void FastCopyMmxTier(void* dst, const void* src, size_t count);
// 64-byte blocks written with non-temporal stores; below one block it is the
// library copy and streams nothing.
void FastCopyStream(void* dst, const void* src, size_t count);
// 128-byte blocks of unaligned 16-byte moves. Listed for the kernel catalogue;
// FastCopy never chooses it.
void FastCopyWide(void* dst, const void* src, size_t count);

// Row copies, "one to one" shape with widths in bytes. A negative height reads
// the source from its last row upward while the destination goes forward.
void CopyRowsPlain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                   int32_t rowBytes, int32_t height);
void CopyRowsMmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                     int32_t rowBytes, int32_t height);
void CopyRowsWide(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                  int32_t rowBytes, int32_t height);

// Copies the first and last rows as they stand and smooths each middle row
// with its two neighbours. Heights below 2 are outside the contract.
//   CopyRowsSmoothPlain      byte by byte, rounding s()
//   CopyRowsSmoothMmxTier   8-byte blocks with the truncating t(), rest rounding
//   CopyRowsSmoothPavgTier  8-byte blocks, rounding throughout
//   CopyRowsSmoothWide  16-byte blocks, rounding throughout
void CopyRowsSmoothPlain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                         int32_t rowBytes, int32_t height);
void CopyRowsSmoothMmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                           int32_t rowBytes, int32_t height);
void CopyRowsSmoothPavgTier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                            int32_t rowBytes, int32_t height);
void CopyRowsSmoothWide(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                        int32_t rowBytes, int32_t height);

}  // namespace tarn
