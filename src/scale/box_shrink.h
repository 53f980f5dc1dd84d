// The box shrink of 3- and 4-byte pixels: its row driver and row kernels.
#pragma once

#include <cstdint>

#include "scale/band_grid.h"
#include "scale/box_chains.h"
#include "scale/scale_request.h"

namespace tarn {

// The box and box-fade plans of the four pairs of 3- and 4-byte pixels (one
// family each), after the driver's band adjustment. One call per image.
void BoxShrinkRows(const ScaleRequest& request, const DriverTables& tables, const Bands& bands);

using BoxRowFn = void (*)(uint8_t* dst, const uint8_t* row, const uint32_t* offsets,
                          const uint32_t* counts, uint32_t len, int32_t stride, uint32_t rowCount);

// Picks a kernel per pixel by its column count; a row count outside 1..16
// leaves the row alone.
template <BoxFamily F>
void BoxShrinkRowPlain(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                  uint32_t len, int32_t stride, uint32_t rowCount);

// Exact mean of the first three bytes; the fourth target byte is not written.
// Reads and writes go through `bounds` (scale_bounds.h); a box wholly inside
// the source with 4-byte samples is summed by the fastest BoxSum4 form.
void BoxRowExact(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts, uint32_t len,
                 int32_t stride, uint32_t rowCount, uint32_t dstPitch, uint32_t srcPitch, const ScaleBounds& bounds);

// Exact mean faded towards `background` by the outside-fractions of both words.
void BoxRowFade(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts, uint32_t len,
                int32_t stride, uint32_t rowWord, uint32_t dstPitch, uint32_t srcPitch, const uint8_t* background,
                const ScaleBounds& bounds);

// The sums of the first three bytes of `rows` rows of `cols` 4-byte samples
// side by side from p, into sum[0..2]; the caller has found every byte of
// the box inside the source. Null in the plain entry of its form table: the
// plain form is the exact functions' own loop.
using BoxSum4Fn = void (*)(const uint8_t* p, int32_t stride, uint32_t rows, uint32_t cols, uint32_t sum[3]);
#if defined(TARN_HAVE_X86_SIMD)
void BoxSum4Avx2(const uint8_t* p, int32_t stride, uint32_t rows, uint32_t cols, uint32_t sum[3]);
#endif
BoxSum4Fn PickBoxSum4();

// Fast forms of BoxShrinkRowPlain for the families with 4-byte sources: runs of
// boxes two samples wide over consecutive samples (a shrink by two) are
// summed several pixels at a time; everything else goes pixel by pixel
// through the plain kernels.
#if defined(TARN_HAVE_X86_SIMD)
template <BoxFamily F>
void BoxShrinkRowSse2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                      uint32_t len, int32_t stride, uint32_t rowCount);
template <BoxFamily F>
void BoxShrinkRowAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                      uint32_t len, int32_t stride, uint32_t rowCount);
// The same for a run known to be paired throughout (PairedRun over all of
// it); the families of 3-byte sources have the AVX2 form only.
template <BoxFamily F>
void BoxPairedRowSse2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                      uint32_t len, int32_t stride, uint32_t rowCount);
template <BoxFamily F>
void BoxPairedRowAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                      uint32_t len, int32_t stride, uint32_t rowCount);
#endif

// Up to kBoxRowGroup target rows of a run paired throughout, worked column
// block by column block together (more loads in flight); the bytes of one
// call per row. Only for targets that lie apart from the source and whose
// rows do not overlap; 3-byte rows may touch, the byte a row's last store
// spills onto the next row's first being put back as one row at a time
// leaves it.
inline constexpr uint32_t kBoxRowGroup = 4;
using BoxRowGroupFn = void (*)(uint8_t* const* dst, const uint8_t* const* rows, const uint32_t* rowCounts,
                               uint32_t n, const uint32_t* offsets, const uint32_t* counts, uint32_t len,
                               int32_t stride);
#if defined(TARN_HAVE_X86_SIMD)
template <BoxFamily F>
void BoxPairedRowGroupAvx2(uint8_t* const* dst, const uint8_t* const* rows, const uint32_t* rowCounts, uint32_t n,
                           const uint32_t* offsets, const uint32_t* counts, uint32_t len, int32_t stride);
#endif

// How many entries from `j` (counts) and `k` (offsets) form boxes of two
// consecutive samples each (`pairBytes` apart), up to `want`.
inline uint32_t PairedRun(const uint32_t* offsets, const uint32_t* counts, uint32_t j, uint32_t k, uint32_t len,
                          uint32_t want, uint32_t pairBytes = 8) {
    uint32_t n = 0;
    while (n < want && j + n < len && counts[j + n] == 2 &&
           (n == 0 || offsets[k + n] == offsets[k + n - 1] + pairBytes))
        ++n;
    return n;
}

// Whether all `len` entries form boxes of `count` consecutive samples that
// follow one another (`boxBytes` apart), in one pass without early exit
// (the compiler widens it). With a count of 2: PairedRun(...) == len.
inline bool UniformThroughout(const uint32_t* offsets, const uint32_t* counts, uint32_t len, uint32_t count,
                              uint32_t boxBytes) {
    uint32_t bad = 0;
    for (uint32_t i = 0; i < len; ++i) bad |= (counts[i] ^ count) | (offsets[i] - offsets[0] - i * boxBytes);
    return bad == 0;
}

// A run uniform throughout with boxes 4 or 8 samples wide, eight target
// pixels at a time (box_quads.h).
#if defined(TARN_HAVE_X86_SIMD)
template <BoxFamily F>
void BoxQuadRowAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                    uint32_t len, int32_t stride, uint32_t rowCount);
#endif

}  // namespace tarn
