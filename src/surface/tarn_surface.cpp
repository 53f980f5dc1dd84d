// CTarnSurface: construction, destruction, properties and the fit rectangle.
#include "surface/tarn_surface.h"

#include <cstdint>

#include "operations/fit_rect.h"

namespace tarn {

using namespace platform;

CTarnSurface::CTarnSurface(const SurfaceInfo& source) : info(source) {
    info.size = sizeof(SurfaceInfo);
    PlatInitCriticalSection(&operationLock);
}

CTarnSurface::~CTarnSurface() {
    PlatEnterCriticalSection(&operationLock);
    ownership = 0;
    directOutput.reset();
    operations.clear();  // dropped without running
    for (ITarnSurface* overlay : overlays) overlay->Release();
    overlays.clear();
    if (mask) {
        mask->Release();
        mask = nullptr;
    }
    PlatLeaveCriticalSection(&operationLock);
    PlatDeleteCriticalSection(&operationLock);
}

VedResult CTarnSurface::QueryInterface(const VedId& id, void** out) {
    return AnswerQuery<ITarnSurface>(this, IID_ITarnSurface, id, out);
}

VedResult CTarnSurface::GetInfo(SurfaceInfo* out) {
    if (!out) return VED_E_INVALIDARG;
    *out = info;
    return VED_S_OK;
}

// The getters do not test their pointers: hosts pass valid ones.
VedResult CTarnSurface::GetAspect(int32_t* x, int32_t* y) {
    *x = aspectX;
    *y = aspectY;
    return VED_S_OK;
}

VedResult CTarnSurface::SetAspect(int32_t x, int32_t y) {
    if (x < 0 || y < 0) return VED_E_INVALIDARG;
    aspectX = x;
    aspectY = y;
    return VED_S_OK;
}

VedResult CTarnSurface::SetFlattenInPlace(uint32_t inPlace) {
    info.flattenInPlace = inPlace;
    return VED_S_OK;
}

VedResult CTarnSurface::GetFlattenInPlace(uint32_t* inPlace) {
    *inPlace = info.flattenInPlace;
    return VED_S_OK;
}

VedResult CTarnSurface::SetBackColor(uint32_t color) {
    backColor = color;
    return VED_S_OK;
}

VedResult CTarnSurface::GetBackColor(uint32_t* color) {
    *color = backColor;
    return VED_S_OK;
}

VedResult CTarnSurface::SetAlpha(uint32_t value) {
    if (value > 256) return VED_E_INVALIDARG;
    alpha = value;
    return VED_S_OK;
}

VedResult CTarnSurface::GetAlpha(uint32_t* value) {
    *value = alpha;
    return VED_S_OK;
}

VedResult CTarnSurface::SetMask(ITarnSurface* newMask) {
    if (!newMask) return VED_E_INVALIDARG;
    // Release first, then take: passing the present mask while it holds the
    // last reference is the caller's error.
    if (mask) mask->Release();
    mask = newMask;
    mask->AddRef();
    return VED_S_OK;
}

VedResult CTarnSurface::GetMask(ITarnSurface** out) {
    *out = mask;
    if (!mask) return VED_E_FAIL;
    mask->AddRef();
    return VED_S_OK;
}

VedResult CTarnSurface::SetSourceRect(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    // Right and bottom compare as unsigned, so a negative one is far too large.
    if (left < 0 || top < 0 || static_cast<uint32_t>(bottom) > info.height ||
        static_cast<uint32_t>(right) > info.width)
        return VED_E_INVALIDARG;
    sourceRect = {left, top, right, bottom};
    return VED_S_OK;
}

VedResult CTarnSurface::GetSourceRect(VedRect* rect) {
    *rect = sourceRect;
    return VED_S_OK;
}

VedResult CTarnSurface::SetDestRect(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    if (left < 0 || top < 0) return VED_E_INVALIDARG;  // the target is not known here
    destRect = {left, top, right, bottom};
    return VED_S_OK;
}

VedResult CTarnSurface::GetDestRect(VedRect* rect) {
    *rect = destRect;
    return VED_S_OK;
}

uint32_t CTarnSurface::SetOwnership(uint32_t value) {
    ownership = value;
    return 1;
}

void CTarnSurface::ComputeFitRect(int32_t targetWidth, int32_t targetHeight, VedRect* rect) {
    FitRect(static_cast<int32_t>(info.width), static_cast<int32_t>(info.height), {aspectX, aspectY},
            targetWidth, targetHeight, rect);
}

}  // namespace tarn
