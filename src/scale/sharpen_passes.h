// The sharpening passes, written once over a register width: the SSE2, AVX2
// and AVX-512 forms supply their lanes (the type L below) and instantiate
// these.
//
// Each pass keeps the plain form's float operations in its order (a sum over
// the taps in order, each product rounded on its own, one division), so each
// pixel rounds as it does there. Every product is of non-negative values, so
// a sum may start at the first product instead of at zero: adding zero to it
// changes nothing. The horizontal pass widens the row to floats once and
// reads each tap from there. The vertical pass has the same taps for all
// pixels of its row. Both run eight registers of pixels at a time, with the
// sharpen's nine taps unrolled. Forms with 32 registers and an alignment of
// two registers (AVX-512) also use the symmetry of the sharpen's kernel:
// k[t] == k[8 - t], so a value times k[t] is the same float as that value
// times k[8 - t], and five products of each value serve all nine taps.
//
// Most divisions are by the sum of all taps, which for the sharpen's kernel
// is 1 - 2^-24. A positive normal float s = m * 2^e (1 <= m < 2) divided by
// it is s + (m / 2) * ulp(s) / (1 - 2^-24): more than half an ulp above s and
// at most one, so it rounds to the next float up. The horizontal pass adds
// one to the bits of such a sum instead of dividing; its sums are 0 or at
// least the smallest tap, a normal float. The vertical pass divides whole
// numbers 0 .. 255 only; where the driver found that its row's weight leaves
// every one of them whole after truncation, it skips the division.
//
// L supplies: F (float lanes) and I (integer lanes) with kLanes floats;
// Set1, Mul, Add, Div, Load, Store, Bytes (kLanes bytes widened to floats),
// Successor (the next float up of non-negative lanes), Truncated, Float,
// Low255 (each 32-bit lane's low byte), StoreBytes (32-bit lanes 0 .. 255
// as kLanes bytes) and StoreLowBytes2 (the low bytes of two registers of
// 32-bit lanes 0 .. 65535); and over 2 * kLanes 16-bit lanes: Words (bytes widened),
// Set16, Sub16, SubSat16 (unsigned, stopping at 0), Add16, MulLo16, MulHi16
// (high halves of unsigned products), Shift16 (right by a count made by
// Bits16) and StoreWords (16-bit lanes as bytes, clamped to 0 .. 255); and
// over bytes: WordsLow and WordsHigh (the low or high eight bytes of each
// 16-byte lane widened to words), Narrow16 (two registers of words back to
// bytes, clamped to 0 .. 255, undoing the two), StoreI, LoadI, SetU8,
// SubSatU8, MaxU8, MinU8, Xor, Down<k> (the register moved down by k bytes,
// k = 32 and 16 only for registers of at least twice that) and LowByte.
// Optionally, Align<k> (see AlignsRegisters) and StoreLowBytes (see
// NarrowsToLowBytes).
//
// Everything here that computes is instantiated on a lanes type private to
// its form's file, or local to a template so instantiated: no function
// compiled for one instruction set can stand in for another's at link time.
#pragma once

#include <algorithm>
#include <cfloat>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "scale/rounded.h"
#include "scale/sharpen.h"

