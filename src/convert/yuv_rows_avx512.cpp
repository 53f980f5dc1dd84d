// Row primitives of the YUV side: AVX-512 forms (F, BW and VL) of the rows
// that carry whole frames: packed 4:2:2 to 32-bit and the row-pair forms
// from planar. Every other row primitive is the AVX2 one. Same bytes as the
// plain forms.
//
// All arithmetic stays inside 128-bit lanes, as in the AVX2 forms; the one
// permute a step spends on its input puts the pixels where the in-lane packs
// and unpacks leave them in order. Only byte shuffles within lanes and
// dword/qword/word permutes are used (no byte permutes, which need VBMI).
#include <immintrin.h>

#include "convert/packed_pair_rows.h"
#include "convert/simd_constant.h"
#include "convert/smoothing.h"
#include "convert/yuv_rows.h"
#include "convert/yuv_rows_sse2.h"

namespace tarn {

namespace {

inline __m512i Load64(const uint8_t* p) { return _mm512_loadu_si512(p); }
inline __m256i Load32(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }

// The same 16 bytes in every lane.
inline __m512i EachLane(__m128i v) { return _mm512_broadcast_i32x4(v); }

// Position 4i + j takes dword (or for CrossWords, word) i + 4j: lane i then
// holds elements i, i + 4, i + 8 and i + 12. In-lane unpacks of the low and
// high halves take elements i, i + 4 and i + 8, i + 12 of every lane, so
// their results, read lane by lane, are elements 0-3, 4-7, 8-11, 12-15: in
// order.
inline __m512i CrossDwords(__m512i v) {
    return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), v);
}
inline __m256i CrossWords(__m256i v) {
    return _mm256_permutexvar_epi16(_mm256_setr_epi16(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), v);
}
// Qwords 0, 4, 1, 5, 2, 6, 3, 7: the in-lane low and high halves of the
// result are qwords 0-3 and 4-7.
inline __m512i CrossQwords(__m512i v) { return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7), v); }

// Blue, green and red of 32 pixels as 16-bit lanes, before saturation.
struct Words32 {
    __m512i b, g, r;
};

// 32 pixels as blue, green, red, 0: the first four pixels of each lane in
// lo, the last four in hi. Blue and green are packed with saturation and
// interleaved by one shuffle; red is clamped to 0..255 in its 16-bit lanes,
// which is the same saturation and already the red-and-0 half of each pixel.
struct BgraHalves {
    __m512i lo, hi;
};
inline BgraHalves BgraOf(const Words32& c) {
    const __m512i interleave = EachLane(_mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15));
    const __m512i bg = _mm512_shuffle_epi8(_mm512_packus_epi16(c.b, c.g), interleave);
    const __m512i r0 = _mm512_min_epi16(_mm512_max_epi16(c.r, _mm512_setzero_si512()), _mm512_set1_epi16(255));
    return {_mm512_unpacklo_epi16(bg, r0), _mm512_unpackhi_epi16(bg, r0)};
}

// Luma times 74 and the three chroma terms, offsets folded into the chroma
// products (74 (y - 16) + 129 (u - 128) is 74 y + (129 u - 17696), and so
// on): the products wrap in 16 bits on the way but end within them, and the
// saturating sums see the same totals as the vector form, so they saturate
// alike.
inline Words32 Colour(__m512i l, __m512i ub, __m512i gc, __m512i vr) {
    return {_mm512_srai_epi16(_mm512_adds_epi16(l, ub), 6), _mm512_srai_epi16(_mm512_subs_epi16(l, gc), 6),
            _mm512_srai_epi16(_mm512_adds_epi16(l, vr), 6)};
}

// ---- packed 4:2:2 to 32-bit ----

