// Entry points of the scaling engine, as the surface operations call them.
// Kernels and drivers behind these have no state, check no sizes and report
// nothing.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

// Scales an image of 1-, 3- or 4-byte pixels. Steps are source pixels per
// target pixel; strides may be negative (vertical mirroring is the caller's).
// `background` is what the fade modes blend towards; null means four zeros.
void ScaleImage(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, int32_t dstStride,
                uint32_t dstChannels, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                int32_t srcStride, uint32_t srcChannels, double startX, double stepX,
                double startY, double stepY, uint32_t mode, const uint8_t* background);

// Scales a planar 4:2:0 picture plane by plane. Chroma planes have half the
// width, height and stride of luma (signed division).
void ScalePlanar(const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV, int32_t srcWidth,
                 int32_t srcHeight, int32_t srcStride, uint8_t* dstY, uint8_t* dstU, uint8_t* dstV,
                 int32_t dstWidth, int32_t dstHeight, int32_t dstStride, uint32_t mode);

// Scales a packed 4:2:2 picture, each byte of a pair as a channel of its own.
void ScalePacked(const uint8_t* src, int32_t srcWidth, int32_t srcHeight, int32_t srcStride,
                 uint8_t* dst, int32_t dstWidth, int32_t dstHeight, int32_t dstStride);

// The memory a scaling call on this thread may touch, declared by its caller
// for as long as the object lives. The exact box functions step through a run
// at the pitches of their fixed table, which for some pixel-size pairs are
// wider than the pixels: a run then reaches past its row, and on the last row
// past the buffer. Inside the declared ranges every byte comes out as that
// table makes it; writes outside are dropped and reads outside give 0. With
// nothing declared, nothing is checked.
class ScopedScaleBounds {
public:
    ScopedScaleBounds(const uint8_t* target, size_t targetBytes, const uint8_t* source,
                      size_t sourceBytes);
    ~ScopedScaleBounds();
    ScopedScaleBounds(const ScopedScaleBounds&) = delete;
    ScopedScaleBounds& operator=(const ScopedScaleBounds&) = delete;

private:
    const uint8_t* saved_[4];
};

}  // namespace tarn
