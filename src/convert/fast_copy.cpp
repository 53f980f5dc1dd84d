// FastCopy's choice of form, and the plain row copies.
#include "convert/fast_copy.h"

#include <cstring>

#include "convert/cpu_features.h"
#include "convert/smoothing.h"

namespace tarn {

void FastCopy(void* dst, const void* src, size_t count) {
    if (g_cpuFeatures & kCpuSse2)
        FastCopyStream(dst, src, count);
    else if (g_cpuFeatures & kCpuMmx)
        FastCopyMmx(dst, src, count);
    else
        std::memcpy(dst, src, count);
}

#if !defined(TARN_HAVE_X86_SIMD)
void FastCopyMmx(void* dst, const void* src, size_t count) { std::memcpy(dst, src, count); }
void FastCopyStream(void* dst, const void* src, size_t count) { FastCopyMmx(dst, src, count); }
void FastCopyWide(void* dst, const void* src, size_t count) { std::memcpy(dst, src, count); }
void CopyRowsWide(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                  int32_t rowBytes, int32_t height) {
    CopyRows(dst, dstStride, src, srcStride, rowBytes, height);
}
void CopyRowsSmoothWide(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                        int32_t rowBytes, int32_t height) {
    CopyRowsSmooth(dst, dstStride, src, srcStride, rowBytes, height);
}
#endif

namespace {

// A negative height walks the source from its last row upward.
void FlipSource(const uint8_t*& src, int32_t& srcStride, int32_t& height) {
    if (height < 0) {
        height = -height;
        src += static_cast<ptrdiff_t>(height - 1) * srcStride;
        srcStride = -srcStride;
    }
}

template <class CopyRow>
void CopyEachRow(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                 int32_t rowBytes, int32_t height, CopyRow copyRow) {
    FlipSource(src, srcStride, height);
    for (int32_t y = 0; y < height; ++y, dst += dstStride, src += srcStride)
        copyRow(dst, src, static_cast<size_t>(rowBytes));
}

// Middle rows: the first `blockBytes` bytes by `block`, the rest rounding.
template <class BlockSmooth>
void SmoothRows(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                int32_t rowBytes, int32_t height, int32_t blockBytes, BlockSmooth block) {
    FlipSource(src, srcStride, height);
    std::memcpy(dst, src, static_cast<size_t>(rowBytes));
    for (int32_t y = 1; y < height - 1; ++y) {
        uint8_t* d = dst + static_cast<ptrdiff_t>(y) * dstStride;
        const uint8_t* c = src + static_cast<ptrdiff_t>(y) * srcStride;
        const uint8_t* above = c - srcStride;
        const uint8_t* below = c + srcStride;
        block(d, above, below, c, blockBytes);
        for (int32_t x = blockBytes; x < rowBytes; ++x)
            d[x] = static_cast<uint8_t>(Smooth(above[x], below[x], c[x]));
    }
    if (height > 1)
        std::memcpy(dst + static_cast<ptrdiff_t>(height - 1) * dstStride,
                    src + static_cast<ptrdiff_t>(height - 1) * srcStride,
                    static_cast<size_t>(rowBytes));
}

void NoBlock(uint8_t*, const uint8_t*, const uint8_t*, const uint8_t*, int32_t) {}

}  // namespace

void CopyRows(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
              int32_t rowBytes, int32_t height) {
    CopyEachRow(dst, dstStride, src, srcStride, rowBytes, height,
                [](uint8_t* d, const uint8_t* s, size_t n) { std::memcpy(d, s, n); });
}

void CopyRowsMmx(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                 int32_t rowBytes, int32_t height) {
    CopyEachRow(dst, dstStride, src, srcStride, rowBytes, height,
                [](uint8_t* d, const uint8_t* s, size_t n) { FastCopyMmx(d, s, n); });
}

void CopyRowsSmooth(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                    int32_t rowBytes, int32_t height) {
    SmoothRows(dst, dstStride, src, srcStride, rowBytes, height, 0, NoBlock);
}

void CopyRowsSmoothMmx(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                       int32_t rowBytes, int32_t height) {
    SmoothRows(dst, dstStride, src, srcStride, rowBytes, height, rowBytes & ~7,
               [](uint8_t* d, const uint8_t* a, const uint8_t* b, const uint8_t* c, int32_t n) {
                   for (int32_t x = 0; x < n; ++x)
                       d[x] = static_cast<uint8_t>(SmoothTrunc(a[x], b[x], c[x]));
               });
}

void CopyRowsSmoothPavg(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                        int32_t rowBytes, int32_t height) {
    // Rounding averages in the blocks and in the rest: the same bytes as the
    // byte-wise form, only the block size differs.
    CopyRowsSmooth(dst, dstStride, src, srcStride, rowBytes, height);
}

}  // namespace tarn
