// PNG reading and writing through libpng's simplified interface, which
// converts every bit depth and colour type to the 8-bit layouts the tool uses.
#include "png_io.h"

#include "tool_error.h"

#include <png.h>

#include <memory>

namespace tarnsurf {
namespace {

struct ImageGuard {
    png_image* image;
    ~ImageGuard() { png_image_free(image); }
};

Image FinishRead(png_image& png, const std::string& name) {
    ImageGuard guard{&png};
    if (png.width > unsigned(kMaxPngSide) || png.height > unsigned(kMaxPngSide))
        Fail(name, "picture of " + std::to_string(png.width) + "x" + std::to_string(png.height) +
                       " is larger than " + std::to_string(kMaxPngSide) + " on a side");
    const bool alpha = (png.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    png.format = alpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
    Image out(int(png.width), int(png.height), alpha ? 4 : 3);
    if (!png_image_finish_read(&png, nullptr, out.pixels.data(), 0, nullptr))
        Fail(name, std::string("corrupt PNG: ") + png.message);
    return out;
}

}  // namespace

Image ReadPng(const std::string& file) {
    if (file == "-") return ReadPngFrom(stdin, "standard input");
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rb"), &std::fclose);
    if (!stream) Fail(file, "cannot open: no such file or no permission");
    return ReadPngFrom(stream.get(), file);
}

Image ReadPngFrom(std::FILE* stream, const std::string& name) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_stdio(&png, stream)) {
        const std::string message = png.message;
        png_image_free(&png);
        Fail(name, "not a readable PNG file: " + message);
    }
    return FinishRead(png, name);
}

void WritePngTo(std::FILE* stream, const Image& image, const std::string& name) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = png_uint_32(image.width);
    png.height = png_uint_32(image.height);
    static constexpr png_uint_32 kFormats[] = {0, PNG_FORMAT_GRAY, 0, PNG_FORMAT_RGB, PNG_FORMAT_RGBA};
    png.format = kFormats[image.channels];
    const bool ok = png_image_write_to_stdio(&png, stream, 0, image.pixels.data(), 0, nullptr);
    const std::string message = png.message;
    png_image_free(&png);
    if (!ok) Fail(name, "cannot write PNG: " + message);
}

}  // namespace tarnsurf
