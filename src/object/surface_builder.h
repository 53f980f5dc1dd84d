// CSurfaceBuilder: the only maker of surfaces. It holds nothing between
// calls; the library also uses it as a local object without a count.
#pragma once

#include "surface/ved_unknown.h"

namespace tarn {

class CTarnSurfaceBuffer;

// Pixels in memory held by the surface: the only storage there is.
inline constexpr uint32_t kStorageInMemory = 4;

// The builder's last step for every surface: `ownership` is stored, and the
// caller receives the surface with one reference.
VedResult HandOver(CTarnSurfaceBuffer* surface, uint32_t ownership, ITarnSurface** result);

class CSurfaceBuilder : public ISurfaceBuilder, public VideoEdit::CVedUnknown {
public:
    uint32_t TARN_CALL AddRef() override { return CVedUnknown::AddRef(); }
    uint32_t TARN_CALL Release() override { return CVedUnknown::Release(); }
    VedResult TARN_CALL QueryInterface(const VedId& id, void** out) override;

    VedResult TARN_CALL CreateFromSource(void* source, int32_t kind, int32_t format,
                                         uint32_t flags, ITarnSurface** result) override;
    VedResult TARN_CALL CreateBlank(const SurfaceInfo* info, int32_t* byteCount,
                                    ITarnSurface** result) override;
    VedResult TARN_CALL CreateFromData(const SurfaceInfo* info, IPixelSource* source,
                                       ITarnSurface** result) override;
};

}  // namespace tarn
