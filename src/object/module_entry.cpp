// The library's one exported function.
#include <new>

#include "object/surface_builder.h"

extern "C" TARN_EXPORT VedResult TARN_CALL CreateObject(const VedId& classId,
                                                        const VedId& interfaceId, void** out) {
    if (!(classId == CLSID_TarnSurfaceLibrary)) return VED_E_FAIL;
    auto* builder = new (std::nothrow) tarn::CSurfaceBuilder;
    if (!builder) return VED_E_FAIL;
    // Hold a reference across the query so that a failed query frees the builder.
    builder->AddRef();
    const VedResult r = builder->QueryInterface(interfaceId, out);
    builder->Release();
    return r;
}
