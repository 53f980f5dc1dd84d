// The overlay list: an ordered stack composed first to last by Flatten.
// Each entry holds one reference; the same surface may stand more than once.
#include <iterator>

#include "surface/out_of_memory.h"
#include "surface/tarn_surface.h"

namespace tarn {

int32_t CTarnSurface::GetOverlayCount() { return static_cast<int32_t>(overlays.size()); }

VedResult CTarnSurface::AddOverlay(ITarnSurface* overlay) {
    if (!overlay) return VED_E_INVALIDARG;
    overlay->AddRef();  // before the node: the entry's reference
    const VedResult r = AnswerOutOfMemory([&] {
        overlays.push_back(overlay);
        return VED_S_OK;
    });
    if (r < 0) overlay->Release();  // no node, no entry to hold it
    return r;
}

VedResult CTarnSurface::RemoveOverlay(int32_t index) {
    if (index < 0 || index >= GetOverlayCount()) return VED_E_INVALIDARG;
    auto entry = std::next(overlays.begin(), index);
    (*entry)->Release();
    overlays.erase(entry);
    return VED_S_OK;
}

VedResult CTarnSurface::MoveOverlay(ITarnSurface* overlay, int32_t newIndex) {
    if (!overlay || newIndex < 0) return VED_E_INVALIDARG;
    int32_t found = 0;
    auto entry = overlays.begin();
    for (; entry != overlays.end() && *entry != overlay; ++entry) ++found;
    if (entry == overlays.end()) return VED_E_FAIL;
    if (found == newIndex) return VED_S_OK;
    // The index counts in the list without the entry; past the end means last.
    // The node itself moves, with its reference: nothing is allocated.
    auto at = overlays.begin();
    for (int32_t i = 0; i < newIndex && at != overlays.end(); ++at)
        if (at != entry) ++i;
    overlays.splice(at, overlays, entry);
    return VED_S_OK;
}

int32_t CTarnSurface::FindOverlay(ITarnSurface* overlay) {
    if (!overlay) return -1;
    int32_t index = 0;
    for (ITarnSurface* entry : overlays) {
        if (entry == overlay) return index;
        ++index;
    }
    return -1;
}

ITarnSurface* CTarnSurface::GetOverlay(int32_t index) {
    if (index < 0 || index >= GetOverlayCount()) return nullptr;
    ITarnSurface* overlay = *std::next(overlays.begin(), index);
    overlay->AddRef();
    return overlay;
}

}  // namespace tarn
