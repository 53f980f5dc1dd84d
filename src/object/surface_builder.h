// CSurfaceBuilder: the hosts' maker of surfaces, over the surface factory. It
// holds nothing between calls.
#pragma once

#include "surface/ved_unknown.h"

namespace tarn {

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
