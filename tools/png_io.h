// PNG files through libpng: any PNG read as 8-bit RGB or RGBA, top row first;
// RGB, RGBA and grey pictures written.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace tarnsurf {

// A picture in the tool's own memory: rows top first, no padding, channels
// in the order red, green, blue (and alpha), or one grey channel.
struct Image {
    int width = 0;
    int height = 0;
    int channels = 0;  // 1, 3 or 4
    std::vector<uint8_t> pixels;

    Image() = default;
    Image(int w, int h, int c) : width(w), height(h), channels(c), pixels(size_t(w) * size_t(h) * size_t(c)) {}
    uint8_t* Row(int y) { return pixels.data() + size_t(y) * size_t(width) * size_t(channels); }
    const uint8_t* Row(int y) const { return pixels.data() + size_t(y) * size_t(width) * size_t(channels); }
};

// Largest side accepted from a PNG, for the same reason as with streams.
inline constexpr int kMaxPngSide = 16384;

// Reads a PNG from `file` ("-" reads standard input). The picture has 4
// channels exactly when the file carries transparency (an alpha channel or a
// transparent colour), 3 otherwise.
Image ReadPng(const std::string& file);
Image ReadPngFrom(std::FILE* stream, const std::string& name);

// Writes `image` as PNG to an open stream; `name` is for messages.
void WritePngTo(std::FILE* stream, const Image& image, const std::string& name);

}  // namespace tarnsurf
