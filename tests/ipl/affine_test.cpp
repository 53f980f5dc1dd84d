// The affine entries: argument tests and their reports, the determinant
// limit, the fall-back of interpolations, the identity under every one,
// the quadrangle of a transform, angle reduction and the shifts of a turn
// about a point.
#include <gtest/gtest.h>

#include <cmath>

#include "ipl/iplwarp.h"
#include "ipl_test_support.h"

namespace tarn {
namespace {

using testing_ipl::FillPattern;
using testing_ipl::OwnedImage;
using testing_ipl::RecordReports;

const double kIdentity[6] = {1, 0, 0, 0, 1, 0};

TEST(IplWarpAffine, DeterminantLimit) {
    RecordReports rec;
    const struct {
        double c0, c4;
        bool refused;
    } kCases[] = {{1e-08, 1, true}, {1e-07, 1, true}, {2e-07, 1, false}, {-2e-07, 1, false}, {0, 0, true}};
    for (const auto& c : kCases) {
        OwnedImage src(4, 4, 1), dst(4, 4, 1);
        const double coefficients[6] = {c.c0, 0, 0, 0, c.c4, 0};
        rec.Clear();
        iplWarpAffine(src.get(), dst.get(), coefficients, 0);
        if (c.refused) {
            ASSERT_EQ(rec.reports().size(), 1u) << c.c0;
            EXPECT_EQ(rec.reports()[0].message, "Determinant of transform matrix == 0.0");
            EXPECT_EQ(rec.reports()[0].line, 899);
        } else {
            EXPECT_TRUE(rec.reports().empty()) << c.c0;
        }
    }
}

// The tests of the group all report, in their order, before the status
// word stops the warp; the target is not touched.
TEST(IplWarpAffine, ArgumentTestsReportInOrderThenReturn) {
    RecordReports rec;
    OwnedImage src(4, 4, 3), dst(4, 4, 3, 0, 0x44);
    src.get()->depth = IPL_DEPTH_8S;
    src.get()->origin = 1;
    src.get()->dataOrder = 1;
    iplWarpAffine(src.get(), dst.get(), kIdentity, 0);
    const struct {
        const char* message;
        int line;
    } kExpected[] = {{"srcImage->depth != dstImage->depth", 889},
                     {"srcImage->origin != dstImage->origin", 889},
                     {"srcImage->dataOrder != dstImage->dataOrder", 889},
                     {"srcImage->depth & IPL_DEPTH_SIGN", 890}};
    ASSERT_EQ(rec.reports().size(), 4u);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(rec.reports()[i].message, kExpected[i].message);
        EXPECT_EQ(rec.reports()[i].line, kExpected[i].line);
        EXPECT_EQ(rec.reports()[i].status, -5);
        EXPECT_EQ(rec.reports()[i].function, "iplWarpAffine");
        EXPECT_EQ(rec.reports()[i].file, "iplwarp");
    }
    for (uint8_t v : dst.Pixels()) ASSERT_EQ(v, 0x44);
}

TEST(IplWarpAffine, InPlaceIsRefused) {
    RecordReports rec;
    OwnedImage image(4, 4, 1, 0, 0x10);
    iplWarpAffine(image.get(), image.get(), kIdentity, 0);
    ASSERT_EQ(rec.reports().size(), 1u);
    EXPECT_EQ(rec.reports()[0].message, "This function is not in-place function");
    EXPECT_EQ(rec.reports()[0].line, 892);
}

TEST(IplWarpAffine, BadHeadersReportTheirStatus) {
    RecordReports rec;
    OwnedImage src(4, 4, 1), dst(4, 4, 1);
    dst.get()->align = 3;
    iplWarpAffine(src.get(), dst.get(), kIdentity, 0);
    ASSERT_EQ(rec.reports().size(), 1u);
    EXPECT_EQ(rec.reports()[0].status, -21);
    EXPECT_EQ(rec.reports()[0].message, "Incorrect Image");
    EXPECT_EQ(rec.reports()[0].line, 888);
    rec.Clear();
    iplWarpAffine(nullptr, dst.get(), kIdentity, 0);
    EXPECT_EQ(rec.reports().at(0).status, -9);
    EXPECT_EQ(rec.reports().at(0).line, 887);
}

TEST(IplWarpAffine, InterpolationOutsideTheThreeIsRefused) {
    RecordReports rec;
    OwnedImage src(4, 4, 1), dst(4, 4, 1);
    for (int mode : {3, 19, -1}) {
        rec.Clear();
        iplWarpAffine(src.get(), dst.get(), kIdentity, mode);
        ASSERT_EQ(rec.reports().size(), 1u) << mode;
        EXPECT_EQ(rec.reports()[0].line, 983);
    }
}

// Linear and cubic kernels and edge smoothing are not built: a request is
// reported as unsupported and never quietly drawn by the nearest kernel.
// At whole source positions every window reads the pixel itself (linear
// and cubic weights there are 0 and 16384), and smoothing leaves an
// axis-parallel quadrangle alone: the identity copies the source.
TEST(IplWarpAffine, IdentityCopiesUnderEveryInterpolation) {
    RecordReports rec;
    for (int mode : {0, 1, 2, 16, 17, 18}) {
        OwnedImage src(6, 6, 1), dst(6, 6, 1, 0, 0x55);
        FillPattern(src);
        iplWarpAffine(src.get(), dst.get(), kIdentity, mode);
        EXPECT_EQ(dst.Pixels(), src.Pixels()) << mode;
    }
    EXPECT_TRUE(rec.reports().empty());
}

// One pixel high: any interpolation falls back to nearest neighbour, and the
// engine then finds the region degenerate (not an unsupported kernel).
TEST(IplWarpAffine, OnePixelHighFallsBackToNearest) {
    RecordReports rec;
    OwnedImage src(6, 1, 1), dst(6, 6, 1);
    iplWarpAffine(src.get(), dst.get(), kIdentity, 2);
    ASSERT_EQ(rec.reports().size(), 1u);
    EXPECT_EQ(rec.reports()[0].status, -5);
    EXPECT_EQ(rec.reports()[0].line, 593);
}

// Corners of the roi's inclusive rectangle (2, 1)-(4, 4) under
// x' = 2x + 0.5y + 1, y' = -x + 3y + 7.
TEST(IplGetAffineQuad, CornersOfTheRoi) {
    OwnedImage image(10, 6, 1);
    ImageRoi roi{0, 2, 1, 3, 4};
    image.get()->roi = &roi;
    const double c[6] = {2, 0.5, 1, -1, 3, 7};
    double quad[8];
    iplGetAffineQuad(image.get(), c, quad);
    image.get()->roi = nullptr;
    const double expect[8] = {5.5, 8, 9.5, 6, 11, 15, 7, 17};
    for (int i = 0; i < 8; ++i) EXPECT_DOUBLE_EQ(quad[i], expect[i]) << i;
}

TEST(IplGetAffineQuad, RoiOutsideTheImageIsReported) {
    RecordReports rec;
    OwnedImage image(10, 6, 1);
    ImageRoi roi{0, 12, 1, 3, 4};
    image.get()->roi = &roi;
    double quad[8];
    iplGetAffineQuad(image.get(), kIdentity, quad);
    image.get()->roi = nullptr;
    ASSERT_EQ(rec.reports().size(), 1u);
    EXPECT_EQ(rec.reports()[0].message, "Bad rect ROI");
    EXPECT_EQ(rec.reports()[0].line, 1444);
}

TEST(ReduceAngle, IntoZeroTo360) {
    const struct {
        double in, out;
    } kCases[] = {{450, 90}, {-90, 270}, {360, 0}, {180, 180}, {540, 180}, {-720, 0}, {30.5, 30.5}, {-0.25, 359.75}};
    for (const auto& c : kCases) EXPECT_DOUBLE_EQ(ReduceAngle(c.in), c.out) << c.in;
}

// The shifts that keep the centre in place: worked for the right angles,
// and checked as a property (the centre maps onto itself) for others.
TEST(GetRotateShift, KeepsTheCentreInPlace) {
    const struct {
        double angle, x, y, xs, ys;
    } kRight[] = {{90, 3, 1.5, 1.5, 4.5}, {180, 3, 1.5, 6, 3}, {270, 3, 1.5, 4.5, -1.5}, {-90, 3, 1.5, 4.5, -1.5},
                  {0, 3, 1.5, 0, 0},      {360, 3, 1.5, 0, 0}};
    for (const auto& c : kRight) {
        double xs = 1, ys = -1;  // added to, not overwritten
        GetRotateShift(c.x, c.y, c.angle, &xs, &ys);
        EXPECT_DOUBLE_EQ(xs, 1 + c.xs) << c.angle;
        EXPECT_DOUBLE_EQ(ys, -1 + c.ys) << c.angle;
    }
    for (double angle : {30.0, 123.0, 200.0, -45.0, 300.0}) {
        const double x = 17.5, y = -4.25;
        double xs = 0, ys = 0;
        GetRotateShift(x, y, angle, &xs, &ys);
        const double r = ReduceAngle(angle) * 0.017453292519943295;
        EXPECT_NEAR(std::cos(r) * x + std::sin(r) * y + xs, x, 1e-9) << angle;
        EXPECT_NEAR(-std::sin(r) * x + std::cos(r) * y + ys, y, 1e-9) << angle;
    }
}

}  // namespace
}  // namespace tarn
