// BMP reading and writing. The file is checked here, in full, before the
// library sees any of it; the library then reads the bitmap from global
// memory as any host's would be read, and makes the bitmap that is written.
#include "bmp_io.h"

#include "library.h"
#include "tool_error.h"

#include <tarn/Platform.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>

namespace tarnsurf {
namespace {

namespace plat = tarn::platform;

constexpr size_t kFileHeaderBytes = 14;
constexpr size_t kInfoHeaderBytes = 40;
constexpr uint32_t kBiRgb = 0, kBiBitfields = 3;

uint32_t Le32(const uint8_t* p) { return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24; }
uint16_t Le16(const uint8_t* p) { return uint16_t(p[0] | p[1] << 8); }
void Put32(uint8_t* p, uint32_t v) { for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (8 * i)); }

// Bytes of one stored row: whole 4-byte words.
size_t RowBytes(int width, int bits) { return (size_t(width) * size_t(bits) + 31) / 32 * 4; }

// A global-memory block freed at scope end.
struct Block {
    plat::HGLOBAL handle = nullptr;
    ~Block() { if (handle) plat::GlobalFree(handle); }
};

// Locks a block for the span of a scope.
class Locked {
public:
    explicit Locked(plat::HGLOBAL h) : h_(h), p_(static_cast<uint8_t*>(plat::GlobalLock(h))) {}
    ~Locked() { if (p_) plat::GlobalUnlock(h_); }
    uint8_t* get() const { return p_; }

private:
    plat::HGLOBAL h_;
    uint8_t* p_;
};

// What the headers say, once checked.
struct BmpLayout {
    int width = 0, height = 0;  // height positive; `topDown` says the order
    bool topDown = false;
    int bits = 0;
    size_t pixelOffset = 0;
};

BmpLayout CheckHeaders(const uint8_t* h, size_t have, size_t fileSize, const std::string& name) {
    if (have < kFileHeaderBytes + kInfoHeaderBytes) Fail(name, "truncated BMP: only " + std::to_string(have) + " bytes");
    if (h[0] != 'B' || h[1] != 'M') Fail(name, "not a BMP file (no 'BM' at the start)");
    const uint8_t* info = h + kFileHeaderBytes;
    const uint32_t infoBytes = Le32(info);
    if (infoBytes < kInfoHeaderBytes)
        Fail(name, "BMP header of " + std::to_string(infoBytes) + " bytes is not supported (40 or more needed)");
    BmpLayout bmp;
    const int32_t width = int32_t(Le32(info + 4)), height = int32_t(Le32(info + 8));
    const uint16_t planes = Le16(info + 12);
    bmp.bits = Le16(info + 14);
    const uint32_t compression = Le32(info + 16);
    if (planes != 1) Fail(name, "bad BMP: " + std::to_string(planes) + " colour planes, 1 expected");
    if (bmp.bits != 24 && bmp.bits != 32)
        Fail(name, "BMP of " + std::to_string(bmp.bits) + " bits per pixel is not supported; 24 or 32 needed");
    // Bit fields are taken only when they name the plain byte order.
    const bool plainFields = compression == kBiBitfields && bmp.bits == 32 && have >= 66 &&
                             Le32(h + 54) == 0xFF0000 && Le32(h + 58) == 0xFF00 && Le32(h + 62) == 0xFF;
    if (compression != kBiRgb && !plainFields)
        Fail(name, "compressed BMP (compression " + std::to_string(compression) + ") is not supported");
    if (width < 1 || height == 0 || height == INT32_MIN)
        Fail(name, "bad BMP size " + std::to_string(width) + "x" + std::to_string(height));
    bmp.width = width;
    bmp.height = height < 0 ? -height : height;
    bmp.topDown = height < 0;
    if (bmp.width > kMaxPngSide || bmp.height > kMaxPngSide)
        Fail(name, "picture of " + std::to_string(bmp.width) + "x" + std::to_string(bmp.height) +
                       " is larger than " + std::to_string(kMaxPngSide) + " on a side");
    if (bmp.width < 4 || bmp.height < 4)
        Fail(name, "picture of " + std::to_string(bmp.width) + "x" + std::to_string(bmp.height) +
                       " is too small; at least 4x4 is needed");
    bmp.pixelOffset = Le32(h + 10);
    if (bmp.pixelOffset < kFileHeaderBytes + infoBytes || bmp.pixelOffset > fileSize)
        Fail(name, "bad BMP: pixels said to start at byte " + std::to_string(bmp.pixelOffset));
    const size_t needed = RowBytes(bmp.width, bmp.bits) * size_t(bmp.height);
    if (fileSize - bmp.pixelOffset < needed)
        Fail(name, "truncated BMP: " + std::to_string(fileSize - bmp.pixelOffset) + " bytes of pixels, " +
                       std::to_string(needed) + " needed");
    return bmp;
}

}  // namespace

