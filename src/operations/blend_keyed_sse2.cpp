// Keyed blend of the SSE2 tier, SSE2 form. Where the queue is empty and the
// next 16 (or 8) pixels are all painted, the queue would take them as whole
// batches of eight: pixel i of a batch in Y entry i and chroma entry j holding
// the place of pixel 2j + 1, so the batch touches consecutive Y and chroma
// samples, each once. Those runs are blended straight from the planes; every
// other pixel goes through the queue itself. Exactly the scalar form's bytes.
#include <memory>
#include <new>

#include "operations/blend_bytes_sse2.h"
#include "operations/keyed_queue.h"

namespace tarn {

namespace {

// Sixteen pixels: Y, and eight samples of each chroma plane in one register.
// The weight is alpha in every byte (alpha is below 256 here).
inline void BlendRun16(uint8_t* ty, const uint8_t* oy, uint8_t* tu, uint8_t* tv, const uint8_t* ou,
                       const uint8_t* ov, __m128i a) {
    Store16(ty, BlendBytes(Load16(oy), Load16(ty), a));
    const __m128i c = BlendBytes(_mm_unpacklo_epi64(Load8(ou), Load8(ov)),
                                 _mm_unpacklo_epi64(Load8(tu), Load8(tv)), a);
    Store8(tu, c);
    Store8(tv, _mm_srli_si128(c, 8));
}

// Eight pixels: Y, and four samples of each chroma plane.
inline void BlendRun8(uint8_t* ty, const uint8_t* oy, uint8_t* tu, uint8_t* tv, const uint8_t* ou,
                      const uint8_t* ov, __m128i a) {
    const __m128i o = _mm_unpacklo_epi64(Load8(oy), _mm_unpacklo_epi32(Load4(ou), Load4(ov)));
    const __m128i t = _mm_unpacklo_epi64(Load8(ty), _mm_unpacklo_epi32(Load4(tu), Load4(tv)));
    const __m128i r = BlendBytes(o, t, a);
    Store8(ty, r);
    Store4(tu, _mm_srli_si128(r, 8));
    Store4(tv, _mm_srli_si128(r, 12));
}

}  // namespace

// Columns 16 at a time from 0, so chroma pairs line up with byte pairs.
void MarkKeyedPixelsSse2(const KeyedQueueJob& job, int32_t y, uint8_t* match) {
    const uint8_t* oy = job.oy + y * job.oPitch;
    const uint8_t* ou = job.ou + (y >> 1) * job.oChromaPitch;
    const uint8_t* ov = job.ov + (y >> 1) * job.oChromaPitch;
    const __m128i ky = _mm_set1_epi8(static_cast<char>(job.keyY));
    const __m128i ku = _mm_set1_epi8(static_cast<char>(job.keyU));
    const __m128i kv = _mm_set1_epi8(static_cast<char>(job.keyV));
    int32_t x = 0;
    for (; x + 16 <= job.width; x += 16) {
        const __m128i u = Load8(ou + (x >> 1)), v = Load8(ov + (x >> 1));
        const __m128i eq = _mm_and_si128(_mm_cmpeq_epi8(Load16(oy + x), ky),
                                         _mm_and_si128(_mm_cmpeq_epi8(_mm_unpacklo_epi8(u, u), ku),
                                                       _mm_cmpeq_epi8(_mm_unpacklo_epi8(v, v), kv)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(match + x), eq);
    }
    for (; x < job.width; ++x) match[x] = KeyedPixelMatches(job, x, y) ? 0xFF : 0;
}

void BlendKeyedQueueSse2(const KeyedQueueJob& job) {
    // Set once for the whole composition.
    const __m128i a = _mm_set1_epi8(static_cast<char>(job.alpha));
    std::unique_ptr<uint8_t[]> match;
    if (KeyedSamplesCanMatch(job)) {
        // 16 bytes of slack: runs test 16 flags at a time.
        match.reset(new (std::nothrow) uint8_t[size_t(job.width) + 16]());
        if (!match) return BlendKeyedQueueScalar(job);
    }
    const auto painted = [&](int32_t x, int32_t count) {
        if (!match) return true;
        const __m128i f = count == 16 ? Load16(match.get() + x) : Load8(match.get() + x);
        return _mm_movemask_epi8(f) == 0;
    };
    KeyedQueue q;
    for (int32_t y = 0; y < job.height; ++y) {
        if (match) MarkKeyedPixelsSse2(job, y, match.get());
        uint8_t* ty = job.ty + y * job.tPitch;
        const uint8_t* oy = job.oy + y * job.oPitch;
        uint8_t* tu = job.tu + (y >> 1) * job.tChromaPitch;
        uint8_t* tv = job.tv + (y >> 1) * job.tChromaPitch;
        const uint8_t* ou = job.ou + (y >> 1) * job.oChromaPitch;
        const uint8_t* ov = job.ov + (y >> 1) * job.oChromaPitch;
        _mm_prefetch(reinterpret_cast<const char*>(oy + job.oPitch), _MM_HINT_NTA);
        int32_t x = 0;
        if (q.n == 0 && !match) {  // no key: whole runs straight away
            for (; x + 16 <= job.width; x += 16) {
                const int32_t c = (x + 1) >> 1;
                BlendRun16(ty + x, oy + x, tu + c, tv + c, ou + c, ov + c, a);
            }
        }
        while (x < job.width) {
            if (q.n == 0 && x + 16 <= job.width && painted(x, 16)) {
                // Two batches: chroma of pixels x + 1, x + 3, ..., x + 15.
                const int32_t c = (x + 1) >> 1;
                BlendRun16(ty + x, oy + x, tu + c, tv + c, ou + c, ov + c, a);
                x += 16;
            } else if (q.n == 0 && x + 8 <= job.width && painted(x, 8)) {
                const int32_t c = (x + 1) >> 1;
                BlendRun8(ty + x, oy + x, tu + c, tv + c, ou + c, ov + c, a);
                x += 8;
            } else {
                if (!(match ? match[x] : false)) KeyedQueuePush(q, job, x, y);
                ++x;
            }
        }
        KeyedQueueRowEnd(q, job.alpha);
    }
}

}  // namespace tarn
