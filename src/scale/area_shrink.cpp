// Area-weighted shrink: each source pixel weighs by how much of it lies under
// a target pixel, on both axes, in single-precision floats. One sweep over
// the source rows; a row that a target row's lower edge cuts is split
// between the two target rows. Values named float are rounded to single
// precision where they are stored, and that rounding is part of the result.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "scale/area_shrink.h"

#include "platform/byte_span.h"
#include "platform/form_table.h"

namespace tarn {
namespace {

uint8_t ByteOf(double v) { return static_cast<uint8_t>(static_cast<int32_t>(v)); }

AreaBoxExactFn PickAreaBoxExact() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<AreaBoxExactFn> t[] = {
        {SimdForm::Avx512, AreaBoxExactAvx512}, {SimdForm::Avx2, AreaBoxExactAvx2}, {SimdForm::Plain, nullptr}};
    return PickForm(t);
#else
    return nullptr;
#endif
}

struct AreaCoefficient {
    uint32_t sourceOffset;
    uint32_t targetIndex;
    float weight;
};

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

// The records of a c-byte shrink, one per byte: channel ch of a record
// reads byte ch of its sample into byte ch of its target pixel, in the
// record's place in the list.
std::vector<AreaCoefficient> ByteRecords(const AreaCoefficient* list, uint32_t count, uint32_t c) {
    std::vector<AreaCoefficient> bytes;
    bytes.reserve(size_t(count) * c);
    for (uint32_t i = 0; i < count; ++i)
        for (uint32_t ch = 0; ch < c; ++ch)
            bytes.push_back({list[i].sourceOffset + ch, list[i].targetIndex + ch, list[i].weight});
    return bytes;
}

}  // namespace

// A target row ends on a source row boundary: both sums go out, rounded.
void AreaEmitRowPlain(uint8_t* out, float* __restrict current, float* __restrict carry, uint32_t total) {
    for (uint32_t i = 0; i < total; ++i) {
        out[i] = ByteOf(current[i] + carry[i] + 0.5);
        current[i] = carry[i] = 0;
    }
}

// A target row ends inside a source row: the part 1 - f of that row goes
// out with it, the part f opens the next target row.
void AreaEmitSplitRowPlain(uint8_t* out, float* __restrict current, float* __restrict carry, uint32_t total, float f) {
    const float g = static_cast<float>(1.0 - f);
    for (uint32_t i = 0; i < total; ++i) {
        out[i] = ByteOf(current[i] * g + carry[i] + 0.5);
        carry[i] = current[i] * f;
        current[i] = 0;
    }
}

void AreaCarryRowPlain(float* __restrict current, float* __restrict carry, uint32_t total) {
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
        {SimdForm::Plain, {AreaEmitRowPlain, AreaEmitSplitRowPlain, AreaCarryRowPlain}}};
    return PickForm(t);
#else
    return {AreaEmitRowPlain, AreaEmitSplitRowPlain, AreaCarryRowPlain};
#endif
}

}  // namespace

// With whole factors fx, fy the steps rx, ry and every column edge are
// exact, no sample is split (no partial weights, every row end falls on a
// row boundary with f = 0), and each weight is scale = 1 / (fx * fy). When
// that is 2^-shift, products of bytes and sums of them below 256 are
// multiples of 2^-shift with at most 8 + shift <= 16 significant bits: the
// float sweep rounds nothing.
uint32_t AreaExactShift(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight) {
    if (srcWidth % dstWidth || srcHeight % dstHeight) return 0;
    const uint32_t n = (srcWidth / dstWidth) * (srcHeight / dstHeight);
    if (n < 2 || n > 256 || (n & (n - 1))) return 0;
    uint32_t shift = 0;
    while ((1u << shift) < n) ++shift;
    return shift;
}

namespace {

// Column k of block b reads bytes s + 8k + r, r = 0..7, in record order.
bool EightsBlock(const int32_t* index, uint32_t perColumn, uint32_t width, uint32_t srcWidth, uint32_t b) {
    if (perColumn != 8) return false;
    const int32_t s = index[8 * b];
    if (s < 0 || int64_t(s) + 64 > int64_t(srcWidth)) return false;
    for (uint32_t r = 0; r < 8; ++r)
        for (uint32_t k = 0; k < 8; ++k)
            if (index[size_t(r) * width + 8 * b + k] != s + int32_t(8 * k + r)) return false;
    return true;
}

}  // namespace

