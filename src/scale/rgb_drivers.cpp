// The four multi-channel drivers: nearest copies and gathers, the bilinear
// band grid, the fade grids of 3-to-3 and 4-to-4 pixels, and the hand-off to
// the box shrink. Kernels and their stores are as the band tables say; a
// 4-byte store at pitch 3 spills one byte that the next pixel overwrites.
#include "scale/rgb_drivers.h"

#include <cstring>
#include <memory>

#include "platform/byte_span.h"
#include "scale/box_shrink.h"
#include "scale/inner_row_cache.h"
#include "scale/inner_rows.h"
#include "scale/nearest_rows.h"

namespace tarn {
namespace {

// A target row depends only on its source row and the column table, so a
// row whose source row is that of the row above is a copy of it, where
// writing the target cannot change the source (`reuse`).
// A row of 4-byte pixels kept in cache for a target written through the
// streaming store: the fade grid builds each row there and stores it whole.
// None (null) for small targets, or where the target may share bytes with
// the source rows read (`apart` false), since a row built aside would then
// read source bytes its own pixels had not yet overwritten.
struct StreamedRow {
    std::unique_ptr<uint8_t[]> row;
    StreamRowFn store = nullptr;
    StreamedRow(const ScaleRequest& r, bool apart) {
        const size_t rowBytes = size_t(r.target.width) * 4;
        if (!apart || !StreamsTarget(rowBytes * r.target.height)) return;
        row.reset(new (std::nothrow) uint8_t[rowBytes + 8]);
        store = PickStreamRow();
    }
    explicit operator bool() const { return row != nullptr; }
};

// The source row of target row y + 1 where it lies beyond the rows next to
// that of row y (a shrink skipping rows), for the row kernel to fetch ahead.
const uint8_t* SkippedAhead(const ScaleRequest& r, const AxisTable& rows, uint32_t y) {
    if (y + 1 >= r.target.height) return nullptr;
    const intptr_t step = RowDelta(rows.offsets[y + 1]) - RowDelta(rows.offsets[y]);
    const intptr_t stride = r.source.stride;
    return step == 0 || step == stride || step == -stride ? nullptr : SourceRow(r.source.pixels, rows, y + 1);
}

// Nearest rows of 4-byte pixels through the row kernel's fast form. A row
// that repeats the one above is a copy of it; in a large target apart from
// its source the rows that share a source row are gathered once and stored
// around the caches to each of them instead, which costs less than reading
// the row above back from memory.
void NearestRows44(const ScaleRequest& r, const DriverTables& t, bool reuse) {
    const uint32_t w = r.target.width, h = r.target.height;
    const size_t rowBytes = size_t(w) * 4;
    if (reuse && StreamsTarget(rowBytes * h)) {
        const NearestCopies44Fn gather = PickNearestCopies44();
        const StreamRowFn copy = PickStreamRow();
        for (uint32_t y = 0, n = 1; y < h; y += n) {
            for (n = 1; y + n < h && t.rows.offsets[y + n] == t.rows.offsets[y];) ++n;
            uint8_t* d = TargetRow(r.target.pixels, r.target.stride, y);
            const uint8_t* s = SourceRow(r.source.pixels, t.rows, y);
            if (w == r.source.width)  // whole rows; the column table is ignored
                for (uint32_t c = 0; c < n; ++c) copy(TargetRow(d, r.target.stride, c), s, rowBytes);
            else
                gather(d, r.target.stride, n, s, t.cols.offsets, w, r.source.width * 4,
                       SkippedAhead(r, t.rows, y + n - 1));
        }
        FinishStreamedRows();
        return;
    }
    const NearestRow44Fn gather = PickNearestRow44(UniformStep(t.cols.offsets, w));
    for (uint32_t y = 0; y < h; ++y) {
        uint8_t* d = TargetRow(r.target.pixels, r.target.stride, y);
        const uint8_t* s = SourceRow(r.source.pixels, t.rows, y);
        if (reuse && y > 0 && t.rows.offsets[y] == t.rows.offsets[y - 1])
            std::memcpy(d, TargetRow(r.target.pixels, r.target.stride, y - 1), rowBytes);
        else if (w == r.source.width)  // whole rows; the column table is ignored
            std::memcpy(d, s, rowBytes);
        else
            gather(d, s, t.cols.offsets, w, r.source.width * 4, SkippedAhead(r, t.rows, y));
    }
}

template <uint32_t SB, uint32_t DB>
void NearestRows(const ScaleRequest& r, const DriverTables& t, bool reuse) {
    if constexpr (SB == 4 && DB == 4) {
        NearestRows44(r, t, reuse);
        return;
    }
    uint8_t* dst = r.target.pixels;
    const uint8_t* src = r.source.pixels;
    const uint32_t w = r.target.width, h = r.target.height, srcWidth = r.source.width;
    const int32_t dstStride = r.target.stride;
    [[maybe_unused]] const NearestRow33Fn row33 = PickNearestRow33();
    for (uint32_t y = 0; y < h; ++y) {
        uint8_t* d = TargetRow(dst, dstStride, y);
        if (reuse && y > 0 && t.rows.offsets[y] == t.rows.offsets[y - 1]) {
            std::memcpy(d, TargetRow(dst, dstStride, y - 1), size_t(w) * DB);
            continue;
        }
        const uint8_t* s = SourceRow(src, t.rows, y);
        if (w == srcWidth) {
            // Equal widths: whole-row operations; the column table is ignored.
            if constexpr (SB == DB) {
                std::memcpy(d, s, size_t(w) * SB);
            } else {
                for (uint32_t x = 0; x < w; ++x, d += DB, s += SB) {
                    d[0] = s[0], d[1] = s[1], d[2] = s[2];
                    if constexpr (DB == 4) d[3] = 0xFF;
                }
            }
            continue;
        }
        const uint32_t* co = t.cols.offsets;
        uint32_t x = 0;
        if constexpr (SB == 3 && DB == 3) {
            // Apart from the source, a pixel may be copied with a 4-byte load
            // and store while another pixel follows to overwrite the spare
            // byte, and its sample is not the last of the row.
            if (reuse) {
                row33(d, s, co, w, (srcWidth - 1) * 3, SkippedAhead(r, t.rows, y));
                continue;
            }
        }
        for (; x < w; ++x, d += DB) {
            const uint8_t* p = s + co[x];
            if constexpr (SB == 4 && DB == 4) {
                std::memcpy(d, p, 4);
            } else {
                // 4-byte stores at pitch 3 leave three visible bytes per pixel.
                d[0] = p[0], d[1] = p[1], d[2] = p[2];
                if constexpr (DB == 4) {
                    // The fourth byte is not 0xFF here: interior pixels carry the
                    // byte before their sample (the last byte of the pixel before),
                    // the first and last pixel a byte of no meaning.
                    d[3] = (x > 0 && x + 1 < w && co[x] > 0) ? p[-1] : 0;
                }
            }
        }
    }
}

// Whether the target lies apart from every source row the rows table makes
// the kernels read, and the row `below` bytes from each (8 bytes of slack
// after a row).
bool SourceApart(const ScaleRequest& r, const AxisTable& rows, int32_t below) {
    const uint32_t h = r.target.height;
    const size_t rowBytes = size_t(r.target.width) * r.target.pixelBytes;
    const size_t srcRowBytes = size_t(r.source.width) * r.source.pixelBytes;
    intptr_t lo = RowDelta(rows.offsets[0]), hi = lo;
    for (uint32_t y = 1; y < h; ++y) {
        lo = std::min(lo, RowDelta(rows.offsets[y]));
        hi = std::max(hi, RowDelta(rows.offsets[y]));
    }
    lo = std::min(lo, lo + intptr_t(below));
    hi = std::max(hi, hi + intptr_t(below));
    const Addr src = AddrOf(r.source.pixels);
    return RowsApart(r.target.pixels, rowBytes, h, r.target.stride, {src + lo, src + hi + srcRowBytes + 8});
}

// The middle band's Inner through a row cache, which blends each source row
// once: where a fast form caches, the target lies apart from every source
// row read (`apart`), the band holds a group of pixels, and enough source
// rows serve more than one target row (`Pays`).
struct CachedMiddle {
    CachedInnerRowFn fn;
    InnerRowCache cache;
    CachedMiddle(const ScaleRequest& r, const Bands& b, bool apart, uint32_t pixelBytes)
        : fn(apart && b.middle >= 4 && Pays(r, pixelBytes) ? PickCachedInnerRow(pixelBytes) : nullptr),
          cache(fn ? b.middle : 0, r.plan.rows == AxisFilter::FieldPairs ? 3 : 2) {}
    bool Ready() const { return fn && cache.Ready(); }

