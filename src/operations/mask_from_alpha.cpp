// MakeMaskFromAlpha: the GRAY8 mask 255 - alpha of a 32-bit picture.
#include "object/surface_builder.h"
#include "surface/tarn_surface_buffer.h"

namespace tarn {

void CTarnSurfaceBuffer::MakeMaskFromAlpha(ITarnSurface** maskOut) {
    if (!pixels) return;
    SurfaceInfo maskInfo{};
    maskInfo.size = sizeof(SurfaceInfo);
    maskInfo.width = info.width;
    maskInfo.height = info.height;
    maskInfo.format = SURFACE_FORMAT_GRAY8;
    maskInfo.bitsPerPixel = 8;
    maskInfo.stride = static_cast<int32_t>(info.width);
    maskInfo.topDown = 1;
    CSurfaceBuilder builder;
    ITarnSurface* made = nullptr;
    int32_t bytes = 0;
    const VedResult r = builder.CreateBlank(&maskInfo, &bytes, &made);
    if (r < 0 || !made) return;
    uint8_t* maskPixels = nullptr;
    made->GetPixels(&maskPixels);
    if (maskPixels) {
        // Rows are reversed whatever topDown says: a 32-bit source is taken to
        // be stored bottom-up.
        const int32_t w = static_cast<int32_t>(info.width), h = static_cast<int32_t>(info.height);
        for (int32_t y = 0; y < h; ++y) {
            const uint8_t* src = pixels + int64_t(h - 1 - y) * info.stride;
            uint8_t* dst = maskPixels + int64_t(y) * w;
            for (int32_t x = 0; x < w; ++x) dst[x] = static_cast<uint8_t>(255 - src[4 * x + 3]);
        }
    }
    *maskOut = made;
}

}  // namespace tarn
