// The SSE2 tier's kernels on rows long enough for many steps of every block
// size the fast forms use (up to 64 pixels a step) followed by each kind of
// tail, against the reference forms, in every form this machine runs. The
// awkward sizes of the other tests stop at 72 pixels, one step of the widest
// blocks.
#include <gtest/gtest.h>

#include "convert/conversion_kernels.h"
#include "kernel_harness.h"

namespace tarn::test {
namespace {

// 3 x 64 + 32 + 2: every block size once after the widest; 1922: a frame row
// of many steps with a pair left over.
constexpr int32_t kWidths[] = {226, 1922};
constexpr int32_t kHeights[] = {6, -5};

struct Shape {
    int32_t w, h, rows;
    SimdForm form;
    uint32_t seed;
};

template <class Check>
void ForEachShape(Check check) {
    uint32_t seed = 900;
    for (int32_t w : kWidths)
        for (int32_t h : kHeights)
            for (SimdForm form : FormsHere()) check(Shape{w, h, h < 0 ? -h : h, form, ++seed});
}

TEST(WideRows, PlanarSourceKernelsMatchTheirReferenceForms) {
    using Kernel = void (*)(uint8_t*, int32_t, const uint8_t*, const uint8_t*, const uint8_t*, int32_t,
                            int32_t, int32_t, int32_t);
    ForEachShape([](const Shape& s) {
        const PlanarLayout l = PlanarOf(s.w, s.rows, 2);
        const struct {
            Kernel kernel;
            int bpp;  // 2: packed output
        } cases[] = {{ConvPlanarToRgb32SmoothSse2Tier, 4}, {ConvPlanarToRgb24Sse2Tier, 3}, {ConvPlanarToYuy2SmoothSse2Tier, 2}};
        for (const auto& c : cases) {
            const int32_t dstStride = s.w * c.bpp + 4;
            Buffer src(l.bytes, s.seed), dst(size_t(s.rows) * dstStride, 0);
            Buffer srcRef = src, dstRef = dst;
            {
                ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, s.form);
                c.kernel(dst.At(kMargin), dstStride, src.At(l.planes.y), src.At(l.planes.u), src.At(l.planes.v),
                         l.yStride, l.uvStride, s.w, s.h);
            }
            if (c.bpp == 2)
                ref::PlanarToYuy2(ref::Tier::Sse2, dstRef.Mem(), kMargin, dstStride, srcRef.Mem(), l.planes, s.w, s.h);
            else if (c.bpp == 4)
                ref::PlanarToRgbSmooth(ref::Tier::Sse2, 4, dstRef.Mem(), kMargin, dstStride, srcRef.Mem(), l.planes,
                                       s.w, s.h);
            else
                ref::PlanarToRgb24Rows(dstRef.Mem(), kMargin, dstStride, srcRef.Mem(), l.planes, s.w, s.h);
            ASSERT_EQ(dst.data, dstRef.data) << "output bytes " << c.bpp << " " << Case(s.w, s.h, s.form);
        }
    });
}

TEST(WideRows, PlanarDestinationKernelsMatchTheirReferenceForms) {
    using Kernel = void (*)(uint8_t*, uint8_t*, uint8_t*, int32_t, int32_t, const uint8_t*, int32_t, int32_t,
                            int32_t);
    ForEachShape([](const Shape& s) {
        const PlanarLayout l = PlanarOf(s.w, s.rows, 2);
        const struct {
            Kernel kernel;
            int bpp;  // 2: packed input
        } cases[] = {{ConvRgb32ToPlanarSse2Tier, 4}, {ConvRgb24ToPlanarSse2Tier, 3}, {ConvYuy2ToPlanarSmoothSse2Tier, 2}};
        for (const auto& c : cases) {
            const int32_t srcStride = s.w * c.bpp + 4;
            Buffer src(size_t(s.rows) * srcStride, s.seed), dst(l.bytes, 0);
            Buffer srcRef = src, dstRef = dst;
            {
                ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, s.form);
                c.kernel(dst.At(l.planes.y), dst.At(l.planes.u), dst.At(l.planes.v), l.yStride, l.uvStride,
                         src.At(kMargin), srcStride, s.w, s.h);
            }
            if (c.bpp == 2)
                ref::Yuy2ToPlanar(ref::Tier::Sse2, dstRef.Mem(), l.planes, srcRef.Mem(), kMargin, srcStride, s.w,
                                  s.h);
            else
                ref::RgbToPlanar(c.bpp, dstRef.Mem(), l.planes, srcRef.Mem(), kMargin, srcStride, s.w, s.h);
            ASSERT_EQ(dst.data, dstRef.data) << "input bytes " << c.bpp << " " << Case(s.w, s.h, s.form);
        }
    });
}

