// Region fill, RGB side: the byte pattern of a colour, the three row writers
// and the pattern fill that drives them. Plain C++; rows may be unaligned and
// strides negative.
#include "operations/fill.h"

#include <cstddef>
#include <cstring>

#include "operations/fill_rect.h"

namespace tarn {

namespace {

inline void Store32(uint8_t* p, uint32_t v) { std::memcpy(p, &v, 4); }
inline void Store16(uint8_t* p, uint16_t v) { std::memcpy(p, &v, 2); }

using RowWriter = void (*)(uint8_t*, const uint32_t*, int32_t);

struct PatternForm {
    int32_t bytesPerPixel;
    int32_t clearBytesPerPixel;  // bytes per pixel of the byte fill for a zero pattern
    RowWriter writer;
};

// 102 is a second code for 16-bit pixels; nothing here passes it, but it is
// part of the function's contract and stays.
constexpr PatternForm kPatternForms[] = {
    {2, 2, FillRow16},
    {102, 2, FillRow16},
    {3, 3, FillRow24},
    {4, 4, FillRow32},
};

const PatternForm* FindPatternForm(int32_t bytesPerPixel) {
    for (const PatternForm& form : kPatternForms)
        if (form.bytesPerPixel == bytesPerPixel) return &form;
    return nullptr;
}

}  // namespace

void FillRow32(uint8_t* row, const uint32_t* pattern, int32_t count) {
    const uint32_t v = *pattern;
    for (int32_t i = 0; i < count; ++i) Store32(row + 4 * static_cast<ptrdiff_t>(i), v);
}

void FillRow24(uint8_t* row, const uint32_t* pattern, int32_t count) {
    // Whole 4-byte stores 3 bytes apart: each store's top byte is covered by
    // the next one, and the last leaves it in the byte behind the row. Buffers
    // carry slack for that byte; a fill reaching a row's right edge with no
    // padding clears the first byte of the next row, as hosts have seen.
    const uint32_t v = *pattern;
    for (int32_t i = 0; i < count; ++i) Store32(row + 3 * static_cast<ptrdiff_t>(i), v);
}

void FillRow16(uint8_t* row, const uint32_t* pattern, int32_t count) {
    const uint16_t half = static_cast<uint16_t>(*pattern);
    if (count & 1) {
        Store16(row, half);
        row += 2;
    }
    const uint32_t pair = uint32_t(half) | uint32_t(half) << 16;
    for (int32_t i = 0; i < count / 2; ++i) Store32(row + 4 * static_cast<ptrdiff_t>(i), pair);
}

void FillPattern(uint8_t* start, int32_t stride, int32_t bytesPerPixel, int32_t width,
                 int32_t height, uint32_t pattern) {
    const PatternForm* form = FindPatternForm(bytesPerPixel);
    if (!form || height <= 0 || width <= 0) return;
    if (pattern == 0) {
        // Black borders take this path: a byte fill per row, no work per pixel.
        const size_t rowBytes = static_cast<size_t>(width) * size_t(form->clearBytesPerPixel);
        for (int32_t y = 0; y < height; ++y)
            std::memset(start + static_cast<ptrdiff_t>(y) * stride, 0, rowBytes);
        return;
    }
    for (int32_t y = 0; y < height; ++y)
        form->writer(start + static_cast<ptrdiff_t>(y) * stride, &pattern, width);
}

int32_t FillInterleaved(uint8_t* pixels, int32_t width, int32_t height, int32_t stride,
                        const VedRect* rect, int32_t bits, uint32_t color) {
    if (!pixels) return 0;
    FillArea area;
    if (!TestFillRect(width, height, rect, &area)) return 0;
    // Lo and Hi change places and the top byte is dropped, so memory order is
    // Hi, Mid, Lo (and a zero fourth byte for 32-bit pixels).
    const uint32_t pattern = (color >> 16 & 0xFF) | (color & 0xFF00) | (color & 0xFF) << 16;
    const int32_t bytesPerPixel = bits / 8;
    uint8_t* start = pixels + static_cast<ptrdiff_t>(area.top) * stride +
                     static_cast<ptrdiff_t>(area.left) * bytesPerPixel;
    FillPattern(start, stride, bytesPerPixel, area.width, area.height, pattern);
    return 1;
}

}  // namespace tarn
