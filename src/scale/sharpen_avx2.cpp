// The sharpening passes, AVX2 form: the plain form's float operations in its
// order (a sum over the taps in order, each product rounded on its own, one
// division), so each pixel rounds as it does there. Every product is of
// non-negative values, so the sum may start at the first product instead of
// at zero: adding zero to it changes nothing. The horizontal pass widens the
// row to floats once and reads each tap from there. The vertical pass has
// the same taps for all pixels of its row. Both run 64 pixels at a time,
// with the sharpen's nine taps unrolled.
//
// Most divisions are by the sum of all taps, which for the sharpen's kernel
// is 1 - 2^-24. A positive normal float s = m * 2^e (1 <= m < 2) divided by
// it is s + (m / 2) * ulp(s) / (1 - 2^-24): more than half an ulp above s and
// at most one, so it rounds to the next float up. The horizontal pass adds
// one to the bits of such a sum instead of dividing; its sums are 0 or at
// least the smallest tap, a normal float. The vertical pass divides whole
// numbers 0 .. 255 only; where the driver found that its row's weight leaves
// every one of them whole after truncation, it skips the division.
#include <immintrin.h>

#include <algorithm>
#include <cfloat>

#include "scale/rounded.h"
#include "scale/sharpen.h"

namespace tarn {
namespace {

inline __m256i Widened8(const uint8_t* p) {
    return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}

inline __m256i Widened16(const uint8_t* p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

// The number of taps: the sharpen's nine fixed, so the loops over them
// unroll, or any other count.
template <int32_t N>
struct FixedCount {
    constexpr int32_t operator()() const { return N; }
};
struct AnyCount {
    int32_t n;
    int32_t operator()() const { return n; }
};

// The sums of 8 * B pixels, load(t, j) the values of pixels 8j .. 8j + 7 for
// tap t. Tap by tap, so each tap's factor is fetched once for all B sums and
// the sums stay in registers.
template <int B, class Count, class Load>
inline void TapSums(const float* k, Count count, Load load, __m256 (&s)[B]) {
    const __m256 k0 = _mm256_set1_ps(k[0]);
    for (int j = 0; j < B; ++j) s[j] = Rounded(_mm256_mul_ps(load(0, j), k0));
    for (int32_t t = 1; t < count(); ++t) {
        const __m256 kt = _mm256_set1_ps(k[t]);
        for (int j = 0; j < B; ++j) s[j] = _mm256_add_ps(s[j], Rounded(_mm256_mul_ps(load(t, j), kt)));
    }
}

template <class Count, class Load>
inline __m256 TapSum(const float* k, Count count, Load load) {
    __m256 s[1];
    TapSums(k, count, [&](int32_t t, int) { return load(t); }, s);
    return s[0];
}

// Pixels per pass of the wide loops: 8 sums in flight, and every tap's
// factor and row fetched once for 64 pixels.
constexpr int kBlocks = 8;

// sum / weight; with kSuccessor, for the weight 1 - 2^-24 (see above).
template <bool kSuccessor>
inline __m256 Normalised(__m256 sum, __m256 weight) {
    if constexpr (kSuccessor) {
        const __m256i bits = _mm256_castps_si256(sum);
        return _mm256_castsi256_ps(_mm256_sub_epi32(bits, _mm256_cmpgt_epi32(bits, _mm256_setzero_si256())));
    } else {
        return _mm256_div_ps(sum, weight);
    }
}

// The weight of pixel x: the sum of its taps inside the row, in order.
inline float RowWeightAt(int32_t width, int32_t x, const float* k, int32_t n) {
    const int32_t r = n / 2;
    float weight = 0;
    for (int32_t i = 0; i < n; ++i)
        if (x + i - r >= 0 && x + i - r < width) weight += k[i];
    return weight;
}

// A row of at least 8 pixels from `f`, the row widened to floats with r
// zeros on either side: a tap outside the row adds a product of 0, which
// leaves the sum as it was, so the pixels near the ends take the same sums
// as the rest and only their weights differ. Blocks where every tap lies
// inside the row divide by the whole weight; the others, and a last block
// drawn back to end at the row's end, by each pixel's own.
template <class Count, bool kSuccessor>
void HorizontalRow(const float* f, int32_t width, const float* k, Count count, float whole, float* out) {
    const int32_t n = count(), r = n / 2;
    auto edge = [&](int32_t x) {
        alignas(32) float weights[8];
        for (int32_t j = 0; j < 8; ++j) weights[j] = RowWeightAt(width, x + j, k, n);
        const __m256 sum = TapSum(k, count, [&](int32_t t) { return _mm256_loadu_ps(f + x - r + t); });
        _mm256_storeu_ps(out + x, _mm256_div_ps(sum, _mm256_load_ps(weights)));
    };
    int32_t x = 0;
    for (; x < r && x + 8 <= width; x += 8) edge(x);
    const __m256 weight = _mm256_set1_ps(whole);
    for (; x + 8 * kBlocks <= width - r; x += 8 * kBlocks) {
        __m256 s[kBlocks];
        TapSums(k, count, [&](int32_t t, int j) { return _mm256_loadu_ps(f + x - r + t + 8 * j); }, s);
        for (int j = 0; j < kBlocks; ++j) _mm256_storeu_ps(out + x + 8 * j, Normalised<kSuccessor>(s[j], weight));
    }
    for (; x + 8 <= width - r; x += 8)
        _mm256_storeu_ps(out + x, Normalised<kSuccessor>(
                                      TapSum(k, count, [&](int32_t t) { return _mm256_loadu_ps(f + x - r + t); }),
                                      weight));
    for (; x + 8 <= width; x += 8) edge(x);
    if (x < width) edge(width - 8);
}

template <class Count>
void HorizontalRowOf(const float* f, int32_t width, const float* k, Count count, float whole, float* out) {
    bool normal = true;
    for (int32_t i = 0; i < count(); ++i) normal = normal && k[i] >= FLT_MIN;
    if (whole == 0x1.fffffep-1f && normal) HorizontalRow<Count, true>(f, width, k, count, whole, out);
    else HorizontalRow<Count, false>(f, width, k, count, whole, out);
}

}  // namespace

void BlurHorizontalAvx2(const uint8_t* row, int32_t width, const float* k, int32_t n, float* scratch, float* out) {
    const int32_t r = n / 2;
    if (width < 8) {
        for (int32_t x = 0; x < width; ++x) out[x] = BlurRowAt(row, width, x, k, n);
        return;
    }
    float* f = scratch + r;
    std::fill(scratch, f, 0.0f);
    std::fill(f + width, f + width + r, 0.0f);
    int32_t i = 0;
    for (; i + 8 <= width; i += 8) _mm256_storeu_ps(f + i, _mm256_cvtepi32_ps(Widened8(row + i)));
    for (; i < width; ++i) f[i] = row[i];
    float whole = 0;
    for (int32_t t = 0; t < n; ++t) whole += k[t];
    if (n == 9) HorizontalRowOf(f, width, k, FixedCount<9>{}, whole, out);
    else HorizontalRowOf(f, width, k, AnyCount{n}, whole, out);
}

namespace {

// Bytes of 8 column sums: the sum truncated to its low byte, divided by the
// weight and truncated again, to its low byte once more; with kWhole, the
// division leaves the whole number as it is.
template <bool kWhole>
inline __m128i ColumnBytes(__m256 sum, __m256 weight) {
    const __m256i low = _mm256_set1_epi32(255);
    __m256i v = _mm256_and_si256(_mm256_cvttps_epi32(sum), low);
    if constexpr (!kWhole)
        v = _mm256_and_si256(_mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(v), weight)), low);
    return _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
}

template <class Count, bool kWhole>
int32_t VerticalBlocks(const BlurColumnTaps& taps, int32_t width, Count count, uint8_t* out) {
    const __m256 weight = _mm256_set1_ps(taps.weight);
    const float* const* rows = taps.rows;
    int32_t x = 0;
    for (; x + 8 * kBlocks <= width; x += 8 * kBlocks) {
        __m256 s[kBlocks];
        TapSums(taps.k, count, [&](int32_t t, int j) { return _mm256_loadu_ps(rows[t] + x + 8 * j); }, s);
        for (int j = 0; j < kBlocks; j += 2)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x + 8 * j),
                             _mm_packus_epi16(ColumnBytes<kWhole>(s[j], weight), ColumnBytes<kWhole>(s[j + 1], weight)));
    }
    for (; x + 8 <= width; x += 8) {
        const __m128i words = ColumnBytes<kWhole>(
            TapSum(taps.k, count, [&](int32_t t) { return _mm256_loadu_ps(rows[t] + x); }), weight);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + x), _mm_packus_epi16(words, words));
    }
    return x;
}

