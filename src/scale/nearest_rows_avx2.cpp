// Nearest row of 4-byte pixels, AVX2 form. Eight target pixels whose
// samples lie within 64 bytes from the first one's (every enlargement, and
// shrinks down to one half) come from two 32-byte loads and two permutes;
// others, and groups whose window would pass the end of the source row, are
// copied one by one. (Gathers are slower than this here.) The streamed form
// gives the same bytes with stores that bypass the caches.
#include <immintrin.h>

#include <cstring>

#include "scale/nearest_rows.h"

namespace tarn {

namespace {

// kStream: stores that bypass the caches, from the first 32-byte boundary of
// the row on (a row not on a 4-byte boundary keeps plain stores throughout).
template <bool kStream>
void Row(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable) {
    const __m256i outside = _mm256_set1_epi32(~0x3C);  // a distance other than 0, 4, ... 60
    const __m256i seven = _mm256_set1_epi32(7);
    uint32_t x = 0;
    const bool stream = kStream && reinterpret_cast<uintptr_t>(dst) % 4 == 0;
    if (stream)
        for (; x < len && reinterpret_cast<uintptr_t>(dst + 4 * size_t(x)) % 32; ++x)
            std::memcpy(dst + 4 * size_t(x), row + co[x], 4);
    for (; x + 8 <= len; x += 8) {
        uint8_t* d = dst + 4 * size_t(x);
        const uint32_t base = co[x];
        const __m256i at = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(co + x));
        const __m256i distance = _mm256_sub_epi32(at, _mm256_set1_epi32(static_cast<int32_t>(base)));
        __m256i v;
        if (uint64_t(base) + 64 <= readable && _mm256_testz_si256(distance, outside)) {
            const __m256i piece = _mm256_srli_epi32(distance, 2);
            const uint8_t* s = row + base;
            const __m256i lo = _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s)), piece);
            const __m256i hi =
                _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 32)), piece);
            v = _mm256_blendv_epi8(lo, hi, _mm256_cmpgt_epi32(piece, seven));
        } else {
            alignas(32) uint32_t px[8];
            for (int i = 0; i < 8; ++i) std::memcpy(&px[i], row + co[x + i], 4);
            v = _mm256_load_si256(reinterpret_cast<const __m256i*>(px));
        }
        if (stream) _mm256_stream_si256(reinterpret_cast<__m256i*>(d), v);
        else _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), v);
    }
    for (; x < len; ++x) std::memcpy(dst + 4 * size_t(x), row + co[x], 4);
    if (stream) _mm_sfence();
}

}  // namespace

void NearestRow44Avx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable) {
    Row<false>(dst, row, co, len, readable);
}

void NearestRow44StreamAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable) {
    Row<true>(dst, row, co, len, readable);
}

}  // namespace tarn
