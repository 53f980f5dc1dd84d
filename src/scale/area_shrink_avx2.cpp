// Single-channel area shrink, AVX2 form of one source row's sweep. The row
// is widened to floats once; eight target columns at a time then pick their
// samples out of a 16-float window by two permutes and a blend (exact
// copies), and add each column's records in list order with separate
// multiplies and adds, so every rounding is that of the plain form. Blocks
// whose samples spread wider than the window go column by column.
#include <immintrin.h>

#include "scale/planar_scale.h"

namespace tarn {
namespace {

// This file is built with fused multiply-add available, and the compiler
// would fuse a product into the sum that follows; the sums must round the
// product on its own, as the plain form does. An empty asm statement hides
// the product from that contraction and costs nothing.
inline float Rounded(float p) {
#if defined(__GNUC__)
    __asm__("" : "+x"(p));
#endif
    return p;
}

inline __m256 Rounded(__m256 p) {
#if defined(__GNUC__)
    __asm__("" : "+x"(p));
#endif
    return p;
}

// Bytes of trunc(v + 0.5) for eight float sums, the addition in double.
inline __m128i RoundedBytes(__m256 v) {
    const __m256d half = _mm256_set1_pd(0.5);
    const __m128i lo = _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(v)), half));
    const __m128i hi = _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(v, 1)), half));
    const __m128i mask = _mm_set1_epi32(0xFF);
    const __m128i words = _mm_packs_epi32(_mm_and_si128(lo, mask), _mm_and_si128(hi, mask));
    return _mm_packus_epi16(words, words);
}

uint8_t ByteOf(double v) { return static_cast<uint8_t>(static_cast<int32_t>(v)); }

// The row end applied to a column's sum of this source row at once. The
// accumulator is 0 at the start of every source row (each row end clears
// it), so the sum in hand is exactly what `current` would hold.
enum class End { Carry, Emit, Split };

struct Sink {
    float* carry;
    uint8_t* out;
    float f, g;

    template <End E>
    void Put(uint32_t x, float v) const {
        if constexpr (E == End::Carry) {
            carry[x] += v;
        } else if constexpr (E == End::Emit) {
            out[x] = ByteOf(v + carry[x] + 0.5);
            carry[x] = 0;
        } else {
            out[x] = ByteOf(Rounded(v * g) + carry[x] + 0.5);
            carry[x] = v * f;
        }
    }

    template <End E>
    void Put8(uint32_t x, __m256 v) const {
        if constexpr (E == End::Carry) {
            _mm256_storeu_ps(carry + x, _mm256_add_ps(_mm256_loadu_ps(carry + x), v));
        } else if constexpr (E == End::Emit) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + x),
                             RoundedBytes(_mm256_add_ps(v, _mm256_loadu_ps(carry + x))));
            _mm256_storeu_ps(carry + x, _mm256_setzero_ps());
        } else {
            const __m256 part = Rounded(_mm256_mul_ps(v, _mm256_set1_ps(g)));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + x),
                             RoundedBytes(_mm256_add_ps(part, _mm256_loadu_ps(carry + x))));
            _mm256_storeu_ps(carry + x, _mm256_mul_ps(v, _mm256_set1_ps(f)));
        }
    }
};

// Blocks of the plan take their samples straight from the row's bytes: one
// 16-byte window in both halves of a register, one shuffle per record that
// zero-extends each column's byte into its lane, then the exact conversion
// to float. The sums are those of the float window below.
template <End E, uint32_t P>
void PlannedSweepOf(const uint8_t* row, const float* weight, uint32_t perColumn, uint32_t width,
                    const AreaSweepPlan& plan, uint32_t& x, const Sink& sink) {
    const uint32_t per = P ? P : perColumn;
    const uint32_t fast = width & ~7u;
    const int32_t* bases = plan.base.data();
    const uint8_t* masks = plan.masks.data();
    const Sink local = sink;
    for (; x < fast; x += 8) {
        const int32_t base = bases[x / 8];
        if (base < 0) return;
        const __m256i window =
            _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + base)));
        const uint8_t* m = masks + size_t(x / 8) * per * 32;
        __m256 v = _mm256_setzero_ps();
        for (uint32_t r = 0; r < per; ++r, m += 32) {
            const __m256i lanes = _mm256_shuffle_epi8(window, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(m)));
            const __m256 pick = _mm256_cvtepi32_ps(lanes);
            v = _mm256_add_ps(v, Rounded(_mm256_mul_ps(pick, _mm256_loadu_ps(weight + size_t(r) * width + x))));
        }
        local.template Put8<E>(x, v);
    }
}

// The usual record counts with the record loop unrolled.
template <End E>
void PlannedSweep(const uint8_t* row, const float* weight, uint32_t perColumn, uint32_t width,
                  const AreaSweepPlan& plan, uint32_t& x, const Sink& sink) {
    switch (perColumn) {
        case 1: return PlannedSweepOf<E, 1>(row, weight, perColumn, width, plan, x, sink);
        case 2: return PlannedSweepOf<E, 2>(row, weight, perColumn, width, plan, x, sink);
        case 3: return PlannedSweepOf<E, 3>(row, weight, perColumn, width, plan, x, sink);
        default: return PlannedSweepOf<E, 0>(row, weight, perColumn, width, plan, x, sink);
    }
}

