// The linear and cubic kernels, edge smoothing and the kernels of the other
// depths and layouts: values worked by hand from the weights, properties
// (a ramp stays a ramp, a constant stays constant, planes and bits agree
// with the 8-bit pixel-order kernels). The fast forms are held to the plain
// ones with the nearest kernel's (warp_engine_test).
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "ipl/iplwarp.h"
#include "ipl_test_support.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"

namespace tarn {
namespace {

using testing_ipl::Fill;
using testing_ipl::ExpectSamples;
using testing_ipl::FillPattern;
using testing_ipl::ForEachForm;
using testing_ipl::OwnedImage;
using testing_ipl::RecordReports;

// Shifted left by a quarter pixel: target x reads source x + 0.25, so fx is
// 4096. With p = 20 x: r0 = (20x 12288 + 20(x + 1) 4096) >> 8 = 1280 x + 320,
// and (r0 16384 + 0x80000) >> 20 = (1280 x + 352) >> 6 = 20 x + 5.
TEST(WarpLinear, QuarterPixelOfARamp) {
    RecordReports rec;
    ForEachForm([&](SimdForm form) {
        for (int channels : {1, 3, 4}) {
            OwnedImage src(12, 3, channels, 1), dst(12, 3, channels, 0, 0x07);
            Fill(src, [](int x, int, int c) { return 20 * x + c; });
            const double shift[6] = {1, 0, -0.25, 0, 1, 0};
            iplWarpAffine(src.get(), dst.get(), shift, IPL_INTER_LINEAR);
            ExpectSamples(dst, [](int x, int, int c) { return x == 11 ? 0x07 : 20 * x + 5 + c; }, FormName(form));
        }
    });
    EXPECT_TRUE(rec.reports().empty());
}

// Linear interpolation of p = 6 x + 5 y is the ramp itself at the clamped
// position, up to the 14-bit fractions: within one of the exact value,
// under any turn.
TEST(WarpLinear, ARampStaysARamp) {
    OwnedImage src(20, 20, 1);
    Fill(src, [](int x, int y, int) { return 6 * x + 5 * y; });
    for (double angle : {17.0, 30.0, 133.0, 250.0}) {
        OwnedImage dst(30, 30, 1, 0, 0);
        double xs = 5, ys = 5;  // the image's centre to (14.5, 14.5)
        GetRotateShift(9.5, 9.5, angle, &xs, &ys);
        iplRotate(src.get(), dst.get(), angle, xs, ys, IPL_INTER_LINEAR);
        const double r = angle * 3.14159265358979 / 180, cs = std::cos(r), sn = std::sin(r);
        int checked = 0;
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 30; ++x) {
                // Inverse of x' = cs x + sn y + 5, y' = -sn x + cs y + 5.
                const double sx = cs * (x - xs) - sn * (y - ys), sy = sn * (x - xs) + cs * (y - ys);
                if (sx < 0.01 || sy < 0.01 || sx > 18.99 || sy > 18.99) continue;
                EXPECT_NEAR(dst.pixel(x, y), 6 * sx + 5 * sy, 1.0) << angle << " " << x << "," << y;
                ++checked;
            }
        EXPECT_GT(checked, 100);
    }
}

// A 180-degree turn with a half-pixel shift goes through the engine: target
// (x, y) reads source (7.5 - x, 3 - y), halfway between two columns. With
// p = 20 x + y the linear result is (p0 + p1 + 1) >> 1 = 153 - 20 x - y;
// column 0 lies outside the quadrangle.
TEST(WarpLinear, HalfTurnWithAHalfPixelShift) {
    OwnedImage src(8, 4, 1), dst(8, 4, 1, 0, 0xEE);
    Fill(src, [](int x, int y, int) { return 20 * x + y; });
    iplRotate(src.get(), dst.get(), 180, 7.5, 3, IPL_INTER_LINEAR);
    ExpectSamples(dst, [](int x, int y, int) { return x == 0 ? 0xEE : 153 - 20 * x - y; });
}

// Cubic weights at half pixels are exact (multiples of 1024), and the cubic
// through four points reproduces a quadratic: at X = k + 0.5 the row sum is
// 64 x 3 X^2 exactly, and the result floor(3 X^2 + 0.5). The same turn as
// above reads X = 7.5 - x, with windows at the image's start, middle and end.
TEST(WarpCubic, HalfTurnOfAQuadraticIsExact) {
    ForEachForm([&](SimdForm form) {
        for (int channels : {1, 3, 4}) {
            OwnedImage src(8, 4, channels), dst(8, 4, channels, 0, 0xEE);
            Fill(src, [](int x, int, int c) { return 3 * x * x + c; });
            iplRotate(src.get(), dst.get(), 180, 7.5, 3, IPL_INTER_CUBIC);
            const auto expect = [](int x, int, int c) {
                return x == 0 ? 0xEE : int(std::floor(3 * (7.5 - x) * (7.5 - x) + 0.5)) + c;
            };
            ExpectSamples(dst, expect, FormName(form));
        }
    });
}

// The table's rounding leaves the weights summing to 16384 or within a few
// of it, so any constant comes back as itself, at any position.
TEST(WarpCubic, ConstantStaysConstant) {
    for (uint8_t value : {0, 1, 77, 128, 254, 255}) {
        OwnedImage src(9, 7, 3, 0, value), dst(16, 16, 3, 0, 0);
        iplRotate(src.get(), dst.get(), 23, 3.3, 1.7, IPL_INTER_CUBIC);
        int written = 0;
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 16; ++x)
                if (dst.pixel(x, y) != 0 || value == 0) {
                    for (int c = 0; c < 3; ++c) ASSERT_EQ(dst.pixel(x, y, c), value) << x << "," << y;
                    ++written;
                }
        EXPECT_GT(written, 30);
    }
}

