// Planar and packed scaling, the sharpening path and the area shrink, on
// planes small enough to work by hand.
#include <gtest/gtest.h>

#include <vector>

#include "scale/area_shrink.h"
#include "scale/scale.h"
#include "scale/scale_plan.h"
#include "scale/sharpen.h"

namespace tarn {
namespace {

struct Planes {
    int32_t w, h, stride;
    std::vector<uint8_t> luma, first, second;  // the chroma planes first and second
    Planes(int32_t w_, int32_t h_, int32_t pad = 0)
        : w(w_), h(h_), stride(w_ + pad), luma(size_t(stride) * h + 64, 0xA5),
          first(size_t(stride / 2) * (h / 2) + 64, 0xA5), second(size_t(stride / 2) * (h / 2) + 64, 0xA5) {}
};

void Scale(Planes& d, Planes& s, uint32_t mode) {
    ScalePlanar({d.luma.data(), d.first.data(), d.second.data(), d.w, d.h, d.stride},
                {s.luma.data(), s.first.data(), s.second.data(), s.w, s.h, s.stride}, mode);
}

TEST(ScalePlanar, BoxModeIsBilinearOnPlanes) {
    // 8 x 8 to 2 x 2: columns p = 1.5, 5.5 (weight 128), rows p = 0, 4
    // (weight 0). With luma 3 * x * x: Lerp(3, 12, 128) = 7, where a box mean
    // of 0 3 12 27 would be 10. The second pixel is a trailing pixel of the
    // Inner run and reads its weight at byte 4 of the block, a byte of the
    // first column offset (0): it comes out as sample 5, 75, not 91.
    Planes s(8, 8), d(2, 2);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) s.luma[y * 8 + x] = uint8_t(3 * x * x);
    for (int i = 0; i < 16; ++i) s.first[i] = uint8_t(i * 10), s.second[i] = uint8_t(200 - i);
    Scale(d, s, 3);
    EXPECT_EQ(d.luma[0], 7);
    EXPECT_EQ(d.luma[1], 75);
    EXPECT_EQ(d.luma[2], 7);
    // Chroma 4 x 4 to 1 x 1 is nearest with luma's step 4, centred on both
    // axes of a single-channel plane: p = 1.5 -> sample 1 of row 1.
    EXPECT_EQ(d.first[0], 50);
    EXPECT_EQ(d.second[0], 195);
    EXPECT_EQ(d.first[1], 0xA5);
    Planes d1(2, 2);
    Scale(d1, s, 1);
    EXPECT_EQ(d1.luma, d.luma);
    Planes d4(2, 2);
    Scale(d4, s, 4);
    EXPECT_EQ(d4.luma, d.luma);
}

TEST(ScalePlanar, NearestHalves) {
    Planes s(8, 4), d(4, 2);
    for (int i = 0; i < 32; ++i) s.luma[i] = uint8_t(i);
    for (int i = 0; i < 8; ++i) s.first[i] = uint8_t(100 + i), s.second[i] = uint8_t(50 + i);
    Scale(d, s, 0);
    // Luma columns of the single-channel table: p = 0.5, 2.5, ... -> 0, 2, 4, 6;
    // rows p = 0.5, 2.5 -> 0, 2.
    const uint8_t y[8] = {0, 2, 4, 6, 16, 18, 20, 22};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(d.luma[i], y[i]) << i;
    // Chroma 4 x 2 to 2 x 1: columns 0, 2, row 0.
    EXPECT_EQ(d.first[0], 100);
    EXPECT_EQ(d.first[1], 102);
    EXPECT_EQ(d.second[1], 52);
}

TEST(ScalePlanarOnly, EqualSizesCopyWithoutSharpening) {
    Planes s(4, 4, 4), d(4, 4, 8);
    for (int i = 0; i < 32; ++i) s.luma[i] = uint8_t(i * 7);
    for (int i = 0; i < 8; ++i) s.first[i] = uint8_t(i), s.second[i] = uint8_t(i + 9);
    Scale(d, s, SCALE_PLANAR_SHARPEN);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) EXPECT_EQ(d.luma[y * 12 + x], s.luma[y * 8 + x]);
    // Chroma rows advance by the source's chroma stride (4) on both sides.
    EXPECT_EQ(d.first[4], s.first[4]);
    EXPECT_EQ(d.second[5], s.second[5]);
    EXPECT_EQ(d.first[2], 0xA5);
    // A mode of the planes' own is no planar-only mode.
    EXPECT_FALSE(PlanPlanar(7, {d.luma.data(), d.first.data(), d.second.data(), 2, 2, 12},
                            {s.luma.data(), s.first.data(), s.second.data(), 4, 4, 8})
                     .planarOnly);
}

