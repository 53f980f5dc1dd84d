// Row primitives of the YUV side: AVX2 forms. The arithmetic of the vector
// form runs 16 pixels per 256-bit register; packing and interleaving go at
// 128 bits (yuv_rows_sse2.h, built here with AVX2 encoding). Same bytes as
// the plain forms.
#include <immintrin.h>

#include "convert/packed_pair_rows.h"
#include "convert/smoothing.h"
#include "convert/yuv_rows.h"
#include "convert/yuv_rows_sse2.h"

namespace tarn {

namespace {

inline __m256i Load32(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void Store32(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

// 32 bytes to p; with Stream as two streaming 16-byte stores, p 16-byte
// aligned (pixel buffers are aligned to 16, seldom to 32).
template <bool Stream>
inline void Put32(uint8_t* p, __m256i v) {
    if constexpr (Stream) {
        _mm_stream_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(v));
        _mm_stream_si128(reinterpret_cast<__m128i*>(p + 16), _mm256_extracti128_si256(v, 1));
    } else {
        Store32(p, v);
    }
}

// Whether a pair's rows are written with streaming stores: asked for, and
// both rows aligned as Put32 needs.
inline bool Streamed(const RowPair& p) {
    return p.stream && ((reinterpret_cast<uintptr_t>(p.out[0]) | reinterpret_cast<uintptr_t>(p.out[1])) & 15) == 0;
}

void SmoothAvx2(uint8_t* out, const uint8_t* a, const uint8_t* b, const uint8_t* c, size_t n) {
    size_t i = 0;
    for (; i + 32 <= n; i += 32)
        Store32(out + i, _mm256_avg_epu8(_mm256_avg_epu8(Load32(a + i), Load32(b + i)), Load32(c + i)));
    for (; i < n; ++i) out[i] = static_cast<uint8_t>(Smooth(a[i], b[i], c[i]));
}

void AverageAvx2(uint8_t* out, const uint8_t* a, const uint8_t* b, size_t n) {
    size_t i = 0;
    for (; i + 32 <= n; i += 32) Store32(out + i, _mm256_avg_epu8(Load32(a + i), Load32(b + i)));
    for (; i < n; ++i) out[i] = static_cast<uint8_t>(RoundAvg(a[i], b[i]));
}

// Each chroma sample of the low 8 bytes doubled, for 16 pixels, offset
// removed.
inline __m256i Chroma16(__m128i c8) {
    const __m128i c16 = _mm_sub_epi16(_mm_cvtepu8_epi16(c8), _mm_set1_epi16(128));
    return _mm256_set_m128i(_mm_unpackhi_epi16(c16, c16), _mm_unpacklo_epi16(c16, c16));
}

inline __m128i PackHalves(__m256i v) {
    return _mm_packus_epi16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
}

// 32 pixels at a time. The products of chroma are taken at chroma resolution
// and then doubled, which gives the same 16-bit values as per pixel. In-lane
// unpacks leave luma as pixels 0-7 | 16-23 and 8-15 | 24-31, and the doubled
// chroma falls in the same order, so the packs come out in pixel order.
struct Products {
    __m256i ub, gc, vr;  // 129 u', 25 u' +s 52 v', 102 v'
};
inline Products ChromaProducts(__m256i u16, __m256i v16) {
    return {_mm256_mullo_epi16(u16, Multiplier(_mm256_set1_epi16(129))),
            _mm256_adds_epi16(_mm256_mullo_epi16(u16, Multiplier(_mm256_set1_epi16(25))),
                              _mm256_mullo_epi16(v16, Multiplier(_mm256_set1_epi16(52)))),
            _mm256_mullo_epi16(v16, Multiplier(_mm256_set1_epi16(102)))};
}

// Blue, green, red (16-bit) of luma y' (offset removed) with its products.
inline void Colour(__m256i y16, __m256i ub, __m256i gc, __m256i vr, __m256i* b, __m256i* g, __m256i* r) {
    const __m256i l = _mm256_mullo_epi16(y16, Multiplier(_mm256_set1_epi16(74)));
    *b = _mm256_srai_epi16(_mm256_adds_epi16(l, ub), 6);
    *g = _mm256_srai_epi16(_mm256_subs_epi16(l, gc), 6);
    *r = _mm256_srai_epi16(_mm256_adds_epi16(l, vr), 6);
}

// Blue, green and red of 16 pixels as 16-bit lanes, before saturation.
struct Words16 {
    __m256i b, g, r;
};

// 16 planar pixels in order: y8 luma, u8 and v8 chroma in their low 8 bytes.
inline Words16 PlanarWords16(__m128i y8, __m128i u8, __m128i v8) {
    const Products p = ChromaProducts(Chroma16(u8), Chroma16(v8));
    Words16 w;
    Colour(_mm256_sub_epi16(_mm256_cvtepu8_epi16(y8), _mm256_set1_epi16(16)), p.ub, p.gc, p.vr, &w.b, &w.g, &w.r);
    return w;
}

// The same as bytes for the 128-bit stores.
inline Channels Bytes16(const Words16& w) { return {PackHalves(w.b), PackHalves(w.g), PackHalves(w.r)}; }

struct Bytes32 {
    __m256i b, g, r;  // 32 pixels in order
};

// The chroma products of 32 pixels, each doubled: [0] for pixels 0-7 | 16-23,
// [1] for 8-15 | 24-31. A row pair computes them once for both rows.
struct Doubled {
    Products half[2];
};
//
// The offsets of luma and chroma are folded into the products, so that luma
// goes in as stored: 74 (y - 16) + 129 (u - 128) is 74 y + (129 u - 17696),
// and likewise 74 (y - 16) - gc is 74 y - (25 u + 52 v - 8672) and
// 74 (y - 16) + 102 (v - 128) is 74 y + (102 v - 14240). The products wrap
// in 16 bits on the way but end within them, and the saturating sums see the
// same totals as before, so they saturate alike.
inline Doubled ChromaFor32(__m128i u8, __m128i v8) {
    const __m256i u16 = _mm256_cvtepu8_epi16(u8), v16 = _mm256_cvtepu8_epi16(v8);
    const Products p = {
        _mm256_sub_epi16(_mm256_mullo_epi16(u16, Multiplier(_mm256_set1_epi16(129))), _mm256_set1_epi16(17696)),
        _mm256_sub_epi16(_mm256_add_epi16(_mm256_mullo_epi16(u16, Multiplier(_mm256_set1_epi16(25))),
                                          _mm256_mullo_epi16(v16, Multiplier(_mm256_set1_epi16(52)))),
                         _mm256_set1_epi16(8672)),
        _mm256_sub_epi16(_mm256_mullo_epi16(v16, Multiplier(_mm256_set1_epi16(102))), _mm256_set1_epi16(14240))};
    Doubled d;
    d.half[0] = {_mm256_unpacklo_epi16(p.ub, p.ub), _mm256_unpacklo_epi16(p.gc, p.gc),
                 _mm256_unpacklo_epi16(p.vr, p.vr)};
    d.half[1] = {_mm256_unpackhi_epi16(p.ub, p.ub), _mm256_unpackhi_epi16(p.gc, p.gc),
                 _mm256_unpackhi_epi16(p.vr, p.vr)};
    return d;
}

// 16 packed pixels (32 bytes): luma is the low byte of each word; each
// pixel's chroma is Cb or Cr of its own 4-byte group, doubled by one byte
// shuffle. Pixels come out in order, 0-7 | 8-15.
inline Words16 PackedWords(__m256i a) {
    const __m256i low = _mm256_set1_epi16(0x00FF);
    const __m256i y16 = _mm256_sub_epi16(_mm256_and_si256(a, low), _mm256_set1_epi16(16));
    const __m256i c16 = _mm256_sub_epi16(_mm256_srli_epi16(a, 8), _mm256_set1_epi16(128));  // u v u v ...
    const __m256i evens = _mm256_setr_epi8(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13,
                                           0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13);
    const __m256i odds = _mm256_setr_epi8(2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15,
                                          2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15);
    // 129 u' and 102 v' side by side; 25 u' + 52 v' (never beyond 16 bits,
    // so the same as the saturating sum) in the low half of each dword.
    const __m256i ubvr = _mm256_mullo_epi16(c16, Multiplier(_mm256_set1_epi32(0x00660081)));
    const __m256i gc = _mm256_madd_epi16(c16, Multiplier(_mm256_set1_epi32(0x00340019)));
    Words16 w;
    Colour(y16, _mm256_shuffle_epi8(ubvr, evens), _mm256_shuffle_epi8(gc, evens), _mm256_shuffle_epi8(ubvr, odds),
           &w.b, &w.g, &w.r);
    return w;
}

// 32 packed pixels as bytes. The in-lane pack leaves 0-7, 16-23 | 8-15,
// 24-31; the permute orders it.
inline Bytes32 Packed32(const uint8_t* src) {
    const Words16 w[2] = {PackedWords(Load32(src)), PackedWords(Load32(src + 32))};
    const auto pack = [](__m256i x, __m256i y) {
        return _mm256_permute4x64_epi64(_mm256_packus_epi16(x, y), _MM_SHUFFLE(3, 1, 2, 0));
    };
    return {pack(w[0].b, w[1].b), pack(w[0].g, w[1].g), pack(w[0].r, w[1].r)};
}

// Stores 16 pixels given as 16-bit lanes as blue, green, red, 0: the eight
// of the low lane at lo, those of the high lane at hi. Blue and green are
// packed with saturation and interleaved by one shuffle; red is clamped to
// 0..255 in its 16-bit lanes, which is the same saturation and already the
// red-and-0 half of each pixel.
struct BgraHalves {
    __m256i lo, hi;  // the first four pixels of each lane, the last four
};
inline BgraHalves BgraOf(const Words16& c) {
    const __m256i interleave = _mm256_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15,
                                                0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15);
    const __m256i bg = _mm256_shuffle_epi8(_mm256_packus_epi16(c.b, c.g), interleave);
    const __m256i r0 = _mm256_min_epi16(_mm256_max_epi16(c.r, _mm256_setzero_si256()), _mm256_set1_epi16(255));
    return {_mm256_unpacklo_epi16(bg, r0), _mm256_unpackhi_epi16(bg, r0)};
}

template <bool Stream = false>
inline void StoreBgraLanes(uint8_t* lo, uint8_t* hi, const Words16& c) {
    const BgraHalves q = BgraOf(c);
    Put32<Stream>(lo, _mm256_permute2x128_si256(q.lo, q.hi, 0x20));
    Put32<Stream>(hi, _mm256_permute2x128_si256(q.lo, q.hi, 0x31));
}

// y8: 32 luma bytes with the chroma of ChromaFor32 (luma as stored); w[0]
// holds pixels 0-7 | 16-23, w[1] pixels 8-15 | 24-31.
inline void PlanarWords(__m256i y8, const Doubled& c, Words16 w[2]) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i ys[2] = {_mm256_unpacklo_epi8(y8, zero), _mm256_unpackhi_epi8(y8, zero)};
    for (int h = 0; h < 2; ++h) Colour(ys[h], c.half[h].ub, c.half[h].gc, c.half[h].vr, &w[h].b, &w[h].g, &w[h].r);
}

inline Bytes32 Planar32(__m256i y8, const Doubled& c) {
    Words16 w[2];
    PlanarWords(y8, c, w);
    return {_mm256_packus_epi16(w[0].b, w[1].b), _mm256_packus_epi16(w[0].g, w[1].g),
            _mm256_packus_epi16(w[0].r, w[1].r)};
}

// 32 pixels of PlanarWords as blue, green, red, 0.
template <bool Stream = false>
inline void StorePlanarBgra32(uint8_t* dst, __m256i y8, const Doubled& c) {
    Words16 w[2];
    PlanarWords(y8, c, w);
    StoreBgraLanes<Stream>(dst, dst + 64, w[0]);
    StoreBgraLanes<Stream>(dst + 32, dst + 96, w[1]);
}

inline Bytes32 Planar32(const uint8_t* y, const uint8_t* u, const uint8_t* v) {
    return Planar32(Load32(y), ChromaFor32(Load(u), Load(v)));
}

// Four registers of 4-byte pixels: 0-3 | 16-19, 4-7 | 20-23, 8-11 | 24-27,
// 12-15 | 28-31.
inline void Quads(const Bytes32& c, __m256i q[4]) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i bgLo = _mm256_unpacklo_epi8(c.b, c.g), bgHi = _mm256_unpackhi_epi8(c.b, c.g);
    const __m256i r0Lo = _mm256_unpacklo_epi8(c.r, zero), r0Hi = _mm256_unpackhi_epi8(c.r, zero);
    q[0] = _mm256_unpacklo_epi16(bgLo, r0Lo);
    q[1] = _mm256_unpackhi_epi16(bgLo, r0Lo);
    q[2] = _mm256_unpacklo_epi16(bgHi, r0Hi);
    q[3] = _mm256_unpackhi_epi16(bgHi, r0Hi);
}

