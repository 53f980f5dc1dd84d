// The format-conversion functions: they choose a colour kernel by bit depth
// and the processor tier of g_cpuFeatures, work out the plane addresses of a
// planar picture and the row order, and call it. They see no surface.
//
// Each converts nothing when one of its two pixel pointers is null, and those
// that take `bits` nothing when it is neither 24 nor 32.
// Planar pictures lie as Y, then the first chroma plane (Cr, as the kernels
// store it), then the second (Cb); chroma stride is planarStride / 2.
#pragma once

#include <cstdint>

namespace tarn {

void ConvertPlanarToRgb(uint8_t* planar, int32_t planarStride, uint8_t* rgb, int32_t rgbStride,
                        int32_t width, int32_t height, int32_t bits, uint32_t flip);
void ConvertRgbToPlanar(uint8_t* rgb, int32_t rgbStride, uint8_t* planar, int32_t planarStride,
                        int32_t width, int32_t height, int32_t bits, uint32_t flip);
void ConvertPlanarToPacked(uint8_t* planar, int32_t planarStride, uint8_t* packed, int32_t packedStride,
                           int32_t width, int32_t height);
void ConvertPackedToPlanar(uint8_t* packed, int32_t packedStride, uint8_t* planar, int32_t planarStride,
                           int32_t width, int32_t height);
// ConvertPackedToPlanar into memory whose first `overwritten` bytes are
// written over afterwards: from there on the same bytes, and of what lies
// wholly before, as little as it can. Given `halvedRows`, it also writes
// row k of them (`halvedStride` apart) as source row 2k halved across, the
// rows of a packed resize to half size both ways, while it reads the source
// anyway; it answers whether it did.
bool ConvertPackedToPlanarOver(uint8_t* packed, int32_t packedStride, uint8_t* planar, int32_t planarStride,
                               int32_t width, int32_t height, int64_t overwritten,
                               uint8_t* halvedRows = nullptr, int32_t halvedStride = 0);
void ConvertRgb24ToRgb32(uint8_t* rgb24, int32_t rgb24Stride, uint8_t* rgb32, int32_t rgb32Stride,
                         int32_t width, int32_t height, uint32_t flip);
void ConvertRgb32ToRgb24(uint8_t* rgb32, int32_t rgb32Stride, uint8_t* rgb24, int32_t rgb24Stride,
                         int32_t width, int32_t height, uint32_t flip);
void ConvertRgbToPacked(uint8_t* rgb, int32_t rgbStride, uint8_t* packed, int32_t packedStride,
                        int32_t width, int32_t height, int32_t bits, uint32_t flip);
void ConvertPackedToRgb(uint8_t* packed, int32_t packedStride, uint8_t* rgb, int32_t rgbStride,
                        int32_t width, int32_t height, int32_t bits, uint32_t flip);

// Exchanges `count` bytes between two planes, 16 at a time and the rest one
// by one.
void SwapChromaPlanes(uint8_t* first, uint8_t* second, int32_t count);

}  // namespace tarn
