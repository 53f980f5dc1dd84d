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

// Refused in their order, with the result left alone: among them headers
// that claim more than any 32-bit byte count (never multiplied past the
// range of the arithmetic), blocks too small for their header, and
// containers that cannot carry the format asked for.
TEST(CreateFromSource, RefusalsComeInTheirOrderAndLeaveTheResultAlone) {
    auto builder = Builder();
    const plat::HGLOBAL dib24 = MakeDib(8, 4, 24, Ramp(96));
    const plat::HGLOBAL dib16 = MakeDib(8, 4, 16, Ramp(64));
    const plat::HGLOBAL small = MakeDib(3, 4, 24, Ramp(48));
    const plat::HGLOBAL topDown = MakeDib(8, -4, 24, Ramp(96));
    const plat::HGLOBAL truncated = MakeDib(8, 8, 24, Ramp(24 * 7));  // one row short
    const plat::HGLOBAL tiny = plat::GlobalAlloc(GHND, 20);
    const plat::HGLOBAL absurd[] = {MakeDib(0x7FFFFFF0, 0x7FFFFFF0, 16, Ramp(256)),
                                    MakeDib(0x7FFFFFF0, 0x7FFFFFF0, 12, Ramp(256)),
                                    MakeDib(0x7FFFFFF1, 0x7FFFFFF1, 32, Ramp(256)),
                                    MakeDib(0x40000000, 8, 24, Ramp(256))};
    plat::HRASTER freed = MakeContainer(4, 4, 24, 0, Ramp(48));
    ASSERT_EQ(plat::RasterFree(freed), plat::RASTER_OK);
    const plat::HRASTER container = MakeContainer(8, 4, 24, 0, Ramp(96));
    const plat::HRASTER thin = MakeContainer(8, 4, 8, 0, Ramp(32));  // a third of an 8 x 8 planar picture
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
        {"block a row short", truncated, 2, 1, kCopy, VED_E_INVALIDARG},
        {"block shorter than a header", tiny, 2, 1, kCopy, VED_E_INVALIDARG},
        {"absurd packed", absurd[0], 2, SURFACE_FORMAT_YUV422, kCopy, VED_E_INVALIDARG},
        {"absurd planar", absurd[1], 2, SURFACE_FORMAT_YUV420, kCopy, VED_E_INVALIDARG},
        {"absurd 32-bit", absurd[2], 2, SURFACE_FORMAT_RGB32, kCopy, VED_E_INVALIDARG},
        {"absurd width", absurd[3], 2, SURFACE_FORMAT_RGB24, kCopy, VED_E_INVALIDARG},
        {"packed from a container", container, 0, SURFACE_FORMAT_YUV422, kCopy, VED_E_NOTSUPPORTED},
        {"planar from a thin container", thin, 0, SURFACE_FORMAT_YUV420, kCopy, VED_E_INVALIDARG},
    };
    for (const Case& c : cases) {
        ITarnSurface* out = kUntouched;
        EXPECT_EQ(builder->CreateFromSource(c.source, c.kind, c.format, c.flags, &out), c.answer)
            << c.what;
        EXPECT_EQ(out, kUntouched) << c.what;
    }
    for (plat::HGLOBAL b : {dib24, dib16, small, topDown, truncated, tiny}) plat::GlobalFree(b);
    for (plat::HGLOBAL b : absurd) plat::GlobalFree(b);
    for (plat::HRASTER r : {container, thin}) plat::RasterFree(r);
}