TEST(ScalePlanar, FieldModePairsLumaOnly) {
    Planes s(8, 8), d5(8, 16), d1(8, 16);
    for (size_t i = 0; i < 64; ++i) s.luma[i] = uint8_t(i * 5);
    for (size_t i = 0; i < 16; ++i) s.first[i] = uint8_t(i * 9), s.second[i] = uint8_t(250 - i * 7);
    Scale(d5, s, 5);
    Scale(d1, s, 1);
    EXPECT_EQ(d5.first, d1.first) << "chroma of mode 5 is plain bilinear";
    EXPECT_EQ(d5.second, d1.second);
    EXPECT_NE(d5.luma, d1.luma);
    // Luma pairs: rows 0 and 1 of the target read source rows 0 and 1.
    EXPECT_EQ(d5.luma[8], s.luma[8 + 0]);
}

TEST(ScalePlanarOnly, AreaReadsTheSecondChromaPlaneAtHalfTheWidth) {
    // Source 8 x 8 with a luma stride of 12: chroma is 4 x 4 with stride 6.
    // The chroma plane second in ScalePlanar's order is read at stride 4.
    Planes s(8, 8, 4), d(4, 4);
    for (size_t i = 0; i < s.luma.size(); ++i) s.luma[i] = uint8_t(i * 3);
    for (size_t i = 0; i < s.first.size(); ++i) s.first[i] = uint8_t(i * 11), s.second[i] = uint8_t(i * 13 + 1);
    Scale(d, s, SCALE_PLANAR_AREA);
    std::vector<uint8_t> first(4, 0), second(4, 0);
    AreaShrink({first.data(), 2, 2, 2, 1}, {s.first.data(), 4, 4, 6, 1});
    AreaShrink({second.data(), 2, 2, 2, 1}, {s.second.data(), 4, 4, 4, 1});
    EXPECT_EQ((std::vector<uint8_t>{d.first[0], d.first[1], d.first[2], d.first[3]}), first);
    EXPECT_EQ((std::vector<uint8_t>{d.second[0], d.second[1], d.second[2], d.second[3]}), second);
}

TEST(Sharpen, BlurOfOnePixelTruncatesBeforeRenormalising) {
    // One pixel of 100: the centre tap is 1 / 3.7515 = 0.26656; the vertical
    // pass truncates 26.656 to 26 before dividing by it: 97.5 -> 97.
    const uint8_t in = 100;
    uint8_t out = 0;
    GaussianBlurPlane(&in, 1, 1, 1.5, &out);
    EXPECT_EQ(out, 97);
    float* k = nullptr;
    int32_t n = 0;
    MakeGaussianKernel(1.5, &k, &n);
    ASSERT_EQ(n, 9);
    EXPECT_NEAR(k[4], 0.266559, 1e-5);
    EXPECT_NEAR(k[3], 0.213443, 1e-5);
    EXPECT_FLOAT_EQ(k[0], k[8]);
    delete[] k;
}