// 32 packed pixels (64 bytes), their qwords crossed: luma is the low byte of
// each word, each pixel's chroma Cb or Cr of its own 4-byte group, doubled
// by one byte shuffle.
inline Words32 PackedWords(__m512i a) {
    const __m512i l = _mm512_maddubs_epi16(a, Multiplier(_mm512_set1_epi16(74)));
    const __m512i c16 = _mm512_srli_epi16(a, 8);  // u v u v ..., as stored
    const __m512i evens = EachLane(_mm_setr_epi8(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13));
    const __m512i odds = EachLane(_mm_setr_epi8(2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15));
    // 129 u and 102 v side by side; 25 u + 52 v in the low half of each dword.
    const __m512i ubvr = _mm512_sub_epi16(_mm512_mullo_epi16(c16, Multiplier(_mm512_set1_epi32(0x00660081))),
                                          _mm512_set1_epi32((14240 << 16) | 17696));
    const __m512i gc = _mm512_sub_epi32(_mm512_madd_epi16(c16, Multiplier(_mm512_set1_epi32(0x00340019))),
                                        _mm512_set1_epi32(8672));
    return Colour(l, _mm512_shuffle_epi8(ubvr, evens), _mm512_shuffle_epi8(gc, evens), _mm512_shuffle_epi8(ubvr, odds));
}

// Each pixel's colour depends on its own 4-byte group only, so the groups
// may be taken in any order: crossing the source qwords (4 pixels each)
// makes the halves of BgraOf pixels 0-15 and 16-31. A last 16 pixels load
// 32 bytes, and the low half alone is theirs.
void Yuy2ToBgraAvx512(uint8_t* dst, const uint8_t* src, size_t pixels) {
    size_t i = 0;
    for (; i + 32 <= pixels; i += 32, dst += 128) {
        const BgraHalves q = BgraOf(PackedWords(CrossQwords(Load64(src + 2 * i))));
        _mm512_storeu_si512(dst, q.lo);
        _mm512_storeu_si512(dst + 64, q.hi);
    }
    if (i < pixels)
        _mm512_storeu_si512(dst, BgraOf(PackedWords(CrossQwords(_mm512_castsi256_si512(Load32(src + 2 * i))))).lo);
}

// ---- row pairs from planar ----

// How a pair form stores: ordinary stores, or streaming 16-byte stores on
// rows aligned to 16. Rows on one 32- or 64-byte phase streamed 32 or 64
// bytes at a time, the units before the first boundary 16 at a time, took
// longer on 1080p: packed output a tenth (32) to a fifth (64) longer, 32-bit
// output no less time.
enum class Put : uint8_t { Plain, Stream16 };

template <Put P>
inline void PutWhole(uint8_t* p, __m512i v) {
    if constexpr (P == Put::Stream16) {
        __m128i* q = reinterpret_cast<__m128i*>(p);
        _mm_stream_si128(q, _mm512_castsi512_si128(v));
        _mm_stream_si128(q + 1, _mm512_extracti32x4_epi32(v, 1));
        _mm_stream_si128(q + 2, _mm512_extracti32x4_epi32(v, 2));
        _mm_stream_si128(q + 3, _mm512_extracti32x4_epi32(v, 3));
    } else {
        _mm512_storeu_si512(p, v);
    }
}

// The dwords [from, to) of v to p (dword k at p + 4k), from and to multiples
// of 4 when streamed (16-byte quarters, p 16-byte aligned).
template <Put P>
inline void PutPart(uint8_t* p, __m512i v, unsigned from, unsigned to) {
    if (from >= to) return;
    if constexpr (P == Put::Plain) {
        const __mmask16 m = static_cast<__mmask16>(((1u << (to - from)) - 1) << from);
        _mm512_mask_storeu_epi32(p, m, v);
    } else {
        alignas(64) uint8_t q[64];
        _mm512_store_si512(q, v);
        for (unsigned k = from; k < to; k += 4)
            _mm_stream_si128(reinterpret_cast<__m128i*>(p + 4 * k), _mm_load_si128(reinterpret_cast<__m128i*>(q + 4 * k)));
    }
}

