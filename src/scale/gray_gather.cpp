// Nearest-sample rows of single-channel planes: the gather of a row, the
// gather plan, the plain form of the planned gather, and the row loop that copies a target row
// instead of gathering it again when it repeats the row above.
#include "scale/gray_gather.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "platform/byte_span.h"
#include "platform/form_table.h"
#include "scale/axis_table.h"

namespace tarn {

GrayGatherPlan::GrayGatherPlan(const uint32_t* offsets, uint32_t len, bool leadOnItsOwn, uint32_t rowBytes) {
    const uint32_t n = len / kBlock;
    if (n == 0) return;
    base = new (std::nothrow) uint32_t[n];
    kind = new (std::nothrow) uint8_t[n];
    masks = new (std::nothrow) uint8_t[size_t(n) * 16 * kMostLoads];
    if (!base || !kind || !masks) return;  // blocks stays 0: all byte by byte
    // The bounds and the strided lead in one pass.
    const uint32_t step = len > 1 ? offsets[1] - offsets[0] : 0;
    uint32_t lo = offsets[0], hi = LargestOffset(offsets, len), run = 1;
    for (uint32_t j = 1; j < len; ++j) lo = offsets[j] < lo ? offsets[j] : lo;
    while (run < len && offsets[run] == offsets[0] + step * run) ++run;
    if (step == 2 || step == 4 || step == 8) {
        const uint32_t reach = std::max(hi + 1, rowBytes) - offsets[0];
        stridedColumns = std::min(run, reach / step) / kBlock * kBlock;
        stride = step, strideFirst = offsets[0];
    }
    const uint32_t skipped = leadOnItsOwn ? stridedColumns / kBlock : 0;
    std::fill(kind, kind + skipped, uint8_t(0));
    for (uint32_t b = skipped; b < n; ++b) {
        const uint32_t* o = offsets + size_t(b) * kBlock;
        const uint32_t mn = *std::min_element(o, o + kBlock), mx = *std::max_element(o, o + kBlock);
        kind[b] = 0;
        base[b] = mn;
        uint8_t* m = masks + size_t(b) * 16 * kMostLoads;
        for (uint32_t loads = 1; loads <= kMostLoads; ++loads) {
            const uint32_t reach = 16 * loads;
            if (mx - mn >= reach || hi - lo + 1 < reach) continue;
            // Near the end of the row the load slides left so as not to pass
            // the largest offset; the block's bytes stay inside it.
            const uint32_t start = std::min(mn, hi + 1 - reach);
            // Each target byte from the one load that holds it; 0x80 gives a
            // zero from every other load.
            for (uint32_t i = 0; i < kBlock; ++i) {
                const uint32_t rel = o[i] - start;
                for (uint32_t l = 0; l < kMostLoads; ++l) m[16 * l + i] = rel / 16 == l ? uint8_t(rel % 16) : 0x80;
            }
            base[b] = start;
            kind[b] = uint8_t(loads);
            if (loads == 1) {
                for (uint32_t phase = 0; phase < 2; ++phase) {
                    bool doubled = true;
                    for (uint32_t i = 0; i < kBlock; ++i) doubled &= m[i] == (i + phase) / 2;
                    if (doubled) kind[b] |= uint8_t(kDoubled | (phase ? kOddPhase : 0));
                }
            }
            break;
        }
    }
    blocks = n;
}

GrayGatherPlan::~GrayGatherPlan() {
    delete[] base;
    delete[] kind;
    delete[] masks;
}

// A vector gather is slower than this loop on the processors we run on, so
// the gather has no fast form.
void GrayGatherRow(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, uint32_t len) {
    uint32_t j = 0;
    // Eight bytes gathered into one word and stored at once.
    for (; j + 8 <= len; j += 8) {
        const uint32_t* o = offsets + j;
        const uint64_t v = uint64_t(row[o[0]]) | uint64_t(row[o[1]]) << 8 | uint64_t(row[o[2]]) << 16 |
                           uint64_t(row[o[3]]) << 24 | uint64_t(row[o[4]]) << 32 | uint64_t(row[o[5]]) << 40 |
                           uint64_t(row[o[6]]) << 48 | uint64_t(row[o[7]]) << 56;
        for (int b = 0; b < 8; ++b) dst[j + b] = static_cast<uint8_t>(v >> (8 * b));
    }
    for (; j < len; ++j) dst[j] = row[offsets[j]];
}

namespace {

void GrayPlannedGatherPlain(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, uint32_t len,
                            const GrayGatherPlan&, const uint8_t*) {
    GrayGatherRow(dst, row, offsets, len);
}

}  // namespace

namespace {

struct GatherForm {
    GrayPlannedGatherFn fn;
    bool leadOnItsOwn;
};

GatherForm PickGatherForm() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<GatherForm> t[] = {{SimdForm::Avx2, {GrayPlannedGatherAvx2, true}},
                                              {SimdForm::Sse2, {GrayPlannedGatherSse2, false}},
                                              {SimdForm::Plain, {GrayPlannedGatherPlain, false}}};
    return PickForm(t);
#else
    return {GrayPlannedGatherPlain, false};
#endif
}

}  // namespace

