// CSurfaceBuilder: the public face of the surface factory. Arguments are
// checked here; the rules of each kind of surface are the factory's.
#include "object/surface_builder.h"

#include "surface/surface_factory.h"

namespace tarn {

VedResult CSurfaceBuilder::QueryInterface(const VedId& id, void** out) {
    return AnswerQuery<ISurfaceBuilder>(this, IID_ISurfaceBuilder, id, out);
}

VedResult CSurfaceBuilder::CreateBlank(const SurfaceInfo* info, int32_t* byteCount,
                                       ITarnSurface** result) {
    if (!info || !result) return VED_E_INVALIDARG;
    CTarnSurfaceBuffer* made = nullptr;
    const VedResult r = MakeBlankSurface(*info, byteCount, &made);
    if (r >= 0) *result = made;  // a refusal leaves *result as it was
    return r;
}

VedResult CSurfaceBuilder::CreateFromData(const SurfaceInfo* info, IPixelSource* source,
                                          ITarnSurface** result) {
    if (!info || !source || !result) return VED_E_INVALIDARG;
    CTarnSurfaceBuffer* made = nullptr;
    const VedResult r = MakeSurfaceFromData(*info, *source, &made);
    if (r >= 0) *result = made;
    return r;
}

}  // namespace tarn
