// Surfaces from and to the tool's memory. RGB pictures reach the library as
// blue, green, red (and alpha) bytes, the tool's images are red first.
#include "library.h"

#include "overlay_layout.h"
#include "tool_error.h"

#include <algorithm>
#include <cstdio>

namespace tarnsurf {
namespace {

// CreateFromData reads through this during the call only.
class BorrowedPixels : public IPixelSource {
public:
    explicit BorrowedPixels(const uint8_t* data) : data_(const_cast<uint8_t*>(data)) {}
    uint32_t TARN_CALL AddRef() override { return 1; }
    uint32_t TARN_CALL Release() override { return 1; }
    VedResult TARN_CALL QueryInterface(const VedId&, void**) override { return VED_E_NOTSUPPORTED; }
    uint8_t* TARN_CALL GetData() override { return data_; }

private:
    uint8_t* data_;
};

struct ResultText {
    VedResult code;
    const char* name;
};

// `count` pixels `inStep` and `outStep` bytes apart, first and third bytes
// exchanged: the tool's images are red first, the library's RGB blue first.
void CopySwappingRedBlue(const uint8_t* in, int inStep, uint8_t* out, int outStep, int count) {
    for (int x = 0; x < count; ++x, in += inStep, out += outStep) {
        out[0] = in[2];
        out[1] = in[1];
        out[2] = in[0];
    }
}

constexpr ResultText kResults[] = {
    {VED_E_FAIL, "failed"},
    {VED_E_NOTSUPPORTED, "not supported by this build of the library"},
    {VED_E_INVALIDARG, "invalid argument"},
    {VED_E_BADSTATE, "bad state"},
    {VED_E_OUTOFMEMORY, "out of memory"},
    {VED_E_KERNELFAILED, "kernel failed"},
};

}  // namespace

std::string ResultName(VedResult result) {
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08X", uint32_t(result));
    for (const ResultText& r : kResults)
        if (r.code == result) return std::string(r.name) + " (" + hex + ")";
    return hex;
}

void Check(VedResult result, const std::string& call) {
    if (result < 0) throw ToolError("library: " + call + ": " + ResultName(result));
}

Library::Library() {
    Check(CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, builder_.put_void()), "CreateObject");
}

SurfaceRef Library::FromData(const SurfaceInfo& info, const uint8_t* data) const {
    BorrowedPixels source(data);
    SurfaceRef surface;
    Check(builder_->CreateFromData(&info, &source, surface.put()), "CreateFromData");
    return surface;
}

SurfaceRef Library::Blank(const SurfaceInfo& info) const {
    SurfaceRef surface;
    int32_t bytes = 0;
    Check(builder_->CreateBlank(&info, &bytes, surface.put()), "CreateBlank");
    return surface;
}

SurfaceInfo DescribeSurface(SurfaceFormat format, int width, int height, bool topDown) {
    static constexpr int32_t kBits[] = {0, 24, 32, 8, 12, 16, 12};
    SurfaceInfo info{};
    info.size = sizeof info;
    info.width = uint32_t(width);
    info.height = uint32_t(height);
    info.format = format;
    info.bitsPerPixel = kBits[format];
    // Planar strides equal the width; the others are whole bytes per row as
    // the tool lays them out, without padding (widths are multiples of 4).
    info.stride = format == SURFACE_FORMAT_YUV420 || format == SURFACE_FORMAT_YUV420_SWAPPED
                      ? width
                      : width * (kBits[format] / 8);
    info.topDown = topDown ? 1 : 0;
    return info;
}

size_t PlanarBytes(int width, int height) { return size_t(width) * size_t(height) * 3 / 2; }

PlanePointers StreamPlanesOf(uint8_t* frame, int width, int height) {
    const size_t luma = size_t(width) * size_t(height);
    // The library's colour kernels keep Cr right behind Y and Cb last; the
    // stream has U (Cb) before V (Cr).
    return PlanePointers{frame, frame + luma + luma / 4, frame + luma};
}

int RgbWidthKept(int width) { return width & ~3; }
int RgbHeightKept(int height) { return height & ~1; }

void CheckRgbSize(const Image& image, const std::string& name) {
    const int w = RgbWidthKept(image.width), h = RgbHeightKept(image.height);
    if (w < 4 || h < 4)
        Fail(name, "picture of " + std::to_string(image.width) + "x" + std::to_string(image.height) +
                       " is too small; at least 4x4 is needed");
    if (w != image.width || h != image.height)
        std::fprintf(stderr, "tarnsurf: note: %s: %dx%d taken as %dx%d (a multiple of 4 wide, even height)\n",
                     name.c_str(), image.width, image.height, w, h);
}

