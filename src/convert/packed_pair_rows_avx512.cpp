// The row-pair forms of packed 4:2:2 to planar 4:2:0, AVX-512: one row pair
// with its luma, its chroma alone, two neighbouring row pairs' chroma at
// once, and a row halved across, 64 pairs a step. A step of fewer pairs (the
// first, up to the rows' 64-byte boundary, and the last) loads and stores
// under byte masks, so no byte is read or written twice and nothing is left
// to the plain forms. Same bytes as the plain forms.
#include <immintrin.h>

#include <algorithm>

#include "convert/packed_pair_rows.h"

namespace tarn {

namespace {

// The first `n` bytes of 64.
inline __mmask64 FirstBytes(size_t n) { return n >= 64 ? ~__mmask64(0) : (__mmask64(1) << n) - 1; }

// Bytes `from` .. `from` + 63 of a run of `n`: a whole vector, or the part
// that lies inside under a mask (none past the end).
template <bool Masked>
inline __m512i Load64(const uint8_t* p, size_t from, size_t n) {
    if (!Masked) return _mm512_loadu_si512(p + from);
    return _mm512_maskz_loadu_epi8(FirstBytes(n > from ? n - from : 0), p + from);
}
template <bool Masked>
inline void Store64(uint8_t* p, size_t from, size_t n, __m512i v) {
    if (!Masked) return _mm512_storeu_si512(p + from, v);
    if (n > from) _mm512_mask_storeu_epi8(p + from, FirstBytes(n - from), v);
}

// s(a, b, c) of 64 bytes: neighbours a and b, centre c.
inline __m512i Smooth64(__m512i a, __m512i b, __m512i c) { return _mm512_avg_epu8(_mm512_avg_epu8(a, b), c); }

// The low half of each 16-bit word of `p` and then of `q` (the luma bytes
// of two vectors of 16 pairs), or of each 32-bit word (a halved row): the
// pack works lane by lane and a 64-bit permute puts the lanes in order.
inline __m512i InOrder(__m512i packed) {
    // (The two-source permute: GCC 12 reports the one-source form's
    // undefined merge register as uninitialised.)
    return _mm512_permutex2var_epi64(packed, _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), packed);
}
inline __m512i LumaOf(__m512i p, __m512i q) {
    const __m512i low = _mm512_set1_epi16(0x00FF);
    return InOrder(_mm512_packus_epi16(_mm512_and_si512(p, low), _mm512_and_si512(q, low)));
}
inline __m512i HalvedOf(__m512i p, __m512i q) {
    const __m512i low = _mm512_set1_epi32(0xFFFF);
    return InOrder(_mm512_packus_epi32(_mm512_and_si512(p, low), _mm512_and_si512(q, low)));
}

// The chroma bytes (the odd ones) of two vectors of 16 pairs in one: those
// of `p` in the even bytes, those of `q` in the odd ones. Averages work
// byte by byte, so the smoothing may go on these before the bytes are put
// in order.
inline __m512i ChromaOf(__m512i p, __m512i q) {
    return _mm512_mask_blend_epi8(__mmask64(0xAAAAAAAAAAAAAAAAull), _mm512_srli_epi16(p, 8), q);
}

// u and v of 64 pairs from two vectors of ChromaOf, of pairs 0-15 with
// 16-31 and 32-47 with 48-63. Per 128-bit lane L the shuffle gives the u of
// pairs 4L.. and 16 + 4L.., then their v, four bytes each; one two-source
// permute of 32-bit words then gathers each plane. u and v take `count`
// bytes from `at`.
template <bool Masked>
inline void StoreJoinedChroma(uint8_t* u, uint8_t* v, size_t at, size_t count, __m512i c01, __m512i c23) {
    // In each lane the bytes 0, 4, 8, 12, then 1, 5, 9, 13, and so on.
    const __m512i order = _mm512_setr4_epi32(0x0C080400, 0x0D090501, 0x0E0A0602, 0x0F0B0703);
    const __m512i a = _mm512_shuffle_epi8(c01, order), b = _mm512_shuffle_epi8(c23, order);
    const __m512i us = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 16, 20, 24, 28, 17, 21, 25, 29);
    const __m512i vs = _mm512_add_epi32(us, _mm512_set1_epi32(2));
    Store64<Masked>(u + at, 0, count, _mm512_permutex2var_epi32(a, us, b));
    Store64<Masked>(v + at, 0, count, _mm512_permutex2var_epi32(a, vs, b));
}

