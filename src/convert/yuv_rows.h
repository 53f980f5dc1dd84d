// Row primitives of the YUV side of the conversions: vertical averages of
// whole rows and the vector-form conversion of a row, in forms of one tier.
//
// These are what the SSE2 tier's kernels run in their block columns, so every
// form computes the rounding averages r() and s() of smoothing.h and the
// vector form of colour_formulas.h, bit for bit. The plain forms are the
// scalar reference; the SSE2, AVX2 and AVX-512 forms are chosen by PickForm.
#pragma once

#include <cstddef>
#include <cstdint>

#include "convert/smoothing.h"
#include "platform/form_table.h"

namespace tarn {

// Three rows smoothed as s(a, b, c). A row given three times stands as it
// is (s(x, x, x) = x) and r(a, b) is s(a, a, b), so one form serves the
// stored, averaged and smoothed rows of every row pair.
struct Rows3 {
    const uint8_t* a;
    const uint8_t* b;
    const uint8_t* c;
};

// The two output rows of a row pair and what they are made of: the luma of
// each row, and the chroma both share. In the middle of a frame the rows'
// luma overlap (y[1].a is y[0].c and y[1].c is y[0].b), and the forms then
// read each of the four luma rows once.
//
// Made in one pass, both rows come from one read of the source and one
// smoothing of the chroma: in cache a fifth (packed) to a quarter (RGB)
// less time than making the rows one after the other from smoothed working
// rows. On a frame not in cache two rows filling side by side cost more
// than one rising stream; streaming stores (below) win that back.
struct RowPair {
    uint8_t* out[2];
    Rows3 y[2];
    Rows3 u, v;
    // Written with streaming stores where a form has them (the AVX2 forms,
    // when both rows are 16-byte aligned): see kStreamedFrameBytes.
    bool stream = false;
    // Whether the luma of the two rows overlaps as in the middle of a frame.
    bool SharedLuma() const { return y[1].a == y[0].c && y[1].c == y[0].b; }
};

// Frames of at least this many output bytes are made with streaming stores,
// which write each line without first reading it into the cache. A frame
// this large does not stay in a core's caches until anything reads it
// again, and reading each line before overwriting it only costs time;
// smaller frames stay in the cache for the next operation. Measured on 1080p
// from planar beside other work, as a CopyOut runs it: 32-bit output (8 MB)
// took a fifth less time, packed output (4 MB) a few percent less. Fences
// are not per pair but one per frame (endStreams): a fence per pair made
// the packed frame half as slow again.
inline constexpr size_t kStreamedFrameBytes = size_t(2) << 20;

struct YuvRowForms {
    // out[i] = s(a[i], b[i], c[i]): neighbours a and b, centre c.
    void (*smooth)(uint8_t* out, const uint8_t* a, const uint8_t* b, const uint8_t* c, size_t n);
    // out[i] = r(a[i], b[i]).
    void (*average)(uint8_t* out, const uint8_t* a, const uint8_t* b, size_t n);
    // Vector form of `pixels` pixels (a multiple of 16), chroma u[i / 2],
    // v[i / 2]; blue, green, red and 0, or blue, green, red.
    void (*toBgra)(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                   size_t pixels);
    void (*toBgr)(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                  size_t pixels);
    // Packed rows: y0 u y1 v for each pair, from `pairs` pairs.
    void (*packYuy2)(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                     size_t pairs);
    void (*unpackYuy2)(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* yuy2, size_t pairs);
    // Vector form straight from a packed row, `pixels` a multiple of 16.
    void (*yuy2ToBgra)(uint8_t* dst, const uint8_t* yuy2, size_t pixels);
    void (*yuy2ToBgr)(uint8_t* dst, const uint8_t* yuy2, size_t pixels);
    // Both packed rows of a row pair in one pass: the luma of each smoothed,
    // the pair's chroma smoothed once for both, then packed.
    void (*smoothPairToYuy2)(const RowPair& rows, size_t pairs);
    // The same into blue, green, red, 0 by the vector form, `pixels` a
    // multiple of 16.
    void (*smoothPairToBgra)(const RowPair& rows, size_t pixels);
    // Orders the streaming stores of the pair forms before any store that
    // follows: called once when a frame's pairs are done.
    void (*endStreams)();
    // Packed rows F0 = s(a), F1 = s(b): luma of each, chroma r(F0, F1).
    void (*smoothPairFromYuy2)(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, Rows3 a, Rows3 b,
                               size_t pairs);
};

extern const YuvRowForms kYuvRowsPlain;
#if defined(TARN_HAVE_X86_SIMD)
extern const YuvRowForms kYuvRowsSse2;
extern const YuvRowForms kYuvRowsAvx2;
// The AVX2 forms with the AVX-512 file's own rows in their place.
extern const YuvRowForms kYuvRowsAvx512;

// The rows of the AVX-512 file, which the AVX-512 forms take in place of
// the AVX2 ones.
struct YuvRowsOwnAvx512 {
    decltype(YuvRowForms::yuy2ToBgra) yuy2ToBgra;
    decltype(YuvRowForms::smoothPairToYuy2) smoothPairToYuy2;
    decltype(YuvRowForms::smoothPairToBgra) smoothPairToBgra;
    decltype(YuvRowForms::smoothPairFromYuy2) smoothPairFromYuy2;
};
extern const YuvRowsOwnAvx512 kYuvRowsOwnAvx512;
#endif

// The fastest forms allowed now.
const YuvRowForms& ActiveYuvRows();

// Which tier's body a kernel of the YUV side runs. The plain and MMX bodies
// take the plain forms (the MMX tier's truncating columns are done apart);
// the SSE2 body takes the fastest forms. Pavg is the MMX body with rounding
// averages in place of the truncating ones (the tier of processors with SSE
// but not SSE2): MMX block sizes, the SSE2 body's arithmetic.
enum class TierBody : uint8_t { Plain, Mmx, Sse2, Pavg };
inline const YuvRowForms& RowsFor(TierBody body) {
    return body == TierBody::Sse2 || body == TierBody::Pavg ? ActiveYuvRows() : kYuvRowsPlain;
}

// A middle row smoothed from its neighbours as the row copies of a body do
// it: the MMX body truncates in 8-byte blocks and rounds the rest, every other
// body rounds throughout.
inline void SmoothRowOf(TierBody body, uint8_t* out, const uint8_t* above, const uint8_t* below,
                        const uint8_t* centre, size_t n) {
    size_t from = 0;
    if (body == TierBody::Mmx) {
        from = n & ~size_t(7);
        SmoothTruncRow(out, above, below, centre, from);
    }
    RowsFor(body).smooth(out + from, above + from, below + from, centre + from, n - from);
}

// The rounding rows of row pair k. y holds luma rows 2k - 1 .. 2k + 2 and c
// chroma rows k - 1 .. k + 1 of one plane. Luma row i (0 or 1) of the pair
// stands as stored when it is the frame's first or last row and is smoothed
// with its neighbours otherwise; chroma averages the two rows at the top and
// bottom (r(a, b) is s(a, a, b)) and is smoothed in between.
inline Rows3 PairLuma(const uint8_t* const y[4], int i, bool stored) {
    return stored ? Rows3{y[1 + i], y[1 + i], y[1 + i]} : Rows3{y[i], y[i + 2], y[i + 1]};
}
inline Rows3 PairChroma(const uint8_t* const c[3], bool first, bool last) {
    return first ? Rows3{c[1], c[1], c[2]} : last ? Rows3{c[0], c[0], c[1]} : Rows3{c[0], c[2], c[1]};
}

// Row pair k of a planar source into out[0] and out[1], as PairLuma and
// PairChroma give its rows when smoothing; without smoothing each row is
// given three times, as s(x, x, x) = x.
inline RowPair PlanarRowPair(uint8_t* const out[2], const uint8_t* const y[4], const uint8_t* const c[2][3],
                             bool first, bool last, bool smooth, bool stream) {
    const auto stored = [](const uint8_t* r) { return Rows3{r, r, r}; };
    RowPair pair{{out[0], out[1]}, {}, {}, {}};
    for (int i = 0; i < 2; ++i) pair.y[i] = smooth ? PairLuma(y, i, i == 0 ? first : last) : stored(y[1 + i]);
    pair.u = smooth ? PairChroma(c[0], first, last) : stored(c[0][1]);
    pair.v = smooth ? PairChroma(c[1], first, last) : stored(c[1][1]);
    pair.stream = stream;
    return pair;
}

}  // namespace tarn
