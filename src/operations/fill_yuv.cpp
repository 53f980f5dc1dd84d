// Region fill, YUV side: the sample values of a colour, the planar fill and
// the packed fill. Plain C++ over byte fills and 32-bit stores; strides are
// signed.
#include <cstddef>
#include <cstring>

#include "operations/fill.h"
#include "operations/fill_rect.h"

namespace tarn {

namespace {

// Lo, Mid, Hi are read as blue, green, red. Shifts are arithmetic: the chroma
// sums go negative, and >> 8 rounds them towards minus infinity.
constexpr int32_t kY[3] = {25, 129, 66};       // weights of Lo, Mid, Hi
constexpr int32_t kFirst[3] = {112, -74, -38};
constexpr int32_t kSecond[3] = {-18, -94, 112};

uint8_t Sample(const int32_t (&w)[3], int32_t lo, int32_t mid, int32_t hi, int32_t offset) {
    return static_cast<uint8_t>(((w[0] * lo + w[1] * mid + w[2] * hi + 128) >> 8) + offset);
}

void ByteFill(uint8_t* p, uint8_t value, int64_t count) {
    if (count > 0) std::memset(p, value, static_cast<size_t>(count));
}

}  // namespace

FillSamples FillSamplesOf(uint32_t color) {
    const int32_t lo = color & 0xFF, mid = color >> 8 & 0xFF, hi = color >> 16 & 0xFF;
    return {Sample(kY, lo, mid, hi, 16), Sample(kFirst, lo, mid, hi, 128),
            Sample(kSecond, lo, mid, hi, 128)};
}

namespace {

// A chroma plane of `bytes` bytes but for the first `keep` bytes of each of
// its `rows` rows, `stride` apart.
void FillAroundRows(uint8_t* plane, uint8_t value, int64_t bytes, int32_t rows, int32_t stride, int32_t keep) {
    if (keep <= 0) return ByteFill(plane, value, bytes);
    for (int32_t y = 0; y < rows; ++y) ByteFill(plane + int64_t(y) * stride + keep, value, stride - keep);
    ByteFill(plane + int64_t(rows) * stride, value, bytes - int64_t(rows) * stride);
}

}  // namespace

void FillPlanarAroundRows(uint8_t* pixels, int32_t height, int32_t stride, int32_t keep, uint32_t color,
                          int32_t keepChroma) {
    const FillSamples s = FillSamplesOf(color);
    const int64_t luma = int64_t(stride) * height;
    uint8_t* first = pixels + luma;
    uint8_t* second = first + luma / 4;
    FillAroundRows(pixels, s.y, luma, height, stride, keep);
    const int64_t n = (int64_t(stride / 2) * height) / 2;
    FillAroundRows(first, s.first, n, height / 2, stride / 2, keepChroma);
    FillAroundRows(second, s.second, n, height / 2, stride / 2, keepChroma);
}

int32_t FillPlanar(uint8_t* pixels, int32_t width, int32_t height, int32_t stride,
                   const VedRect* rect, uint32_t color) {
    if (!pixels) return 0;
    FillArea area;
    if (!TestFillRect(width, height, rect, &area)) return 0;
    const FillSamples s = FillSamplesOf(color);
    // The first chroma value goes into the plane right behind Y. The colour
    // kernels keep the other chroma there, so a non-grey fill shows with its
    // chroma exchanged after a conversion; hosts rely on this order.
    if (!rect) {
        FillPlanarAroundRows(pixels, height, stride, 0, color);
        return 1;
    }
    const int64_t luma = int64_t(stride) * height;
    uint8_t* first = pixels + luma;
    uint8_t* second = first + luma / 4;
    if (area.width <= 0 || area.height <= 0) return 1;
    for (int32_t y = 0; y < area.height; ++y)
        ByteFill(pixels + int64_t(area.top + y) * stride + area.left, s.y, area.width);
    // Chroma covers whole pairs only: an odd last row or column is painted in
    // Y and not in chroma.
    const int32_t chromaStride = stride / 2;
    const int64_t chromaStart = area.left / 2 + (int64_t(area.top / 2) * stride) / 2;
    for (int32_t y = 0; y < area.height / 2; ++y) {
        const int64_t at = chromaStart + int64_t(y) * chromaStride;
        ByteFill(first + at, s.first, area.width / 2);
        ByteFill(second + at, s.second, area.width / 2);
    }
    return 1;
}

int32_t FillPacked(uint8_t* pixels, int32_t width, int32_t height, int32_t stride,
                   const VedRect* rect, uint32_t color) {
    if (!pixels) return 0;
    FillArea area;
    if (!TestFillRect(width, height, rect, &area)) return 0;
    const FillSamples s = FillSamplesOf(color);
    // Only the rectangle's size counts: the block always starts at the
    // buffer's first byte. The border bands of a packed resize land in the
    // corner because of this, and hosts have only ever seen that.
    const uint8_t pair[4] = {s.first, s.y, s.second, s.y};
    uint32_t word;
    std::memcpy(&word, pair, 4);
    for (int32_t y = 0; y < area.height; ++y) {
        uint8_t* row = pixels + int64_t(y) * stride;
        for (int32_t i = 0; i < area.width / 2; ++i) std::memcpy(row + 4 * int64_t(i), &word, 4);
        if (area.width & 1) {
            uint8_t* tail = row + 4 * int64_t(area.width / 2);
            tail[0] = s.y;
            tail[1] = s.second;
        }
    }
    return 1;
}

}  // namespace tarn