// Runs block.template operator()<Masked>(i, count) over `pairs` pairs in
// steps of up to 64 from the 64-byte boundary of `centre` on, where the
// loads stop straddling cache lines; masked steps take what lies before the
// boundary and after the last whole step. (Whole steps at the ends, worked
// twice where the outputs lie apart from the rows, measured no faster.)
template <class Block>
void Blocks64(const uint8_t* centre, size_t pairs, Block block) {
    const size_t off = reinterpret_cast<uintptr_t>(centre) & 63;
    size_t i = off % 4 == 0 ? std::min((64 - off) % 64 / 4, pairs) : 0;
    if (i) block.template operator()<true>(size_t(0), i);
    for (; i + 64 <= pairs; i += 64) block.template operator()<false>(i, size_t(64));
    if (i < pairs) block.template operator()<true>(i, pairs - i);
}

// One row pair, `count` (up to 64) pairs from pair i: F0 = s(a), F1 = s(b),
// their luma with `Luma` and chroma r(F0, F1). Between the first and last
// pairs of a picture the two rows share their centre and a neighbour: four
// loads then serve both, and the next pair's rows are asked for.
template <bool Shared, bool Luma, bool Masked>
inline void PairBlock(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const Rows3& a, const Rows3& b, size_t i,
                      size_t count) {
    const size_t o = 4 * i, n = 4 * count;
    if (Shared) {
        HintNextPairRows(a, b, o);
        HintNextPairRows(a, b, o + 128);
    }
    __m512i f0[4], f1[4];
    for (int k = 0; k < 4; ++k) {
        const size_t at = 64 * size_t(k);
        const __m512i ac = Load64<Masked>(a.c + o, at, n), ab = Load64<Masked>(a.b + o, at, n);
        const __m512i ba = Shared ? ac : Load64<Masked>(b.a + o, at, n);
        const __m512i bc = Shared ? ab : Load64<Masked>(b.c + o, at, n);
        f0[k] = Smooth64(Load64<Masked>(a.a + o, at, n), ab, ac);
        f1[k] = Smooth64(ba, Load64<Masked>(b.b + o, at, n), bc);
    }
    if (Luma) {
        Store64<Masked>(y0 + 2 * i, 0, 2 * count, LumaOf(f0[0], f0[1]));
        Store64<Masked>(y0 + 2 * i, 64, 2 * count, LumaOf(f0[2], f0[3]));
        Store64<Masked>(y1 + 2 * i, 0, 2 * count, LumaOf(f1[0], f1[1]));
        Store64<Masked>(y1 + 2 * i, 64, 2 * count, LumaOf(f1[2], f1[3]));
    }
    const __m512i c01 = ChromaOf(_mm512_avg_epu8(f0[0], f1[0]), _mm512_avg_epu8(f0[1], f1[1]));
    const __m512i c23 = ChromaOf(_mm512_avg_epu8(f0[2], f1[2]), _mm512_avg_epu8(f0[3], f1[3]));
    StoreJoinedChroma<Masked>(u, v, i, count, c01, c23);
}

// The steps hold copies of the row and output addresses: the stores may
// alias anything, and addresses held by reference would be fetched anew
// after each.
template <bool Shared, bool Luma>
struct PairStep {
    uint8_t *y0, *y1, *u, *v;
    Rows3 a, b;
    template <bool Masked>
    void operator()(size_t i, size_t count) const {
        PairBlock<Shared, Luma, Masked>(y0, y1, u, v, a, b, i, count);
    }
};

