// Export: the frame handed out as a new platform object that the caller then
// owns, a bitmap in global memory (kind 2) or a DirectDraw surface (kind 1).
// A planar picture leaves in the half-height shape that CreateFromSource
// reads back.
#include "platform/platform_objects.h"
#include "surface/tarn_surface_buffer.h"

namespace tarn {

namespace {

namespace plat = platform;
// The platform's constants are spelt unqualified: on Windows they are the
// system's macros.
using namespace platform;

enum ExportKind : int32_t { kExportDirectDraw = 1, kExportGlobalBitmap = 2 };

constexpr int64_t kHeaderBytes = sizeof(plat::BITMAPINFOHEADER);

// How CopyPixelsOut lays the picture into the new object.
struct RowLayout {
    int32_t stride;    // 0: nothing is copied
    uint32_t topDown;
};

// The most CopyPixelsOut writes at `stride`: whole rows of every plane.
int64_t BytesWritten(const SurfaceInfo& info, int32_t stride) {
    const int64_t rows = int64_t(stride) * info.height;
    switch (info.format) {
        case SURFACE_FORMAT_RGB24:
        case SURFACE_FORMAT_RGB32:
        case SURFACE_FORMAT_YUV422: return rows;
        case SURFACE_FORMAT_YUV420:
            return info.height < 2 ? rows : rows + 2 * int64_t(stride / 2) * (info.height / 2);
        default: return 0;
    }
}

// Bytes of a bitmap's pixels: 12-bit pictures are planar and packed tight,
// the rest have rows of whole 4-byte words.
int64_t DibImageBytes(int32_t width, int32_t height, int32_t bits) {
    if (bits == 12) return int64_t(width) * height * 3 / 2;
    return (int64_t(width) * bits + 31) / 32 * height * 4;
}

// A movable, zeroed block with the bitmap header filled in; null on failure.
plat::HGLOBAL MakeGlobalDib(int32_t width, int32_t height, int32_t bits) {
    const int64_t image = DibImageBytes(width, height, bits);
    if (image < 0 || image > INT32_MAX - kHeaderBytes) return nullptr;
    const plat::HGLOBAL block = plat::GlobalAlloc(GHND, size_t(image + kHeaderBytes));
    if (!block) return nullptr;
    auto* header = static_cast<plat::BITMAPINFOHEADER*>(plat::GlobalLock(block));
    if (header) {
        // biCompression stays 0 (uncompressed RGB) even for the YUV formats:
        // the reader knows the format from elsewhere.
        *header = {};
        header->biSize = sizeof *header;
        header->biWidth = width;
        header->biHeight = height;
        header->biPlanes = 1;
        header->biBitCount = static_cast<uint16_t>(bits);
        header->biSizeImage = static_cast<uint32_t>(image);
        plat::GlobalUnlock(block);
    }
    return block;
}

// Pixel formats of the surfaces Export asks for, by shape. Shape 0 sets
// none and leaves dwHeight 0, so its creation fails.
struct SurfaceShape {
    uint32_t heightDivisor;  // 0: no pixel format at all
    uint32_t bitCount;       // 0: the picture's own
    bool masks;
};
constexpr SurfaceShape kShapes[] = {
    {0, 0, false},
    {1, 0, true},    // an RGB picture
    {2, 24, true},   // a planar picture as 24-bit RGB of half the height
    {2, 32, false},  // 3 and 4: never asked for by Export
    {2, 32, false},
};

plat::HRESULT MakeDirectDrawSurface(plat::IDirectDrawSurface7** out, uint32_t width,
                                    uint32_t height, int32_t bits, int32_t shapeIndex,
                                    bool systemMemory) {
    void* made = nullptr;
    const plat::HRESULT created =
        plat::DirectDrawCreateEx(nullptr, &made, plat::IID_IDirectDraw7, nullptr);
    if (created != 0) return created;
    auto* dd = static_cast<plat::IDirectDraw7*>(made);
    dd->SetCooperativeLevel(nullptr, DDSCL_NORMAL);

    plat::DDSURFACEDESC2 desc{};
    desc.dwSize = sizeof desc;
    desc.dwFlags = DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH;
    desc.dwWidth = width;
    desc.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN | (systemMemory ? DDSCAPS_SYSTEMMEMORY : 0);
    const SurfaceShape& shape = kShapes[shapeIndex];
    if (shape.heightDivisor) {
        desc.dwFlags |= DDSD_PIXELFORMAT;
        desc.dwHeight = height / shape.heightDivisor;
        desc.ddpfPixelFormat.dwSize = sizeof desc.ddpfPixelFormat;
        desc.ddpfPixelFormat.dwFlags = DDPF_RGB;
        desc.ddpfPixelFormat.dwRGBBitCount = shape.bitCount ? shape.bitCount : uint32_t(bits);
        if (shape.masks) {
            desc.ddpfPixelFormat.dwRBitMask = 0xFF0000;
            desc.ddpfPixelFormat.dwGBitMask = 0xFF00;
            desc.ddpfPixelFormat.dwBBitMask = 0xFF;
        }
    }
    const plat::HRESULT answer = dd->CreateSurface(&desc, out, nullptr);
    dd->Release();  // the surface keeps what it needs
    return answer;
}

}  // namespace

VedResult CTarnSurfaceBuffer::Export(int32_t kind, void** handle, uint32_t* flag) {
    const VedResult drained = Drain(nullptr);
    if (drained < 0) return drained;
    if (kind != kExportGlobalBitmap && kind != kExportDirectDraw) return VED_E_NOTSUPPORTED;
    if (!handle || !flag) return VED_E_INVALIDARG;
    if (!pixels) return VED_E_FAIL;  // nothing to copy out
    const int32_t width = static_cast<int32_t>(info.width);

    if (kind == kExportGlobalBitmap) {
        RowLayout layout{0, 0};
        switch (info.format) {
            case SURFACE_FORMAT_RGB24:
            case SURFACE_FORMAT_RGB32:
                layout = {static_cast<int32_t>((int64_t(info.bitsPerPixel) * width + 31) / 32 * 4), 0};
                break;
            case SURFACE_FORMAT_YUV420: layout = {width, 1}; break;
            case SURFACE_FORMAT_YUV422: layout = {2 * width, 0}; break;
            default: break;  // GRAY8 among them: an all-zero picture
        }
        // A descriptor whose depth does not match its format would make a
        // block smaller than the copy; refused before anything is made.
        const int64_t image = DibImageBytes(width, int32_t(info.height), info.bitsPerPixel);
        if (BytesWritten(info, layout.stride) > image) return VED_E_FAIL;
        const plat::HGLOBAL block = MakeGlobalDib(width, int32_t(info.height), info.bitsPerPixel);
        if (!block) return VED_E_FAIL;
        // Lasting on purpose: later copies of a packed picture are never
        // turned over.
        if (info.format == SURFACE_FORMAT_YUV422) info.topDown = 0;
        auto* start = static_cast<uint8_t*>(plat::GlobalLock(block));
        if (!start) return VED_E_FAIL;  // the block is not freed here
        CopyPixelsOut(start + kHeaderBytes, layout.stride, layout.topDown);
        plat::GlobalUnlock(block);
        *handle = block;
        *flag = 1;
        return drained;
    }

    int32_t shape = 0, copyStride = 0;
    if (IsRgbFormat(info.format)) {
        shape = 1;
    } else if (info.format == SURFACE_FORMAT_YUV420) {
        shape = 2;
        copyStride = width;
    }
    plat::IDirectDrawSurface7* surface = nullptr;
    if (MakeDirectDrawSurface(&surface, info.width, info.height, info.bitsPerPixel, shape, true) != 0)
        return VED_E_FAIL;
    plat::DDSURFACEDESC2 desc{};
    desc.dwSize = sizeof desc;
    // The answer is not looked at; the guard below catches a surface that
    // gave no memory or too little for the picture.
    surface->Lock(nullptr, &desc, DDLOCK_WAIT, nullptr);
    const int32_t stride = copyStride ? copyStride : desc.lPitch;
    if (!desc.lpSurface || BytesWritten(info, stride) > int64_t(desc.lPitch) * desc.dwHeight) {
        if (desc.lpSurface) surface->Unlock(nullptr);
        surface->Release();
        return VED_E_FAIL;
    }
    CopyPixelsOut(static_cast<uint8_t*>(desc.lpSurface), stride, 1);
    surface->Unlock(nullptr);
    *handle = surface;
    *flag = 1;
    return VED_S_OK;
}

}  // namespace tarn
