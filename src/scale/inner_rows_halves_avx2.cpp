// Bilinear Inner of a run whose column words and row word are all 0x80808080,
// AVX2 form. Every shrink by a power of two lands there: each blend is then
// (a * 128 + b * 128) >> 8, the floor of the mean of two bytes, so a pixel is
// floor((floor((S + S+) / 2) + floor((B + B+) / 2)) / 2) per lane, worked on
// 32 bytes at a time without widening to 16-bit lanes. Eight pixels per step;
// the last ones of the run go to the general AVX2 form, so no load reads past
// the bytes the plain form reads and every store lands on bytes it writes.
#include <immintrin.h>

#include <type_traits>

#include "scale/inner_lanes_avx2.h"
#include "scale/inner_rows.h"

namespace tarn {
namespace {

using inner_lanes::Fetch;
using inner_lanes::FloorMean;

inline __m256i Load16Pair(const uint8_t* lo, const uint8_t* hi) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lo));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(a), _mm_loadu_si128(reinterpret_cast<const __m128i*>(hi)), 1);
}

inline __m256i Load32(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }

// Each way of loading gives S (`e`) and S+ (`o`) of eight pixels in one lane
// order, which Order puts back as pixels 0 to 7.

// 4-byte pixels whose samples follow each other (a shrink by two): 64 bytes
// hold the eight pairs.
struct Adjacent4 {
    static constexpr uint32_t kPixelBytes = 4;
    using Final = Adjacent4;
    static void Load(const uint8_t* s, const uint32_t* co, __m256i& e, __m256i& o) {
        const __m256 a = _mm256_castsi256_ps(Load32(s + co[0]));
        const __m256 b = _mm256_castsi256_ps(Load32(s + co[0] + 32));
        // [0 1 4 5 | 2 3 6 7]
        e = _mm256_castps_si256(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0)));
        o = _mm256_castps_si256(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1)));
    }
    static __m256i Order(__m256i v) { return _mm256_permute4x64_epi64(v, _MM_SHUFFLE(3, 1, 2, 0)); }
};

// 4-byte pixels at least two apart: 16 bytes from each sample but the last,
// which reach no further than the next sample's S+.
struct Spread4 {
    static constexpr uint32_t kPixelBytes = 4;
    using Final = Spread4;
    static void Load(const uint8_t* s, const uint32_t* co, __m256i& e, __m256i& o) {
        const __m256 p01 = _mm256_castsi256_ps(Load16Pair(s + co[0], s + co[1]));
        const __m256 p23 = _mm256_castsi256_ps(Load16Pair(s + co[2], s + co[3]));
        const __m256 p45 = _mm256_castsi256_ps(Load16Pair(s + co[4], s + co[5]));
        // The last pixel's pair alone, which may end the source.
        const __m128i p7 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(s + co[7]));
        const __m256 p67 = _mm256_castsi256_ps(
            _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + co[6]))), p7, 1));
        Split(p01, p23, p45, p67, e, o);
    }
    // S and S+ of pixels 0 to 7 from [Si Si+ . . | Si+1 Si+1+ . .] of pairs
    // 0 1, 2 3, 4 5, 6 7.
    static void Split(__m256 p01, __m256 p23, __m256 p45, __m256 p67, __m256i& e, __m256i& o) {
        // [S0 S0+ S2 S2+ | S1 S1+ S3 S3+], then pixels [0 2 4 6 | 1 3 5 7]
        const __m256 lo = _mm256_shuffle_ps(p01, p23, _MM_SHUFFLE(1, 0, 1, 0));
        const __m256 hi = _mm256_shuffle_ps(p45, p67, _MM_SHUFFLE(1, 0, 1, 0));
        e = _mm256_castps_si256(_mm256_shuffle_ps(lo, hi, _MM_SHUFFLE(2, 0, 2, 0)));
        o = _mm256_castps_si256(_mm256_shuffle_ps(lo, hi, _MM_SHUFFLE(3, 1, 3, 1)));
    }
    static __m256i Order(__m256i v) {
        return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }
};

// 4-byte pixels four apart (a shrink by four): 32 bytes from every other
// sample hold two pairs, as Spread4 takes them from two loads. The last of
// them reaches 8 bytes past the eighth pixel's S+, so the run's last eight
// pixels take Spread4's loads.
struct Quarter4 : Spread4 {
    using Final = Spread4;
    static void Load(const uint8_t* s, const uint32_t* co, __m256i& e, __m256i& o) {
        const __m256 p01 = _mm256_castsi256_ps(Load32(s + co[0]));
        const __m256 p23 = _mm256_castsi256_ps(Load32(s + co[2]));
        const __m256 p45 = _mm256_castsi256_ps(Load32(s + co[4]));
        const __m256 p67 = _mm256_castsi256_ps(Load32(s + co[6]));
        Spread4::Split(p01, p23, p45, p67, e, o);
    }
};