// x' = x + 2, y' = 0.25 x + y + 2 on an 8 x 8 plane of 200 over 0: the top
// edge runs from (2, 2) to (9, 3.75) at v = 2 + (x - 2) / 4, and with a
// positive determinant the pixel above it, at floor(v), takes
// |v - floor v| of itself (0) and |v - ceil v| of the pixel below (200).
// The bottom edge, from (9, 10.75) back to (2, 9), softens the pixel below
// it, at ceil(v). The vertical edges stay hard.
TEST(WarpSmooth, OneEdgePixelWorkedByHand) {
    RecordReports rec;
    OwnedImage src(8, 8, 1, 0, 200), hard(16, 16, 1, 0, 0), soft(16, 16, 1, 0, 0);
    const double shear[6] = {1, 0, 2, 0.25, 1, 2};
    iplWarpAffine(src.get(), hard.get(), shear, IPL_INTER_NN);
    iplWarpAffine(src.get(), soft.get(), shear, IPL_INTER_NN | IPL_SMOOTH_EDGE);
    EXPECT_TRUE(rec.reports().empty());
    const struct {
        int x, y, value;
    } kSoftened[] = {{3, 2, 150}, {4, 2, 100}, {5, 2, 50}, {7, 3, 150}, {8, 3, 100}, {9, 3, 50},
                     {3, 10, 50}, {4, 10, 100}, {5, 10, 150}};
    std::vector<uint8_t> expect = hard.Pixels();
    for (const auto& p : kSoftened) {
        EXPECT_EQ(hard.pixel(p.x, p.y), 0) << p.x << "," << p.y;
        expect[size_t(p.y) * 16 + p.x] = uint8_t(p.value);
    }
    // x = 6 and x = 2 fall on whole heights and are skipped; the rest of
    // the edges' pixels are worked the same way and are left out here.
    std::vector<uint8_t> got = soft.Pixels();
    for (const auto& p : kSoftened) EXPECT_EQ(got[size_t(p.y) * 16 + p.x], p.value) << p.x << "," << p.y;
    for (int y = 4; y <= 8; ++y)
        for (int x = 0; x < 16; ++x)
            EXPECT_EQ(got[size_t(y) * 16 + x], expect[size_t(y) * 16 + x]) << "inside rows change " << x << "," << y;
}

TEST(WarpSmooth, AQuarterTurnThroughTheEngineIsNotSoftened) {
    OwnedImage src(9, 7, 3), a(12, 12, 3, 0, 9), b(12, 12, 3, 0, 9);
    FillPattern(src);
    iplRotate(src.get(), a.get(), 90, 0.5, 9, IPL_INTER_NN);
    iplRotate(src.get(), b.get(), 90, 0.5, 9, IPL_INTER_NN | IPL_SMOOTH_EDGE);
    EXPECT_EQ(a.Pixels(), b.Pixels());
}

// A header of `channels` samples of type T at `depth` over a vector, one
// plane per channel in plane order.
template <class T>
struct HeaderImage {
    ImageHeader* header;
    std::vector<T> samples;
    HeaderImage(int w, int h, int channels, uint32_t depth, int order, T fill) {
        header = iplCreateImageHeader(channels, 0, depth, "RGB", "BGR", order, 0, 4, w, h, nullptr, nullptr, nullptr,
                                      nullptr);
        samples.assign(size_t(header->imageSize) / sizeof(T), fill);
        header->imageData = reinterpret_cast<uint8_t*>(samples.data());
    }
    ~HeaderImage() {
        header->imageData = nullptr;
        iplDeallocateHeader(header);
    }
    T& at(int x, int y, int c = 0) {
        return samples[(size_t(c) * header->height + y) * header->widthStep / sizeof(T) + x];
    }
};

