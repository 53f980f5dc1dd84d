// Row primitive of the packed reorders: the bytes of each pixel pair moved
// from one packed order to another, in forms that give the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "convert/pixel_layouts.h"
#include "platform/form_table.h"

namespace tarn {

// `pairs` 4-byte groups of `src` in order `from` written to `dst` in order
// `to`. `dst` may be `src`.
using ReorderRowFn = void (*)(uint8_t* dst, const uint8_t* src, size_t pairs, PackedOrder from,
                              PackedOrder to);

void ReorderRowPlain(uint8_t* dst, const uint8_t* src, size_t pairs, PackedOrder from,
                     PackedOrder to);
#if defined(TARN_HAVE_X86_SIMD)
void ReorderRowAvx2(uint8_t* dst, const uint8_t* src, size_t pairs, PackedOrder from,
                    PackedOrder to);
#endif

// The fastest form allowed now.
ReorderRowFn ActiveReorderRow();

// Where byte i of a group in order `to` comes from in a group in order `from`.
struct ReorderMap {
    uint8_t from[4];
};
constexpr ReorderMap MapOf(PackedOrder from, PackedOrder to) {
    const PairPositions f = PositionsOf(from), t = PositionsOf(to);
    ReorderMap m{};
    m.from[t.y0] = f.y0;
    m.from[t.u] = f.u;
    m.from[t.y1] = f.y1;
    m.from[t.v] = f.v;
    return m;
}

}  // namespace tarn