// 3-byte pixels, 12 bytes per four, in increasing order so that the 4 bytes
// each 16-byte store writes beyond are rewritten by the next; the last four
// of a row go exactly.
inline void StoreBgr32(uint8_t* dst, const Bytes32& c, bool last) {
    __m256i q[4];
    Quads(c, q);
    const __m256i squeeze = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,
                                             0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    __m128i lanes[8];
    for (int k = 0; k < 4; ++k) {
        const __m256i s = _mm256_shuffle_epi8(q[k], squeeze);
        lanes[k] = _mm256_castsi256_si128(s);
        lanes[4 + k] = _mm256_extracti128_si256(s, 1);
    }
    for (int k = 0; k < 7; ++k) Store(dst + 12 * k, lanes[k]);
    if (last) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 84), lanes[7]);
        const int32_t tail = _mm_cvtsi128_si32(_mm_srli_si128(lanes[7], 8));
        std::memcpy(dst + 92, &tail, 4);
    } else {
        Store(dst + 84, lanes[7]);
    }
}

void ToBgraAvx2(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t pixels) {
    size_t i = 0;
    for (; i + 32 <= pixels; i += 32, dst += 128)
        StorePlanarBgra32(dst, Load32(y + i), ChromaFor32(Load(u + i / 2), Load(v + i / 2)));
    if (i < pixels) StoreBgraLanes(dst, dst + 32, PlanarWords16(Load(y + i), Load8(u + i / 2), Load8(v + i / 2)));
}

