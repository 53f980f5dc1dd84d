// Export through the public interface: bitmaps in global memory with every
// header field, DirectDraw surfaces with their caps and masks, the row orders,
// and the drain that comes before any answer.
#include "host/host_support.h"
#include "support/platform_images.h"

using namespace images;

namespace {

// A blank surface of any width and depth with `bytes` written into its buffer.
tarn::Ref<ITarnSurface> Picture(SurfaceFormat f, uint32_t w, uint32_t h, int32_t bits,
                                int32_t stride, uint32_t topDown, const std::vector<uint8_t>& bytes) {
    SurfaceInfo info = host::Describe(f, w, h, topDown);
    info.bitsPerPixel = bits;
    info.stride = stride;
    tarn::Ref<ITarnSurface> s = host::Blank(info);
    if (uint8_t* p = s ? host::PixelsOf(s.get()) : nullptr) std::memcpy(p, bytes.data(), bytes.size());
    return s;
}

struct Exported {
    VedResult answer;
    void* handle;
    uint32_t flag;
};
Exported Export(ITarnSurface* s, int32_t kind) {
    Exported e{0, reinterpret_cast<void*>(uintptr_t(0x77)), 7};
    e.answer = s->Export(kind, &e.handle, &e.flag);
    return e;
}

// Every field of a bitmap header; the ones not given are zero.
void ExpectHeader(const plat::BITMAPINFOHEADER& h, int32_t w, int32_t ht, uint16_t bits, uint32_t image) {
    plat::BITMAPINFOHEADER want{};
    want.biSize = 40, want.biWidth = w, want.biHeight = ht, want.biPlanes = 1, want.biBitCount = bits;
    want.biCompression = BI_RGB, want.biSizeImage = image;
    static_assert(sizeof want == 40, "no padding to compare");
    EXPECT_EQ(std::memcmp(&h, &want, sizeof want), 0) << w << " x " << ht << ", " << bits << " bits";
}

// RGB bitmaps have rows of whole 4-byte words, bottom row first: a top-down
// surface arrives turned over, and the bytes padding each row are zero.
TEST(ExportBitmap, RgbRowsArePaddedToWordsAndStoredBottomFirst) {
    struct Case { SurfaceFormat f; uint32_t w; int32_t bits, stride, dibRow; uint32_t topDown; } cases[] = {
        {SURFACE_FORMAT_RGB24, 6, 24, 18, 20, 1},  // (24 x 6 + 31) / 32 x 4 = 20
        {SURFACE_FORMAT_RGB24, 5, 24, 15, 16, 0},
        {SURFACE_FORMAT_RGB32, 5, 32, 20, 20, 1},
    };
    for (const Case& c : cases) {
        const uint32_t h = 4;
        const std::vector<uint8_t> src = Ramp(size_t(c.stride) * h);
        auto s = Picture(c.f, c.w, h, c.bits, c.stride, c.topDown, src);
        const Exported e = Export(s.get(), 2);
        ASSERT_EQ(e.answer, VED_S_OK);
        EXPECT_EQ(e.flag, 1u);
        const Dib dib = ReadDib(e.handle);
        ExpectHeader(dib.header, int32_t(c.w), int32_t(h), uint16_t(c.bits), uint32_t(c.dibRow) * h);
        ASSERT_EQ(dib.pixels.size(), size_t(c.dibRow) * h);
        for (uint32_t y = 0; y < h; ++y) {
            const uint32_t from = c.topDown ? h - 1 - y : y;
            for (int32_t x = 0; x < c.dibRow; ++x) {
                const uint8_t want = x < c.stride ? src[from * c.stride + x] : 0;
                ASSERT_EQ(dib.pixels[y * c.dibRow + x], want) << c.w << ": " << y << "," << x;
            }
        }
        EXPECT_EQ(InfoOf(s.get()).topDown, c.topDown);
        EXPECT_EQ(plat::GlobalFree(e.handle), nullptr);
    }
}

// Planar, packed and mask bitmaps are the picture packed tight as stored,
// top row first (the 12-bit planes follow each other as in the surface); a
// packed surface goes out unturned and stays marked bottom first afterwards;
// a mask goes out all zero.
TEST(ExportBitmap, PlanarPackedAndMaskPicturesGoOutAsStored) {
    struct Case { SurfaceFormat f; uint32_t w, h; int32_t bits, stride; bool zero; } cases[] = {
        {SURFACE_FORMAT_YUV420, 8, 6, 12, 8, false},
        {SURFACE_FORMAT_YUV422, 6, 4, 16, 12, false},
        {SURFACE_FORMAT_GRAY8, 6, 4, 8, 8, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.f);
        const size_t bytes = size_t(c.stride) * c.h * (c.f == SURFACE_FORMAT_YUV420 ? 3 : 2) / 2;
        const std::vector<uint8_t> src = Ramp(bytes);
        auto s = Picture(c.f, c.w, c.h, c.bits, c.stride, 1, src);
        const Exported e = Export(s.get(), 2);
        ASSERT_EQ(e.answer, VED_S_OK);
        const Dib dib = ReadDib(e.handle);
        ExpectHeader(dib.header, int32_t(c.w), int32_t(c.h), uint16_t(c.bits), uint32_t(bytes));
        EXPECT_EQ(dib.pixels, c.zero ? std::vector<uint8_t>(bytes, 0) : src);
        if (c.f == SURFACE_FORMAT_YUV422) {
            EXPECT_EQ(InfoOf(s.get()).topDown, 0u);
        }
        plat::GlobalFree(e.handle);
    }
}

// Every kind drains the queue first, even one that is then refused.
TEST(Export, UnknownKindsAreRefusedAfterTheDrain) {
    for (int32_t kind : {3, 0, -1}) {
        auto s = Picture(SURFACE_FORMAT_RGB32, 8, 4, 32, 32, 1, Ramp(128));
        ASSERT_EQ(s->SetFormat(SURFACE_FORMAT_YUV420), VED_S_OK);
        EXPECT_EQ(InfoOf(s.get()).format, SURFACE_FORMAT_RGB32);  // only queued
        const Exported e = Export(s.get(), kind);
        EXPECT_EQ(e.answer, VED_E_NOTSUPPORTED) << kind;
        EXPECT_EQ(e.handle, reinterpret_cast<void*>(uintptr_t(0x77)));
        EXPECT_EQ(e.flag, 7u);
        EXPECT_EQ(InfoOf(s.get()).format, SURFACE_FORMAT_YUV420) << kind;
    }
}

// DirectDraw surfaces are always top first: a bottom-first RGB32 picture
// arrives turned over, in a system-memory offscreen surface of its depth.
TEST(ExportDirectDraw, RgbPictureArrivesTopFirstWithItsMasks) {
    for (uint32_t topDown : {0u, 1u}) {
        const std::vector<uint8_t> src = Ramp(20 * 4);
        auto s = Picture(SURFACE_FORMAT_RGB32, 5, 4, 32, 20, topDown, src);
        const Exported e = Export(s.get(), 1);
        ASSERT_EQ(e.answer, VED_S_OK);
        EXPECT_EQ(e.flag, 1u);
        auto* dd = static_cast<plat::IDirectDrawSurface7*>(e.handle);
        const DdPicture pic = LockDd(dd);
        EXPECT_EQ(pic.desc.dwWidth, 5u);
        EXPECT_EQ(pic.desc.dwHeight, 4u);
        EXPECT_EQ(pic.desc.ddsCaps.dwCaps, 0x840u);
        EXPECT_EQ(pic.desc.ddpfPixelFormat.dwFlags, DDPF_RGB);
        EXPECT_EQ(pic.desc.ddpfPixelFormat.dwRGBBitCount, 32u);
        EXPECT_EQ(pic.desc.ddpfPixelFormat.dwRBitMask, 0xFF0000u);
        EXPECT_EQ(pic.desc.ddpfPixelFormat.dwGBitMask, 0xFF00u);
        EXPECT_EQ(pic.desc.ddpfPixelFormat.dwBBitMask, 0xFFu);
        // Rows lie at the surface's own pitch: whole words on the portable
        // stand-in (20), rounded further by some systems (24 under Wine).
        const int32_t pitch = pic.desc.lPitch;
        ASSERT_GE(pitch, 20);
        for (uint32_t y = 0; y < 4; ++y) {
            const uint32_t from = topDown ? y : 3 - y;
            for (int x = 0; x < 20; ++x) ASSERT_EQ(pic.pixels[y * pitch + x], src[from * 20 + x]);
        }
        EXPECT_EQ(dd->Release(), 0u);
    }
}

// A 4:2:0 picture of W x H travels as 24-bit RGB of W x H / 2: exactly its
// 3 x W x H / 2 bytes.
TEST(ExportDirectDraw, PlanarPictureTravelsAtHalfHeight) {
    const std::vector<uint8_t> src = Ramp(8 * 6 * 3 / 2);
    auto s = Picture(SURFACE_FORMAT_YUV420, 8, 6, 12, 8, 1, src);
    const Exported e = Export(s.get(), 1);
    ASSERT_EQ(e.answer, VED_S_OK);
    auto* dd = static_cast<plat::IDirectDrawSurface7*>(e.handle);
    const DdPicture pic = LockDd(dd);
    EXPECT_EQ(pic.desc.dwWidth, 8u);
    EXPECT_EQ(pic.desc.dwHeight, 3u);
    EXPECT_EQ(pic.desc.ddpfPixelFormat.dwRGBBitCount, 24u);
    EXPECT_EQ(pic.pixels, src);
    dd->Release();
}

// Refused with nothing written to the results: DirectDraw surfaces of
// formats without a shape there, and a bitmap whose depth does not fit its
// format, which would make a block smaller than the picture.
TEST(Export, PicturesWithoutAShapeFail) {
    struct Case { SurfaceFormat f; uint32_t w, h; int32_t bits, stride, topDown, kind; } cases[] = {
        {SURFACE_FORMAT_GRAY8, 8, 4, 8, 8, 1, 1},
        {SURFACE_FORMAT_YUV422, 8, 4, 16, 16, 0, 1},
        {SURFACE_FORMAT_YUV420, 8, 5, 12, 8, 1, 1},  // 60 bytes, 2 rows of 24 made
        {SURFACE_FORMAT_YUV420, 8, 6, 1, 8, 1, 2},
    };
    for (const Case& c : cases) {
        const size_t bytes = size_t(c.stride) * c.h * (c.f == SURFACE_FORMAT_YUV420 ? 3 : 2) / 2;
        auto s = Picture(c.f, c.w, c.h, c.bits, c.stride, uint32_t(c.topDown), Ramp(bytes));
        const Exported e = Export(s.get(), c.kind);
        EXPECT_EQ(e.answer, VED_E_FAIL) << c.f << " kind " << c.kind;
        EXPECT_EQ(e.handle, reinterpret_cast<void*>(uintptr_t(0x77)));
        EXPECT_EQ(e.flag, 7u);
    }
}

}  // namespace
