// Keyed blend of the SSE2 tier, AVX2 form: runs of 32, 16 and 8 pixels (see
// keyed_runs_sse2.h), with the constant weight applied by byte-pair
// multiply-adds. Weights 256 - alpha and alpha must both fit a byte, so
// alpha 0 goes to the SSE2 form. Exactly the plain form's bytes.
#include <immintrin.h>

#include "operations/keyed_runs_sse2.h"

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

// The runs: Y, and both chroma planes in one register.
inline void Run32(const KeyedRun& r, const Weight& w) {
    Store32(r.ty, Blend32(Load32(r.oy), Load32(r.ty), w));
    const __m256i c = Blend32(_mm256_set_m128i(Load16(r.oSecond), Load16(r.oFirst)),
                              _mm256_set_m128i(Load16(r.tSecond), Load16(r.tFirst)), w);
    Store16(r.tFirst, _mm256_castsi256_si128(c));
    Store16(r.tSecond, _mm256_extracti128_si256(c, 1));
}

inline void Run16(const KeyedRun& r, const Weight& w) {
    Store16(r.ty, Blend16(Load16(r.oy), Load16(r.ty), w));
    const __m128i c = Blend16(_mm_unpacklo_epi64(Load8(r.oFirst), Load8(r.oSecond)),
                              _mm_unpacklo_epi64(Load8(r.tFirst), Load8(r.tSecond)), w);
    Store8(r.tFirst, c);
    Store8(r.tSecond, _mm_srli_si128(c, 8));
}

inline void Run8(const KeyedRun& r, const Weight& w) {
    const __m128i o = _mm_unpacklo_epi64(Load8(r.oy), _mm_unpacklo_epi32(Load4(r.oFirst), Load4(r.oSecond)));
    const __m128i t = _mm_unpacklo_epi64(Load8(r.ty), _mm_unpacklo_epi32(Load4(r.tFirst), Load4(r.tSecond)));
    const __m128i b = Blend16(o, t, w);
    Store8(r.ty, b);
    Store4(r.tFirst, _mm_srli_si128(b, 8));
    Store4(r.tSecond, _mm_srli_si128(b, 12));
}

struct Runs {
    static constexpr int32_t kLengths[] = {32, 16, 8};
    Weight w;
    void Blend(int32_t length, const KeyedRun& r) const {
        if (length == 32)
            Run32(r, w);
        else if (length == 16)
            Run16(r, w);
        else
            Run8(r, w);
    }
};

}  // namespace

void BlendKeyedQueueAvx2(const KeyedQueueJob& job) {
    if (job.alpha == 0 || job.alpha > 255) return BlendKeyedQueueSse2(job);
    BlendKeyedRuns(job, Runs{{_mm256_set1_epi16(static_cast<int16_t>((job.alpha << 8) | (256 - job.alpha))),
                              _mm256_set1_epi8(static_cast<char>(0x80)),
                              _mm256_set1_epi16(static_cast<int16_t>(0x8000))}});
}

}  // namespace tarn
