// FastCopy's choice of form, and the plain row copies.
#include "convert/fast_copy.h"

#include <cstring>

#include "convert/copy_rows_walk.h"
#include "convert/smoothing.h"
#include "platform/cpu_features.h"

namespace tarn {

namespace {

void LibraryCopy(void* dst, const void* src, size_t count) { std::memcpy(dst, src, count); }

// FastCopy of each tier: plain, MMX, SSE2.
constexpr void (*kFastCopyOfTier[])(void*, const void*, size_t) = {LibraryCopy, FastCopyMmxTier, FastCopyStream};

}  // namespace

void FastCopy(void* dst, const void* src, size_t count) {
    kFastCopyOfTier[static_cast<int>(TierOf(g_cpuFeatures))](dst, src, count);
}

#if !defined(TARN_HAVE_X86_SIMD)
void FastCopyMmxTier(void* dst, const void* src, size_t count) { std::memcpy(dst, src, count); }
void FastCopyStream(void* dst, const void* src, size_t count) { FastCopyMmxTier(dst, src, count); }
void FastCopyWide(void* dst, const void* src, size_t count) { std::memcpy(dst, src, count); }
void CopyRowsWide(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                  int32_t rowBytes, int32_t height) {
    CopyRowsPlain(dst, dstStride, src, srcStride, rowBytes, height);
}
void CopyRowsSmoothWide(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                        int32_t rowBytes, int32_t height) {
    CopyRowsSmoothPlain(dst, dstStride, src, srcStride, rowBytes, height);
}
#endif

namespace {

int32_t NoBlock(uint8_t*, const uint8_t*, const uint8_t*, const uint8_t*, int32_t) { return 0; }

}  // namespace

void CopyRowsPlain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                   int32_t rowBytes, int32_t height) {
    CopyEachRow(dst, dstStride, src, srcStride, rowBytes, height,
                [](uint8_t* d, const uint8_t* s, size_t n) { std::memcpy(d, s, n); });
}

void CopyRowsMmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                     int32_t rowBytes, int32_t height) {
    CopyEachRow(dst, dstStride, src, srcStride, rowBytes, height,
                [](uint8_t* d, const uint8_t* s, size_t n) { FastCopyMmxTier(d, s, n); });
}

void CopyRowsSmoothPlain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                         int32_t rowBytes, int32_t height) {
    SmoothRows(dst, dstStride, src, srcStride, rowBytes, height, NoBlock);
}

void CopyRowsSmoothMmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                           int32_t rowBytes, int32_t height) {
    // 8-byte blocks with the truncating average, the rest of the row rounding.
    SmoothRows(dst, dstStride, src, srcStride, rowBytes, height,
               [](uint8_t* d, const uint8_t* a, const uint8_t* b, const uint8_t* c, int32_t n) {
                   const int32_t blockBytes = n & ~7;
                   for (int32_t x = 0; x < blockBytes; ++x)
                       d[x] = static_cast<uint8_t>(SmoothTrunc(a[x], b[x], c[x]));
                   return blockBytes;
               });
}

void CopyRowsSmoothPavgTier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                            int32_t rowBytes, int32_t height) {
    // Rounding averages in the blocks and in the rest: the same bytes as the
    // byte-wise form, only the block size differs.
    CopyRowsSmoothPlain(dst, dstStride, src, srcStride, rowBytes, height);
}

}  // namespace tarn
