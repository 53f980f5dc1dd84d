// Streamed nearest rows of 4-byte pixels, AVX-512 form: the AVX2 form's
// groups at sixteen pixels a register. Sixteen target pixels whose samples
// lie within 64 bytes from the first one's (enlargements) come from one
// 64-byte load and a permute; within 128 bytes (shrinks down to one half),
// from two loads and one two-source permute; a group that fits neither, or
// whose window would pass the end of the source row, is copied pixel by
// pixel. Rows whose samples lie further apart on average, and copies that
// do not share their 64-byte phase, go to the AVX2 form. Each group is
// stored to every target row that repeats the row, around the caches; the
// fence is the caller's, once the whole target is written.
#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "scale/nearest_groups.h"
#include "scale/nearest_rows.h"

namespace tarn {

namespace {

// Sixteen pixels of the group at `co` into `v`, from one window (kOne) or
// two where they fit; false where they do not.
template <bool kOne>
inline bool Group(const uint8_t* row, const uint32_t* co, uint32_t readable, __m512i& v) {
    const uint32_t base = co[0];
    const __m512i distance = _mm512_sub_epi32(_mm512_loadu_si512(co), _mm512_set1_epi32(static_cast<int32_t>(base)));
    const __m512i piece = _mm512_srli_epi32(distance, 2);
    const uint8_t* s = row + base;
    if constexpr (kOne) {
        // Distances other than 0, 4, ... 60.
        if (uint64_t(base) + 64 > readable || _mm512_test_epi32_mask(distance, _mm512_set1_epi32(~0x3C))) return false;
        v = _mm512_permutexvar_epi32(piece, _mm512_loadu_si512(s));
    } else {
        if (uint64_t(base) + 128 > readable || _mm512_test_epi32_mask(distance, _mm512_set1_epi32(~0x7C))) return false;
        v = _mm512_permutex2var_epi32(_mm512_loadu_si512(s), piece, _mm512_loadu_si512(s + 64));
    }
    return true;
}

template <bool kOne>
uint32_t Groups(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t x, uint32_t len, uint32_t readable,
                Copies copies) {
    for (; x + 16 <= len; x += 16) {
        uint8_t* d = dst + 4 * size_t(x);
        __m512i v;
        if ((kOne && Group<true>(row, co + x, readable, v)) || Group<false>(row, co + x, readable, v)) {
            for (uint32_t c = 0; c < copies.count; ++c, d += copies.pitch)
                _mm512_stream_si512(reinterpret_cast<__m512i*>(d), v);
        } else {
            CopyPixels(dst, row, co, x, x + 16, copies);
        }
    }
    return x;
}

}  // namespace

void NearestCopies44Avx512(uint8_t* dst, ptrdiff_t pitch, uint32_t copies, const uint8_t* row, const uint32_t* co,
                           uint32_t len, uint32_t readable, const uint8_t* ahead) {
    const int windows = Windows<16>(co, len);
    const bool one = windows == 1;
    if (windows == 0 || reinterpret_cast<uintptr_t>(dst) % 4 || (copies > 1 && pitch % 64))
        return NearestCopies44Avx2(dst, pitch, copies, row, co, len, readable, ahead);
    const Copies all{pitch, copies};
    const uint32_t head = std::min(len, uint32_t(-reinterpret_cast<uintptr_t>(dst) % 64 / 4));
    CopyPixels(dst, row, co, 0, head, all);
    const uint32_t x = one ? Groups<true>(dst, row, co, head, len, readable, all)
                           : Groups<false>(dst, row, co, head, len, readable, all);
    CopyPixels(dst, row, co, x, len, all);
}

}  // namespace tarn
