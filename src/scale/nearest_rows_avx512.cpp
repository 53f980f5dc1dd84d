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

#include "scale/nearest_rows.h"

namespace tarn {

namespace {

inline void CopyPixel(uint8_t* d, const uint8_t* s) {
    uint32_t v;
    std::memcpy(&v, s, 4);
    std::memcpy(d, &v, 4);
}

// Whether the samples of sixteen pixels lie within one 64-byte window on
// average, as in every enlargement, so that the single window is worth
// trying first.
bool OneWindow(const uint32_t* co, uint32_t len) {
    return len >= 32 && co[len - 1] >= co[0] && uint64_t(co[len - 1] - co[0]) * 15 <= uint64_t(len - 1) * 48;
}

// Whether they lie within two on average (a shrink down to one half).
bool TwoWindows(const uint32_t* co, uint32_t len) {
    return len >= 32 && co[len - 1] >= co[0] && uint64_t(co[len - 1] - co[0]) * 15 <= uint64_t(len - 1) * 120;
}

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

// Target rows a group goes to: `count` rows `pitch` bytes apart.
struct Copies {
    ptrdiff_t pitch;
    uint32_t count;
};

inline void CopyPixels(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t x, uint32_t end,
                       Copies copies) {
    for (uint32_t c = 0; c < copies.count; ++c, dst += copies.pitch)
        for (uint32_t i = x; i < end; ++i) CopyPixel(dst + 4 * size_t(i), row + co[i]);
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
    const bool one = OneWindow(co, len);
    if ((!one && !TwoWindows(co, len)) || reinterpret_cast<uintptr_t>(dst) % 4 || (copies > 1 && pitch % 64))
        return NearestCopies44Avx2(dst, pitch, copies, row, co, len, readable, ahead);
    const Copies all{pitch, copies};
    const uint32_t head = std::min(len, uint32_t(-reinterpret_cast<uintptr_t>(dst) % 64 / 4));
    CopyPixels(dst, row, co, 0, head, all);
    const uint32_t x = one ? Groups<true>(dst, row, co, head, len, readable, all)
                           : Groups<false>(dst, row, co, head, len, readable, all);
    CopyPixels(dst, row, co, x, len, all);
}

}  // namespace tarn
