// Bilinear Inner of 3-to-3 and 4-to-4 byte pixels, AVX2 form with a row
// cache: the horizontal blend of a source row, (S * (256 - cw) + S+ * cw) >> 8
// in 16-bit lanes exactly as the uncached form computes it, is kept for the
// next target rows; the vertical blend then reads two cached rows. Loads of
// the source are those of the uncached form, or for 4-byte pixels one
// window within the band; the last (len mod 4) pixels go to the SSE2 form.
#include <immintrin.h>

#include "scale/inner_lanes_avx2.h"
#include "scale/inner_row_cache.h"
#include "scale/inner_rows.h"

namespace tarn {
namespace {

using namespace inner_lanes;

// The plan of each group: if its S and S+ lie within 32 bytes that end no
// later than the band's last S+ and start no earlier than its first S, one
// load and one permute give [S0 S1 S0+ S1+ | S2 S3 S2+ S3+].
void PlanGroups(InnerRowCache& cache, const uint32_t* co, uint32_t n4, uint32_t len) {
    uint32_t lo = co[0], hi = co[0];
    for (uint32_t j = 1; j < len; ++j) lo = co[j] < lo ? co[j] : lo, hi = co[j] > hi ? co[j] : hi;
    const uint64_t end = uint64_t(hi) + 8;  // one past the last byte any pixel reads
    for (uint32_t g = 0; g < n4 / 4; ++g) {
        const uint32_t* o = co + 4 * size_t(g);
        uint32_t mn = o[0], mx = o[0];
        for (int i = 1; i < 4; ++i) mn = o[i] < mn ? o[i] : mn, mx = o[i] > mx ? o[i] : mx;
        cache.groupBase[g] = -1;
        if (end - lo < 32 || mn % 4 || mx - mn > 24) continue;
        const uint64_t start = uint64_t(mn) + 32 <= end ? mn : end - 32;
        if ((mn - start) % 4 || start > 0x7FFFFFFF) continue;
        bool aligned = true;
        for (int i = 0; i < 4; ++i) aligned &= (o[i] - start) % 4 == 0;
        if (!aligned) continue;
        static constexpr int kOrder[8][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {2, 0}, {3, 0}, {2, 1}, {3, 1}};
        int32_t* pieces = cache.groupPieces + 8 * size_t(g);
        for (int k = 0; k < 8; ++k) pieces[k] = int32_t((o[kOrder[k][0]] - start) / 4) + kOrder[k][1];
        cache.groupBase[g] = int32_t(start);
    }
    cache.plannedFor = co;
}

// Pixels 0 1 of a group of four in the low lane, 2 3 in the high one.
template <uint32_t SB>
void Horizontal(uint16_t* out, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t n4,
                const InnerRowCache& cache) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i k256 = _mm256_set1_epi16(256);
    const int32_t* groupBase = cache.groupBase;
    const int32_t* groupPieces = cache.groupPieces;
    for (uint32_t j = 0; j < n4; j += 4) {
        Fetch(row + co[j] + kFetchAhead);
        __m256i t;
        if constexpr (SB == 3) {
            const PairWindows pair(co + j);
            t = pair.fits ? pair.Load(row, co + j) : _mm256_shuffle_epi32(Four<3>(row, co + j), _MM_SHUFFLE(3, 1, 2, 0));
        } else if (const int32_t base = groupBase[j / 4]; base >= 0) {
            const __m256i window = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + base));
            const __m256i pieces = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(groupPieces + 2 * size_t(j)));
            t = _mm256_permutevar8x32_epi32(window, pieces);
        } else {
            t = _mm256_shuffle_epi32(Four<4>(row, co + j), _MM_SHUFFLE(3, 1, 2, 0));
        }
        const __m256i w = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(cw + j)));
        const __m256i h =
            LerpLanes(_mm256_unpacklo_epi8(t, zero), _mm256_unpackhi_epi8(t, zero), w, _mm256_sub_epi16(k256, w));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * size_t(j)), h);
    }
}

// The cache row holding the blend of `row`, made in the row least recently
// read (other than `keep`) if no row holds it.
template <uint32_t SB>
int Blended(InnerRowCache& cache, const uint8_t* row, int keep, const uint32_t* cw, const uint32_t* co, uint32_t n4) {
    int at = -1;
    for (int i = 0; i < cache.rows; ++i)
        if (cache.tag[i] == row) at = i;
    if (at < 0) {
        for (int i = 0; i < cache.rows; ++i)
            if (i != keep && (at < 0 || cache.used[i] < cache.used[at])) at = i;
        Horizontal<SB>(cache.lanes[at], row, cw, co, n4, cache);
        cache.tag[at] = row;
    }
    cache.used[at] = ++cache.clock;
    return at;
}