TEST(WideRows, PackedAndRgbKernelsMatchTheirReferenceForms) {
    ForEachShape([](const Shape& s) {
        // Packed to RGB32 and RGB24, then RGB32 and RGB24 to packed (the
        // latter write their remainder pairs into the source).
        const struct {
            int inBpp, outBpp;
        } cases[] = {{2, 4}, {2, 3}, {4, 2}, {3, 2}};
        for (const auto& c : cases) {
            const int32_t srcStride = s.w * (c.inBpp == 3 ? 4 : c.inBpp) + 4, dstStride = s.w * c.outBpp + 4;
            Buffer src(size_t(s.rows) * srcStride, s.seed), dst(size_t(s.rows) * dstStride, 0);
            Buffer srcRef = src, dstRef = dst;
            {
                ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, s.form);
                uint8_t* d = dst.At(kMargin);
                uint8_t* p = src.At(kMargin);
                if (c.inBpp == 2)
                    (c.outBpp == 4 ? ConvYuy2ToRgb32Sse2Tier : ConvYuy2ToRgb24Sse2Tier)(d, dstStride, p, srcStride, s.w, s.h);
                else
                    (c.inBpp == 4 ? ConvRgb32ToYuy2Sse2Tier : ConvRgb24ToYuy2Sse2Tier)(d, dstStride, p, srcStride, s.w, s.h);
            }
            if (c.inBpp == 2)
                ref::Yuy2ToRgb(ref::Tier::Sse2, c.outBpp, dstRef.Mem(), kMargin, dstStride, srcRef.Mem(), kMargin,
                               srcStride, s.w, s.h);
            else
                ref::RgbToYuy2(ref::Tier::Sse2, c.inBpp, dstRef.Mem(), kMargin, dstStride, srcRef.Mem(), kMargin,
                               srcStride, s.w, s.h);
            ASSERT_EQ(dst.data, dstRef.data) << c.inBpp << " to " << c.outBpp << " " << Case(s.w, s.h, s.form);
            ASSERT_EQ(src.data, srcRef.data) << c.inBpp << " to " << c.outBpp << " source " << Case(s.w, s.h, s.form);
        }
    });
}

