// FastCopyStream, FastCopyWide and the wide row copies: SSE2 forms.
// No alignment is assumed of the caller; stores are aligned internally where
// the streaming form needs it.
#include <emmintrin.h>

#include <cstring>

#include "convert/fast_copy.h"
#include "convert/smoothing.h"

namespace tarn {

void FastCopyStream(void* dst, const void* src, size_t count) {
    auto* d = static_cast<uint8_t*>(dst);
    auto* s = static_cast<const uint8_t*>(src);
    if (count < 64) {  // below one block: the library copy, no streaming
        std::memcpy(d, s, count);
        return;
    }
    // Streaming stores need 16-byte aligned targets; the head goes plainly.
    const size_t head = (16 - (reinterpret_cast<uintptr_t>(d) & 15)) & 15;
    std::memcpy(d, s, head);
    d += head;
    s += head;
    count -= head;
    for (size_t blocks = count >> 6; blocks; --blocks, d += 64, s += 64) {
        _mm_prefetch(reinterpret_cast<const char*>(s + 64), _MM_HINT_NTA);
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16));
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 32));
        const __m128i e = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 48));
        _mm_stream_si128(reinterpret_cast<__m128i*>(d), a);
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + 16), b);
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + 32), c);
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + 48), e);
    }
    std::memcpy(d, s, count & 63);
    // Streaming stores are weakly ordered; fence them so another thread that
    // takes the frame after a lock hand-over sees every byte.
    _mm_sfence();
}

namespace {
inline void CopyWideBlocks(uint8_t* d, const uint8_t* s, size_t count) {
    for (size_t blocks = count >> 7; blocks; --blocks, d += 128, s += 128) {
        __m128i v[8];
        for (int i = 0; i < 8; ++i) v[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s) + i);
        for (int i = 0; i < 8; ++i) _mm_storeu_si128(reinterpret_cast<__m128i*>(d) + i, v[i]);
    }
    std::memcpy(d, s, count & 127);
}
}  // namespace

void FastCopyWide(void* dst, const void* src, size_t count) {
    CopyWideBlocks(static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src), count);
}

void CopyRowsWide(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                  int32_t rowBytes, int32_t height) {
    if (height < 0) {
        height = -height;
        src += static_cast<ptrdiff_t>(height - 1) * srcStride;
        srcStride = -srcStride;
    }
    for (int32_t y = 0; y < height; ++y, dst += dstStride, src += srcStride)
        CopyWideBlocks(dst, src, static_cast<size_t>(rowBytes));
}

void CopyRowsSmoothWide(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                        int32_t rowBytes, int32_t height) {
    if (height < 0) {
        height = -height;
        src += static_cast<ptrdiff_t>(height - 1) * srcStride;
        srcStride = -srcStride;
    }
    std::memcpy(dst, src, static_cast<size_t>(rowBytes));
    for (int32_t y = 1; y < height - 1; ++y) {
        uint8_t* d = dst + static_cast<ptrdiff_t>(y) * dstStride;
        const uint8_t* c = src + static_cast<ptrdiff_t>(y) * srcStride;
        const uint8_t* a = c - srcStride;
        const uint8_t* b = c + srcStride;
        int32_t x = 0;
        // _mm_avg_epu8 is exactly the rounding average (a + b + 1) >> 1.
        for (; x + 16 <= rowBytes; x += 16) {
            const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + x));
            const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + x));
            const __m128i vc = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c + x));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x),
                             _mm_avg_epu8(_mm_avg_epu8(va, vb), vc));
        }
        for (; x < rowBytes; ++x) d[x] = static_cast<uint8_t>(Smooth(a[x], b[x], c[x]));
    }
    if (height > 1)
        std::memcpy(dst + static_cast<ptrdiff_t>(height - 1) * dstStride,
                    src + static_cast<ptrdiff_t>(height - 1) * srcStride,
                    static_cast<size_t>(rowBytes));
}

}  // namespace tarn
