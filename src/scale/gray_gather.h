// Nearest-sample scaling of single-channel planes: the gather of one row
// through its column offsets, planned once per image so that a fast form can
// fetch each 16 target bytes with one to four loads and byte shuffles.
#pragma once

#include <cstddef>
#include <cstdint>

#include "scale/scale_request.h"

namespace tarn {

// dst[j] = row[offsets[j]], the gather of one row through its column offsets.
void GrayGatherRow(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, uint32_t len);

// For each run of 16 target columns: where to load from (relative to the
// row) and how to spread the loaded bytes. Blocks whose columns reach over
// more than 64 source bytes are gathered byte by byte (kind 0). Loads never
// reach below the smallest or above the largest offset of the whole table,
// which every row reads anyway.
class GrayGatherPlan {
public:
    // With `leadOnItsOwn` the form that runs works the strided lead without
    // the plan, and the lead's blocks are left unplanned (byte by byte).
    // `rowBytes`, where given, is how many bytes of each row may be read,
    // which lets the strided lead reach past the largest offset.
    GrayGatherPlan(const uint32_t* offsets, uint32_t len, bool leadOnItsOwn = false, uint32_t rowBytes = 0);
    ~GrayGatherPlan();
    GrayGatherPlan(const GrayGatherPlan&) = delete;
    GrayGatherPlan& operator=(const GrayGatherPlan&) = delete;

    static constexpr uint32_t kBlock = 16;
    uint32_t blocks = 0;          // whole blocks; the columns after them are gathered one by one
    uint32_t* base = nullptr;     // per block
    // Per block: 0 byte by byte, else the number of 16-byte loads; a one-load block
    // whose target bytes are its source bytes each doubled also carries
    // kDoubled, with kOddPhase when the doubling starts half a pair late
    // (target i takes source (i + 1) / 2), for forms without a byte shuffle.
    uint8_t* kind = nullptr;
    static constexpr uint32_t kMostLoads = 4;
    static constexpr uint8_t kLoads = 7, kDoubled = 8, kOddPhase = 16;
    uint8_t* masks = nullptr;     // per block 16 bytes per load: the shuffle of each load in turn
    // The leading columns whose offsets run first + step * j with a step of
    // 2, 4 or 8 (whole shrinks), as many whole blocks of them as a form
    // that loads step * 16 bytes from a block's first offset can take
    // without passing the largest offset or the row's end, whichever is
    // further; 0 where there are none.
    uint32_t stridedColumns = 0, stride = 0, strideFirst = 0;
};

// dst[j] = row[offsets[j]] for j < len, using the plan where a fast form runs.
// `ahead`, where given, is the row the caller gathers next: a form may ask
// for its bytes at the same places while it works, as a shrink skips rows,
// which the processor does not fetch ahead by itself.
using GrayPlannedGatherFn = void (*)(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, uint32_t len,
                                     const GrayGatherPlan& plan, const uint8_t* ahead);
GrayPlannedGatherFn PickGrayPlannedGather();

// Whether the form PickGrayPlannedGather gives works a plan's strided lead
// on its own (so the plan may leave those blocks out).
bool GrayGatherLeadsOnItsOwn();

#if defined(TARN_HAVE_X86_SIMD)
void GrayPlannedGatherSse2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, uint32_t len,
                           const GrayGatherPlan& plan, const uint8_t* ahead);
void GrayPlannedGatherAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, uint32_t len,
                           const GrayGatherPlan& plan, const uint8_t* ahead);
#endif

// Whole rows stored around the caches, for targets too large to stay in
// them: `row` copies n bytes to dst, and `fence`, once after the last row,
// puts them in memory in order. The plain form copies and has no fence.
struct GrayRowStream {
    void (*row)(uint8_t* dst, const uint8_t* src, uint32_t n);
    void (*fence)();
};
GrayRowStream PickGrayRowStream();

#if defined(TARN_HAVE_X86_SIMD)
void GrayStreamRowAvx2(uint8_t* dst, const uint8_t* src, uint32_t n);
void GrayStreamFenceAvx2();
#endif

// Nearest rows whose column offsets all run origin + step * j with a step
// of 2, 4 or 8 (whole shrinks), row by row with no gather plan: each row
// picked from its source row at rowOffsets[y], or copied from the row
// above where both read the same source row. The caller makes sure writing
// the target cannot change the source. Null where no fast form runs.
using GrayStridedRowsFn = void (*)(uint8_t* dst, int32_t dstStride, const uint8_t* src, const uint32_t* rowOffsets,
                                   uint32_t rows, const uint32_t* offsets, uint32_t len, uint32_t srcWidth);
GrayStridedRowsFn PickGrayStridedRows();

#if defined(TARN_HAVE_X86_SIMD)
void GrayStridedRowsAvx2(uint8_t* dst, int32_t dstStride, const uint8_t* src, const uint32_t* rowOffsets,
                         uint32_t rows, const uint32_t* offsets, uint32_t len, uint32_t srcWidth);
#endif

// The nearest plan of ScaleGray over the whole image from its tables
// (offsets in bytes; row offsets as RowDelta reads them).
void NearestGrayRows(const ScaleRequest& request, const uint32_t* colOffsets, const uint32_t* rowOffsets);

}  // namespace tarn
