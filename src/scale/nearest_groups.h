// Pieces the AVX2 and AVX-512 forms of the nearest 4-byte rows share: the
// pixel-by-pixel copy, the target rows a streamed group goes to, and how far
// apart a row's samples lie per group. Everything here has internal linkage:
// each form's file is built for its own instruction set, and a function the
// linker could take from the wrong one would run wider instructions than the
// processor has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tarn {
namespace {

inline void CopyPixel(uint8_t* d, const uint8_t* s) {
    uint32_t v;
    std::memcpy(&v, s, 4);
    std::memcpy(d, &v, 4);
}

// Target rows a streamed group goes to: `count` rows `pitch` bytes apart.
struct Copies {
    ptrdiff_t pitch;
    uint32_t count;
};

// Pixels [x, end) of the row, one by one, into every copy.
inline void CopyPixels(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t x, uint32_t end,
                       Copies copies) {
    for (uint32_t c = 0; c < copies.count; ++c, dst += copies.pitch)
        for (uint32_t i = x; i < end; ++i) CopyPixel(dst + 4 * size_t(i), row + co[i]);
}

// How far apart the samples of the row lie on average per group of
// kPixels pixels: within one window of 4 x kPixels bytes, as in every
// enlargement, so that the single window is worth trying first (1); within
// two (2); further (0). Rows of fewer than two groups, or whose samples
// run backwards, count as two.
template <uint32_t kPixels>
int Windows(const uint32_t* co, uint32_t len) {
    if (len < 2 * kPixels || co[len - 1] < co[0]) return 2;
    const uint64_t span = uint64_t(co[len - 1] - co[0]) * (kPixels - 1), gaps = len - 1;
    return span <= gaps * 3 * kPixels ? 1 : 2 * span <= gaps * 15 * kPixels ? 2 : 0;
}

}  // namespace
}  // namespace tarn