// Plane order runs each plane as a one-channel image: it agrees with the
// pixel-order warp channel by channel.
TEST(WarpKernels, PlaneOrderAgreesWithPixelOrder) {
    RecordReports rec;
    const double c[6] = {0.8, 0.3, 2.2, -0.3, 0.9, 4.1};
    for (int mode : {IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC}) {
        OwnedImage src(13, 9, 3), dst(15, 15, 3, 0, 0);
        FillPattern(src);
        HeaderImage<uint8_t> psrc(13, 9, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE, 0),
            pdst(15, 15, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE, 0);
        for (int y = 0; y < 9; ++y)
            for (int x = 0; x < 13; ++x)
                for (int ch = 0; ch < 3; ++ch) psrc.at(x, y, ch) = src.pixel(x, y, ch);
        iplWarpAffine(src.get(), dst.get(), c, mode);
        iplWarpAffine(psrc.header, pdst.header, c, mode);
        for (int y = 0; y < 15; ++y)
            for (int x = 0; x < 15; ++x)
                for (int ch = 0; ch < 3; ++ch) ASSERT_EQ(pdst.at(x, y, ch), dst.pixel(x, y, ch)) << mode;
    }
    EXPECT_TRUE(rec.reports().empty());
}

// 16-bit linear, a quarter pixel into p = 1000 x: 1000 x + 250 exactly;
// float cubic of a quadratic at half pixels: 3 X^2 to single precision.
TEST(WarpKernels, WideSamples) {
    RecordReports rec;
    HeaderImage<uint16_t> src16(10, 4, 1, IPL_DEPTH_16U, 0, 0), dst16(10, 4, 1, IPL_DEPTH_16U, 0, 7);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 10; ++x) src16.at(x, y) = uint16_t(1000 * x);
    const double shift[6] = {1, 0, -0.25, 0, 1, 0};
    iplWarpAffine(src16.header, dst16.header, shift, IPL_INTER_LINEAR);
    for (int x = 0; x < 10; ++x) EXPECT_EQ(dst16.at(x, 2), x == 9 ? 7 : 1000 * x + 250) << x;

    HeaderImage<float> src32(8, 4, 1, IPL_DEPTH_32F, 0, 0), dst32(8, 4, 1, IPL_DEPTH_32F, 0, -1);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 8; ++x) src32.at(x, y) = float(3 * x * x);
    iplRotate(src32.header, dst32.header, 180, 7.5, 3, IPL_INTER_CUBIC);
    for (int x = 1; x < 8; ++x) EXPECT_NEAR(dst32.at(x, 1), 3 * (7.5 - x) * (7.5 - x), 1e-3) << x;
    EXPECT_EQ(dst32.at(0, 1), -1.0f);
    EXPECT_TRUE(rec.reports().empty());
}

// The 1-bit kernel reads and writes single bits with the nearest stepping:
// a turn of a bit pattern equals the 8-bit turn of the same 0 / 1 plane,
// and bits outside the quadrangle keep their values.
TEST(WarpKernels, BitsFollowTheByteKernel) {
    RecordReports rec;
    constexpr int W = 19, H = 13, T = 21;
    ImageHeader* bits = ImageWrapHeader(W, H, 1);
    ImageHeader* out = ImageWrapHeader(T, T, 1);
    std::vector<uint8_t> bitBytes(size_t(bits->imageSize)), outBytes(size_t(out->imageSize), 0x5A);
    bits->imageData = bitBytes.data(), out->imageData = outBytes.data();
    OwnedImage bytes(W, H, 1), byteOut(T, T, 1, 0, 2);
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
            const bool on = (x * 7 + y * 3) % 5 < 2;
            *bytes.at(x, y) = on;
            if (on) bitBytes[size_t(y) * bits->widthStep + x / 8] |= uint8_t(128 >> (x % 8));
        }
    iplRotate(bits, out, 33, 6.5, 0.25, IPL_INTER_NN);
    iplRotate(bytes.get(), byteOut.get(), 33, 6.5, 0.25, IPL_INTER_NN);
    for (int y = 0; y < T; ++y)
        for (int x = 0; x < T; ++x) {
            const uint8_t byte = byteOut.pixel(x, y);
            const int bit = (outBytes[size_t(y) * out->widthStep + x / 8] >> (7 - x % 8)) & 1;
            const int before = (0x5A >> (7 - x % 8)) & 1;
            ASSERT_EQ(bit, byte == 2 ? before : byte) << x << "," << y;
        }
    bits->imageData = out->imageData = nullptr;
    iplDeallocateHeader(bits);
    iplDeallocateHeader(out);
    EXPECT_TRUE(rec.reports().empty());
}

}  // namespace
}  // namespace tarn
