// Platform objects made and read the way a host does, through the public
// headers only: bitmaps in global memory, DirectDraw surfaces, containers.
#pragma once

#include <gtest/gtest.h>
#include <tarn/Platform.h>
#include <tarn/TarnSurface.h>

#include <cstring>
#include <vector>

namespace images {

namespace plat = tarn::platform;
// The platform's constants are spelt unqualified: on Windows they are the
// system's macros.
using namespace tarn::platform;

// Bytes 1 to 251 repeating (a prime, so rows never line up), never 0, so
// bytes left zero stand out.
inline std::vector<uint8_t> Ramp(size_t n, uint32_t start = 0) {
    std::vector<uint8_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = uint8_t(1 + (i + start) % 251);
    return v;
}

// A bitmap block: the header as given, then `pixels`.
inline plat::HGLOBAL MakeDib(int32_t width, int32_t height, uint16_t bits,
                             const std::vector<uint8_t>& pixels) {
    const plat::HGLOBAL block = plat::GlobalAlloc(GHND, 40 + pixels.size());
    auto* p = static_cast<uint8_t*>(plat::GlobalLock(block));
    plat::BITMAPINFOHEADER h{};
    h.biSize = 40;
    h.biWidth = width;
    h.biHeight = height;
    h.biPlanes = 1;
    h.biBitCount = bits;
    std::memcpy(p, &h, sizeof h);
    if (!pixels.empty()) std::memcpy(p + 40, pixels.data(), pixels.size());
    plat::GlobalUnlock(block);
    return block;
}

// Header and pixels of a bitmap block, read under a lock.
struct Dib {
    plat::BITMAPINFOHEADER header{};
    std::vector<uint8_t> pixels;
};
inline Dib ReadDib(plat::HGLOBAL block) {
    Dib dib;
    const size_t size = plat::GlobalSize(block);
    const auto* p = static_cast<const uint8_t*>(plat::GlobalLock(block));
    EXPECT_NE(p, nullptr);
    EXPECT_GE(size, 40u);
    if (!p || size < 40) return dib;
    std::memcpy(&dib.header, p, 40);
    dib.pixels.assign(p + 40, p + size);
    plat::GlobalUnlock(block);
    return dib;
}

// An RGB system-memory surface of the usual masks; null on failure.
inline plat::IDirectDrawSurface7* MakeDdSurface(uint32_t width, uint32_t height, uint32_t bits) {
    void* made = nullptr;
    if (plat::DirectDrawCreateEx(nullptr, &made, plat::IID_IDirectDraw7, nullptr) != DD_OK)
        return nullptr;
    auto* dd = static_cast<plat::IDirectDraw7*>(made);
    dd->SetCooperativeLevel(nullptr, DDSCL_NORMAL);
    plat::DDSURFACEDESC2 d{};
    d.dwSize = sizeof d;
    d.dwFlags = DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH | DDSD_PIXELFORMAT;
    d.dwWidth = width;
    d.dwHeight = height;
    d.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_SYSTEMMEMORY;
    d.ddpfPixelFormat.dwSize = sizeof d.ddpfPixelFormat;
    d.ddpfPixelFormat.dwFlags = DDPF_RGB;
    d.ddpfPixelFormat.dwRGBBitCount = bits;
    d.ddpfPixelFormat.dwRBitMask = 0xFF0000;
    d.ddpfPixelFormat.dwGBitMask = 0xFF00;
    d.ddpfPixelFormat.dwBBitMask = 0xFF;
    plat::IDirectDrawSurface7* surface = nullptr;
    dd->CreateSurface(&d, &surface, nullptr);
    dd->Release();
    return surface;
}

// The surface's record and its pixels (lPitch x dwHeight bytes), or writes
// `pixels` into it when given.
struct DdPicture {
    plat::DDSURFACEDESC2 desc{};
    std::vector<uint8_t> pixels;
};
inline DdPicture LockDd(plat::IDirectDrawSurface7* s, const std::vector<uint8_t>* write = nullptr) {
    DdPicture out;
    out.desc.dwSize = sizeof out.desc;
    EXPECT_EQ(s->Lock(nullptr, &out.desc, DDLOCK_WAIT, nullptr), DD_OK);
    auto* p = static_cast<uint8_t*>(out.desc.lpSurface);
    const size_t size = size_t(out.desc.lPitch) * out.desc.dwHeight;
    if (p && write) std::memcpy(p, write->data(), write->size() < size ? write->size() : size);
    if (p) out.pixels.assign(p, p + size);
    EXPECT_EQ(s->Unlock(nullptr), DD_OK);
    return out;
}

// A container filled with `pixels` (bytesPerRow x height of them).
inline plat::HRASTER MakeContainer(int32_t width, int32_t height, int32_t bits, int32_t bytesPerRow,
                                   const std::vector<uint8_t>& pixels) {
    plat::HRASTER raster = nullptr;
    EXPECT_EQ(plat::RasterCreate(width, height, bits, bytesPerRow, &raster), plat::RASTER_OK);
    void* data = nullptr;
    EXPECT_EQ(plat::RasterLockData(raster, &data), plat::RASTER_OK);
    std::memcpy(data, pixels.data(), pixels.size());
    EXPECT_EQ(plat::RasterUnlockData(raster), plat::RASTER_OK);
    return raster;
}

inline tarn::Ref<ISurfaceBuilder> Builder() {
    tarn::Ref<ISurfaceBuilder> builder;
    EXPECT_EQ(CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, builder.put_void()),
              VED_S_OK);
    return builder;
}

inline SurfaceInfo InfoOf(ITarnSurface* s) {
    SurfaceInfo info{};
    EXPECT_EQ(s->GetInfo(&info), VED_S_OK);
    return info;
}

// The surface's buffer as bytes: `count` of them from the start.
inline std::vector<uint8_t> BytesOf(ITarnSurface* s, size_t count) {
    uint8_t* p = nullptr;
    EXPECT_EQ(s->GetPixels(&p), VED_S_OK);
    return p ? std::vector<uint8_t>(p, p + count) : std::vector<uint8_t>{};
}

}  // namespace images
