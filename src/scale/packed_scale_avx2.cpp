// The 4:2:2 scaler, AVX2 form: ScalePackedInDoubles (packed_scale.h) with
// rows four doubles a register, the samples picked out of 16-byte windows of
// the row by byte shuffles planned once. Sizes whose fractions are all whole
// 128ths go the integer way instead (packed_scale_steps_avx2.cpp).
#include <immintrin.h>

#include <algorithm>
#include <vector>

#include "scale/packed_scale.h"
#include "scale/packed_sweep_avx2.h"

namespace tarn {
namespace {

void StoreFour(double* h, float* top, size_t i, __m256d v) {
    _mm256_storeu_pd(h + i, v);
    _mm_storeu_ps(top + i, _mm256_cvtpd_ps(v));
}

// Eight target bytes at a time: two blocks of four, each shuffled out of its
// own 16-byte window in one half, then widened four at a time.
void BlendRow(PackedBlended& out, const uint8_t* row, const PackedDoubleColumns& c, size_t n) {
    const PackedBlendView t(out, c);
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const size_t k = i / 4;
        const int32_t base0 = t.base[k], base1 = t.base[k + 1];
        if ((base0 | base1) < 0) {
            for (size_t j = i; j < i + 8; ++j) BlendPackedOne(out, row, c, j);
            continue;
        }
        const __m256i window = _mm256_inserti128_si256(
            _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + base0))),
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + base1)), 1);
        const __m256i a =
            _mm256_shuffle_epi8(window, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(t.pickA + 16 * k)));
        const __m256i b =
            _mm256_shuffle_epi8(window, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(t.pickB + 16 * k)));
        const __m256i diff = _mm256_sub_epi32(a, b);
        for (int half = 0; half < 2; ++half) {
            const __m128i a4 = half ? _mm256_extracti128_si256(a, 1) : _mm256_castsi256_si128(a);
            const __m128i d4 = half ? _mm256_extracti128_si256(diff, 1) : _mm256_castsi256_si128(diff);
            const size_t j = i + 4 * size_t(half);
            const __m256d product = _mm256_mul_pd(_mm256_cvtepi32_pd(d4), _mm256_loadu_pd(t.dx + j));
            StoreFour(t.h, t.top, j, _mm256_sub_pd(_mm256_cvtepi32_pd(a4), product));
        }
    }
    for (; i < n; ++i) BlendPackedOne(out, row, c, i);
}

// One target row: double(top) - (double(top) - bottom) * dy, truncated.
void MixRow(uint8_t* d, const float* top, const double* bottom, float dy, size_t n, bool around) {
    const __m256d dyv = _mm256_set1_pd(double(dy));
    auto four = [&](size_t i) {
        const __m256d t = _mm256_cvtps_pd(_mm_loadu_ps(top + i));
        const __m256d v = _mm256_sub_pd(t, _mm256_mul_pd(_mm256_sub_pd(t, _mm256_loadu_pd(bottom + i)), dyv));
        return _mm256_cvttpd_epi32(v);
    };
    auto sixteen = [&](size_t i) {
        return _mm_packus_epi16(_mm_packs_epi32(four(i), four(i + 4)), _mm_packs_epi32(four(i + 8), four(i + 12)));
    };
    auto scalar = [&](size_t i) { return MixPackedOne(top, bottom, dy, i); };
    if (dy == 0.0f) {
        // t - (t - bottom) * 0 is t: the floats truncated as they are, eight
        // at a time. The packs leave 4-byte groups in the order 0 2 4 6 1 3 5 7.
        auto eight = [&](size_t i) { return _mm256_cvttps_epi32(_mm256_loadu_ps(top + i)); };
        const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
        Sweep(
            d, n, around,
            [&](size_t i) {
                const __m256i words = _mm256_packs_epi32(eight(i), eight(i + 8));
                const __m256i more = _mm256_packs_epi32(eight(i + 16), eight(i + 24));
                return _mm256_permutevar8x32_epi32(_mm256_packus_epi16(words, more), order);
            },
            scalar);
        return;
    }
    Sweep(d, n, around, [&](size_t i) { return _mm256_setr_m128i(sixteen(i), sixteen(i + 16)); }, scalar);
}

}  // namespace

void ScalePackedAvx2(const ScaleTarget& target, const ScaleSource& source) {
    if (ScalePackedDoublingAvx2(target, source) || ScalePackedStepsAvx2(target, source)) return;
    // The streamed stores are ordered before whatever the caller does next.
    const PackedDoubleColumns c = PlanPackedDoubleColumns(int32_t(source.width), int32_t(target.width));
    if (ScalePackedInDoubles(target, source, c, BlendRow, MixRow)) _mm_sfence();
}

}  // namespace tarn