template <class Count>
int32_t VerticalBlocksOf(const BlurColumnTaps& taps, int32_t width, Count count, uint8_t* out) {
    return taps.keepsWholes ? VerticalBlocks<Count, true>(taps, width, count, out)
                            : VerticalBlocks<Count, false>(taps, width, count, out);
}

}  // namespace

void BlurVerticalAvx2(const BlurColumnTaps& taps, int32_t width, uint8_t* out) {
    int32_t x = taps.count == 9 ? VerticalBlocksOf(taps, width, FixedCount<9>{}, out)
                                : VerticalBlocksOf(taps, width, AnyCount{taps.count}, out);
    for (; x < width; ++x) out[x] = BlurColumnAt(taps, x);
}

void SharpenExtremesAvx2(const uint8_t* a, const uint8_t* b, int32_t width, int32_t* largest, int32_t* smallest) {
    __m256i most = _mm256_set1_epi16(-32768), least = _mm256_set1_epi16(32767);
    int32_t x = 0;
    for (; x + 16 <= width; x += 16) {
        const __m256i d = _mm256_sub_epi16(Widened16(a + x), Widened16(b + x));
        most = _mm256_max_epi16(most, d);
        least = _mm256_min_epi16(least, d);
    }
    alignas(32) int16_t hi[16], lo[16];
    _mm256_store_si256(reinterpret_cast<__m256i*>(hi), most);
    _mm256_store_si256(reinterpret_cast<__m256i*>(lo), least);
    for (int i = 0; i < 16; ++i) {
        *largest = std::max<int32_t>(*largest, hi[i]);
        *smallest = std::min<int32_t>(*smallest, lo[i]);
    }
    SharpenExtremesPlain(a + x, b + x, width - x, largest, smallest);
}