GrayPlannedGatherFn PickGrayPlannedGather() { return PickGatherForm().fn; }

namespace {

void CopyRow(uint8_t* dst, const uint8_t* src, uint32_t n) { std::memcpy(dst, src, n); }
void NoFence() {}

}  // namespace

GrayRowStream PickGrayRowStream() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<GrayRowStream> t[] = {{SimdForm::Avx2, {GrayStreamRowAvx2, GrayStreamFenceAvx2}},
                                                 {SimdForm::Plain, {CopyRow, NoFence}}};
    return PickForm(t);
#else
    return {CopyRow, NoFence};
#endif
}

bool GrayGatherLeadsOnItsOwn() { return PickGatherForm().leadOnItsOwn; }

GrayStridedRowsFn PickGrayStridedRows() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<GrayStridedRowsFn> t[] = {{SimdForm::Avx2, GrayStridedRowsAvx2},
                                                     {SimdForm::Plain, nullptr}};
    return PickForm(t);
#else
    return nullptr;
#endif
}

void NearestGrayRows(const ScaleRequest& request, const uint32_t* colOffsets, const uint32_t* rowOffsets) {
    uint8_t* dst = request.target.pixels;
    const uint8_t* src = request.source.pixels;
    const uint32_t dstWidth = request.target.width, dstHeight = request.target.height, srcWidth = request.source.width;
    const int32_t dstStride = request.target.stride;
    const size_t w = dstWidth;
    const bool equalWidths = dstWidth == srcWidth;
    // A row that reads the same source row as the one above comes out as the
    // same bytes, and is copied from it, as long as writing the target cannot
    // change the source: the two areas must not meet, nor target rows each
    // other. Otherwise every row is gathered in order, as written.
    const RowSpan rows = RowSpanOf(rowOffsets, dstHeight);
    const bool strided = !equalWidths && WholeStrideOf(colOffsets, dstWidth) != 0;
    const uint32_t colHi = equalWidths ? dstWidth - 1
                           : strided   ? colOffsets[dstWidth - 1]
                                       : LargestOffset(colOffsets, dstWidth);
    const ByteSpan source{AddrOf(src) + rows.lo, AddrOf(src) + rows.hi + colHi + 1};
    const bool apart = RowsApart(dst, w, dstHeight, dstStride, source);

    if (!apart) {
        for (uint32_t y = 0; y < dstHeight; ++y) {
            uint8_t* d = dst + static_cast<intptr_t>(dstStride) * y;
            const uint8_t* r = src + RowDelta(rowOffsets[y]);
            if (equalWidths) std::memcpy(d, r, w);
            else GrayGatherRow(d, r, colOffsets, dstWidth);
        }
        return;
    }
    if (const GrayStridedRowsFn stridedRows = strided ? PickGrayStridedRows() : nullptr)
        return stridedRows(dst, dstStride, src, rowOffsets, dstHeight, colOffsets, dstWidth, srcWidth);
    const GrayGatherPlan plan(colOffsets, equalWidths ? 0 : dstWidth, GrayGatherLeadsOnItsOwn(), srcWidth);
    const GrayPlannedGatherFn gather = PickGrayPlannedGather();
    for (uint32_t y = 0; y < dstHeight; ++y) {
        uint8_t* d = dst + static_cast<intptr_t>(dstStride) * y;
        const uint8_t* r = src + RowDelta(rowOffsets[y]);
        const uint8_t* next = y + 1 < dstHeight ? src + RowDelta(rowOffsets[y + 1]) : nullptr;
        if (y > 0 && rowOffsets[y] == rowOffsets[y - 1]) std::memcpy(d, d - dstStride, w);
        else if (equalWidths) std::memcpy(d, r, w);
        else gather(d, r, colOffsets, dstWidth, plan, next);
    }
}

}  // namespace tarn
