// MaskFromAlpha: the GRAY8 mask 255 - alpha of a 32-bit picture.
#include "operations/mask_from_alpha.h"

namespace tarn {

void MaskFromAlpha(const Picture& source, const Picture& mask) {
    const int32_t w = source.width, h = source.height;
    for (int32_t y = 0; y < h; ++y) {
        const uint8_t* src = source.pixels + int64_t(h - 1 - y) * source.stride;
        uint8_t* dst = mask.pixels + int64_t(y) * mask.stride;
        for (int32_t x = 0; x < w; ++x) dst[x] = static_cast<uint8_t>(255 - src[4 * x + 3]);
    }
}

}  // namespace tarn
