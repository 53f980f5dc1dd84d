// The portable platform objects as a host sees them: lock counts, checked
// handles answering the system's failure values, surface records and layout.
#include <gtest/gtest.h>
#include <tarn/Platform.h>

#include <cstring>

using namespace tarn::platform;

namespace {

TEST(GlobalMemory, BlocksAreZeroedAndLocksCount) {
    HGLOBAL block = GlobalAlloc(GHND, 100);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(GlobalSize(block), 100u);
    auto* p = static_cast<uint8_t*>(GlobalLock(block));
    ASSERT_NE(p, nullptr);
    for (int i = 0; i < 100; ++i) ASSERT_EQ(p[i], 0) << i;
    std::memset(p, 0xAB, 100);
    EXPECT_EQ(GlobalLock(block), p);  // a second lock, same bytes
    EXPECT_NE(GlobalUnlock(block), 0);  // one lock remains
    EXPECT_EQ(GlobalUnlock(block), 0);  // the last one went
    EXPECT_EQ(GlobalUnlock(block), 0);  // not locked any more
    EXPECT_EQ(static_cast<uint8_t*>(GlobalLock(block))[99], 0xAB);
    EXPECT_EQ(GlobalFree(block), nullptr);  // locked blocks are freed too
}

TEST(GlobalMemory, BadHandlesAreRefusedNotFollowed) {
    HGLOBAL freed = GlobalAlloc(GHND, 8);
    ASSERT_EQ(GlobalFree(freed), nullptr);
    int local = 0;
    for (HGLOBAL bad : {freed, HGLOBAL(nullptr), HGLOBAL(&local), HGLOBAL(uintptr_t(1))}) {
        EXPECT_EQ(GlobalLock(bad), nullptr);
        EXPECT_EQ(GlobalUnlock(bad), 0);
        EXPECT_EQ(GlobalSize(bad), 0u);
        EXPECT_EQ(GlobalFree(bad), bad);
    }
    EXPECT_EQ(GlobalAlloc(GHND, SIZE_T(1) << 40), nullptr);
}

TEST(RasterContainer, RecordLockCountAndRows) {
    HRASTER raster = nullptr;
    ASSERT_EQ(RasterCreate(7, 5, 24, 0, &raster), RASTER_OK);
    RASTER_INFO info{};
    ASSERT_EQ(RasterGetInfo(raster, &info), RASTER_OK);
    EXPECT_EQ(info.width, 7);
    EXPECT_EQ(info.height, 5);
    EXPECT_EQ(info.bitsPerPixel, 24);
    EXPECT_EQ(info.bytesPerRow, 21);  // packed rows unless the host asks for more
    void* data = nullptr;
    ASSERT_EQ(RasterLockData(raster, &data), RASTER_OK);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(RasterUnlockData(raster), RASTER_OK);
    EXPECT_EQ(RasterUnlockData(raster), RASTER_E_NOTLOCKED);
    EXPECT_EQ(RasterFree(raster), RASTER_OK);
    EXPECT_EQ(RasterGetInfo(raster, &info), RASTER_E_HANDLE);
    EXPECT_EQ(RasterLockData(raster, &data), RASTER_E_HANDLE);
    EXPECT_EQ(RasterUnlockData(raster), RASTER_E_HANDLE);
    EXPECT_EQ(RasterFree(raster), RASTER_E_HANDLE);

    ASSERT_EQ(RasterCreate(7, 5, 32, 40, &raster), RASTER_OK);
    ASSERT_EQ(RasterGetInfo(raster, &info), RASTER_OK);
    EXPECT_EQ(info.bytesPerRow, 40);
    EXPECT_EQ(RasterFree(raster), RASTER_OK);
}

TEST(RasterContainer, BadShapesAreRefused) {
    HRASTER raster = nullptr;
    struct Case { int32_t w, h, bits, row; } cases[] = {
        {0, 5, 24, 0}, {5, 0, 24, 0}, {5, 5, 0, 0}, {5, 5, 33, 0},
        {5, 5, 24, 14},  // a row that does not hold its 15 bytes
        {5, 5, 24, -1}, {65536, 65536, 32, 0}};
    for (const Case& c : cases)
        EXPECT_EQ(RasterCreate(c.w, c.h, c.bits, c.row, &raster), RASTER_E_ARGUMENT)
            << c.w << "x" << c.h << " " << c.bits << " " << c.row;
    EXPECT_EQ(RasterCreate(4, 4, 24, 0, nullptr), RASTER_E_ARGUMENT);
}

class DirectDraw : public ::testing::Test {
protected:
    void SetUp() override {
        void* made = nullptr;
        ASSERT_EQ(DirectDrawCreateEx(nullptr, &made, IID_IDirectDraw7, nullptr), DD_OK);
        dd = static_cast<IDirectDraw7*>(made);
    }
    void TearDown() override {
        if (dd) dd->Release();
    }

