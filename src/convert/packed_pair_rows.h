// Row-pair forms of packed 4:2:2 going to planar 4:2:0 beyond the row forms
// of yuv_rows.h: the chroma of a row pair without its luma, for row pairs
// whose luma rows are written over afterwards (as the planar first step of
// a packed resize into the caller's memory leaves them under the resize's
// paint), also for two neighbouring row pairs at once, which read the rows
// they share once; with the helpers their vector forms share.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "convert/yuv_rows.h"
#include "platform/byte_span.h"

namespace tarn {

// u[i] and v[i] as smoothPairFromYuy2 gives them for packed rows F0 = s(a)
// and F1 = s(b): r(F0, F1) of bytes 4i + 1 and 4i + 3.
using PackedChromaFn = void (*)(uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs);
// A row pair with its luma, as smoothPairFromYuy2.
using PackedPairFn = void (*)(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs);

void PackedChromaPlain(uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs);
// The chroma of row pairs k and k + 1, neither the first nor the last of a
// picture, from source rows 2k - 1 .. 2k + 4: the bytes of the chroma-alone
// form for each pair, the rows they share read once. (Two pairs with their
// luma kept more vectors than there are registers and ran slower than one
// by one.)
struct TwoChroma {
    uint8_t* u[2];
    uint8_t* v[2];
    // Where given, rows 2k and 2k + 2 halved across as well (HalvePackedRow),
    // from the loads the chroma makes of them anyway.
    uint8_t* halved[2] = {nullptr, nullptr};
};

// A packed row halved across, as the 4:2:2 scaler halves it when the source
// is twice the target's width: the first two bytes of each of the row's
// `pairs` groups of four, 2 x `pairs` bytes in all. A packed resize to half
// size both ways takes its target row k from source row 2k so, and the
// planar first step before it reads that row anyway.
using HalvePackedRowFn = void (*)(uint8_t* out, const uint8_t* row, size_t pairs);
void HalvePackedRowPlain(uint8_t* out, const uint8_t* row, size_t pairs);

// Middle row pairs k0 .. k0 + count - 1 of a smoothed conversion (neither
// the first nor the last pair of the picture), worked one source row at a
// time: as row 2k + 1 comes in, F of row 2k (its luma, row 2k halved across
// and its chroma kept in `work`); as row 2k + 2 comes in, F of row 2k + 1,
// its luma and the pair's chroma r(F0, F1). Each pass reads one row not read
// before, the others being the last two, still in the first-level cache, and
// asks for the next two: a 1080p conversion ran about a tenth faster than
// pair by pair, which streams two new rows at once. Rows whose luma is
// written over stay with the two-pair chroma form: worked so (with or
// without a ring of joined chroma rows) they measured no faster or slower.
// Same bytes as the row-pair forms and HalvePackedRow pair by pair, where
// no output row meets another or a source row.
struct PairRun {
    const uint8_t* src;  // source row 2k0 - 1
    ptrdiff_t step;      // from one source row to the next
    uint8_t* y;          // luma row 2k0
    ptrdiff_t yStride;
    uint8_t* u;  // chroma rows k0
    uint8_t* v;
    ptrdiff_t uvStride;
    uint8_t* halved;  // halved row k0; null: none
    ptrdiff_t halvedStride;
    int32_t count;
    size_t pairs;
    uint8_t* work;  // PairRunWorkBytes(pairs)
};
using PairRunFn = void (*)(const PairRun& run);
inline size_t PairRunWorkBytes(size_t pairs) { return 2 * pairs + 256; }

#if defined(TARN_HAVE_X86_SIMD)
// The row-pair form of kYuvRowsAvx2.
void SmoothPairFromYuy2Avx2(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs);
void PackedChromaAvx2(uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs);
void TwoChromaAvx2(const TwoChroma& out, const uint8_t* const rows[6], size_t pairs);
void HalvePackedRowAvx2(uint8_t* out, const uint8_t* row, size_t pairs);
// The same four, sixty-four pairs a step (the first, that of kYuvRowsAvx512).
void SmoothPairFromYuy2Avx512(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs);
void PackedChromaAvx512(uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs);
void TwoChromaAvx512(const TwoChroma& out, const uint8_t* const rows[6], size_t pairs);
void HalvePackedRowAvx512(uint8_t* out, const uint8_t* row, size_t pairs);
void PairRunAvx512(const PairRun& run);
#endif

// The forms a packed-to-planar conversion with vector row forms takes for
// its row pairs beyond the row forms' own pair row, where they have them
// (null: none).
struct PackedPairForms {
    PackedChromaFn chroma;
    void (*two)(const TwoChroma& out, const uint8_t* const rows[6], size_t pairs);
    HalvePackedRowFn halve;
    PairRunFn run;
};
// Those of the widest form allowed at the moment, for row forms `rows`.
const PackedPairForms& PackedPairFormsFor(const YuvRowForms& rows);

// The pairs of four bytes from `row` to its next 32-byte boundary, where
// the loads of the vector forms stop straddling cache lines; 0 at a
// boundary or where whole pairs never reach one.
inline size_t LeadToAlign(const uint8_t* row) {
    const size_t off = reinterpret_cast<uintptr_t>(row) & 31;
    return off % 4 == 0 ? (32 - off) % 32 / 4 : 0;
}

// Whether `n` bytes at `out` lie apart from every byte the rows of `a` and
// `b` hold over `pairs` pairs (tested against the span from the lowest row
// to the end of the highest).
inline bool ApartFromRows(const uint8_t* out, size_t n, const Rows3& a, const Rows3& b, size_t pairs) {
    const uint8_t* rows[6] = {a.a, a.b, a.c, b.a, b.b, b.c};
    const ByteSpan read = ByteSpan::OfBytes(*std::min_element(rows, rows + 6), 0)
                              .Union(ByteSpan::OfBytes(*std::max_element(rows, rows + 6), 4 * pairs));
    return read.ApartFrom(ByteSpan::OfBytes(out, n));
}

// Asks for the 128 bytes from `at` of each of `count` rows after `row`,
// `step` bytes apart (unsigned arithmetic: a negative stride wraps). Asked
// for block by block while the present rows are worked, the rows a kernel
// reads next come in where the processor's own prefetcher, with four or six
// rows streaming, is late: the conversion of a frame not in cache ran a
// tenth faster. A hint never faults, so its address may lie past the
// picture.
inline void HintRowsAfter(const uint8_t* row, uintptr_t step, int count, size_t at) {
#if defined(__GNUC__) || defined(__clang__)
    uintptr_t p = reinterpret_cast<uintptr_t>(row + at);
    for (int j = 0; j < count; ++j) {
        p += step;
        __builtin_prefetch(reinterpret_cast<const void*>(p), 0, 3);
        __builtin_prefetch(reinterpret_cast<const void*>(p + 64), 0, 3);
    }
#else
    (void)row, (void)step, (void)count, (void)at;
#endif
}

// Between the first and last row pairs of a picture a.b is row 2k + 1 and
// b.b row 2k + 2; the next pair reads rows 2k + 3 and 2k + 4 anew.
inline void HintNextPairRows(const Rows3& a, const Rows3& b, size_t at) {
    HintRowsAfter(b.b, reinterpret_cast<uintptr_t>(b.b) - reinterpret_cast<uintptr_t>(a.b), 2, at);
}

// Runs block(i) for blocks of 32 pairs from i on and answers where they
// end. With `overlap` (blocks worked twice give the same bytes: the
// outputs lie apart from the rows read) the first block goes at 0 and the
// rest from the 32-byte boundary of `centre`, the last ending at `pairs`.
template <class Block>
size_t PairBlocks(const uint8_t* centre, size_t pairs, bool overlap, Block block) {
    size_t i = 0;
    if (overlap && pairs >= 32) {
        if (const size_t lead = LeadToAlign(centre)) {
            block(size_t(0));
            i = lead;
        }
    }
    for (; i + 32 <= pairs; i += 32) block(i);
    if (overlap && i < pairs && pairs >= 32) {
        block(pairs - 32);
        i = pairs;
    }
    return i;
}

// Rows3 from byte `from` on.
inline Rows3 RowsFrom(Rows3 r, size_t from) { return {r.a + from, r.b + from, r.c + from}; }

}  // namespace tarn