template <bool Luma>
void PairRows(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const Rows3& a, const Rows3& b, size_t pairs) {
    if (b.a == a.c && b.c == a.b)
        Blocks64(a.c, pairs, PairStep<true, Luma>{y0, y1, u, v, a, b});
    else
        Blocks64(a.c, pairs, PairStep<false, Luma>{y0, y1, u, v, a, b});
}

// The chroma of row pairs k and k + 1 from source rows 2k - 1 .. 2k + 4,
// `count` pairs from pair i: the six rows loaded once, their chroma bytes
// joined, and the four F rows (row 2k + j is s(row 2k + j - 1, row
// 2k + j + 1, row 2k + j)). The next two pairs' new rows are asked for.
// With `Halve`, rows 2k and 2k + 2 (r[1] and r[3]) are halved across from
// the same loads.
template <bool Halve, bool Masked>
inline void TwoChromaBlock(const TwoChroma& out, const uint8_t* const (&r)[6], size_t i, size_t count) {
    const size_t o = 4 * i, n = 4 * count;
    const uintptr_t step = reinterpret_cast<uintptr_t>(r[1]) - reinterpret_cast<uintptr_t>(r[0]);
    HintRowsAfter(r[5], step, 4, o);
    HintRowsAfter(r[5], step, 4, o + 128);
    __m512i c[2][2];
    for (int k = 0; k < 2; ++k) {
        const size_t at = 128 * size_t(k);
        __m512i s[6], f[4];
        for (int j = 0; j < 6; ++j) {
            const __m512i p = Load64<Masked>(r[j] + o, at, n), q = Load64<Masked>(r[j] + o, at + 64, n);
            s[j] = ChromaOf(p, q);
            if (Halve && (j == 1 || j == 3)) Store64<Masked>(out.halved[j / 2] + 2 * i, at / 2, n / 2, HalvedOf(p, q));
        }
        for (int j = 0; j < 4; ++j) f[j] = Smooth64(s[j], s[j + 2], s[j + 1]);
        c[0][k] = _mm512_avg_epu8(f[0], f[1]);
        c[1][k] = _mm512_avg_epu8(f[2], f[3]);
    }
    StoreJoinedChroma<Masked>(out.u[0], out.v[0], i, count, c[0][0], c[0][1]);
    StoreJoinedChroma<Masked>(out.u[1], out.v[1], i, count, c[1][0], c[1][1]);
}

template <bool Halve>
struct TwoStep {
    TwoChroma out;
    const uint8_t* rows[6];
    template <bool Masked>
    void operator()(size_t i, size_t count) const {
        TwoChromaBlock<Halve, Masked>(out, rows, i, count);
    }
};

struct HalveStep {
    uint8_t* out;
    const uint8_t* row;
    template <bool Masked>
    void operator()(size_t i, size_t count) const {
        const size_t n = 4 * count;
        for (size_t at = 0; at < n; at += 128)
            Store64<Masked>(out + 2 * i, at / 2, n / 2,
                            HalvedOf(Load64<Masked>(row + 4 * i, at, n), Load64<Masked>(row + 4 * i, at + 64, n)));
    }
};

// Where a step of a run keeps its 128 bytes of joined chroma in the work
// row: steps apart from each other, the first (perhaps short) one too.
inline size_t WorkAt(size_t i) { return i ? 2 * i + 128 : 0; }

