// Rows of the nearest-neighbour warp kernel for 8-bit samples in pixel
// order, in each form. A row is one span: `count` target pixels from `dst`
// on, reading source pixel (X >> 16, Y >> 16) and stepping X and Y in 16.16
// fixed point per column.
//
// The forms run only rows the driver has checked: every source coordinate
// of the row inside the image, rows of fewer than 32768 bytes and no more
// than 32768 of them (so the 16-bit offset multiply is exact and never
// saturates), at least 4 bytes of image, and source and target apart.
#pragma once

#include <cstdint>

namespace tarn {

struct NearestRow {
    uint8_t* dst;          // the span's first target pixel
    const uint8_t* src;    // source pixel (0, 0) at the walk's channel
    int32_t srcStep;       // bytes per source row, below 32768
    uint32_t x, y;         // 16.16 source position of the first pixel, half a pixel added
    uint32_t stepX, stepY; // per target column
    int32_t count;
};

// Pixel copies by (source channels, target channels, channels processed).
enum class NearestPixel : uint8_t {
    Gray,       // 1, 1, 1: one byte
    Rgb,        // 3, 3, 3: three bytes
    Rgba,       // 4, 4, 4: one 32-bit word
    RgbOfRgba,  // 4, 4, 3: three bytes, the target's fourth byte left alone
};

using NearestRowFn = void (*)(const NearestRow& row);
NearestRowFn PickNearestRow(NearestPixel pixel);

#if defined(TARN_HAVE_X86_SIMD)
NearestRowFn NearestRowSse2(NearestPixel pixel);
NearestRowFn NearestRowAvx2(NearestPixel pixel);
#endif

// Sizes of each pixel case, in the order of NearestPixel.
struct PixelShape {
    int32_t src, dst, count;
};
inline constexpr PixelShape kPixelShapes[] = {{1, 1, 1}, {3, 3, 3}, {4, 4, 4}, {4, 4, 3}};
template <NearestPixel P>
inline constexpr PixelShape kShapeOf = kPixelShapes[int(P)];

// The plain rows.
template <NearestPixel P>
void NearestRowPlain(const NearestRow& r) {
    constexpr PixelShape S = kShapeOf<P>;
    uint8_t* d = r.dst;
    uint32_t x = r.x, y = r.y;
    for (int32_t i = 0; i < r.count; ++i, d += S.dst) {
        const int32_t sx = int32_t(x) >> 16, sy = int32_t(y) >> 16;
        const uint8_t* s = r.src + (sx * S.src + sy * r.srcStep);
        for (int c = S.count - 1; c >= 0; --c) d[c] = s[c];
        x += r.stepX;
        y += r.stepY;
    }
}

// The pixels of a row from `done` on, as the plain row takes them: what a
// fast form leaves after its whole steps.
template <NearestPixel P>
void NearestRowRest(const NearestRow& r, int32_t done) {
    if (done >= r.count) return;
    NearestRow rest = r;
    rest.dst = r.dst + intptr_t(done) * kShapeOf<P>.dst;
    rest.x = r.x + r.stepX * uint32_t(done);
    rest.y = r.y + r.stepY * uint32_t(done);
    rest.count = r.count - done;
    NearestRowPlain<P>(rest);
}

}  // namespace tarn
