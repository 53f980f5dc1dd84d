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

#if defined(TARN_HAVE_X86_SIMD)
// Same arguments and bytes as ScalePacked; the caller makes sure the target
// shares no byte with the source.
void ScalePackedAvx2(const ScaleTarget& target, const ScaleSource& source);

// The AVX2 form for sizes where every dx and dy is a whole number of 128ths:
// it scales and answers true, or touches nothing and answers false.
bool ScalePackedStepsAvx2(const ScaleTarget& target, const ScaleSource& source);
#endif

}  // namespace tarn
