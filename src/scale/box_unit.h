// Box rows whose boxes are at most one sample wide and one row tall: what
// the box fall-back of the area mode meets when the image grows. A target
// pixel is then a copy of one source sample (a box of 1 x 1 divides by 1),
// or four zero bytes where its count is 0. Since a count of 0 does not
// advance the offsets, the column table is resolved once per image to one
// source offset per target pixel, and a row is a plain gather.
#pragma once

#include <cstdint>
#include <vector>

#include "scale/box_chains.h"

namespace tarn {

// Marks a target pixel of count 0 in a resolved column table.
inline constexpr uint32_t kUnitBlack = UINT32_MAX;

// Resolves the lagging offsets of `len` columns into `resolved` (one entry
// per column: the source byte offset, or kUnitBlack). False, with `resolved`
// unspecified, when a count is above 1 or an offset does not fit a signed
// 32-bit index.
bool ResolveUnitColumns(const uint32_t* offsets, const uint32_t* counts, uint32_t len,
                        std::vector<uint32_t>& resolved);

// Where every four consecutive target pixels take their samples from 16
// bytes of the row (as they do when the image grows), eight pixels are one
// byte shuffle of two 16-byte windows, each half of the register its own,
// planned once per image. The shuffle lays the bytes out as the target
// pixels are (3 or 4 bytes apart); a pixel of count 0 picks zeros. Windows
// stay between the first and last bytes the plain form reads of a row.
struct UnitWindows {
    uint32_t blocks = 0;         // blocks of eight target pixels
    std::vector<int32_t> base;   // [block][half]: row offset of the window
    std::vector<uint8_t> masks;  // [block][32]
};
// False, with `plan` unspecified, where some four pixels spread wider or no
// pixel has a sample. A 3-byte target leaves its last pixel out of the
// blocks: a block writes three bytes past its eighth pixel.
bool PlanUnitWindows(const uint32_t* resolved, uint32_t len, uint32_t dstPitch, UnitWindows& plan);

// One target row of row count 1 over resolved columns: the bytes that
// BoxShrinkRowPlain gives for it, a 3-byte target's spilled fourth byte of
// the last pixel included. `windows`, when planned, is a faster way to the
// same bytes that only the AVX2 form takes.
using BoxUnitRowFn = void (*)(uint8_t* dst, const uint8_t* row, const uint32_t* resolved, uint32_t len,
                              const UnitWindows* windows);

template <BoxFamily F>
void BoxUnitRowPlain(uint8_t* dst, const uint8_t* row, const uint32_t* resolved, uint32_t len,
                     const UnitWindows* windows);
#if defined(TARN_HAVE_X86_SIMD)
template <BoxFamily F>
void BoxUnitRowAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* resolved, uint32_t len,
                    const UnitWindows* windows);
#endif

// The fastest form of the family's unit row.
BoxUnitRowFn PickBoxUnitRow(BoxFamily family);

}  // namespace tarn
