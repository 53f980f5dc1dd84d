// Flatten: the overlay stack composed, first to last, onto this surface or a
// copy of it. Composition happens in YUV only: a target in another format is
// converted to YUV420 and stays so. The overlays are consumed.
#include "operations/compose.h"
#include "surface/tarn_surface_buffer.h"

namespace tarn {

namespace {

// True when the overlay has a mask; the reference GetMask gave is returned.
bool HasMask(ITarnSurface* overlay) {
    ITarnSurface* mask = nullptr;
    if (overlay->GetMask(&mask) < 0 || !mask) return false;
    mask->Release();
    return true;
}

}  // namespace

VedResult CTarnSurfaceBuffer::Flatten(ITarnSurface** result) {
    VedResult running = Drain(false);
    if (running < 0) return running;
    if (overlays.empty()) {
        AddRef();
        *result = this;
        return running;
    }

    const bool inPlace = info.flattenInPlace != 0;
    ITarnSurface* target = this;
    if (!inPlace) {
        ITarnSurface* copy = nullptr;
        running = Clone(&copy);
        if (running < 0 || !copy) return VED_E_FAIL;  // the list stays as it was
        target = copy;
    }

    const int32_t count = GetOverlayCount();
    for (int32_t i = 0; i < count; ++i) {
        ITarnSurface* overlay = GetOverlay(i);  // a reference for the compositor
        if (!overlay) break;
        SurfaceInfo ti{};
        target->GetInfo(&ti);
        if (ti.format == SURFACE_FORMAT_YUV422) {
            overlay->SetFormat(SURFACE_FORMAT_YUV422);
            overlay->Flush();
            // Without a mask the overlay is passed over on purpose, and the
            // reference GetOverlay gave is not given back: hosts have always
            // seen that count.
            if (HasMask(overlay)) running = ComposeMasked(target, overlay);
            continue;
        }
        if (ti.format != SURFACE_FORMAT_YUV420) {
            // For good: the target stays YUV420 after the composition.
            target->SetFormat(SURFACE_FORMAT_YUV420);
            target->Flush();
        }
        overlay->SetFormat(SURFACE_FORMAT_YUV420);
        overlay->Flush();
        running = HasMask(overlay) ? ComposeMasked(target, overlay)
                                   : ComposeKeyed(this, target, overlay);
    }

    // Consumed whatever the compositors answered, also into a copy.
    for (ITarnSurface* overlay : overlays) overlay->Release();
    overlays.clear();

    if (inPlace) AddRef();
    *result = target;
    return running;
}

}  // namespace tarn
