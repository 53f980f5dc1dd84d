// Reading rectangles of images that may be served in tiles, with the border
// rules of the header for whatever lies outside the image, and the single
// samples that edge smoothing reads and writes.
#pragma once

#include <cstdint>

#include "ipl/ipl_image.h"

namespace tarn {

// Where an image's samples lie: bits per sample, planes (channels in plane
// order, else 1) and bytes per pixel of one plane (0 for 1-bit images).
struct SampleLayout {
    int32_t bits, planes, pixelBytes;
};
SampleLayout SampleLayoutOf(const ImageHeader* image);

// Bytes of a row of `width` pixels of the image's sample format (one plane
// in plane order), rounded up to its `align`; -1 when that does not fit 31 bits.
int64_t AlignedRowBytes(const ImageHeader* image, int64_t width);

// A tile's row bytes and plane bytes (planes follow each other, tileHeight rows apart).
struct TileGeometry {
    int32_t width, height;
    intptr_t rowBytes, planeBytes;
};
TileGeometry TileGeometryOf(const ImageHeader* image);

// Copies the inclusive rectangle from (xFrom, yFrom) to (xTo, yTo) of
// `image` to (targetX, targetY) of a buffer; mirrored in x when xTo <
// xFrom and in y when yTo < yFrom. Rectangles outside the image are refused.
// 1-bit samples (pixelBytes 0) only set bits: the buffer must be clear.
// Nonzero: failure (a tile not served, or no memory).
int32_t CopyRegion(const ImageHeader* image, int32_t xFrom, int32_t yFrom, int32_t xTo, int32_t yTo, uint8_t* target,
                   int32_t targetX, int32_t targetY, intptr_t targetStride, intptr_t planeStride, int32_t pixelBytes,
                   int32_t planes);

// A new buffer (IplMalloc) holding the rectangle at (x, y), which may lie
// partly or wholly outside the image; the border rules of the header give
// what lies outside. Its row bytes go to `stride`. Null on failure.
uint8_t* ReadRegion(const ImageHeader* image, int32_t x, int32_t y, int32_t width, int32_t height, int32_t* stride);

// One pixel's samples of the processed channels, as doubles, read and
// written in memory or through the tile callback (modes 1 and 2, then 4).
// False when the tile is not served.
bool ReadPixel(const ImageHeader* image, int32_t x, int32_t y, double* samples);
bool WritePixel(const ImageHeader* image, int32_t x, int32_t y, const double* samples, int32_t firstChannel,
                int32_t channelCount);

}  // namespace tarn
