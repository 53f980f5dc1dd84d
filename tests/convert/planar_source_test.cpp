// Kernels with a planar source (planar to RGB, planar to packed) against their
// reference forms on random frames of awkward sizes, every form this machine
// runs; and the differences between tiers worked by hand.
#include <gtest/gtest.h>

#include <functional>

#include "convert/conversion_kernels.h"
#include "kernel_harness.h"

namespace tarn::test {
namespace {

using Kernel = void (*)(uint8_t*, int32_t, const uint8_t*, const uint8_t*, const uint8_t*, int32_t,
                        int32_t, int32_t, int32_t);
using Reference = std::function<void(const ref::Mem&, ptrdiff_t, int, const ref::Mem&,
                                     const ref::PlanarSrc&, int, int)>;

struct PlanarSourceCase {
    const char* name;
    Kernel kernel;
    int outBytesPerPixel;
    Reference reference;
};

void CheckAgainstReference(const PlanarSourceCase& c) {
    uint32_t seed = 1;
    for (int32_t w : AwkwardWidths()) {
        for (int32_t h : AwkwardHeights()) {
            const int32_t rows = h < 0 ? -h : h;
            const PlanarLayout l = PlanarOf(w, rows, w % 3);
            const int32_t dstStride = w * c.outBytesPerPixel + (w % 4);
            for (SimdForm form : FormsHere()) {
                Buffer src(l.bytes, ++seed), dst(size_t(rows) * dstStride, 0);
                Buffer srcRef = src, dstRef = dst;
                {
                    ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, form);
                    c.kernel(dst.At(kMargin), dstStride, src.At(l.planes.y), src.At(l.planes.u),
                             src.At(l.planes.v), l.yStride, l.uvStride, w, h);
                }
                c.reference(dstRef.Mem(), kMargin, dstStride, srcRef.Mem(), l.planes, w, h);
                ASSERT_EQ(dst.data, dstRef.data) << c.name << " " << Case(w, h, form);
                ASSERT_EQ(src.data, srcRef.data) << c.name << " wrote its source";
            }
        }
    }
}

TEST(PlanarSourceKernels, MatchTheirReferenceForms) {
    using ref::Tier;
    const auto smooth = [](Tier t, int bpp) {
        return [t, bpp](const ref::Mem& d, ptrdiff_t d0, int ds, const ref::Mem& s,
                        const ref::PlanarSrc& p, int w, int h) {
            ref::PlanarToRgbSmooth(t, bpp, d, d0, ds, s, p, w, h);
        };
    };
    const auto yuy2 = [](Tier t) {
        return [t](const ref::Mem& d, ptrdiff_t d0, int ds, const ref::Mem& s,
                   const ref::PlanarSrc& p, int w, int h) { ref::PlanarToYuy2(t, d, d0, ds, s, p, w, h); };
    };
    const PlanarSourceCase cases[] = {
        {"ConvPlanarToRgb32SmoothPlain", ConvPlanarToRgb32SmoothPlain, 4, smooth(Tier::Plain, 4)},
        {"ConvPlanarToRgb24SmoothPlain", ConvPlanarToRgb24SmoothPlain, 3, smooth(Tier::Plain, 3)},
        {"ConvPlanarToRgb32SmoothMmxTier", ConvPlanarToRgb32SmoothMmxTier, 4, smooth(Tier::Mmx, 4)},
        {"ConvPlanarToRgb32SmoothSse2Tier", ConvPlanarToRgb32SmoothSse2Tier, 4, smooth(Tier::Sse2, 4)},
        {"ConvPlanarToRgb24Sse2Tier", ConvPlanarToRgb24Sse2Tier, 3, ref::PlanarToRgb24Rows},
        {"ConvPlanarToYuy2SmoothPlain", ConvPlanarToYuy2SmoothPlain, 2, yuy2(Tier::Plain)},
        {"ConvPlanarToYuy2SmoothMmxTier", ConvPlanarToYuy2SmoothMmxTier, 2, yuy2(Tier::Mmx)},
        {"ConvPlanarToYuy2SmoothSse2Tier", ConvPlanarToYuy2SmoothSse2Tier, 2, yuy2(Tier::Plain)},
    };
    for (const auto& c : cases) CheckAgainstReference(c);
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

}  // namespace
}  // namespace tarn::test
