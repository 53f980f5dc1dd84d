// One-to-one kernels (packed to RGB, RGB to packed, RGB depths) against their
// reference forms, every form this machine runs; the SSE2 RGB-to-packed
// departures and the depth conversions worked by hand.
#include <gtest/gtest.h>

#include <functional>

#include "convert/conversion_kernels.h"
#include "kernel_harness.h"

namespace tarn::test {
namespace {

using Kernel = std::function<void(uint8_t*, int32_t, uint8_t*, int32_t, int32_t, int32_t)>;
using Reference = std::function<void(const ref::Mem&, ptrdiff_t, int, const ref::Mem&, ptrdiff_t,
                                     int, int, int)>;

struct OneToOneCase {
    const char* name;
    Kernel kernel;
    int inBytesPerPixel, outBytesPerPixel;
    Reference reference;
};

template <auto K>
Kernel ReadOnly() {
    return [](uint8_t* d, int32_t ds, uint8_t* s, int32_t ss, int32_t w, int32_t h) { K(d, ds, s, ss, w, h); };
}

void CheckAgainstReference(const OneToOneCase& c) {
    uint32_t seed = 500;
    for (int32_t w : AwkwardWidths()) {
        for (int32_t h : {1, 2, 3, 4, 5, 6, -1, -5, -6}) {
            const int32_t rows = h < 0 ? -h : h;
            const int32_t srcStride = w * c.inBytesPerPixel + (w % 4);
            const int32_t dstStride = w * c.outBytesPerPixel + (w % 3);
            for (SimdForm form : FormsHere()) {
                Buffer src(size_t(rows) * srcStride, ++seed), dst(size_t(rows) * dstStride, 0);
                Buffer srcRef = src, dstRef = dst;
                {
                    ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, form);
                    c.kernel(dst.At(kMargin), dstStride, src.At(kMargin), srcStride, w, h);
                }
                c.reference(dstRef.Mem(), kMargin, dstStride, srcRef.Mem(), kMargin, srcStride, w, h);
                ASSERT_EQ(dst.data, dstRef.data) << c.name << " " << Case(w, h, form);
                ASSERT_EQ(src.data, srcRef.data) << c.name << " source " << Case(w, h, form);
            }
        }
    }
}

TEST(OneToOneKernels, MatchTheirReferenceForms) {
    using ref::Tier;
    const auto fromYuy2 = [](Tier t, int bpp) {
        return [t, bpp](const ref::Mem& d, ptrdiff_t d0, int ds, const ref::Mem& s, ptrdiff_t s0,
                        int ss, int w, int h) { ref::Yuy2ToRgb(t, bpp, d, d0, ds, s, s0, ss, w, h); };
    };
    const auto toYuy2 = [](Tier t, int bpp) {
        return [t, bpp](const ref::Mem& d, ptrdiff_t d0, int ds, const ref::Mem& s, ptrdiff_t s0,
                        int ss, int w, int h) { ref::RgbToYuy2(t, bpp, d, d0, ds, s, s0, ss, w, h); };
    };
    const OneToOneCase cases[] = {
        {"ConvYuy2ToRgb32Plain", ReadOnly<ConvYuy2ToRgb32Plain>(), 2, 4, fromYuy2(Tier::Plain, 4)},
        {"ConvYuy2ToRgb24Plain", ReadOnly<ConvYuy2ToRgb24Plain>(), 2, 3, fromYuy2(Tier::Plain, 3)},
        {"ConvYuy2ToRgb32MmxTier", ReadOnly<ConvYuy2ToRgb32MmxTier>(), 2, 4, fromYuy2(Tier::Mmx, 4)},
        {"ConvYuy2ToRgb24MmxTier", ReadOnly<ConvYuy2ToRgb24MmxTier>(), 2, 3, fromYuy2(Tier::Mmx, 3)},
        {"ConvYuy2ToRgb32Sse2Tier", ReadOnly<ConvYuy2ToRgb32Sse2Tier>(), 2, 4, fromYuy2(Tier::Sse2, 4)},
        {"ConvYuy2ToRgb24Sse2Tier", ReadOnly<ConvYuy2ToRgb24Sse2Tier>(), 2, 3, fromYuy2(Tier::Sse2, 3)},
        {"ConvRgb32ToYuy2Plain", ReadOnly<ConvRgb32ToYuy2Plain>(), 4, 2, toYuy2(Tier::Plain, 4)},
        {"ConvRgb24ToYuy2Plain", ReadOnly<ConvRgb24ToYuy2Plain>(), 3, 2, toYuy2(Tier::Plain, 3)},
        {"ConvRgb32ToYuy2Sse2Tier", ConvRgb32ToYuy2Sse2Tier, 4, 2, toYuy2(Tier::Sse2, 4)},
        {"ConvRgb24ToYuy2Sse2Tier", ConvRgb24ToYuy2Sse2Tier, 3, 2, toYuy2(Tier::Sse2, 3)},
    };
    for (const auto& c : cases) CheckAgainstReference(c);
}

TEST(RgbToYuy2, WhiteThroughThePlainKernel) {
    std::vector<uint8_t> rgb(4 * 2, 255), out(4, 0);
    ConvRgb32ToYuy2Plain(out.data(), 4, rgb.data(), 8, 2, 1);
    EXPECT_EQ(out, (std::vector<uint8_t>{235, 128, 235, 128}));
}

TEST(RgbToYuy2, Sse2AtWidth12ConvertsEightColumnsAndWritesTheRestIntoTheSource) {
    // Pixels: blue ramp; each converted group shows the luma swap of p1, p2.
    const int32_t w = 12;
    std::vector<uint8_t> rgb(size_t(w) * 4), out(size_t(w) * 2, 0xEE);
    for (int32_t i = 0; i < w; ++i) {
        rgb[4 * i] = uint8_t(20 * i);
        rgb[4 * i + 1] = uint8_t(10 * i);
        rgb[4 * i + 2] = uint8_t(200 - 5 * i);
    }
    const std::vector<uint8_t> before = rgb;
    ConvRgb32ToYuy2Sse2Tier(out.data(), w * 2, rgb.data(), w * 4, w, 1);
    const auto y = [&](int i) { return ref::Luma(before[4 * i], before[4 * i + 1], before[4 * i + 2]); };
    EXPECT_EQ(out[0], y(0));
    EXPECT_EQ(out[2], y(2));  // Y(p2) before Y(p1)
    EXPECT_EQ(out[4], y(1));
    for (int32_t x = 16; x < 24; ++x) EXPECT_EQ(out[x], 0xEE) << "destination of the last 4 pixels";
    // Pairs (8, 9) and (10, 11) went over the first four bytes of pixels 8 and 10.
    for (int pair = 0; pair < 2; ++pair) {
        const int p0 = 8 + 2 * pair;
        EXPECT_EQ(rgb[4 * p0], y(p0));
        EXPECT_EQ(rgb[4 * p0 + 2], y(p0 + 1));
        EXPECT_EQ(rgb[4 * (p0 + 1)], before[4 * (p0 + 1)]) << "second pixel of the pair kept";
    }
    EXPECT_TRUE(std::equal(rgb.begin(), rgb.begin() + 32, before.begin()));
}

TEST(RgbDepth, WidensWithAZeroFourthByteAndNarrowsDroppingIt) {
    const int32_t w = 5, h = 3;
    std::vector<uint8_t> rgb24(size_t(w) * 3 * h);
    for (size_t i = 0; i < rgb24.size(); ++i) rgb24[i] = uint8_t(i * 7 + 1);
    std::vector<uint8_t> rgb32(size_t(w) * 4 * h, 0xCD), back(rgb24.size(), 0);
    ConvRgb24ToRgb32(rgb32.data(), w * 4, rgb24.data(), w * 3, w, -h);  // source from its last row
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            for (int c = 0; c < 4; ++c)
                EXPECT_EQ(rgb32[size_t(y * w + x) * 4 + c], c == 3 ? 0 : rgb24[size_t((h - 1 - y) * w + x) * 3 + c]);
    ConvRgb32ToRgb24(back.data(), w * 3, rgb32.data(), w * 4, w, -h);
    EXPECT_EQ(back, rgb24);
}

}  // namespace
}  // namespace tarn::test

