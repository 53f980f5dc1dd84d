// CreateFromSource through the public interface: the three kinds of source,
// their rounding and row order, and the order in which calls are refused.
#include "support/platform_images.h"

using namespace images;

namespace {

constexpr uint32_t kCopy = 4;

struct Rect { int32_t l, t, r, b; };
void ExpectContent(const SurfaceInfo& i, Rect want) {
    EXPECT_EQ(i.contentLeft, want.l);
    EXPECT_EQ(i.contentTop, want.t);
    EXPECT_EQ(i.contentRight, want.r);
    EXPECT_EQ(i.contentBottom, want.b);
}

// The fields every surface from an external image shares.
void ExpectShape(const SurfaceInfo& i, uint32_t w, uint32_t h, SurfaceFormat f, int32_t bits,
                 int32_t stride, uint32_t topDown) {
    EXPECT_EQ(i.size, 52u);
    EXPECT_EQ(i.width, w);
    EXPECT_EQ(i.height, h);
    EXPECT_EQ(i.format, f);
    EXPECT_EQ(i.bitsPerPixel, bits);
    EXPECT_EQ(i.stride, stride);
    EXPECT_EQ(i.topDown, topDown);
    EXPECT_EQ(i.storage, 4u);
    EXPECT_EQ(i.flattenInPlace, 1u);
}

ITarnSurface* const kUntouched = reinterpret_cast<ITarnSurface*>(uintptr_t(0x5A5A));

TEST(CreateFromSource, RefusalsComeInTheirOrderAndLeaveTheResultAlone) {
    auto builder = Builder();
    const plat::HGLOBAL dib24 = MakeDib(8, 4, 24, Ramp(96));
    const plat::HGLOBAL dib16 = MakeDib(8, 4, 16, Ramp(64));
    const plat::HGLOBAL small = MakeDib(3, 4, 24, Ramp(48));
    const plat::HGLOBAL topDown = MakeDib(8, -4, 24, Ramp(96));
    plat::HRASTER freed = MakeContainer(4, 4, 24, 0, Ramp(48));
    ASSERT_EQ(plat::RasterFree(freed), plat::RASTER_OK);
    struct Case { const char* what; void* source; int32_t kind, format; uint32_t flags; VedResult answer; };
    const Case cases[] = {
        {"kind 3", dib24, 3, 1, kCopy, VED_E_NOTSUPPORTED},
        {"kind -1", dib24, -1, 1, kCopy, VED_E_NOTSUPPORTED},
        {"null container", nullptr, 0, 1, kCopy, VED_E_INVALIDARG},
        {"null surface", nullptr, 1, 1, kCopy, VED_E_INVALIDARG},
        {"null bitmap", nullptr, 2, 1, kCopy, VED_E_INVALIDARG},
        {"freed container", freed, 0, 1, kCopy, VED_E_FAIL},
        {"bitmap 3 wide", small, 2, 1, kCopy, VED_E_INVALIDARG},
        {"top-down bitmap", topDown, 2, 1, kCopy, VED_E_INVALIDARG},
        {"size before format", small, 2, 3, 0, VED_E_INVALIDARG},
        {"GRAY8 wanted", dib24, 2, 3, kCopy, VED_E_NOTSUPPORTED},
        {"16-bit depth", dib16, 2, 1, kCopy, VED_E_NOTSUPPORTED},
        {"format before flags", dib24, 2, 3, 1, VED_E_NOTSUPPORTED},
        {"depth before flags", dib16, 2, 2, 1, VED_E_NOTSUPPORTED},
        {"no copy flag", dib24, 2, 1, 1, VED_E_INVALIDARG},
        {"no flags", dib24, 2, 4, 0, VED_E_INVALIDARG},
    };
    for (const Case& c : cases) {
        ITarnSurface* out = kUntouched;
        EXPECT_EQ(builder->CreateFromSource(c.source, c.kind, c.format, c.flags, &out), c.answer)
            << c.what;
        EXPECT_EQ(out, kUntouched) << c.what;
    }
    for (plat::HGLOBAL b : {dib24, dib16, small, topDown}) plat::GlobalFree(b);
}

// A 7 x 5 24-bit bitmap: rows of 24 bytes in the block, bottom row first.
// It comes in 4 x 4 with a stride of 12: the first four rows of the block,
// each cut to its first four pixels, while the content still says 7 x 5.
TEST(CreateFromSource, BitmapIsCutToWholeGroupsOfFourAndEvenRows) {
    const std::vector<uint8_t> src = Ramp(24 * 5);
    const plat::HGLOBAL dib = MakeDib(7, 5, 24, src);
    tarn::Ref<ITarnSurface> s;
    ASSERT_EQ(Builder()->CreateFromSource(dib, 2, SURFACE_FORMAT_RGB32, kCopy, s.put()), VED_S_OK);
    const SurfaceInfo info = InfoOf(s.get());
    ExpectShape(info, 4, 4, SURFACE_FORMAT_RGB24, 24, 12, 0);
    ExpectContent(info, {0, 0, 7, 5});
    const std::vector<uint8_t> got = BytesOf(s.get(), 48);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 12; ++x) ASSERT_EQ(got[y * 12 + x], src[y * 24 + x]) << y << "," << x;
    plat::GlobalFree(dib);
}

