// The block copies and the wide row copies: SSE2 forms of every copy tier.
// No alignment is assumed of the caller; stores are aligned internally where
// the streaming form needs it.
#include <emmintrin.h>

#include <cstring>

#include "convert/fast_copy.h"
#include "convert/copy_rows_walk.h"
#include "platform/cache_size.h"

namespace tarn {

namespace {

// Blocks of unaligned 16-byte moves, the remainder by the library copy.
template <size_t Block>
inline void CopyBlocks(uint8_t* d, const uint8_t* s, size_t count) {
    constexpr size_t kVectors = Block / 16;
    for (size_t blocks = count / Block; blocks; --blocks, d += Block, s += Block) {
        __m128i v[kVectors];
        for (size_t i = 0; i < kVectors; ++i)
            v[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s) + i);
        for (size_t i = 0; i < kVectors; ++i)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d) + i, v[i]);
    }
    std::memcpy(d, s, count % Block);
}

// Streaming stores pay only when the copy would push the frame out of the
// last-level cache anyway; below that, ordinary stores leave the target where
// the next kernel reads it. Either way the bytes are the same.
bool WorthStreaming(size_t count) { return count >= platform::LastLevelCacheBytes() / 4 * 3; }

}  // namespace

void FastCopyMmxTier(void* dst, const void* src, size_t count) {
    CopyBlocks<64>(static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src), count);
}

void FastCopyWide(void* dst, const void* src, size_t count) {
    CopyBlocks<128>(static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src), count);
}

void FastCopyStream(void* dst, const void* src, size_t count) {
    auto* d = static_cast<uint8_t*>(dst);
    auto* s = static_cast<const uint8_t*>(src);
    if (count < 64 || !WorthStreaming(count)) {  // below one block nothing streams
        CopyBlocks<64>(d, s, count);
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

void CopyRowsWide(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                  int32_t rowBytes, int32_t height) {
    CopyEachRow(dst, dstStride, src, srcStride, rowBytes, height,
                [](uint8_t* d, const uint8_t* s, size_t n) { CopyBlocks<128>(d, s, n); });
}

void CopyRowsSmoothWide(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                        int32_t rowBytes, int32_t height) {
    // _mm_avg_epu8 is exactly the rounding average (a + b + 1) >> 1.
    SmoothRows(dst, dstStride, src, srcStride, rowBytes, height,
               [](uint8_t* d, const uint8_t* a, const uint8_t* b, const uint8_t* c, int32_t n) {
                   int32_t x = 0;
                   for (; x + 16 <= n; x += 16) {
                       const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + x));
                       const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + x));
                       const __m128i vc = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c + x));
                       _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x),
                                        _mm_avg_epu8(_mm_avg_epu8(va, vb), vc));
                   }
                   return x;
               });
}

}  // namespace tarn