// The 4-byte units [from, to) of the 64 units at p, given as four registers.
template <Put P>
inline void PutUnits(uint8_t* p, const __m512i v[4], size_t from, size_t to) {
    for (unsigned k = 0; k < 4; ++k) {
        const size_t lo = 16 * k, hi = lo + 16;
        const size_t a = from > lo ? from : lo, b = to < hi ? to : hi;
        if (a < b) PutPart<P>(p + 4 * lo, v[k], unsigned(a - lo), unsigned(b - lo));
    }
}

template <Put P>
inline void PutAll(uint8_t* p, const __m512i v[4]) {
    for (int k = 0; k < 4; ++k) PutWhole<P>(p + 64 * k, v[k]);
}

inline __m512i Avg3(__m512i a, __m512i b, __m512i c) { return _mm512_avg_epu8(_mm512_avg_epu8(a, b), c); }

// Loads of a block: 64 bytes of luma and 32 of chroma, or for a row of
// fewer pixels (a multiple of 16) only the dwords of its own, the rest read
// as 0.
struct Loader {
    Loader() = default;
    explicit Loader(size_t pixels)
        : luma(static_cast<__mmask16>((1u << (pixels / 4)) - 1)), chroma(static_cast<__mmask8>((1u << (pixels / 8)) - 1)) {}
    __m512i operator()(const uint8_t* p) const {
        return luma == 0xFFFF ? Load64(p) : _mm512_maskz_loadu_epi32(luma, p);
    }
    __m256i Half(const uint8_t* p) const { return chroma == 0xFF ? Load32(p) : _mm256_maskz_loadu_epi32(chroma, p); }
    __mmask16 luma = 0xFFFF;
    __mmask8 chroma = 0xFF;
};

inline __m512i Smooth64(const Rows3& r, size_t i, Loader ld) { return Avg3(ld(r.a + i), ld(r.b + i), ld(r.c + i)); }
inline __m256i Smooth32(const Rows3& r, size_t i, Loader ld) {
    return _mm256_avg_epu8(_mm256_avg_epu8(ld.Half(r.a + i), ld.Half(r.b + i)), ld.Half(r.c + i));
}

// The smoothed luma of both rows of a pair at offset j. With Shared the
// second row's neighbour and centre are the first row's centre and
// neighbour, and four loads serve both.
template <bool Shared>
inline void PairLuma64(const RowPair& p, size_t j, Loader ld, __m512i s[2]) {
    const __m512i a0 = ld(p.y[0].a + j), b0 = ld(p.y[0].b + j), c0 = ld(p.y[0].c + j);
    const __m512i a1 = Shared ? c0 : ld(p.y[1].a + j), c1 = Shared ? b0 : ld(p.y[1].c + j);
    s[0] = Avg3(a0, b0, c0);
    s[1] = Avg3(a1, ld(p.y[1].b + j), c1);
}

// The chroma terms of 64 pixels, each doubled, for the luma of CrossDwords:
// half[0] for the low byte half of each lane, half[1] for the high.
struct ChromaTerms {
    __m512i ub, gc, vr;
};
struct Doubled {
    ChromaTerms half[2];
};
inline Doubled ChromaFor64(__m256i u8, __m256i v8) {
    const __m512i u16 = _mm512_cvtepu8_epi16(CrossWords(u8)), v16 = _mm512_cvtepu8_epi16(CrossWords(v8));
    const ChromaTerms t = {
        _mm512_sub_epi16(_mm512_mullo_epi16(u16, Multiplier(_mm512_set1_epi16(129))), _mm512_set1_epi16(17696)),
        _mm512_sub_epi16(_mm512_add_epi16(_mm512_mullo_epi16(u16, Multiplier(_mm512_set1_epi16(25))),
                                          _mm512_mullo_epi16(v16, Multiplier(_mm512_set1_epi16(52)))),
                         _mm512_set1_epi16(8672)),
        _mm512_sub_epi16(_mm512_mullo_epi16(v16, Multiplier(_mm512_set1_epi16(102))), _mm512_set1_epi16(14240))};
    Doubled d;
    d.half[0] = {_mm512_unpacklo_epi16(t.ub, t.ub), _mm512_unpacklo_epi16(t.gc, t.gc), _mm512_unpacklo_epi16(t.vr, t.vr)};
    d.half[1] = {_mm512_unpackhi_epi16(t.ub, t.ub), _mm512_unpackhi_epi16(t.gc, t.gc), _mm512_unpackhi_epi16(t.vr, t.vr)};
    return d;
}

