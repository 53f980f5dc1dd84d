// CTarnSurfaceBuffer: the buffer's life cycle.
#include "surface/tarn_surface_buffer.h"

#include "operations/pixel_memory.h"

namespace tarn {

CTarnSurfaceBuffer::~CTarnSurfaceBuffer() { ReleasePixels(); }

bool CTarnSurfaceBuffer::AllocatePixels(int32_t bytes) {
    if (bytes < 1) return false;
    pixels = NewPixelArray(bytes);
    return pixels != nullptr;
}

void CTarnSurfaceBuffer::ReleasePixels() {
    if (pixels && (ownership & kOwnsBufferMask)) {
        DeletePixelArray(pixels);
        pixels = nullptr;
    }
}

void CTarnSurfaceBuffer::ReplacePixels(uint8_t* newPixels) {
    if (ownership & kOwnsBufferMask) DeletePixelArray(pixels);
    ownership = 1;
    pixels = newPixels;
}

}  // namespace tarn