void ToBgrAvx2(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t pixels) {
    size_t i = 0;
    for (; i + 32 <= pixels; i += 32, dst += 96) StoreBgr32(dst, Planar32(y + i, u + i / 2, v + i / 2), i + 32 == pixels);
    if (i < pixels) {
        __m128i px[4];
        Interleave(Bytes16(PlanarWords16(Load(y + i), Load8(u + i / 2), Load8(v + i / 2))), px);
        StoreBgr(dst, px, true);
    }
}

// PackedWords with the offsets folded into the products, as ChromaFor32
// does: luma as stored times 74 (one multiply-add of the bytes, chroma
// weighted 0), chroma products less 17696, 8672 and 14240. Each saturating
// sum sees the same total as in PackedWords and saturates alike.
inline Words16 PackedWordsFolded(__m256i a) {
    const __m256i l = _mm256_maddubs_epi16(a, Multiplier(_mm256_set1_epi16(74)));
    const __m256i c16 = _mm256_srli_epi16(a, 8);  // u v u v ..., as stored
    const __m256i evens = _mm256_setr_epi8(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13,
                                           0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13);
    const __m256i odds = _mm256_setr_epi8(2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15,
                                          2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15);
    const __m256i ubvr = _mm256_sub_epi16(_mm256_mullo_epi16(c16, Multiplier(_mm256_set1_epi32(0x00660081))),
                                          _mm256_set1_epi32((14240 << 16) | 17696));
    const __m256i gc = _mm256_sub_epi32(_mm256_madd_epi16(c16, Multiplier(_mm256_set1_epi32(0x00340019))),
                                        _mm256_set1_epi32(8672));
    Words16 w;
    w.b = _mm256_srai_epi16(_mm256_adds_epi16(l, _mm256_shuffle_epi8(ubvr, evens)), 6);
    w.g = _mm256_srai_epi16(_mm256_subs_epi16(l, _mm256_shuffle_epi8(gc, evens)), 6);
    w.r = _mm256_srai_epi16(_mm256_adds_epi16(l, _mm256_shuffle_epi8(ubvr, odds)), 6);
    return w;
}