// 64 pixels of one row from its smoothed luma: px[k] holds pixels
// 16k..16k + 15 as blue, green, red, 0. The luma dwords (4 pixels) are
// crossed as the chroma words (2 samples, the same 4 pixels) were.
inline void BgraOf64(__m512i y8, const Doubled& c, __m512i px[4]) {
    const __m512i y = CrossDwords(y8), zero = _mm512_setzero_si512();
    const __m512i ys[2] = {_mm512_unpacklo_epi8(y, zero), _mm512_unpackhi_epi8(y, zero)};
    for (int h = 0; h < 2; ++h) {
        const __m512i l = _mm512_mullo_epi16(ys[h], Multiplier(_mm512_set1_epi16(74)));
        const BgraHalves q = BgraOf(Colour(l, c.half[h].ub, c.half[h].gc, c.half[h].vr));
        px[2 * h] = q.lo;
        px[2 * h + 1] = q.hi;
    }
}

// Both rows of the 64 pixels at pixel i, the chroma terms made once for
// both; put(r, px) stores row r.
template <bool Shared, class Store>
inline void BgraBlock(const RowPair& p, size_t i, Loader ld, Store put) {
    const size_t h = i / 2;
    const Doubled c = ChromaFor64(Smooth32(p.u, h, ld), Smooth32(p.v, h, ld));
    __m512i s[2];
    PairLuma64<Shared>(p, i, ld, s);
    for (int r = 0; r < 2; ++r) {
        __m512i px[4];
        BgraOf64(s[r], c, px);
        put(r, px);
    }
}

// Whether a pair's rows are written with streaming stores: asked for, and
// both rows aligned to 16.
inline Put PutOf(const RowPair& p) {
    const uintptr_t a = reinterpret_cast<uintptr_t>(p.out[0]), b = reinterpret_cast<uintptr_t>(p.out[1]);
    return p.stream && ((a | b) & 15) == 0 ? Put::Stream16 : Put::Plain;
}

// The rows of a pair in blocks of 64 units (a unit is one 4-byte pixel or
// one 4-byte packed pair), `units` at least 64: block(i, put) makes both
// rows of units i..i + 63 and hands each row's four registers to put(r, v).
// Whatever is left after the steps, fewer than 64 units, is stored from one
// more block ending at the rows' end, so every unit is stored once (with
// ordinary stores where that block is not 16-byte aligned).
template <Put P, class Block>
inline void PairSteps(const RowPair& p, size_t units, Block block) {
    size_t i = 0;
    for (; i + 64 <= units; i += 64)
        block(i, [&p, i](int r, const __m512i v[4]) { PutAll<P>(p.out[r] + 4 * i, v); });
    if (i == units) return;
    const size_t at = units - 64, from = i - at;
    block(at, [&p, at, from](int r, const __m512i v[4]) {
        if (P != Put::Plain && (at & 3) != 0)
            PutUnits<Put::Plain>(p.out[r] + 4 * at, v, from, 64);
        else
            PutUnits<P>(p.out[r] + 4 * at, v, from, 64);
    });
}

// A row shorter than a block is one block of masked loads.
template <bool Shared, Put P>
void PairToBgraSteps(const RowPair& rows, size_t pixels) {
    const RowPair p = rows;  // kept in registers: the stores may alias `rows`
    if (pixels < 64) {
        BgraBlock<Shared>(p, 0, Loader(pixels),
                          [&p, pixels](int r, const __m512i v[4]) { PutUnits<P>(p.out[r], v, 0, pixels); });
        return;
    }
    PairSteps<P>(p, pixels, [&p](size_t i, auto put) { BgraBlock<Shared>(p, i, Loader{}, put); });
}