SurfaceRef RgbSurfaceFrom(const Library& lib, const Image& image) {
    const int w = RgbWidthKept(image.width), h = RgbHeightKept(image.height);
    std::vector<uint8_t> bgr(size_t(w) * size_t(h) * 3);
    for (int y = 0; y < h; ++y)
        CopySwappingRedBlue(image.Row(y), image.channels, bgr.data() + size_t(y) * size_t(w) * 3, 3, w);
    return lib.FromData(DescribeSurface(SURFACE_FORMAT_RGB24, w, h, true), bgr.data());
}

SurfaceRef RgbaSurfaceFrom(const Library& lib, const Image& image, uint32_t transparency) {
    const int w = RgbWidthKept(image.width), h = RgbHeightKept(image.height);
    const uint32_t keep = 256 - transparency;
    std::vector<uint8_t> bgra(size_t(w) * size_t(h) * 4);
    for (int y = 0; y < h; ++y) {
        const uint8_t* in = image.Row(y);
        uint8_t* out = bgra.data() + size_t(h - 1 - y) * size_t(w) * 4;
        CopySwappingRedBlue(in, 4, out, 4, w);
        for (int x = 0; x < w; ++x) out[4 * x + 3] = uint8_t((in[4 * x + 3] * keep) >> 8);
    }
    return lib.FromData(DescribeSurface(SURFACE_FORMAT_RGB32, w, h, false), bgra.data());
}

namespace {

// A blank copy of `from`'s descriptor at the new size, with the stride that
// size needs, and `from`'s `source` part drawn into all of it by nearest
// sample, as composition would stretch it.
SurfaceRef StretchedCopy(const Library& lib, ITarnSurface* from, const VedRect& source, int width, int height) {
    SurfaceInfo info{};
    Check(from->GetInfo(&info), "GetInfo");
    info.width = uint32_t(width);
    info.height = uint32_t(height);
    info.stride = info.format == SURFACE_FORMAT_YUV420 ? width : width * (info.bitsPerPixel / 8);
    SurfaceRef copy = lib.Blank(info);
    VedRect part = source;
    Check(copy->DrawToSurface(nullptr, from, &part, SCALE_NEAREST), "DrawToSurface");
    return copy;
}

// A picture of one column or row with its pixels doubled that way: the
// library draws from no rectangle narrower than 2 pixels, and nearest
// sampling of the doubled pixels picks the same colours.
Image Doubled(const Image& picture) {
    const int sx = picture.width < 2 ? 2 : 1, sy = picture.height < 2 ? 2 : 1;
    const size_t pixel = size_t(picture.channels);
    Image doubled(picture.width * sx, picture.height * sy, picture.channels);
    for (int y = 0; y < doubled.height; ++y)
        for (int x = 0; x < doubled.width; ++x)
            std::copy_n(picture.Row(y / sy) + size_t(x / sx) * pixel, pixel, doubled.Row(y) + size_t(x) * pixel);
    return doubled;
}

// An RGB32 surface, top row first, holding `picture` (alpha 255 where it has
// none) and padded by repeating its edges to a size the builder keeps whole.
SurfaceRef Rgb32SurfaceFrom(const Library& lib, const Image& picture) {
    const Image padded = PadByRepeating(picture, std::max((picture.width + 3) & ~3, 4),
                                        std::max((picture.height + 1) & ~1, 4));
    std::vector<uint8_t> bgra(padded.pixels.size() / size_t(padded.channels) * 4);
    const int pixels = padded.width * padded.height;
    CopySwappingRedBlue(padded.pixels.data(), padded.channels, bgra.data(), 4, pixels);
    for (int i = 0; i < pixels; ++i)
        bgra[size_t(i) * 4 + 3] = padded.channels == 4 ? padded.pixels[size_t(i) * 4 + 3] : 255;
    return lib.FromData(DescribeSurface(SURFACE_FORMAT_RGB32, padded.width, padded.height, true), bgra.data());
}

// The top left `width` x `height` pixels of an RGB32 surface as a picture of
// `channels` channels.
Image ImageFromRgb32(ITarnSurface* surface, int width, int height, int channels) {
    SurfaceInfo info{};
    Check(surface->GetInfo(&info), "GetInfo");
    uint8_t* pixels = nullptr;
    Check(surface->GetPixels(&pixels), "GetPixels");
    Image image(width, height, channels);
    for (int y = 0; y < height; ++y) {
        const int stored = info.topDown ? y : int(info.height) - 1 - y;
        const uint8_t* in = pixels + size_t(stored) * info.stride;
        uint8_t* out = image.Row(y);
        CopySwappingRedBlue(in, 4, out, channels, width);
        if (channels == 4)
            for (int x = 0; x < width; ++x) out[4 * x + 3] = in[4 * x + 3];
    }
    return image;
}

}  // namespace

