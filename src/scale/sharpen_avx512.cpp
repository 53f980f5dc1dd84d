// The sharpening passes, AVX-512 form: sixteen floats, or thirty-two 16-bit
// lanes, to a register (the passes themselves are in sharpen_passes.h). The
// narrowing stores take each 32-bit lane's low byte directly, which is the
// truncation the vertical pass wants (so it need not clear the upper bytes
// first), and the mask's words are clamped below at 0 before they are
// narrowed with unsigned saturation.
#include <immintrin.h>

#include <utility>

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
    // s + p, by way of p * one + s with one == 1 (see AddsByFma).
    static F AddByFma(F s, F p, F one) { return _mm512_fmadd_ps(p, one, s); }
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

// ---- Rows dealt four ways (see DealtAt) ----
//
// A block of 64 pixels read as sixteen 32-bit lanes holds pixels 4j .. 4j + 3
// in lane j, a byte each, so shifts and masks make the block's four dealt
// registers of floats without a shuffle, where widening sixteen bytes in
// order takes one. In dealt order a pixel's neighbours up to four away lie
// in the block's other registers at the same lane, or one lane down or up,
// where they fall in the block before or after: each register is aligned
// once each way, eight aligns for the block's four registers of sums, where
// in order each register of sums takes eight aligns of its products. The
// products are then taken of the values where they lie: a product of a
// register left in place serves each sum that reads it with that tap (the
// compiler takes it once), one of an aligned register a single sum, 34 for
// the block against 20 in order, which the aligns saved more than pay for.
// The sums still add their nine products in tap order.
static_assert(sizeof(__m512i) == kDealtBlock, "a dealt block is one register of bytes");

using F = __m512;

// The dealt registers of the block at `p`, of which `valid` pixels lie in
// the row: the rest read as 0, as taps outside the row add nothing.
void DealtValues(const uint8_t* p, int32_t valid, F (&v)[4]) {
    __m512i d;
    if (valid >= kDealtBlock) {
        d = _mm512_loadu_si512(p);
    } else {
        const __mmask64 inside = ~0ull >> (kDealtBlock - valid);
        d = _mm512_maskz_loadu_epi8(inside, p);
    }
    const __m512i low = _mm512_set1_epi32(255);
    v[0] = _mm512_cvtepi32_ps(_mm512_and_si512(d, low));
    v[1] = _mm512_cvtepi32_ps(_mm512_and_si512(_mm512_srli_epi32(d, 8), low));
    v[2] = _mm512_cvtepi32_ps(_mm512_and_si512(_mm512_srli_epi32(d, 16), low));
    v[3] = _mm512_cvtepi32_ps(_mm512_srli_epi32(d, 24));
}

// The values of one block around it: `here` the block's dealt registers,
// `down` and `up` each register moved one lane, so that its lane j holds
// the pixel four before (after) the one `here` holds there.
struct DealtWindow {
    F here[4], down[4], up[4];

    // The value at tap t of the sums of register q: the pixel t - 4 away.
    template <int q, int t>
    F At() const {
        constexpr int u = q + t - 4;
        if constexpr (u < 0) return down[u + 4];
        else if constexpr (u > 3) return up[u - 4];
        else return here[u];
    }

    template <int q>
    F Sum(const F (&km)[5]) const {
        return [&]<int... T>(std::integer_sequence<int, T...>) {
            F s = Rounded(_mm512_mul_ps(At<q, 0>(), km[0]));
            ((s = _mm512_add_ps(s, Rounded(_mm512_mul_ps(At<q, T + 1>(), km[T + 1 < 5 ? T + 1 : 7 - T])))), ...);
            return s;
        }(std::make_integer_sequence<int, 8>{});
    }
};

