// The 4:2:2 scaler, AVX-512 form: ScalePackedInDoubles (packed_scale.h)
// with rows eight doubles a register and sixty-four target bytes a store.
// Sizes whose fractions are all whole 128ths go the AVX2 integer way, whose
// cost is in the bytes it moves.
#include <immintrin.h>

#include <vector>

#include "scale/packed_scale.h"

namespace tarn {
namespace {

__m128i Window(const uint8_t* row, int32_t base) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + base));
}

// Sixteen target bytes at a time: four blocks of four, each shuffled out of
// its own 16-byte window in one 128-bit lane, then widened eight at a time.
void BlendRow(PackedBlended& out, const uint8_t* row, const PackedDoubleColumns& c, size_t n) {
    const PackedBlendView t(out, c);
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const size_t k = i / 4;
        const int32_t b0 = t.base[k], b1 = t.base[k + 1], b2 = t.base[k + 2], b3 = t.base[k + 3];
        if ((b0 | b1 | b2 | b3) < 0) {
            for (size_t j = i; j < i + 16; ++j) BlendPackedOne(out, row, c, j);
            continue;
        }
        const __m256i low = _mm256_inserti128_si256(_mm256_castsi128_si256(Window(row, b0)), Window(row, b1), 1);
        const __m256i high = _mm256_inserti128_si256(_mm256_castsi128_si256(Window(row, b2)), Window(row, b3), 1);
        const __m512i window = _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
        const __m512i a = _mm512_shuffle_epi8(window, _mm512_loadu_si512(t.pickA + 16 * k));
        const __m512i b = _mm512_shuffle_epi8(window, _mm512_loadu_si512(t.pickB + 16 * k));
        const __m512i diff = _mm512_sub_epi32(a, b);
        for (int half = 0; half < 2; ++half) {
            const __m256i a8 = half ? _mm512_extracti64x4_epi64(a, 1) : _mm512_castsi512_si256(a);
            const __m256i d8 = half ? _mm512_extracti64x4_epi64(diff, 1) : _mm512_castsi512_si256(diff);
            const size_t j = i + 8 * size_t(half);
            const __m512d product = _mm512_mul_pd(_mm512_cvtepi32_pd(d8), _mm512_loadu_pd(t.dx + j));
            const __m512d v = _mm512_sub_pd(_mm512_cvtepi32_pd(a8), product);
            _mm512_storeu_pd(t.h + j, v);
            _mm256_storeu_ps(t.top + j, _mm512_cvtpd_ps(v));
        }
    }
    for (; i < n; ++i) BlendPackedOne(out, row, c, i);
}

// Sixty-four bytes from four vectors of sixteen 32-bit values in 0..255:
// the packs work lane by lane, leaving 4-byte groups lane-major, and a
// permute of 32-bit words puts them back in order.
__m512i BytesOf(__m512i q0, __m512i q1, __m512i q2, __m512i q3) {
    const __m512i packed = _mm512_packus_epi16(_mm512_packs_epi32(q0, q1), _mm512_packs_epi32(q2, q3));
    // (The two-source permute: GCC 12 reports the one-source form's
    // undefined merge register as uninitialised.)
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return _mm512_permutex2var_epi32(packed, order, packed);
}

// A target row, sixty-four bytes at a time by `vector(i)` and the rest by
// `scalar(i)`. With `around` the row's first bytes up to an aligned address
// go one by one, and the stores after them go around the caches. (The AVX2
// form's sweep in the same shape: a sweep shared through a store callback
// made the AVX2 doubling a seventh slower.)
template <class Vector, class Scalar>
void Sweep(uint8_t* d, size_t n, bool around, Vector vector, Scalar scalar) {
    size_t i = 0;
    if (around) {
        for (; i < n && (reinterpret_cast<uintptr_t>(d + i) & 63) != 0; ++i) d[i] = scalar(i);
        for (; i + 64 <= n; i += 64) _mm512_stream_si512(reinterpret_cast<__m512i*>(d + i), vector(i));
    }
    for (; i + 64 <= n; i += 64) _mm512_storeu_si512(d + i, vector(i));
    for (; i < n; ++i) d[i] = scalar(i);
}

// One target row: double(top) - (double(top) - bottom) * dy, truncated.
void MixRow(uint8_t* d, const float* top, const double* bottom, float dy, size_t n, bool around) {
    auto scalar = [&](size_t i) { return MixPackedOne(top, bottom, dy, i); };
    if (dy == 0.0f) {
        // t - (t - bottom) * 0 is t: the floats truncated as they are.
        auto sixteen = [&](size_t i) { return _mm512_cvttps_epi32(_mm512_loadu_ps(top + i)); };
        Sweep(
            d, n, around,
            [&](size_t i) { return BytesOf(sixteen(i), sixteen(i + 16), sixteen(i + 32), sixteen(i + 48)); },
            scalar);
        return;
    }
    const __m512d dyv = _mm512_set1_pd(double(dy));
    auto eight = [&](size_t i) {
        const __m512d t = _mm512_cvtps_pd(_mm256_loadu_ps(top + i));
        const __m512d v = _mm512_sub_pd(t, _mm512_mul_pd(_mm512_sub_pd(t, _mm512_loadu_pd(bottom + i)), dyv));
        return _mm512_cvttpd_epi32(v);
    };
    auto sixteen = [&](size_t i) {
        return _mm512_inserti64x4(_mm512_castsi256_si512(eight(i)), eight(i + 8), 1);
    };
    Sweep(
        d, n, around,
        [&](size_t i) { return BytesOf(sixteen(i), sixteen(i + 16), sixteen(i + 32), sixteen(i + 48)); }, scalar);
}

}  // namespace

void ScalePackedAvx512(const ScaleTarget& target, const ScaleSource& source) {
    if (ScalePackedStepsAvx2(target, source)) return;
    // The streamed stores are ordered before whatever the caller does next.
    if (ScalePackedInDoubles(target, source, BlendRow, MixRow)) _mm_sfence();
}

}  // namespace tarn