// Bitmaps (kind 2) and containers (kind 0) copied in. A bitmap's RGB rows
// are cut to whole groups of four pixels and even rows (the content still
// says the picture's size); its depth picks the RGB format, while planar and
// packed bitmaps keep their sizes and the header's depth whatever the format
// (a planar picture declared as 24-bit stays 24). A container's width is
// rounded up (the added column black), rows wider than the surface's are cut,
// its rows are turned to bottom first, and a planar container carries half
// the height. Each surface row holds the bytes of its source row that fit,
// the rest zero.
TEST(CreateFromSource, BitmapsAndContainersAreCopiedIn) {
    struct Case {
        const char* what;
        int32_t kind, w, h, bits, rowBytes;  // rowBytes: a container's, 0 for packed rows
        size_t bytes;                        // of the source pixels
        int32_t asked;
        uint32_t flags;
        uint32_t outW, outH;
        SurfaceFormat got;
        int32_t gotBits, stride;
        uint32_t topDown;
        Rect content;
        int32_t sourceRow;  // bytes a source row lies apart
        bool turned;        // surface row y holds the source's last row but y
    };
    const Case cases[] = {
        {"7 x 5 bitmap", 2, 7, 5, 24, 0, 24 * 5, SURFACE_FORMAT_RGB32, kCopy,
         4, 4, SURFACE_FORMAT_RGB24, 24, 12, 0, {0, 0, 7, 5}, 24, false},
        {"32-bit bitmap, RGB24 asked", 2, 8, 6, 32, 0, 32 * 6, SURFACE_FORMAT_RGB24, kCopy | 1,
         8, 6, SURFACE_FORMAT_RGB32, 32, 32, 0, {0, 0, 8, 6}, 32, false},
        {"32-bit bitmap", 2, 8, 6, 32, 0, 32 * 6, SURFACE_FORMAT_RGB32, kCopy | 1,
         8, 6, SURFACE_FORMAT_RGB32, 32, 32, 0, {0, 0, 8, 6}, 32, false},
        {"24-bit bitmap, RGB32 asked", 2, 8, 6, 24, 0, 24 * 6, SURFACE_FORMAT_RGB32, kCopy | 1,
         8, 6, SURFACE_FORMAT_RGB24, 24, 24, 0, {0, 0, 8, 6}, 24, false},
        {"planar bitmap", 2, 6, 5, 12, 0, 6 * 5 * 3 / 2, SURFACE_FORMAT_YUV420, kCopy,
         6, 5, SURFACE_FORMAT_YUV420, 12, 6, 1, {0, 0, 6, 5}, 6, false},
        {"planar bitmap of 24 bits", 2, 6, 5, 24, 0, 6 * 5 * 3 / 2, SURFACE_FORMAT_YUV420, kCopy,
         6, 5, SURFACE_FORMAT_YUV420, 24, 6, 1, {0, 0, 6, 5}, 6, false},
        {"packed bitmap", 2, 6, 5, 16, 0, 12 * 5, SURFACE_FORMAT_YUV422, kCopy,
         6, 5, SURFACE_FORMAT_YUV422, 16, 12, 0, {0, 0, 6, 5}, 12, false},
        {"7 x 5 container", 0, 7, 5, 24, 21, 21 * 5, SURFACE_FORMAT_RGB24, kCopy,
         8, 5, SURFACE_FORMAT_RGB24, 24, 24, 0, {0, 0, 7, 5}, 21, true},
        {"container of wide rows", 0, 8, 4, 32, 40, 40 * 4, SURFACE_FORMAT_RGB32, kCopy,
         8, 4, SURFACE_FORMAT_RGB32, 32, 40, 0, {0, 0, 8, 4}, 40, true},
        {"planar container", 0, 8, 4, 24, 0, 8 * 3 * 4, SURFACE_FORMAT_YUV420, kCopy,
         8, 8, SURFACE_FORMAT_YUV420, 12, 8, 1, {0, 0, 8, 8}, 8, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::vector<uint8_t> src = Ramp(c.bytes);
        const plat::HGLOBAL dib = c.kind == 2 ? MakeDib(c.w, c.h, uint16_t(c.bits), src) : nullptr;
        const plat::HRASTER raster = c.kind == 0 ? MakeContainer(c.w, c.h, c.bits, c.rowBytes, src) : nullptr;
        tarn::Ref<ITarnSurface> s;
        ASSERT_EQ(Builder()->CreateFromSource(c.kind == 2 ? dib : raster, c.kind, c.asked, c.flags, s.put()),
                  VED_S_OK);
        const SurfaceInfo info = InfoOf(s.get());
        ExpectShape(info, c.outW, c.outH, c.got, c.gotBits, c.stride, c.topDown);
        ExpectContent(info, c.content);
        const size_t rows = c.bytes / size_t(c.sourceRow);
        const std::vector<uint8_t> got =
            BytesOf(s.get(), size_t(c.stride) * c.outH * (c.got == SURFACE_FORMAT_YUV420 ? 3 : 2) / 2);
        for (size_t i = 0; i < got.size(); ++i) {
            const size_t y = i / size_t(c.stride), x = i % size_t(c.stride), from = c.turned ? rows - 1 - y : y;
            ASSERT_EQ(got[i], x < size_t(c.sourceRow) ? src[from * size_t(c.sourceRow) + x] : 0) << y << "," << x;
        }
        if (dib) plat::GlobalFree(dib);
        if (raster) {
            EXPECT_EQ(plat::RasterUnlockData(raster), plat::RASTER_E_NOTLOCKED);  // left unlocked
            plat::RasterFree(raster);
        }
    }
}

// A DirectDraw surface (kind 1) keeps its size, and the stride follows its
// pitch, which is the system's choice (20 for 6 x 24 bits with the portable
// stand-in's whole words, 24 under Wine). A planar picture travels as RGB of
// half its height: it is read at twice the surface's height, stride = width.
TEST(CreateFromSource, DirectDrawSurfacesAreCopiedIn) {
    struct Case {
        uint32_t w, h, bits;
        int32_t asked;
        SurfaceFormat got;
        int32_t gotBits;
        uint32_t outH;
        int32_t stride;  // 0: the pitch
    } const cases[] = {
        {6, 4, 24, SURFACE_FORMAT_RGB32, SURFACE_FORMAT_RGB24, 24, 4, 0},
        {5, 5, 32, SURFACE_FORMAT_RGB24, SURFACE_FORMAT_RGB32, 32, 5, 0},
        {8, 4, 24, SURFACE_FORMAT_YUV420, SURFACE_FORMAT_YUV420, 12, 8, 8},
    };
    for (const Case& c : cases) {
        plat::IDirectDrawSurface7* dd = MakeDdSurface(c.w, c.h, c.bits);
        ASSERT_NE(dd, nullptr);
        const int32_t pitch = LockDd(dd).desc.lPitch;
        ASSERT_GE(pitch, int32_t(c.w * c.bits / 8));
        const std::vector<uint8_t> src = Ramp(size_t(pitch) * c.h);
        LockDd(dd, &src);
        tarn::Ref<ITarnSurface> s;
        ASSERT_EQ(Builder()->CreateFromSource(dd, 1, c.asked, kCopy, s.put()), VED_S_OK);
        const SurfaceInfo info = InfoOf(s.get());
        ExpectShape(info, c.w, c.outH, c.got, c.gotBits, c.stride ? c.stride : pitch, 1);
        ExpectContent(info, {0, 0, int32_t(c.w), int32_t(c.outH)});
        EXPECT_EQ(BytesOf(s.get(), src.size()), src) << c.w << "x" << c.h;
        EXPECT_EQ(dd->Release(), 0u);
    }
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
