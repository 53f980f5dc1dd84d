// Area shrink, AVX2 form of one source row's sweep over the dense table of
// target bytes (any pixel size). Eight target columns at a time pick their
// samples out of the row by byte shuffles of windows planned once per image,
// or gather them from the row widened to floats where the samples spread
// wider, and add each column's records in list order with separate
// multiplies and adds, so every rounding is that of the plain form.
#include <immintrin.h>

#include "scale/rounded.h"
#include "scale/area_shrink.h"

namespace tarn {
namespace {

// How far ahead of the bytes a block reads the sweep asks for source bytes,
// and ahead of the bytes it stores for target bytes: the processor here
// fetches neither stream early enough on its own, and a row end otherwise
// waits on both.
constexpr intptr_t kSourceAhead = 2048, kTargetAhead = 512;
inline void Fetch(const void* p) { _mm_prefetch(static_cast<const char*>(p), _MM_HINT_T0); }

// Bytes of trunc(v + 0.5) for eight float sums, the addition in double
// (where it is exact). Every sum is at least 0 and below 2^22, where adding
// 0.5 - 2^-25 in float and truncating gives the same integer: a fraction of
// 0.5 or more carries to at least the next integer (exactly, or by rounding
// to nearest from within 2^-25 below it), and a smaller one stays below it,
// 2^-25 being less than half the spacing of floats just below any integer
// that such a sum can approach. The byte is the low byte of that integer.
// The low bytes of the eight integers are gathered into the first four
// bytes of each half, and those two words into the first eight bytes.
inline __m128i RoundedBytes(__m256 v) {
    const __m256i n = _mm256_cvttps_epi32(_mm256_add_ps(v, _mm256_set1_ps(0.49999997f)));
    const __m256i lows = _mm256_shuffle_epi8(n, _mm256_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,
                                                                 -1, -1, 0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1,
                                                                 -1, -1, -1, -1, -1));
    return _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(lows, _mm256_setr_epi32(0, 4, 1, 1, 1, 1, 1, 1)));
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

// Two 16-byte windows, one in each half of the register.
inline __m256i Windows(const uint8_t* row, const int32_t* base, int32_t offset) {
    return _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(row + base[1] + offset),
                               reinterpret_cast<const __m128i*>(row + base[0] + offset));
}

// One 16-byte window in both halves: a load alone, with no insert.
inline __m256i Window(const uint8_t* p) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

inline __m256i Shuffles(const uint8_t* m) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(m)); }

// One block of 8 columns: each record's samples picked into 32-bit lanes,
// converted to float exactly, multiplied by the record's weights and added
// in record order, every product rounded on its own as in the plain form.
template <uint32_t P, class Pick>
inline __m256 BlockSum(uint32_t perColumn, const float* weight, uint32_t width, Pick pick) {
    const uint32_t per = P ? P : perColumn;
    const auto product = [&](uint32_t r) {
        return Rounded(_mm256_mul_ps(pick(r), _mm256_loadu_ps(weight + size_t(r) * width)));
    };
    // The sum starts from the first product rather than 0 + it: no product
    // is negative, so that addition would give the product back unchanged.
    __m256 v = product(0);
    for (uint32_t r = 1; r < per; ++r) v = _mm256_add_ps(v, product(r));
    return v;
}

// A block of eight columns eight bytes apart, eight records each (an
// Eights block of the plan): columns 0,1 | 4,5 and 2,3 | 6,7 are loaded in
// the two halves of two registers, whose even and odd 32-bit words then
// hold, in word k of a half, the first and last four samples of column k
// of that half. One shuffle a record takes its byte of each word; the
// products and sums are those of BlockSum, in the same order.
inline __m256 EightsSum(const uint8_t* p, const float* weight, uint32_t width) {
    const __m256 a = _mm256_castsi256_ps(_mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(p + 32),
                                                             reinterpret_cast<const __m128i*>(p)));
    const __m256 c = _mm256_castsi256_ps(_mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(p + 48),
                                                             reinterpret_cast<const __m128i*>(p + 16)));
    const __m256i quads[2] = {_mm256_castps_si256(_mm256_shuffle_ps(a, c, 0x88)),
                              _mm256_castps_si256(_mm256_shuffle_ps(a, c, 0xDD))};
    // Record r's shuffle takes byte r % 4 of each word into the low byte of
    // its lane and zeroes the lane's upper bytes.
    const __m256i words = _mm256_setr_epi32(0, 4, 8, 12, 0, 4, 8, 12);
    const __m256i upper = _mm256_set1_epi32(int32_t(0x80808000u));
    return BlockSum<8>(8, weight, width, [&](uint32_t r) {
        const __m256i pick = _mm256_or_si256(upper, _mm256_add_epi32(words, _mm256_set1_epi32(int32_t(r % 4))));
        return _mm256_cvtepi32_ps(_mm256_shuffle_epi8(quads[r / 4], pick));
    });
}

