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

using testing_ipl::ExpectOneReport;
using testing_ipl::FillPattern;
using testing_ipl::OwnedImage;
using testing_ipl::RecordReports;

const double kIdentity[6] = {1, 0, 0, 0, 1, 0};

// Each refusal reports once, with its status, line and text, and the target
// keeps its bytes; a determinant just above the limit is accepted. One pixel
// high, any interpolation falls back to nearest neighbour, and the engine
// then finds the region degenerate (not an unsupported kernel).
TEST(IplWarpAffine, RefusalsReportOnceAndLeaveTheTarget) {
    RecordReports rec;
    enum { kNone, kInPlace, kNullSource, kBadAlign };
    const char* kDeterminant = "Determinant of transform matrix == 0.0";
    const struct {
        double c0, c4;
        int mode, how;
        int32_t sourceHeight, status, line;  // line 0: accepted
        const char* message;
    } kCases[] = {
        {1e-08, 1, 0, kNone, 4, -5, 899, kDeterminant},
        {1e-07, 1, 0, kNone, 4, -5, 899, kDeterminant},
        {0, 0, 0, kNone, 4, -5, 899, kDeterminant},
        {2e-07, 1, 0, kNone, 4, 0, 0, nullptr},
        {-2e-07, 1, 0, kNone, 4, 0, 0, nullptr},
        {1, 1, 0, kInPlace, 4, -5, 892, "This function is not in-place function"},
        {1, 1, 0, kBadAlign, 4, -21, 888, "Incorrect Image"},
        {1, 1, 0, kNullSource, 4, -9, 887, "Incorrect Image"},
        {1, 1, 3, kNone, 4, -5, 983, nullptr},
        {1, 1, 19, kNone, 4, -5, 983, nullptr},
        {1, 1, -1, kNone, 4, -5, 983, nullptr},
        {1, 1, 2, kNone, 1, -5, 593, "srcImage Rectangle ROI is degenerate to length or point"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(::testing::Message() << c.c0 << " mode " << c.mode << " case " << c.how << " line " << c.line);
        OwnedImage src(6, c.sourceHeight, 1, 0, 0x10), dst(6, 6, 1, 0, 0x44);
        if (c.how == kBadAlign) dst.get()->align = 3;
        const double coefficients[6] = {c.c0, 0, 0, 0, c.c4, 0};
        rec.Clear();
        iplWarpAffine(c.how == kNullSource ? nullptr : src.get(), c.how == kInPlace ? src.get() : dst.get(),
                      coefficients, c.mode);
        if (c.line == 0) {
            EXPECT_TRUE(rec.reports().empty());
            continue;
        }
        ExpectOneReport(rec, c.status, c.line, c.message);
        for (uint8_t v : dst.Pixels()) ASSERT_EQ(v, 0x44);
        for (uint8_t v : src.Pixels()) ASSERT_EQ(v, 0x10);
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
    ExpectOneReport(rec, -5, 1444, "Bad rect ROI");
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