namespace tarn::test {
namespace {

TEST(Yuy2ToRgb, Sse2AtWidth8RunsNoBlockAndMmx24LeavesAZeroBehindItsLastBlock) {
    // Luma 235, neutral chroma: 254 in the table form, 253 in the vector form.
    for (int32_t w : {8, 16}) {
        std::vector<uint8_t> yuy2(size_t(w) * 4), out(size_t(w) * 4 + 8, 0xCD);
        for (size_t i = 0; i < yuy2.size(); i += 4) yuy2[i] = yuy2[i + 2] = 235, yuy2[i + 1] = yuy2[i + 3] = 128;
        ConvYuy2ToRgb32Sse2Tier(out.data(), w * 4, yuy2.data(), w * 2, w, 1);
        EXPECT_EQ(out[0], w == 8 ? 254 : 253) << w;
        // Rows with 4 bytes of padding: the byte past each row lands in its
        // padding. Without padding, the byte past the last row lies outside
        // the frame and is not written.
        const size_t stride = size_t(w) * 3 + 4;
        std::vector<uint8_t> rgb24(stride * 2 + 8, 0xCD);
        ConvYuy2ToRgb24MmxTier(rgb24.data(), int32_t(stride), yuy2.data(), w * 2, w, 2);
        EXPECT_EQ(rgb24[0], 253);
        for (size_t r = 0; r < 2; ++r) {
            EXPECT_EQ(rgb24[r * stride + size_t(w) * 3], 0) << "the 8-byte store's last byte, past the row";
            EXPECT_EQ(rgb24[r * stride + size_t(w) * 3 + 1], 0xCD);
        }
        std::vector<uint8_t> tight(size_t(w) * 3 + 8, 0xCD);
        ConvYuy2ToRgb24MmxTier(tight.data(), w * 3, yuy2.data(), w * 2, w, 1);
        EXPECT_EQ(tight[size_t(w) * 3], 0xCD);
    }
}

}  // namespace
}  // namespace tarn::test
