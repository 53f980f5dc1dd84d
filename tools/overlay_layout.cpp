// Overlay geometry and the canvases the library composes from.
#include "overlay_layout.h"

#include <algorithm>
#include <cstring>

namespace tarnsurf {

AxisLayout LayOutAxis(int position, int length, int extent, bool masked, int canvasMultiple) {
    AxisLayout axis;
    const int visibleBegin = std::max(position, 0);
    const int visibleEnd = std::min(position + length, extent);
    if (visibleEnd <= visibleBegin) return axis;
    axis.cropBegin = visibleBegin - position;
    axis.cropEnd = visibleEnd - position;
    axis.destBegin = visibleBegin;
    axis.destEnd = visibleEnd;
    if (masked && (visibleEnd - visibleBegin) % 2 != 0) {
        // The frame's extent is even, so an odd part that ends at the frame's
        // edge starts on an odd pixel, where the overlay was not cut: the
        // margin lies to its left.
        if (visibleEnd < extent) ++axis.destEnd;
        else --axis.destBegin;
    }
    const int margin = masked ? kMaskedMargin : 0;
    axis.sourceBegin = margin + axis.destBegin - position - axis.cropBegin;
    axis.sourceEnd = axis.sourceBegin + (axis.destEnd - axis.destBegin);
    const int needed = std::max({axis.sourceEnd, margin + axis.cropEnd - axis.cropBegin, 4});
    axis.canvas = (needed + canvasMultiple - 1) / canvasMultiple * canvasMultiple;
    return axis;
}

Image Crop(const Image& picture, int left, int top, int width, int height) {
    Image part(width, height, picture.channels);
    const size_t bytes = size_t(width) * size_t(picture.channels);
    for (int y = 0; y < height; ++y)
        std::memcpy(part.Row(y), picture.Row(top + y) + size_t(left) * size_t(picture.channels), bytes);
    return part;
}

Image WithAlpha(const Image& picture, std::optional<uint32_t> key) {
    if (picture.channels == 4) return picture;
    Image rgba(picture.width, picture.height, 4);
    const uint8_t* in = picture.pixels.data();
    for (size_t i = 0; i < rgba.pixels.size(); i += 4, in += 3) {
        std::memcpy(&rgba.pixels[i], in, 3);
        const uint32_t rgb = uint32_t(in[0]) << 16 | uint32_t(in[1]) << 8 | in[2];
        rgba.pixels[i + 3] = key && rgb == *key ? 0 : 255;
    }
    return rgba;
}

Image PadByRepeating(const Image& picture, int width, int height) {
    Image padded(width, height, picture.channels);
    const size_t pixel = size_t(picture.channels);
    for (int y = 0; y < height; ++y) {
        const uint8_t* in = picture.Row(std::min(y, picture.height - 1));
        uint8_t* out = padded.Row(y);
        std::memcpy(out, in, size_t(picture.width) * pixel);
        for (int x = picture.width; x < width; ++x)
            std::memcpy(out + size_t(x) * pixel, in + size_t(picture.width - 1) * pixel, pixel);
    }
    return padded;
}

Image BuildCanvas(const Image& picture, const AxisLayout& across, const AxisLayout& down) {
    const Image kept = Crop(picture, across.cropBegin, down.cropBegin, across.cropEnd - across.cropBegin,
                            down.cropEnd - down.cropBegin);
    if (picture.channels != 4) return PadByRepeating(kept, across.canvas, down.canvas);
    Image canvas(across.canvas, down.canvas, 4);
    for (size_t i = 0; i < canvas.pixels.size(); i += 4) {
        canvas.pixels[i] = canvas.pixels[i + 1] = canvas.pixels[i + 2] = 255;
        canvas.pixels[i + 3] = 0;
    }
    for (int y = 0; y < kept.height; ++y)
        std::memcpy(canvas.Row(kMaskedMargin + y) + 4 * kMaskedMargin, kept.Row(y), size_t(kept.width) * 4);
    return canvas;
}

}  // namespace tarnsurf
