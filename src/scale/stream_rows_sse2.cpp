// Streaming row store, SSE2 form: plain stores up to the first 16-byte
// boundary of the target, non-temporal stores over the aligned middle, plain
// stores for the tail, and a fence so that the row is visible in order to
// whoever reads the target next.
#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "scale/nearest_rows.h"

namespace tarn {

void StreamRowSse2(uint8_t* dst, const uint8_t* src, size_t bytes) {
    const size_t head = std::min(bytes, size_t(-reinterpret_cast<uintptr_t>(dst) & 15));
    std::memcpy(dst, src, head);
    size_t i = head;
    for (; i + 64 <= bytes; i += 64)
        for (size_t k = 0; k < 64; k += 16)
            _mm_stream_si128(reinterpret_cast<__m128i*>(dst + i + k),
                             _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i + k)));
    for (; i + 16 <= bytes; i += 16)
        _mm_stream_si128(reinterpret_cast<__m128i*>(dst + i), _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i)));
    std::memcpy(dst + i, src + i, bytes - i);
    _mm_sfence();
}

void StreamFenceSse2() { _mm_sfence(); }

}  // namespace tarn
