// Masked blends, SSE2 form (both tiers). Unaligned 16-byte loads and stores,
// exactly the bytes of the scalar form: chroma goes 8 bytes at a time and the
// last blocks or pixels of a row go through the scalar pieces.
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
void PlanarGroups(uint8_t* ty, uint8_t* tu, uint8_t* tv, const uint8_t* oy, const uint8_t* ou,
                  const uint8_t* ov, const uint8_t* m, ptrdiff_t ts, ptrdiff_t os, int32_t groups) {
    const __m128i evenBytes = _mm_set1_epi16(0x00FF);
    _mm_prefetch(reinterpret_cast<const char*>(oy + 2 * os), _MM_HINT_NTA);
    _mm_prefetch(reinterpret_cast<const char*>(m + 2 * os), _MM_HINT_NTA);
    // The upper row alone first, then the lower row with the chroma that
    // takes its weights from it: fewer streams at a time.
    for (int32_t x = 0; x < 16 * groups; x += 16)
        Store16(ty + x, BlendBytes(Load16(oy + x), Load16(ty + x), Load16(m + x)));
    ty += ts, oy += os, m += os;
    for (int32_t g = 0; g < groups; ++g, ty += 16, oy += 16, m += 16, tu += 8, tv += 8, ou += 8, ov += 8) {
        const __m128i m1 = Load16(m);
        Store16(ty, BlendBytes(Load16(oy), Load16(ty), m1));
        // Even bytes of the lower mask row are the lower left pixels, odd
        // bytes the lower right ones.
        const __m128i w = kLowerLeft ? _mm_and_si128(m1, evenBytes) : _mm_srli_epi16(m1, 8);
        BlendChroma8(tu, ou, w);
        BlendChroma8(tv, ov, w);
    }
}

}  // namespace

void BlendMaskedPlanarSse2(const MaskedPlanarJob& job) {
    const int32_t groups = job.blocks >> 3;
    const int32_t grouped = groups << 3;
    const ptrdiff_t ts = job.tStride, os = job.oStride;
    for (int32_t p = 0; p < job.rowPairs; ++p) {
        uint8_t* ty = job.ty + 2 * p * ts;
        uint8_t* tu = job.tu + p * job.tChromaStride;
        uint8_t* tv = job.tv + p * job.tChromaStride;
        const uint8_t* oy = job.oy + 2 * p * os;
        const uint8_t* ou = job.ou + p * job.oChromaStride;
        const uint8_t* ov = job.ov + p * job.oChromaStride;
        const uint8_t* m = job.mask + 2 * p * os;
        (job.lowerLeftInGroups ? PlanarGroups<true> : PlanarGroups<false>)(ty, tu, tv, oy, ou, ov, m,
                                                                          ts, os, groups);
        BlendMaskedPlanarBlocks(job, ty + 2 * grouped, tu + grouped, tv + grouped, oy + 2 * grouped,
                                ou + grouped, ov + grouped, m + 2 * grouped, job.blocks - grouped,
                                false);
    }
}

void BlendMaskedPackedSse2(const MaskedPackedJob& job) {
    const int32_t groups = job.width >> 3;
    for (int32_t y = 0; y < job.rows; ++y) {
        uint8_t* t = job.t + y * job.tStride;
        const uint8_t* o = job.o + y * job.oStride;
        const uint8_t* m = job.mask + y * job.maskPitch;
        _mm_prefetch(reinterpret_cast<const char*>(o + job.oStride), _MM_HINT_NTA);
        for (int32_t g = 0; g < groups; ++g) {
            // One mask byte serves both bytes of its pixel.
            const __m128i m8 = Load8(m + 8 * g);
            const __m128i w = _mm_unpacklo_epi8(m8, m8);
            Store16(t + 16 * g, BlendBytes(Load16(o + 16 * g), Load16(t + 16 * g), w));
        }
        const int32_t done = groups << 3;
        BlendMaskedPackedPixels(t + 2 * done, o + 2 * done, m + done, job.width - done);
    }
}

}  // namespace tarn
