// Nearest row of 4-byte pixels, AVX2 form. Eight target pixels whose
// samples lie within 32 bytes from the first one's (enlargements) come from
// one 32-byte load and a permute; within 64 bytes (shrinks down to one half),
// from two loads, two permutes and a blend; others, and groups whose window
// would pass the end of the source row, are loaded one by one. (Gathers are
// slower than this here.) Samples further apart than two windows in a shrink
// that skips rows are copied one by one while the next row is fetched.
// The streamed form gives the same bytes with stores that bypass the caches,
// each group stored to every target row that repeats the row, and leaves the
// fence to its caller, once the whole target is written: a fence per row
// waits for each row to reach memory before the next begins.
#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "scale/nearest_groups.h"
#include "scale/nearest_rows.h"

namespace tarn {

namespace {

// Eight pixels one by one, for a group that fits no window.
inline __m256i Scattered(const uint8_t* row, const uint32_t* co) {
    const auto word = [&](int i) {
        int32_t v;
        std::memcpy(&v, row + co[i], 4);
        return v;
    };
    return _mm256_setr_epi32(word(0), word(1), word(2), word(3), word(4), word(5), word(6), word(7));
}

// Eight pixels of the group at `co`, from two windows where they fit; with
// kOne, a single window is tried first.
template <bool kOne>
inline __m256i Group(const uint8_t* row, const uint32_t* co, uint32_t readable) {
    const uint32_t base = co[0];
    const __m256i at = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(co));
    const __m256i distance = _mm256_sub_epi32(at, _mm256_set1_epi32(static_cast<int32_t>(base)));
    const __m256i piece = _mm256_srli_epi32(distance, 2);
    const uint8_t* s = row + base;
    // Distances other than 0, 4, ... 28 (one window) or ... 60 (two).
    if (kOne && uint64_t(base) + 32 <= readable && _mm256_testz_si256(distance, _mm256_set1_epi32(~0x1C)))
        return _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s)), piece);
    if (uint64_t(base) + 64 <= readable && _mm256_testz_si256(distance, _mm256_set1_epi32(~0x3C))) {
        const __m256i lo = _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s)), piece);
        const __m256i hi =
            _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 32)), piece);
        return _mm256_blendv_epi8(lo, hi, _mm256_cmpgt_epi32(piece, _mm256_set1_epi32(7)));
    }
    return Scattered(row, co);
}

inline void Fetch(const uint8_t* p) { _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T0); }

// kFetch: the group's pixels at which the row ahead is asked for, every
// kFetch-th one (0: none).
template <bool kOne, bool kStream, uint32_t kFetch>
uint32_t Groups(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t x, uint32_t len, uint32_t readable,
                const uint8_t* ahead, Copies copies = {0, 1}) {
    for (; x + 8 <= len; x += 8) {
        if constexpr (kFetch != 0)
            for (uint32_t i = 0; i < 8; i += kFetch) Fetch(ahead + co[x + i]);
        uint8_t* d = dst + 4 * size_t(x);
        const __m256i v = Group<kOne>(row, co + x, readable);
        if constexpr (kStream)
            for (uint32_t c = 0; c < copies.count; ++c, d += copies.pitch)
                _mm256_stream_si256(reinterpret_cast<__m256i*>(d), v);
        else
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), v);
    }
    return x;
}

// The streamed rows: stores that bypass the caches from the first 32-byte
// boundary of the row on, into every copy at once where the copies share
// that boundary (a pitch of whole 32-byte lines); otherwise copy by copy,
// and a row not on a 4-byte boundary keeps plain stores throughout.
void StreamedRows(uint8_t* dst, Copies copies, const uint8_t* row, const uint32_t* co, uint32_t len,
                  uint32_t readable, const uint8_t* ahead) {
    if (copies.count > 1 && copies.pitch % 32) {
        for (uint32_t c = 0; c < copies.count; ++c, dst += copies.pitch)
            StreamedRows(dst, {0, 1}, row, co, len, readable, ahead);
        return;
    }
    if (reinterpret_cast<uintptr_t>(dst) % 4) {
        for (uint32_t c = 0; c < copies.count; ++c, dst += copies.pitch)
            NearestRow44Avx2(dst, row, co, len, readable, ahead);
        return;
    }
    const uint32_t head = std::min(len, uint32_t(-reinterpret_cast<uintptr_t>(dst) % 32 / 4));
    CopyPixels(dst, row, co, 0, head, copies);
    const uint32_t x = Windows<8>(co, len) == 1 ? Groups<true, true, 0>(dst, row, co, head, len, readable, ahead, copies)
                                             : Groups<false, true, 0>(dst, row, co, head, len, readable, ahead, copies);
    CopyPixels(dst, row, co, x, len, copies);
}

