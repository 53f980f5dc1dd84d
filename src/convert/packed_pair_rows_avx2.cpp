// The row-pair forms of packed 4:2:2 to planar 4:2:0, AVX2: one row pair
// with its luma (the row form of kYuvRowsAvx2), its chroma alone, and two
// neighbouring row pairs at once, 32 pairs a step. Same bytes as the plain
// forms.
#include <immintrin.h>

#include "convert/packed_pair_rows.h"
#include "convert/yuv_rows_sse2.h"

namespace tarn {

namespace {

inline __m256i Load32(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void Store32(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

// s(a, b, c) of 32 bytes: neighbours a and b, centre c.
inline __m256i Smooth32(__m256i a, __m256i b, __m256i c) { return _mm256_avg_epu8(_mm256_avg_epu8(a, b), c); }

// The luma bytes (the even ones) of two vectors of 8 pairs, in order: the
// pack interleaves the halves and a 64-bit permute undoes it.
inline __m256i LumaOf(__m256i p, __m256i q) {
    const __m256i low = _mm256_set1_epi16(0x00FF);
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(_mm256_and_si256(p, low), _mm256_and_si256(q, low)),
                                    _MM_SHUFFLE(3, 1, 2, 0));
}

// u and v of 32 pairs from four vectors of 8 pairs each, bytes 4i + 1 and
// 4i + 3 of each pair.
inline void StoreChroma(uint8_t* u, uint8_t* v, const __m256i c[4]) {
    // Per 128-bit lane of four pairs, u to bytes 0-3 and v to bytes 8-11 of
    // the first of two vectors, 4-7 and 12-15 of the second.
    const __m256i first =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(1, 5, 9, 13, -1, -1, -1, -1, 3, 7, 11, 15, -1, -1, -1, -1));
    const __m256i second =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(-1, -1, -1, -1, 1, 5, 9, 13, -1, -1, -1, -1, 3, 7, 11, 15));
    // The dwords then hold pairs 0-3, 8-11, 16-19, 24-27 | 4-7, 12-15, ...
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const __m256i c01 = _mm256_or_si256(_mm256_shuffle_epi8(c[0], first), _mm256_shuffle_epi8(c[1], second));
    const __m256i c23 = _mm256_or_si256(_mm256_shuffle_epi8(c[2], first), _mm256_shuffle_epi8(c[3], second));
    Store32(u, _mm256_permutevar8x32_epi32(_mm256_unpacklo_epi64(c01, c23), order));
    Store32(v, _mm256_permutevar8x32_epi32(_mm256_unpackhi_epi64(c01, c23), order));
}

// One row pair, 32 pairs from pair i: F0 = s(a), F1 = s(b), their luma with
// `Luma`, and chroma r(F0, F1). Between the first and last pairs of a
// picture the two rows share their centre and a neighbour: four loads then
// serve both, and the next pair's rows are asked for.
template <bool Shared, bool Luma>
inline void PairBlock(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const Rows3& a, const Rows3& b, size_t i) {
    const size_t o = 4 * i;
    if (Shared) HintNextPairRows(a, b, o);
    __m256i f0[4], f1[4], c[4];
    for (int k = 0; k < 4; ++k) {
        const size_t at = o + 32 * size_t(k);
        const __m256i ac = Load32(a.c + at), ab = Load32(a.b + at);
        const __m256i ba = Shared ? ac : Load32(b.a + at), bc = Shared ? ab : Load32(b.c + at);
        f0[k] = Smooth32(Load32(a.a + at), ab, ac);
        f1[k] = Smooth32(ba, Load32(b.b + at), bc);
        c[k] = _mm256_avg_epu8(f0[k], f1[k]);
    }
    if (Luma) {
        Store32(y0 + 2 * i, LumaOf(f0[0], f0[1]));
        Store32(y0 + 2 * i + 32, LumaOf(f0[2], f0[3]));
        Store32(y1 + 2 * i, LumaOf(f1[0], f1[1]));
        Store32(y1 + 2 * i + 32, LumaOf(f1[2], f1[3]));
    }
    StoreChroma(u + i, v + i, c);
}

// Whether a row pair's outputs all lie apart from its rows, so that blocks
// may be worked twice.
bool OutputsApart(const uint8_t* const* outs, const size_t* sizes, int n, const Rows3& a, const Rows3& b,
                  size_t pairs) {
    for (int j = 0; j < n; ++j)
        if (outs[j] && !ApartFromRows(outs[j], sizes[j], a, b, pairs)) return false;
    return true;
}

template <bool Luma>
size_t PairBlocksOf(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const Rows3& a, const Rows3& b,
                    size_t pairs) {
    const uint8_t* outs[4] = {u, v, Luma ? y0 : nullptr, Luma ? y1 : nullptr};
    const size_t sizes[4] = {pairs, pairs, 2 * pairs, 2 * pairs};
    // Blocks may overlap (to keep the loads off cache-line boundaries) where
    // no output meets the rows read.
    const bool overlap = OutputsApart(outs, sizes, 4, a, b, pairs);
    return b.a == a.c && b.c == a.b
               ? PairBlocks(a.c, pairs, overlap, [&](size_t at) { PairBlock<true, Luma>(y0, y1, u, v, a, b, at); })
               : PairBlocks(a.c, pairs, overlap, [&](size_t at) { PairBlock<false, Luma>(y0, y1, u, v, a, b, at); });
}

// The chroma of row pairs k and k + 1 from source rows 2k - 1 .. 2k + 4,
// 32 pairs from pair i: the six rows loaded once and the four F rows (row
// 2k + j is s(row 2k + j - 1, row 2k + j + 1, row 2k + j)). The next two
// pairs' new rows are asked for.
// The chroma bytes (the odd ones) of two vectors of 8 pairs in one: those
// of `p` in the even bytes, those of `q` in the odd ones. Averages work
// byte by byte, so the smoothing may go on these before the bytes are put
// in order.
inline __m256i ChromaOf(__m256i p, __m256i q) {
    return _mm256_blendv_epi8(_mm256_srli_epi16(p, 8), q, _mm256_set1_epi16(int16_t(0xFF00)));
}

// u and v of 32 pairs from two vectors of ChromaOf, of pairs 0-7 with 8-15
// and 16-23 with 24-31: per 128-bit lane the u of the four pairs of each
// go to bytes 0-7 and their v to bytes 8-15, as StoreChroma has them.
inline void StoreJoinedChroma(uint8_t* u, uint8_t* v, __m256i c01, __m256i c23) {
    const __m256i order = _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    const __m256i lanes = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const __m256i a = _mm256_shuffle_epi8(c01, order), b = _mm256_shuffle_epi8(c23, order);
    Store32(u, _mm256_permutevar8x32_epi32(_mm256_unpacklo_epi64(a, b), lanes));
    Store32(v, _mm256_permutevar8x32_epi32(_mm256_unpackhi_epi64(a, b), lanes));
}

// Thirty-two bytes of a halved row from two vectors of 8 pairs: the low
// half of each 32-bit word, in order (the pack interleaves the halves and a
// 64-bit permute undoes it).
inline __m256i HalvedOf(__m256i p, __m256i q) {
    const __m256i low = _mm256_set1_epi32(0xFFFF);
    return _mm256_permute4x64_epi64(_mm256_packus_epi32(_mm256_and_si256(p, low), _mm256_and_si256(q, low)),
                                    _MM_SHUFFLE(3, 1, 2, 0));
}

// With `Halve`, rows 2k and 2k + 2 (r[1] and r[3]) are halved across from
// the same loads.
template <bool Halve>
inline void TwoChromaBlock(const TwoChroma& out, const uint8_t* const r[6], size_t i) {
    const size_t o = 4 * i;
    HintRowsAfter(r[5], reinterpret_cast<uintptr_t>(r[1]) - reinterpret_cast<uintptr_t>(r[0]), 4, o);
    __m256i c[2][2];
    for (int k = 0; k < 2; ++k) {
        const size_t at = o + 64 * size_t(k);
        __m256i s[6], f[4];
        for (int j = 0; j < 6; ++j) {
            const __m256i p = Load32(r[j] + at), q = Load32(r[j] + at + 32);
            s[j] = ChromaOf(p, q);
            if (Halve && (j == 1 || j == 3)) Store32(out.halved[j / 2] + at / 2, HalvedOf(p, q));
        }
        for (int j = 0; j < 4; ++j) f[j] = Smooth32(s[j], s[j + 2], s[j + 1]);
        c[0][k] = _mm256_avg_epu8(f[0], f[1]);
        c[1][k] = _mm256_avg_epu8(f[2], f[3]);
    }
    StoreJoinedChroma(out.u[0] + i, out.v[0] + i, c[0][0], c[0][1]);
    StoreJoinedChroma(out.u[1] + i, out.v[1] + i, c[1][0], c[1][1]);
}

}  // namespace

