// Keyed blend of the SSE2 tier, SSE2 form: runs of 16 and 8 pixels (see
// keyed_runs_sse2.h), and the match flags the AVX2 form uses as well.
// Exactly the plain form's bytes.
#include "operations/keyed_runs_sse2.h"

namespace tarn {

namespace {

// Sixteen pixels: Y, and eight samples of each chroma plane in one register.
inline void Run16(const KeyedRun& r, __m128i a) {
    Store16(r.ty, BlendBytes(Load16(r.oy), Load16(r.ty), a));
    const __m128i c = BlendBytes(_mm_unpacklo_epi64(Load8(r.oFirst), Load8(r.oSecond)),
                                 _mm_unpacklo_epi64(Load8(r.tFirst), Load8(r.tSecond)), a);
    Store8(r.tFirst, c);
    Store8(r.tSecond, _mm_srli_si128(c, 8));
}

// Eight pixels: Y, and four samples of each chroma plane.
inline void Run8(const KeyedRun& r, __m128i a) {
    const __m128i o = _mm_unpacklo_epi64(Load8(r.oy), _mm_unpacklo_epi32(Load4(r.oFirst), Load4(r.oSecond)));
    const __m128i t = _mm_unpacklo_epi64(Load8(r.ty), _mm_unpacklo_epi32(Load4(r.tFirst), Load4(r.tSecond)));
    const __m128i b = BlendBytes(o, t, a);
    Store8(r.ty, b);
    Store4(r.tFirst, _mm_srli_si128(b, 8));
    Store4(r.tSecond, _mm_srli_si128(b, 12));
}

// The weight is alpha in every byte (alpha is below 256 here).
struct Runs {
    static constexpr int32_t kLengths[] = {16, 8};
    __m128i a;
    void Blend(int32_t length, const KeyedRun& r) const { length == 16 ? Run16(r, a) : Run8(r, a); }
};

}  // namespace

// Columns 16 at a time from 0, so chroma pairs line up with byte pairs.
void MarkKeyedPixelsSse2(const KeyedQueueJob& job, int32_t y, uint8_t* match) {
    const uint8_t* oy = job.oy + y * job.oPitch;
    const uint8_t* oFirst = job.oFirst + (y >> 1) * job.oChromaPitch;
    const uint8_t* oSecond = job.oSecond + (y >> 1) * job.oChromaPitch;
    const __m128i ky = _mm_set1_epi8(static_cast<char>(job.keyY));
    const __m128i kFirst = _mm_set1_epi8(static_cast<char>(job.keyFirst));
    const __m128i kSecond = _mm_set1_epi8(static_cast<char>(job.keySecond));
    int32_t x = 0;
    for (; x + 16 <= job.width; x += 16) {
        const __m128i first = Load8(oFirst + (x >> 1)), second = Load8(oSecond + (x >> 1));
        const __m128i eq = _mm_and_si128(_mm_cmpeq_epi8(Load16(oy + x), ky),
                                         _mm_and_si128(_mm_cmpeq_epi8(_mm_unpacklo_epi8(first, first), kFirst),
                                                       _mm_cmpeq_epi8(_mm_unpacklo_epi8(second, second), kSecond)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(match + x), eq);
    }
    for (; x < job.width; ++x) match[x] = KeyedPixelMatches(job, x, y) ? 0xFF : 0;
}

void BlendKeyedQueueSse2(const KeyedQueueJob& job) {
    BlendKeyedRuns(job, Runs{_mm_set1_epi8(static_cast<char>(job.alpha))});
}

}  // namespace tarn
