// Taking pictures out: CopyOut row orders and cut rows, GetPixels, Clone.
#include "host_support.h"

#include <algorithm>

namespace {

using host::Describe;
using host::InfoOf;

// Reference: the bytes CopyOut must produce for one plane, from the picture's
// own rows, written out from the plain meaning of "cut" and "reversed".
void ExpectPlane(const uint8_t* out, int32_t outStride, const uint8_t* src, int32_t srcStride,
                 int32_t rowBytes, int32_t rows, bool reversed, const char* plane) {
    for (int32_t y = 0; y < rows; ++y) {
        const int32_t from = reversed ? rows - 1 - y : y;
        for (int32_t x = 0; x < rowBytes; ++x)
            ASSERT_EQ(out[y * outStride + x], src[from * srcStride + x])
                << plane << " row " << y << " byte " << x;
    }
}

struct CopyCase {
    SurfaceFormat format;
    uint32_t width, height;
    int32_t outStride;
    uint32_t topDown;
};

TEST(CopyOut, CopiesEachPlaneCutToTheShorterRowAndReversedWhenOrdersDiffer) {
    const CopyCase cases[] = {
        {SURFACE_FORMAT_RGB24, 8, 6, 24, 1},  {SURFACE_FORMAT_RGB24, 8, 6, 24, 0},
        {SURFACE_FORMAT_RGB32, 8, 6, 40, 0},  {SURFACE_FORMAT_RGB32, 8, 6, 20, 1},
        {SURFACE_FORMAT_YUV422, 8, 5, 16, 0}, {SURFACE_FORMAT_YUV420, 8, 6, 8, 1},
        {SURFACE_FORMAT_YUV420, 8, 6, 8, 0},  {SURFACE_FORMAT_YUV420, 12, 8, 6, 0},
        {SURFACE_FORMAT_YUV420, 8, 4, 20, 1},
    };
    for (const CopyCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "format " << c.format << " " << c.width << "x" << c.height
                                        << " out stride " << c.outStride << " topDown " << c.topDown);
        const SurfaceInfo info = Describe(c.format, c.width, c.height, 1);
        const size_t bytes = c.format == SURFACE_FORMAT_YUV420 ? info.stride * c.height * 3 / 2
                                                               : info.stride * c.height;
        const std::vector<uint8_t> data = host::Ramp(bytes, 7);
        auto s = host::FromData(info, data);
        const int32_t h = int32_t(InfoOf(s.get()).height);
        const int32_t stride = InfoOf(s.get()).stride;
        const size_t outBytes = c.format == SURFACE_FORMAT_YUV420 ? size_t(c.outStride) * h * 3 / 2
                                                                  : size_t(c.outStride) * h;
        std::vector<uint8_t> out(outBytes + 32, 0xCD);
        ASSERT_EQ(s->CopyOut(out.data(), c.outStride, c.topDown), VED_S_OK);
        const bool reversed = c.topDown != 1;
        const int32_t n = std::min(stride, c.outStride);
        ExpectPlane(out.data(), c.outStride, data.data(), stride, n, h, reversed, "first");
        if (c.format == SURFACE_FORMAT_YUV420) {
            // Destination chroma planes follow the luma plane with no gap.
            const uint8_t* first = out.data() + c.outStride * h;
            const uint8_t* second = first + (c.outStride / 2) * (h / 2);
            const uint8_t* srcFirst = data.data() + stride * h;
            const uint8_t* srcSecond = data.data() + stride * h * 5 / 4;
            ExpectPlane(first, c.outStride / 2, srcFirst, stride / 2, n / 2, h / 2, reversed, "cr");
            ExpectPlane(second, c.outStride / 2, srcSecond, stride / 2, n / 2, h / 2, reversed, "cb");
        }
        for (size_t i = outBytes; i < out.size(); ++i) ASSERT_EQ(out[i], 0xCD) << "past the end " << i;
    }
}

TEST(CopyOut, MasksAreNotCopied) {
    auto mask = host::Blank(Describe(SURFACE_FORMAT_GRAY8, 8, 8));
    std::vector<uint8_t> out(64, 0xCD);
    EXPECT_EQ(mask->CopyOut(out.data(), 8, 1), VED_S_OK);
    EXPECT_EQ(out, std::vector<uint8_t>(64, 0xCD));
}

TEST(Clone, IsAnIndependentCopyWithDefaultOverlayProperties) {
    const SurfaceInfo info = Describe(SURFACE_FORMAT_RGB32, 8, 6);
    const std::vector<uint8_t> data = host::Ramp(8 * 6 * 4, 3);
    auto s = host::FromData(info, data);
    auto mask = host::Blank(Describe(SURFACE_FORMAT_GRAY8, 8, 6));
    host::PixelsOf(mask.get())[5] = 42;
    s->SetMask(mask.get());
    s->SetAlpha(100);
    s->SetBackColor(0x123456);
    s->SetAspect(4, 3);
    s->SetDestRect(1, 2, 3, 4);
    s->SetSourceRect(0, 1, 8, 6);
    auto overlay = host::Blank(Describe(SURFACE_FORMAT_YUV420, 8, 8));
    s->AddOverlay(overlay.get());

    tarn::Ref<ITarnSurface> c;
    ASSERT_EQ(s->Clone(c.put()), VED_S_OK);
    EXPECT_EQ(host::RefCount(c.get()), 1u);
    uint8_t* mine = host::PixelsOf(s.get());
    uint8_t* theirs = host::PixelsOf(c.get());
    ASSERT_NE(mine, theirs);
    EXPECT_EQ(0, std::memcmp(theirs, data.data(), data.size()));
    mine[0] ^= 0xFF;
    EXPECT_EQ(theirs[0], data[0]);

    host::ExpectOverlayDefaults(c.get());
    int32_t x = 0, y = 0;
    VedRect dest{}, source{};
    c->GetAspect(&x, &y);
    c->GetDestRect(&dest);
    c->GetSourceRect(&source);
    EXPECT_EQ(std::vector<int32_t>({x, y, dest.left, dest.top, dest.right, dest.bottom, source.left, source.top,
                                    source.right, source.bottom}),
              std::vector<int32_t>({4, 3, 1, 2, 3, 4, 0, 1, 8, 6}));  // kept

    // The clone's mask is a clone in its turn, not the shared one.
    tarn::Ref<ITarnSurface> cloneMask;
    ASSERT_EQ(c->GetMask(cloneMask.put()), VED_S_OK);
    EXPECT_NE(cloneMask.get(), mask.get());
    EXPECT_EQ(host::PixelsOf(cloneMask.get())[5], 42);
    EXPECT_EQ(host::RefCount(mask.get()), 2u);
}

}  // namespace
