// The operations on plain picture values, with no surface around them: the
// copy out of the planes, what a change of format comes to, and that a
// destination receives the very picture a new buffer would hold while the
// picture itself stays as it was.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "operations/copy_out.h"
#include "operations/resize.h"
#include "operations/set_format.h"

namespace tarn {
namespace {

constexpr uint8_t kCanary = 0xCD;

Picture Pic(std::vector<uint8_t>& bytes, SurfaceFormat format, int32_t bits, int32_t w, int32_t h,
            int32_t stride, uint32_t topDown = 1) {
    return {bytes.data(), format, bits, w, h, stride, topDown, {0, 0, w, h}};
}

std::vector<uint8_t> Counting(size_t n) {
    std::vector<uint8_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = uint8_t(i * 7 + 3);
    return v;
}

TEST(CopyPictureOut, PlanarRowsCutReversedAndPlanesPlacedByTheDestinationsStride) {
    // 4 x 2, stride 6: luma 12 bytes, first chroma plane at 12 (one row at
    // stride 3), second at 15. Into stride 4, the other row order.
    std::vector<uint8_t> bytes(18);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(i);
    const Picture p = Pic(bytes, SURFACE_FORMAT_YUV420, 12, 4, 2, 6, 1);
    std::vector<uint8_t> out(16, kCanary);
    CopyPictureOut(p, {out.data(), 4, 0});
    const std::vector<uint8_t> expected = {6, 7, 8, 9, 0, 1, 2, 3, 12, 13, 15, 16,
                                           kCanary, kCanary, kCanary, kCanary};
    EXPECT_EQ(out, expected);
}

TEST(PlanFormatChange, StepsOfTheRules) {
    std::vector<uint8_t> bytes(256, 0);
    struct Case {
        const char* name;
        SurfaceFormat from;
        int32_t bits, width;
        SurfaceFormat to;
        FormatChange::Step step;
        VedResult refusal;
        bool even;
    };
    using S = FormatChange::Step;
    const Case cases[] = {
        {"same format", SURFACE_FORMAT_RGB24, 24, 4, SURFACE_FORMAT_RGB24, S::Keep, 0, false},
        {"chroma swap", SURFACE_FORMAT_YUV420, 12, 4, SURFACE_FORMAT_YUV420_SWAPPED, S::SwapChroma, 0, false},
        {"odd RGB to planar", SURFACE_FORMAT_RGB32, 32, 5, SURFACE_FORMAT_YUV420, S::Convert, 0, true},
        {"even RGB to planar", SURFACE_FORMAT_RGB32, 32, 4, SURFACE_FORMAT_YUV420, S::Convert, 0, false},
        {"odd RGB to packed", SURFACE_FORMAT_RGB24, 24, 5, SURFACE_FORMAT_YUV422, S::Convert, 0, false},
        {"no kernel", SURFACE_FORMAT_GRAY8, 8, 4, SURFACE_FORMAT_RGB24, S::Refuse, VED_E_NOTSUPPORTED, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const FormatChange change = PlanFormatChange(Pic(bytes, c.from, c.bits, c.width, 4, 32), c.to);
        EXPECT_EQ(change.step, c.step);
        if (c.step == S::Refuse) {
            EXPECT_EQ(change.refusal, c.refusal);
        }
        EXPECT_EQ(change.evenSizesFirst, c.even);
    }
    Picture none = Pic(bytes, SURFACE_FORMAT_RGB24, 24, 4, 4, 12);
    none.pixels = nullptr;
    const FormatChange change = PlanFormatChange(none, SURFACE_FORMAT_RGB32);
    EXPECT_EQ(change.step, S::Refuse);
    EXPECT_EQ(change.refusal, VED_E_FAIL);
}

TEST(ResizePicture, ADestinationGetsWhatANewBufferHoldsAndThePictureStays) {
    std::vector<uint8_t> bytes = Counting(8 * 6 * 4);
    const Picture original = Pic(bytes, SURFACE_FORMAT_RGB32, 32, 8, 6, 32);
    const ResizeRequest request{16, 12, 0, SCALE_BILINEAR};

    Picture intoNew = original;
    Aspect aspect{4, 3};
    PendingPixels made;
    ASSERT_EQ(ResizePicture(intoNew, aspect, request, nullptr, made), VED_S_OK);
    ASSERT_NE(made.get(), nullptr);
    EXPECT_EQ(intoNew.pixels, made.get());
    EXPECT_EQ(intoNew.width, 16);
    EXPECT_EQ(intoNew.height, 12);
    EXPECT_EQ(intoNew.stride, 64);
    EXPECT_EQ(aspect.x, 0);  // a new buffer leaves the aspect behind
    EXPECT_EQ(aspect.y, 0);

    // The destination takes stride x height x 3 / 2 bytes: it is painted as a
    // planar picture first.
    std::vector<uint8_t> out(64 * 12 * 3 / 2 + 16, kCanary);
    Picture directed = original;
    Aspect kept{4, 3};
    PendingPixels none;
    const Destination to{out.data(), 64, 1};
    ASSERT_EQ(ResizePicture(directed, kept, request, &to, none), VED_S_OK);
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_EQ(directed.pixels, original.pixels);
    EXPECT_EQ(directed.width, 8);
    EXPECT_EQ(directed.stride, 32);
    EXPECT_EQ(kept.x, 4);
    for (const Picture* p : {&intoNew, &directed}) {
        EXPECT_EQ(p->content.right, 16);  // set either way
        EXPECT_EQ(p->content.bottom, 12);
    }
    EXPECT_TRUE(std::equal(out.begin(), out.begin() + 64 * 12, made.get()));
    EXPECT_EQ(out.back(), kCanary);
}

TEST(ChangeFormat, ADestinationGetsWhatANewBufferHoldsAndThePictureStays) {
    std::vector<uint8_t> bytes = Counting(24 * 4);
    const Picture original = Pic(bytes, SURFACE_FORMAT_RGB24, 24, 8, 4, 24);
    const FormatChange change = PlanFormatChange(original, SURFACE_FORMAT_RGB32);

    Picture converted = original;
    PendingPixels made;
    ASSERT_EQ(ChangeFormat(converted, change, nullptr, made), VED_S_OK);
    ASSERT_NE(made.get(), nullptr);
    EXPECT_EQ(converted.format, SURFACE_FORMAT_RGB32);
    EXPECT_EQ(converted.bits, 32);
    EXPECT_EQ(converted.stride, 32);

    std::vector<uint8_t> out(32 * 4 + 16, kCanary);
    Picture directed = original;
    PendingPixels none;
    const Destination to{out.data(), 32, 1};
    ASSERT_EQ(ChangeFormat(directed, change, &to, none), VED_S_OK);
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_EQ(directed.format, SURFACE_FORMAT_RGB24);
    EXPECT_EQ(directed.pixels, original.pixels);
    EXPECT_TRUE(std::equal(out.begin(), out.begin() + 32 * 4, made.get()));
    EXPECT_EQ(out.back(), kCanary);
    // Too short a stride for the converted rows is refused, nothing written.
    std::vector<uint8_t> narrow(64, kCanary);
    const Destination tooNarrow{narrow.data(), 31, 1};
    EXPECT_EQ(ChangeFormat(directed, change, &tooNarrow, none), VED_E_INVALIDARG);
    EXPECT_EQ(narrow, std::vector<uint8_t>(64, kCanary));
}

}  // namespace
}  // namespace tarn
