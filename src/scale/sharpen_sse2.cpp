// The sharpening passes, SSE2 form: four floats, or eight 16-bit lanes, to a
// register (the passes themselves are in sharpen_passes.h). Bytes widen by
// unpacking against zero; the 32-bit lanes the vertical pass stores hold
// 0 .. 255, so the signed pack keeps them.
#include <immintrin.h>

#include <cstring>

#include "scale/sharpen_passes.h"

namespace tarn {
namespace {

struct Sse2Lanes {
    using F = __m128;
    using I = __m128i;
    using Bits = __m128i;
    static constexpr int32_t kLanes = 4;

    static F Set1(float v) { return _mm_set1_ps(v); }
    static F Mul(F a, F b) { return _mm_mul_ps(a, b); }
    static F Add(F a, F b) { return _mm_add_ps(a, b); }
    static F Div(F a, F b) { return _mm_div_ps(a, b); }
    static F Load(const float* p) { return _mm_loadu_ps(p); }
    static void Store(float* p, F v) { _mm_storeu_ps(p, v); }
    static F Bytes(const uint8_t* p) {
        int32_t four;
        std::memcpy(&four, p, 4);
        const I zero = _mm_setzero_si128();
        return _mm_cvtepi32_ps(_mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(four), zero), zero));
    }
    static F Successor(F s) {
        const I bits = _mm_castps_si128(s);
        return _mm_castsi128_ps(_mm_sub_epi32(bits, _mm_cmpgt_epi32(bits, _mm_setzero_si128())));
    }
    static I Truncated(F v) { return _mm_cvttps_epi32(v); }
    static F Float(I v) { return _mm_cvtepi32_ps(v); }
    static I Low255(I v) { return _mm_and_si128(v, _mm_set1_epi32(255)); }
    static void StoreBytes(uint8_t* p, I v) {
        const I words = _mm_packs_epi32(v, v);
        const int32_t four = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
        std::memcpy(p, &four, 4);
    }

    static void StoreLowBytes2(uint8_t* p, I a, I b) {
        const I words = _mm_packs_epi32(Low255(a), Low255(b));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(words, words));
    }

    static I Words(const uint8_t* p) {
        return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
    }
    static I Set16(int16_t v) { return _mm_set1_epi16(v); }
    static I Sub16(I a, I b) { return _mm_sub_epi16(a, b); }
    static I SubSat16(I a, I b) { return _mm_subs_epu16(a, b); }
    static I Add16(I a, I b) { return _mm_add_epi16(a, b); }
    static I MulLo16(I a, I b) { return _mm_mullo_epi16(a, b); }
    static I MulHi16(I a, I b) { return _mm_mulhi_epu16(a, b); }
    static Bits Bits16(int32_t s) { return _mm_cvtsi32_si128(s); }
    static I Shift16(I v, Bits s) { return _mm_srl_epi16(v, s); }
    static void StoreWords(uint8_t* p, I v) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(v, v));
    }
    static I WordsLow(I v) { return _mm_unpacklo_epi8(v, _mm_setzero_si128()); }
    static I WordsHigh(I v) { return _mm_unpackhi_epi8(v, _mm_setzero_si128()); }
    static I Narrow16(I lo, I hi) { return _mm_packus_epi16(lo, hi); }
    static void StoreI(uint8_t* p, I v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
    static I LoadI(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
    static I SetU8(uint8_t v) { return _mm_set1_epi8(static_cast<char>(v)); }
    static I SubSatU8(I a, I b) { return _mm_subs_epu8(a, b); }
    static I MaxU8(I a, I b) { return _mm_max_epu8(a, b); }
    static I Xor(I a, I b) { return _mm_xor_si128(a, b); }
    template <int kBytes>
    static I Down(I v) { return _mm_srli_si128(v, kBytes); }
    static int32_t LowByte(I v) { return _mm_cvtsi128_si32(v) & 255; }
    static I MinU8(I a, I b) { return _mm_min_epu8(a, b); }
};

}  // namespace

const SharpenForms kSharpenSse2 = {sharpen_passes::Horizontal<Sse2Lanes>, sharpen_passes::Vertical<Sse2Lanes>,
                                  sharpen_passes::VerticalPair<Sse2Lanes>,
                                  sharpen_passes::Extremes<Sse2Lanes>, sharpen_passes::Apply<Sse2Lanes>,
                                  nullptr, nullptr, nullptr, nullptr};

}  // namespace tarn
