// CSurfaceBuilder::CreateFromSource: a surface copied from a platform object
// the host holds: an image container (kind 0), a DirectDraw surface (kind 1)
// or a bitmap in global memory (kind 2).
//
// The order of the refusals is part of the behaviour hosts see: the source,
// then its size, then the format and depth, then the flags, then memory. So a
// wrong format and wrong flags together answer "not supported". The three
// readers also differ on purpose in how they round sizes and order rows.
#include <cstring>
#include <memory>
#include <new>

#include "convert/fast_copy.h"
#include "object/surface_builder.h"
#include "platform/platform_objects.h"
#include "surface/surface_factory.h"

namespace tarn {

namespace {

namespace plat = platform;
// The platform's constants are spelt unqualified: on Windows they are the
// system's macros.
using namespace platform;

// The flag that asks for a copy; the builder never wraps the host's memory.
constexpr uint32_t kCopyRequested = 4;

enum SourceKind : int32_t { kContainer = 0, kDirectDraw = 1, kGlobalBitmap = 2 };

using SurfacePtr = std::unique_ptr<CTarnSurfaceBuffer>;

// Formats 1 and 2 both mean "RGB": the source's depth picks which.
bool WantsRgb(int32_t format) {
    return format == SURFACE_FORMAT_RGB24 || format == SURFACE_FORMAT_RGB32;
}

VedResult SetRgbFormatFromDepth(SurfaceInfo& info) {
    if (info.bitsPerPixel == 24) info.format = SURFACE_FORMAT_RGB24;
    else if (info.bitsPerPixel == 32) info.format = SURFACE_FORMAT_RGB32;
    else return VED_E_NOTSUPPORTED;
    return VED_S_OK;
}

// The descriptor every source starts from: the whole frame as content.
SurfaceInfo Describe(uint32_t width, uint32_t height) {
    SurfaceInfo info{};
    info.size = sizeof info;
    info.width = width;
    info.height = height;
    info.storage = kStorageInMemory;
    info.flattenInPlace = 1;
    SetContentRect(info, WholePicture(info));
    return info;
}

// Sizes a source describes must be ones the library can hold and the source
// can give: a row that holds its pixels, byte counts a 32-bit count reaches.
// Sources made by the system always pass; these tests keep a lying record
// from sending a copy past either buffer.
bool Holds(int64_t available, int64_t needed) {
    return needed > 0 && needed <= INT32_MAX && needed <= available;
}

// Bytes of a buffer of `rows` rows of `stride`, times 3 / 2 for a planar one,
// or -1 when a factor is out of range or the rows alone pass what a 32-bit
// count holds (tested before any product could overflow).
int64_t RowsBytes(int64_t stride, int64_t rows, bool planar) {
    if (stride <= 0 || rows <= 0 || stride > INT32_MAX || rows > INT32_MAX) return -1;
    const int64_t all = stride * rows;
    if (all > INT32_MAX) return -1;
    return planar ? all * 3 / 2 : all;
}

// Flags, then the object itself.
VedResult MakeSurface(const SurfaceInfo& info, uint32_t flags, SurfacePtr& surface) {
    if (!(flags & kCopyRequested)) return VED_E_INVALIDARG;
    surface.reset(new (std::nothrow) CTarnSurfaceBuffer(info));
    return surface ? VED_S_OK : VED_E_OUTOFMEMORY;
}

void CopyRows(uint8_t* dst, int64_t dstStride, const uint8_t* src, int64_t srcStride,
              int64_t rowBytes, int64_t rows) {
    for (int64_t y = 0; y < rows; ++y)
        FastCopy(dst + y * dstStride, src + y * srcStride, static_cast<size_t>(rowBytes));
}

VedResult FromDirectDraw(void* source, int32_t format, uint32_t flags, ITarnSurface** result) {
    auto* surfaceIn = static_cast<plat::IDirectDrawSurface7*>(source);
    if (!surfaceIn) return VED_E_INVALIDARG;
    plat::DDSURFACEDESC2 desc{};
    desc.dwSize = sizeof desc;
    const plat::HRESULT described = surfaceIn->GetSurfaceDesc(&desc);
    if (described != 0) return described;
    if (desc.dwWidth < 4 || desc.dwHeight < 4) return VED_E_INVALIDARG;

    // Planar pictures travel in RGB surfaces of half their height.
    const bool rgb = WantsRgb(format);
    if (!rgb && format != SURFACE_FORMAT_YUV420) return VED_E_NOTSUPPORTED;
    SurfaceInfo info = Describe(desc.dwWidth, rgb ? desc.dwHeight : 2 * desc.dwHeight);
    info.topDown = 1;
    int64_t bytes;
    if (rgb) {
        info.bitsPerPixel = static_cast<int32_t>(desc.ddpfPixelFormat.dwRGBBitCount);
        info.stride = desc.lPitch;
        if (const VedResult r = SetRgbFormatFromDepth(info); r < 0) return r;
        bytes = RowsBytes(info.stride, info.height, false);
        if (info.stride < int64_t(info.width) * (info.bitsPerPixel / 8) || !Holds(bytes, bytes))
            return VED_E_INVALIDARG;
    } else {
        info.format = SURFACE_FORMAT_YUV420;
        info.bitsPerPixel = 12;
        info.stride = static_cast<int32_t>(info.width);
        bytes = RowsBytes(desc.dwWidth, 2 * int64_t(desc.dwHeight), true);
        if (!Holds(int64_t(desc.lPitch) * desc.dwHeight, bytes)) return VED_E_INVALIDARG;
    }

    SurfacePtr surface;
    if (const VedResult r = MakeSurface(info, flags, surface); r < 0) return r;
    const plat::HRESULT locked = surfaceIn->Lock(nullptr, &desc, DDLOCK_WAIT, nullptr);
    if (locked < 0) return locked;
    if (!desc.lpSurface) {
        surfaceIn->Unlock(nullptr);
        return VED_E_FAIL;
    }
    if (!surface->AllocatePixels(static_cast<int32_t>(bytes))) {
        surfaceIn->Unlock(nullptr);
        return VED_E_OUTOFMEMORY;
    }
    const auto* from = static_cast<const uint8_t*>(desc.lpSurface);
    if (rgb) CopyRows(surface->pixels, info.stride, from, info.stride, info.stride, info.height);
    else FastCopy(surface->pixels, from, static_cast<size_t>(bytes));
    surfaceIn->Unlock(nullptr);
    *result = HandOver(surface.release(), flags);
    return VED_S_OK;
}

VedResult FromGlobalBitmap(void* source, int32_t format, uint32_t flags, ITarnSurface** result) {
    const plat::HGLOBAL block = source;
    if (!block) return VED_E_INVALIDARG;
    const auto* header = static_cast<const plat::BITMAPINFOHEADER*>(plat::GlobalLock(block));
    if (!header) return VED_E_INVALIDARG;
    const int64_t blockBytes = int64_t(plat::GlobalSize(block)) - int64_t(sizeof *header);
    if (blockBytes < 0) {
        plat::GlobalUnlock(block);
        return VED_E_INVALIDARG;
    }
    const int32_t width = header->biWidth, height = header->biHeight;
    const int32_t bits = header->biBitCount;
    plat::GlobalUnlock(block);
    // A top-down bitmap (negative height) is refused with the rest.
    if (width < 4 || height < 4) return VED_E_INVALIDARG;

    SurfaceInfo info = Describe(uint32_t(width), uint32_t(height));
    info.bitsPerPixel = bits;
    int64_t sourceRow = 0, bytes = 0, reach = 0;
    if (WantsRgb(format)) {
        if (const VedResult r = SetRgbFormatFromDepth(info); r < 0) return r;
        sourceRow = (int64_t(bits) * width + 31) / 32 * 4;
        int64_t stride = sourceRow;
        info.topDown = 0;
        // The picture is cut to whole groups of four columns and an even
        // number of rows; the content rectangle keeps the bitmap's size.
        if (width % 4) {
            info.width &= ~3u;
            stride = int64_t(bits / 8) * info.width;
        }
        info.height &= ~1u;
        info.stride = static_cast<int32_t>(stride);  // refused below if it does not fit
        bytes = RowsBytes(stride, info.height, false);
        reach = sourceRow > INT32_MAX ? -1 : sourceRow * (info.height - 1) + stride;
    } else if (format == SURFACE_FORMAT_YUV420 || format == SURFACE_FORMAT_YUV422) {
        const bool planar = format == SURFACE_FORMAT_YUV420;
        info.format = static_cast<SurfaceFormat>(format);
        const int64_t stride = planar ? int64_t(width) : 2 * int64_t(width);
        info.stride = static_cast<int32_t>(stride);  // refused below if it does not fit
        info.topDown = planar ? 1 : 0;
        bytes = RowsBytes(stride, height, planar);
        reach = bytes;
    } else {
        return VED_E_NOTSUPPORTED;
    }
    if (!Holds(blockBytes, reach) || !Holds(bytes, bytes)) return VED_E_INVALIDARG;

    SurfacePtr surface;
    if (const VedResult r = MakeSurface(info, flags, surface); r < 0) return r;
    // The pixels follow the 40-byte header: biSize is not read and no palette
    // is skipped, as the bitmaps the editor exchanges have none.
    auto* start = static_cast<const uint8_t*>(plat::GlobalLock(block));
    if (!start || !surface->AllocatePixels(static_cast<int32_t>(bytes))) {
        plat::GlobalUnlock(block);
        return VED_E_OUTOFMEMORY;
    }
    const uint8_t* from = start + sizeof(plat::BITMAPINFOHEADER);
    if (sourceRow) CopyRows(surface->pixels, info.stride, from, sourceRow, info.stride, info.height);
    else FastCopy(surface->pixels, from, static_cast<size_t>(bytes));
    plat::GlobalUnlock(block);
    *result = HandOver(surface.release(), flags);
    return VED_S_OK;
}

VedResult FromContainer(void* source, int32_t format, uint32_t flags, ITarnSurface** result) {
    const auto raster = static_cast<plat::HRASTER>(source);
    if (!raster) return VED_E_INVALIDARG;
    plat::RASTER_INFO record{};
    if (plat::RasterGetInfo(raster, &record) != 0) return VED_E_FAIL;
    if (record.width < 4 || record.height < 4) return VED_E_INVALIDARG;

    const bool rgb = WantsRgb(format);
    if (!rgb && format != SURFACE_FORMAT_YUV420) return VED_E_NOTSUPPORTED;
    // A planar picture travels in a container of half its height.
    SurfaceInfo info = Describe(uint32_t(record.width),
                                uint32_t(rgb ? record.height : 2 * int64_t(record.height)));
    const int64_t available = int64_t(record.bytesPerRow) * record.height;
    int64_t bytes;
    if (rgb) {
        info.bitsPerPixel = record.bitsPerPixel;
        info.stride = record.bytesPerRow;
        info.topDown = 0;
        if (const VedResult r = SetRgbFormatFromDepth(info); r < 0) return r;
        // Unlike the other sources, the width is rounded up; the columns
        // added stay black. The content rectangle keeps the record's size.
        if (record.width % 4) {
            info.width = (info.width + 3) & ~3u;
            const int64_t stride = int64_t(info.bitsPerPixel / 8) * info.width;
            info.stride = static_cast<int32_t>(stride);
            bytes = RowsBytes(stride, info.height, false);
        } else {
            bytes = RowsBytes(info.stride, info.height, false);
        }
        if (record.bytesPerRow < 1 || !Holds(bytes, bytes)) return VED_E_INVALIDARG;
    } else {
        info.format = SURFACE_FORMAT_YUV420;
        info.bitsPerPixel = 12;
        info.stride = record.width;
        info.topDown = 1;
        bytes = RowsBytes(record.width, 2 * int64_t(record.height), true);
        if (!Holds(available, bytes)) return VED_E_INVALIDARG;
    }

    SurfacePtr surface;
    if (const VedResult r = MakeSurface(info, flags, surface); r < 0) return r;
    void* data = nullptr;
    if (plat::RasterLockData(raster, &data) != 0 || !data) return VED_E_FAIL;
    // Out of memory here leaves the container locked: hosts have always
    // seen this, and unlock it themselves.
    if (!surface->AllocatePixels(static_cast<int32_t>(bytes))) return VED_E_OUTOFMEMORY;
    const auto* from = static_cast<const uint8_t*>(data);
    if (rgb) {
        // The container's rows run top first; the surface's bottom first.
        std::memset(surface->pixels, 0, size_t(bytes));
        const int64_t row = record.bytesPerRow < info.stride ? record.bytesPerRow : info.stride;
        const uint8_t* last = from + int64_t(record.bytesPerRow) * (record.height - 1);
        CopyRows(surface->pixels, info.stride, last, -int64_t(record.bytesPerRow), row,
                 record.height);
    } else {
        FastCopy(surface->pixels, from, static_cast<size_t>(bytes));
    }
    plat::RasterUnlockData(raster);
    *result = HandOver(surface.release(), flags);
    return VED_S_OK;
}

}  // namespace

VedResult CSurfaceBuilder::CreateFromSource(void* source, int32_t kind, int32_t format,
                                            uint32_t flags, ITarnSurface** result) {
    using Reader = VedResult (*)(void*, int32_t, uint32_t, ITarnSurface**);
    static constexpr Reader kReaders[] = {FromContainer, FromDirectDraw, FromGlobalBitmap};
    if (kind < kContainer || kind > kGlobalBitmap) return VED_E_NOTSUPPORTED;
    if (!result) return VED_E_INVALIDARG;
    return kReaders[kind](source, format, flags, result);
}

}  // namespace tarn
