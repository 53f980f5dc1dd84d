// A host's round trips through the platform objects, with only the public
// headers and the shared library: a picture goes out as a bitmap or a
// DirectDraw surface and comes back the same; a container comes in the same.
#include <tarn/Platform.h>

#include "host_support.h"

namespace plat = tarn::platform;

namespace {

std::vector<uint8_t> CopyOut(ITarnSurface* s, int32_t stride, uint32_t topDown, size_t bytes) {
    std::vector<uint8_t> out(bytes + 16);
    EXPECT_EQ(s->CopyOut(out.data(), stride, topDown), VED_S_OK);
    out.resize(bytes);
    return out;
}

tarn::Ref<ITarnSurface> FromSource(void* source, int32_t kind, SurfaceFormat format) {
    tarn::Ref<ITarnSurface> s;
    EXPECT_EQ(host::Builder()->CreateFromSource(source, kind, format, 4, s.put()), VED_S_OK);
    return s;
}

// Export kind 2 is a bitmap in global memory, which keeps the row order;
// kind 1 a DirectDraw surface, turned to top first on the way and carrying a
// planar picture at half height, which must be 4 rows or more to come back.
TEST(PlatformRoundTrip, BitmapAndDirectDrawSurface) {
    const struct {
        int32_t kind;
        SurfaceFormat f;
        uint32_t height, topDown;
        size_t bytes;
    } cases[] = {
        {2, SURFACE_FORMAT_RGB24, 6, 0, 24 * 6},  {2, SURFACE_FORMAT_RGB32, 6, 0, 32 * 6},
        {2, SURFACE_FORMAT_YUV420, 6, 1, 8 * 6 * 3 / 2},
        {1, SURFACE_FORMAT_RGB32, 8, 0, 32 * 8},  {1, SURFACE_FORMAT_RGB24, 8, 1, 24 * 8},
        {1, SURFACE_FORMAT_YUV420, 8, 1, 8 * 8 * 3 / 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "kind " << c.kind << " format " << c.f);
        const SurfaceInfo info = host::Describe(c.f, 8, c.height, c.topDown);
        const std::vector<uint8_t> picture = host::Ramp(c.bytes, 7);
        void* handle = nullptr;
        uint32_t owned = 0;
        ASSERT_EQ(host::FromData(info, picture)->Export(c.kind, &handle, &owned), VED_S_OK);
        ASSERT_EQ(owned, 1u);
        auto back = FromSource(handle, c.kind, c.f);
        ASSERT_TRUE(back);
        const SurfaceInfo got = host::InfoOf(back.get());
        EXPECT_EQ(std::vector<int64_t>({got.width, got.height, got.format, got.stride, got.topDown}),
                  std::vector<int64_t>({8, c.height, c.f, info.stride, c.kind == 1 ? 1 : c.topDown}));
        EXPECT_EQ(CopyOut(back.get(), info.stride, c.topDown, c.bytes), picture);
        if (c.kind == 2)
            EXPECT_EQ(plat::GlobalFree(handle), nullptr);
        else
            EXPECT_EQ(static_cast<plat::IDirectDrawSurface7*>(handle)->Release(), 0u);
    }
}

TEST(PlatformRoundTrip, ImageContainer) {
#if defined(_WIN32)
    GTEST_SKIP() << "On Windows the image container is the editor's own library; "
                    "the DLL exports no stand-in for a host to make one with";
#else
    plat::HRASTER raster = nullptr;
    ASSERT_EQ(plat::RasterCreate(8, 6, 24, 0, &raster), plat::RASTER_OK);
    const std::vector<uint8_t> picture = host::Ramp(24 * 6, 11);  // rows top first
    void* data = nullptr;
    ASSERT_EQ(plat::RasterLockData(raster, &data), plat::RASTER_OK);
    std::memcpy(data, picture.data(), picture.size());
    ASSERT_EQ(plat::RasterUnlockData(raster), plat::RASTER_OK);

    auto in = FromSource(raster, 0, SURFACE_FORMAT_RGB24);
    ASSERT_TRUE(in);
    EXPECT_EQ(host::InfoOf(in.get()).topDown, 0u);
    EXPECT_EQ(CopyOut(in.get(), 24, 1, picture.size()), picture);
    EXPECT_EQ(plat::RasterFree(raster), plat::RASTER_OK);
#endif
}

}  // namespace
