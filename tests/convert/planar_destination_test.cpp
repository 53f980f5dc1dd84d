// Kernels with a planar destination (RGB to planar, packed to planar) against
// their reference forms, every form this machine runs; RGB to planar worked by
// hand and the equality of its tiers and source depths.
#include <gtest/gtest.h>

#include <functional>

#include "convert/conversion_kernels.h"
#include "kernel_harness.h"

namespace tarn::test {
namespace {

using Kernel = void (*)(uint8_t*, uint8_t*, uint8_t*, int32_t, int32_t, const uint8_t*, int32_t,
                        int32_t, int32_t);
using Reference = std::function<void(const ref::Mem&, const ref::PlanarSrc&, const ref::Mem&,
                                     ptrdiff_t, int, int, int)>;

struct PlanarDestinationCase {
    const char* name;
    Kernel kernel;
    int inBytesPerPixel;
    Reference reference;
};

void CheckAgainstReference(const PlanarDestinationCase& c) {
    uint32_t seed = 100;
    for (int32_t w : AwkwardWidths()) {
        for (int32_t h : AwkwardHeights()) {
            const int32_t rows = h < 0 ? -h : h;
            const PlanarLayout l = PlanarOf(w, rows, w % 3);
            const int32_t srcStride = w * c.inBytesPerPixel + (w % 4);
            for (SimdForm form : FormsHere()) {
                Buffer src(size_t(rows) * srcStride, ++seed), dst(l.bytes, 0);
                Buffer srcRef = src, dstRef = dst;
                {
                    ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, form);
                    c.kernel(dst.At(l.planes.y), dst.At(l.planes.u), dst.At(l.planes.v), l.yStride,
                             l.uvStride, src.At(kMargin), srcStride, w, h);
                }
                c.reference(dstRef.Mem(), l.planes, srcRef.Mem(), kMargin, srcStride, w, h);
                ASSERT_EQ(dst.data, dstRef.data) << c.name << " " << Case(w, h, form);
                ASSERT_EQ(src.data, srcRef.data) << c.name << " wrote its source";
            }
        }
    }
}

TEST(PlanarDestinationKernels, MatchTheirReferenceForms) {
    using ref::Tier;
    const auto rgb = [](int bpp) {
        return [bpp](const ref::Mem& d, const ref::PlanarSrc& p, const ref::Mem& s, ptrdiff_t s0,
                     int ss, int w, int h) { ref::RgbToPlanar(bpp, d, p, s, s0, ss, w, h); };
    };
    const auto yuy2 = [](Tier t) {
        return [t](const ref::Mem& d, const ref::PlanarSrc& p, const ref::Mem& s, ptrdiff_t s0,
                   int ss, int w, int h) { ref::Yuy2ToPlanar(t, d, p, s, s0, ss, w, h); };
    };
    const PlanarDestinationCase cases[] = {
        {"ConvRgb32ToPlanarPlain", ConvRgb32ToPlanarPlain, 4, rgb(4)},
        {"ConvRgb24ToPlanarPlain", ConvRgb24ToPlanarPlain, 3, rgb(3)},
        {"ConvRgb32ToPlanarMmxTier", ConvRgb32ToPlanarMmxTier, 4, rgb(4)},
        {"ConvRgb24ToPlanarMmxTier", ConvRgb24ToPlanarMmxTier, 3, rgb(3)},
        {"ConvRgb32ToPlanarSse2Tier", ConvRgb32ToPlanarSse2Tier, 4, rgb(4)},
        {"ConvRgb24ToPlanarSse2Tier", ConvRgb24ToPlanarSse2Tier, 3, rgb(3)},
        {"ConvYuy2ToPlanarSmoothPlain", ConvYuy2ToPlanarSmoothPlain, 2, yuy2(Tier::Plain)},
        {"ConvYuy2ToPlanarSmoothMmxTier", ConvYuy2ToPlanarSmoothMmxTier, 2, yuy2(Tier::Mmx)},
        {"ConvYuy2ToPlanarSmoothSse2Tier", ConvYuy2ToPlanarSmoothSse2Tier, 2, yuy2(Tier::Sse2)},
    };
    for (const auto& c : cases) CheckAgainstReference(c);
}

struct Planes {
    std::vector<uint8_t> y, u, v;
};
Planes ToPlanar(Kernel k, const std::vector<uint8_t>& rgb, int bpp, int32_t w, int32_t h) {
    Planes p{std::vector<uint8_t>(size_t(w) * h, 0xCD), std::vector<uint8_t>(size_t(w / 2) * (h / 2), 0xCD),
             std::vector<uint8_t>(size_t(w / 2) * (h / 2), 0xCD)};
    k(p.y.data(), p.u.data(), p.v.data(), w, w / 2, rgb.data(), w * bpp, w, h);
    return p;
}

TEST(RgbToPlanar, PureColoursWorkedByHand) {
    // White: Y = (220 x 255 >> 8) + 16 = 235, chroma sums cancel to 128.
    // Blue: Y = (25 x 255 >> 8) + 16 = 40; Cb = (112 x 1020 >> 10) + 128 = 239;
    // Cr = floor(-18 x 1020 / 1024) + 128 = -18 + 128 = 110.
    struct Colour {
        uint8_t b, g, r, y, cb, cr;
    };
    const Colour colours[] = {{255, 255, 255, 235, 128, 128}, {0, 0, 0, 16, 128, 128}, {255, 0, 0, 40, 239, 110}};
    for (const Colour& c : colours) {
        std::vector<uint8_t> rgb32(4 * 4 * 4 + 64);
        for (size_t i = 0; i < 16; ++i) {
            rgb32[4 * i] = c.b;
            rgb32[4 * i + 1] = c.g;
            rgb32[4 * i + 2] = c.r;
            rgb32[4 * i + 3] = uint8_t(i * 17);  // the fourth byte is ignored
        }
        const Planes p = ToPlanar(ConvRgb32ToPlanarPlain, rgb32, 4, 4, 4);
        EXPECT_EQ(p.y[5], c.y);
        EXPECT_EQ(p.u[1], c.cb);
        EXPECT_EQ(p.v[1], c.cr);
    }
}

TEST(RgbToPlanar, AllTiersFormsAndDepthsGiveTheSamePlanes) {
    for (int32_t w : {6, 16, 30, 34}) {
        const int32_t h = 6;
        std::vector<uint8_t> rgb32(size_t(w) * h * 4 + 64), rgb24(size_t(w) * h * 3 + 64);
        std::mt19937 gen{static_cast<uint32_t>(w)};
        for (size_t i = 0; i < size_t(w) * h; ++i)
            for (int c = 0; c < 4; ++c) {
                rgb32[4 * i + c] = uint8_t(gen());
                if (c < 3) rgb24[3 * i + c] = rgb32[4 * i + c];
            }
        const Planes expect = ToPlanar(ConvRgb32ToPlanarPlain, rgb32, 4, w, h);
        for (SimdForm form : FormsHere()) {
            ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, form);
            for (Kernel k32 : {ConvRgb32ToPlanarMmxTier, ConvRgb32ToPlanarSse2Tier}) {
                const Planes got = ToPlanar(k32, rgb32, 4, w, h);
                EXPECT_EQ(got.y, expect.y);
                EXPECT_EQ(got.u, expect.u);
                EXPECT_EQ(got.v, expect.v);
            }
            for (Kernel k24 : {ConvRgb24ToPlanarPlain, ConvRgb24ToPlanarMmxTier, ConvRgb24ToPlanarSse2Tier}) {
                const Planes got = ToPlanar(k24, rgb24, 3, w, h);
                EXPECT_EQ(got.y, expect.y);
                EXPECT_EQ(got.u, expect.u);
                EXPECT_EQ(got.v, expect.v);
            }
        }
    }
}

