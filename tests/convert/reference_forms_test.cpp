// Each colour kernel against its reference form in every form this machine
// runs: awkward widths and heights (odd, around every block, from the last
// row up), rows long enough for many steps of the widest blocks followed by
// each kind of tail, and rows walked backwards through memory (both frames,
// or the depth conversions' target alone). Frames,
// margins and the source (which some kernels write into) are compared byte
// for byte.
#include <gtest/gtest.h>

#include "convert/conversion_kernels.h"
#include "kernel_harness.h"

namespace tarn::test {
namespace {

using ref::Tier;

enum class Ref {
    Yuy2ToRgb, RgbToYuy2, PlanarToRgbSmooth, PlanarToRgb24Rows, PlanarToYuy2, RgbToPlanar, Yuy2ToPlanar, RgbDepth
};

// The depth conversions as defined: target row y holds source row y (from
// the last row up for a negative height), three bytes copied, 0 for a fourth.
void RgbDepth(int inBpp, int outBpp, const ref::Mem& d, ptrdiff_t d0, int ds, const ref::Mem& s, ptrdiff_t s0, int ss,
              int w, int h) {
    const int rows = std::abs(h);
    for (int y = 0; y < rows; ++y)
        for (int i = 0; i < w * outBpp; ++i) {
            const ptrdiff_t from = s0 + ptrdiff_t(h < 0 ? rows - 1 - y : y) * ss + i / outBpp * inBpp + i % outBpp;
            d.Put(d0 + ptrdiff_t(y) * ds + i, i % outBpp == 3 ? 0 : s.Get(from));
        }
}

// Sizes beyond the awkward ones: rows of many steps, rows walked backwards
// (which the kernels that read each row once go through in chunks), and the
// awkward sizes again with the target alone stored from its last row up.
enum : int { kWide = 1, kBackwards = 2, kTargetUp = 4 };

struct KernelCase {
    const char* name;
    KernelEntry kernel;
    Ref reference;
    Tier tier;
    int inBpp, outBpp;  // bytes a pixel of a frame of rows, 0 for a planar frame
    int sizes;
};

struct Geometry {
    int32_t w, h;
    bool srcUp, dstUp;  // frames of rows from the last row up, strides negative
    int32_t srcPad, dstPad, planePad;
};

// A frame of rows: its buffer, and where the kernel is given its first row.
struct RowFrame {
    RowFrame(int32_t bytesPerRow, int32_t rows, bool backwards, uint32_t seed)
        : stride(bytesPerRow), buffer(size_t(bytesPerRow) * rows, seed),
          first(kMargin + (backwards ? ptrdiff_t(rows - 1) * bytesPerRow : 0)), step(backwards ? -stride : stride) {}
    int32_t stride;
    Buffer buffer;
    ptrdiff_t first;
    int32_t step;
};

void Check(const KernelCase& c, const Geometry& g, SimdForm form, uint32_t seed) {
    const int32_t rows = std::abs(g.h);
    const PlanarLayout l = PlanarOf(g.w, rows, g.planePad);
    const ref::PlanarSrc& p = l.planes;
    RowFrame src(g.w * c.inBpp + g.srcPad, rows, g.srcUp, seed);
    RowFrame dst(g.w * c.outBpp + g.dstPad, rows, g.dstUp, 0);
    Buffer planes(l.bytes, c.inBpp ? 0 : seed);
    Buffer srcRef = src.buffer, dstRef = dst.buffer, planesRef = planes;
    {
        ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, form);
        const EntryFrames frames{dst.buffer.At(dst.first), dst.step, src.buffer.At(src.first), src.step,
                                 planes.At(p.y), planes.At(p.u), planes.At(p.v), p.yStride, p.uvStride};
        RunEntry(c.kernel, frames, g.w, g.h);
    }
    const ref::Mem d = dstRef.Mem(), s = srcRef.Mem(), pl = planesRef.Mem();
    switch (c.reference) {
        case Ref::Yuy2ToRgb:
            ref::Yuy2ToRgb(c.tier, c.outBpp, d, dst.first, dst.step, s, src.first, src.step, g.w, g.h);
            break;
        case Ref::RgbToYuy2:
            ref::RgbToYuy2(c.tier, c.inBpp, d, dst.first, dst.step, s, src.first, src.step, g.w, g.h);
            break;
        case Ref::PlanarToRgbSmooth:
            ref::PlanarToRgbSmooth(c.tier, c.outBpp, d, dst.first, dst.step, pl, p, g.w, g.h);
            break;
        case Ref::PlanarToRgb24Rows: ref::PlanarToRgb24Rows(d, dst.first, dst.step, pl, p, g.w, g.h); break;
        case Ref::PlanarToYuy2: ref::PlanarToYuy2(c.tier, d, dst.first, dst.step, pl, p, g.w, g.h); break;
        case Ref::RgbToPlanar: ref::RgbToPlanar(c.inBpp, pl, p, s, src.first, src.step, g.w, g.h); break;
        case Ref::Yuy2ToPlanar: ref::Yuy2ToPlanar(c.tier, pl, p, s, src.first, src.step, g.w, g.h); break;
        case Ref::RgbDepth: RgbDepth(c.inBpp, c.outBpp, d, dst.first, dst.step, s, src.first, src.step, g.w, g.h); break;
    }
    const std::string what = std::string(c.name) + " " + Case(g.w, g.h, form) + (g.srcUp ? " source up" : "") + (g.dstUp ? " target up" : "");
    ASSERT_EQ(dst.buffer.data, dstRef.data) << what;
    ASSERT_EQ(src.buffer.data, srcRef.data) << what << " source";
    ASSERT_EQ(planes.data, planesRef.data) << what << " planes";
}

std::vector<Geometry> SizesOf(const KernelCase& c) {
    const bool planar = c.inBpp == 0 || c.outBpp == 0;
    static const std::vector<int32_t> kRowHeights{1, 2, 3, 4, 5, 6, -1, -5, -6};
    std::vector<Geometry> sizes;
    for (bool up : {false, true})
        if (!up || (c.sizes & kTargetUp))
            for (int32_t w : AwkwardWidths())
                for (int32_t h : planar ? AwkwardHeights() : kRowHeights)
                    sizes.push_back({w, h, false, up, w % 4, w % 3, w % 3});
    // 3 x 64 + 32 + 2 and 3 x 128 + 64 + 32 + 16 + 2: every block size once
    // after the widest (64 pixels, or 128 for the widest forms); 1922: a frame
    // row of many steps with a pair left over; 1923: each later row starts a
    // pixel further along.
    for (int32_t h : {6, -5}) {
        if (c.sizes & kWide)
            for (int32_t w : {226, 498, 1922}) sizes.push_back({w, h, false, false, 4, 4, 2});
        if (c.sizes & kBackwards) sizes.push_back({1923, h, true, true, 4, 4, 3});
    }
    return sizes;
}

TEST(ColourKernels, MatchTheirReferenceForms) {
    const int kBoth = kWide | kBackwards;
    const KernelCase cases[] = {
        {"ConvYuy2ToRgb32Plain", ConvYuy2ToRgb32Plain, Ref::Yuy2ToRgb, Tier::Plain, 2, 4, kBackwards},
        {"ConvYuy2ToRgb24Plain", ConvYuy2ToRgb24Plain, Ref::Yuy2ToRgb, Tier::Plain, 2, 3, 0},
        {"ConvYuy2ToRgb32MmxTier", ConvYuy2ToRgb32MmxTier, Ref::Yuy2ToRgb, Tier::Mmx, 2, 4, 0},
        {"ConvYuy2ToRgb24MmxTier", ConvYuy2ToRgb24MmxTier, Ref::Yuy2ToRgb, Tier::Mmx, 2, 3, kBackwards},
        {"ConvYuy2ToRgb32Sse2Tier", ConvYuy2ToRgb32Sse2Tier, Ref::Yuy2ToRgb, Tier::Sse2, 2, 4, kBoth},
        {"ConvYuy2ToRgb24Sse2Tier", ConvYuy2ToRgb24Sse2Tier, Ref::Yuy2ToRgb, Tier::Sse2, 2, 3, kBoth},
        {"ConvRgb32ToYuy2Plain", ConvRgb32ToYuy2Plain, Ref::RgbToYuy2, Tier::Plain, 4, 2, 0},
        {"ConvRgb24ToYuy2Plain", ConvRgb24ToYuy2Plain, Ref::RgbToYuy2, Tier::Plain, 3, 2, 0},
        // These two convert their remainder pairs in the source and copy them out.
        {"ConvRgb32ToYuy2Sse2Tier", ConvRgb32ToYuy2Sse2Tier, Ref::RgbToYuy2, Tier::Sse2, 4, 2, kBoth},
        {"ConvRgb24ToYuy2Sse2Tier", ConvRgb24ToYuy2Sse2Tier, Ref::RgbToYuy2, Tier::Sse2, 3, 2, kBoth},
        {"ConvPlanarToRgb32SmoothPlain", ConvPlanarToRgb32SmoothPlain, Ref::PlanarToRgbSmooth, Tier::Plain, 0, 4, 0},
        {"ConvPlanarToRgb24SmoothPlain", ConvPlanarToRgb24SmoothPlain, Ref::PlanarToRgbSmooth, Tier::Plain, 0, 3, 0},
        {"ConvPlanarToRgb32SmoothMmxTier", ConvPlanarToRgb32SmoothMmxTier, Ref::PlanarToRgbSmooth, Tier::Mmx, 0, 4, 0},
        {"ConvPlanarToRgb32SmoothSse2Tier", ConvPlanarToRgb32SmoothSse2Tier, Ref::PlanarToRgbSmooth, Tier::Sse2, 0, 4,
         kWide},
        {"ConvPlanarToRgb24Sse2Tier", ConvPlanarToRgb24Sse2Tier, Ref::PlanarToRgb24Rows, Tier::Sse2, 0, 3, kWide},
        {"ConvPlanarToYuy2SmoothPlain", ConvPlanarToYuy2SmoothPlain, Ref::PlanarToYuy2, Tier::Plain, 0, 2, 0},
        {"ConvPlanarToYuy2SmoothMmxTier", ConvPlanarToYuy2SmoothMmxTier, Ref::PlanarToYuy2, Tier::Mmx, 0, 2, 0},
        // The SSE2 tier's packed rows are the plain tier's.
        {"ConvPlanarToYuy2SmoothSse2Tier", ConvPlanarToYuy2SmoothSse2Tier, Ref::PlanarToYuy2, Tier::Plain, 0, 2, kWide},
        {"ConvRgb32ToPlanarPlain", ConvRgb32ToPlanarPlain, Ref::RgbToPlanar, Tier::Plain, 4, 0, 0},
        {"ConvRgb24ToPlanarPlain", ConvRgb24ToPlanarPlain, Ref::RgbToPlanar, Tier::Plain, 3, 0, 0},
        {"ConvRgb32ToPlanarMmxTier", ConvRgb32ToPlanarMmxTier, Ref::RgbToPlanar, Tier::Plain, 4, 0, 0},
        {"ConvRgb24ToPlanarMmxTier", ConvRgb24ToPlanarMmxTier, Ref::RgbToPlanar, Tier::Plain, 3, 0, 0},
        {"ConvRgb32ToPlanarSse2Tier", ConvRgb32ToPlanarSse2Tier, Ref::RgbToPlanar, Tier::Plain, 4, 0, kBoth},
        {"ConvRgb24ToPlanarSse2Tier", ConvRgb24ToPlanarSse2Tier, Ref::RgbToPlanar, Tier::Plain, 3, 0, kBoth},
        {"ConvYuy2ToPlanarSmoothPlain", ConvYuy2ToPlanarSmoothPlain, Ref::Yuy2ToPlanar, Tier::Plain, 2, 0, 0},
        {"ConvYuy2ToPlanarSmoothMmxTier", ConvYuy2ToPlanarSmoothMmxTier, Ref::Yuy2ToPlanar, Tier::Mmx, 2, 0, 0},
        {"ConvYuy2ToPlanarSmoothSse2Tier", ConvYuy2ToPlanarSmoothSse2Tier, Ref::Yuy2ToPlanar, Tier::Sse2, 2, 0, kWide},
        {"ConvRgb24ToRgb32", ConvRgb24ToRgb32, Ref::RgbDepth, Tier::Plain, 3, 4, kBoth | kTargetUp},
        {"ConvRgb32ToRgb24", ConvRgb32ToRgb24, Ref::RgbDepth, Tier::Plain, 4, 3, kBoth | kTargetUp},
    };
    uint32_t seed = 100;
    for (const KernelCase& c : cases)
        for (const Geometry& g : SizesOf(c))
            for (SimdForm form : FormsHere()) {
                Check(c, g, form, ++seed);
                if (::testing::Test::HasFatalFailure()) return;
            }
}

}  // namespace
}  // namespace tarn::test