// 3-byte pixels whose samples follow each other: 16 bytes from every other
// sample hold two pairs, S as the 4 bytes at 0 and 6, S+ at 3 and 9.
struct Adjacent3 {
    static constexpr uint32_t kPixelBytes = 3;
    using Final = Adjacent3;
    static void Load(const uint8_t* s, const uint32_t* co, __m256i& e, __m256i& o) {
        const __m256i order = _mm256_setr_epi8(0, 1, 2, 3, 6, 7, 8, 9, 3, 4, 5, 6, 9, 10, 11, 12,  //
                                               0, 1, 2, 3, 6, 7, 8, 9, 3, 4, 5, 6, 9, 10, 11, 12);
        // [S0 S1 S0+ S1+ | S2 S3 S2+ S3+] and the same of pixels 4 to 7
        const __m256i a = _mm256_shuffle_epi8(Load16Pair(s + co[0], s + co[2]), order);
        const __m256i b = _mm256_shuffle_epi8(Load16Pair(s + co[4], s + co[6]), order);
        // [0 1 4 5 | 2 3 6 7]
        e = _mm256_unpacklo_epi64(a, b);
        o = _mm256_unpackhi_epi64(a, b);
    }
    static __m256i Order(__m256i v) { return _mm256_permute4x64_epi64(v, _MM_SHUFFLE(3, 1, 2, 0)); }
};

// Eight pixels from j on with the loads of L.
template <class L, uint32_t kFetchEvery>
inline void Step(uint8_t* dst, const uint8_t* row, const uint8_t* bottom, const uint32_t* co, uint32_t j,
                 intptr_t ahead) {
    constexpr uint32_t DB = L::kPixelBytes;
    if constexpr (kFetchEvery != 0) {
        // The lines of the next row's samples: those of the group's first,
        // and where samples lie further apart, of every kFetchEvery-th one.
        for (uint32_t i = 0; i < 8; i += kFetchEvery) {
            Fetch(row + ahead + co[j + i]);
            Fetch(bottom + ahead + co[j + i]);
        }
    }
    __m256i te, to, be, bo;
    L::Load(row, co + j, te, to);
    L::Load(bottom, co + j, be, bo);
    const __m256i px = L::Order(FloorMean(FloorMean(te, to), FloorMean(be, bo)));
    uint8_t* d = dst + size_t(j) * DB;
    if constexpr (DB == 4) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), px);
    } else {
        // Four pixels at pitch 3 per lane; the next pixel, still to come,
        // covers the three bytes after the spill of the eighth.
        inner_lanes::StorePitch3(d, _mm256_castsi256_si128(px), true);
        inner_lanes::StorePitch3(d + 12, _mm256_extracti128_si256(px, 1), true);
    }
}

template <class L, uint32_t kFetchEvery>
void Halves(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len, int32_t below,
            uint32_t rw, intptr_t ahead) {
    constexpr uint32_t DB = L::kPixelBytes;
    // With 3-byte pixels a step leaves the run's last pixel to the rest: its
    // 16-byte loads reach past that pixel's S+ (which may end the source),
    // and its pitch-3 stores write three bytes after the eighth pixel's spill.
    // Where L's loads reach past the eighth pixel's S+, its last step is
    // Final's.
    constexpr uint32_t after = DB == 3 || !std::is_same_v<L, typename L::Final> ? 1 : 0;
    const uint8_t* bottom = row + below;
    uint32_t j = 0;
    for (; j + 8 + after <= len; j += 8) Step<L, kFetchEvery>(dst, row, bottom, co, j, ahead);
    if constexpr (!std::is_same_v<L, typename L::Final>) {
        if (j + 8 <= len) Step<typename L::Final, kFetchEvery>(dst, row, bottom, co, j, ahead), j += 8;
    }
    if (j < len) {
        constexpr InnerRowFn rest = DB == 3 ? InnerRow33Avx2 : InnerRow44Avx2;
        rest(dst + size_t(j) * DB, row, cw + j, co + j, len - j, below, rw);
    }
}

template <class L>
void Run(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw,
         intptr_t ahead) {
    // Adjacent samples: eight pixels read one line or two of a row. Spread
    // ones: one line per 64 bytes the samples step on average.
    const uint64_t span = n > 1 && co[n - 1] > co[0] ? co[n - 1] - co[0] : 0;
    const uint64_t stride = n > 1 ? span / (n - 1) : 0;
    if (!ahead) Halves<L, 0>(d, r, cw, co, n, b, rw, 0);
    else if (L::kPixelBytes == 3 || std::is_same_v<L, Adjacent4>) Halves<L, 8>(d, r, cw, co, n, b, rw, ahead);
    else if (stride <= 16) Halves<L, 4>(d, r, cw, co, n, b, rw, ahead);
    else if (stride <= 32) Halves<L, 2>(d, r, cw, co, n, b, rw, ahead);
    else Halves<L, 1>(d, r, cw, co, n, b, rw, ahead);
}

}  // namespace

void InnerRow44AdjacentHalvesAvx2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw, intptr_t ahead) { Run<Adjacent4>(d, r, cw, co, n, b, rw, ahead); }
void InnerRow44SpreadHalvesAvx2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw, intptr_t ahead) { Run<Spread4>(d, r, cw, co, n, b, rw, ahead); }
void InnerRow44QuarterHalvesAvx2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw, intptr_t ahead) { Run<Quarter4>(d, r, cw, co, n, b, rw, ahead); }
void InnerRow33AdjacentHalvesAvx2(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw, intptr_t ahead) { Run<Adjacent3>(d, r, cw, co, n, b, rw, ahead); }

}  // namespace tarn