    // As measured: the 4-byte cache's wide loads pay up to a shrink by 2,
    // where no row is read twice; 3-byte rows need the reuse, which bilinear
    // rows have up to a shrink by 1.5 and field pairs (rows 2k and 2k + 1,
    // then 2k + 1 and 2k + 2) up to 2.
    static bool Pays(const ScaleRequest& r, uint32_t pixelBytes) {
        if (pixelBytes == 4) return r.steps.y < 3.0;
        return r.steps.y < (r.plan.rows == AxisFilter::FieldPairs ? 2.0 : 1.5);
    }
};

// The middle band's Inner for rows whose word is kHalfWord, where a fast
// form works such rows on the band's column table and the target lies apart
// from every source row read (`apart`).
// Each row asks for the next target row's source rows while it works.
struct HalvesMiddle {
    HalvesInnerFn fn = nullptr;
    const AxisTable& rows;
    HalvesMiddle(const DriverTables& t, const Bands& b, bool apart, uint32_t pixelBytes) : rows(t.rows) {
        if (apart && b.middle)
            fn = PickHalvesInnerRow(pixelBytes, t.cols.weights + b.colFirst, t.cols.offsets + b.colFirst, b.middle);
    }
    bool Takes(uint32_t rw) const { return fn && rw == kHalfWord; }
    void operator()(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len,
                    int32_t below, uint32_t rw, uint32_t y, uint32_t rowLast) const {
        const intptr_t ahead = y + 1 < rowLast ? RowDelta(rows.offsets[y + 1]) - RowDelta(rows.offsets[y]) : 0;
        fn(dst, row, cw, co, len, below, rw, ahead);
    }
};

// Bilinear, field pairs and the area word in the 3-to-3, 3-to-4 and 4-to-3
// drivers.
template <uint32_t SB, uint32_t DB>
void BilinearRows(const ScaleRequest& r, const DriverTables& t, const Bands& b) {
    uint8_t* dst = r.target.pixels;
    const uint8_t* src = r.source.pixels;
    const uint32_t h = r.target.height;
    const int32_t dstStride = r.target.stride, stride = r.source.stride;
    constexpr bool k3 = DB == 3;  // Copy and VerticalOnly store three bytes there
    const InnerRowFn inner = PickInnerRow(SB, DB);
    const AxisTable& c = t.cols;
    auto copy = [](const uint8_t* s, uint32_t) { return Load4(s); };
    auto horizontal = [](const uint8_t* s, uint32_t cw) { return Lerp(Load4(s), Load4(s + SB), cw); };
    const bool apart = SB == DB && SourceApart(r, t.rows, stride);
    const HalvesMiddle halves(t, b, apart && SB == 3, SB);
    CachedMiddle middle(r, b, apart && !halves.fn, SB);
    for (uint32_t y = 0; y < h; ++y) {
        uint8_t* d = TargetRow(dst, dstStride, y);
        const uint8_t* row = SourceRow(src, t.rows, y);
        const uint32_t rw = t.rows.weights[y];
        uint8_t* dm = d + size_t(b.colFirst) * DB;
        uint8_t* dr = d + size_t(b.colLast) * DB;
        if (y >= b.rowFirst && y < b.rowLast) {
            auto vertical = [rw, stride](const uint8_t* s, uint32_t) {
                // The 3-to-4 driver builds these loads from three bytes.
                if constexpr (SB == 3 && DB == 4) return Lerp(Load3(s), Load3(s + stride), rw);
                else return Lerp(Load4(s), Load4(s + stride), rw);
            };
            RunBand<DB, k3>(d, row, c.weights, c.offsets, b.left, vertical);
            if (halves.Takes(rw))
                halves(dm, row, c.weights + b.colFirst, c.offsets + b.colFirst, b.middle, stride, rw, y, b.rowLast);
            else if (middle.Ready())
                middle.fn(dm, row, c.weights + b.colFirst, c.offsets + b.colFirst, b.middle, stride, rw, middle.cache);
            else if (b.middle)
                inner(dm, row, c.weights + b.colFirst, c.offsets + b.colFirst, b.middle, stride, rw);
            RunBand<DB, k3>(dr, row, c.weights + b.colLast, c.offsets + b.colLast, b.right, vertical);
        } else {
            RunBand<DB, k3>(d, row, c.weights, c.offsets, b.left, copy);
            RunBand<DB, false>(dm, row, c.weights + b.colFirst, c.offsets + b.colFirst, b.middle, horizontal);
            RunBand<DB, k3>(dr, row, c.weights + b.colLast, c.offsets + b.colLast, b.right, copy);
        }
    }
}

// Fade grid: 3-to-3 pixels in the bilinear fade, 4-to-4 pixels in the
// bilinear filters with and without fade and in field pairs.
template <uint32_t SB>
void FadeRows(const ScaleRequest& r, const DriverTables& t, const Bands& b) {
    constexpr uint32_t DB = SB;
    uint8_t* dst = r.target.pixels;
    const uint8_t* src = r.source.pixels;
    const uint32_t w = r.target.width, h = r.target.height, srcWidth = r.source.width;
    const int32_t dstStride = r.target.stride, stride = r.source.stride;
    const uint32_t bg = r.background;
    const InnerRowFn inner = PickInnerRow(SB, DB);
    const AxisTable& c = t.cols;
    // The 4-to-4 driver copies or blends whole rows at equal widths.
    const bool wholeRows = SB == 4 && w == srcWidth;
    const bool apart = SourceApart(r, t.rows, stride);
    const HalvesMiddle halves(t, b, apart && !wholeRows, SB);
    CachedMiddle middle(r, b, apart && !wholeRows && !halves.fn, SB);
    uint32_t lead = 0;  // middle pixels before those the cache takes
    // Row y into `d`.
    auto buildRow = [&](uint8_t* d, uint32_t y) {
        const uint8_t* row = SourceRow(src, t.rows, y);
        const uint32_t rw = t.rows.weights[y];
        const auto [dm, dr, cwm, com, cwr, cor] = SplitRow<DB>(d, c, b);
        auto corner = [rw, bg](const uint8_t* s, uint32_t cw) { return Lerp(bg, Load4(s), CornerWeight(cw, rw)); };
        if (y >= b.rowFirst && y < b.rowLast) {
            auto edgeLeft = [rw, bg, stride](const uint8_t* s, uint32_t cw) {
                return Lerp(Lerp(bg, Load4(s), cw), Lerp(bg, Load4(s + stride), cw), rw);
            };
            auto edgeRight = [rw, bg, stride](const uint8_t* s, uint32_t cw) {
                return Lerp(bg, Lerp(Load4(s), Load4(s + stride), rw), cw);
            };
            auto horizontal = [](const uint8_t* s, uint32_t cw) { return Lerp(Load4(s), Load4(s + SB), cw); };
            if (wholeRows && (rw == 0 || rw == 0xFFFFFFFFu)) {
                std::memcpy(d, rw == 0 ? row : row + stride, size_t(srcWidth) * 4);
                return;
            }
            RunBand<DB, false>(d, row, c.weights, c.offsets, b.left, edgeLeft);
            if (wholeRows) {
                // Consecutive source pixels from the row's first, whatever `first` is.
                for (uint32_t j = 0; j < b.middle; ++j)
                    Store4(dm + 4 * j, Lerp(Load4(row + 4 * j), Load4(row + stride + 4 * j), rw));
            } else if (SB == 4 && rw == 0) {
                RunBand<DB, false>(dm, row, cwm, com, b.middle, horizontal);
            } else if (SB == 4 && rw == 0xFFFFFFFFu) {
                RunBand<DB, false>(dm, row + stride, cwm, com, b.middle, horizontal);
            } else if (halves.Takes(rw)) {
                halves(dm, row, cwm, com, b.middle, stride, rw, y, b.rowLast);
            } else if (middle.Ready()) {
                if (lead) inner(dm, row, cwm, com, lead, stride, rw);
                middle.fn(dm + DB * lead, row, cwm + lead, com + lead, b.middle - lead, stride, rw, middle.cache);
            } else if (b.middle) {
                inner(dm, row, cwm, com, b.middle, stride, rw);
            }
            RunBand<DB, false>(dr, row, cwr, cor, b.right, edgeRight);
        } else {
            auto edgeRow = [rw, bg](const uint8_t* s, uint32_t cw) {
                return Lerp(bg, Lerp(Load4(s), Load4(s + SB), cw), rw);
            };
            RunBand<DB, false>(d, row, c.weights, c.offsets, b.left, corner);
            RunBand<DB, false>(dm, row, cwm, com, b.middle, edgeRow);
            // The 3-to-3 driver copies in rows 0 and H - 1, the rows that can end
            // the buffer, with three-byte stores.
            if (SB == 3 && (y == 0 || y + 1 == h))
                RunBand<DB, true>(dr, row, cwr, cor, b.right, [](const uint8_t* s, uint32_t) { return Load4(s); });
            else
                RunBand<DB, false>(dr, row, cwr, cor, b.right, corner);
        }
    };
    // 4-byte rows of a large target are built aside and streamed; or, where
    // the cache streams its rows, in place with the middle band's stores
    // bypassing the caches, after the `lead` pixels that bring it to a
    // 16-byte boundary, which then falls in the same place in every row.
    const StreamedRow aside(r, SB == 4 && apart);
    const uintptr_t middleAt = AddrOf(dst + size_t(b.colFirst) * DB);
    if (aside && middle.Ready() && dstStride % 16 == 0 && middleAt % 4 == 0) {
        lead = uint32_t(-middleAt % 16 / 4);
        if (b.middle >= lead + 8) {
            middle.cache.stream = true;
            for (uint32_t y = 0; y < h; ++y) buildRow(TargetRow(dst, dstStride, y), y);
            aside.store(dst, dst, 0);  // an empty row: the fence after the streamed stores
            return;
        }
        lead = 0;
    }
    for (uint32_t y = 0; y < h; ++y) {
        if (!aside) {
            buildRow(TargetRow(dst, dstStride, y), y);
            continue;
        }
        buildRow(aside.row.get(), y);
        aside.store(TargetRow(dst, dstStride, y), aside.row.get(), size_t(w) * 4);
    }
}

enum class Adjust { Raise_Cap, Cap_Raise, CapColumns, None };

template <uint32_t SB, uint32_t DB, Adjust A>
void Drive(const ScaleRequest& r) {
    DriverTables t(r);
    if (!t.ok()) return;
    const uint32_t w = r.target.width, h = r.target.height;
    if (r.plan.driver == ScaleDriver::Nearest) {
        const bool reuse = SourceApart(r, t.rows, 0);
        NearestRows<SB, DB>(r, t, reuse);
        return;
    }
    const bool box = r.plan.Boxes();
    uint32_t& cl = t.cols.last;
    uint32_t& rl = t.rows.last;
    if constexpr (A == Adjust::Raise_Cap) {
        cl = std::min(std::max(cl, t.cols.first), w - 1);
        if (!box) rl = std::min(rl, h - 1);
    } else if constexpr (A == Adjust::Cap_Raise) {
        cl = std::max(std::min(cl, w - 1), t.cols.first);
        if (!box) rl = std::min(rl, h - 1);
    } else if constexpr (A == Adjust::CapColumns) {
        cl = std::min(cl, w - 1);
    }
    const Bands b = Bands::Of(w, t.cols, t.rows);
    switch (r.plan.driver) {
        case ScaleDriver::Box:
        case ScaleDriver::BoxFade: BoxShrinkRows(r, t, b); break;
        case ScaleDriver::Fade:
            if constexpr (SB == DB) FadeRows<SB>(r, t, b);
            break;
        case ScaleDriver::MixedFade:
            if constexpr (SB != DB) MixedFadeRows(r, t, b);
            break;
        default: BilinearRows<SB, DB>(r, t, b); break;
    }
}

}  // namespace

void ScaleChannels(const ScaleRequest& r) {
    // The band adjustment of each pair of pixel sizes is its own.
    switch (r.source.pixelBytes * 10 + r.target.pixelBytes) {
        case 33: Drive<3, 3, Adjust::Raise_Cap>(r); break;
        case 43: Drive<4, 3, Adjust::Cap_Raise>(r); break;
        case 34: Drive<3, 4, Adjust::CapColumns>(r); break;
        case 44: Drive<4, 4, Adjust::None>(r); break;
        default: break;
    }
}

}  // namespace tarn
