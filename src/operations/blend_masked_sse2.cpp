// Masked blends, SSE2 form (both tiers). Unaligned 16-byte loads and stores,
// exactly the bytes of the scalar form: chroma goes 8 bytes at a time and the
// last blocks or pixels of a row go through the scalar pieces.
#include <emmintrin.h>

#include "operations/blend_forms.h"

namespace tarn {

namespace {

// ((256 - w) * o + w * t) >> 8 on eight 16-bit lanes, as o * 256 + w * (t - o):
// the true sum lies in 0..65280, so arithmetic modulo 2^16 gives it exactly.
inline __m128i Blend16(__m128i o, __m128i t, __m128i w) {
    const __m128i sum = _mm_add_epi16(_mm_slli_epi16(o, 8), _mm_mullo_epi16(w, _mm_sub_epi16(t, o)));
    return _mm_srli_epi16(sum, 8);
}

// Sixteen bytes blended with sixteen byte weights.
inline __m128i BlendBytes(__m128i o, __m128i t, __m128i w) {
    const __m128i z = _mm_setzero_si128();
    const __m128i lo = Blend16(_mm_unpacklo_epi8(o, z), _mm_unpacklo_epi8(t, z), _mm_unpacklo_epi8(w, z));
    const __m128i hi = Blend16(_mm_unpackhi_epi8(o, z), _mm_unpackhi_epi8(t, z), _mm_unpackhi_epi8(w, z));
    return _mm_packus_epi16(lo, hi);
}

inline __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void Store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
inline __m128i Load8(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
inline void Store8(uint8_t* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v); }

// Eight chroma samples with eight 16-bit weights.
inline void BlendChroma8(uint8_t* t, const uint8_t* o, __m128i w) {
    const __m128i z = _mm_setzero_si128();
    const __m128i r = Blend16(_mm_unpacklo_epi8(Load8(o), z), _mm_unpacklo_epi8(Load8(t), z), w);
    Store8(t, _mm_packus_epi16(r, r));
}

}  // namespace

void BlendMaskedPlanarSse2(const MaskedPlanarJob& job) {
    const int32_t groups = job.blocks >> 3;
    const int32_t grouped = groups << 3;
    const bool lowerLeft = job.lowerLeftInGroups;
    const __m128i evenBytes = _mm_set1_epi16(0x00FF);
    for (int32_t p = 0; p < job.rowPairs; ++p) {
        uint8_t* ty = job.ty + 2 * p * job.tStride;
        uint8_t* tu = job.tu + p * job.tChromaStride;
        uint8_t* tv = job.tv + p * job.tChromaStride;
        const uint8_t* oy = job.oy + 2 * p * job.oStride;
        const uint8_t* ou = job.ou + p * job.oChromaStride;
        const uint8_t* ov = job.ov + p * job.oChromaStride;
        const uint8_t* m = job.mask + 2 * p * job.oStride;
        const ptrdiff_t ts = job.tStride, os = job.oStride;
        _mm_prefetch(reinterpret_cast<const char*>(oy + 2 * os), _MM_HINT_NTA);
        _mm_prefetch(reinterpret_cast<const char*>(m + 2 * os), _MM_HINT_NTA);
        for (int32_t g = 0; g < groups; ++g) {
            const int32_t x = 16 * g, c = 8 * g;
            const __m128i m0 = Load(m + x), m1 = Load(m + os + x);
            Store(ty + x, BlendBytes(Load(oy + x), Load(ty + x), m0));
            Store(ty + ts + x, BlendBytes(Load(oy + os + x), Load(ty + ts + x), m1));
            // Even bytes of the lower mask row are the lower left pixels, odd
            // bytes the lower right ones.
            const __m128i w = lowerLeft ? _mm_and_si128(m1, evenBytes) : _mm_srli_epi16(m1, 8);
            BlendChroma8(tu + c, ou + c, w);
            BlendChroma8(tv + c, ov + c, w);
        }
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
            Store(t + 16 * g, BlendBytes(Load(o + 16 * g), Load(t + 16 * g), w));
        }
        const int32_t done = groups << 3;
        BlendMaskedPackedPixels(t + 2 * done, o + 2 * done, m + done, job.width - done);
    }
}

}  // namespace tarn
