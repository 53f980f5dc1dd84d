// The chroma of a row pair of packed 4:2:2 going to planar 4:2:0, without
// its luma: for row pairs whose luma rows are written over afterwards, as
// the planar first step of a packed resize into the caller's memory leaves
// them under the resize's paint.
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

void PackedChromaPlain(uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs);
#if defined(TARN_HAVE_X86_SIMD)
void PackedChromaAvx2(uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs);
#endif

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

// Between the first and last row pairs of a picture, the rows the next pair
// reads anew lie two rows below the lower two of this one (a.b and b.b; b.b
// is a.c two rows on). Asked for block by block, the 128 bytes from `at`,
// they come in while this pair is worked, where the processor's own
// prefetcher, with four rows streaming, is late: the conversion of a frame
// not in cache ran a tenth faster. A hint never faults, so its address may
// lie past the picture.
inline void HintNextPairRows(const Rows3& a, const Rows3& b, size_t at) {
#if defined(__GNUC__) || defined(__clang__)
    const uintptr_t step = reinterpret_cast<uintptr_t>(b.b) - reinterpret_cast<uintptr_t>(a.c);
    for (size_t k = 0; k < 128; k += 64) {
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(a.b + at + k) + step), 0, 3);
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(b.b + at + k) + step), 0, 3);
    }
#else
    (void)a, (void)b, (void)at;
#endif
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