    static DDSURFACEDESC2 Describe(DWORD width, DWORD height, DWORD bits) {
        DDSURFACEDESC2 d{};
        d.dwSize = sizeof d;
        d.dwFlags = DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH | DDSD_PIXELFORMAT;
        d.dwWidth = width;
        d.dwHeight = height;
        d.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_SYSTEMMEMORY;
        d.ddpfPixelFormat.dwSize = sizeof(DDPIXELFORMAT);
        d.ddpfPixelFormat.dwFlags = DDPF_RGB;
        d.ddpfPixelFormat.dwRGBBitCount = bits;
        d.ddpfPixelFormat.dwRBitMask = 0xFF0000;
        d.ddpfPixelFormat.dwGBitMask = 0xFF00;
        d.ddpfPixelFormat.dwBBitMask = 0xFF;
        return d;
    }

    IDirectDraw7* dd = nullptr;
};

TEST_F(DirectDraw, DeviceIsMadeOnlyAsAsked) {
    void* made = nullptr;
    GUID other{1, 2, 3, {}};
    int outer = 0;
    EXPECT_EQ(DirectDrawCreateEx(nullptr, &made, IID_IUnknown, nullptr), DDERR_INVALIDPARAMS);
    EXPECT_EQ(DirectDrawCreateEx(&other, &made, IID_IDirectDraw7, nullptr),
              DDERR_INVALIDDIRECTDRAWGUID);
    EXPECT_EQ(DirectDrawCreateEx(nullptr, &made, IID_IDirectDraw7,
                                 reinterpret_cast<IUnknown*>(&outer)),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(DirectDrawCreateEx(nullptr, nullptr, IID_IDirectDraw7, nullptr), DDERR_INVALIDPARAMS);
    EXPECT_EQ(made, nullptr);
}

TEST_F(DirectDraw, SurfacesNeedTheNormalLevelAndAKnownShape) {
    DDSURFACEDESC2 d = Describe(10, 6, 24);
    IDirectDrawSurface7* s = nullptr;
    EXPECT_EQ(dd->CreateSurface(&d, &s, nullptr), DDERR_NOCOOPERATIVELEVELSET);
    int window = 0;
    EXPECT_EQ(dd->SetCooperativeLevel(&window, DDSCL_NORMAL), DDERR_INVALIDPARAMS);
    ASSERT_EQ(dd->SetCooperativeLevel(nullptr, DDSCL_NORMAL), DD_OK);

    struct Case { const char* what; void (*spoil)(DDSURFACEDESC2&); HRESULT answer; } cases[] = {
        {"record size", [](DDSURFACEDESC2& x) { x.dwSize = 124 + 1; }, DDERR_INVALIDPARAMS},
        {"no height flag", [](DDSURFACEDESC2& x) { x.dwFlags &= ~DDSD_HEIGHT; }, DDERR_INVALIDPARAMS},
        {"height 0", [](DDSURFACEDESC2& x) { x.dwHeight = 0; }, DDERR_INVALIDPARAMS},
        {"video memory only", [](DDSURFACEDESC2& x) { x.ddsCaps.dwCaps = 0x4000; }, DDERR_INVALIDCAPS},
        {"no pixel format", [](DDSURFACEDESC2& x) { x.dwFlags = 7; }, DDERR_INVALIDPIXELFORMAT},
        {"16 bits", [](DDSURFACEDESC2& x) { x.ddpfPixelFormat.dwRGBBitCount = 16; },
         DDERR_INVALIDPIXELFORMAT},
        {"swapped masks", [](DDSURFACEDESC2& x) { x.ddpfPixelFormat.dwRBitMask = 0xFF; },
         DDERR_INVALIDPIXELFORMAT},
        {"too large", [](DDSURFACEDESC2& x) { x.dwWidth = x.dwHeight = 40000; }, DDERR_OUTOFMEMORY},
    };
    for (const Case& c : cases) {
        DDSURFACEDESC2 bad = Describe(10, 6, 24);
        c.spoil(bad);
        EXPECT_EQ(dd->CreateSurface(&bad, &s, nullptr), c.answer) << c.what;
    }
    EXPECT_EQ(s, nullptr);
}

TEST_F(DirectDraw, RowsAreWholeWordsAndOneLockAtATime) {
    ASSERT_EQ(dd->SetCooperativeLevel(nullptr, DDSCL_NORMAL), DD_OK);
    struct Case { DWORD width, bits; LONG pitch; } cases[] = {
        {10, 24, 32}, {8, 24, 24}, {5, 32, 20}, {4, 24, 12}};
    for (const Case& c : cases) {
        DDSURFACEDESC2 d = Describe(c.width, 3, c.bits);
        IDirectDrawSurface7* s = nullptr;
        ASSERT_EQ(dd->CreateSurface(&d, &s, nullptr), DD_OK);
        DDSURFACEDESC2 got{};
        got.dwSize = sizeof got;
        ASSERT_EQ(s->GetSurfaceDesc(&got), DD_OK);
        EXPECT_EQ(got.lPitch, c.pitch) << c.width << "x" << c.bits;
        EXPECT_EQ(got.dwWidth, c.width);
        EXPECT_EQ(got.dwHeight, 3u);
        EXPECT_EQ(got.ddpfPixelFormat.dwRGBBitCount, c.bits);
        EXPECT_EQ(got.ddsCaps.dwCaps & DDSCAPS_SYSTEMMEMORY, DDSCAPS_SYSTEMMEMORY);

        DDSURFACEDESC2 locked{};
        locked.dwSize = sizeof locked;
        ASSERT_EQ(s->Lock(nullptr, &locked, DDLOCK_WAIT, nullptr), DD_OK);
        auto* p = static_cast<uint8_t*>(locked.lpSurface);
        ASSERT_NE(p, nullptr);
        for (LONG i = 0; i < 3 * c.pitch; ++i) ASSERT_EQ(p[i], 0);
        EXPECT_EQ(s->Lock(nullptr, &locked, DDLOCK_WAIT, nullptr), DDERR_SURFACEBUSY);
        EXPECT_EQ(s->Unlock(nullptr), DD_OK);
        EXPECT_EQ(s->Unlock(nullptr), DDERR_NOTLOCKED);

        RECT inner{1, 2, 3, 3};
        ASSERT_EQ(s->Lock(&inner, &locked, DDLOCK_WAIT, nullptr), DD_OK);
        EXPECT_EQ(static_cast<uint8_t*>(locked.lpSurface) - p, 2 * c.pitch + LONG(c.bits / 8));
        EXPECT_EQ(s->Unlock(nullptr), DD_OK);
        RECT outside{0, 0, LONG(c.width) + 1, 1};
        EXPECT_EQ(s->Lock(&outside, &locked, DDLOCK_WAIT, nullptr), DDERR_INVALIDRECT);
        locked.dwSize = 124 - 1;
        EXPECT_EQ(s->Lock(nullptr, &locked, DDLOCK_WAIT, nullptr), DDERR_INVALIDPARAMS);
        EXPECT_EQ(s->Release(), 0u);
    }
}

TEST_F(DirectDraw, SurfaceKeepsItsDeviceAndAnswersItsIds) {
    ASSERT_EQ(dd->SetCooperativeLevel(nullptr, DDSCL_NORMAL), DD_OK);
    DDSURFACEDESC2 d = Describe(4, 4, 32);
    IDirectDrawSurface7* s = nullptr;
    ASSERT_EQ(dd->CreateSurface(&d, &s, nullptr), DD_OK);
    EXPECT_EQ(dd->Release(), 1u);  // the surface's reference keeps it
    dd = nullptr;
    void* same = nullptr;
    ASSERT_EQ(s->QueryInterface(IID_IUnknown, &same), S_OK);
    EXPECT_EQ(same, static_cast<void*>(s));
    EXPECT_EQ(s->QueryInterface(IID_IDirectDraw7, &same), E_NOINTERFACE);
    EXPECT_EQ(same, nullptr);
    EXPECT_EQ(s->Release(), 1u);
    EXPECT_EQ(s->Release(), 0u);  // and the device goes with it (LeakSanitizer sees)
}

}  // namespace
