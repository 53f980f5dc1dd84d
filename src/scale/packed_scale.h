// The 4:2:2 scaler's fast forms and the tables they work from. Target byte i
// of a row (pixel i / 2, byte i % 2 of its pair) reads source bytes off0[i]
// and off1[i] of two rows (its pair and the next, clamped into the row) and
// blends them by dx[i], the fraction of its position; target row y blends
// source rows y0 and y1 by dy in the same way, as ScalePackedPlain does.
#pragma once

#include <cstdint>
#include <vector>

#include "scale/scale.h"

namespace tarn {

using ScalePackedFn = void (*)(const ScaleTarget& target, const ScaleSource& source);

void ScalePackedPlain(const ScaleTarget& target, const ScaleSource& source);

// Source pixels per target pixel along one side, as the plain form rounds it.
float PackedStep(uint32_t sourceSide, uint32_t targetSide);

// The two source bytes and the fraction of each of the 2 x dstWidth bytes
// of a target row, worked as the plain form works them.
struct PackedColumns {
    std::vector<int32_t> off0, off1;
    std::vector<float> dx;
};
PackedColumns PlanPackedColumns(int32_t srcWidth, int32_t dstWidth);

// For the vector forms: per block of `perBlock` target bytes, the first of
// 16 row bytes that hold all their samples (-1: they spread wider, or the
// row is shorter, and the block is read one byte at a time) and two byte
// shuffles of those 16 bytes that put the first and the second sample of
// each target byte in the low byte of a lane of 16 / perBlock bytes, the
// rest of the lane zero.
struct PackedWindows {
    std::vector<int32_t> base;
    std::vector<uint8_t> pickA, pickB;  // [block][16]
};
PackedWindows PlanPackedWindows(const PackedColumns& columns, int32_t rowBytes, int32_t perBlock);

// The two source rows target row y blends, and the fraction between them.
struct PackedRow {
    int32_t y0, y1;
    float dy;
};
PackedRow PackedRowAt(int32_t y, float sy, int32_t lastRow);

// Two source rows worked across once each (by `work(row, y)`) and kept while
// the target rows that blend them go by: a row is worked again only when
// neither slot holds it, into the slot that does not hold `keep`.
template <class Row>
class KeptRows {
public:
    explicit KeptRows(const Row& blank) : rows_{blank, blank} {}

