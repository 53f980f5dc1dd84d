// The stretch layer: where each function enters the planes, how it cuts
// rectangles, how it mirrors, what steps it hands the engine, and the border
// bands. Pictures are flat or copied at equal size with nearest sampling, so
// the expected bytes follow from geometry alone.
#include <gtest/gtest.h>

#include <vector>

#include "blank_surface.h"
#include "operations/stretch.h"

namespace tarn {
namespace {

using testing_blank::Planes;

constexpr uint8_t kCanary = 0xCD;

uint8_t Sample(int32_t x, int32_t y, int32_t k) { return uint8_t(x * 16 + y * 4 + k + 1); }

// A picture over a test's bytes; the stretch reads a source and never writes
// it.
Picture Pic(const uint8_t* p, int32_t w, int32_t h, int32_t stride, int32_t bits = 8, uint32_t topDown = 1) {
    return {const_cast<uint8_t*>(p), SurfaceFormat{}, bits, w, h, stride, topDown, {0, 0, 0, 0}};
}

// A 4-byte-per-pixel picture with every byte telling its own position.
std::vector<uint8_t> Numbered(int32_t w, int32_t h, int32_t bpp) {
    std::vector<uint8_t> p(size_t(w * h * bpp + 16), 0);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            for (int32_t k = 0; k < bpp; ++k) p[size_t((y * w + x) * bpp + k)] = Sample(x, y, k);
    return p;
}

TEST(StretchInterleaved, CopiesIntoRectangleAndMirrorsOnRowOrder) {
    const int32_t dw = 8, dh = 6, bpp = 4;
    const VedRect rect{2, 1, 6, 4};
    const std::vector<uint8_t> src = Numbered(4, 3, bpp);
    for (uint32_t srcTopDown : {1u, 0u}) {
        SCOPED_TRACE(srcTopDown);
        std::vector<uint8_t> dst(size_t(dw * dh * bpp + 16), kCanary);
        StretchInterleaved(Pic(src.data(), 4, 3, 4 * bpp, 32, srcTopDown), nullptr,
                           Pic(dst.data(), dw, dh, dw * bpp, 32), &rect, false, SCALE_NEAREST);
        std::vector<uint8_t> expected(dst.size(), kCanary);
        for (int32_t y = 0; y < 3; ++y)
            for (int32_t x = 0; x < 4; ++x)
                for (int32_t k = 0; k < bpp; ++k) {
                    const int32_t row = srcTopDown ? 1 + y : 3 - y;  // mirrored as a whole
                    expected[size_t((row * dw + 2 + x) * bpp + k)] = Sample(x, y, k);
                }
        EXPECT_EQ(dst, expected);
    }
}

TEST(StretchInterleaved, SourceRectangleAndSteps) {
    const int32_t bpp = 4;
    const std::vector<uint8_t> src = Numbered(8, 6, bpp);
    struct Case {
        const char* name;
        VedRect srcRect;
        int32_t dw, dh;
        int (*sx)(int), (*sy)(int);  // source column and row of a target pixel
    };
    // Nearest sampling with start 0: source index trunc((i + 0.5) * step).
    const Case cases[] = {
        {"sub-area same size", {4, 3, 8, 6}, 4, 3, [](int x) { return 4 + x; }, [](int y) { return 3 + y; }},
        {"twice larger", {0, 0, 4, 3}, 8, 6, [](int x) { return x / 2; }, [](int y) { return y / 2; }},
        {"half size", {0, 0, 8, 6}, 4, 3, [](int x) { return 2 * x + 1; }, [](int y) { return 2 * y + 1; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<uint8_t> dst(size_t(c.dw * c.dh * bpp), kCanary);
        StretchInterleaved(Pic(src.data(), 8, 6, 8 * bpp, 32), &c.srcRect, Pic(dst.data(), c.dw, c.dh, c.dw * bpp, 32),
                           nullptr, false, SCALE_NEAREST);
        for (int32_t y = 0; y < c.dh; ++y)
            for (int32_t x = 0; x < c.dw; ++x)
                for (int32_t k = 0; k < bpp; ++k)
                    ASSERT_EQ(dst[size_t((y * c.dw + x) * bpp + k)], Sample(c.sx(x), c.sy(y), k))
                        << x << "," << y << "," << k;
    }
}

TEST(StretchInterleaved, BordersAreBlackExceptForEightBit) {
    const VedRect rect{2, 1, 6, 3};
    for (int32_t bits : {24, 32, 8}) {
        SCOPED_TRACE(bits);
        const int32_t bpp = bits / 8, dw = 8, dh = 4;
        const std::vector<uint8_t> src = Numbered(4, 2, bpp);
        std::vector<uint8_t> dst(size_t(dw * dh * bpp + 16), kCanary);
        StretchInterleaved(Pic(src.data(), 4, 2, 4 * bpp, bits), nullptr, Pic(dst.data(), dw, dh, dw * bpp, bits),
                           &rect, true, SCALE_NEAREST);
        for (int32_t y = 0; y < dh; ++y)
            for (int32_t x = 0; x < dw; ++x)
                for (int32_t k = 0; k < bpp; ++k) {
                    const bool inside = x >= 2 && x < 6 && y >= 1 && y < 3;
                    const uint8_t want = inside ? Sample(x - 2, y - 1, k) : bits == 8 ? kCanary : 0;
                    ASSERT_EQ(dst[size_t((y * dw + x) * bpp + k)], want) << x << "," << y;
                }
        for (size_t i = size_t(dw * dh * bpp); i < dst.size(); ++i) EXPECT_EQ(dst[i], kCanary);
    }
    // A null side does nothing, bands neither.
    std::vector<uint8_t> any(64, kCanary);
    StretchInterleaved(Pic(nullptr, 4, 4, 16, 32), nullptr, Pic(any.data(), 4, 4, 16, 32), &rect, true, 0);
    EXPECT_EQ(any, std::vector<uint8_t>(64, kCanary));
}

TEST(StretchPlanar, TargetRectangleIsCutEvenAndBandsFollowTheFillRule) {
    const VedRect rect{3, 2, 10, 7};  // 7 x 5, drawn 6 x 4
    for (int32_t pad : {0, 1}) {
        SCOPED_TRACE(pad);
        Planes src(8, 8, 50, 60, 70);
        Planes dst(16, 12, 1, 2, 3);
        for (int32_t mode : {SCALE_NEAREST, SCALE_BILINEAR}) {
            StretchPlanar(Pic(src.bytes.data(), 8, 8, 8), nullptr, Pic(dst.bytes.data(), 16, 12, 16), &rect,
                          pad != 0, mode);
        }
        Planes expected(16, 12, 1, 2, 3);
        expected.Paint({3, 2, 9, 6}, 50, 60, 70);
        if (pad) {
            for (VedRect band : {VedRect{0, 0, 16, 2}, VedRect{0, 7, 16, 12}, VedRect{0, 2, 3, 7},
                                 VedRect{10, 2, 16, 7}})
                expected.Paint(band, 16, 128, 128);
        }
        EXPECT_EQ(dst.bytes, expected.bytes);
    }
}

TEST(StretchPlanar, SourceRectangleEntersEachPlane) {
    Planes src(16, 12, 50, 60, 70);
    src.Paint({4, 2, 12, 8}, 90, 100, 110);
    for (VedRect srcRect : {VedRect{4, 2, 12, 8}, VedRect{4, 2, 13, 9}}) {
        Planes dst(8, 6, 1, 2, 3);
        StretchPlanar(Pic(src.bytes.data(), 16, 12, 16), &srcRect, Pic(dst.bytes.data(), 8, 6, 8), nullptr, true,
                      SCALE_BILINEAR);
        Planes expected(8, 6, 90, 100, 110);  // no rectangle: no bands either
        EXPECT_EQ(dst.bytes, expected.bytes);
    }
    std::vector<uint8_t> any(64, kCanary);
    const VedRect band{0, 0, 2, 2};
    StretchPlanar(Pic(nullptr, 4, 4, 4), nullptr, Pic(any.data(), 4, 4, 4), &band, true, 0);
    EXPECT_EQ(any, std::vector<uint8_t>(64, kCanary));
}

// FillPacked's block at the buffer's corner: pairs of black, then Y and the
// second chroma for an odd width.
void PaintPackedCorner(std::vector<uint8_t>& p, int32_t stride, int32_t w, int32_t h) {
    for (int32_t y = 0; y < h; ++y) {
        for (int32_t x = 0; x < w / 2; ++x)
            for (int32_t k = 0; k < 4; ++k) p[size_t(y * stride + 4 * x + k)] = (k & 1) ? 16 : 128;
        if (w & 1) {
            p[size_t(y * stride + 4 * (w / 2))] = 16;
            p[size_t(y * stride + 4 * (w / 2) + 1)] = 128;
        }
    }
}

TEST(StretchPacked, RectangleOriginAndCornerBands) {
    const int32_t dstStride = 20;
    const VedRect rect{3, 1, 8, 4};  // 5 x 3, drawn 4 x 2 from byte 6 of row 1
    const std::vector<uint8_t> src = Numbered(8, 2, 1);  // 4 pixels (8 bytes) x 2 rows
    for (int32_t pad : {0, 1}) {
        SCOPED_TRACE(pad);
        std::vector<uint8_t> dst(size_t(dstStride * 4 + 16), kCanary);
        StretchPacked(Pic(src.data(), 4, 2, 8), nullptr, Pic(dst.data(), 10, 4, dstStride), &rect, pad != 0);
        std::vector<uint8_t> expected(dst.size(), kCanary);
        for (int32_t y = 0; y < 2; ++y)
            for (int32_t k = 0; k < 8; ++k) expected[size_t((1 + y) * dstStride + 6 + k)] = Sample(k, y, 0);
        if (pad) {
            PaintPackedCorner(expected, dstStride, 10, 1);  // above
            PaintPackedCorner(expected, dstStride, 3, 3);   // left; below has no area
            PaintPackedCorner(expected, dstStride, 2, 3);   // right, also at the corner
        }
        EXPECT_EQ(dst, expected);
    }
}

TEST(StretchPacked, SourceRectangleIsCutEven) {
    const std::vector<uint8_t> src = Numbered(16, 6, 1);  // 8 pixels x 6 rows, stride 16
    const VedRect srcRect{2, 1, 7, 4};                    // 5 x 3, read 4 x 2 from byte 4 of row 1
    std::vector<uint8_t> dst(8 * 2 + 16, kCanary);
    StretchPacked(Pic(src.data(), 8, 6, 16), &srcRect, Pic(dst.data(), 4, 2, 8), nullptr, false);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t k = 0; k < 8; ++k) EXPECT_EQ(dst[size_t(y * 8 + k)], Sample(4 + k, 1 + y, 0));
    std::vector<uint8_t> any(64, kCanary);
    const VedRect band{0, 0, 2, 2};
    StretchPacked(Pic(nullptr, 8, 6, 16), nullptr, Pic(any.data(), 4, 4, 8), &band, true);
    EXPECT_EQ(any, std::vector<uint8_t>(64, kCanary));
}

}  // namespace
}  // namespace tarn