// One pass of a run, `count` (up to 64) pairs from pair i: F of row `mid`
// from its neighbours `up` and `down`, its luma to `y` and its chroma joined
// as ChromaOf gives it. The first pass of a pair also halves
// `mid` across (with `Halve`) and keeps the chroma in the work row; the
// second averages it with what the first kept and stores the pair's u and v.
template <bool Halve, bool Second>
struct RunPass {
    const uint8_t *up, *mid, *down;
    uint8_t *y, *halved, *u, *v, *work;
    template <bool Masked>
    void operator()(size_t i, size_t count) const {
        const size_t o = 4 * i, n = 4 * count;
        HintRowsAfter(down, uintptr_t(down - mid), 2, o);
        HintRowsAfter(down, uintptr_t(down - mid), 2, o + 128);
        __m512i c[2];
        for (int h = 0; h < 2; ++h) {
            const size_t at = 128 * size_t(h);
            const __m512i p = Load64<Masked>(mid + o, at, n), q = Load64<Masked>(mid + o, at + 64, n);
            if (Halve && !Second) Store64<Masked>(halved + 2 * i, at / 2, n / 2, HalvedOf(p, q));
            const __m512i a0 = Load64<Masked>(up + o, at, n), a1 = Load64<Masked>(up + o, at + 64, n);
            const __m512i b0 = Load64<Masked>(down + o, at, n), b1 = Load64<Masked>(down + o, at + 64, n);
            const __m512i f0 = Smooth64(a0, b0, p), f1 = Smooth64(a1, b1, q);
            Store64<Masked>(y + 2 * i, at / 2, n / 2, LumaOf(f0, f1));
            c[h] = ChromaOf(f0, f1);
            uint8_t* kept = work + WorkAt(i) + 64 * size_t(h);
            if (Second)
                c[h] = _mm512_avg_epu8(_mm512_loadu_si512(kept), c[h]);
            else
                _mm512_storeu_si512(kept, c[h]);
        }
        if (Second) StoreJoinedChroma<Masked>(u, v, i, count, c[0], c[1]);
    }
};

template <bool Halve>
void PairRunWith(const PairRun& r) {
    for (int32_t j = 0; j < r.count; ++j) {
        const uint8_t* above = r.src + 2 * ptrdiff_t(j) * r.step;  // row 2k - 1
        const uint8_t *even = above + r.step, *odd = even + r.step, *below = odd + r.step;
        uint8_t* y0 = r.y + 2 * ptrdiff_t(j) * r.yStride;
        uint8_t* y1 = y0 + r.yStride;
        uint8_t* h = Halve ? r.halved + ptrdiff_t(j) * r.halvedStride : nullptr;
        uint8_t* u = r.u + ptrdiff_t(j) * r.uvStride;
        uint8_t* v = r.v + ptrdiff_t(j) * r.uvStride;
        // Both passes step alike (from the 64-byte boundary of the odd
        // row), so that each finds what the first kept where it put it.
        Blocks64(odd, r.pairs, RunPass<Halve, false>{above, even, odd, y0, h, nullptr, nullptr, r.work});
        Blocks64(odd, r.pairs, RunPass<Halve, true>{even, odd, below, y1, nullptr, u, v, r.work});
    }
}

}  // namespace

void PairRunAvx512(const PairRun& run) {
    if (run.halved)
        PairRunWith<true>(run);
    else
        PairRunWith<false>(run);
}

void SmoothPairFromYuy2Avx512(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs) {
    PairRows<true>(y0, y1, u, v, a, b, pairs);
}

void PackedChromaAvx512(uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs) {
    PairRows<false>(nullptr, nullptr, u, v, a, b, pairs);
}

void TwoChromaAvx512(const TwoChroma& out, const uint8_t* const rows[6], size_t pairs) {
    const uint8_t* const* r = rows;
    if (out.halved[0])
        Blocks64(rows[2], pairs, TwoStep<true>{out, {r[0], r[1], r[2], r[3], r[4], r[5]}});
    else
        Blocks64(rows[2], pairs, TwoStep<false>{out, {r[0], r[1], r[2], r[3], r[4], r[5]}});
}

void HalvePackedRowAvx512(uint8_t* out, const uint8_t* row, size_t pairs) {
    Blocks64(row, pairs, HalveStep{out, row});
}

}  // namespace tarn