template <End E>
void Sweep(const uint8_t* row, uint32_t srcWidth, const int32_t* index, const float* weight, uint32_t perColumn,
           uint32_t width, float* scratch, const Sink& sink, const AreaSweepPlan* plan) {
    auto column = [&](uint32_t x) {
        float v = 0.0f;
        for (uint32_t r = 0; r < perColumn; ++r)
            v += Rounded(row[index[size_t(r) * width + x]] * weight[size_t(r) * width + x]);
        sink.template Put<E>(x, v);
    };
    uint32_t start = 0;
    if (plan) {
        // Planned blocks first; the window sweep takes over from the first
        // block the plan leaves out.
        PlannedSweep<E>(row, weight, perColumn, width, *plan, start, sink);
        if (start >= (width & ~7u)) {
            for (uint32_t x = start; x < width; ++x) column(x);
            return;
        }
    }
    uint32_t i = 0;
    for (; i + 8 <= srcWidth; i += 8)
        _mm256_storeu_ps(scratch + i, _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(
                                          _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + i)))));
    for (; i < srcWidth; ++i) scratch[i] = row[i];
    const uint32_t fast = width & ~7u;
    for (uint32_t x = start; x < fast; x += 8) {
        const int32_t base = index[x];
        bool fits = true;
        for (uint32_t r = 0; r < perColumn; ++r) fits &= index[size_t(r) * width + x + 7] - base < 16;
        if (!fits) {
            for (uint32_t k = x; k < x + 8; ++k) column(k);
            continue;
        }
        const __m256 lo = _mm256_loadu_ps(scratch + base);
        const __m256 hi = _mm256_loadu_ps(scratch + base + 8);
        const __m256i b = _mm256_set1_epi32(base);
        __m256 v = _mm256_setzero_ps();
        for (uint32_t r = 0; r < perColumn; ++r) {
            const size_t at = size_t(r) * width + x;
            const __m256i rel = _mm256_sub_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(index + at)), b);
            // The permutes look at the low 3 bits only; bit 3 (moved to the
            // sign bit) chooses the window's upper half.
            const __m256 pick = _mm256_blendv_ps(_mm256_permutevar8x32_ps(lo, rel), _mm256_permutevar8x32_ps(hi, rel),
                                                 _mm256_castsi256_ps(_mm256_slli_epi32(rel, 28)));
            v = _mm256_add_ps(v, Rounded(_mm256_mul_ps(pick, _mm256_loadu_ps(weight + at))));
        }
        sink.template Put8<E>(x, v);
    }
    for (uint32_t x = fast; x < width; ++x) column(x);
}

}  // namespace

void AreaGrayRowEndPlannedAvx2(const uint8_t* row, uint32_t srcWidth, const int32_t* index, const float* weight,
                               uint32_t perColumn, uint32_t width, float* scratch, int rowEnd, float f, float* carry,
                               uint8_t* out, const AreaSweepPlan* plan) {
    const Sink sink{carry, out, f, static_cast<float>(1.0 - f)};
    if (rowEnd == 0) Sweep<End::Carry>(row, srcWidth, index, weight, perColumn, width, scratch, sink, plan);
    else if (rowEnd == 1) Sweep<End::Emit>(row, srcWidth, index, weight, perColumn, width, scratch, sink, plan);
    else Sweep<End::Split>(row, srcWidth, index, weight, perColumn, width, scratch, sink, plan);
}

void AreaGrayRowEndAvx2(const uint8_t* row, uint32_t srcWidth, const int32_t* index, const float* weight,
                        uint32_t perColumn, uint32_t width, float* scratch, int rowEnd, float f, float* carry,
                        uint8_t* out) {
    AreaGrayRowEndPlannedAvx2(row, srcWidth, index, weight, perColumn, width, scratch, rowEnd, f, carry, out, nullptr);
}

void AreaEmitRowAvx2(uint8_t* out, float* current, float* carry, uint32_t total) {
    uint32_t i = 0;
    const __m256 zero = _mm256_setzero_ps();
    for (; i + 8 <= total; i += 8) {
        const __m256 sum = _mm256_add_ps(_mm256_loadu_ps(current + i), _mm256_loadu_ps(carry + i));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), RoundedBytes(sum));
        _mm256_storeu_ps(current + i, zero);
        _mm256_storeu_ps(carry + i, zero);
    }
    if (i < total) AreaEmitRow(out + i, current + i, carry + i, total - i);
}

void AreaEmitSplitRowAvx2(uint8_t* out, float* current, float* carry, uint32_t total, float f) {
    const float g = static_cast<float>(1.0 - f);
    const __m256 gv = _mm256_set1_ps(g), fv = _mm256_set1_ps(f), zero = _mm256_setzero_ps();
    uint32_t i = 0;
    for (; i + 8 <= total; i += 8) {
        const __m256 c = _mm256_loadu_ps(current + i);
        const __m256 sum = _mm256_add_ps(Rounded(_mm256_mul_ps(c, gv)), _mm256_loadu_ps(carry + i));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), RoundedBytes(sum));
        _mm256_storeu_ps(carry + i, _mm256_mul_ps(c, fv));
        _mm256_storeu_ps(current + i, zero);
    }
    if (i < total) AreaEmitSplitRow(out + i, current + i, carry + i, total - i, f);
}

void AreaCarryRowAvx2(float* current, float* carry, uint32_t total) {
    uint32_t i = 0;
    const __m256 zero = _mm256_setzero_ps();
    for (; i + 8 <= total; i += 8) {
        _mm256_storeu_ps(carry + i, _mm256_add_ps(_mm256_loadu_ps(carry + i), _mm256_loadu_ps(current + i)));
        _mm256_storeu_ps(current + i, zero);
    }
    if (i < total) AreaCarryRow(current + i, carry + i, total - i);
}

}  // namespace tarn
