// Area-weighted shrink: each source pixel weighs by how much of it lies under
// a target pixel, on both axes, in single-precision floats. One sweep over
// the source rows; a row that a target row's lower edge cuts is split
// between the two target rows. Values named float are rounded to single
// precision where they are stored, and that rounding is part of the result.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "scale/planar_scale.h"

#include "convert/kernel_forms.h"

namespace tarn {
namespace {

uint8_t ByteOf(double v) { return static_cast<uint8_t>(static_cast<int32_t>(v)); }

bool AreaShrink(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,
                uint8_t*& dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride, uint32_t c) {
    if (dstWidth == srcWidth && dstHeight == srcHeight) {
        // One block, row padding included.
        const int64_t bytes = int64_t(srcHeight) * srcStride;
        if (bytes > 0) std::memcpy(dst, src, size_t(bytes));
        return true;
    }
    // A target with no pixels (the chroma of a one-pixel plane) gets nothing;
    // its step would be infinite.
    if (dstWidth == 0 || dstHeight == 0) return true;
    const float rx = static_cast<float>(double(srcWidth) / double(dstWidth));
    const float ry = static_cast<float>(double(srcHeight) / double(dstHeight));
    const float scale = static_cast<float>(1.0 / (double(ry) * double(rx)));

    // Horizontal coefficients: the partial sample at each edge and the whole
    // ones between; a right-edge part of 0.001 or less is dropped.
    std::vector<AreaCoefficient> list;
    list.reserve(size_t(dstWidth) * (size_t(rx) + 3));
    for (uint32_t x = 0; x < dstWidth; ++x) {
        const float x1 = static_cast<float>(double(x) * rx);
        const float x2 = static_cast<float>(rx + x1);
        const int32_t lo = static_cast<int32_t>(static_cast<float>(std::ceil(x1)));
        const int32_t hi = static_cast<int32_t>(static_cast<float>(std::floor(x2)));
        auto add = [&](int32_t sample, float weight) {
            list.push_back({uint32_t(sample) * c, x * c, weight});
        };
        if (x1 < static_cast<float>(lo)) add(lo - 1, (static_cast<float>(lo) - x1) * scale);
        for (int32_t k = lo; k < hi; ++k) add(k, scale);
        const float d = x2 - static_cast<float>(hi);
        if (d > 0.001) add(hi, scale * d);
    }
    const size_t n = size_t(dstWidth) * c + 4;
    std::vector<float> current(n, 0.0f), carry(n, 0.0f);
    return AreaAccumulate(src, srcStride, srcWidth, srcHeight, dst, dstStride, dstWidth, dstHeight, c,
                          list.data(), uint32_t(list.size()), current.data(), carry.data());
}

// The list of a single-channel shrink as a dense table: for each target
// column its records in list order, padded to the same number with weight 0
// (adding the +0 product leaves a sum of non-negative values unchanged).
struct DenseArea {
    uint32_t perColumn = 0;
    std::vector<int32_t> index;  // [record][column]
    std::vector<float> weight;
};

DenseArea Densify(const AreaCoefficient* list, uint32_t count, uint32_t width) {
    DenseArea d;
    std::vector<uint32_t> n(width, 0);
    for (uint32_t i = 0; i < count; ++i) d.perColumn = std::max(d.perColumn, ++n[list[i].targetIndex]);
    d.index.assign(size_t(d.perColumn) * width, 0);
    d.weight.assign(size_t(d.perColumn) * width, 0.0f);
    std::fill(n.begin(), n.end(), 0);
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t x = list[i].targetIndex, r = n[x]++;
        d.index[size_t(r) * width + x] = int32_t(list[i].sourceOffset);
        d.weight[size_t(r) * width + x] = list[i].weight;
    }
    for (uint32_t x = 0; x < width; ++x)
        for (uint32_t r = n[x]; r < d.perColumn; ++r) d.index[size_t(r) * width + x] = d.index[x];
    return d;
}

}  // namespace

// A target row ends on a source row boundary: both sums go out, rounded.
void AreaEmitRow(uint8_t* out, float* __restrict current, float* __restrict carry, uint32_t total) {
    for (uint32_t i = 0; i < total; ++i) {
        out[i] = ByteOf(current[i] + carry[i] + 0.5);
        current[i] = carry[i] = 0;
    }
}

// A target row ends inside a source row: the part 1 - f of that row goes
// out with it, the part f opens the next target row.
void AreaEmitSplitRow(uint8_t* out, float* __restrict current, float* __restrict carry, uint32_t total, float f) {
    const float g = static_cast<float>(1.0 - f);
    for (uint32_t i = 0; i < total; ++i) {
        out[i] = ByteOf(current[i] * g + carry[i] + 0.5);
        carry[i] = current[i] * f;
        current[i] = 0;
    }
}

void AreaCarryRow(float* __restrict current, float* __restrict carry, uint32_t total) {
    for (uint32_t i = 0; i < total; ++i) {
        carry[i] += current[i];
        current[i] = 0;
    }
}

namespace {

AreaGrayPlannedRowEndFn PickAreaGrayRowEnd() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<AreaGrayPlannedRowEndFn> t[] = {{SimdForm::Avx2, AreaGrayRowEndPlannedAvx2},
                                                           {SimdForm::Plain, nullptr}};
    return PickForm(t);
#else
    return nullptr;
#endif
}

struct AreaRowForms {
    void (*emit)(uint8_t*, float*, float*, uint32_t);
    void (*split)(uint8_t*, float*, float*, uint32_t, float);
    void (*carry)(float*, float*, uint32_t);
};