AreaSweepPlan BuildAreaSweepPlan(const int32_t* index, uint32_t perColumn, uint32_t width, uint32_t srcWidth) {
    AreaSweepPlan plan;
    const uint32_t blocks = width / 8;
    plan.kind.assign(blocks, AreaSweepPlan::Gather);
    plan.base.assign(size_t(blocks) * 2, 0);
    plan.maskAt.assign(blocks, 0);
    auto sample = [&](uint32_t r, uint32_t x) { return index[size_t(r) * width + x]; };
    for (uint32_t b = 0; b < blocks; ++b) {
        int32_t lo[2], hi[2], spread = 0;
        for (uint32_t h = 0; h < 2; ++h) {
            const uint32_t x = 8 * b + 4 * h;
            lo[h] = hi[h] = sample(0, x);
            for (uint32_t r = 0; r < perColumn; ++r)
                for (uint32_t k = 0; k < 4; ++k) {
                    lo[h] = std::min(lo[h], sample(r, x + k));
                    hi[h] = std::max(hi[h], sample(r, x + k));
                }
            spread = std::max(spread, hi[h] - lo[h]);
        }
        if (EightsBlock(index, perColumn, width, srcWidth, b)) {
            plan.kind[b] = AreaSweepPlan::Eights;
            plan.base[2 * b] = plan.base[2 * b + 1] = sample(0, 8 * b);
            plan.maskAt[b] = uint32_t(plan.masks.size());
            continue;
        }
        // Both halves read one window when the block's samples fit it: the
        // sweep then loads 16 bytes once into both halves of the register.
        if (std::max(hi[0], hi[1]) - std::min(lo[0], lo[1]) < 16) lo[0] = lo[1] = std::min(lo[0], lo[1]);
        const int32_t window = spread < 16 ? 16 : 32;
        if (spread >= 32 || int64_t(srcWidth) < window) {
            plan.gathers = true;
            continue;
        }
        plan.kind[b] = window == 16 ? AreaSweepPlan::Narrow : AreaSweepPlan::Wide;
        plan.maskAt[b] = uint32_t(plan.masks.size());
        const uint32_t parts = uint32_t(window / 16);
        plan.masks.resize(plan.masks.size() + size_t(perColumn) * parts * 32, 0x80);
        for (uint32_t h = 0; h < 2; ++h) {
            const int32_t base = std::min(lo[h], int32_t(srcWidth) - window);
            plan.base[2 * b + h] = base;
            for (uint32_t r = 0; r < perColumn; ++r)
                for (uint32_t k = 0; k < 4; ++k) {
                    // Lane k of the half takes byte rel of the window into its
                    // low byte, from the part of 16 bytes that holds it.
                    const int32_t rel = sample(r, 8 * b + 4 * h + k) - base;
                    uint8_t* m = plan.masks.data() + plan.maskAt[b] + (size_t(r) * parts + uint32_t(rel / 16)) * 32;
                    m[16 * h + 4 * k] = uint8_t(rel % 16);
                }
        }
    }
    return plan;
}

void FindAreaSweepPeriod(AreaSweepPlan& plan, const float* weight, uint32_t perColumn, uint32_t width) {
    const uint32_t blocks = uint32_t(plan.kind.size());
    // Block b repeats block b - p when both are planned alike, their
    // shuffles and weights are the same bytes, and their windows lie the
    // same distance apart as those of blocks p and 0.
    auto maskBytes = [&](uint32_t b) {
        return size_t(perColumn) * (plan.kind[b] == AreaSweepPlan::Narrow ? 32 : 64);
    };
    auto repeats = [&](uint32_t b, uint32_t p, int32_t advance) {
        const uint32_t a = b - p;
        // Eights blocks have no shuffles to compare and are swept without a period.
        if (plan.kind[b] != plan.kind[a] || plan.kind[b] == AreaSweepPlan::Gather ||
            plan.kind[b] == AreaSweepPlan::Eights)
            return false;
        for (uint32_t h = 0; h < 2; ++h)
            if (plan.base[2 * b + h] != plan.base[2 * a + h] + advance) return false;
        if (std::memcmp(plan.masks.data() + plan.maskAt[b], plan.masks.data() + plan.maskAt[a], maskBytes(b)) != 0)
            return false;
        for (uint32_t r = 0; r < perColumn; ++r)
            if (std::memcmp(weight + size_t(r) * width + 8 * b, weight + size_t(r) * width + 8 * a, 8 * sizeof(float)))
                return false;
        return true;
    };
    plan.period = plan.repeats = 0;
    for (uint32_t p = 1; p <= kAreaMaxPeriod && 2 * p <= blocks; ++p) {
        if (plan.kind[p - 1] == AreaSweepPlan::Gather) break;  // longer periods hold it too
        const int32_t advance = plan.base[2 * p] - plan.base[0];
        uint32_t b = p;
        while (b < blocks && repeats(b, p, advance)) ++b;
        if (b >= 2 * p && b > plan.repeats) plan.period = p, plan.repeats = b, plan.advance = advance;
        if (b == blocks) break;
    }
    if (!plan.period) return;
    const uint32_t p = plan.period;
    plan.weights.resize(size_t(perColumn) * 8 * p);
    for (uint32_t r = 0; r < perColumn; ++r)
        std::memcpy(plan.weights.data() + size_t(r) * 8 * p, weight + size_t(r) * width, 8 * p * sizeof(float));
}

