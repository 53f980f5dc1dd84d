// Area-weighted shrink of pixels of 1, 3 or 4 bytes, in single-precision
// floats, with the fast forms of its sweep and row ends.
#pragma once

#include <cstdint>
#include <vector>

#include "scale/scale.h"

namespace tarn {

// Shrinks `source` into `target` (pixelBytes of the source for both). Sizes
// are positive; equal sizes copy the source's rows, row padding included.
void AreaShrink(const ScaleTarget& target, const ScaleSource& source);

// One source row of a single-channel area shrink: for each target column x,
// current[x] += row[index[r][x]] * weight[r][x] for r in order, rounding to
// float at each step.
void AreaGrayRowPlain(const uint8_t* row, const int32_t* index, const float* weight, uint32_t perColumn,
                      uint32_t width, float* current);

// Blocks of 8 target columns of a sweep, planned once per image from the
// dense table. Each half of a block (columns 0-3 and 4-7) reads its samples
// from its own window of the row: 16 bytes (one byte shuffle per record puts
// each column's sample, zero-extended, in its 32-bit lane) or 32 bytes (two
// shuffles, one per 16-byte part, joined). A block whose samples spread
// wider, or a row narrower than the window, gathers from the row widened to
// floats. Windows end inside the row, so no sample read needs a test. A
// narrow block whose samples all fit 16 bytes has one window for both halves.
// A block of eight records a column whose column k reads bytes
// base + 8k .. base + 8k + 7 in record order (a single-channel step of
// exactly 8 samples) reads its 64 bytes whole and needs no shuffles planned.
struct AreaSweepPlan {
    enum Kind : uint8_t { Gather, Narrow, Wide, Eights };
    std::vector<uint8_t> kind;     // [block]
    std::vector<int32_t> base;     // [block][half]: first byte of the window
    std::vector<uint32_t> maskAt;  // [block]: offset of the block's shuffles in `masks`
    std::vector<uint8_t> masks;    // Narrow: [record][32]; Wide: [record][part][32]
    bool gathers = false;          // some block gathers
    // Blocks that repeat: from the start of the row up to `repeats` blocks,
    // block b has the kind, shuffles and weights of block b % period and
    // its windows `advance` bytes on per period (0 blocks: none repeat).
    // Their weights, [record][8 * period]: a few hundred bytes a sweep loads
    // once a row.
    uint32_t period = 0, repeats = 0;
    int32_t advance = 0;
    std::vector<float> weights;
};
AreaSweepPlan BuildAreaSweepPlan(const int32_t* index, uint32_t perColumn, uint32_t width, uint32_t srcWidth);
// Marks the blocks of `plan` that repeat with the shortest period up to
// kAreaMaxPeriod blocks, over the most blocks.
inline constexpr uint32_t kAreaMaxPeriod = 4;
void FindAreaSweepPeriod(AreaSweepPlan& plan, const float* weight, uint32_t perColumn, uint32_t width);

// The sweep of one source row and its row end in one pass, over a dense
// table whose columns are the target row's bytes and whose samples are the
// source row's bytes (a pixel of c bytes is c columns): `rowEnd` 0 carries
// the sums, 1 emits the target row, 2 splits it by f. Gives what
// AreaGrayRowPlain followed by the row-end function gives, without touching
// `current` (which is 0 between rows). A null plan gathers every block.
using AreaGrayPlannedRowEndFn = void (*)(const uint8_t* row, uint32_t srcWidth, const int32_t* index,
                                         const float* weight, uint32_t perColumn, uint32_t width, float* scratch,
                                         int rowEnd, float f, float* carry, uint8_t* out,
                                         const AreaSweepPlan* plan);

// The end of a source row: a target row goes out whole (trunc(current +
// carry + 0.5)), goes out split by f (the part f carries on), or the row's
// sums are carried into the target row under way.
void AreaEmitRowPlain(uint8_t* out, float* current, float* carry, uint32_t total);
void AreaEmitSplitRowPlain(uint8_t* out, float* current, float* carry, uint32_t total, float f);
void AreaCarryRowPlain(float* current, float* carry, uint32_t total);

// Area shrink by whole factors whose product is 2^shift, where the float
// sweep is exact; gives the sweep's bytes.
using AreaBoxExactFn = void (*)(const ScaleTarget& target, const ScaleSource& source, uint32_t shift);
// The shift when the area shrink is such a box (0: it is not).
uint32_t AreaExactShift(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight);

#if defined(TARN_HAVE_X86_SIMD)
void AreaBoxExactAvx2(const ScaleTarget& target, const ScaleSource& source, uint32_t shift);
void AreaBoxExactAvx512(const ScaleTarget& target, const ScaleSource& source, uint32_t shift);
void AreaEmitRowAvx2(uint8_t* out, float* current, float* carry, uint32_t total);
void AreaEmitSplitRowAvx2(uint8_t* out, float* current, float* carry, uint32_t total, float f);
void AreaCarryRowAvx2(float* current, float* carry, uint32_t total);
void AreaGrayRowEndPlannedAvx2(const uint8_t* row, uint32_t srcWidth, const int32_t* index, const float* weight,
                               uint32_t perColumn, uint32_t width, float* scratch, int rowEnd, float f, float* carry,
                               uint8_t* out, const AreaSweepPlan* plan);
#endif

}  // namespace tarn
