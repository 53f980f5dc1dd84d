// The warp engine through iplRotate and iplWarpAffine: pictures worked by
// hand from the inverse mapping and the span rounding, paths that must
// agree, what stays unwritten, and the fast rows against the plain rows.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "ipl/iplwarp.h"
#include "ipl/ownrect.h"
#include "ipl/warp_engine.h"
#include "ipl_test_support.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"

namespace tarn {
namespace {

using testing_ipl::ExpectSamples;
using testing_ipl::FillPattern;
using testing_ipl::ForEachForm;
using testing_ipl::OwnedImage;
using testing_ipl::Pattern;
using testing_ipl::RecordReports;

// 6 x 4 RGB turned by 90 degrees with the y shift 6 sin(1.570795), just
// below 6: the quadrangle's rows run from 0.99999... to 5.99999..., so the
// first row is ceil(0.99999...) = 1 and target row 0 stays as it was. The
// inverse maps target (x, y) to source (yShift - y, x), which rounds to
// (6 - y, x).
TEST(WarpEngine, RgbTurnWithAShiftJustBelowWhole) {
    RecordReports rec;
    const double yShift = 6 * std::sin(1.570795);
    ASSERT_LT(yShift, 6.0);
    ForEachForm([&](SimdForm form) {
        OwnedImage src(6, 4, 3, 2), dst(4, 6, 3, 0, 0x5C);
        FillPattern(src);
        iplRotate(src.get(), dst.get(), 90, 0, yShift, 0);
        ExpectSamples(dst, [](int x, int y, int c) { return y == 0 ? 0x5C : Pattern(6 - y, x, c); }, FormName(form));
    });
    EXPECT_TRUE(rec.reports().empty());
}

// A one-colour 100 x 100 plane turned by 45 degrees into 142 x 142, shifted
// down by 100 sin 45: the corners of the target lie outside the turned
// square and keep their background; the centre is the colour.
TEST(WarpEngine, FortyFiveDegreesLeavesTheCorners) {
    const double a = 45 * 3.14159 / 180;
    for (int channels : {1, 3, 4}) {
        OwnedImage src(100, 100, channels, 0, 0xC8), dst(142, 142, channels, 0, 0x00);
        iplRotate(src.get(), dst.get(), 45, 0, 100 * std::sin(a), 0);
        for (auto [x, y] : {std::pair{0, 0}, {141, 0}, {0, 141}, {141, 141}, {10, 10}, {131, 131}})
            EXPECT_EQ(dst.pixel(x, y), 0x00) << x << "," << y;
        for (auto [x, y] : {std::pair{71, 71}, {70, 3}, {3, 70}, {70, 138}, {138, 72}})
            EXPECT_EQ(dst.pixel(x, y, channels - 1), 0xC8) << x << "," << y;
        EXPECT_TRUE(dst.CanariesIntact());
    }
}

// Whole shifts through the engine (iplWarpAffine with the exact quarter-turn
// coefficients) land each target pixel on a source pixel centre, so the
// engine's picture equals the quarter-turn copy's.
TEST(WarpEngine, WholeQuarterTurnsAgreeWithTheExactCopy) {
    RecordReports rec;
    const struct {
        int angle;
        double c0, c1, c3, c4, xShift, yShift;
    } kCases[] = {{90, 0, 1, -1, 0, 2, 10}, {180, -1, 0, 0, -1, 12, 8}, {270, 0, -1, 1, 0, 9, 1}};
    for (const auto& c : kCases)
        for (int channels : {1, 3, 4}) {
            OwnedImage src(11, 8, channels, 1), viaEngine(12, 12, channels, 0, 0x42),
                viaCopy(12, 12, channels, 0, 0x42);
            FillPattern(src);
            const double coefficients[6] = {c.c0, c.c1, c.xShift, c.c3, c.c4, c.yShift};
            iplWarpAffine(src.get(), viaEngine.get(), coefficients, 0);
            iplRotate(src.get(), viaCopy.get(), c.angle, c.xShift, c.yShift, 0);
            EXPECT_EQ(viaEngine.Pixels(), viaCopy.Pixels()) << c.angle << " " << channels;
        }
    EXPECT_TRUE(rec.reports().empty());
}

// A mirrored mapping has a negative determinant: orientation 0, and the
// spans still run left to right. x' = 9 - x mirrors a 10-wide image.
TEST(WarpEngine, MirroredMapping) {
    OwnedImage src(10, 3, 3), dst(10, 3, 3, 0, 0x01);
    FillPattern(src);
    const double mirror[6] = {-1, 0, 9, 0, 1, 0};
    iplWarpAffine(src.get(), dst.get(), mirror, 0);
    ExpectSamples(dst, [](int x, int y, int c) { return Pattern(9 - x, y, c); });
}

TEST(WarpEngine, QuadrangleOutsideTheTargetChangesNothing) {
    RecordReports rec;
    OwnedImage src(8, 8, 1), dst(8, 8, 1, 0, 0x99);
    FillPattern(src);
    const double far[6] = {1, 0, 100, 0, 1, -50};
    iplWarpAffine(src.get(), dst.get(), far, 0);
    for (uint8_t v : dst.Pixels()) ASSERT_EQ(v, 0x99);
    EXPECT_TRUE(rec.reports().empty());
}

// The target's roi cuts the quadrangle; the mapping stays that of the whole image.
TEST(WarpEngine, TargetRoiClipsTheQuadrangle) {
    OwnedImage src(8, 8, 1), dst(8, 8, 1, 0, 0x99);
    FillPattern(src);
    ImageRoi roi{0, 2, 3, 3, 2};
    dst.get()->roi = &roi;
    const double shift[6] = {1, 0, 0.25, 0, 1, 0.25};  // rounds back onto the same pixels
    iplWarpAffine(src.get(), dst.get(), shift, 0);
    dst.get()->roi = nullptr;
    ExpectSamples(dst, [](int x, int y, int) {
        return x >= 2 && x <= 4 && y >= 3 && y <= 4 ? Pattern(x, y, 0) : 0x99;
    });
}

// Rows of 32768 bytes or more are beyond the 16-bit offsets of the kernel;
// they are read in full width and give the intended pixel. A 180-degree
// turn of a 4-channel image 8300 wide (33200 bytes a row) shifted by a
// quarter pixel: target (x, y) takes source (W - 1 - x, H - 1 - y), and
// column 0 and row 0 stay unwritten.
TEST(WarpEngine, WideRowsReadTheIntendedPixel) {
    constexpr int W = 8300, H = 3;
    OwnedImage src(W, H, 4), dst(W, H, 4, 0, 0x07);
    FillPattern(src);
    iplRotate(src.get(), dst.get(), 180, W - 1 + 0.25, H - 1 + 0.25, 0);
    for (int y = 0; y < H; ++y)
        for (int x : {0, 1, 2, 100, 4000, 8191, 8192, 8299})
            for (int c = 0; c < 4; ++c) {
                const uint8_t expect = (x == 0 || y == 0) ? 0x07 : Pattern(W - 1 - x, H - 1 - y, c);
                EXPECT_EQ(dst.pixel(x, y, c), expect) << x << "," << y;
            }
}

TEST(WarpEngine, DegenerateSourceRoiIsReported) {
    RecordReports rec;
    OwnedImage src(8, 8, 1), dst(8, 8, 1, 0, 0x99);
    ImageRoi roi{0, 3, 0, 1, 8};
    src.get()->roi = &roi;
    iplRotate(src.get(), dst.get(), 30, 0, 0, 0);
    src.get()->roi = nullptr;
    ASSERT_GE(rec.reports().size(), 1u);
    EXPECT_EQ(rec.reports()[0].status, -5);
    EXPECT_EQ(rec.reports()[0].message, "srcImage Rectangle ROI is degenerate to length or point");
    EXPECT_EQ(rec.reports()[0].line, 593);
    EXPECT_EQ(rec.reports().back().status, -1);  // passed upwards by iplRotate
    EXPECT_EQ(rec.reports().back().line, 1416);
    EXPECT_EQ(iplGetErrStatus(), -5);
}

// Random affine warps (turns, scales, shears, shifts, mirrors) with every
// kernel, every fast pixel case and one general case; every form writes the
// plain form's bytes.
TEST(WarpEngine, FastRowsMatchThePlainRows) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    struct Shape {
        int srcChannels, dstChannels, alpha;
    };
    const Shape kShapes[] = {{1, 1, 0}, {3, 3, 0}, {4, 4, 0}, {4, 4, 4}, {3, 3, 3}};
    for (int mode : {IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC})
    for (const Shape& shape : kShapes)
        for (int trial = 0; trial < 12; ++trial) {
            const int sw = 3 + int(rng() % 60), sh = 3 + int(rng() % 40);
            const int dw = 1 + int(rng() % 70), dh = 1 + int(rng() % 50);
            const double angle = unit(rng) * 3.2, scale = 0.4 + 1.5 * std::fabs(unit(rng));
            // A turn, mirrored every third trial, with a small shear: the
            // determinant is +-scale^2 plus at most 0.2 scale, never near 0.
            const double sign = trial % 3 ? 1 : -1;
            const double c[6] = {scale * std::cos(angle), sign * scale * std::sin(angle) + 0.2 * unit(rng),
                                 dw / 2.0 + 20 * unit(rng), -scale * std::sin(angle),
                                 sign * scale * std::cos(angle), dh / 2.0 + 20 * unit(rng)};
            OwnedImage src(sw, sh, shape.srcChannels, int(rng() % 5));
            FillPattern(src);
            src.get()->alphaChannel = shape.alpha;
            const int dstPad = int(rng() % 3);
            testing_ipl::ExpectFormsAgree(
                [&] {
                    auto dst = std::make_unique<OwnedImage>(dw, dh, shape.dstChannels, dstPad, 0x3C);
                    dst->get()->alphaChannel = shape.alpha;
                    return dst;
                },
                [&](ImageHeader* dst) { iplWarpAffine(src.get(), dst, c, mode); },
                "mode " + std::to_string(mode) + " trial " + std::to_string(trial));
        }
}

// Half turns that miss whole shifts walk each source row backwards a pixel
// a step, which the 4-byte fast rows copy without gathers: every width
// around the 8-pixel block, every form the plain form's bytes.
TEST(WarpEngine, HalfTurnRowsMatchThePlainRows) {
    for (int w = 2; w <= 27; ++w) {
        const int h = 3 + w % 4;
        OwnedImage src(w, h, 4, w % 3);
        FillPattern(src);
        testing_ipl::ExpectFormsAgree([&] { return std::make_unique<OwnedImage>(w, h, 4, 1, 0x3C); },
                                      [&](ImageHeader* dst) {
                                          iplRotate(src.get(), dst, 180, w - 1 + 0.25, h - 1 + 0.125, 0);
                                      },
                                      "width " + std::to_string(w));
    }
}

// The nearest kernel written out row after row as defined, 16.16 positions
// accumulated by rounded steps, over the engine's spans: large enough that
// the engine walks it in several tiles of rows and columns.
TEST(WarpEngine, NearestMatchesTheRowByRowDefinition) {
    auto fixed = [](double v) { return uint32_t(int32_t(std::nearbyint(v * 65536.0))); };
    for (int channels : {1, 4}) {
        OwnedImage src(700, 300, channels, 3);
        FillPattern(src);
        const double r = 30 * 0.017453292519943295;
        const double c[6] = {std::cos(r), std::sin(r), 5.5, -std::sin(r), std::cos(r), 350.25};
        double quad[8];
        iplGetAffineQuad(src.get(), c, quad);
        const InverseAffine m = InverseFromQuad(quad, {0, 0, 699, 299});
        ScanPlan plan;
        ASSERT_TRUE(plan.Build(quad, {0, 0, 899, 599}, m.orientation));
        OwnedImage expect(900, 600, channels, 1, 0x21);
        uint32_t rowX = fixed(plan.firstRow * m.b + m.c) + 0x8000, rowY = fixed(plan.firstRow * m.e + m.f) + 0x8000;
        for (int y = plan.firstRow; y <= plan.lastRow; ++y) {
            const int i = y - plan.firstRow;
            uint32_t X = rowX + fixed(m.a) * uint32_t(plan.spanLeft[i]);
            uint32_t Y = rowY + fixed(m.d) * uint32_t(plan.spanLeft[i]);
            for (int x = plan.spanLeft[i]; x <= plan.spanRight[i]; ++x) {
                for (int ch = 0; ch < channels; ++ch)
                    expect.at(x, y)[ch] = src.pixel(int32_t(X) >> 16, int32_t(Y) >> 16, ch);
                X += fixed(m.a);
                Y += fixed(m.d);
            }
            rowX += fixed(m.b);
            rowY += fixed(m.e);
        }
        ForEachForm([&](SimdForm form) {
            OwnedImage dst(900, 600, channels, 1, 0x21);
            iplWarpAffine(src.get(), dst.get(), c, 0);
            EXPECT_EQ(dst.Pixels(), expect.Pixels()) << channels << " " << FormName(form);
        });
    }
}

// The spans of a quadrangle: ceil of the first row, the left and right
// columns by ceil and floor, and the clip to the rectangle.
TEST(ScanPlan, SpansOfASquareTurnedByFortyFiveDegrees) {
    // A diamond centred on (5, 5) with corners 4 away.
    const double quad[8] = {5, 1, 9, 5, 5, 9, 1, 5};
    ScanPlan plan;
    ASSERT_TRUE(plan.Build(quad, {0, 0, 20, 20}, true));
    EXPECT_EQ(plan.firstRow, 1);
    EXPECT_EQ(plan.lastRow, 9);
    for (int y = 1; y <= 9; ++y) {
        const int half = 4 - std::abs(y - 5);
        EXPECT_EQ(plan.spanLeft[y - 1], 5 - half) << y;
        EXPECT_EQ(plan.spanRight[y - 1], 5 + half) << y;
    }
    ScanPlan clipped;
    ASSERT_TRUE(clipped.Build(quad, {0, 3, 6, 20}, true));
    EXPECT_EQ(clipped.firstRow, 3);
    EXPECT_EQ(clipped.spanLeft[0], 3);
    EXPECT_EQ(clipped.spanRight[0], 6);  // cut at the rectangle's right edge
    ScanPlan outside;
    EXPECT_FALSE(outside.Build(quad, {10, 0, 20, 20}, true));
}

}  // namespace
}  // namespace tarn
