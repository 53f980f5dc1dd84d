// ScaleGray: the single-channel driver. It has no box filter and no fade:
// every filter but nearest is bilinear, top and bottom rows are gathered without
// horizontal interpolation, and the column weights live in a block whose
// layout the Inner kernel's trailing pixels depend on.
#include "scale/scale_gray.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "platform/byte_span.h"
#include "platform/form_table.h"
#include "scale/axis_table.h"
#include "scale/gray_halved_rows.h"
#include "scale/gray_gather.h"
#include "scale/gray_row_cache.h"
#include "scale/inner_rows.h"
#include "scale/pixel_lanes.h"

namespace tarn {
namespace {

// Targets of this many bytes or more are stored around the caches where a
// form can (see GrayRowCache::stream). Enlargements from a quarter of that
// on: the chroma planes of a doubled 1080p picture (1 MB each, 12 MB with
// luma) went a third faster so, as each plane alone is past a core's own
// cache and the picture as a whole writes far more than it reads.
constexpr size_t kStreamedTarget = size_t(4) << 20;
constexpr size_t kStreamedEnlargement = kStreamedTarget / 4;

// Top and bottom rows are gathered whole. Where there are enough of them
// (the row pairs of fields mark their bands in pairs, so half an enlarged
// field picture is bottom rows) and writing the target cannot change the
// source, they take the planned gather; otherwise null, and they are
// gathered byte by byte.
std::unique_ptr<const GrayGatherPlan> PlanBandRows(const ScaleRequest& request, const uint32_t* colOffsets,
                                                   const uint32_t* rowOffsets, uint32_t rf, uint32_t rl) {
    constexpr uint32_t kFewest = 8;
    const uint32_t width = request.target.width, height = request.target.height;
    if (width == request.source.width) return nullptr;
    uint32_t bands = 0;
    for (uint32_t y = 0; y < height; ++y) bands += y < rf || y >= rl;
    if (bands < kFewest) return nullptr;
    const RowSpan rows = RowSpanOf(rowOffsets, height);
    const uint32_t colHi = LargestOffset(colOffsets, width);
    const uint8_t* src = request.source.pixels;
    if (!RowsApart(request.target.pixels, width, height, request.target.stride,
                   {AddrOf(src) + rows.lo, AddrOf(src) + rows.hi + colHi + 1}))
        return nullptr;
    return std::unique_ptr<const GrayGatherPlan>(
        new (std::nothrow) GrayGatherPlan(colOffsets, width, GrayGatherLeadsOnItsOwn()));
}

// Band rows of a target stored around the caches: each is gathered aside
// once per source row and streamed from there, since a copy of a row above
// would read back what went to memory. Field pairs alternate between two
// source rows, so two rows are kept.
class AsideRows {
public:
    AsideRows(uint32_t width, GrayRowStream stream)
        : width_(width), stream_(stream), rows_(new (std::nothrow) uint8_t[2 * size_t(width)]) {}
    explicit operator bool() const { return rows_ != nullptr; }