namespace tarn::sharpen_passes {

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

// Registers of sums per pass of the wide loops: each tap's factor and row
// are fetched once for all of them, and the sums stay in registers.
constexpr int kBlocks = 8;

// The sums of B registers of pixels, load(t, j) the values of register j for
// tap t, tap by tap.
template <class L, int B, class Count, class Load>
inline void TapSums(const float* k, Count count, Load load, typename L::F (&s)[B]) {
    const typename L::F k0 = L::Set1(k[0]);
    for (int j = 0; j < B; ++j) s[j] = Rounded(L::Mul(load(0, j), k0));
    for (int32_t t = 1; t < count(); ++t) {
        const typename L::F kt = L::Set1(k[t]);
        for (int j = 0; j < B; ++j) s[j] = L::Add(s[j], Rounded(L::Mul(load(t, j), kt)));
    }
}

template <class L, class Count, class Load>
inline typename L::F TapSum(const float* k, Count count, Load load) {
    typename L::F s[1];
    TapSums<L>(k, count, [&](int32_t t, int) { return load(t); }, s);
    return s[0];
}

// Whether the wide loop reads its taps from two copies of the row: only
// where a register is shorter than a line, since a register of a whole line
// crosses one wherever it does not start on it.
template <class L, class Count>
constexpr bool kTwoCopies = std::is_same_v<Count, FixedCount<9>> && L::kLanes < 16;

// Lanes that can make a register from two neighbours: Align<k>(hi, lo)
// holds lo's lanes from k on, then hi's first k.
template <class L>
concept AlignsRegisters = requires(typename L::F v) { L::template Align<1>(v, v); };

// The register d floats (-kLanes < d < kLanes) from `cur`, `prev` and `next`
// being the registers before and after it.
template <class L, int d>
inline typename L::F Window(typename L::F prev, typename L::F cur, typename L::F next) {
    if constexpr (d < 0) return L::template Align<L::kLanes + d>(cur, prev);
    else if constexpr (d == 0) return cur;
    else return L::template Align<d>(next, cur);
}

// The interior of a row for nine symmetric taps (k[t] == k[8 - t]), from
// `x`, a register's start on a line of `f`, for lanes that align registers:
// the pixels of each register are multiplied once by each of the five
// distinct taps, and each tap's products for a register are aligned out of
// its own, its predecessor's and its successor's, which costs less than
// loading nine registers across lines, four of the nine products being the
// same floats as four others. The sums still take the nine products in tap
// order. Returns where the registers stop.
template <class L, class Normalised>
int32_t SymmetricInterior(const float* f, int32_t width, const float* k, Normalised normalised, int32_t x,
                          float* out) {
    using F = typename L::F;
    constexpr int32_t N = L::kLanes;
    F km[5], before[5], here[5], after[5];
    for (int m = 0; m < 5; ++m) km[m] = L::Set1(k[m]);
    auto products = [&](const float* at, F (&p)[5]) {
        const F v = L::Load(at);
        for (int m = 0; m < 5; ++m) p[m] = Rounded(L::Mul(v, km[m]));
    };
    products(f + x - N, before);
    products(f + x, here);
    for (; x + N <= width - 4; x += N) {
        products(f + x + N, after);
        F s = Window<L, -4>(before[0], here[0], after[0]);
        s = L::Add(s, Window<L, -3>(before[1], here[1], after[1]));
        s = L::Add(s, Window<L, -2>(before[2], here[2], after[2]));
        s = L::Add(s, Window<L, -1>(before[3], here[3], after[3]));
        s = L::Add(s, here[4]);
        s = L::Add(s, Window<L, 1>(before[3], here[3], after[3]));
        s = L::Add(s, Window<L, 2>(before[2], here[2], after[2]));
        s = L::Add(s, Window<L, 3>(before[1], here[1], after[1]));
        s = L::Add(s, Window<L, 4>(before[0], here[0], after[0]));
        L::Store(out + x, normalised(s));
        for (int m = 0; m < 5; ++m) before[m] = here[m], here[m] = after[m];
    }
    return x;
}

// A row of at least kLanes pixels from `f`, the row widened to floats with r
// zeros on either side: a tap outside the row adds a product of 0, which
// leaves the sum as it was, so the pixels near the ends take the same sums
// as the rest and only their weights differ. Registers where every tap lies
// inside the row divide by the whole weight; the others, and a last one
// drawn back to end at the row's end, by each pixel's own, from the taps'
// table of them.
//
// `f` starts on a 64-byte line. With the nine taps and registers shorter
// than a line, `g` holds the same row half a line further on, and the wide loop reads each tap's register from
// whichever of the two holds it within one line: a load across two lines
// costs about two. The loop's steps are whole lines, so which copy serves a
// tap and register is fixed for the row. What the loop leaves of the
// interior goes as one more wide step drawn back to end where the interior
// does (its registers read `f` wherever they fall, once a row): pixels it
// makes again take the same sums.
template <class L, class Count, bool kSuccessor>
void HorizontalRow(const float* f, const float* g, int32_t width, const BlurRowTaps& taps, Count count,
                   float* out) {
    using F = typename L::F;
    constexpr int32_t N = L::kLanes, kPhases = 16 / N;
    const float* k = taps.k;
    const int32_t r = count() / 2;
    auto edge = [&](int32_t x) {
        const F sum = TapSum<L>(k, count, [&](int32_t t) { return L::Load(f + x - r + t); });
        L::Store(out + x, L::Div(sum, L::Load(taps.weights + x)));
    };
    auto normalised = [weight = L::Set1(taps.whole)](F sum) {
        if constexpr (kSuccessor) return L::Successor(sum);
        else return L::Div(sum, weight);
    };
    auto step = [&](int32_t x, auto load) {
        F s[kBlocks];
        TapSums<L>(k, count, [&](int32_t t, int j) { return load(x, t, j); }, s);
        for (int j = 0; j < kBlocks; ++j) L::Store(out + x + N * j, normalised(s[j]));
    };
    auto anywhere = [&](int32_t x, int32_t t, int j) { return L::Load(f + x - r + t + N * j); };
    int32_t x = 0;
    for (; x < r && x + N <= width; x += N) edge(x);
    if constexpr (std::is_same_v<Count, FixedCount<9>> && AlignsRegisters<L>) {
        if (k[0] == k[8] && k[1] == k[7] && k[2] == k[6] && k[3] == k[5])
            x = SymmetricInterior<L>(f, width, k, normalised, x, out);
    }
    const int32_t first = x;
    if constexpr (kTwoCopies<L, Count>) {
        const float* from[9][kPhases];
        for (int32_t t = 0; t < 9; ++t)
            for (int32_t p = 0; p < kPhases; ++p) {
                const int32_t at = (x - r + t + N * p) & 15;
                from[t][p] = (at + N > 16 ? g : f) + t - r;
            }
        for (; x + N * kBlocks <= width - r; x += N * kBlocks)
            step(x, [&](int32_t x, int32_t t, int j) { return L::Load(from[t][j % kPhases] + x + N * j); });
    } else {
        for (; x + N * kBlocks <= width - r; x += N * kBlocks) step(x, anywhere);
    }
    if (x > first && x < width - r) {
        x = width - r - N * kBlocks;
        step(x, anywhere);
        x += N * kBlocks;
    }
    for (; x + N <= width - r; x += N)
        L::Store(out + x, normalised(TapSum<L>(k, count, [&](int32_t t) { return L::Load(f + x - r + t); })));
    for (; x + N <= width; x += N) edge(x);
    if (x < width) edge(width - N);
}

template <class L, class Count>
void HorizontalRowOf(const float* f, const float* g, int32_t width, const BlurRowTaps& taps, Count count,
                     float* out) {
    if (taps.nextUp) HorizontalRow<L, Count, true>(f, g, width, taps, count, out);
    else HorizontalRow<L, Count, false>(f, g, width, taps, count, out);
}

template <class L>
void Horizontal(const uint8_t* row, int32_t width, const BlurRowTaps& taps, float* scratch, float* out) {
    constexpr int32_t N = L::kLanes;
    const int32_t n = taps.n, r = n / 2;
    if (width < N) {
        for (int32_t x = 0; x < width; ++x) out[x] = BlurRowAt(row, width, x, taps.k, n);
        return;
    }
    // The first float at or after p that starts a 64-byte line.
    auto lineStart = [](float* p) { return p + ((0 - reinterpret_cast<uintptr_t>(p)) & 63) / sizeof(float); };
    float* f = lineStart(scratch + r);
    float* g = lineStart(f + width + 2 * r) + 8;
    const bool twice = n == 9 && kTwoCopies<L, FixedCount<9>>;
    for (int32_t i = 0; i < r; ++i) f[i - r] = f[width + i] = g[i - r] = g[width + i] = 0.0f;
    int32_t i = 0;
    for (; i + N <= width; i += N) {
        const typename L::F v = L::Bytes(row + i);
        L::Store(f + i, v);
        if (twice) L::Store(g + i, v);
    }
    for (; i < width; ++i) f[i] = g[i] = row[i];
    if (n == 9) HorizontalRowOf<L>(f, g, width, taps, FixedCount<9>{}, out);
    else HorizontalRowOf<L>(f, g, width, taps, AnyCount{n}, out);
}

// Bytes of a register of column sums: the sum truncated to its low byte,
// divided by the weight and truncated again, to its low byte once more; with
// kWhole, the division leaves the whole number as it is. Two registers at a
// time go out together, their low bytes taken as they are packed: the sums
// are far below 2^16, so packing them to 16 bits first keeps them whole.
//
// Lanes whose narrowing store takes each lane's low byte as it is
// (StoreLowBytes) leave the outer truncation to it.
template <class L>
concept NarrowsToLowBytes = requires(uint8_t* p, typename L::I v) { L::StoreLowBytes(p, v); };

template <class L, bool kWhole>
struct ColumnBytes {
    typename L::F weight;
    typename L::I Whole(typename L::F sum) const {
        auto v = L::Truncated(sum);
        if constexpr (!kWhole) v = L::Low255(L::Truncated(L::Div(L::Float(L::Low255(v)), weight)));
        return v;
    }
    void operator()(uint8_t* to, typename L::F sum) const {
        if constexpr (NarrowsToLowBytes<L>) L::StoreLowBytes(to, Whole(sum));
        else L::StoreBytes(to, L::Low255(Whole(sum)));
    }
    void operator()(uint8_t* to, typename L::F sum, typename L::F next) const {
        L::StoreLowBytes2(to, Whole(sum), Whole(next));
    }
};

template <class L, class Count, bool kWhole>
int32_t VerticalRow(const BlurColumnTaps& taps, int32_t width, Count count, uint8_t* out) {
    using F = typename L::F;
    constexpr int32_t N = L::kLanes;
    const ColumnBytes<L, kWhole> store{L::Set1(taps.weight)};
    const float* const* rows = taps.rows;
    int32_t x = 0;
    for (; x + N * kBlocks <= width; x += N * kBlocks) {
        F s[kBlocks];
        TapSums<L>(taps.k, count, [&](int32_t t, int j) { return L::Load(rows[t] + x + N * j); }, s);
        for (int j = 0; j < kBlocks; j += 2) store(out + x + N * j, s[j], s[j + 1]);
    }
    for (; x + N <= width; x += N)
        store(out + x, TapSum<L>(taps.k, count, [&](int32_t t) { return L::Load(rows[t] + x); }));
    return x;
}

template <class L, class Count>
int32_t VerticalRowOf(const BlurColumnTaps& taps, int32_t width, Count count, uint8_t* out) {
    return taps.keepsWholes ? VerticalRow<L, Count, true>(taps, width, count, out)
                            : VerticalRow<L, Count, false>(taps, width, count, out);
}

template <class L>
void Vertical(const BlurColumnTaps& taps, int32_t width, uint8_t* out) {
    int32_t x = taps.count == 9 ? VerticalRowOf<L>(taps, width, FixedCount<9>{}, out)
                                : VerticalRowOf<L>(taps, width, AnyCount{taps.count}, out);
    for (; x < width; ++x) out[x] = BlurColumnAt(taps, x);
}

// The sums of B registers of two neighbouring output rows: ring row t
// (t = 0 .. n) is loaded once and multiplied by tap t for the upper row and
// by tap t - 1 for the lower, each sum still taken in tap order.
template <class L, int B, class Count>
inline void PairSums(const float* const* rows, const float* k, Count count, int32_t x, typename L::F (&a)[B],
                     typename L::F (&b)[B]) {
    using F = typename L::F;
    constexpr int32_t N = L::kLanes;
    const int32_t n = count();
    const F k0 = L::Set1(k[0]);
    for (int j = 0; j < B; ++j) a[j] = Rounded(L::Mul(L::Load(rows[0] + x + N * j), k0));
    const F k1 = L::Set1(k[1]);
    for (int j = 0; j < B; ++j) {
        const F v = Rounded(L::Load(rows[1] + x + N * j));
        a[j] = L::Add(a[j], Rounded(L::Mul(v, k1)));
        b[j] = Rounded(L::Mul(v, k0));
    }
#if defined(__GNUC__)
#pragma GCC unroll 1
#endif
    for (int32_t t = 2; t < n; ++t) {
        const F kt = L::Set1(k[t]), kp = L::Set1(k[t - 1]);
        for (int j = 0; j < B; ++j) {
            const F v = Rounded(L::Load(rows[t] + x + N * j));
            a[j] = L::Add(a[j], Rounded(L::Mul(v, kt)));
            b[j] = L::Add(b[j], Rounded(L::Mul(v, kp)));
        }
    }
    const F kl = L::Set1(k[n - 1]);
    for (int j = 0; j < B; ++j) b[j] = L::Add(b[j], Rounded(L::Mul(L::Load(rows[n] + x + N * j), kl)));
}

// Registers of each row per pass of the pair's wide loop: with more, the
// compiler no longer keeps both rows' sums in registers.
constexpr int kPairBlocks = 2;
static_assert(kBlocks % 2 == 0 && kPairBlocks % 2 == 0, "registers go out two at a time");

template <class L, class Count, bool kWhole>
int32_t VerticalPairRow(const BlurColumnTaps& taps, int32_t width, Count count, uint8_t* out, uint8_t* next) {
    using F = typename L::F;
    constexpr int32_t N = L::kLanes;
    const ColumnBytes<L, kWhole> store{L::Set1(taps.weight)};
    int32_t x = 0;
    for (; x + N * kPairBlocks <= width; x += N * kPairBlocks) {
        F a[kPairBlocks], b[kPairBlocks];
        PairSums<L>(taps.rows, taps.k, count, x, a, b);
        for (int j = 0; j < kPairBlocks; j += 2) {
            store(out + x + N * j, a[j], a[j + 1]);
            store(next + x + N * j, b[j], b[j + 1]);
        }
    }
    for (; x + N <= width; x += N) {
        F a[1], b[1];
        PairSums<L>(taps.rows, taps.k, count, x, a, b);
        store(out + x, a[0]);
        store(next + x, b[0]);
    }
    return x;
}

template <class L, class Count>
int32_t VerticalPairOf(const BlurColumnTaps& taps, int32_t width, Count count, uint8_t* out, uint8_t* next) {
    return taps.keepsWholes ? VerticalPairRow<L, Count, true>(taps, width, count, out, next)
                            : VerticalPairRow<L, Count, false>(taps, width, count, out, next);
}

template <class L>
void VerticalPair(const BlurColumnTaps& taps, int32_t width, uint8_t* out, uint8_t* next) {
    // The taps stay a loop: unrolled, the compiler hoists the products ahead
    // of their sums and runs out of registers.
    const int32_t x = VerticalPairOf<L>(taps, width, AnyCount{taps.count}, out, next);
    BlurColumnTaps below = taps;
    ++below.rows;
    for (int32_t i = x; i < width; ++i) {
        out[i] = BlurColumnAt(taps, i);
        next[i] = BlurColumnAt(below, i);
    }
}

// The vertical pass over a band of kBandRows output rows at once, for the
// sharpen's nine taps when they are symmetric (k[t] == k[8 - t], as a
// Gaussian's are). Row j of the band's kBandRows + 8 rows meets output row i
// at tap j - i, and the product it adds there is the row times k[j - i],
// which is the same float as the row times k[8 - (j - i)]: each row needs at
// most five products however many of the band's rows it serves, where the
// one-row and two-row passes take nine for each output row. The rows come
// in order, so each output row's sum still takes its taps in order. All the
// band's sums stay in registers: 16 of them, the five products and the row,
// which needs a form with 32 registers.
constexpr int kBandRows = kSharpenBandRows;

// Lanes with a fused multiply-add (AddByFma: fma(p, one, s)) take some of
// the sums there: p * 1 is p exactly, so the one rounding of p * 1 + s is
// that of p + s, the same float. The additions alone would keep the adders
// busy while the multipliers wait; the band moves about one in six of them,
// which evens out the two.
template <class L>
concept AddsByFma = requires(typename L::F v) { L::AddByFma(v, v, v); };

template <int i, int t>
constexpr bool kBandAddByFma = t == 4 || (t == 8 && i % 2 == 0);

template <class L, bool kWhole>
void BandColumns(const float* const* rows, const float* k, const ColumnBytes<L, kWhole>& store, int32_t x,
                 int32_t width, uint8_t* out) {
    using F = typename L::F;
    F acc[kBandRows];
    // 1, hidden from the compiler, which would otherwise turn the fused
    // multiply-adds back into additions.
    [[maybe_unused]] const F one = Rounded(L::Set1(1.0f));
    [&]<int... J>(std::integer_sequence<int, J...>) {
        auto row = [&]<int j>(std::integral_constant<int, j>) {
            const F v = Rounded(L::Load(rows[j] + x));
            F p[5];
            for (int m = 0; m < 5; ++m) p[m] = Rounded(L::Mul(v, L::Set1(k[m])));
            [&]<int... I>(std::integer_sequence<int, I...>) {
                auto add = [&]<int i>(std::integral_constant<int, i>) {
                    constexpr int t = j - i;
                    if constexpr (t >= 0 && t <= 8) {
                        const F product = p[t < 5 ? t : 8 - t];
                        if constexpr (t == 0) acc[i] = product;
                        else if constexpr (AddsByFma<L> && kBandAddByFma<i, t>)
                            acc[i] = L::AddByFma(acc[i], product, one);
                        else acc[i] = L::Add(acc[i], product);
                        if constexpr (t == 8) store(out + intptr_t(i) * width + x, acc[i]);
                    }
                };
                (add(std::integral_constant<int, I>{}), ...);
            }(std::make_integer_sequence<int, kBandRows>{});
        };
        (row(std::integral_constant<int, J>{}), ...);
    }(std::make_integer_sequence<int, kBandRows + 8>{});
}

// kBandRows rows of the vertical pass into out, out + width, ...: taps.rows
// holds kBandRows + 8 rows, each output row reading the nine from its own
// on. Widths short of a register go a pixel at a time; what the registers
// leave of a row goes as one more register drawn back to end at the row's
// end, whose pixels made again take the same bytes.
template <class L, bool kWhole>
void VerticalBandOf(const BlurColumnTaps& taps, int32_t width, uint8_t* out) {
    constexpr int32_t N = L::kLanes;
    const ColumnBytes<L, kWhole> store{L::Set1(taps.weight)};
    if (width < N) {
        BlurColumnTaps one = taps;
        for (int i = 0; i < kBandRows; ++i, ++one.rows)
            for (int32_t x = 0; x < width; ++x) out[intptr_t(i) * width + x] = BlurColumnAt(one, x);
        return;
    }
    int32_t x = 0;
    for (; x + N <= width; x += N) BandColumns<L>(taps.rows, taps.k, store, x, width, out);
    if (x < width) BandColumns<L>(taps.rows, taps.k, store, width - N, width, out);
}

template <class L>
void VerticalBand(const BlurColumnTaps& taps, int32_t width, uint8_t* out) {
    if (taps.keepsWholes) VerticalBandOf<L, true>(taps, width, out);
    else VerticalBandOf<L, false>(taps, width, out);
}

// The largest byte of a register, by halves.
template <class L>
int32_t MaxByte(typename L::I v) {
    if constexpr (sizeof(v) == 64) v = L::MaxU8(v, L::template Down<32>(v));
    if constexpr (sizeof(v) >= 32) v = L::MaxU8(v, L::template Down<16>(v));
    v = L::MaxU8(v, L::template Down<8>(v));
    v = L::MaxU8(v, L::template Down<4>(v));
    v = L::MaxU8(v, L::template Down<2>(v));
    return L::LowByte(L::MaxU8(v, L::template Down<1>(v)));
}

// The extremes of a - b from two saturating differences a byte at a time:
// the rise a - b where a > b, else 0, and the fall b - a where b > a. The
// largest a - b is the largest rise if there is one, else the least fall
// negated (every a - b is then 0 or below); the smallest is the largest fall
// negated if there is one, else the least rise. Over `rows` rows of a,
// `stride` apart: `blurAt(y, x)` is the register of b for row y's pixels
// from x on, and `rest(y, x)` takes row y's pixels from x on that do not
// fill a register. The registers gather all the rows before they are
// folded, once.
template <class L, class BlurAt, class Rest>
void ExtremesOf(const uint8_t* a, intptr_t stride, int32_t width, int32_t rows, BlurAt blurAt, Rest rest,
                int32_t* largest, int32_t* smallest) {
    constexpr int32_t W = sizeof(typename L::I);
    const int32_t whole = width / W * W;
    auto riseMost = L::SetU8(0), fallMost = L::SetU8(0), riseLeast = L::SetU8(255), fallLeast = L::SetU8(255);
    for (int32_t y = 0; y < rows; ++y, a += stride) {
        for (int32_t x = 0; x < whole; x += W) {
            const auto av = L::LoadI(a + x), bv = blurAt(y, x);
            const auto rise = L::SubSatU8(av, bv), fall = L::SubSatU8(bv, av);
            riseMost = L::MaxU8(riseMost, rise);
            riseLeast = L::MinU8(riseLeast, rise);
            fallMost = L::MaxU8(fallMost, fall);
            fallLeast = L::MinU8(fallLeast, fall);
        }
        if (whole < width) rest(y, whole);
    }
    if (whole > 0 && rows > 0) {
        const auto ones = L::SetU8(255);
        const int32_t mostRise = MaxByte<L>(riseMost), mostFall = MaxByte<L>(fallMost);
        const int32_t leastRise = 255 - MaxByte<L>(L::Xor(riseLeast, ones));
        const int32_t leastFall = 255 - MaxByte<L>(L::Xor(fallLeast, ones));
        *largest = std::max(*largest, mostRise > 0 ? mostRise : -leastFall);
        *smallest = std::min(*smallest, mostFall > 0 ? -mostFall : leastRise);
    }
}

template <class L>
void Extremes(const uint8_t* a, intptr_t aStride, const uint8_t* b, intptr_t bStride, int32_t width, int32_t rows,
              int32_t* largest, int32_t* smallest) {
    ExtremesOf<L>(
        a, aStride, width, rows, [=](int32_t y, int32_t x) { return L::LoadI(b + y * bStride + x); },
        [=](int32_t y, int32_t x) {
            SharpenExtremesPlain(a + y * aStride + x, 0, b + y * bStride + x, 0, width - x, 1, largest, smallest);
        },
        largest, smallest);
}

// Division of 2n by 2D for 0 <= 2n < 2^15, as a high product and a shift:
// with s the least shift for which 2D <= 2^(s + 1) and m = ceil(2^(16 + s) /
// 2D), below 2^16, the error of 2n * m / 2^(16 + s) against 2n / 2D is below
// 2n / 2^(16 + s) < 2^-(1 + s) <= 1 / 2D, too little to reach the next whole
// number; so the floor of it is that of 2n / 2D, which is n / D truncated.
// Doubling lets D = 1 have a shift too. D = 0 stands for a division that
// does not take place: its multiplier of 0 makes every quotient 0.
template <class L>
struct HalvedDivisor {
    typename L::I m;
    typename L::Bits s;

