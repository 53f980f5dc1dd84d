// The band grid of the multi-channel drivers: the tables of both axes, the
// bands they mark (leading, middle, trailing on each axis) after a driver's
// band adjustment, and the run helper every band kernel goes through.
#pragma once

#include <algorithm>
#include <cstdint>
#include <new>

#include "scale/axis_table.h"
#include "scale/pixel_lanes.h"
#include "scale/scale_request.h"

namespace tarn {

// The tables of both axes in one block: column weights, column offsets, row
// weights, row offsets, built with the filters of the request's plan.
class DriverTables {
public:
    explicit DriverTables(const ScaleRequest& r) {
        const uint32_t w = r.target.width, h = r.target.height;
        block_ = new (std::nothrow) uint32_t[(size_t(w) + h) * 2]();
        if (!block_) return;
        maxFactor = std::max(static_cast<int32_t>(r.steps.x), static_cast<int32_t>(r.steps.y));
        cols = {block_, block_ + w, 0, w};
        rows = {block_ + 2 * size_t(w), block_ + 2 * size_t(w) + h, 0, h};
        BuildAxisTable(w, r.source.width, cols.weights, cols.offsets, static_cast<int32_t>(r.source.pixelBytes), 0.0,
                       r.steps.x, &cols.first, &cols.last, r.plan.columns);
        BuildAxisTable(h, r.source.height, rows.weights, rows.offsets, r.source.stride, 0.0, r.steps.y, &rows.first,
                       &rows.last, r.plan.rows);
    }
    ~DriverTables() { delete[] block_; }
    DriverTables(const DriverTables&) = delete;
    DriverTables& operator=(const DriverTables&) = delete;
    bool ok() const { return block_ != nullptr; }

    AxisTable cols{}, rows{};
    int32_t maxFactor = 0;

private:
    uint32_t* block_ = nullptr;
};

// Band grid of a driver after its band adjustment.
struct Bands {
    uint32_t colFirst, colLast, left, middle, right;
    uint32_t rowFirst, rowLast;
    static Bands Of(uint32_t w, const AxisTable& cols, const AxisTable& rows) {
        Bands b{cols.first, cols.last, cols.first, 0, w - cols.last, rows.first, rows.last};
        if (b.left + b.right < w) b.middle = cols.last - cols.first;
        return b;
    }
};

inline const uint8_t* SourceRow(const uint8_t* src, const AxisTable& rows, uint32_t y) {
    return src + RowDelta(rows.offsets[y]);
}
inline uint8_t* TargetRow(uint8_t* dst, int32_t stride, uint32_t y) {
    return dst + static_cast<intptr_t>(stride) * y;
}

// A target row split at the column bands: where the middle and right bands
// begin in the row, and their entries in the column table.
struct RowSplit {
    uint8_t* middle;
    uint8_t* right;
    const uint32_t* middleWeights;
    const uint32_t* middleOffsets;
    const uint32_t* rightWeights;
    const uint32_t* rightOffsets;
};
template <uint32_t DB>
inline RowSplit SplitRow(uint8_t* row, const AxisTable& cols, const Bands& b) {
    return {row + size_t(b.colFirst) * DB, row + size_t(b.colLast) * DB,
            cols.weights + b.colFirst,     cols.offsets + b.colFirst,
            cols.weights + b.colLast,      cols.offsets + b.colLast};
}

// One band of one row: op(sample address, column word) gives the pixel, which
// is stored with four bytes, or three where the kernel stores three.
template <uint32_t DB, bool kStore3, class Op>
inline void RunBand(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len, Op op) {
    for (uint32_t j = 0; j < len; ++j, dst += DB) {
        const uint32_t v = op(row + co[j], cw[j]);
        if constexpr (kStore3) Store3(dst, v);
        else Store4(dst, v);
    }
}

}  // namespace tarn
