// ComposeKeyed: an overlay without a mask onto a YUV420 target, with one
// constant weight and a key colour. Takes over the caller's reference to the
// overlay. Target and overlay are taken to be YUV420; Flatten brings no other.
#include "operations/compose.h"

#include "convert/cpu_features.h"
#include "object/surface_builder.h"
#include "operations/compose_guard.h"
#include "platform/rect.h"
#include "surface/tarn_surface_buffer.h"

namespace tarn {

namespace {

// Planes laid out from a height and stride: the first chroma plane
// height * stride after Y, the second a quarter of that after the first.
struct PlaneLayout {
    int64_t first, second;
    int32_t pitch, chromaPitch;
};

PlaneLayout LayoutOf(int64_t height, int32_t stride) {
    const int64_t luma = height * stride;
    return {luma, luma + (luma >> 2), stride, stride / 2};
}

PlanarPlanes PlanesAt(uint8_t* pixels, const PlaneLayout& l) {
    return {pixels, pixels + l.first, pixels + l.second, l.pitch, l.chromaPitch};
}

// Every byte the keyed blend touches, for the rectangle `r`, lies within a
// buffer of `bytes` laid out as `l`.
bool KeyedBlendInside(const PlaneLayout& l, int64_t bytes, const VedRect& r) {
    const int64_t dw = platform::RectWidth(r), dh = platform::RectHeight(r);
    const TouchedArea y{0, l.pitch, r.top, r.left, dh, dw};
    TouchedArea c{l.first, l.chromaPitch, r.top >> 1, r.left >> 1, ((dh - 1) >> 1) + 1,
                  ((dw - 1) >> 1) + 1};
    if (!AreaInside(y, bytes) || !AreaInside(c, bytes)) return false;
    c.planeOffset = l.second;
    return AreaInside(c, bytes);
}

}  // namespace

VedResult ComposeKeyed(CTarnSurfaceBuffer* self, ITarnSurface* target, ITarnSurface* overlay) {
    if (!target || !overlay) return VED_E_INVALIDARG;
    VedRect d{}, s{};
    overlay->GetDestRect(&d);
    overlay->GetSourceRect(&s);
    // `overlay` is the stretched copy once there is one.
    const auto release = [&overlay](VedResult r) {
        overlay->Release();
        return r;
    };
    if (platform::IsRectEmpty(&d)) return release(VED_E_INVALIDARG);
    uint32_t alpha = 0, keyColor = 0;
    overlay->GetAlpha(&alpha);
    overlay->GetBackColor(&keyColor);
    // Before any range test: an overlay at full transparency paints nothing
    // wherever it lies.
    if (alpha >= 256) return release(VED_S_OK);  // nothing painted and nothing stretched
    // The keyed blend touches every pixel of D, and of S when nothing is
    // stretched; an S outside the overlay is for the stretch to meet.
    const int32_t dw = platform::RectWidth(d), dh = platform::RectHeight(d);
    const bool stretch = dw != platform::RectWidth(s) || dh != platform::RectHeight(s);
    SurfaceInfo ti{}, oi{};
    target->GetInfo(&ti);
    overlay->GetInfo(&oi);
    if (!RectInside(d, ti.width, ti.height) || (!stretch && !RectInside(s, oi.width, oi.height)))
        return release(VED_E_INVALIDARG);

    VedResult result = VED_S_OK;
    if (stretch) {
        CSurfaceBuilder builder;
        SurfaceInfo info = oi;
        info.width = static_cast<uint32_t>(dw);
        info.height = static_cast<uint32_t>(dh);
        info.stride = dw;
        ITarnSurface* stretched = nullptr;
        int32_t bytes = 0;
        result = builder.CreateBlank(&info, &bytes, &stretched);
        if (result < 0 || !stretched) return release(result < 0 ? result : VED_E_FAIL);
        stretched->DrawToSurface(nullptr, overlay, &s, 0);  // result not looked at
        overlay->Release();
        overlay = stretched;
        s = {0, 0, dw, dh};
        overlay->SetSourceRect(0, 0, dw, dh);
        overlay->SetBackColor(keyColor);
    }

    // The target's planes follow the height and stride of the surface on
    // which Flatten was called, not the target's own: for a copy just
    // converted from RGB they differ, and hosts get exactly that.
    uint8_t* targetPixels = nullptr;
    uint8_t* overlayPixels = nullptr;
    target->GetPixels(&targetPixels);
    overlay->GetPixels(&overlayPixels);
    target->GetInfo(&ti);
    overlay->GetInfo(&oi);
    if (!targetPixels || !overlayPixels) return release(VED_E_INVALIDARG);
    const PlaneLayout tl = LayoutOf(self->info.height, self->info.stride);
    const PlaneLayout ol = LayoutOf(oi.height, oi.stride);
    if (!KeyedBlendInside(tl, BufferBytes(ti), d) || !KeyedBlendInside(ol, BufferBytes(oi), s))
        return release(VED_E_INVALIDARG);
    const bool useSse2 = (g_cpuFeatures & kCpuSse2) != 0;
    BlendKeyed(PlanesAt(targetPixels, tl), PlanesAt(overlayPixels, ol), d, s, alpha, KeySamplesOf(keyColor), useSse2);
    return release(result);
}

}  // namespace tarn
