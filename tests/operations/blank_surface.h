// Test helper: blank surfaces made through the builder, with direct access to
// the buffer object behind them.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "host/host_support.h"
#include "object/surface_builder.h"
#include "surface/tarn_surface_buffer.h"
#include "tarn/TarnSurface.h"

namespace tarn::testing_blank {

// Stride 0 picks the tightest row: planar width, RGB rows padded to 4 bytes.
inline Ref<ITarnSurface> MakeBlank(SurfaceFormat format, uint32_t width, uint32_t height,
                                   uint32_t topDown = 1, int32_t stride = 0) {
    SurfaceInfo info = host::Describe(format, width, height, topDown);
    if (stride != 0)
        info.stride = stride;
    else if (format != SURFACE_FORMAT_YUV420 && format != SURFACE_FORMAT_YUV422)
        info.stride = int32_t((info.bitsPerPixel * width + 31) / 32 * 4);
    CSurfaceBuilder builder;
    Ref<ITarnSurface> surface;
    if (builder.CreateBlank(&info, nullptr, surface.put()) < 0 || !surface)
        ADD_FAILURE() << "CreateBlank refused " << width << " x " << height;
    return surface;
}

inline CTarnSurfaceBuffer* Buffer(const Ref<ITarnSurface>& s) {
    return static_cast<CTarnSurfaceBuffer*>(s.get());
}

inline VedRect ContentOf(const Ref<ITarnSurface>& s) {
    SurfaceInfo info{};
    s->GetInfo(&info);
    return {info.contentLeft, info.contentTop, info.contentRight, info.contentBottom};
}

inline bool SameRect(const VedRect& a, const VedRect& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

// Sets every byte of the buffer (all planes) to `value`.
inline void Paint(const Ref<ITarnSurface>& s, uint8_t value) {
    CTarnSurfaceBuffer* b = Buffer(s);
    std::memset(b->pixels, value, size_t(BufferBytes(b->info)));
}

// Planar buffer of width x height (stride = width): Y, first chroma, second
// chroma each set to one value.
inline void PaintPlanes(uint8_t* p, int32_t width, int32_t height, uint8_t y, uint8_t first,
                        uint8_t second) {
    const size_t luma = size_t(width) * size_t(height), chroma = size_t(width / 2) * size_t(height / 2);
    std::memset(p, y, luma);
    std::memset(p + luma, first, chroma);
    std::memset(p + luma + chroma, second, chroma);
}

// A planar picture in one buffer addressed by coordinates: chroma planes
// follow Y with no gap, each (w / 2) x (h / 2), and 16 bytes of 0xCD behind.
struct Planes {
    Planes(int32_t w, int32_t h, uint8_t y, uint8_t first, uint8_t second)
        : w(w), h(h), bytes(size_t(w * h * 3 / 2 + 16), 0xCD) {
        PaintPlanes(bytes.data(), w, h, y, first, second);
    }
    uint8_t& Y(int32_t x, int32_t y) { return bytes[size_t(y * w + x)]; }
    uint8_t& C(int32_t plane, int32_t x, int32_t y) {
        return bytes[size_t(w * h + plane * (w / 2) * (h / 2) + y * (w / 2) + x)];
    }
    // Paints Y over [l, r) x [t, b) and chroma over the pairs the fill and
    // stretch rules give: rows t / 2 on, (b - t) / 2 of them, columns l / 2
    // on, (r - l) / 2 of them.
    void Paint(VedRect a, uint8_t y, uint8_t first, uint8_t second) {
        for (int32_t row = a.top; row < a.bottom; ++row)
            for (int32_t col = a.left; col < a.right; ++col) Y(col, row) = y;
        for (int32_t row = 0; row < (a.bottom - a.top) / 2; ++row)
            for (int32_t col = 0; col < (a.right - a.left) / 2; ++col) {
                C(0, a.left / 2 + col, a.top / 2 + row) = first;
                C(1, a.left / 2 + col, a.top / 2 + row) = second;
            }
    }
    int32_t w, h;
    std::vector<uint8_t> bytes;
};

}  // namespace tarn::testing_blank