// The kernels that read each source row once convert it in chunks while
// hinting the next rows. Odd widths make each later row start a pixel further
// left, and strides that run backwards walk the frame down through memory:
// neither may change a byte, in any tier whose kernels go through chunks.
TEST(WideRows, SingleReadKernelsAtOddWidthsWithBackwardStrides) {
    constexpr int32_t w = 1923;
    for (int32_t h : {6, -5})
        for (SimdForm form : FormsHere()) {
            const int32_t rows = h < 0 ? -h : h;
            const uint32_t seed = 700 + uint32_t(rows) + 10 * uint32_t(form);
            // Packed to RGB in the three tiers and RGB to packed in the SSE2 tier:
            // one frame each side, pointers at the last row, strides negative.
            const struct {
                int inBpp, outBpp;
                ref::Tier tier;
                void (*kernel)(uint8_t*, int32_t, uint8_t*, int32_t, int32_t, int32_t);
            } oneToOne[] = {
                {2, 4, ref::Tier::Sse2, [](uint8_t* d, int32_t ds, uint8_t* s, int32_t ss, int32_t ww, int32_t hh) { ConvYuy2ToRgb32Sse2Tier(d, ds, s, ss, ww, hh); }},
                {2, 3, ref::Tier::Sse2, [](uint8_t* d, int32_t ds, uint8_t* s, int32_t ss, int32_t ww, int32_t hh) { ConvYuy2ToRgb24Sse2Tier(d, ds, s, ss, ww, hh); }},
                {2, 3, ref::Tier::Mmx, [](uint8_t* d, int32_t ds, uint8_t* s, int32_t ss, int32_t ww, int32_t hh) { ConvYuy2ToRgb24MmxTier(d, ds, s, ss, ww, hh); }},
                {2, 4, ref::Tier::Plain, [](uint8_t* d, int32_t ds, uint8_t* s, int32_t ss, int32_t ww, int32_t hh) { ConvYuy2ToRgb32Plain(d, ds, s, ss, ww, hh); }},
                {4, 2, ref::Tier::Sse2, ConvRgb32ToYuy2Sse2Tier},
                {3, 2, ref::Tier::Sse2, ConvRgb24ToYuy2Sse2Tier},
            };
            for (const auto& c : oneToOne) {
                const int32_t srcPitch = w * (c.inBpp == 3 ? 4 : c.inBpp) + 4, dstPitch = w * c.outBpp + 4;
                const ptrdiff_t srcLast = kMargin + ptrdiff_t(rows - 1) * srcPitch;
                const ptrdiff_t dstLast = kMargin + ptrdiff_t(rows - 1) * dstPitch;
                Buffer src(size_t(rows) * srcPitch, seed), dst(size_t(rows) * dstPitch, 0);
                Buffer srcRef = src, dstRef = dst;
                {
                    ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, form);
                    c.kernel(dst.At(dstLast), -dstPitch, src.At(srcLast), -srcPitch, w, h);
                }
                if (c.inBpp == 2)
                    ref::Yuy2ToRgb(c.tier, c.outBpp, dstRef.Mem(), dstLast, -dstPitch, srcRef.Mem(), srcLast, -srcPitch, w, h);
                else
                    ref::RgbToYuy2(c.tier, c.inBpp, dstRef.Mem(), dstLast, -dstPitch, srcRef.Mem(), srcLast, -srcPitch, w, h);
                ASSERT_EQ(dst.data, dstRef.data) << c.inBpp << " to " << c.outBpp << " " << Case(w, h, form);
                ASSERT_EQ(src.data, srcRef.data) << c.inBpp << " to " << c.outBpp << " source " << Case(w, h, form);
            }
            // RGB to planar, all tiers alike: the source runs backwards.
            for (int bpp : {4, 3}) {
                const PlanarLayout l = PlanarOf(w, rows, 3);
                const int32_t pitch = w * bpp + 4;
                const ptrdiff_t last = kMargin + ptrdiff_t(rows - 1) * pitch;
                Buffer src(size_t(rows) * pitch, seed + 5), dst(l.bytes, 0);
                Buffer srcRef = src, dstRef = dst;
                {
                    ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, form);
                    (bpp == 4 ? ConvRgb32ToPlanarSse2Tier : ConvRgb24ToPlanarSse2Tier)(
                        dst.At(l.planes.y), dst.At(l.planes.u), dst.At(l.planes.v), l.yStride, l.uvStride,
                        src.At(last), -pitch, w, h);
                }
                ref::RgbToPlanar(bpp, dstRef.Mem(), l.planes, srcRef.Mem(), last, -pitch, w, h);
                ASSERT_EQ(dst.data, dstRef.data) << "planar from " << bpp << " " << Case(w, h, form);
            }
        }
}

}  // namespace
}  // namespace tarn::test