void AreaGrayRowPlain(const uint8_t* row, const int32_t* index, const float* weight, uint32_t perColumn,
                      uint32_t width, float* current) {
    for (uint32_t x = 0; x < width; ++x) {
        float v = current[x];
        for (uint32_t r = 0; r < perColumn; ++r) v += row[index[size_t(r) * width + x]] * weight[size_t(r) * width + x];
        current[x] = v;
    }
}

namespace {

// One sweep over the source rows with the horizontal coefficients in `list`.
void AreaAccumulate(const ScaleTarget& target, const ScaleSource& source, const AreaCoefficient* list,
                    uint32_t count, float* current, float* carry) {
    const uint8_t* src = source.pixels;
    const uint32_t srcWidth = source.width, srcHeight = source.height, c = source.pixelBytes;
    const int32_t srcStride = source.stride, dstStride = target.stride;
    const uint32_t dstWidth = target.width, dstHeight = target.height;
    uint8_t* dst = target.pixels;
    const float ry = static_cast<float>(double(srcHeight) / double(dstHeight));
    const uint32_t total = dstWidth * c;
    const AreaRowForms forms = PickAreaRowForms();
    const uint32_t rowBytes = srcWidth * c;
    // A fast form finishes the row end in the same sweep as the sums. It
    // stores a block's target bytes before it reads the source bytes of the
    // blocks after, so it needs a target apart from the source rows (and its
    // rows apart from each other); otherwise each source row is summed whole
    // before its row end writes anything.
    const ByteSpan read = ByteSpan::OfRows(src, srcStride, int32_t(srcHeight), rowBytes);
    const AreaGrayPlannedRowEndFn endRow =
        RowsApart(dst, total, dstHeight, dstStride, read) ? PickAreaGrayRowEnd() : nullptr;
    // Records of one target byte touch only its own accumulator, in list
    // order; the sweep runs from a dense table of them, one column per byte
    // of the target row (single-channel plain sweeps too).
    const bool dense = c == 1 || endRow;
    const DenseArea table = !dense ? DenseArea{}
                            : c == 1 ? Densify(list, count, dstWidth)
                                     : Densify(ByteRecords(list, count, c).data(), count * c, total);
    std::vector<float> scratch(dense ? rowBytes + 16 : 0, 0.0f);
    AreaSweepPlan plan =
        endRow ? BuildAreaSweepPlan(table.index.data(), table.perColumn, total, rowBytes) : AreaSweepPlan{};
    if (endRow) FindAreaSweepPeriod(plan, table.weight.data(), table.perColumn, total);
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
            endRow(row, rowBytes, table.index.data(), table.weight.data(), table.perColumn, total, scratch.data(),
                   rowEnd, f, carry, dst, &plan);
        } else {
            if (dense) {
                AreaGrayRowPlain(row, table.index.data(), table.weight.data(), table.perColumn, dstWidth, current);
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
}

}  // namespace

void AreaShrink(const ScaleTarget& target, const ScaleSource& source) {
    const uint32_t srcWidth = source.width, srcHeight = source.height, c = source.pixelBytes;
    const uint32_t dstWidth = target.width, dstHeight = target.height;
    if (dstWidth == srcWidth && dstHeight == srcHeight) {
        // One block, row padding included.
        const int64_t bytes = int64_t(srcHeight) * source.stride;
        if (bytes > 0) std::memcpy(target.pixels, source.pixels, size_t(bytes));
        return;
    }
    // A target with no pixels (the chroma of a one-pixel plane) gets nothing;
    // its step would be infinite.
    if (dstWidth == 0 || dstHeight == 0) return;
    const AreaBoxExactFn exact = PickAreaBoxExact();
    if (const uint32_t shift = exact ? AreaExactShift(srcWidth, srcHeight, dstWidth, dstHeight) : 0) {
        exact(target, source, shift);
        return;
    }
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
    AreaAccumulate(target, source, list.data(), uint32_t(list.size()), current.data(), carry.data());
}

}  // namespace tarn
