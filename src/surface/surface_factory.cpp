// The rules of new surfaces: blank ones and copies of the caller's memory.
// Every surface gets its own buffer and a copy of the pixels.
#include "surface/surface_factory.h"

#include <cstring>
#include <memory>
#include <new>

#include "convert/fast_copy.h"
#include "platform/rect.h"

namespace tarn {

namespace {

// The smallest row a format needs at this width; a stride below it would make
// every later operation read past the buffer, which the library refuses.
int64_t MinimumRowBytes(int32_t format, uint32_t width) {
    switch (format) {
        case SURFACE_FORMAT_RGB24: return 3 * int64_t(width);
        case SURFACE_FORMAT_RGB32: return 4 * int64_t(width);
        case SURFACE_FORMAT_GRAY8: return int64_t(width);
        case SURFACE_FORMAT_YUV422: return 2 * int64_t(width);
        default: return 0;
    }
}

// Planar pictures are addressed with the width standing in for the stride.
bool PlanarStrideMatches(const SurfaceInfo& info) {
    return info.stride == static_cast<int32_t>(info.width);
}

// Luma bytes of a planar picture; a product beyond any 32-bit byte count
// stands as INT32_MAX + 1, so that the sums made of it cannot overflow and
// the size test refuses it.
int64_t PlanarLuma(const SurfaceInfo& info) {
    const uint64_t luma = uint64_t(info.width) * info.height;
    return luma > uint64_t(INT32_MAX) ? int64_t(INT32_MAX) + 1 : int64_t(luma);
}

// Sizes beyond what a 32-bit byte count holds are refused as bad arguments.
bool FitsByteCount(int64_t bytes) { return bytes <= INT32_MAX; }

}  // namespace

CTarnSurfaceBuffer* HandOver(CTarnSurfaceBuffer* surface, uint32_t ownership) {
    surface->SetOwnership(ownership);
    surface->AddRef();
    return surface;
}

VedResult MakeBlankSurface(const SurfaceInfo& described, int32_t* byteCount, CTarnSurfaceBuffer** result) {
    SurfaceInfo info = described;
    info.storage = kStorageInMemory;
    if (info.width < 4 || info.height < 4) return VED_E_INVALIDARG;
    const VedRect content = ContentRectOf(info);
    if (platform::IsRectEmpty(&content)) SetContentRect(info, WholePicture(info));
    std::unique_ptr<CTarnSurfaceBuffer> surface(new (std::nothrow) CTarnSurfaceBuffer(info));
    if (!surface) return VED_E_OUTOFMEMORY;

    const int64_t height = info.height;
    switch (info.format) {
        case SURFACE_FORMAT_RGB24:
        case SURFACE_FORMAT_RGB32:
        case SURFACE_FORMAT_GRAY8:
        case SURFACE_FORMAT_YUV422: {
            const int64_t size = int64_t(info.stride) * height;
            if (byteCount) *byteCount = static_cast<int32_t>(size);
            if (size <= 0 || !FitsByteCount(size) || info.stride < MinimumRowBytes(info.format, info.width))
                return VED_E_INVALIDARG;
            if (!surface->AllocatePixels(static_cast<int32_t>(size))) return VED_E_OUTOFMEMORY;
            if (info.format == SURFACE_FORMAT_YUV422) {
                // A byte fill with the pattern 0x10801080 keeps its low byte
                // and covers size / 4 bytes: the first quarter is 0x80 and the
                // rest is left as allocated (zero: the library never shows
                // what the heap held). Hosts see exactly this.
                std::memset(surface->pixels, 0x80, static_cast<size_t>(size / 4));
                std::memset(surface->pixels + size / 4, 0, static_cast<size_t>(size - size / 4));
            } else {
                std::memset(surface->pixels, 0, static_cast<size_t>(size));
            }
            break;
        }
        case SURFACE_FORMAT_YUV420: {
            const int64_t luma = PlanarLuma(info);
            const int64_t size = luma * 3 / 2;
            if (byteCount) *byteCount = FitsByteCount(size) ? static_cast<int32_t>(size) : 0;
            if (size <= 0 || !FitsByteCount(size) || !PlanarStrideMatches(info))
                return VED_E_INVALIDARG;
            if (!surface->AllocatePixels(static_cast<int32_t>(size))) return VED_E_OUTOFMEMORY;
            // (width / 2) x height / 2 per plane, the reading the fill and the
            // chroma swap use too: for an odd height it covers the half row
            // that the plane addresses put at the end of each plane.
            const size_t chroma = size_t(info.width / 2) * size_t(info.height) / 2;
            std::memset(surface->pixels, 0x10, size_t(luma));
            // With an odd side the planes' addresses leave gaps between and
            // behind them; those bytes are zero.
            if ((info.width | info.height) & 1) std::memset(surface->pixels + luma, 0, size_t(size - luma));
            std::memset(surface->pixels + luma, 0x80, chroma);
            std::memset(surface->pixels + luma * 5 / 4, 0x80, chroma);
            break;
        }
        default:
            return VED_E_NOTSUPPORTED;
    }
    *result = HandOver(surface.release(), 1);
    return VED_S_OK;
}

VedResult MakeSurfaceFromData(const SurfaceInfo& described, IPixelSource& source,
                              CTarnSurfaceBuffer** result) {
    SurfaceInfo info = described;
    info.storage = kStorageInMemory;
    if (info.width < 4 || info.height < 4) return VED_E_INVALIDARG;
    const bool swapped = info.format == SURFACE_FORMAT_YUV420_SWAPPED;
    if (swapped) info.format = SURFACE_FORMAT_YUV420;
    const int32_t callerStride = info.stride;
    const bool widthAligned = (info.width & 3) == 0;
    if (IsRgbFormat(info.format)) {
        if (!widthAligned) {
            info.width &= ~3u;
            info.stride = (info.bitsPerPixel / 8) * static_cast<int32_t>(info.width);
        }
        info.height &= ~1u;
    }
    SetContentRect(info, WholePicture(info));
    if (info.format == SURFACE_FORMAT_YUV420) info.topDown = 1;

    std::unique_ptr<CTarnSurfaceBuffer> surface(new (std::nothrow) CTarnSurfaceBuffer(info));
    if (!surface) return VED_E_OUTOFMEMORY;
    const uint8_t* data = source.GetData();
    if (!data) {
        // A source without data answers a bad argument; the surface made for
        // it is not freed here, a leak that hosts have always seen.
        surface.release();
        return VED_E_INVALIDARG;
    }

    const int64_t height = info.height;
    switch (info.format) {
        case SURFACE_FORMAT_RGB24:
        case SURFACE_FORMAT_RGB32:
        case SURFACE_FORMAT_YUV422: {
            const int64_t size = int64_t(info.stride) * height;
            const int64_t minRow = MinimumRowBytes(info.format, info.width);
            if (size <= 0 || !FitsByteCount(size) || info.stride < minRow ||
                (!widthAligned && callerStride < minRow))
                return VED_E_INVALIDARG;
            if (!surface->AllocatePixels(static_cast<int32_t>(size))) return VED_E_OUTOFMEMORY;
            if (widthAligned || info.format == SURFACE_FORMAT_YUV422) {
                FastCopy(surface->pixels, data, size_t(size));
            } else {
                for (int64_t y = 0; y < height; ++y)
                    FastCopy(surface->pixels + y * info.stride, data + y * callerStride,
                             size_t(info.stride));
            }
            break;
        }
        case SURFACE_FORMAT_YUV420: {
            const int64_t luma = PlanarLuma(info);
            const int64_t size = luma * 3 / 2;
            if (size <= 0 || !FitsByteCount(size) || !PlanarStrideMatches(info))
                return VED_E_INVALIDARG;
            if (!surface->AllocatePixels(static_cast<int32_t>(size))) return VED_E_OUTOFMEMORY;
            if (!swapped) {
                FastCopy(surface->pixels, data, size_t(size));
            } else {
                // The two chroma planes change places on the way in.
                FastCopy(surface->pixels, data, size_t(luma));
                FastCopy(surface->pixels + luma, data + luma + luma / 4, size_t(luma / 4));
                FastCopy(surface->pixels + luma + luma / 4, data + luma, size_t(luma / 4));
            }
            break;
        }
        default:  // GRAY8 included: masks are never taken from data
            return VED_E_NOTSUPPORTED;
    }
    *result = HandOver(surface.release(), 1);
    return VED_S_OK;
}

}  // namespace tarn