TEST(CreateFromSource, BitmapDepthPicksTheRgbFormat) {
    struct Case { uint16_t bits; int32_t asked; SurfaceFormat got; int32_t stride; } cases[] = {
        {32, SURFACE_FORMAT_RGB24, SURFACE_FORMAT_RGB32, 32},
        {32, SURFACE_FORMAT_RGB32, SURFACE_FORMAT_RGB32, 32},
        {24, SURFACE_FORMAT_RGB32, SURFACE_FORMAT_RGB24, 24},
    };
    for (const Case& c : cases) {
        const std::vector<uint8_t> src = Ramp(size_t(c.stride) * 6, c.bits);
        const plat::HGLOBAL dib = MakeDib(8, 6, c.bits, src);
        tarn::Ref<ITarnSurface> s;
        ASSERT_EQ(Builder()->CreateFromSource(dib, 2, c.asked, kCopy | 1, s.put()), VED_S_OK);
        const SurfaceInfo info = InfoOf(s.get());
        ExpectShape(info, 8, 6, c.got, c.bits, c.stride, 0);
        ExpectContent(info, {0, 0, 8, 6});
        EXPECT_EQ(BytesOf(s.get(), src.size()), src) << c.bits;
        plat::GlobalFree(dib);
    }
}

// Planar and packed bitmaps keep their sizes; the depth is the header's,
// whatever the format (a planar picture declared as 24-bit stays 24).
TEST(CreateFromSource, PlanarAndPackedBitmapsAreCopiedInOnePiece) {
    struct Case { SurfaceFormat f; uint16_t bits; int32_t stride; uint32_t topDown; size_t bytes; } cases[] = {
        {SURFACE_FORMAT_YUV420, 12, 6, 1, 6 * 5 * 3 / 2},
        {SURFACE_FORMAT_YUV420, 24, 6, 1, 6 * 5 * 3 / 2},
        {SURFACE_FORMAT_YUV422, 16, 12, 0, 12 * 5},
    };
    for (const Case& c : cases) {
        const std::vector<uint8_t> src = Ramp(c.bytes);
        const plat::HGLOBAL dib = MakeDib(6, 5, c.bits, src);
        tarn::Ref<ITarnSurface> s;
        ASSERT_EQ(Builder()->CreateFromSource(dib, 2, c.f, kCopy, s.put()), VED_S_OK);
        const SurfaceInfo info = InfoOf(s.get());
        ExpectShape(info, 6, 5, c.f, c.bits, c.stride, c.topDown);
        ExpectContent(info, {0, 0, 6, 5});
        EXPECT_EQ(BytesOf(s.get(), c.bytes), src);
        plat::GlobalFree(dib);
    }
}

// Headers that claim more than any 32-bit byte count: refused, never
// multiplied past the range of the arithmetic.
TEST(CreateFromSource, AbsurdBitmapSizesAreRefused) {
    struct Case { int32_t w, h; uint16_t bits; int32_t format; } cases[] = {
        {0x7FFFFFF0, 0x7FFFFFF0, 16, SURFACE_FORMAT_YUV422},
        {0x7FFFFFF0, 0x7FFFFFF0, 12, SURFACE_FORMAT_YUV420},
        {0x7FFFFFF1, 0x7FFFFFF1, 32, SURFACE_FORMAT_RGB32},
        {0x40000000, 8, 24, SURFACE_FORMAT_RGB24},
    };
    for (const Case& c : cases) {
        const plat::HGLOBAL dib = MakeDib(c.w, c.h, c.bits, Ramp(256));
        ITarnSurface* out = kUntouched;
        EXPECT_EQ(Builder()->CreateFromSource(dib, 2, c.format, kCopy, &out), VED_E_INVALIDARG) << c.w;
        EXPECT_EQ(out, kUntouched);
        plat::GlobalFree(dib);
    }
}