template <bool kSuccessor>
void HorizontalDealtRow(const uint8_t* row, int32_t width, const BlurRowTaps& taps, float* out) {
    F km[5];
    for (int m = 0; m < 5; ++m) km[m] = _mm512_set1_ps(taps.k[m]);
    const F whole = _mm512_set1_ps(taps.whole);
    const int32_t span = DealtSpan(width), r = 4;
    F before[4], here[4], after[4];
    for (F& v : before) v = _mm512_setzero_ps();
    DealtValues(row, width, here);
    int32_t x = 0;
    // One block; kEnds for one holding a pixel near either end, which
    // divides by each pixel's weight, the rest by the whole one.
    auto block = [&]<bool kEnds>(std::bool_constant<kEnds>) {
        const int32_t next = x + kDealtBlock;
        if (next < width) DealtValues(row + next, width - next, after);
        else
            for (F& v : after) v = _mm512_setzero_ps();
        DealtWindow w;
        for (int q = 0; q < 4; ++q) {
            w.here[q] = here[q];
            w.down[q] = Avx512Lanes::Align<15>(here[q], before[q]);
            w.up[q] = Avx512Lanes::Align<1>(after[q], here[q]);
        }
        [&]<int... Q>(std::integer_sequence<int, Q...>) {
            auto store = [&]<int q>(std::integral_constant<int, q>) {
                const F s = w.Sum<q>(km);
                float* to = out + x + q * (kDealtBlock / 4);
                if constexpr (kEnds)
                    _mm512_storeu_ps(to, _mm512_div_ps(s, _mm512_loadu_ps(taps.dealtWeights + (to - out))));
                else if constexpr (kSuccessor) _mm512_storeu_ps(to, Avx512Lanes::Successor(s));
                else _mm512_storeu_ps(to, _mm512_div_ps(s, whole));
            };
            (store(std::integral_constant<int, Q>{}), ...);
        }(std::make_integer_sequence<int, 4>{});
        for (int q = 0; q < 4; ++q) before[q] = here[q], here[q] = after[q];
        x = next;
    };
    block(std::true_type{});
    while (x + kDealtBlock <= width - r) block(std::false_type{});
    while (x < span) block(std::true_type{});
}

void HorizontalDealt(const uint8_t* row, int32_t width, const BlurRowTaps& taps, float* out) {
    if (taps.nextUp) HorizontalDealtRow<true>(row, width, taps, out);
    else HorizontalDealtRow<false>(row, width, taps, out);
}

// A dealt block of bytes put back in order: lane M of the register after
// the permute holds dword M of each dealt quarter, that is pixels 4(4M + i)
// + c at byte 4c + i, and the shuffle moves each to byte 4i + c.
__m512i InOrder(__m512i dealt) {
    const __m512i quarters = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const __m512i bytes = _mm512_broadcast_i32x4(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    return _mm512_shuffle_epi8(_mm512_permutexvar_epi32(quarters, dealt), bytes);
}

// The blocks of a dealt blur row in order: whole blocks go in registers,
// and the row's last, partial block is put in order into a copy for the
// plain form.
struct BlurInOrder {
    const uint8_t* b;
    __m512i operator()(int32_t x) const { return InOrder(_mm512_loadu_si512(b + x)); }
    const uint8_t* Copy(int32_t x, uint8_t* to) const {
        _mm512_store_si512(to, (*this)(x));
        return to;
    }
};

void ExtremesDealt(const uint8_t* a, intptr_t aStride, const uint8_t* b, intptr_t bStride, int32_t width,
                   int32_t rows, int32_t* largest, int32_t* smallest) {
    auto row = [=](int32_t y) { return BlurInOrder{b + y * bStride}; };
    sharpen_passes::ExtremesOf<Avx512Lanes>(
        a, aStride, width, rows, [&](int32_t y, int32_t x) { return row(y)(x); },
        [&](int32_t y, int32_t x) {
            alignas(64) uint8_t last[kDealtBlock];
            SharpenExtremesPlain(a + y * aStride + x, 0, row(y).Copy(x, last), 0, width - x, 1, largest, smallest);
        },
        largest, smallest);
}

void ApplyDealt(uint8_t* row, const uint8_t* b, int32_t width, int32_t high, int32_t low) {
    const BlurInOrder at{b};
    const int32_t x = sharpen_passes::ApplyOf<Avx512Lanes>(row, width, at, {high, low});
    alignas(64) uint8_t last[kDealtBlock];
    if (x < width) ApplySharpenPlain(row + x, at.Copy(x, last), width - x, high, low);
}

}  // namespace

const SharpenForms kSharpenAvx512 = {
    sharpen_passes::Horizontal<Avx512Lanes>, sharpen_passes::Vertical<Avx512Lanes>,
    sharpen_passes::VerticalPair<Avx512Lanes>, sharpen_passes::Extremes<Avx512Lanes>,
    sharpen_passes::Apply<Avx512Lanes>,      sharpen_passes::VerticalBand<Avx512Lanes>,
    HorizontalDealt,                         ExtremesDealt,
    ApplyDealt};

}  // namespace tarn