TEST(Sharpen, NormalisedByThePlanesExtremes) {
    // 50 200 50 blurs to 101 105 101: d = -51 95 -51, high 65, low -21.
    // Centre: 200 + 55 * 95 / 65 = 280 -> 255; sides 50 - 2550 / 21 -> 0.
    uint8_t p[3] = {50, 200, 50};
    SharpenPlane(p, 3, 1, 3);
    EXPECT_EQ(p[0], 0);
    EXPECT_EQ(p[1], 255);
    EXPECT_EQ(p[2], 0);
    // 50 60 50 blurs to 52 52 52: d = -2 8 -2, high -22, low 28: unchanged.
    uint8_t q[3] = {50, 60, 50};
    SharpenPlane(q, 3, 1, 3);
    EXPECT_EQ(q[0], 50);
    EXPECT_EQ(q[1], 60);
    EXPECT_EQ(q[2], 50);
    // A flat plane is left alone, and the sharpen mode leaves its mark in the source.
    Planes s(8, 8), d(4, 4);
    std::fill(s.luma.begin(), s.luma.begin() + 64, uint8_t(90));
    s.luma[27] = 200;
    Scale(d, s, SCALE_PLANAR_SHARPEN);
    EXPECT_EQ(s.luma[27], 255) << "the source plane is sharpened in place";
}

TEST(ScalePacked, CopiesAtEqualSizeAndClampsAtTheEdge) {
    std::vector<uint8_t> src = {10, 100, 30, 50, 11, 101, 31, 51};
    std::vector<uint8_t> same(8, 0), wide(8, 0);
    ScalePacked({same.data(), 2, 2, 4, 2}, {src.data(), 2, 2, 4, 2});
    EXPECT_EQ(same, src);
    // 2 pairs to 4, one row: x = 1 is halfway (10 - (-20) / 2 = 20, 100 - 50 / 2 = 75);
    // x = 3 is pair 1 with its neighbour clamped to itself.
    ScalePacked({wide.data(), 4, 1, 8, 2}, {src.data(), 2, 1, 4, 2});
    const std::vector<uint8_t> expect = {10, 100, 20, 75, 30, 50, 30, 50};
    EXPECT_EQ(wide, expect);
}

TEST(AreaShrink, WorkedExamples) {
    // 4 x 4 to 2 x 2: trunc(mean + 0.5), in every channel of 1, 3 and 4
    // bytes a pixel through ScaleImage.
    for (uint32_t bytes : {1u, 3u, 4u}) {
        std::vector<uint8_t> s(4 * 4 * bytes), d(2 * 2 * bytes, 0);
        for (size_t i = 0; i < s.size(); ++i) s[i] = uint8_t((i / bytes) * 10 + i % bytes);
        ScaleImage({d.data(), 2, 2, int32_t(2 * bytes), bytes}, {s.data(), 4, 4, int32_t(4 * bytes), bytes}, {2, 2},
                   SCALE_AREA, nullptr);
        const uint8_t means[4] = {25, 45, 105, 125};
        for (uint32_t i = 0; i < 4 * bytes; ++i) EXPECT_EQ(d[i], means[i / bytes] + i % bytes) << bytes << " " << i;
    }
    // 3 wide to 2 wide, 2 rows to 1: 30 and half of 60; half of 60 and 90.
    std::vector<uint8_t> s3 = {30, 60, 90, 30, 60, 90}, d3(2, 0);
    AreaShrink({d3.data(), 2, 1, 2, 1}, {s3.data(), 3, 2, 3, 1});
    EXPECT_EQ(d3, (std::vector<uint8_t>{40, 80}));
    // 5 rows to 2: the middle row splits by f = 0.5.
    // (10 + 20 + 16.5) / 2.5 + 0.5 -> 19; (16.5 + 40 + 50) / 2.5 + 0.5 -> 43.
    std::vector<uint8_t> s5 = {10, 10, 20, 20, 33, 33, 40, 40, 50, 50}, d5(2, 0);
    AreaShrink({d5.data(), 1, 2, 1, 1}, {s5.data(), 2, 5, 2, 1});
    EXPECT_EQ(d5, (std::vector<uint8_t>{19, 43}));
}

}  // namespace
}  // namespace tarn
