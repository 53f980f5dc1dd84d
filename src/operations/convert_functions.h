// The format-conversion functions: they choose a colour kernel by bit depth
// and processor tier, work out the plane addresses of a planar picture and the
// row order, and call it. They see no surface.
//
// Each answers 0 when one of its two pixel pointers is null and 1 otherwise;
// with `bits` neither 24 nor 32 the functions that take it convert nothing.
// Planar pictures lie as Y, then the first chroma plane (Cr, as the kernels
// store it), then the second (Cb); chroma stride is planarStride / 2.
#pragma once

#include <cstdint>

namespace tarn {

int32_t ConvertPlanarToRgb(uint8_t* planar, int32_t planarStride, uint8_t* rgb, int32_t rgbStride,
                           int32_t width, int32_t height, int32_t bits, uint32_t features,
                           uint32_t flip);
int32_t ConvertRgbToPlanar(uint8_t* rgb, int32_t rgbStride, uint8_t* planar, int32_t planarStride,
                           int32_t width, int32_t height, int32_t bits, uint32_t features,
                           uint32_t flip);
int32_t ConvertPlanarToPacked(uint8_t* planar, int32_t planarStride, uint8_t* packed,
                              int32_t packedStride, int32_t width, int32_t height,
                              uint32_t features);
int32_t ConvertPackedToPlanar(uint8_t* packed, int32_t packedStride, uint8_t* planar,
                              int32_t planarStride, int32_t width, int32_t height,
                              uint32_t features);
int32_t ConvertRgb24ToRgb32(uint8_t* rgb24, int32_t rgb24Stride, uint8_t* rgb32,
                            int32_t rgb32Stride, int32_t width, int32_t height, uint32_t features,
                            uint32_t flip);
int32_t ConvertRgb32ToRgb24(uint8_t* rgb32, int32_t rgb32Stride, uint8_t* rgb24,
                            int32_t rgb24Stride, int32_t width, int32_t height, uint32_t features,
                            uint32_t flip);
int32_t ConvertRgbToPacked(uint8_t* rgb, int32_t rgbStride, uint8_t* packed, int32_t packedStride,
                           int32_t width, int32_t height, int32_t bits, uint32_t features,
                           uint32_t flip);
int32_t ConvertPackedToRgb(uint8_t* packed, int32_t packedStride, uint8_t* rgb, int32_t rgbStride,
                           int32_t width, int32_t height, int32_t bits, uint32_t features,
                           uint32_t flip);

// Exchanges `count` bytes between two planes, 16 at a time and the rest one
// by one. Answers nonzero.
int32_t SwapChromaPlanes(uint8_t* first, uint8_t* second, int32_t count);

}  // namespace tarn