// The blocks that repeat (AreaSweepPlan::period), from the row's start,
// when every block of the period is narrow: the period's shuffles and
// weights are loaded once for the whole row, and the windows are found from
// the first period's. (The stores of the row end may alias any byte, so
// whatever a block read through the plan would be read again after each.)
template <End E, uint32_t P, uint32_t Period, bool Shared>
uint32_t RepeatingBlocks(const uint8_t* row, const AreaSweepPlan& plan, const Sink& sink) {
    const Sink local = sink;
    __m256i m[Period][P];
    __m256 w[Period][P];
    int32_t lo[Period], hi[Period];
    for (uint32_t q = 0; q < Period; ++q) {
        lo[q] = plan.base[2 * q], hi[q] = plan.base[2 * q + 1];
        for (uint32_t r = 0; r < P; ++r) {
            m[q][r] = Shuffles(plan.masks.data() + plan.maskAt[q] + 32 * r);
            w[q][r] = _mm256_loadu_ps(plan.weights.data() + size_t(r) * 8 * Period + 8 * q);
        }
    }
    const uint32_t blocks = plan.repeats;
    const intptr_t advance = plan.advance;
    uint32_t b = 0;
    for (intptr_t shift = 0; b < blocks; shift += advance)
        for (uint32_t q = 0; q < Period && b < blocks; ++q, ++b) {
            const __m256i window =
                Shared ? Window(row + lo[q] + shift)
                       : _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(row + hi[q] + shift),
                                             reinterpret_cast<const __m128i*>(row + lo[q] + shift));
            Fetch(row + lo[q] + shift + kSourceAhead);
            if constexpr (E != End::Carry) Fetch(local.out + 8 * b + kTargetAhead);
            const auto product = [&](uint32_t r) {
                return Rounded(_mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_shuffle_epi8(window, m[q][r])), w[q][r]));
            };
            __m256 v = product(0);
            for (uint32_t r = 1; r < P; ++r) v = _mm256_add_ps(v, product(r));
            local.template Put8<E>(8 * b, v);
        }
    return 8 * blocks;
}

template <End E, uint32_t P>
uint32_t Repeating(const uint8_t* row, const AreaSweepPlan& plan, const Sink& sink) {
    if constexpr (P != 0) {
        bool shared = true;
        for (uint32_t q = 0; q < plan.period; ++q) {
            if (plan.kind[q] != AreaSweepPlan::Narrow) return 0;
            shared &= plan.base[2 * q] == plan.base[2 * q + 1];
        }
        switch (plan.period * 2 + shared) {
            case 2: return RepeatingBlocks<E, P, 1, false>(row, plan, sink);
            case 3: return RepeatingBlocks<E, P, 1, true>(row, plan, sink);
            case 4: return RepeatingBlocks<E, P, 2, false>(row, plan, sink);
            case 5: return RepeatingBlocks<E, P, 2, true>(row, plan, sink);
            case 6: return RepeatingBlocks<E, P, 3, false>(row, plan, sink);
            case 7: return RepeatingBlocks<E, P, 3, true>(row, plan, sink);
            case 8: return RepeatingBlocks<E, P, 4, false>(row, plan, sink);
            case 9: return RepeatingBlocks<E, P, 4, true>(row, plan, sink);
            default: return 0;
        }
    } else {
        (void)row, (void)plan, (void)sink;
        return 0;
    }
}