// `pixels` is a multiple of 16: one 32-byte load a step. Each pixel's colour
// depends on its own 4-byte group only, so the groups may be taken in any
// order: one 64-bit permute of the source puts pixels 0-3, 8-11 | 4-7,
// 12-15 in the lanes, and the unpacks of BgraOf then give pixels 0-7 and
// 8-15 in order, where ordering the output would take two lane permutes.
void Yuy2ToBgraAvx2(uint8_t* dst, const uint8_t* src, size_t pixels) {
    for (size_t i = 0; i < pixels; i += 16, dst += 64) {
        const __m256i a = _mm256_permute4x64_epi64(Load32(src + 2 * i), _MM_SHUFFLE(3, 1, 2, 0));
        const BgraHalves q = BgraOf(PackedWordsFolded(a));
        Store32(dst, q.lo);
        Store32(dst + 32, q.hi);
    }
}

void Yuy2ToBgrAvx2(uint8_t* dst, const uint8_t* src, size_t pixels) {
    size_t i = 0;
    for (; i + 32 <= pixels; i += 32, dst += 96) StoreBgr32(dst, Packed32(src + 2 * i), i + 32 == pixels);
    if (i < pixels) {
        __m128i px[4];
        Interleave(Bytes16(PackedWords(Load32(src + 2 * i))), px);
        StoreBgr(dst, px, true);
    }
}

