// Resize and drawing where a format change takes part: packed pictures are
// resized by way of the planar format, and a drawn source is converted for
// good.
#include <gtest/gtest.h>

#include <vector>

#include "blank_surface.h"

namespace tarn {
namespace {

using namespace testing_blank;

TEST(ResizeThroughFormats, PackedResizesByWayOfPlanar) {
    Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_YUV422, 16, 8);
    Paint(s, 0x60);
    ASSERT_EQ(s->Resize(32, 12, 0, SCALE_BILINEAR), VED_S_OK);
    ASSERT_EQ(s->Flush(), VED_S_OK);
    SurfaceInfo info{};
    s->GetInfo(&info);
    EXPECT_EQ(info.format, SURFACE_FORMAT_YUV422);
    EXPECT_EQ(info.width, 32u);
    EXPECT_EQ(info.height, 12u);
    EXPECT_EQ(info.stride, 64);
    // A flat picture stays flat through both conversions and the scale.
    const uint8_t* p = Buffer(s)->pixels;
    for (int32_t i = 0; i < 64 * 12; ++i) ASSERT_EQ(p[i], 0x60) << i;
}

TEST(ResizeThroughFormats, DrawnSourceIsConvertedForGood) {
    struct Case {
        SurfaceFormat target, source, sourceAfter;
    };
    for (const Case c : {Case{SURFACE_FORMAT_YUV420, SURFACE_FORMAT_RGB24, SURFACE_FORMAT_YUV420},
                         Case{SURFACE_FORMAT_YUV420, SURFACE_FORMAT_RGB32, SURFACE_FORMAT_YUV420},
                         Case{SURFACE_FORMAT_RGB32, SURFACE_FORMAT_YUV420, SURFACE_FORMAT_RGB24}}) {
        SCOPED_TRACE(testing::Message() << c.source << " onto " << c.target);
        Ref<ITarnSurface> target = MakeBlank(c.target, 16, 16);
        Ref<ITarnSurface> source = MakeBlank(c.source, 8, 8);
        Paint(target, 0);
        Paint(source, 0x80);
        VedRect dest{4, 4, 12, 12};
        ASSERT_EQ(target->DrawToSurface(&dest, source.get(), nullptr, SCALE_NEAREST), VED_S_OK);
        SurfaceInfo info{};
        source->GetInfo(&info);
        EXPECT_EQ(info.format, c.sourceAfter);
        // The drawn area equals the converted source: compare first bytes.
        const CTarnSurfaceBuffer* t = Buffer(target);
        const uint8_t converted = Buffer(source)->pixels[0];
        const int32_t bpp = c.target == SURFACE_FORMAT_YUV420 ? 1 : 4;
        EXPECT_EQ(t->pixels[4 * t->info.stride + 4 * bpp], converted);
        EXPECT_EQ(t->pixels[11 * t->info.stride + 11 * bpp], converted);
        EXPECT_EQ(t->pixels[3 * t->info.stride + 3 * bpp], 0);
    }
}

}  // namespace
}  // namespace tarn