    void Row(uint8_t* d, const uint8_t* src, uint32_t offset, const uint32_t* colOffsets,
             const GrayGatherPlan& plan, GrayPlannedGatherFn planned) {
        int slot = tag_[0] == offset && held_[0] ? 0 : tag_[1] == offset && held_[1] ? 1 : -1;
        if (slot < 0) {
            slot = next_;
            next_ ^= 1;
            tag_[slot] = offset, held_[slot] = true;
            planned(rows_.get() + size_t(slot) * width_, src + RowDelta(offset), colOffsets, width_, plan, nullptr);
        }
        stream_.row(d, rows_.get() + size_t(slot) * width_, width_);
        streamed_ = true;
    }
    ~AsideRows() {
        if (streamed_) stream_.fence();
    }

private:
    uint32_t width_;
    GrayRowStream stream_;
    std::unique_ptr<uint8_t[]> rows_;
    uint32_t tag_[2] = {0, 0};
    bool held_[2] = {false, false};
    int next_ = 0;
    bool streamed_ = false;
};

// A top or bottom row planned as above. It is the gather of its table row,
// so where one of the two rows above was gathered from the same source row
// (field pairs repeat each pair of rows when they enlarge) it is a copy.
void BandRow(uint8_t* d, uint32_t y, const uint32_t* colOffsets, const uint32_t* rowOffsets, uint32_t rf,
             uint32_t rl, const ScaleRequest& request, const GrayGatherPlan& plan, GrayPlannedGatherFn planned,
             AsideRows* aside) {
    if (aside) return aside->Row(d, request.source.pixels, rowOffsets[y], colOffsets, plan, planned);
    const intptr_t stride = request.target.stride;
    for (uint32_t back = 1; back <= 2 && back <= y; ++back) {
        const uint32_t above = y - back;
        if ((above < rf || above >= rl) && rowOffsets[above] == rowOffsets[y]) {
            std::memcpy(d, d - stride * intptr_t(back), request.target.width);
            return;
        }
    }
    planned(d, request.source.pixels + RowDelta(rowOffsets[y]), colOffsets, request.target.width, plan, nullptr);
}

// The axis tables of a plane. Planes of one geometry share them.
struct GrayTables {
    std::unique_ptr<uint32_t[]> words;
    std::unique_ptr<uint8_t[]> block;  // weights first; only bilinear plans have it
    uint32_t* colOffsets = nullptr;
    uint32_t* rowWeights = nullptr;
    uint32_t* rowOffsets = nullptr;
    uint32_t cf = 0, cl = 0, rf = 0, rl = 0;