inline __m256i Smooth32(const uint8_t* a, const uint8_t* b, const uint8_t* c) {
    return _mm256_avg_epu8(_mm256_avg_epu8(Load32(a), Load32(b)), Load32(c));
}

// The smoothed luma of both rows of a pair at offset j. With Shared the
// second row's neighbour and centre are the first row's centre and
// neighbour, and four loads serve both.
template <bool Shared>
inline void PairLuma32(const RowPair& p, size_t j, __m256i* s0, __m256i* s1) {
    const __m256i a0 = Load32(p.y[0].a + j), b0 = Load32(p.y[0].b + j), c0 = Load32(p.y[0].c + j);
    const __m256i a1 = Shared ? c0 : Load32(p.y[1].a + j), c1 = Shared ? b0 : Load32(p.y[1].c + j);
    *s0 = _mm256_avg_epu8(_mm256_avg_epu8(a0, b0), c0);
    *s1 = _mm256_avg_epu8(_mm256_avg_epu8(a1, Load32(p.y[1].b + j)), c1);
}

// 32 pairs a step. A packed register of 16 pairs is the in-lane byte unpack
// of luma and chroma, so each takes the qwords of its lanes in the order
// 0, 2 | 1, 3: one 64-bit permute for each luma register, and for the chroma
// of both rows one lane permute and one 64-bit permute per 16 pairs.
template <bool Shared, bool Stream>
size_t PairToYuy2Steps(const RowPair& rows, size_t pairs) {
    const RowPair p = rows;  // kept in registers: the stores may alias `rows`
    size_t i = 0;
    for (; i + 32 <= pairs; i += 32) {
        const __m256i uu = Smooth32(p.u.a + i, p.u.b + i, p.u.c + i);
        const __m256i vv = Smooth32(p.v.a + i, p.v.b + i, p.v.c + i);
        // Pairs 0-7 | 16-23 and 8-15 | 24-31.
        const __m256i lo = _mm256_unpacklo_epi8(uu, vv), hi = _mm256_unpackhi_epi8(uu, vv);
        const __m256i uv[2] = {
            _mm256_permute4x64_epi64(_mm256_permute2x128_si256(lo, hi, 0x20), _MM_SHUFFLE(3, 1, 2, 0)),
            _mm256_permute4x64_epi64(_mm256_permute2x128_si256(lo, hi, 0x31), _MM_SHUFFLE(3, 1, 2, 0))};
        for (int h = 0; h < 2; ++h) {
            __m256i s[2];
            PairLuma32<Shared>(p, 2 * i + 32 * h, &s[0], &s[1]);
            for (int r = 0; r < 2; ++r) {
                const __m256i y = _mm256_permute4x64_epi64(s[r], _MM_SHUFFLE(3, 1, 2, 0));
                uint8_t* out = p.out[r] + 4 * i + 64 * h;
                Put32<Stream>(out, _mm256_unpacklo_epi8(y, uv[h]));
                Put32<Stream>(out + 32, _mm256_unpackhi_epi8(y, uv[h]));
            }
        }
    }
    return i;
}