AreaRowForms PickAreaRowForms() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<AreaRowForms> t[] = {
        {SimdForm::Avx2, {AreaEmitRowAvx2, AreaEmitSplitRowAvx2, AreaCarryRowAvx2}},
        {SimdForm::Plain, {AreaEmitRow, AreaEmitSplitRow, AreaCarryRow}}};
    return PickForm(t);
#else
    return {AreaEmitRow, AreaEmitSplitRow, AreaCarryRow};
#endif
}

}  // namespace

AreaSweepPlan BuildAreaSweepPlan(const int32_t* index, uint32_t perColumn, uint32_t width, uint32_t srcWidth) {
    constexpr uint32_t kWindow = 16;
    AreaSweepPlan plan;
    const uint32_t blocks = width / 8;
    plan.base.assign(blocks, -1);
    plan.masks.assign(size_t(blocks) * perColumn * 32, 0x80);
    if (srcWidth < kWindow) return plan;
    for (uint32_t b = 0; b < blocks; ++b) {
        const uint32_t x = 8 * b;
        int32_t lo = index[x], hi = index[x];
        for (uint32_t r = 0; r < perColumn; ++r)
            for (uint32_t k = 0; k < 8; ++k) {
                lo = std::min(lo, index[size_t(r) * width + x + k]);
                hi = std::max(hi, index[size_t(r) * width + x + k]);
            }
        const int32_t base = std::min(lo, int32_t(srcWidth - kWindow));
        if (base < 0 || hi - base >= int32_t(kWindow)) continue;
        plan.base[b] = base;
        for (uint32_t r = 0; r < perColumn; ++r) {
            uint8_t* m = plan.masks.data() + (size_t(b) * perColumn + r) * 32;
            // Lane k takes byte rel of the window into its low byte; both
            // 16-byte halves of the register hold the same window.
            for (uint32_t k = 0; k < 8; ++k) m[4 * k] = uint8_t(index[size_t(r) * width + x + k] - base);
        }
    }
    return plan;
}

void AreaGrayRow(const uint8_t* row, uint32_t /*srcWidth*/, const int32_t* index, const float* weight,
                 uint32_t perColumn, uint32_t width, float* /*scratch*/, float* current) {
    for (uint32_t x = 0; x < width; ++x) {
        float v = current[x];
        for (uint32_t r = 0; r < perColumn; ++r) v += row[index[size_t(r) * width + x]] * weight[size_t(r) * width + x];
        current[x] = v;
    }
}

bool AreaAccumulate(const uint8_t* src, int32_t srcStride, uint32_t srcWidth, uint32_t srcHeight,
                    uint8_t*& dst, int32_t dstStride, uint32_t dstWidth, uint32_t dstHeight, uint32_t c,
                    const AreaCoefficient* list, uint32_t count, float* current, float* carry) {
    const float ry = static_cast<float>(double(srcHeight) / double(dstHeight));
    const uint32_t total = dstWidth * c;
    // Records of one target column touch only its own accumulators, in list
    // order; the single-channel sweep runs from a dense table of them.
    const bool dense = c == 1;
    const DenseArea table = dense ? Densify(list, count, dstWidth) : DenseArea{};
    std::vector<float> scratch(dense ? srcWidth + 16 : 0, 0.0f);
    const AreaRowForms forms = PickAreaRowForms();
    // A fast form may finish the row end in the same sweep as the sums.
    const AreaGrayPlannedRowEndFn endRow = dense ? PickAreaGrayRowEnd() : nullptr;
    const AreaSweepPlan plan =
        endRow ? BuildAreaSweepPlan(table.index.data(), table.perColumn, dstWidth, srcWidth) : AreaSweepPlan{};
    uint32_t t = 1;
    for (uint32_t y = 0; y < srcHeight; ++y) {
        const uint8_t* row = src + intptr_t(y) * srcStride;
        const double boundary = double(t) * ry;
        const float next = static_cast<float>(y + 1);
        // The last source row always ends a target row, so rounding in the
        // boundary cannot lose the last one.
        const bool ends = next >= boundary || y + 1 == srcHeight;
        float f = 0;
        if (ends) {
            f = static_cast<float>(next - boundary);
            if (!(f > 0)) f = 0;
        }
        const int rowEnd = !ends ? 0 : std::fabs(f) < 0.001 ? 1 : 2;
        if (endRow) {
            endRow(row, srcWidth, table.index.data(), table.weight.data(), table.perColumn, dstWidth, scratch.data(),
                   rowEnd, f, carry, dst, &plan);
        } else {
            if (dense) {
                AreaGrayRow(row, srcWidth, table.index.data(), table.weight.data(), table.perColumn, dstWidth,
                            scratch.data(), current);
            } else {
                for (uint32_t i = 0; i < count; ++i) {
                    const AreaCoefficient& k = list[i];
                    for (uint32_t ch = 0; ch < c; ++ch)
                        current[k.targetIndex + ch] += row[k.sourceOffset + ch] * k.weight;
                }
            }
            if (rowEnd == 0) forms.carry(current, carry, total);
            else if (rowEnd == 1) forms.emit(dst, current, carry, total);
            else forms.split(dst, current, carry, total, f);
        }
        if (ends) {
            dst += dstStride;
            ++t;
        }
    }
    return true;
}

bool AreaShrinkGray(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,
                    uint8_t*& dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride) {
    return AreaShrink(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, 1);
}
bool AreaShrinkRgb24(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,
                     uint8_t*& dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride) {
    return AreaShrink(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, 3);
}
bool AreaShrinkRgb32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, int32_t srcStride,
                     uint8_t*& dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride) {
    return AreaShrink(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, 4);
}

}  // namespace tarn
