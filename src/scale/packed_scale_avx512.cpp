// The 4:2:2 scaler, AVX-512 form: ScalePackedInDoubles (packed_scale.h)
// with rows eight doubles a register and sixty-four target bytes a store.
// Doubling both ways goes straight from the source rows, sixty-four target
// bytes a step; other sizes whose fractions are all whole 128ths go the
// AVX2 integer way, whose cost is in the bytes it moves.
#include <immintrin.h>

#include <cstdint>
#include <vector>

#include "scale/packed_scale.h"

namespace tarn {
namespace {

// The columns, with the 16-byte window of each block of eight target bytes
// and shuffles of it, given the window in both 128-bit lanes of a 256-bit
// half, that put the samples of the block's target bytes 4L .. 4L + 3 in
// the 32-bit lanes of lane L. (One window a half, loaded straight into both
// lanes, in place of the AVX2 form's window for each block of four: a
// twentieth faster at three halves.) Blocks whose samples spread wider,
// as when shrinking past a half, have -1 and are blended one by one.
struct Columns {
    PackedDoubleColumns taps;
    std::vector<int32_t> base;          // [block of 8]: the window, or -1
    std::vector<uint8_t> pickA, pickB;  // [block of 8][32]
};

Columns PlanColumns(int32_t srcWidth, int32_t dstWidth) {
    Columns c{PlanPackedDoubleColumns(srcWidth, dstWidth), {}, {}, {}};
    const PackedWindows w = PlanPackedWindows(c.taps.taps, 2 * srcWidth, 8);
    c.base = w.base;
    c.pickA.assign(32 * w.base.size(), 0x80);
    c.pickB.assign(32 * w.base.size(), 0x80);
    for (size_t k = 0; k < w.base.size(); ++k)
        for (size_t j = 0; j < 8; ++j) {
            c.pickA[32 * k + 4 * j] = w.pickA[16 * k + 2 * j];
            c.pickB[32 * k + 4 * j] = w.pickB[16 * k + 2 * j];
        }
    return c;
}

__m256i Window2(const uint8_t* row, int32_t base) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + base)));
}

// Sixteen target bytes at a time: two blocks of eight, each shuffled out of
// its own 16-byte window in one 256-bit half, then widened eight at a time.
void BlendRow(PackedBlended& out, const uint8_t* row, const Columns& c, size_t n) {
    const PackedBlendView t(out, c.taps);
    const int32_t* base = c.base.data();
    const uint8_t *pickA = c.pickA.data(), *pickB = c.pickB.data();
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const size_t k = i / 8;
        const int32_t b0 = base[k], b1 = base[k + 1];
        if ((b0 | b1) < 0) {
            for (size_t j = i; j < i + 16; ++j) BlendPackedOne(out, row, c.taps, j);
            continue;
        }
        const __m512i window = _mm512_inserti64x4(_mm512_castsi256_si512(Window2(row, b0)), Window2(row, b1), 1);
        const __m512i a = _mm512_shuffle_epi8(window, _mm512_loadu_si512(pickA + 32 * k));
        const __m512i b = _mm512_shuffle_epi8(window, _mm512_loadu_si512(pickB + 32 * k));
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
    for (; i < n; ++i) BlendPackedOne(out, row, c.taps, i);
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

// A target row, sixty-four bytes at a time by `vector(i)` while they end by
// `end` (the whole row by default) and the rest by `scalar(i)`. With
// `around` the row's first bytes up to an aligned address go one by one,
// and the stores after them go around the caches. (The AVX2 form's sweep in
// the same shape: a sweep shared through a store callback made the AVX2
// doubling a seventh slower.)
template <class Vector, class Scalar>
void Sweep(uint8_t* d, size_t n, bool around, Vector vector, Scalar scalar, size_t end = SIZE_MAX) {
    end = end < n ? end : n;
    size_t i = 0;
    if (around) {
        for (; i < end && (reinterpret_cast<uintptr_t>(d + i) & 63) != 0; ++i) d[i] = scalar(i);
        for (; i + 64 <= end; i += 64) _mm512_stream_si512(reinterpret_cast<__m512i*>(d + i), vector(i));
    }
    for (; i + 64 <= end; i += 64) _mm512_storeu_si512(d + i, vector(i));
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

// Sixty-four target bytes from the values of the even and the odd target
// pairs of thirty-two source bytes, 16-bit lanes in source order: each
// 128-bit lane holds eight source bytes, whose first and last four the
// unpacks interleave and the pack puts one after the other, in target order.
__m512i Interleaved(__m512i even, __m512i odd) {
    return _mm512_packus_epi16(_mm512_unpacklo_epi32(even, odd), _mm512_unpackhi_epi32(even, odd));
}

__m512i Wide(const uint8_t* p) { return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))); }

// A target row of a doubling both ways (SweepDoubledRow).
void DoubledRow(uint8_t* d, const uint8_t* upper, const uint8_t* lower, bool second, size_t n, bool around) {
    SweepDoubledRow(
        [](auto&&... a) { Sweep(a...); },
        [&](size_t i) {
            const __m512i a = Wide(upper + i / 2), b = Wide(upper + i / 2 + 2);
            return Interleaved(a, _mm512_srli_epi16(_mm512_add_epi16(a, b), 1));
        },
        [&](size_t i) {
            const __m512i down = _mm512_add_epi16(Wide(upper + i / 2), Wide(lower + i / 2));
            const __m512i next = _mm512_add_epi16(Wide(upper + i / 2 + 2), Wide(lower + i / 2 + 2));
            return Interleaved(_mm512_srli_epi16(down, 1), _mm512_srli_epi16(_mm512_add_epi16(down, next), 2));
        },
        d, upper, lower, second, n, around);
}

}  // namespace

void ScalePackedAvx512(const ScaleTarget& target, const ScaleSource& source) {
    // The streamed stores are ordered before whatever the caller does next.
    bool around = false;
    if (ScalePackedDoubling(target, source, DoubledRow, around)) {
        if (around) _mm_sfence();
        return;
    }
    if (ScalePackedStepsAvx2(target, source)) return;
    const Columns c = PlanColumns(int32_t(source.width), int32_t(target.width));
    if (ScalePackedInDoubles(target, source, c, BlendRow, MixRow)) _mm_sfence();
}

}  // namespace tarn