inline __m256i Lanes(const uint16_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }

// Two groups per store from pixel j on: the pack leaves [0 1 4 5 | 2 3 6 7],
// the permute orders them. Returns where the pairs stop.
template <bool kStream>
uint32_t Pairs(uint8_t* dst, const uint16_t* a, const uint16_t* b, uint32_t j, uint32_t n4, __m256i rw16,
               __m256i rwi) {
    for (; j + 8 <= n4; j += 8) {
        const __m256i lo = LerpLanes(Lanes(a + 4 * size_t(j)), Lanes(b + 4 * size_t(j)), rw16, rwi);
        const __m256i hi = LerpLanes(Lanes(a + 4 * size_t(j) + 16), Lanes(b + 4 * size_t(j) + 16), rw16, rwi);
        const __m256i px = _mm256_permute4x64_epi64(_mm256_packus_epi16(lo, hi), _MM_SHUFFLE(3, 1, 2, 0));
        __m256i* d = reinterpret_cast<__m256i*>(dst + 4 * size_t(j));
        if constexpr (kStream) _mm256_stream_si256(d, px);
        else _mm256_storeu_si256(d, px);
    }
    return j;
}

template <uint32_t SB>
void Cached(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len, int32_t below,
            uint32_t rw, InnerRowCache& cache) {
    const uint32_t n4 = len & ~3u;
    if (SB == 4 && n4 && cache.plannedFor != co) PlanGroups(cache, co, n4, len);
    if (n4) {
        const int top = Blended<SB>(cache, row, -1, cw, co, n4);
        const int bottom = Blended<SB>(cache, row + below, top, cw, co, n4);
        const uint16_t* a = cache.lanes[top];
        const uint16_t* b = cache.lanes[bottom];
        const __m256i zero = _mm256_setzero_si256();
        const __m256i rw16 = _mm256_unpacklo_epi8(_mm256_set1_epi32(static_cast<int32_t>(rw)), zero);
        const __m256i rwi = _mm256_sub_epi16(_mm256_set1_epi16(256), rw16);
        uint32_t j = 0;
        if constexpr (SB == 3) {
            // A group per store, as the uncached form stores it.
            for (; j < n4; j += 4) {
                const __m256i v = LerpLanes(Lanes(a + 4 * size_t(j)), Lanes(b + 4 * size_t(j)), rw16, rwi);
                const __m256i px = _mm256_permute4x64_epi64(_mm256_packus_epi16(v, zero), _MM_SHUFFLE(3, 1, 2, 0));
                StorePitch3(dst + 3 * size_t(j), _mm256_castsi256_si128(px), j + 4 < len);
            }
        } else {
            auto group = [&](uint32_t at) {
                const __m256i v = LerpLanes(Lanes(a + 4 * size_t(at)), Lanes(b + 4 * size_t(at)), rw16, rwi);
                const __m256i px = _mm256_permute4x64_epi64(_mm256_packus_epi16(v, zero), _MM_SHUFFLE(3, 1, 2, 0));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 4 * size_t(at)), _mm256_castsi256_si128(px));
            };
            const uintptr_t at = reinterpret_cast<uintptr_t>(dst);
            const bool stream = cache.stream && at % 16 == 0;
            if (stream && at % 32 && n4 >= 4) group(0), j = 4;
            j = stream ? Pairs<true>(dst, a, b, j, n4, rw16, rwi) : Pairs<false>(dst, a, b, j, n4, rw16, rwi);
            if (j < n4) group(j);
        }
    }
    if (n4 < len) {
        constexpr InnerRowFn rest = SB == 3 ? InnerRow33Sse2 : InnerRow44Sse2;
        rest(dst + SB * size_t(n4), row, cw + n4, co + n4, len - n4, below, rw);
    }
}

}  // namespace

void InnerRow33CachedAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len,
                          int32_t below, uint32_t rw, InnerRowCache& cache) {
    Cached<3>(dst, row, cw, co, len, below, rw, cache);
}

void InnerRow44CachedAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len,
                          int32_t below, uint32_t rw, InnerRowCache& cache) {
    Cached<4>(dst, row, cw, co, len, below, rw, cache);
}

}  // namespace tarn