    explicit HalvedDivisor(int32_t d) {
        int32_t shift = 0;
        while (2 * d > 2 << shift) ++shift;
        const int64_t mul = d > 0 ? ((int64_t(1) << (16 + shift)) + 2 * d - 1) / (2 * d) : 0;
        m = L::Set16(static_cast<int16_t>(static_cast<uint16_t>(mul)));
        s = L::Bits16(shift);
    }
    typename L::I Quotient(typename L::I doubled) const { return L::Shift16(L::MulHi16(doubled, m), s); }
};

// The divisors of the mask: by high where it applies, by -low likewise.
template <class L>
struct MaskDivisors {
    HalvedDivisor<L> byHigh, byLow;
    MaskDivisors(int32_t high, int32_t low) : byHigh(high > 0 ? high : 0), byLow(low < 0 ? -low : 0) {}
};

// The mask in 16-bit lanes. As the blur b lies in 0 .. 255, d = a - b lies
// in -(255 - a) .. a, so a numerator (255 - a) * d or a * -d is at most
// a * (255 - a) <= 16256, and twice it fits the division above; the divisor,
// high or -low, is 1 to 225. The saturating differences a - b and b - a
// give each pixel the one of d and -d that is positive and 0 for the other,
// whose quotient is then 0; a side that does not apply divides by 0 above.
// The sum a + up - down, within -16256 .. 16511, is clamped by the store.
//
// A whole register of bytes at a time: the saturating differences are taken
// on the bytes, which holds the same values as on words, and the bytes are
// then spread to words and narrowed back in halves. Spreading takes each
// 16-byte lane's low or high eight bytes, and narrowing two registers of
// words puts each lane's back in that order, so the bytes come out where
// they were; narrowing with signed saturation is the clamp to 0 .. 255.
// What is left of the row goes in 2 * kLanes words at a time.
template <class L>
typename L::I MaskWords(const MaskDivisors<L>& by, typename L::I av, typename L::I up, typename L::I down) {
    const auto twice = L::Add16(av, av);
    const auto raise = by.byHigh.Quotient(L::MulLo16(L::Sub16(L::Set16(510), twice), up));
    const auto lower = by.byLow.Quotient(L::MulLo16(twice, down));
    return L::Sub16(L::Add16(av, raise), lower);
}

// Whole registers of bytes of the row; `blurAt(x)` is the register of b for
// the row's pixels from x on. Returns where the registers stop.
template <class L, class BlurAt>
int32_t ApplyOf(uint8_t* row, int32_t width, BlurAt blurAt, const MaskDivisors<L>& by) {
    using I = typename L::I;
    constexpr int32_t W = sizeof(I);
    int32_t x = 0;
    for (; x + W <= width; x += W) {
        const I av = L::LoadI(row + x), bv = blurAt(x);
        const I up = L::SubSatU8(av, bv), down = L::SubSatU8(bv, av);
        const I lo = MaskWords<L>(by, L::WordsLow(av), L::WordsLow(up), L::WordsLow(down));
        const I hi = MaskWords<L>(by, L::WordsHigh(av), L::WordsHigh(up), L::WordsHigh(down));
        L::StoreI(row + x, L::Narrow16(lo, hi));
    }
    return x;
}

template <class L>
void Apply(uint8_t* row, const uint8_t* b, int32_t width, int32_t high, int32_t low) {
    using I = typename L::I;
    constexpr int32_t H = 2 * L::kLanes;
    const MaskDivisors<L> by(high, low);
    int32_t x = ApplyOf<L>(row, width, [b](int32_t x) { return L::LoadI(b + x); }, by);
    for (; x + H <= width; x += H) {
        const I av = L::Words(row + x), bv = L::Words(b + x);
        L::StoreWords(row + x, MaskWords<L>(by, av, L::SubSat16(av, bv), L::SubSat16(bv, av)));
    }
    ApplySharpenPlain(row + x, b + x, width - x, high, low);
}

}  // namespace tarn::sharpen_passes
