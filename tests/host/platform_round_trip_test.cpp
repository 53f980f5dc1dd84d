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

TEST(PlatformRoundTrip, BitmapInGlobalMemory) {
    struct Case { SurfaceFormat f; uint32_t topDown; size_t bytes; } cases[] = {
        {SURFACE_FORMAT_RGB24, 0, 24 * 6},
        {SURFACE_FORMAT_RGB32, 0, 32 * 6},
        {SURFACE_FORMAT_YUV420, 1, 8 * 6 * 3 / 2},
    };
    for (const Case& c : cases) {
        const SurfaceInfo info = host::Describe(c.f, 8, 6, c.topDown);
        const std::vector<uint8_t> picture = host::Ramp(c.bytes, 7);
        auto out = host::FromData(info, picture);
        void* handle = nullptr;
        uint32_t owned = 0;
        ASSERT_EQ(out->Export(2, &handle, &owned), VED_S_OK);
        ASSERT_EQ(owned, 1u);
        auto back = FromSource(handle, 2, c.f);
        ASSERT_TRUE(back);
        const SurfaceInfo got = host::InfoOf(back.get());
        EXPECT_EQ(got.width, 8u);
        EXPECT_EQ(got.height, 6u);
        EXPECT_EQ(got.format, c.f);
        EXPECT_EQ(got.stride, info.stride);
        EXPECT_EQ(got.topDown, c.topDown);
        EXPECT_EQ(CopyOut(back.get(), info.stride, c.topDown, c.bytes), picture) << c.f;
        EXPECT_EQ(plat::GlobalFree(handle), nullptr);
    }
}

TEST(PlatformRoundTrip, DirectDrawSurface) {
    struct Case { SurfaceFormat f; uint32_t topDown; size_t bytes; } cases[] = {
        {SURFACE_FORMAT_RGB32, 0, 32 * 8},  // turned to top first on the way
        {SURFACE_FORMAT_RGB24, 1, 24 * 8},
        // Carried at half height, which must be 4 rows or more to come back.
        {SURFACE_FORMAT_YUV420, 1, 8 * 8 * 3 / 2},
    };
    for (const Case& c : cases) {
        const SurfaceInfo info = host::Describe(c.f, 8, 8, c.topDown);
        const std::vector<uint8_t> picture = host::Ramp(c.bytes, 3);
        auto out = host::FromData(info, picture);
        void* handle = nullptr;
        uint32_t owned = 0;
        ASSERT_EQ(out->Export(1, &handle, &owned), VED_S_OK);
        ASSERT_EQ(owned, 1u);
        auto* dd = static_cast<plat::IDirectDrawSurface7*>(handle);
        auto back = FromSource(dd, 1, c.f);
        ASSERT_TRUE(back);
        const SurfaceInfo got = host::InfoOf(back.get());
        EXPECT_EQ(got.height, 8u);
        EXPECT_EQ(got.topDown, 1u);
        EXPECT_EQ(CopyOut(back.get(), info.stride, c.topDown, c.bytes), picture) << c.f;
        EXPECT_EQ(dd->Release(), 0u);
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