void Row(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable,
         const uint8_t* ahead) {
    uint32_t x = 0;
    const int windows = Windows<8>(co, len);
    if (windows == 1 || !ahead) {
        x = windows == 1 ? Groups<true, false, 0>(dst, row, co, x, len, readable, ahead)
                         : Groups<false, false, 0>(dst, row, co, x, len, readable, ahead);
    } else {
        // A group within two windows spans a cache line or two. Samples
        // further apart take a line each or share one in pairs: they are
        // copied one by one, the row ahead asked for at every second one.
        if (windows == 2) {
            x = Groups<false, false, 8>(dst, row, co, x, len, readable, ahead);
        } else {
            for (; x + 2 <= len; x += 2) {
                Fetch(ahead + co[x]);
                CopyPixel(dst + 4 * size_t(x), row + co[x]);
                CopyPixel(dst + 4 * size_t(x) + 4, row + co[x + 1]);
            }
        }
    }
    for (; x < len; ++x) CopyPixel(dst + 4 * size_t(x), row + co[x]);
}

// Every second pixel from `s` on: two 32-byte loads give eight pixels.
inline __m256i Halves(const uint8_t* s) {
    const __m256 a = _mm256_loadu_ps(reinterpret_cast<const float*>(s));
    const __m256 b = _mm256_loadu_ps(reinterpret_cast<const float*>(s + 32));
    const __m256i even = _mm256_castps_si256(_mm256_shuffle_ps(a, b, 0x88));  // a0 a2 b0 b2 | a4 a6 b4 b6
    return _mm256_permute4x64_epi64(even, 0xD8);
}

// Every fourth pixel from `s` on: four 32-byte loads give eight pixels.
inline __m256i Quarters(const uint8_t* s) {
    const auto load = [s](int i) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 32 * i)); };
    const __m256i ab = _mm256_unpacklo_epi32(load(0), load(1));  // a0 b0 a1 b1 | a4 b4 a5 b5
    const __m256i cd = _mm256_unpacklo_epi32(load(2), load(3));
    const __m256i mixed = _mm256_unpacklo_epi64(ab, cd);  // a0 b0 c0 d0 | a4 b4 c4 d4
    return _mm256_permutevar8x32_epi32(mixed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

// A row whose samples lie kStep pixels apart throughout; groups whose loads
// would pass the end of the source row are copied one by one.
// The row ahead is asked for at each 64 bytes the group spans.
template <uint32_t kStep>
void StepRow(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable,
             const uint8_t* ahead) {
    uint32_t x = 0;
    for (; x + 8 <= len && uint64_t(co[x]) + 32 * kStep <= readable; x += 8) {
        if (ahead)
            for (uint32_t at = 0; at < 32 * kStep; at += 64) Fetch(ahead + co[x] + at);
        const __m256i v = kStep == 2 ? Halves(row + co[x]) : Quarters(row + co[x]);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 4 * size_t(x)), v);
    }
    for (; x < len; ++x) CopyPixel(dst + 4 * size_t(x), row + co[x]);
}

}  // namespace

// 3-byte rows: four pixels a step, the row ahead asked for once a step
// where there is one. Where none of the four samples is the last of the
// row, as almost everywhere, one test covers them and they go by 4-byte
// copies without a branch each; the plain loop's one branch a pixel ran at
// speeds that moved by a quarter with where the loop happened to lie.
void NearestRow33Avx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t lastSample,
                      const uint8_t* ahead) {
    uint32_t x = 0;
    const auto pixel = [&](uint32_t i) {
        if (co[i] < lastSample) CopyPixel(dst + 3 * size_t(i), row + co[i]);
        else std::memcpy(dst + 3 * size_t(i), row + co[i], 3);
    };
    for (; x + 5 <= len; x += 4) {
        if (ahead) Fetch(ahead + co[x]);
        const uint32_t* o = co + x;
        if ((o[0] < lastSample) & (o[1] < lastSample) & (o[2] < lastSample) & (o[3] < lastSample)) {
            uint8_t* d = dst + 3 * size_t(x);
            CopyPixel(d, row + o[0]), CopyPixel(d + 3, row + o[1]), CopyPixel(d + 6, row + o[2]);
            CopyPixel(d + 9, row + o[3]);
            continue;
        }
        pixel(x), pixel(x + 1), pixel(x + 2), pixel(x + 3);
    }
    for (; x + 1 < len; ++x) pixel(x);
    std::memcpy(dst + 3 * size_t(x), row + co[x], 3);
}

void NearestRow44HalvesAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable,
                            const uint8_t* ahead) {
    StepRow<2>(dst, row, co, len, readable, ahead);
}

void NearestRow44QuartersAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable,
                              const uint8_t* ahead) {
    StepRow<4>(dst, row, co, len, readable, ahead);
}

void NearestRow44Avx2(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t readable,
                      const uint8_t* ahead) {
    Row(dst, row, co, len, readable, ahead);
}

void NearestCopies44Avx2(uint8_t* dst, ptrdiff_t pitch, uint32_t copies, const uint8_t* row, const uint32_t* co,
                         uint32_t len, uint32_t readable, const uint8_t* ahead) {
    StreamedRows(dst, {pitch, copies}, row, co, len, readable, ahead);
}

}  // namespace tarn
