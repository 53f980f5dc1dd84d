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

// Modes of ScaleImage and ScalePlanar.
inline constexpr uint32_t SCALE_NEAREST = 0;
inline constexpr uint32_t SCALE_BILINEAR = 1;
inline constexpr uint32_t SCALE_BILINEAR_FADE = 2;
inline constexpr uint32_t SCALE_BOX = 3;
inline constexpr uint32_t SCALE_BOX_FADE = 4;
inline constexpr uint32_t SCALE_FIELD_BILINEAR = 5;
inline constexpr uint32_t SCALE_AREA = 6;
inline constexpr uint32_t SCALE_PLANAR_NEAREST = 0xFF00;
inline constexpr uint32_t SCALE_PLANAR_SHARPEN = 0xFF01;
inline constexpr uint32_t SCALE_PLANAR_AREA = 0xFF02;

struct AxisTable {
    uint32_t* weights;
    uint32_t* offsets;
    uint32_t first;
    uint32_t last;
};

// Multi-channel table. `pitch` is the pixel size for columns and the source
// stride for rows; offsets of a negative stride wrap as 32-bit numbers and
// are added back as signed. Modes above 6 write nothing, not even the marks.
void BuildAxisTable(uint32_t targetCount, uint32_t sourceCount, uint32_t* weights,
                    uint32_t* offsets, int32_t pitch, double start, double step, uint32_t* first,
                    uint32_t* last, int32_t maxFactor, uint32_t mode);

// Single-channel columns: one weight byte per column, offsets in bytes.
void BuildGrayColumnTable(uint32_t targetCount, uint32_t sourceCount, uint8_t* weights,
                          uint32_t* offsets, double start, double step, uint32_t* first,
                          uint32_t* last, uint32_t mode);

// Single-channel rows. Mode 5 marks count in pairs of rows, not in rows.
void BuildGrayRowTable(uint32_t targetCount, uint32_t sourceCount, uint32_t* weights,
                       uint32_t* offsets, int32_t pitch, double start, double step,
                       uint32_t* first, uint32_t* last, uint32_t mode);

// A row offset of the table as the signed byte distance it stands for.
inline intptr_t RowDelta(uint32_t offset) { return static_cast<int32_t>(offset); }

}  // namespace tarn
