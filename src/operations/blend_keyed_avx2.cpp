// Keyed blend of the SSE2 tier, AVX2 form: the SSE2 form's runs (see there),
// 32 pixels at a time, with the constant weight applied by byte-pair
// multiply-adds. Weights 256 - alpha and alpha must both fit a byte, so
// alpha 0 goes to the SSE2 form. Exactly the scalar form's bytes.
#include <immintrin.h>

#include <memory>
#include <new>

#include "operations/blend_bytes_sse2.h"
#include "operations/keyed_queue.h"

namespace tarn {

namespace {

// ((256 - a) * o + a * t) >> 8 for 1 <= a <= 255: with o and t taken as
// o - 128 and t - 128 the multiply-add gives the sum less 32768, which lies
// in -32768..32512, so it neither saturates nor loses anything; adding 32768
// back modulo 2^16 restores the sum.
struct Weight {
    __m256i pairs;  // bytes 256 - a, a
    __m256i flip;   // 0x80 in every byte
    __m256i bias;   // 0x8000 in every lane
};

inline __m256i Blend32(__m256i o, __m256i t, const Weight& w) {
    const __m256i os = _mm256_xor_si256(o, w.flip), ts = _mm256_xor_si256(t, w.flip);
    const __m256i lo = _mm256_add_epi16(_mm256_maddubs_epi16(w.pairs, _mm256_unpacklo_epi8(os, ts)), w.bias);
    const __m256i hi = _mm256_add_epi16(_mm256_maddubs_epi16(w.pairs, _mm256_unpackhi_epi8(os, ts)), w.bias);
    return _mm256_packus_epi16(_mm256_srli_epi16(lo, 8), _mm256_srli_epi16(hi, 8));
}

inline __m128i Blend16(__m128i o, __m128i t, const Weight& w) {
    const __m128i pairs = _mm256_castsi256_si128(w.pairs), flip = _mm256_castsi256_si128(w.flip);
    const __m128i bias = _mm256_castsi256_si128(w.bias);
    const __m128i os = _mm_xor_si128(o, flip), ts = _mm_xor_si128(t, flip);
    const __m128i lo = _mm_add_epi16(_mm_maddubs_epi16(pairs, _mm_unpacklo_epi8(os, ts)), bias);
    const __m128i hi = _mm_add_epi16(_mm_maddubs_epi16(pairs, _mm_unpackhi_epi8(os, ts)), bias);
    return _mm_packus_epi16(_mm_srli_epi16(lo, 8), _mm_srli_epi16(hi, 8));
}

inline __m256i Load32(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void Store32(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

// The runs of 32, 16 and 8 pixels: Y, and the chroma of every second pixel
// from the run's second one, both planes in one register.
struct Run {
    uint8_t *ty, *tu, *tv;
    const uint8_t *oy, *ou, *ov;
};

inline void Run32(const Run& r, const Weight& w) {
    Store32(r.ty, Blend32(Load32(r.oy), Load32(r.ty), w));
    const __m256i c = Blend32(_mm256_set_m128i(Load16(r.ov), Load16(r.ou)),
                              _mm256_set_m128i(Load16(r.tv), Load16(r.tu)), w);
    Store16(r.tu, _mm256_castsi256_si128(c));
    Store16(r.tv, _mm256_extracti128_si256(c, 1));
}

inline void Run16(const Run& r, const Weight& w) {
    Store16(r.ty, Blend16(Load16(r.oy), Load16(r.ty), w));
    const __m128i c = Blend16(_mm_unpacklo_epi64(Load8(r.ou), Load8(r.ov)),
                              _mm_unpacklo_epi64(Load8(r.tu), Load8(r.tv)), w);
    Store8(r.tu, c);
    Store8(r.tv, _mm_srli_si128(c, 8));
}

inline void Run8(const Run& r, const Weight& w) {
    const __m128i o = _mm_unpacklo_epi64(Load8(r.oy), _mm_unpacklo_epi32(Load4(r.ou), Load4(r.ov)));
    const __m128i t = _mm_unpacklo_epi64(Load8(r.ty), _mm_unpacklo_epi32(Load4(r.tu), Load4(r.tv)));
    const __m128i b = Blend16(o, t, w);
    Store8(r.ty, b);
    Store4(r.tu, _mm_srli_si128(b, 8));
    Store4(r.tv, _mm_srli_si128(b, 12));
}

}  // namespace

void BlendKeyedQueueAvx2(const KeyedQueueJob& job) {
    if (job.alpha == 0 || job.alpha > 255) return BlendKeyedQueueSse2(job);
    // Set once for the whole composition.
    const Weight w{_mm256_set1_epi16(static_cast<int16_t>((job.alpha << 8) | (256 - job.alpha))),
                   _mm256_set1_epi8(static_cast<char>(0x80)),
                   _mm256_set1_epi16(static_cast<int16_t>(0x8000))};
    std::unique_ptr<uint8_t[]> match;
    if (KeyedSamplesCanMatch(job)) {
        // 32 bytes of slack: runs test up to 32 flags at a time.
        match.reset(new (std::nothrow) uint8_t[size_t(job.width) + 32]());
        if (!match) return BlendKeyedQueueScalar(job);
    }
    const auto painted = [&](int32_t x, int32_t count) {
        if (!match) return true;
        const uint8_t* f = match.get() + x;
        if (count == 32) return _mm256_testz_si256(Load32(f), Load32(f)) != 0;
        const __m128i v = count == 16 ? Load16(f) : Load8(f);
        return _mm_testz_si128(v, v) != 0;
    };
    KeyedQueue q;
    for (int32_t y = 0; y < job.height; ++y) {
        if (match) MarkKeyedPixelsSse2(job, y, match.get());
        const ptrdiff_t cRowT = (y >> 1) * job.tChromaPitch, cRowO = (y >> 1) * job.oChromaPitch;
        const auto runAt = [&](int32_t x) {
            const int32_t c = (x + 1) >> 1;  // chroma of pixel x + 1, x + 3, ...
            return Run{job.ty + y * job.tPitch + x, job.tu + cRowT + c, job.tv + cRowT + c,
                       job.oy + y * job.oPitch + x, job.ou + cRowO + c, job.ov + cRowO + c};
        };
        int32_t x = 0;
        if (q.n == 0 && !match) {  // no key: whole runs straight away
            for (; x + 32 <= job.width; x += 32) Run32(runAt(x), w);
        }
        while (x < job.width) {
            if (q.n == 0 && x + 32 <= job.width && painted(x, 32)) {
                Run32(runAt(x), w);
                x += 32;
            } else if (q.n == 0 && x + 16 <= job.width && painted(x, 16)) {
                Run16(runAt(x), w);
                x += 16;
            } else if (q.n == 0 && x + 8 <= job.width && painted(x, 8)) {
                Run8(runAt(x), w);
                x += 8;
            } else {
                if (!(match && match[x])) KeyedQueuePush(q, job, x, y);
                ++x;
            }
        }
        KeyedQueueRowEnd(q, job.alpha);
    }
}

}  // namespace tarn