namespace {

// Division of 2n by 2D for 0 <= 2n < 2^15, as a high product and a shift:
// with s the least shift for which 2D <= 2^(s + 1) and m = ceil(2^(16 + s) /
// 2D), below 2^16, the error of 2n * m / 2^(16 + s) against 2n / 2D is below
// 2n / 2^(16 + s) < 2^-(1 + s) <= 1 / 2D, too little to reach the next whole
// number; so the floor of it is that of 2n / 2D, which is n / D truncated.
// Doubling lets D = 1 have a shift too.
struct HalvedDivisor {
    __m256i m;
    __m128i s;
};

HalvedDivisor HalvedDivisorOf(int32_t d) {
    int32_t s = 0;
    while (2 * d > 2 << s) ++s;
    const int64_t m = ((int64_t(1) << (16 + s)) + 2 * d - 1) / (2 * d);
    return {_mm256_set1_epi16(static_cast<int16_t>(static_cast<uint16_t>(m))), _mm_cvtsi32_si128(s)};
}

inline __m256i Quotient(__m256i doubled, const HalvedDivisor& d) {
    return _mm256_srl_epi16(_mm256_mulhi_epu16(doubled, d.m), d.s);
}

}  // namespace

// The mask in 16-bit lanes. As the blur b lies in 0 .. 255, d = a - b lies
// in -(255 - a) .. a, so a numerator (255 - a) * d or a * -d is at most
// a * (255 - a) <= 16256, and twice it fits the division above; the divisor,
// high or -low, is 1 to 225. A side that does not apply gets a numerator of
// 0, so its quotient is 0; the sum a + up - down is clamped by the pack.
void ApplySharpenAvx2(uint8_t* row, const uint8_t* b, int32_t width, int32_t high, int32_t low) {
    const __m256i zero = _mm256_setzero_si256(), k510 = _mm256_set1_epi16(510);
    const __m256i useHigh = _mm256_set1_epi16(high > 0 ? -1 : 0), useLow = _mm256_set1_epi16(low < 0 ? -1 : 0);
    const HalvedDivisor byHigh = HalvedDivisorOf(high > 0 ? high : 1), byLow = HalvedDivisorOf(low < 0 ? -low : 1);
    int32_t x = 0;
    for (; x + 16 <= width; x += 16) {
        const __m256i av = Widened16(row + x), bv = Widened16(b + x);
        const __m256i d = _mm256_sub_epi16(av, bv);
        const __m256i up = _mm256_and_si256(_mm256_and_si256(_mm256_cmpgt_epi16(d, zero), useHigh), d);
        const __m256i down = _mm256_and_si256(_mm256_and_si256(_mm256_cmpgt_epi16(zero, d), useLow),
                                              _mm256_sub_epi16(zero, d));
        const __m256i raise = Quotient(_mm256_mullo_epi16(_mm256_sub_epi16(k510, _mm256_add_epi16(av, av)), up), byHigh);
        const __m256i lower = Quotient(_mm256_mullo_epi16(_mm256_add_epi16(av, av), down), byLow);
        const __m256i v = _mm256_sub_epi16(_mm256_add_epi16(av, raise), lower);
        const __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(v, zero), 0xD8);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(row + x), _mm256_castsi256_si128(bytes));
    }
    ApplySharpenPlain(row + x, b + x, width - x, high, low);
}

}  // namespace tarn
