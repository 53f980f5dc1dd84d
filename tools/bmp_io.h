// BMP files through the library's own platform paths. A BMP file is a
// device-independent bitmap behind a 14-byte file header: reading hands the
// bitmap to CreateFromSource in global memory, writing takes it from Export.
#pragma once

#include "png_io.h"

#include <cstdio>
#include <string>

namespace tarnsurf {

// True for a path ending in .bmp (any case).
bool IsBmpPath(const std::string& path);

// Reads an uncompressed 24- or 32-bit BMP, bottom-up or top-down, as an RGB
// image of its own size, top row first. The fourth byte of 32-bit pixels is
// not read. Truncated, compressed or absurdly large files are refused with
// a message naming the file.
Image ReadBmp(const std::string& file);

// Writes the RGB channels of `image` (at least 4x4) as a 24-bit bottom-up BMP.
void WriteBmpTo(std::FILE* stream, const Image& image, const std::string& name);

// PNG or BMP by the extension.
Image ReadPicture(const std::string& file);
void WritePictureTo(std::FILE* stream, const Image& image, const std::string& name);

}  // namespace tarnsurf