// The step loops of a pair form by [shared luma][streamed stores].
template <class Fn>
using StepTable = const Fn[2][2];
constexpr StepTable<size_t (*)(const RowPair&, size_t)> kYuy2Steps = {
    {PairToYuy2Steps<false, false>, PairToYuy2Steps<false, true>},
    {PairToYuy2Steps<true, false>, PairToYuy2Steps<true, true>}};

void SmoothPairToYuy2Avx2(const RowPair& rows, size_t pairs) {
    const size_t done = kYuy2Steps[rows.SharedLuma()][Streamed(rows)](rows, pairs);
    const uint8_t* us[3] = {rows.u.a, rows.u.b, rows.u.c};
    const uint8_t* vs[3] = {rows.v.a, rows.v.b, rows.v.c};
    for (int r = 0; r < 2; ++r) {
        const uint8_t* ys[3] = {rows.y[r].a, rows.y[r].b, rows.y[r].c};
        SmoothToYuy2Simd(rows.out[r], ys, us, vs, done, pairs);
    }
}

inline __m128i Smooth16(const Rows3& r, size_t i) { return Smooth16(r.a + i, r.b + i, r.c + i); }

// 16 pixels of each row at pixel i, by themselves: with ordinary stores,
// or with streaming 16-byte stores the 16-byte quarters [First, End) of the
// 64 bytes (the others are stored by the steps).
template <bool Streamed = false, int First = 0, int End = 4>
inline void PairBgra16(const RowPair& p, size_t i) {
    const size_t h = i / 2;
    for (int r = 0; r < 2; ++r) {
        const Words16 w = PlanarWords16(Smooth16(p.y[r], i), Smooth8(p.u.a + h, p.u.b + h, p.u.c + h),
                                        Smooth8(p.v.a + h, p.v.b + h, p.v.c + h));
        uint8_t* out = p.out[r] + 4 * i;
        if constexpr (!Streamed) {
            StoreBgraLanes(out, out + 32, w);
        } else {
            const BgraHalves q = BgraOf(w);
            const __m128i quarters[4] = {_mm256_castsi256_si128(q.lo), _mm256_castsi256_si128(q.hi),
                                         _mm256_extracti128_si256(q.lo, 1), _mm256_extracti128_si256(q.hi, 1)};
            for (int k = First; k < End; ++k) _mm_stream_si128(reinterpret_cast<__m128i*>(out + 16 * k), quarters[k]);
        }
    }
}

// 32 pixels taken crossed: the luma dwords (4 pixels each) in the order
// 0, 2, 4, 6 | 1, 3, 5, 7, and the chroma words (2 samples each) in the same
// order, so that the doubling unpacks of ChromaFor32 meet the luma unpacks
// of PlanarWords pixel for pixel: w[0] then holds pixels 0-3, 8-11 | 4-7,
// 12-15 and w[1] pixels 16-19, 24-27 | 20-23, 28-31, and the unpacks of
// BgraOf give each 16 in order, with no lane permutes.
inline __m128i CrossChroma(__m128i c) {
    return _mm_shuffle_epi8(c, _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15));
}
inline __m256i CrossLuma(__m256i y) { return _mm256_permutevar8x32_epi32(y, _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7)); }

