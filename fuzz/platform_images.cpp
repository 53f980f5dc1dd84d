// Drives CreateFromSource and Export with bytes from the fuzzer: platform
// objects of fuzzed shapes and contents (bitmap blocks whose headers lie about
// their size, containers of any depth and row length, DirectDraw surfaces,
// stale handles), fuzzed kinds, formats and flags, then exports of what came
// in, of blanks whose depth does not match their format, and reading the
// exports back. Every call must answer a result code and stay inside the
// objects it was given; a bitmap or DirectDraw round trip of an RGB picture
// must give the same bytes back.
#include <tarn/Platform.h>

#include "fuzz_support.h"

namespace {

namespace plat = tarn::platform;
using tarn::fuzz::FuzzInput;

// A platform object of the chosen kind, and what frees it.
struct Source {
    void* handle = nullptr;
    int32_t kind = 0;
    void Free() {
        if (!handle) return;
        if (kind == 0) plat::RasterFree(static_cast<plat::HRASTER>(handle));
        else if (kind == 1) static_cast<plat::IDirectDrawSurface7*>(handle)->Release();
        else plat::GlobalFree(handle);
    }
};

// A DirectDraw surface as the library makes them: a blank picture of the
// chosen size and format, exported. Planar ones come as 24-bit RGB of half
// the height.
plat::IDirectDrawSurface7* MakeDirectDraw(ISurfaceBuilder* builder, FuzzInput& in) {
    static constexpr SurfaceFormat kShaped[] = {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_RGB32, SURFACE_FORMAT_YUV420};
    const SurfaceFormat format = kShaped[in.Take(3)];
    SurfaceInfo info{};
    info.size = sizeof info;
    info.width = 4 + in.Take(44);
    info.height = 4 + in.Take(44);
    info.format = format;
    info.bitsPerPixel = format == SURFACE_FORMAT_RGB24 ? 24 : format == SURFACE_FORMAT_RGB32 ? 32 : 12;
    info.stride = format == SURFACE_FORMAT_YUV420 ? int32_t(info.width) : int32_t(info.width) * info.bitsPerPixel / 8;
    tarn::Ref<ITarnSurface> blank;
    int32_t bytes = 0;
    if (builder->CreateBlank(&info, &bytes, blank.put()) < 0) return nullptr;
    void* made = nullptr;
    uint32_t owned = 0;
    if (blank->Export(1, &made, &owned) < 0) return nullptr;
    return static_cast<plat::IDirectDrawSurface7*>(made);
}

Source MakeSource(ISurfaceBuilder* builder, FuzzInput& in) {
    Source src;
    src.kind = int32_t(in.Take(3));
    const bool stale = in.Take(16) == 0;
    if (src.kind == 0) {
        plat::HRASTER r = nullptr;
        if (plat::RasterCreate(1 + int32_t(in.Take(48)), 1 + int32_t(in.Take(48)), 1 + int32_t(in.Take(32)),
                               int32_t(in.Take(4)) ? 0 : int32_t(in.Take(260)), &r) == plat::RASTER_OK) {
            void* data = nullptr;
            plat::RASTER_INFO info{};
            plat::RasterGetInfo(r, &info);
            if (plat::RasterLockData(r, &data) == plat::RASTER_OK) {
                in.SomePixels(static_cast<uint8_t*>(data), size_t(info.bytesPerRow) * size_t(info.height));
                plat::RasterUnlockData(r);
            }
        }
        src.handle = r;
    } else if (src.kind == 1) {
        plat::IDirectDrawSurface7* s = MakeDirectDraw(builder, in);
        if (s) {
            plat::DDSURFACEDESC2 d{};
            d.dwSize = sizeof d;
            if (s->Lock(nullptr, &d, plat::DDLOCK_WAIT, nullptr) == plat::DD_OK) {
                in.SomePixels(static_cast<uint8_t*>(d.lpSurface), size_t(d.lPitch) * d.dwHeight);
                s->Unlock(nullptr);
            }
        }
        src.handle = s;
    } else {
        // A block of any size, whose header is mostly fuzzed too.
        const size_t bytes = in.Take(6000);
        plat::HGLOBAL block = plat::GlobalAlloc(plat::GHND, bytes);
        if (auto* p = static_cast<uint8_t*>(plat::GlobalLock(block))) {
            in.SomePixels(p, bytes);
            if (bytes >= 40 && in.Take(2)) {
                plat::BITMAPINFOHEADER h{};
                h.biSize = 40;
                h.biWidth = int32_t(in.Take(70)) - 3;
                h.biHeight = int32_t(in.Take(70)) - 3;
                static constexpr uint16_t kBits[] = {24, 32, 12, 16, 8, 1};
                h.biBitCount = kBits[in.Take(6)];
                std::memcpy(p, &h, sizeof h);
            }
            plat::GlobalUnlock(block);
        }
        src.handle = block;
    }
    if (stale && src.kind != 1) {
        src.Free();  // a handle that was good once
    }
    return src;
}

// An exported RGB bitmap or surface read back must hold the same picture.
void CheckRoundTrip(ISurfaceBuilder* builder, ITarnSurface* surface, int32_t kind, void* handle) {
    SurfaceInfo info{};
    surface->GetInfo(&info);
    if (info.format != SURFACE_FORMAT_RGB24 && info.format != SURFACE_FORMAT_RGB32) return;
    tarn::Ref<ITarnSurface> back;
    if (builder->CreateFromSource(handle, kind, info.format, 4, back.put()) < 0 || !back) return;
    SurfaceInfo got{};
    back->GetInfo(&got);
    if (got.width != info.width || got.height != info.height) return;  // cut by the reader's rounding
    const int32_t row = int32_t(info.width) * (info.bitsPerPixel / 8);
    std::vector<uint8_t> a(size_t(row) * info.height * 3 / 2 + 64), b(a.size());
    surface->CopyOut(a.data(), row, 1);
    back->CopyOut(b.data(), row, 1);
    if (a != b) std::abort();
}

void ExportAll(ISurfaceBuilder* builder, ITarnSurface* surface, FuzzInput& in) {
    const int32_t kind = int32_t(in.Take(5)) - 1;
    void* handle = nullptr;
    uint32_t owned = 0;
    if (surface->Export(kind, &handle, &owned) < 0 || owned != 1) return;
    CheckRoundTrip(builder, surface, kind, handle);
    if (kind == 1) static_cast<plat::IDirectDrawSurface7*>(handle)->Release();
    else plat::GlobalFree(handle);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    tarn::Ref<ISurfaceBuilder> builder;
    if (CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, builder.put_void()) < 0) return 0;