TEST(Yuy2ToPlanar, FlatFrameComesThroughTheSmoothingUnchanged) {
    // s(a, a, a) = a and r(a, a) = a: a flat packed frame gives flat planes.
    const int32_t w = 10, h = 6;
    std::vector<uint8_t> yuy2(size_t(w) * 2 * h + 64);
    for (size_t i = 0; i + 4 <= size_t(w) * 2 * h; i += 4) {
        yuy2[i] = yuy2[i + 2] = 77;
        yuy2[i + 1] = 99;
        yuy2[i + 3] = 150;
    }
    Planes p{std::vector<uint8_t>(size_t(w) * h), std::vector<uint8_t>(size_t(w / 2) * (h / 2)),
             std::vector<uint8_t>(size_t(w / 2) * (h / 2))};
    ConvYuy2ToPlanarSmoothPlain(p.y.data(), p.u.data(), p.v.data(), w, w / 2, yuy2.data(), w * 2, w, h);
    EXPECT_EQ(p.y, std::vector<uint8_t>(size_t(w) * h, 77));
    EXPECT_EQ(p.u, std::vector<uint8_t>(size_t(w / 2) * (h / 2), 99));
    EXPECT_EQ(p.v, std::vector<uint8_t>(size_t(w / 2) * (h / 2), 150));
}

}  // namespace
}  // namespace tarn::test

namespace tarn::test {
namespace {

TEST(Yuy2ToPlanar, SimdRemainderColumnsFollowTheirOwnRowRules) {
    // Width 2: no block in either SIMD kernel, one remainder pair per row.
    // Luma of rows 0..5: 0, 100, 20, 200, 60, 90 (chroma 128 throughout).
    // F(1) = s(0, 20, 100) = 55, F(2) = s(100, 200, 20) = 85,
    // F(3) = s(20, 60, 200) = 120, F(4) = s(200, 90, 60) = 103.
    const uint8_t luma[6] = {0, 100, 20, 200, 60, 90};
    std::vector<uint8_t> yuy2(6 * 4 + 64);
    for (int r = 0; r < 6; ++r) {
        yuy2[4 * r] = yuy2[4 * r + 2] = luma[r];
        yuy2[4 * r + 1] = yuy2[4 * r + 3] = 128;
    }
    struct Expect {
        Kernel kernel;
        uint8_t rows[6];
    };
    const Expect expects[] = {
        {ConvYuy2ToPlanarSmoothPlain, {0, 55, 85, 120, 103, 90}},
        // Middle pair: row 2k + 1 for both rows; last pair: source row 2k - 1
        // as stored, then F(2k).
        {ConvYuy2ToPlanarSmoothSse2Tier, {0, 55, 120, 120, 200, 103}},
        {ConvYuy2ToPlanarSmoothMmxTier, {0, 55, 120, 120, 200, 103}},
    };
    for (const Expect& e : expects) {
        std::vector<uint8_t> y(12), u(3), v(3);
        e.kernel(y.data(), u.data(), v.data(), 2, 1, yuy2.data(), 4, 2, 6);
        for (int r = 0; r < 6; ++r) {
            EXPECT_EQ(y[2 * r], e.rows[r]) << r;
            EXPECT_EQ(y[2 * r + 1], e.rows[r]) << r;
        }
    }
}

}  // namespace
}  // namespace tarn::test