template <End E, uint32_t P>
void SweepOf(const uint8_t* row, uint32_t srcWidth, const int32_t* index, const float* weight, uint32_t perColumn,
             uint32_t width, float* scratch, const Sink& sink, const AreaSweepPlan* plan) {
    const uint32_t per = P ? P : perColumn;
    if (!plan || plan->gathers) {
        uint32_t i = 0;
        for (; i + 8 <= srcWidth; i += 8)
            _mm256_storeu_ps(scratch + i, _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(
                                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + i)))));
        for (; i < srcWidth; ++i) scratch[i] = row[i];
    }
    const uint32_t fast = width & ~7u;
    const Sink local = sink;
    uint32_t x = 0;
    if (plan && plan->period) x = Repeating<E, P>(row, *plan, local);
    for (; x < fast; x += 8) {
        const uint32_t b = x / 8;
        const float* w = weight + x;
        const uint8_t kind = plan ? plan->kind[b] : uint8_t(AreaSweepPlan::Gather);
        __m256 v;
        if (kind != AreaSweepPlan::Gather) {
            Fetch(row + plan->base[2 * b] + kSourceAhead);
            if constexpr (E != End::Carry) Fetch(local.out + x + kTargetAhead);
        }
        if (kind == AreaSweepPlan::Eights) {
            v = EightsSum(row + plan->base[2 * b], w, width);
        } else if (kind == AreaSweepPlan::Narrow) {
            const int32_t* base = plan->base.data() + 2 * b;
            const __m256i window = base[0] == base[1] ? Window(row + base[0]) : Windows(row, base, 0);
            const uint8_t* m = plan->masks.data() + plan->maskAt[b];
            v = BlockSum<P>(per, w, width, [&](uint32_t r) {
                return _mm256_cvtepi32_ps(_mm256_shuffle_epi8(window, Shuffles(m + 32 * r)));
            });
        } else if (kind == AreaSweepPlan::Wide) {
            const __m256i low = Windows(row, plan->base.data() + 2 * b, 0);
            const __m256i high = Windows(row, plan->base.data() + 2 * b, 16);
            const uint8_t* m = plan->masks.data() + plan->maskAt[b];
            v = BlockSum<P>(per, w, width, [&](uint32_t r) {
                return _mm256_cvtepi32_ps(_mm256_or_si256(_mm256_shuffle_epi8(low, Shuffles(m + 64 * r)),
                                                          _mm256_shuffle_epi8(high, Shuffles(m + 64 * r + 32))));
            });
        } else {
            v = BlockSum<P>(per, w, width, [&](uint32_t r) {
                const __m256i at = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(index + size_t(r) * width + x));
                return _mm256_i32gather_ps(scratch, at, 4);
            });
        }
        local.template Put8<E>(x, v);
    }
    for (uint32_t x = fast; x < width; ++x) {
        float v = 0.0f;
        for (uint32_t r = 0; r < per; ++r)
            v += Rounded(row[index[size_t(r) * width + x]] * weight[size_t(r) * width + x]);
        local.template Put<E>(x, v);
    }
}

// The usual record counts with the record loop unrolled.
template <End E>
void Sweep(const uint8_t* row, uint32_t srcWidth, const int32_t* index, const float* weight, uint32_t perColumn,
           uint32_t width, float* scratch, const Sink& sink, const AreaSweepPlan* plan) {
    switch (perColumn) {
        case 1: return SweepOf<E, 1>(row, srcWidth, index, weight, perColumn, width, scratch, sink, plan);
        case 2: return SweepOf<E, 2>(row, srcWidth, index, weight, perColumn, width, scratch, sink, plan);
        case 3: return SweepOf<E, 3>(row, srcWidth, index, weight, perColumn, width, scratch, sink, plan);
        case 4: return SweepOf<E, 4>(row, srcWidth, index, weight, perColumn, width, scratch, sink, plan);
        case 5: return SweepOf<E, 5>(row, srcWidth, index, weight, perColumn, width, scratch, sink, plan);
        default: return SweepOf<E, 0>(row, srcWidth, index, weight, perColumn, width, scratch, sink, plan);
    }
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

void AreaEmitRowAvx2(uint8_t* out, float* current, float* carry, uint32_t total) {
    uint32_t i = 0;
    const __m256 zero = _mm256_setzero_ps();
    for (; i + 8 <= total; i += 8) {
        const __m256 sum = _mm256_add_ps(_mm256_loadu_ps(current + i), _mm256_loadu_ps(carry + i));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), RoundedBytes(sum));
        _mm256_storeu_ps(current + i, zero);
        _mm256_storeu_ps(carry + i, zero);
    }
    if (i < total) AreaEmitRowPlain(out + i, current + i, carry + i, total - i);
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
    if (i < total) AreaEmitSplitRowPlain(out + i, current + i, carry + i, total - i, f);
}

void AreaCarryRowAvx2(float* current, float* carry, uint32_t total) {
    uint32_t i = 0;
    const __m256 zero = _mm256_setzero_ps();
    for (; i + 8 <= total; i += 8) {
        _mm256_storeu_ps(carry + i, _mm256_add_ps(_mm256_loadu_ps(carry + i), _mm256_loadu_ps(current + i)));
        _mm256_storeu_ps(current + i, zero);
    }
    if (i < total) AreaCarryRowPlain(current + i, carry + i, total - i);
}

}  // namespace tarn
