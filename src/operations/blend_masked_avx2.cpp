// Masked blends, AVX2 form (both tiers): groups of 16 blocks of a row pair or
// 16 packed pixels, with unaligned loads and stores; the shared row loops do
// the rest. Exactly the bytes of the plain form.
#include <immintrin.h>

#include "operations/blend_bytes_sse2.h"
#include "operations/blend_forms.h"

namespace tarn {

namespace {

// See the SSE2 form: o * 256 + w * (t - o) modulo 2^16 is the exact sum.
inline __m256i Blend16(__m256i o, __m256i t, __m256i w) {
    const __m256i sum =
        _mm256_add_epi16(_mm256_slli_epi16(o, 8), _mm256_mullo_epi16(w, _mm256_sub_epi16(t, o)));
    return _mm256_srli_epi16(sum, 8);
}

inline __m256i Widen(const uint8_t* p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

// Sixteen 16-bit results back to bytes, in order.
inline __m128i Narrow(__m256i v) {
    return _mm_packus_epi16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
}

inline __m256i Load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void Store(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

// BlendBytes of blend_bytes_sse2.h on thirty-two bytes.
inline __m256i BlendBytes(__m256i o, __m256i t, __m256i w) {
    const __m256i low = _mm256_set1_epi16(0x00FF);
    const __m256i high = _mm256_set1_epi16(int16_t(0xFF00));
    const __m256i oe = _mm256_and_si256(o, low);
    const __m256i evenSum = _mm256_add_epi16(
        _mm256_slli_epi16(oe, 8),
        _mm256_mullo_epi16(_mm256_and_si256(w, low), _mm256_sub_epi16(_mm256_and_si256(t, low), oe)));
    const __m256i oddSum = _mm256_add_epi16(
        _mm256_and_si256(o, high),
        _mm256_mullo_epi16(_mm256_srli_epi16(w, 8),
                           _mm256_sub_epi16(_mm256_srli_epi16(t, 8), _mm256_srli_epi16(o, 8))));
    return _mm256_or_si256(_mm256_srli_epi16(evenSum, 8), _mm256_and_si256(oddSum, high));
}

inline void BlendChroma16(uint8_t* t, const uint8_t* o, __m256i w) {
    Store16(t, Narrow(Blend16(Widen(o), Widen(t), w)));
}

// The groups of one row pair, the chroma weight fixed for the whole loop.
template <bool kLowerLeft>
void PlanarGroups(const PlanarRowPair& r, ptrdiff_t ts, ptrdiff_t os, int32_t groups) {
    const __m256i evenBytes = _mm256_set1_epi16(0x00FF);
    // Pointers in locals: the byte stores could alias the caller's structure.
    uint8_t *ty = r.ty, *tFirst = r.tFirst, *tSecond = r.tSecond;
    const uint8_t *oy = r.oy, *oFirst = r.oFirst, *oSecond = r.oSecond, *m = r.m;
    // The upper row alone first, then the lower row with the chroma that
    // takes its weights from it: fewer streams at a time.
    for (int32_t x = 0; x < 32 * groups; x += 32) Store(ty + x, BlendBytes(Load(oy + x), Load(ty + x), Load(m + x)));
    ty += ts, oy += os, m += os;
    for (int32_t g = 0; g < groups; ++g, ty += 32, oy += 32, m += 32, tFirst += 16, tSecond += 16, oFirst += 16, oSecond += 16) {
        const __m256i m1 = Load(m);
        Store(ty, BlendBytes(Load(oy), Load(ty), m1));
        const __m256i w = kLowerLeft ? _mm256_and_si256(m1, evenBytes) : _mm256_srli_epi16(m1, 8);
        BlendChroma16(tFirst, oFirst, w);
        BlendChroma16(tSecond, oSecond, w);
    }
}

void PlanarGroupsAvx2(const PlanarRowPair& r, ptrdiff_t ts, ptrdiff_t os, int32_t groups, bool lowerLeft) {
    (lowerLeft ? PlanarGroups<true> : PlanarGroups<false>)(r, ts, os, groups);
}

void PackedGroupsAvx2(uint8_t* t, const uint8_t* o, const uint8_t* m, ptrdiff_t, int32_t groups) {
    for (int32_t g = 0; g < groups; ++g) {
        // Each mask byte doubled: pixel i's weight on bytes 2i and 2i + 1.
        const __m128i m16 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(m + 16 * g));
        const __m256i w = _mm256_set_m128i(_mm_unpackhi_epi8(m16, m16), _mm_unpacklo_epi8(m16, m16));
        Store(t + 32 * g, BlendBytes(Load(o + 32 * g), Load(t + 32 * g), w));
    }
}

}  // namespace

void BlendMaskedPlanarAvx2(const MaskedPlanarJob& job) { BlendMaskedPlanarRows(job, PlanarGroupsAvx2, 16); }

void BlendMaskedPackedAvx2(const MaskedPackedJob& job) { BlendMaskedPackedRows(job, PackedGroupsAvx2, 16); }

}  // namespace tarn
