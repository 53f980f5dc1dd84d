// The blend on sixteen bytes with SSE2, and the loads and stores of 4, 8 and
// 16 bytes, shared by the vector forms of the composition blends. Include
// only from *_sse2.cpp and *_avx2.cpp files. Everything here is file-local,
// so an AVX2 file's copy never stands in for an SSE2 file's at link time.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace tarn {
namespace {

// ((256 - w) * o + w * t) >> 8 on eight 16-bit lanes, as o * 256 + w * (t - o):
// the true sum lies in 0..65280, so arithmetic modulo 2^16 gives it exactly.
inline __m128i BlendLanes(__m128i o, __m128i t, __m128i w) {
    return _mm_srli_epi16(_mm_add_epi16(_mm_slli_epi16(o, 8), _mm_mullo_epi16(w, _mm_sub_epi16(t, o))), 8);
}

// Sixteen bytes blended with sixteen byte weights, even and odd bytes as
// separate 16-bit lanes so that nothing is shuffled. An odd byte's overlay
// sample already stands at o * 256 in its lane, and its result is the high
// byte of the lane's sum.
inline __m128i BlendBytes(__m128i o, __m128i t, __m128i w) {
    const __m128i low = _mm_set1_epi16(0x00FF);
    const __m128i high = _mm_set1_epi16(int16_t(0xFF00));
    const __m128i oe = _mm_and_si128(o, low);
    const __m128i evenSum = _mm_add_epi16(
        _mm_slli_epi16(oe, 8), _mm_mullo_epi16(_mm_and_si128(w, low), _mm_sub_epi16(_mm_and_si128(t, low), oe)));
    const __m128i oddSum = _mm_add_epi16(
        _mm_and_si128(o, high),
        _mm_mullo_epi16(_mm_srli_epi16(w, 8), _mm_sub_epi16(_mm_srli_epi16(t, 8), _mm_srli_epi16(o, 8))));
    return _mm_or_si128(_mm_srli_epi16(evenSum, 8), _mm_and_si128(oddSum, high));
}

inline __m128i Load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void Store16(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
inline __m128i Load8(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
inline void Store8(uint8_t* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v); }
inline __m128i Load4(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(v);
}
inline void Store4(uint8_t* p, __m128i v) {
    const int32_t w = _mm_cvtsi128_si32(v);
    std::memcpy(p, &w, 4);
}

}  // namespace
}  // namespace tarn
