// MakeMaskFromAlpha: the surface that keeps the alpha bytes of a 32-bit
// picture as a mask when the picture changes format.
#include "operations/mask_from_alpha.h"
#include "surface/surface_factory.h"

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
    CTarnSurfaceBuffer* made = nullptr;
    if (MakeBlankSurface(maskInfo, nullptr, &made) < 0) return;
    MaskFromAlpha(PictureOf(info, pixels), PictureOf(made->info, made->pixels));
    *maskOut = made;
}

}  // namespace tarn