    bool Build(const ScaleRequest& request) {
        const uint32_t dstWidth = request.target.width, dstHeight = request.target.height;
        const size_t w = dstWidth, h = dstHeight;
        words.reset(new (std::nothrow) uint32_t[w + 2 * h]());
        if (!words) return false;
        colOffsets = words.get();
        rowWeights = colOffsets + w;
        rowOffsets = rowWeights + h;
        cf = 0, cl = dstWidth, rf = 0, rl = dstHeight;
        // Nearest columns and rows have offsets only, and want no weight block.
        const bool nearest = request.plan.columns == AxisFilter::Nearest;
        if (!nearest) {
            // Block: W weight bytes, W column offsets, H row weights, H row
            // offsets. The kernels read offsets and row words from an aligned
            // mirror; the block keeps the bytes that follow the weights as
            // the Inner kernel sees them.
            block.reset(new (std::nothrow) uint8_t[w * 5 + h * 8 + 2]());
            if (!block) return false;
        }
        BuildGrayColumnTable(dstWidth, request.source.width, block.get(), colOffsets, 0.0, request.steps.x, &cf,
                             &cl, request.plan.columns);
        BuildGrayRowTable(dstHeight, request.source.height, rowWeights, rowOffsets, request.source.stride, 0.0,
                          request.steps.y, &rf, &rl, request.plan.rows);
        if (!nearest) {
            std::memcpy(block.get() + w, colOffsets, w * 4);
            std::memcpy(block.get() + w * 5, rowWeights, h * 4);
            std::memcpy(block.get() + w * 5 + h * 4, rowOffsets, h * 4);
        }
        return true;
    }
};

void GrayRows(const ScaleRequest& request, const GrayTables& tables) {
    uint8_t* dst = request.target.pixels;
    const uint8_t* src = request.source.pixels;
    const uint32_t dstWidth = request.target.width, dstHeight = request.target.height;
    const uint32_t srcWidth = request.source.width;
    const int32_t dstStride = request.target.stride, srcStride = request.source.stride;
    const size_t w = dstWidth;
    const uint32_t* colOffsets = tables.colOffsets;
    const uint32_t* rowWeights = tables.rowWeights;
    const uint32_t* rowOffsets = tables.rowOffsets;
    if (request.plan.columns == AxisFilter::Nearest) return NearestGrayRows(request, colOffsets, rowOffsets);
    const uint8_t* colWeights = tables.block.get();
    const uint32_t cf = tables.cf, cl = tables.cl, rf = tables.rf, rl = tables.rl;
    const GrayInnerFn inner = PickGrayInnerRow();
    const uint32_t left = cf, right = dstWidth - cl;
    const uint32_t middle = left + right < dstWidth ? cl - cf : 0;
    // Equal widths copy or blend whole rows.
    const bool wholeRows = dstWidth == srcWidth;
    // The middle band blends each source row once where the target lies
    // apart from every source row the centre rows read (and the row below).
    const CachedGrayInnerFn cachedInner = !wholeRows && middle >= 16 && rf < rl ? PickCachedGrayInnerRow() : nullptr;
    bool cached = false;
    if (cachedInner) {
        const RowSpan rows = RowSpanOf(rowOffsets + rf, rl - rf);
        intptr_t lo = rows.lo, hi = rows.hi;
        lo = std::min(lo, lo + intptr_t(srcStride));
        hi = std::max(hi, hi + intptr_t(srcStride));
        cached = RowsApart(dst, w, dstHeight, dstStride,
                             {AddrOf(src) + lo, AddrOf(src) + hi + size_t(srcWidth) + 8});
    }
    const size_t targetBytes = size_t(w) * dstHeight;
    const bool stream = targetBytes >= kStreamedTarget ||
                        (targetBytes >= kStreamedEnlargement && dstHeight > request.source.height);
    // Every row in the middle band and every column a blend: rows of means
    // where the columns are halves.
    if (cached && !stream && rf == 0 && rl == dstHeight && middle == dstWidth) {
        const GrayHalvedRowsFn halved = PickGrayHalvedRows();
        if (halved && halved(dst, dstStride, src, rowOffsets, rowWeights, dstHeight, srcStride, colWeights,
                             colOffsets, dstWidth, srcWidth))
            return;
    }
    GrayRowCache cache(cached ? middle : 0, srcWidth, stream);
    const std::unique_ptr<const GrayGatherPlan> bandPlan = PlanBandRows(request, colOffsets, rowOffsets, rf, rl);
    const GrayPlannedGatherFn planned = bandPlan ? PickGrayPlannedGather() : nullptr;
    std::optional<AsideRows> aside;
    if (bandPlan && stream) aside.emplace(dstWidth, PickGrayRowStream());
    AsideRows* const asidePtr = aside && *aside ? &*aside : nullptr;
    for (uint32_t y = 0; y < dstHeight; ++y) {
        uint8_t* d = dst + static_cast<intptr_t>(dstStride) * y;
        const uint8_t* r = src + RowDelta(rowOffsets[y]);
        const uint32_t rw = rowWeights[y];
        const bool centre = y >= rf && y < rl;
        if (!centre) {
            if (wholeRows && y < rf) std::memcpy(d, r, w);
            else if (bandPlan) BandRow(d, y, colOffsets, rowOffsets, rf, rl, request, *bandPlan, planned, asidePtr);
            else GrayGatherRow(d, r, colOffsets, dstWidth);
            continue;
        }
        if (wholeRows && rw == 0) {
            std::memcpy(d, r, w);
            continue;
        }
        GrayGatherRow(d, r, colOffsets, left);
        if (wholeRows) {
            for (uint32_t j = cf; j < cf + middle; ++j)
                d[j] = static_cast<uint8_t>(LerpByte(r[j], r[j + static_cast<intptr_t>(srcStride)], rw & 255));
        } else if (cached) {
            const bool more = y + 1 < rl;
            cache.next[0] = more ? src + RowDelta(rowOffsets[y + 1]) : nullptr;
            cache.next[1] = more && (rowWeights[y + 1] & 255) ? cache.next[0] + srcStride : nullptr;
            cachedInner(d + cf, r, colWeights + cf, colOffsets + cf, middle, srcStride, rw, cache);
        } else if (middle) {
            inner(d + cf, r, colWeights + cf, colOffsets + cf, middle, srcStride, rw);
        }
        GrayGatherRow(d + cl, r, colOffsets + cl, right);
    }
}

}  // namespace

GrayHalvedRowsFn PickGrayHalvedRows() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<GrayHalvedRowsFn> t[] = {{SimdForm::Avx2, GrayHalvedRowsAvx2},
                                                    {SimdForm::Plain, nullptr}};
    return PickForm(t);
#else
    return nullptr;
#endif
}

void ScaleGray(const ScaleRequest& request) { ScaleGrayPlanes(&request, 1); }

void ScaleGrayPlanes(const ScaleRequest* requests, size_t count) {
    GrayTables tables;
    if (!count || !tables.Build(requests[0])) return;
    for (size_t i = 0; i < count; ++i) GrayRows(requests[i], tables);
}

}  // namespace tarn
