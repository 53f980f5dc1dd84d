// Axis tables of the scaling engine: one weight word and one source offset
// per target column or row, built once per call so that the row kernels work
// on integers and 8-bit weights only.
//
// Sample positions, rounding and clamping, for all scalers of this folder:
// a position p is advanced by one addition of the step per index (never a
// multiplication, so rounding accumulates the same way every time), the
// integer part is taken by truncation towards zero after adding 1e-9, and the
// weight of a fraction f is trunc(f * 255 + 0.5), replicated into the four
// bytes of the word. Indices before the source are marked into a leading band
// (`first`), indices beyond it into a trailing band (`last`); the kernels of
// a band clamp to the edge sample or fade to the background.
#pragma once

#include <cstdint>

namespace tarn {

// How a table places its samples and weights.
enum class AxisFilter : uint8_t {
    Nearest,
    Bilinear,
    BilinearFade,  // bilinear, the edges fading to the background
    Box,           // sample counts of boxes, no weights
    BoxFade,       // counts and outside-fractions
    FieldPairs,    // rows in pairs of an even and the following odd row
    AreaWord,      // the area mode as the drivers of unequal pixel sizes take it
};

struct AxisTable {
    uint32_t* weights;
    uint32_t* offsets;
    uint32_t first;
    uint32_t last;
};

// Multi-channel table. `pitch` is the pixel size for columns and the source
// stride for rows; offsets of a negative stride wrap as 32-bit numbers and
// are added back as signed.
void BuildAxisTable(uint32_t targetCount, uint32_t sourceCount, uint32_t* weights, uint32_t* offsets,
                    int32_t pitch, double start, double step, uint32_t* first, uint32_t* last, AxisFilter filter);

// Single-channel columns: one weight byte per column, offsets in bytes.
// Nearest, or bilinear for every other filter.
void BuildGrayColumnTable(uint32_t targetCount, uint32_t sourceCount, uint8_t* weights, uint32_t* offsets,
                          double start, double step, uint32_t* first, uint32_t* last, AxisFilter filter);

// Single-channel rows: nearest, field pairs (whose marks count in pairs of
// rows, not in rows), or bilinear for every other filter.
void BuildGrayRowTable(uint32_t targetCount, uint32_t sourceCount, uint32_t* weights, uint32_t* offsets,
                       int32_t pitch, double start, double step, uint32_t* first, uint32_t* last,
                       AxisFilter filter);

// A row offset of the table as the signed byte distance it stands for.
inline intptr_t RowDelta(uint32_t offset) { return static_cast<int32_t>(offset); }

// The smallest and largest of `count` (at least one) row offsets as
// RowDelta reads them, and the largest of column offsets: passes the
// compiler turns into vector code, as the drivers bound every table they
// use once per call.
struct RowSpan {
    intptr_t lo, hi;
};
RowSpan RowSpanOf(const uint32_t* offsets, uint32_t count);
uint32_t LargestOffset(const uint32_t* offsets, uint32_t count);

// The step of `count` column offsets that run offsets[0] + step * j
// throughout with a step of 2, 4 or 8 (the columns of whole shrinks by 2, 4
// and 8), else 0: the strided forms take such columns without a gather.
uint32_t WholeStrideOf(const uint32_t* offsets, uint32_t count);

}  // namespace tarn