    Source src = MakeSource(builder.get(), in);
    const int32_t kind = in.Take(8) ? src.kind : int32_t(in.Take(6)) - 2;
    // Handles are checked whatever they are; an interface pointer must point
    // at a surface, as on the system, so only a null one stands in for a
    // wrong object there.
    void* handle = kind == 1 && src.kind != 1 ? nullptr : src.handle;
    const int32_t format = int32_t(in.Take(8));
    const uint32_t flags = in.Take(4) ? 4 | in.Take(4) : in.Take(8);
    tarn::Ref<ITarnSurface> surface;
    builder->CreateFromSource(handle, kind, format, flags, surface.put());
    src.Free();
    if (surface) {
        if (in.Take(3) == 0) surface->SetFormat(SurfaceFormat(1 + in.Take(5)));
        ExportAll(builder.get(), surface.get(), in);
    }

    // A blank whose depth need not match its format.
    SurfaceInfo info{};
    info.size = sizeof info;
    info.width = 4 + in.Take(40);
    info.height = 4 + in.Take(40);
    info.format = SurfaceFormat(1 + in.Take(5));
    info.bitsPerPixel = int32_t(in.Take(40)) - 4;
    info.stride = info.format == SURFACE_FORMAT_YUV420 ? int32_t(info.width) : int32_t(info.width) * 4;
    info.topDown = in.Take(2);
    tarn::Ref<ITarnSurface> blank;
    int32_t bytes = 0;
    if (builder->CreateBlank(&info, &bytes, blank.put()) >= 0 && blank) ExportAll(builder.get(), blank.get(), in);
    return 0;
}
