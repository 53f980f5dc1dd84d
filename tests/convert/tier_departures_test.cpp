// The departures of each tier from the others, worked by hand: the SSE2
// RGB-to-packed kernels writing their remainder into the source, the step
// between the vector and table columns, truncating and averaging end rows,
// remainder columns with their own row rules; and pure colours and flat
// frames through the plain kernels.
#include <gtest/gtest.h>

#include "convert/conversion_kernels.h"
#include "kernel_harness.h"

namespace tarn::test {
namespace {

using Kernel = void (*)(uint8_t*, int32_t, const uint8_t*, const uint8_t*, const uint8_t*, int32_t,
                        int32_t, int32_t, int32_t);
using ToPlanarKernel = void (*)(uint8_t*, uint8_t*, uint8_t*, int32_t, int32_t, const uint8_t*, int32_t,
                                int32_t, int32_t);

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

// A flat planar frame of the given size: one luma value, Cb rows as listed
// (repeating the last), Cr 128.
struct FlatPlanar {
    FlatPlanar(int32_t w, int32_t h, uint8_t luma, std::vector<uint8_t> cbRows)
        : width(w), height(h), data(size_t(w) * h * 3 / 2 + 64, 128) {
        std::fill(data.begin(), data.begin() + ptrdiff_t(w) * h, luma);
        for (int32_t r = 0; r < h / 2; ++r)
            std::fill_n(Cb() + ptrdiff_t(r) * (w / 2), w / 2, cbRows[std::min<size_t>(r, cbRows.size() - 1)]);
    }
    uint8_t* Y() { return data.data(); }
    uint8_t* Cr() { return Y() + ptrdiff_t(width) * height; }
    uint8_t* Cb() { return Cr() + ptrdiff_t(width / 2) * (height / 2); }
    std::vector<uint8_t> ToRgb32(Kernel k) {
        std::vector<uint8_t> out(size_t(width) * height * 4, 0xCD);
        k(out.data(), width * 4, Y(), Cb(), Cr(), width, width / 2, width, height);
        return out;
    }
    int32_t width, height;
    std::vector<uint8_t> data;
};

uint8_t Blue(const std::vector<uint8_t>& rgb32, int32_t width, int32_t x, int32_t y) {
    return rgb32[size_t(y * width + x) * 4];
}

TEST(PlanarToRgbTiers, LumaOf235ShowsTheStepBetweenVectorAndTableColumns) {
    // 9535 x 219 >> 13 = 254 in the table form; 74 x 219 >> 6 = 253 in the
    // vector form. Width 20: one 16-pixel block, then two table pairs.
    FlatPlanar f(20, 4, 235, {128});
    const auto plain = f.ToRgb32(ConvPlanarToRgb32SmoothPlain);
    const auto sse2 = f.ToRgb32(ConvPlanarToRgb32SmoothSse2Tier);
    for (int32_t x = 0; x < 20; ++x) {
        EXPECT_EQ(Blue(plain, 20, x, 1), 254);
        EXPECT_EQ(Blue(sse2, 20, x, 1), x < 16 ? 253 : 254) << x;
        EXPECT_EQ(plain[size_t(x) * 4 + 3], 0);  // fourth byte always 0
    }
}

TEST(PlanarToRgbTiers, TruncatingSmoothingDarkensAnOddGreyInTheMmxBody) {
    // t(101, 101, 101) = ((50 + 50) >> 1) + 50 = 100; rows 0 and 5 are stored.
    // Vector form: 74 x 84 >> 6 = 97 and 74 x 85 >> 6 = 98.
    FlatPlanar f(16, 6, 101, {128});
    const auto mmx = f.ToRgb32(ConvPlanarToRgb32SmoothMmxTier);
    for (int32_t y = 0; y < 6; ++y)
        EXPECT_EQ(Blue(mmx, 16, 3, y), (y == 0 || y == 5) ? 98 : 97) << y;
}

TEST(PlanarToRgbTiers, EndPairsTakeOneChromaRowInPlainColumnsAndAverageInSse2Blocks) {
    // Cb rows 100, 200 (height 4: pair 0 and the last pair). Plain columns
    // take row 0 for pair 0 and row P - 2 = 0 for the last pair; the SSE2
    // block averages both rows: r(100, 200) = 150.
    FlatPlanar f(16, 4, 128, {100, 200});
    const auto plain = f.ToRgb32(ConvPlanarToRgb32SmoothPlain);
    const auto sse2 = f.ToRgb32(ConvPlanarToRgb32SmoothSse2Tier);
    for (int32_t y = 0; y < 4; ++y) {
        EXPECT_EQ(Blue(plain, 16, 5, y), ref::Table(128, 100, 128).b) << y;
        EXPECT_EQ(Blue(sse2, 16, 5, y), ref::Vector(128, 150, 128).b) << y;
    }
}

TEST(PlanarToRgbTiers, Rgb24Sse2RemainderTakesColumnZeroChromaAndStoresRedFirst) {
    // Width 18: a block of 16, then one pair. Cb of column 8 (the pair's own)
    // is 255, of column 0 is 16; the pair takes column 0's.
    const int32_t w = 18, h = 2;
    std::vector<uint8_t> planar(size_t(w) * h * 3 / 2 + 64, 128);
    uint8_t* cr = planar.data() + w * h;
    uint8_t* cb = cr + (w / 2) * (h / 2);
    cb[0] = 16;
    cb[8] = 255;
    std::vector<uint8_t> out(size_t(w) * 3 * h, 0xCD);
    ConvPlanarToRgb24Sse2Tier(out.data(), w * 3, planar.data(), cb, cr, w, w / 2, w, h);
    const ref::Rgb c = ref::Table(128, 16, 128);
    EXPECT_EQ(out[16 * 3], c.r);
    EXPECT_EQ(out[16 * 3 + 1], c.g);
    EXPECT_EQ(out[16 * 3 + 2], c.b);
    EXPECT_NE(c.r, c.b);
}

TEST(PlanarToRgbTiers, MmxOverrunLeavesTheFirstRowPairRight) {
    // Width 24 has bit 3 set: later pairs drift 8 pixels right per pair, but
    // pair 0 is the same picture as the plain kernel's block arithmetic.
    FlatPlanar f(24, 8, 60, {90, 120, 150, 180});
    const auto mmx = f.ToRgb32(ConvPlanarToRgb32SmoothMmxTier);
    for (int32_t x = 0; x < 24; ++x) EXPECT_EQ(Blue(mmx, 24, x, 0), ref::Vector(60, 105, 128).b) << x;  // m(90, 120) = 105
}

struct Planes {
    std::vector<uint8_t> y, u, v;
};
Planes ToPlanar(ToPlanarKernel k, const std::vector<uint8_t>& rgb, int bpp, int32_t w, int32_t h) {
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

TEST(Yuy2ToPlanar, FlatFrameComesThroughTheSmoothingUnchanged) {
    // s(a, a, a) = a and r(a, a) = a: a flat packed frame gives flat planes.
    const int32_t w = 10, h = 6;
    std::vector<uint8_t> yuy2(size_t(w) * 2 * h + 64);
    for (size_t i = 0; i + 4 <= size_t(w) * 2 * h; i += 4) {
        yuy2[i] = yuy2[i + 2] = 77;
        yuy2[i + 1] = 99;
        yuy2[i + 3] = 150;
    }
    const Planes p = ToPlanar(ConvYuy2ToPlanarSmoothPlain, yuy2, 2, w, h);
    EXPECT_EQ(p.y, std::vector<uint8_t>(size_t(w) * h, 77));
    EXPECT_EQ(p.u, std::vector<uint8_t>(size_t(w / 2) * (h / 2), 99));
    EXPECT_EQ(p.v, std::vector<uint8_t>(size_t(w / 2) * (h / 2), 150));
}

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
        ToPlanarKernel kernel;
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
