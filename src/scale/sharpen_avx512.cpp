// The sharpening passes, AVX-512 form: sixteen floats, or thirty-two 16-bit
// lanes, to a register (the passes themselves are in sharpen_passes.h). The
// narrowing stores take each 32-bit lane's low byte directly, which is the
// truncation the vertical pass wants (so it need not clear the upper bytes
// first), and the mask's words are clamped below at 0 before they are
// narrowed with unsigned saturation.
#include <immintrin.h>

#include "scale/sharpen_passes.h"

namespace tarn {
namespace {

struct Avx512Lanes {
    using F = __m512;
    using I = __m512i;
    using Bits = __m128i;
    static constexpr int32_t kLanes = 16;

    static F Set1(float v) { return _mm512_set1_ps(v); }
    static F Mul(F a, F b) { return _mm512_mul_ps(a, b); }
    static F Add(F a, F b) { return _mm512_add_ps(a, b); }
    static F Div(F a, F b) { return _mm512_div_ps(a, b); }
    static F Load(const float* p) { return _mm512_loadu_ps(p); }
    static void Store(float* p, F v) { _mm512_storeu_ps(p, v); }
    static F Bytes(const uint8_t* p) {
        return _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
    }
    static F Successor(F s) {
        const I bits = _mm512_castps_si512(s);
        const __mmask16 positive = _mm512_cmpgt_epi32_mask(bits, _mm512_setzero_si512());
        return _mm512_castsi512_ps(_mm512_mask_add_epi32(bits, positive, bits, _mm512_set1_epi32(1)));
    }
    static I Truncated(F v) { return _mm512_cvttps_epi32(v); }
    static F Float(I v) { return _mm512_cvtepi32_ps(v); }
    static I Low255(I v) { return _mm512_and_si512(v, _mm512_set1_epi32(255)); }
    static void StoreBytes(uint8_t* p, I v) { StoreLowBytes(p, v); }
    static void StoreLowBytes(uint8_t* p, I v) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm512_cvtepi32_epi8(v));
    }
    static void StoreLowBytes2(uint8_t* p, I a, I b) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm512_cvtepi32_epi8(a));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 16), _mm512_cvtepi32_epi8(b));
    }

    static I Words(const uint8_t* p) {
        return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    }
    static I Set16(int16_t v) { return _mm512_set1_epi16(v); }
    static I Sub16(I a, I b) { return _mm512_sub_epi16(a, b); }
    static I SubSat16(I a, I b) { return _mm512_subs_epu16(a, b); }
    static I Add16(I a, I b) { return _mm512_add_epi16(a, b); }
    static I MulLo16(I a, I b) { return _mm512_mullo_epi16(a, b); }
    static I MulHi16(I a, I b) { return _mm512_mulhi_epu16(a, b); }
    static Bits Bits16(int32_t s) { return _mm_cvtsi32_si128(s); }
    static I Shift16(I v, Bits s) { return _mm512_srl_epi16(v, s); }
    static void StoreWords(uint8_t* p, I v) {
        const I nonNegative = _mm512_max_epi16(v, _mm512_setzero_si512());
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_cvtusepi16_epi8(nonNegative));
    }
    static I WordsLow(I v) { return _mm512_unpacklo_epi8(v, _mm512_setzero_si512()); }
    static I WordsHigh(I v) { return _mm512_unpackhi_epi8(v, _mm512_setzero_si512()); }
    static I Narrow16(I lo, I hi) { return _mm512_packus_epi16(lo, hi); }
    static void StoreI(uint8_t* p, I v) { _mm512_storeu_si512(p, v); }
    static I LoadI(const uint8_t* p) { return _mm512_loadu_si512(p); }
    static I SetU8(uint8_t v) { return _mm512_set1_epi8(static_cast<char>(v)); }
    static I SubSatU8(I a, I b) { return _mm512_subs_epu8(a, b); }
    static I MaxU8(I a, I b) { return _mm512_max_epu8(a, b); }
    static I MinU8(I a, I b) { return _mm512_min_epu8(a, b); }
    static I Xor(I a, I b) { return _mm512_xor_si512(a, b); }
    // The register moved down by kBytes bytes: the upper half to the lower
    // for 32, the second quarter to the first for 16, else within each
    // quarter, which is enough once the quarters are folded.
    template <int kBytes>
    static I Down(I v) {
        if constexpr (kBytes == 32) return _mm512_shuffle_i64x2(v, v, 0xEE);
        else if constexpr (kBytes == 16) return _mm512_shuffle_i32x4(v, v, 0x01);
        else return _mm512_bsrli_epi128(v, kBytes);
    }
    template <int kFloats>
    static F Align(F hi, F lo) {
        return _mm512_castsi512_ps(_mm512_alignr_epi32(_mm512_castps_si512(hi), _mm512_castps_si512(lo), kFloats));
    }
    static int32_t LowByte(I v) { return _mm_cvtsi128_si32(_mm512_castsi512_si128(v)) & 255; }
};

}  // namespace

const SharpenForms kSharpenAvx512 = {
    sharpen_passes::Horizontal<Avx512Lanes>, sharpen_passes::Vertical<Avx512Lanes>,
    sharpen_passes::VerticalPair<Avx512Lanes>, sharpen_passes::Extremes<Avx512Lanes>,
    sharpen_passes::Apply<Avx512Lanes>, sharpen_passes::VerticalBand<Avx512Lanes>};

}  // namespace tarn
