// A packed picture resized into the caller's memory goes through the planar
// format first. What the resize paints over of that first step, the surface
// leaves out; the caller's bytes, and those past what it provides, must be
// what the two steps in full give.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "operations/blank_surface.h"
#include "operations/resize.h"
#include "operations/set_format.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"

namespace {

using namespace tarn;
using testing_blank::Buffer;

constexpr uint8_t kCanary = 0xA5;

struct Case {
    uint32_t w, h;      // source
    int32_t dw, dh;     // target
    int32_t keepAspect;
    int32_t aspectX, aspectY;
    int32_t quality;
    int32_t extraStride;  // added to the packed row; negative: shorter than the source's luma row
    uint32_t topDown;
};

// Both steps in full, as the surface ran them before: the planar conversion
// of the whole source into the buffer, then the resize over it.
VedResult TwoSteps(CTarnSurfaceBuffer* s, const Case& c, int32_t stride, std::vector<uint8_t>& buf) {
    Destination to{buf.data(), stride, c.topDown};
    Picture picture = PictureOf(s->info, s->pixels);
    PendingPixels made;
    VedResult r = ChangeFormat(picture, PlanFormatChange(picture, SURFACE_FORMAT_YUV420), &to, made);
    if (r < 0) return r;
    Picture packed = PictureOf(s->info, s->pixels);
    Aspect aspect{s->aspectX, s->aspectY};
    return ResizePicture(packed, aspect, {c.dw, c.dh, c.keepAspect, c.quality}, &to, made);
}

// One case under the kernel choice in force: the caller's whole buffer, and
// the canaries past what it provides, as the two steps in full leave them.
void CheckCase(const Case& c) {
    SCOPED_TRACE(::testing::Message() << c.w << "x" << c.h << " -> " << c.dw << "x" << c.dh << " q" << c.quality
                                      << " fit " << c.keepAspect << " stride+" << c.extraStride << " topDown "
                                      << c.topDown);
    const int32_t stride = 2 * c.dw + c.extraStride;
    const size_t bytes = size_t(stride) * std::max<size_t>(c.h, size_t(c.dh)) * 3 / 2 + 256;
    const auto packed = [&] {
        Ref<ITarnSurface> s = testing_blank::MakeBlank(SURFACE_FORMAT_YUV422, c.w, c.h);
        std::mt19937 rng(c.w * 131 + c.h);
        for (uint32_t i = 0; i < c.w * c.h * 2; ++i) Buffer(s)->pixels[i] = uint8_t(rng());
        Buffer(s)->aspectX = c.aspectX;
        Buffer(s)->aspectY = c.aspectY;
        return s;
    };
    std::vector<uint8_t> expected(bytes, kCanary), got(bytes, kCanary);
    const VedResult want = TwoSteps(Buffer(packed()), c, stride, expected);
    Ref<ITarnSurface> s = packed();
    ASSERT_EQ(s->Resize(c.dw, c.dh, c.keepAspect, c.quality), VED_S_OK);
    EXPECT_EQ(s->CopyOut(got.data(), stride, c.topDown), want);
    const auto diff = std::mismatch(got.begin(), got.end(), expected.begin());
    EXPECT_EQ(diff.first - got.begin(), ptrdiff_t(bytes)) << "first differing byte";
}

TEST(PackedDirectResize, CallerBytesMatchTheConversionThenTheResize) {
    const Case cases[] = {
        {32, 16, 32, 24, 0, 0, 0, SCALE_BILINEAR, 0, 1},       // height x 1.5 exactly: left out
        {32, 16, 64, 32, 0, 0, 0, SCALE_NEAREST, 0, 1},        // x 2
        {32, 16, 64, 32, 0, 0, 0, SCALE_PLANAR_AREA, 0, 0},    // rows the other way
        {31, 17, 62, 34, 0, 0, 0, SCALE_BOX, 6, 1},            // odd source, wide stride
        {30, 18, 47, 29, 0, 0, 0, SCALE_AREA, 0, 1},           // odd target, x 1.6 in height
        {30, 18, 60, 26, 0, 0, 0, SCALE_BILINEAR_FADE, 0, 1},  // x 1.44: chroma planes partly painted
        {24, 12, 48, 36, 1, 4, 3, SCALE_BOX_FADE, 2, 1},       // fitted with an aspect
        {24, 12, 48, 36, 1, 0, 0, SCALE_FIELD_BILINEAR, 0, 0}, // fitted, no aspect
        {64, 32, 32, 16, 0, 0, 0, SCALE_BILINEAR, 0, 1},       // halving: chroma, then lower luma rows
        {64, 32, 40, 20, 0, 0, 0, SCALE_PLANAR_NEAREST, 4, 0}, // shrink
        {40, 10, 24, 20, 0, 0, 0, SCALE_NEAREST, -16, 1},      // stride below the source's row: refused
        {12, 8, 12, 8, 0, 0, 0, SCALE_NEAREST, 0, 1},          // same size: copied
        {66, 36, 44, 24, 0, 0, 0, SCALE_AREA, 0, 1},           // two thirds: luma all painted
        {65, 37, 33, 19, 0, 0, 0, SCALE_BOX, 1, 0},            // odd everything, odd stride
        {97, 41, 48, 20, 0, 0, 0, SCALE_BILINEAR, 3, 1},       // odd stride, 1/2
        {96, 40, 52, 20, 0, 0, 0, SCALE_NEAREST, -4, 1},       // stride shorter than the packed row
        {130, 64, 64, 32, 1, 16, 9, SCALE_PLANAR_SHARPEN, 0, 0},  // fitted shrink
        {130, 64, 70, 50, 0, 0, 0, SCALE_NEAREST, 0, 1},       // wider than the rows it paints
        {64, 40, 60, 40, 0, 0, 0, SCALE_BOX_FADE, 0, 0},       // same height, narrower
        {64, 40, 32, 4, 0, 0, 0, SCALE_BILINEAR, 0, 1},        // the least height
        {64, 5, 32, 4, 0, 0, 0, SCALE_NEAREST, 0, 1},          // the least source, odd
        // Exact halvings, whose rows the first step writes: two-pair blocks
        // with a rest, pair by pair, a wide stride, bottom-up, odd sides.
        {144, 48, 72, 24, 0, 0, 0, SCALE_AREA, 0, 1},
        {132, 44, 66, 22, 0, 0, 0, SCALE_BOX, 10, 0},
        {130, 42, 65, 21, 0, 0, 0, SCALE_BILINEAR, 0, 1},
        {128, 40, 64, 20, 1, 0, 0, SCALE_NEAREST, 0, 1},       // fitted: painted whole
    };
    for (const Case& c : cases) CheckCase(c);
}

// The first step runs the conversion of the processor's tier, and the
// resize's scaler its form: every choice this machine runs.
TEST(PackedDirectResize, EveryTierAndFormGivesTheTwoStepsBytes) {
    const uint32_t tiers[] = {0, kCpuMmx, kCpuMmx | kCpuSse2};
    const Case cases[] = {
        {161, 45, 80, 22, 0, 0, 0, SCALE_NEAREST, 0, 1},
        {160, 46, 80, 23, 0, 0, 0, SCALE_BILINEAR, 5, 0},
        {99, 30, 66, 20, 0, 0, 0, SCALE_AREA, 0, 1},
        {98, 31, 49, 16, 1, 4, 3, SCALE_BOX, 3, 1},
        {70, 21, 70, 30, 0, 0, 0, SCALE_PLANAR_AREA, 0, 0},
        {192, 64, 96, 32, 0, 0, 0, SCALE_PLANAR_NEAREST, 6, 1},  // halving: rows from the first step
    };
    for (uint32_t tier : tiers) {
        for (SimdForm form : {SimdForm::Plain, SimdForm::Sse2, SimdForm::Avx2}) {
            if (form > HostSimdForm()) continue;
            ScopedKernelChoice choice(tier, form);
            SCOPED_TRACE(DescribeKernelChoice());
            for (const Case& c : cases) CheckCase(c);
        }
    }
}

TEST(PackedDirectResize, CoveredBytesAreThePaintsWithoutAGap) {
    uint8_t pixels[16] = {};
    std::vector<uint8_t> buf(4096);
    const Destination to{buf.data(), 32, 1};
    const Picture packed{pixels, SURFACE_FORMAT_YUV422, 16, 8, 8, 16, 1, {0, 0, 8, 8}};
    const Aspect none{};
    // Luma 32 x 12 = 384, each chroma plane (16 x 12) / 2 = 96 and the
    // second 384 / 4 = 96 behind the first: 576 in one run.
    EXPECT_EQ(DirectResizeCovered(packed, none, {16, 12, 0, 0}, to), 576);
    EXPECT_EQ(DirectResizeCovered(packed, none, {16, 12, 1, 0}, to), 576);  // fitted: painted whole
    // Stride 33: luma 396, planes of (16 x 12) / 2 = 96, the second 99
    // behind the first: three bytes left between them.
    EXPECT_EQ(DirectResizeCovered(packed, none, {16, 12, 0, 0}, {buf.data(), 33, 1}), 396 + 96);
    EXPECT_EQ(DirectResizeCovered(packed, none, {4, 4, 0, 0}, {buf.data(), 8, 0}), 48);
    EXPECT_EQ(DirectResizeCovered(packed, none, {8, 8, 0, 0}, to), 0);                   // same size: a copy
    EXPECT_EQ(DirectResizeCovered(packed, none, {16, 3, 0, 0}, to), 0);                  // refused
    EXPECT_EQ(DirectResizeCovered(packed, none, {16, 12, 0, 0}, {buf.data(), 4, 1}), 0);  // rows past the paint
    EXPECT_EQ(DirectResizeCovered(packed, none, {16, 12, 0, 0}, {buf.data() + 3000, -32, 1}), 0);
    Picture planar = packed;
    planar.format = SURFACE_FORMAT_YUV420;
    planar.bits = 12;
    EXPECT_EQ(DirectResizeCovered(planar, none, {16, 12, 0, 0}, to), 0);
    Picture empty = packed;
    empty.pixels = nullptr;
    EXPECT_EQ(DirectResizeCovered(empty, none, {16, 12, 0, 0}, to), 0);
}

}  // namespace