TEST(CreateFromSource, BitmapBlockTooSmallForItsHeaderIsRefused) {
    const plat::HGLOBAL truncated = MakeDib(8, 8, 24, Ramp(24 * 7));  // one row short
    ITarnSurface* out = kUntouched;
    EXPECT_EQ(Builder()->CreateFromSource(truncated, 2, 1, kCopy, &out), VED_E_INVALIDARG);
    EXPECT_EQ(out, kUntouched);
    plat::GlobalFree(truncated);
    const plat::HGLOBAL tiny = plat::GlobalAlloc(GHND, 20);
    EXPECT_EQ(Builder()->CreateFromSource(tiny, 2, 1, kCopy, &out), VED_E_INVALIDARG);
    plat::GlobalFree(tiny);
}

// A 7 x 5 24-bit container with 21 bytes a row: 8 x 5 with a stride of 24,
// rows turned to bottom first, the added last column black.
TEST(CreateFromSource, ContainerWidthIsRoundedUpAndRowsTurned) {
    const std::vector<uint8_t> src = Ramp(21 * 5);
    const plat::HRASTER raster = MakeContainer(7, 5, 24, 21, src);
    tarn::Ref<ITarnSurface> s;
    ASSERT_EQ(Builder()->CreateFromSource(raster, 0, SURFACE_FORMAT_RGB24, kCopy, s.put()), VED_S_OK);
    const SurfaceInfo info = InfoOf(s.get());
    ExpectShape(info, 8, 5, SURFACE_FORMAT_RGB24, 24, 24, 0);
    ExpectContent(info, {0, 0, 7, 5});
    const std::vector<uint8_t> got = BytesOf(s.get(), 24 * 5);
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 21; ++x) ASSERT_EQ(got[y * 24 + x], src[(4 - y) * 21 + x]) << y << "," << x;
        for (int x = 21; x < 24; ++x) ASSERT_EQ(got[y * 24 + x], 0) << y << "," << x;
    }
    EXPECT_EQ(plat::RasterUnlockData(raster), plat::RASTER_E_NOTLOCKED);  // left unlocked
    plat::RasterFree(raster);
}

// Rows wider than the surface's are cut to its stride.
TEST(CreateFromSource, ContainerRowsWiderThanTheSurfaceAreCut) {
    const std::vector<uint8_t> src = Ramp(40 * 4);
    const plat::HRASTER raster = MakeContainer(8, 4, 32, 40, src);
    tarn::Ref<ITarnSurface> s;
    ASSERT_EQ(Builder()->CreateFromSource(raster, 0, SURFACE_FORMAT_RGB32, kCopy, s.put()), VED_S_OK);
    ExpectShape(InfoOf(s.get()), 8, 4, SURFACE_FORMAT_RGB32, 32, 40, 0);
    const std::vector<uint8_t> got = BytesOf(s.get(), 40 * 4);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 40; ++x) ASSERT_EQ(got[y * 40 + x], src[(3 - y) * 40 + x]);
    plat::RasterFree(raster);
}

TEST(CreateFromSource, PlanarContainerCarriesHalfTheHeight) {
    const std::vector<uint8_t> src = Ramp(8 * 3 * 4);  // 8 x 4 pixels of 24 bits
    const plat::HRASTER raster = MakeContainer(8, 4, 24, 0, src);
    tarn::Ref<ITarnSurface> s;
    ASSERT_EQ(Builder()->CreateFromSource(raster, 0, SURFACE_FORMAT_YUV420, kCopy, s.put()), VED_S_OK);
    const SurfaceInfo info = InfoOf(s.get());
    ExpectShape(info, 8, 8, SURFACE_FORMAT_YUV420, 12, 8, 1);
    ExpectContent(info, {0, 0, 8, 8});
    EXPECT_EQ(BytesOf(s.get(), src.size()), src);
    ITarnSurface* out = kUntouched;
    EXPECT_EQ(Builder()->CreateFromSource(raster, 0, SURFACE_FORMAT_YUV422, kCopy, &out),
              VED_E_NOTSUPPORTED);
    plat::RasterFree(raster);

    // An 8-bit container of that size holds a third of the picture.
    const plat::HRASTER thin = MakeContainer(8, 4, 8, 0, Ramp(32));
    EXPECT_EQ(Builder()->CreateFromSource(thin, 0, SURFACE_FORMAT_YUV420, kCopy, &out), VED_E_INVALIDARG);
    EXPECT_EQ(out, kUntouched);
    plat::RasterFree(thin);
}

