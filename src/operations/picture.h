// The values the pixel operations work on: a picture (a buffer and how its
// rows are laid out) and a destination (memory of the caller that the last
// operation of a CopyOut writes into instead of a new buffer). Neither owns
// memory; the surface that holds the picture does.
#pragma once

#include <cstdint>

#include "tarn/TarnSurface.h"

namespace tarn {

// One picture in memory. `pixels` is null for a surface without a buffer.
// Planar YUV420 holds the luma plane, then the first and the second chroma
// plane at half width, half height and half stride; packed YUV422 holds two
// bytes per pixel.
struct Picture {
    uint8_t* pixels = nullptr;
    SurfaceFormat format{};
    int32_t bits = 0;  // bits per pixel as the descriptor gives them
    int32_t width = 0;
    int32_t height = 0;
    int32_t stride = 0;  // bytes per row of the first plane
    // 1: the first stored row is the top of the picture. Compared as a value,
    // never as a flag: a caller's 2 differs from a picture's 1.
    uint32_t topDown = 0;
    VedRect content{0, 0, 0, 0};  // the part of the frame that holds picture
};

// Where the last operation of a CopyOut writes: rows `stride` bytes apart, in
// the row order of `topDown` (compared as a value, like Picture::topDown).
// The surface's own buffer and descriptor stay as they were.
struct Destination {
    uint8_t* buffer = nullptr;
    int32_t stride = 0;
    uint32_t topDown = 0;
};

// The descriptor's picture fields as a value, and back.
inline Picture PictureOf(const SurfaceInfo& info, uint8_t* pixels) {
    return {pixels,
            info.format,
            info.bitsPerPixel,
            static_cast<int32_t>(info.width),
            static_cast<int32_t>(info.height),
            info.stride,
            info.topDown,
            {info.contentLeft, info.contentTop, info.contentRight, info.contentBottom}};
}
inline void StorePicture(SurfaceInfo& info, const Picture& p) {
    info.format = p.format;
    info.bitsPerPixel = p.bits;
    info.width = static_cast<uint32_t>(p.width);
    info.height = static_cast<uint32_t>(p.height);
    info.stride = p.stride;
    info.topDown = p.topDown;
    info.contentLeft = p.content.left;
    info.contentTop = p.content.top;
    info.contentRight = p.content.right;
    info.contentBottom = p.content.bottom;
}

// True for the formats whose stored rows may be bottom-up.
inline bool IsRgbFormat(int32_t format) {
    return format == SURFACE_FORMAT_RGB24 || format == SURFACE_FORMAT_RGB32;
}

// RGB stored with its bottom row first: rectangles given as the picture looks
// are turned into stored rows for it.
inline bool StoredBottomUp(const Picture& p) { return IsRgbFormat(p.format) && p.topDown == 0; }

// The whole frame of a picture as a rectangle.
inline VedRect WholeFrame(const Picture& p) { return {0, 0, p.width, p.height}; }

// The chroma planes of a YUV420 picture: the first directly behind the luma
// plane, the second a quarter of the luma plane's bytes behind the first,
// rows at half the stride.
inline int32_t ChromaStride(const Picture& p) { return p.stride / 2; }
inline uint8_t* FirstChroma(const Picture& p) { return p.pixels + int64_t(p.stride) * p.height; }
inline uint8_t* SecondChroma(const Picture& p) {
    const int64_t luma = int64_t(p.stride) * p.height;
    return p.pixels + luma + luma / 4;
}

// Bytes of a buffer laid out as `format`, `stride` and `height` say (0 for
// formats with no buffer).
inline int64_t BufferBytes(int32_t format, int32_t stride, int64_t height) {
    const int64_t rows = int64_t(stride) * height;
    switch (format) {
        case SURFACE_FORMAT_YUV420: return rows * 3 / 2;
        case SURFACE_FORMAT_RGB24:
        case SURFACE_FORMAT_RGB32:
        case SURFACE_FORMAT_GRAY8:
        case SURFACE_FORMAT_YUV422: return rows;
        default: return 0;
    }
}
inline int64_t BufferBytes(const Picture& p) { return BufferBytes(p.format, p.stride, p.height); }
inline int64_t BufferBytes(const SurfaceInfo& info) {
    return BufferBytes(info.format, info.stride, info.height);
}

// The content rectangle of a descriptor as one rectangle, and the whole
// picture.
inline VedRect ContentRectOf(const SurfaceInfo& info) {
    return {info.contentLeft, info.contentTop, info.contentRight, info.contentBottom};
}
inline void SetContentRect(SurfaceInfo& info, const VedRect& r) {
    info.contentLeft = r.left;
    info.contentTop = r.top;
    info.contentRight = r.right;
    info.contentBottom = r.bottom;
}
inline VedRect WholePicture(const SurfaceInfo& info) {
    return {0, 0, static_cast<int32_t>(info.width), static_cast<int32_t>(info.height)};
}

}  // namespace tarn
