// The compositors' first answers and the mask from alpha, over plain values:
// no surface is made, every expected answer worked from the rules by hand.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "operations/compose.h"
#include "operations/mask_from_alpha.h"

namespace tarn {
namespace {

Picture Frame(SurfaceFormat format, int32_t width, int32_t height, int32_t stride) {
    return {nullptr, format, 0, width, height, stride, 0, {0, 0, 0, 0}};
}

struct StartCase {
    const char* what;
    VedRect dest, source;
    uint32_t alpha;
    ComposeStart expected;
};

bool Same(const ComposeStart& a, const ComposeStart& b) {
    return a.goOn == b.goOn && a.stretch == b.stretch && a.result == b.result;
}

TEST(StartKeyed, RectanglesAgainstAYuv420TargetOf16By8) {
    const Picture target = Frame(SURFACE_FORMAT_YUV420, 16, 8, 16);
    const Picture overlay = Frame(SURFACE_FORMAT_YUV420, 8, 8, 8);
    const StartCase cases[] = {
        {"empty D", {4, 4, 4, 8}, {0, 0, 8, 8}, 0, {false, false, VED_E_INVALIDARG}},
        {"transparent, D beyond", {10, 0, 18, 8}, {0, 0, 8, 8}, 256, {false, false, VED_S_OK}},
        {"D beyond", {10, 0, 18, 8}, {0, 0, 8, 8}, 0, {false, false, VED_E_INVALIDARG}},
        {"S beyond, same size", {0, 0, 8, 8}, {2, 0, 10, 8}, 0, {false, false, VED_E_INVALIDARG}},
        {"S beyond, stretched", {0, 0, 4, 4}, {2, 0, 10, 8}, 0, {true, true, VED_S_OK}},
        {"fits at the right edge", {8, 0, 16, 8}, {0, 0, 8, 8}, 255, {true, false, VED_S_OK}},
        {"taller D is stretched", {0, 0, 8, 6}, {0, 0, 8, 8}, 0, {true, true, VED_S_OK}},
    };
    for (const StartCase& c : cases) {
        const KeyedOverlay k{overlay, c.dest, c.source, c.alpha, 0xFF000000u};
        EXPECT_TRUE(Same(StartKeyed(target, k), c.expected)) << c.what;
    }
}

// The packed blend needs all of D in the target; the planar one only D's
// whole 2x2 blocks, so an odd column past the edge passes there alone.
TEST(StartMasked, PlanarAndPackedTargetsDifferOnAnOddEdge) {
    const Picture planar = Frame(SURFACE_FORMAT_YUV420, 16, 8, 16);
    const Picture packed = Frame(SURFACE_FORMAT_YUV422, 16, 8, 32);
    struct Case {
        const char* what;
        VedRect dest, source;
        ComposeStart onPlanar, onPacked;
    } const cases[] = {
        {"empty D", {0, 0, 0, 8}, {0, 0, 8, 8}, {false, false, VED_E_INVALIDARG}, {false, false, VED_E_INVALIDARG}},
        {"odd column past the edge", {2, 0, 17, 8}, {0, 0, 15, 8}, {true, false, VED_S_OK}, {false, false, VED_E_INVALIDARG}},
        {"a whole block past the edge", {3, 0, 19, 8}, {0, 0, 16, 8}, {false, false, VED_E_INVALIDARG}, {false, false, VED_E_INVALIDARG}},
        {"S beyond, same size", {0, 0, 8, 8}, {10, 0, 18, 8}, {true, false, VED_S_OK}, {false, false, VED_E_INVALIDARG}},
        {"stretched", {0, 0, 4, 4}, {0, 0, 16, 8}, {true, true, VED_S_OK}, {true, true, VED_S_OK}},
    };
    for (const Case& c : cases) {
        MaskedOverlay m{};
        m.dest = c.dest;
        m.source = c.source;
        m.picture = Frame(SURFACE_FORMAT_YUV420, 16, 8, 16);
        EXPECT_TRUE(Same(StartMasked(planar, m), c.onPlanar)) << c.what << " on planar";
        m.picture = Frame(SURFACE_FORMAT_YUV422, 16, 8, 32);
        EXPECT_TRUE(Same(StartMasked(packed, m), c.onPacked)) << c.what << " on packed";
    }
}

// 3 by 2 pixels, source rows 16 bytes apart, mask rows 4 apart: the mask's
// first row is 255 - alpha of the source's last row.
TEST(MaskFromAlpha, InvertsAlphaAndReversesRows) {
    std::vector<uint8_t> source(32, 0x11), mask(8, 0xEE);
    const uint8_t alpha[2][3] = {{0, 1, 128}, {200, 254, 255}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x) source[y * 16 + 4 * x + 3] = alpha[y][x];
    Picture from = Frame(SURFACE_FORMAT_RGB32, 3, 2, 16);
    from.pixels = source.data();
    Picture to = Frame(SURFACE_FORMAT_GRAY8, 3, 2, 4);
    to.pixels = mask.data();
    MaskFromAlpha(from, to);
    const std::vector<uint8_t> expected = {55, 1, 0, 0xEE, 255, 254, 127, 0xEE};
    EXPECT_EQ(mask, expected);
}

}  // namespace
}  // namespace tarn
