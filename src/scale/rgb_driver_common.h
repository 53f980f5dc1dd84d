// Set-up shared by the four multi-channel drivers: the table block, the band
// adjustment, and the run helper every band kernel goes through.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>

#include "scale/drivers.h"
#include "scale/pixel_ops.h"

namespace tarn {

// The tables of both axes in one block: column weights, column offsets, row
// weights, row offsets.
class DriverTables {
public:
    DriverTables(uint32_t w, uint32_t h, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcBytes,
                 int32_t srcStride, double startX, double stepX, double startY, double stepY,
                 uint32_t mode)
        : block_(new (std::nothrow) uint32_t[(size_t(w) + h) * 2]()) {
        if (!block_) return;
        maxFactor = std::max(static_cast<int32_t>(stepX), static_cast<int32_t>(stepY));
        cols = {block_, block_ + w, 0, w};
        rows = {block_ + 2 * size_t(w), block_ + 2 * size_t(w) + h, 0, h};
        BuildAxisTable(w, srcWidth, cols.weights, cols.offsets, static_cast<int32_t>(srcBytes), startX,
                       stepX, &cols.first, &cols.last, maxFactor,
                       mode == SCALE_FIELD_BILINEAR ? SCALE_BILINEAR : mode);
        BuildAxisTable(h, srcHeight, rows.weights, rows.offsets, srcStride, startY, stepY, &rows.first,
                       &rows.last, maxFactor, mode);
    }
    ~DriverTables() { delete[] block_; }
    DriverTables(const DriverTables&) = delete;
    DriverTables& operator=(const DriverTables&) = delete;
    bool ok() const { return block_ != nullptr; }

    AxisTable cols{}, rows{};
    int32_t maxFactor = 0;

private:
    uint32_t* block_;
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
inline void RunBand(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co,
                    uint32_t len, Op op) {
    for (uint32_t j = 0; j < len; ++j, dst += DB) {
        const uint32_t v = op(row + co[j], cw[j]);
        if constexpr (kStore3) Store3(dst, v);
        else Store4(dst, v);
    }
}

}  // namespace tarn

namespace tarn {

// The fade path of the two drivers with unequal pixel sizes (3 to 4 and 4 to
// 3 bytes), with the lane values it carries from pixel to pixel.
void MixedFadeRows(uint32_t srcBytes, uint8_t* dst, uint32_t width, uint32_t height,
                   int32_t dstStride, const uint8_t* src, int32_t srcStride,
                   const DriverTables& tables, const Bands& bands, uint32_t background);

}  // namespace tarn