    template <class Work>
    const Row& Get(int32_t y, int32_t keep, Work work) {
        for (int i = 0; i < 2; ++i)
            if (tag_[i] == y) return rows_[i];
        const int slot = tag_[0] == keep ? 1 : 0;
        work(rows_[slot], y);
        tag_[slot] = y;
        return rows_[slot];
    }

private:
    Row rows_[2];
    int32_t tag_[2] = {-1, -1};
};

// The vector forms' way for fractions that are not whole 128ths. The plain
// form's value of a target byte is double(top) - (double(top) - bottom) * dy
// with top = float(H(y0)) and bottom = H(y1), where H(row) = a - (a - b) * dx
// is the same double expression of the row's two samples. So each source
// row's H, and H rounded to float, are worked once, in doubles with the same
// operations in the same order, and kept while target rows use it; each
// target row is then one vertical blend of two kept rows.
struct PackedDoubleColumns {
    PackedColumns taps;
    std::vector<double> dx;  // taps.dx widened
    PackedWindows windows;   // of blocks of four target bytes
};
inline PackedDoubleColumns PlanPackedDoubleColumns(int32_t srcWidth, int32_t dstWidth) {
    PackedDoubleColumns c{PlanPackedColumns(srcWidth, dstWidth), {}, {}};
    c.dx.assign(c.taps.dx.begin(), c.taps.dx.end());
    c.windows = PlanPackedWindows(c.taps, 2 * srcWidth, 4);
    return c;
}

// A source row blended across: H in doubles, and H rounded to float, which
// is what a target row takes of it when it is the upper row.
struct PackedBlended {
    std::vector<double> h;
    std::vector<float> top;
};

// H of target byte i of `row`, and both forms of it stored.
inline void BlendPackedOne(PackedBlended& out, const uint8_t* row, const PackedDoubleColumns& c, size_t i) {
    const int32_t a = row[c.taps.off0[i]], b = row[c.taps.off1[i]];
    out.h[i] = a - (a - b) * c.dx[i];
    out.top[i] = static_cast<float>(out.h[i]);
}

// What a vector form's row blend reads and writes, held in locals: the
// vector stores may alias anything, and would have every pointer held
// elsewhere fetched anew after each.
struct PackedBlendView {
    PackedBlendView(PackedBlended& out, const PackedDoubleColumns& c)
        : base(c.windows.base.data()), pickA(c.windows.pickA.data()), pickB(c.windows.pickB.data()),
          dx(c.dx.data()), h(out.h.data()), top(out.top.data()) {}
    const int32_t* base;
    const uint8_t *pickA, *pickB;
    const double* dx;
    double* h;
    float* top;
};

// Target byte i of a row: double(top) - (double(top) - bottom) * dy, truncated.
inline uint8_t MixPackedOne(const float* top, const double* bottom, float dy, size_t i) {
    const double t = top[i];
    const double value = t - (t - bottom[i]) * double(dy);
    return static_cast<uint8_t>(static_cast<int32_t>(value));
}

// Whether a target of `bytes` is written around the caches: it would only
// push the source and the kept rows out, and each line written would first
// be read. The caller fences once after the last row.
inline bool WriteAroundCaches(size_t bytes) { return bytes >= (size_t(8) << 20); }

// Scales by blend(out, row, c, n) of each source row used, `c` the columns
// as the form plans them, and mix(d, top floats, bottom doubles, dy, n,
// around) of each target row; answers whether the rows went around the
// caches (then the caller fences).
template <class Columns, class Blend, class Mix>
bool ScalePackedInDoubles(const ScaleTarget& target, const ScaleSource& source, const Columns& c, Blend blend,
                          Mix mix) {
    const int32_t lastRow = int32_t(source.height) - 1, rows = int32_t(target.height);
    const float sy = PackedStep(source.height, target.height);
    const size_t n = 2 * size_t(target.width);
    const bool around = WriteAroundCaches(n * size_t(rows));
    KeptRows<PackedBlended> kept({std::vector<double>(n), std::vector<float>(n)});
    auto work = [&](PackedBlended& out, int32_t y) { blend(out, source.pixels + intptr_t(y) * source.stride, c, n); };
    for (int32_t y = 0; y < rows; ++y) {
        const PackedRow r = PackedRowAt(y, sy, lastRow);
        // With dy 0 the value is top - (top - bottom) * 0 = top: the row
        // below plays no part, and the row above stands in for it.
        const PackedBlended& top = kept.Get(r.y0, r.y1, work);
        const PackedBlended& bottom = r.dy == 0.0f ? top : kept.Get(r.y1, r.y0, work);
        mix(target.pixels + intptr_t(y) * target.stride, top.top.data(), bottom.h.data(), r.dy, n, around);
    }
    return around;
}

// Doubling both ways every step is exactly 1/2, so every dx and dy is 0 or
// 1/2 and no step of the plain form's arithmetic rounds (the integer way of
// the AVX2 form, with kx = ky = 1). Target row 2k then takes source row k
// (`upper`) and row 2k + 1 blends it with `lower`, row k + 1 clamped: with
// a, b a byte and the same byte of the next pair (clamped onto itself at
// the row's end), of the upper and lower rows,
//   row 2k:     even pairs a0, odd pairs (a0 + b0) >> 1
//   row 2k + 1: even pairs (a0 + a1) >> 1, odd pairs (a0 + b0 + a1 + b1) >> 2
// Target byte i of either row, the source rows `rowBytes` long.
inline uint8_t PackedDoubledByte(const uint8_t* upper, const uint8_t* lower, bool second, size_t i,
                                 size_t rowBytes) {
    const size_t at = i / 4 * 2 + i % 2, next = at + 2 < rowBytes ? at + 2 : at;
    const bool odd = (i / 2) & 1;
    if (!second) return uint8_t(odd ? (upper[at] + upper[next]) >> 1 : upper[at]);
    return uint8_t(odd ? (upper[at] + upper[next] + lower[at] + lower[next]) >> 2 : (upper[at] + lower[at]) >> 1);
}

// A target row of a doubling by a form's sweep(d, n, around, vector,
// scalar, end), with vector(i) the form's block of target bytes from i on
// (`upperBlock` for row 2k, `lowerBlock` for row 2k + 1). Target byte i
// reads source bytes i / 2 and two on, so the blocks stop four bytes short
// of the row's end, where those would pass the row or clamp. A block must
// begin a pair of pairs: streamed stores, which start at an aligned byte,
// are left to rows that start at one.
template <class Sweep, class UpperBlock, class LowerBlock>
void SweepDoubledRow(Sweep sweep, UpperBlock upperBlock, LowerBlock lowerBlock, uint8_t* d, const uint8_t* upper,
                     const uint8_t* lower, bool second, size_t n, bool around) {
    const size_t rowBytes = n / 2, end = n >= 4 ? n - 4 : 0;
    around = around && (reinterpret_cast<uintptr_t>(d) & 3) == 0;
    auto scalar = [&](size_t i) { return PackedDoubledByte(upper, lower, second, i, rowBytes); };
    if (second)
        sweep(d, n, around, lowerBlock, scalar, end);
    else
        sweep(d, n, around, upperBlock, scalar, end);
}

// Scales by row(d, upper, lower, second, n, around) of each target row, the
// source rows as PackedDoubledByte has them, when the target is twice the
// source both ways; answers whether it did, and whether the rows went
// around the caches (then the caller fences).
template <class Row>
bool ScalePackedDoubling(const ScaleTarget& target, const ScaleSource& source, Row row, bool& around) {
    if (target.width != 2 * source.width || target.height != 2 * source.height) return false;
    const size_t n = 2 * size_t(target.width);
    around = WriteAroundCaches(n * target.height);
    for (uint32_t k = 0; k < source.height; ++k) {
        const uint8_t* upper = source.pixels + intptr_t(k) * source.stride;
        const uint8_t* lower = k + 1 < source.height ? upper + source.stride : upper;
        uint8_t* d = target.pixels + intptr_t(2 * k) * target.stride;
        row(d, upper, lower, false, n, around);
        row(d + target.stride, upper, lower, true, n, around);
    }
    return true;
}

#if defined(TARN_HAVE_X86_SIMD)
// Same arguments and bytes as ScalePacked; the caller makes sure the target
// shares no byte with the source.
void ScalePackedAvx2(const ScaleTarget& target, const ScaleSource& source);

// The AVX2 form for sizes where every dx and dy is a whole number of 128ths:
// it scales and answers true, or touches nothing and answers false.
bool ScalePackedStepsAvx2(const ScaleTarget& target, const ScaleSource& source);

// Doubling both ways (ScalePackedDoubling): scales and answers true, or
// touches nothing and answers false.
bool ScalePackedDoublingAvx2(const ScaleTarget& target, const ScaleSource& source);

// The AVX-512 form of ScalePackedAvx2, the same caller's promise.
void ScalePackedAvx512(const ScaleTarget& target, const ScaleSource& source);
#endif

}  // namespace tarn