void SmoothPairFromYuy2Avx2(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs) {
    const size_t i = PairBlocksOf<true>(y0, y1, u, v, a, b, pairs);
    const uint8_t* ra[3] = {a.a, a.b, a.c};
    const uint8_t* rb[3] = {b.a, b.b, b.c};
    SmoothPairFromYuy2Simd(y0, y1, u, v, ra, rb, i, pairs);
}

void PackedChromaAvx2(uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs) {
    const size_t i = PairBlocksOf<false>(nullptr, nullptr, u, v, a, b, pairs);
    PackedChromaPlain(u + i, v + i, RowsFrom(a, 4 * i), RowsFrom(b, 4 * i), pairs - i);
}

void TwoChromaAvx2(const TwoChroma& out, const uint8_t* const rows[6], size_t pairs) {
    const bool halve = out.halved[0] != nullptr;
    const uint8_t* outs[6] = {out.u[0], out.u[1], out.v[0], out.v[1], out.halved[0], out.halved[1]};
    const size_t sizes[6] = {pairs, pairs, pairs, pairs, 2 * pairs, 2 * pairs};
    const Rows3 upper{rows[0], rows[1], rows[2]}, lower{rows[3], rows[4], rows[5]};
    const bool overlap = OutputsApart(outs, sizes, 6, upper, lower, pairs);
    // The blocks take copies of the targets and rows: through the caller's
    // they would be read again after every store, which may write them.
    const TwoChroma o = out;
    const uint8_t* const r[6] = {rows[0], rows[1], rows[2], rows[3], rows[4], rows[5]};
    const size_t i =
        halve ? PairBlocks(rows[2], pairs, overlap, [o, r](size_t at) { TwoChromaBlock<true>(o, r, at); })
              : PairBlocks(rows[2], pairs, overlap, [o, r](size_t at) { TwoChromaBlock<false>(o, r, at); });
    // The rest pair by pair.
    for (int p = 0; p < 2; ++p) {
        const Rows3 a{rows[2 * p], rows[2 * p + 2], rows[2 * p + 1]};
        const Rows3 b{rows[2 * p + 1], rows[2 * p + 3], rows[2 * p + 2]};
        PackedChromaPlain(out.u[p] + i, out.v[p] + i, RowsFrom(a, 4 * i), RowsFrom(b, 4 * i), pairs - i);
        if (halve) HalvePackedRowPlain(out.halved[p] + 2 * i, rows[2 * p + 1] + 4 * i, pairs - i);
    }
}

void HalvePackedRowAvx2(uint8_t* out, const uint8_t* row, size_t pairs) {
    size_t i = 0;
    for (; i + 16 <= pairs; i += 16) Store32(out + 2 * i, HalvedOf(Load32(row + 4 * i), Load32(row + 4 * i + 32)));
    HalvePackedRowPlain(out + 2 * i, row + 4 * i, pairs - i);
}

}  // namespace tarn