bool IsBmpPath(const std::string& path) {
    if (path.size() < 4) return false;
    std::string tail = path.substr(path.size() - 4);
    std::transform(tail.begin(), tail.end(), tail.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return tail == ".bmp";
}

Image ReadBmp(const std::string& file) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rb"), &std::fclose);
    if (!stream) Fail(file, "cannot open: no such file or no permission");
    uint8_t headers[66] = {};
    const size_t have = std::fread(headers, 1, sizeof headers, stream.get());
    if (std::fseek(stream.get(), 0, SEEK_END) != 0) Fail(file, "cannot read: not a regular file");
    const long fileSize = std::ftell(stream.get());
    if (fileSize < 0) Fail(file, "cannot read: not a regular file");
    const BmpLayout bmp = CheckHeaders(headers, have, size_t(fileSize), file);

    // The library keeps whole groups of four columns and an even number of
    // rows of a bitmap, so the bitmap is padded to them here and the image
    // cut back to the file's size afterwards: nothing of the picture is lost.
    const int padWidth = (bmp.width + 3) & ~3, padHeight = (bmp.height + 1) & ~1;
    const size_t fileRow = RowBytes(bmp.width, bmp.bits), dibRow = RowBytes(padWidth, bmp.bits);
    Block block{plat::GlobalAlloc(plat::GHND, kInfoHeaderBytes + dibRow * size_t(padHeight))};
    if (!block.handle) Fail(file, "out of memory for a picture of " + std::to_string(bmp.width) + "x" + std::to_string(bmp.height));
    {
        Locked dib(block.handle);
        plat::BITMAPINFOHEADER header{};
        header.biSize = kInfoHeaderBytes;
        header.biWidth = padWidth;
        header.biHeight = padHeight;
        header.biPlanes = 1;
        header.biBitCount = uint16_t(bmp.bits);
        std::memcpy(dib.get(), &header, sizeof header);
        // Stored rows run bottom first; the padding row, if any, is the bottom.
        uint8_t* rows = dib.get() + kInfoHeaderBytes;
        std::fseek(stream.get(), long(bmp.pixelOffset), SEEK_SET);
        for (int i = 0; i < bmp.height; ++i) {
            const int pictureRow = bmp.topDown ? i : bmp.height - 1 - i;
            uint8_t* to = rows + size_t(padHeight - 1 - pictureRow) * dibRow;
            if (std::fread(to, 1, fileRow, stream.get()) != fileRow) Fail(file, "cannot read the pixels");
        }
    }

    const Library lib;
    SurfaceRef surface;
    Check(lib.builder()->CreateFromSource(block.handle, 2, SURFACE_FORMAT_RGB24, 4, surface.put()),
          "CreateFromSource(" + file + ")");
    const int pixelBytes = bmp.bits / 8;
    const size_t stride = size_t(padWidth) * size_t(pixelBytes);
    std::vector<uint8_t> stored(stride * size_t(padHeight) + kWriteSlack);
    Check(surface->CopyOut(stored.data(), int32_t(stride), 1), "CopyOut");
    Image image(bmp.width, bmp.height, 3);
    for (int y = 0; y < bmp.height; ++y) {
        const uint8_t* in = stored.data() + size_t(y) * stride;
        uint8_t* out = image.Row(y);
        for (int x = 0; x < bmp.width; ++x, in += pixelBytes, out += 3) {
            out[0] = in[2];
            out[1] = in[1];
            out[2] = in[0];
        }
    }
    return image;
}

void WriteBmpTo(std::FILE* stream, const Image& image, const std::string& name) {
    const Library lib;
    SurfaceInfo info = DescribeSurface(SURFACE_FORMAT_RGB24, image.width, image.height, true);
    SurfaceRef surface = lib.Blank(info);
    uint8_t* pixels = nullptr;
    Check(surface->GetPixels(&pixels), "GetPixels");
    for (int y = 0; y < image.height; ++y) {
        const uint8_t* in = image.Row(y);
        uint8_t* out = pixels + size_t(y) * size_t(info.stride);
        // Grey pictures give all three channels from their one.
        const int red = 0, green = image.channels >= 3 ? 1 : 0,
                  blue = image.channels >= 3 ? 2 : 0;
        for (int x = 0; x < image.width; ++x, in += image.channels, out += 3) {
            out[0] = in[blue];
            out[1] = in[green];
            out[2] = in[red];
        }
    }
    Block block;
    uint32_t owned = 0;
    Check(surface->Export(2, &block.handle, &owned), "Export");
    const size_t size = plat::GlobalSize(block.handle);
    Locked dib(block.handle);
    if (!dib.get()) Fail(name, "the library's bitmap could not be locked");
    uint8_t fileHeader[kFileHeaderBytes] = {'B', 'M'};
    Put32(fileHeader + 2, uint32_t(kFileHeaderBytes + size));
    Put32(fileHeader + 10, uint32_t(kFileHeaderBytes + kInfoHeaderBytes));
    if (std::fwrite(fileHeader, 1, sizeof fileHeader, stream) != sizeof fileHeader ||
        std::fwrite(dib.get(), 1, size, stream) != size)
        Fail(name, "cannot write BMP");
}

Image ReadPicture(const std::string& file) { return IsBmpPath(file) ? ReadBmp(file) : ReadPng(file); }

void WritePictureTo(std::FILE* stream, const Image& image, const std::string& name) {
    if (IsBmpPath(name)) WriteBmpTo(stream, image, name);
    else WritePngTo(stream, image, name);
}

}  // namespace tarnsurf
