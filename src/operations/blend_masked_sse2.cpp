// Masked blends, SSE2 form (both tiers): groups of 8 blocks of a row pair or
// 8 packed pixels, with unaligned loads and stores; the shared row loops do
// the rest. Exactly the bytes of the plain form.
#include "operations/blend_bytes_sse2.h"
#include "operations/blend_forms.h"

namespace tarn {

namespace {

// Eight chroma samples with eight 16-bit weights.
inline void BlendChroma8(uint8_t* t, const uint8_t* o, __m128i w) {
    const __m128i z = _mm_setzero_si128();
    const __m128i r = BlendLanes(_mm_unpacklo_epi8(Load8(o), z), _mm_unpacklo_epi8(Load8(t), z), w);
    Store8(t, _mm_packus_epi16(r, r));
}

// The groups of one row pair, the chroma weight fixed for the whole loop.
template <bool kLowerLeft>
void PlanarGroups(const PlanarRowPair& r, ptrdiff_t ts, ptrdiff_t os, int32_t groups) {
    const __m128i evenBytes = _mm_set1_epi16(0x00FF);
    _mm_prefetch(reinterpret_cast<const char*>(r.oy + 2 * os), _MM_HINT_NTA);
    _mm_prefetch(reinterpret_cast<const char*>(r.m + 2 * os), _MM_HINT_NTA);
    // Pointers in locals: the byte stores could alias the caller's structure.
    uint8_t *ty = r.ty, *tFirst = r.tFirst, *tSecond = r.tSecond;
    const uint8_t *oy = r.oy, *oFirst = r.oFirst, *oSecond = r.oSecond, *m = r.m;
    // The upper row alone first, then the lower row with the chroma that
    // takes its weights from it: fewer streams at a time.
    for (int32_t x = 0; x < 16 * groups; x += 16)
        Store16(ty + x, BlendBytes(Load16(oy + x), Load16(ty + x), Load16(m + x)));
    ty += ts, oy += os, m += os;
    for (int32_t g = 0; g < groups; ++g, ty += 16, oy += 16, m += 16, tFirst += 8, tSecond += 8, oFirst += 8, oSecond += 8) {
        const __m128i m1 = Load16(m);
        Store16(ty, BlendBytes(Load16(oy), Load16(ty), m1));
        // Even bytes of the lower mask row are the lower left pixels, odd
        // bytes the lower right ones.
        const __m128i w = kLowerLeft ? _mm_and_si128(m1, evenBytes) : _mm_srli_epi16(m1, 8);
        BlendChroma8(tFirst, oFirst, w);
        BlendChroma8(tSecond, oSecond, w);
    }
}

void PlanarGroupsSse2(const PlanarRowPair& r, ptrdiff_t ts, ptrdiff_t os, int32_t groups, bool lowerLeft) {
    (lowerLeft ? PlanarGroups<true> : PlanarGroups<false>)(r, ts, os, groups);
}

void PackedGroupsSse2(uint8_t* t, const uint8_t* o, const uint8_t* m, ptrdiff_t oStride, int32_t groups) {
    _mm_prefetch(reinterpret_cast<const char*>(o + oStride), _MM_HINT_NTA);
    for (int32_t g = 0; g < groups; ++g) {
        // One mask byte serves both bytes of its pixel.
        const __m128i m8 = Load8(m + 8 * g);
        const __m128i w = _mm_unpacklo_epi8(m8, m8);
        Store16(t + 16 * g, BlendBytes(Load16(o + 16 * g), Load16(t + 16 * g), w));
    }
}

}  // namespace

void BlendMaskedPlanarSse2(const MaskedPlanarJob& job) { BlendMaskedPlanarRows(job, PlanarGroupsSse2, 8); }

void BlendMaskedPackedSse2(const MaskedPackedJob& job) { BlendMaskedPackedRows(job, PackedGroupsSse2, 8); }

}  // namespace tarn