Image RotateImage(const Library& lib, const Image& picture, int degrees) {
    // Padded with transparent pixels, which stay invisible wherever the turn
    // takes them; rows bottom up, the order in which RGB turns the same way
    // round as the frames do.
    const int w = std::max((picture.width + 3) & ~3, 4), h = std::max((picture.height + 1) & ~1, 4);
    std::vector<uint8_t> bgra(size_t(w) * size_t(h) * 4, 0);
    for (int y = 0; y < picture.height; ++y) {
        uint8_t* out = bgra.data() + size_t(h - 1 - y) * size_t(w) * 4;
        CopySwappingRedBlue(picture.Row(y), 4, out, 4, picture.width);
        for (int x = 0; x < picture.width; ++x) out[4 * x + 3] = picture.Row(y)[4 * x + 3];
    }
    const SurfaceRef surface = lib.FromData(DescribeSurface(SURFACE_FORMAT_RGB32, w, h, false), bgra.data());
    Check(surface->Rotate(degrees), "Rotate");
    SurfaceInfo info{};
    Check(surface->GetInfo(&info), "GetInfo");
    return ImageFromRgb32(surface.get(), int(info.width), int(info.height), 4);
}

Image StretchImage(const Library& lib, const Image& picture, int width, int height) {
    if (picture.width < 2 || picture.height < 2) return StretchImage(lib, Doubled(picture), width, height);
    const SurfaceRef from = Rgb32SurfaceFrom(lib, picture);
    // The target is at least 4x4 as every surface; the picture takes its
    // top left corner.
    const SurfaceRef to = lib.Blank(DescribeSurface(SURFACE_FORMAT_RGB32, std::max(width, 4), std::max(height, 4), true));
    VedRect dest{0, 0, width, height}, source{0, 0, picture.width, picture.height};
    Check(to->DrawToSurface(&dest, from.get(), &source, SCALE_NEAREST), "DrawToSurface");
    return ImageFromRgb32(to.get(), width, height, picture.channels);
}

SurfaceRef PrepareOverlay(const Library& lib, SurfaceRef overlay, const VedRect& source, const VedRect& dest,
                          uint32_t alpha, uint32_t key) {
    Check(overlay->SetFormat(SURFACE_FORMAT_YUV420), "SetFormat(YUV420)");
    Check(overlay->Flush(), "Flush");
    VedRect take = source;
    const int dw = dest.right - dest.left, dh = dest.bottom - dest.top;
    if (dw != source.right - source.left || dh != source.bottom - source.top) {
        // Stretched here once rather than on every frame. The mask gets the
        // overlay's stride, as the blend walks it with that stride.
        SurfaceRef stretched = StretchedCopy(lib, overlay.get(), source, dw, dh);
        SurfaceRef mask;
        if (overlay->GetMask(mask.put()) >= 0 && mask) {
            const SurfaceRef stretchedMask = StretchedCopy(lib, mask.get(), source, dw, dh);
            Check(stretched->SetMask(stretchedMask.get()), "SetMask");
        }
        overlay = std::move(stretched);
        take = VedRect{0, 0, dw, dh};
    }
    Check(overlay->SetSourceRect(take.left, take.top, take.right, take.bottom), "SetSourceRect");
    Check(overlay->SetDestRect(dest.left, dest.top, dest.right, dest.bottom), "SetDestRect");
    Check(overlay->SetAlpha(alpha), "SetAlpha");
    Check(overlay->SetBackColor(key), "SetBackColor");
    return overlay;
}

Image ImageFromSurface(ITarnSurface* surface) {
    SurfaceInfo info{};
    Check(surface->GetInfo(&info), "GetInfo");
    // GetInfo shows the size before queued work; a queued resize is the
    // caller's to flush first.
    const int w = int(info.width), h = int(info.height);
    const int stride = (w * 3 + 3) & ~3;
    std::vector<uint8_t> bgr(size_t(stride) * size_t(h) + kWriteSlack);
    Check(surface->SetFormat(SURFACE_FORMAT_RGB24), "SetFormat(RGB24)");
    Check(surface->CopyOut(bgr.data(), stride, 1), "CopyOut(RGB24)");
    Image image(w, h, 3);
    for (int y = 0; y < h; ++y) CopySwappingRedBlue(bgr.data() + size_t(y) * size_t(stride), 3, image.Row(y), 3, w);
    return image;
}

}  // namespace tarnsurf