TEST(CreateFromSource, DirectDrawSurfaceKeepsItsSizeAndPitch) {
    struct Case { uint32_t w, h, bits; int32_t asked; SurfaceFormat got; } cases[] = {
        {6, 4, 24, SURFACE_FORMAT_RGB32, SURFACE_FORMAT_RGB24},
        {5, 5, 32, SURFACE_FORMAT_RGB24, SURFACE_FORMAT_RGB32},
    };
    for (const Case& c : cases) {
        plat::IDirectDrawSurface7* dd = MakeDdSurface(c.w, c.h, c.bits);
        ASSERT_NE(dd, nullptr);
        // The pitch is the system's choice (20 for both with the portable
        // stand-in's whole words, 24 for the first under Wine); the
        // surface's stride follows it.
        const int32_t pitch = LockDd(dd).desc.lPitch;
        ASSERT_GE(pitch, int32_t(c.w * c.bits / 8));
        const std::vector<uint8_t> src = Ramp(size_t(pitch) * c.h);
        LockDd(dd, &src);
        tarn::Ref<ITarnSurface> s;
        ASSERT_EQ(Builder()->CreateFromSource(dd, 1, c.asked, kCopy, s.put()), VED_S_OK);
        const SurfaceInfo info = InfoOf(s.get());
        ExpectShape(info, c.w, c.h, c.got, int32_t(c.bits), pitch, 1);
        ExpectContent(info, {0, 0, int32_t(c.w), int32_t(c.h)});
        EXPECT_EQ(BytesOf(s.get(), src.size()), src);
        EXPECT_EQ(dd->Release(), 0u);
    }
}

TEST(CreateFromSource, PlanarDirectDrawSurfaceIsReadAtTwiceItsHeight) {
    plat::IDirectDrawSurface7* dd = MakeDdSurface(8, 4, 24);
    ASSERT_NE(dd, nullptr);
    const std::vector<uint8_t> src = Ramp(24 * 4);
    LockDd(dd, &src);
    tarn::Ref<ITarnSurface> s;
    ASSERT_EQ(Builder()->CreateFromSource(dd, 1, SURFACE_FORMAT_YUV420, kCopy, s.put()), VED_S_OK);
    const SurfaceInfo info = InfoOf(s.get());
    ExpectShape(info, 8, 8, SURFACE_FORMAT_YUV420, 12, 8, 1);
    ExpectContent(info, {0, 0, 8, 8});
    EXPECT_EQ(BytesOf(s.get(), src.size()), src);
    EXPECT_EQ(dd->Release(), 0u);
}

TEST(CreateFromSource, DirectDrawAnswersArePassedOn) {
    plat::IDirectDrawSurface7* dd = MakeDdSurface(8, 4, 32);
    ASSERT_NE(dd, nullptr);
    ITarnSurface* out = kUntouched;
    auto builder = Builder();
    EXPECT_EQ(builder->CreateFromSource(dd, 1, SURFACE_FORMAT_YUV422, kCopy, &out), VED_E_NOTSUPPORTED);
    // Held locked by someone else: the lock's own answer comes back.
    plat::DDSURFACEDESC2 d{};
    d.dwSize = sizeof d;
    ASSERT_EQ(dd->Lock(nullptr, &d, DDLOCK_WAIT, nullptr), DD_OK);
    EXPECT_EQ(builder->CreateFromSource(dd, 1, SURFACE_FORMAT_RGB32, kCopy, &out),
              DDERR_SURFACEBUSY);
    EXPECT_EQ(out, kUntouched);
    dd->Unlock(nullptr);
    dd->Release();

    plat::IDirectDrawSurface7* narrow = MakeDdSurface(3, 8, 32);
    ASSERT_NE(narrow, nullptr);
    EXPECT_EQ(builder->CreateFromSource(narrow, 1, SURFACE_FORMAT_RGB32, kCopy, &out), VED_E_INVALIDARG);
    narrow->Release();
}

}  // namespace
