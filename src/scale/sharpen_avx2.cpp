// The sharpening passes, AVX2 form: eight floats, or sixteen 16-bit lanes,
// to a register (the passes themselves are in sharpen_passes.h).
#include <immintrin.h>

#include "scale/sharpen_passes.h"

namespace tarn {
namespace {

struct Avx2Lanes {
    using F = __m256;
    using I = __m256i;
    using Bits = __m128i;
    static constexpr int32_t kLanes = 8;

    static F Set1(float v) { return _mm256_set1_ps(v); }
    static F Mul(F a, F b) { return _mm256_mul_ps(a, b); }
    static F Add(F a, F b) { return _mm256_add_ps(a, b); }
    static F Div(F a, F b) { return _mm256_div_ps(a, b); }
    static F Load(const float* p) { return _mm256_loadu_ps(p); }
    static void Store(float* p, F v) { _mm256_storeu_ps(p, v); }
    static F Bytes(const uint8_t* p) {
        return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
    }
    static F Successor(F s) {
        const I bits = _mm256_castps_si256(s);
        return _mm256_castsi256_ps(_mm256_sub_epi32(bits, _mm256_cmpgt_epi32(bits, _mm256_setzero_si256())));
    }
    static I Truncated(F v) { return _mm256_cvttps_epi32(v); }
    static F Float(I v) { return _mm256_cvtepi32_ps(v); }
    static I Low255(I v) { return _mm256_and_si256(v, _mm256_set1_epi32(255)); }
    static void StoreBytes(uint8_t* p, I v) {
        const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(words, words));
    }

    static void StoreLowBytes2(uint8_t* p, I a, I b) {
        const I words = _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0xD8);
        const I low = _mm256_and_si256(words, _mm256_set1_epi16(255));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p),
                         _mm_packus_epi16(_mm256_castsi256_si128(low), _mm256_extracti128_si256(low, 1)));
    }

    static I Words(const uint8_t* p) {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    static I Set16(int16_t v) { return _mm256_set1_epi16(v); }
    static I Sub16(I a, I b) { return _mm256_sub_epi16(a, b); }
    static I SubSat16(I a, I b) { return _mm256_subs_epu16(a, b); }
    static I Add16(I a, I b) { return _mm256_add_epi16(a, b); }
    static I MulLo16(I a, I b) { return _mm256_mullo_epi16(a, b); }
    static I MulHi16(I a, I b) { return _mm256_mulhi_epu16(a, b); }
    static Bits Bits16(int32_t s) { return _mm_cvtsi32_si128(s); }
    static I Shift16(I v, Bits s) { return _mm256_srl_epi16(v, s); }
    static void StoreWords(uint8_t* p, I v) {
        const I bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(v, _mm256_setzero_si256()), 0xD8);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(bytes));
    }
    static I WordsLow(I v) { return _mm256_unpacklo_epi8(v, _mm256_setzero_si256()); }
    static I WordsHigh(I v) { return _mm256_unpackhi_epi8(v, _mm256_setzero_si256()); }
    static I Narrow16(I lo, I hi) { return _mm256_packus_epi16(lo, hi); }
    static void StoreI(uint8_t* p, I v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
    static I LoadI(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static I SetU8(uint8_t v) { return _mm256_set1_epi8(static_cast<char>(v)); }
    static I SubSatU8(I a, I b) { return _mm256_subs_epu8(a, b); }
    static I MaxU8(I a, I b) { return _mm256_max_epu8(a, b); }
    static I Xor(I a, I b) { return _mm256_xor_si256(a, b); }
    // The register moved down by kBytes bytes: the high half to the low for
    // 16, else within each half, which is enough once the halves are folded.
    template <int kBytes>
    static I Down(I v) {
        if constexpr (kBytes == 16) return _mm256_permute2x128_si256(v, v, 0x81);
        else return _mm256_srli_si256(v, kBytes);
    }
    static int32_t LowByte(I v) { return _mm256_cvtsi256_si32(v) & 255; }
    static I MinU8(I a, I b) { return _mm256_min_epu8(a, b); }
};

}  // namespace

const SharpenForms kSharpenAvx2 = {sharpen_passes::Horizontal<Avx2Lanes>, sharpen_passes::Vertical<Avx2Lanes>,
                                  sharpen_passes::VerticalPair<Avx2Lanes>,
                                  sharpen_passes::Extremes<Avx2Lanes>, sharpen_passes::Apply<Avx2Lanes>,
                                  nullptr, nullptr, nullptr, nullptr};

}  // namespace tarn