// 32 pixels of both rows a step, the chroma products made once for both,
// the pixels taken crossed. With Wide (streamed rows on one 32-byte phase)
// every step stores aligned 32 bytes at a time: rows 16 bytes past a 32-byte
// boundary start their steps 4 pixels in, and the pixels before and after
// the steps are made as 16-pixel groups of which only the bytes the steps
// leave are stored, each once (a line written partly by ordinary and partly
// by streaming stores costs a trip to memory). Other streamed rows store 16
// bytes at a time. The pair form alone takes a tenth less time on 1080p than
// storing 16 bytes at a time from pixels in lane order; through SetFormat,
// beside other work, a few percent.
template <bool Shared, bool Stream, bool Wide>
void PairToBgraSteps(const RowPair& rows, size_t pixels) {
    const RowPair p = rows;  // kept in registers: the stores may alias `rows`
    size_t i = 0;
    if (Wide && (reinterpret_cast<uintptr_t>(p.out[0]) & 31) != 0) {
        PairBgra16<true, 0, 1>(p, 0);
        i = 4;
    }
    for (; i + 32 <= pixels; i += 32) {
        const size_t h = i / 2;
        const Doubled c = ChromaFor32(CrossChroma(Smooth16(p.u, h)), CrossChroma(Smooth16(p.v, h)));
        __m256i s[2];
        PairLuma32<Shared>(p, i, &s[0], &s[1]);
        for (int r = 0; r < 2; ++r) {
            Words16 w[2];
            PlanarWords(CrossLuma(s[r]), c, w);
            for (int k = 0; k < 2; ++k) {
                const BgraHalves q = BgraOf(w[k]);
                uint8_t* out = p.out[r] + 4 * i + 64 * k;
                if constexpr (Wide) {
                    _mm256_stream_si256(reinterpret_cast<__m256i*>(out), q.lo);
                    _mm256_stream_si256(reinterpret_cast<__m256i*>(out + 32), q.hi);
                } else {
                    Put32<Stream>(out, q.lo);
                    Put32<Stream>(out + 32, q.hi);
                }
            }
        }
    }
    for (; i + 16 <= pixels; i += 16) PairBgra16<Wide>(p, i);
    if (Wide && i < pixels) PairBgra16<true, 1, 4>(p, pixels - 16);
}

// Whether a streamed pair's rows can take aligned 32-byte stores once 0 or
// 4 pixels in: both on the same 32-byte phase, a whole 16-pixel group to
// begin with.
inline bool WideStreams(const RowPair& p, size_t pixels) {
    const uintptr_t a = reinterpret_cast<uintptr_t>(p.out[0]), b = reinterpret_cast<uintptr_t>(p.out[1]);
    return Streamed(p) && ((a ^ b) & 31) == 0 && pixels >= 16;
}

constexpr void (*kBgraSteps[2][3])(const RowPair&, size_t) = {
    {PairToBgraSteps<false, false, false>, PairToBgraSteps<false, true, false>, PairToBgraSteps<false, true, true>},
    {PairToBgraSteps<true, false, false>, PairToBgraSteps<true, true, false>, PairToBgraSteps<true, true, true>}};

void SmoothPairToBgraAvx2(const RowPair& rows, size_t pixels) {
    const int stores = WideStreams(rows, pixels) ? 2 : Streamed(rows) ? 1 : 0;
    kBgraSteps[rows.SharedLuma()][stores](rows, pixels);
}

void EndStreamsAvx2() { _mm_sfence(); }

}  // namespace

// Fixed before any code runs, as the AVX-512 table built from it needs.
constinit const YuvRowForms kYuvRowsAvx2 = {SmoothAvx2,           AverageAvx2,           ToBgraAvx2,
                                            ToBgrAvx2,            PackYuy2Simd,          UnpackYuy2Simd,
                                            Yuy2ToBgraAvx2,       Yuy2ToBgrAvx2,         SmoothPairToYuy2Avx2,
                                            SmoothPairToBgraAvx2, EndStreamsAvx2,        SmoothPairFromYuy2Avx2};

}  // namespace tarn