template <class Fn>
using StepTable = const Fn[2][2];  // [shared luma][Put]
constexpr StepTable<void (*)(const RowPair&, size_t)> kBgraSteps = {
    {PairToBgraSteps<false, Put::Plain>, PairToBgraSteps<false, Put::Stream16>},
    {PairToBgraSteps<true, Put::Plain>, PairToBgraSteps<true, Put::Stream16>}};

void SmoothPairToBgraAvx512(const RowPair& rows, size_t pixels) {
    if (pixels == 0) return;
    kBgraSteps[rows.SharedLuma()][static_cast<int>(PutOf(rows))](rows, pixels);
}

// 64 packed pairs of both rows: the chroma smoothed once for both. Crossing
// the chroma dwords (4 samples) makes the in-lane byte unpacks of Cb and Cr
// hold, lane by lane, the chroma of pairs 0-3, 16-19 | 4-7, 20-23 | ...,
// and crossing each luma register's qwords (4 pairs) brings the luma of the
// same pairs into the same lanes: the unpacks of luma and chroma are then
// pairs 0-15, 16-31, ... in order.
template <bool Shared, class Store>
inline void Yuy2Block(const RowPair& p, size_t i, Store put) {
    const Loader ld;
    const __m512i uu = CrossDwords(Smooth64(p.u, i, ld)), vv = CrossDwords(Smooth64(p.v, i, ld));
    const __m512i uv[2] = {_mm512_unpacklo_epi8(uu, vv), _mm512_unpackhi_epi8(uu, vv)};
    __m512i s[2][2];  // [half][row]
    PairLuma64<Shared>(p, 2 * i, ld, s[0]);
    PairLuma64<Shared>(p, 2 * i + 64, ld, s[1]);
    for (int r = 0; r < 2; ++r) {
        __m512i v[4];
        for (int h = 0; h < 2; ++h) {
            const __m512i y = CrossQwords(s[h][r]);
            v[2 * h] = _mm512_unpacklo_epi8(y, uv[h]);
            v[2 * h + 1] = _mm512_unpackhi_epi8(y, uv[h]);
        }
        put(r, v);
    }
}

// Rows shorter than a block go by the 16-pair steps of the narrower forms.
template <bool Shared, Put P>
void PairToYuy2Steps(const RowPair& rows, size_t pairs) {
    const RowPair p = rows;  // kept in registers: the stores may alias `rows`
    if (pairs < 64) {
        const uint8_t* us[3] = {p.u.a, p.u.b, p.u.c};
        const uint8_t* vs[3] = {p.v.a, p.v.b, p.v.c};
        for (int r = 0; r < 2; ++r) {
            const uint8_t* ys[3] = {p.y[r].a, p.y[r].b, p.y[r].c};
            SmoothToYuy2Simd(p.out[r], ys, us, vs, 0, pairs);
        }
        return;
    }
    PairSteps<P>(p, pairs, [&p](size_t i, auto put) { Yuy2Block<Shared>(p, i, put); });
}

constexpr StepTable<void (*)(const RowPair&, size_t)> kYuy2Steps = {
    {PairToYuy2Steps<false, Put::Plain>, PairToYuy2Steps<false, Put::Stream16>},
    {PairToYuy2Steps<true, Put::Plain>, PairToYuy2Steps<true, Put::Stream16>}};

void SmoothPairToYuy2Avx512(const RowPair& rows, size_t pairs) {
    if (pairs == 0) return;
    kYuy2Steps[rows.SharedLuma()][static_cast<int>(PutOf(rows))](rows, pairs);
}

}  // namespace

// Addresses only, fixed before any code runs: nothing of this file may run
// when the library loads, on a processor that may lack its instructions.
constinit const YuvRowsOwnAvx512 kYuvRowsOwnAvx512 = {Yuy2ToBgraAvx512, SmoothPairToYuy2Avx512,
                                                      SmoothPairToBgraAvx512, SmoothPairFromYuy2Avx512};

}  // namespace tarn
