// ComposeMasked: an overlay with a mask onto a YUV420 or YUV422 target, with
// per-pixel weights. Takes over the caller's reference to the overlay.
#include "operations/compose.h"

#include "convert/cpu_features.h"
#include "object/surface_builder.h"
#include "operations/compose_guard.h"
#include "platform/rect.h"
#include "surface/tarn_surface_buffer.h"

namespace tarn {

namespace {

// Stretches overlay and mask to D's size through two blank surfaces. On
// success they replace `overlay` and `mask` (the old ones released) and S
// becomes (0, 0, dw, dh). On failure the ones that came in are released; a
// stretched overlay already made when only the mask's blank fails is not:
// that leak is old behaviour and kept as it is.
VedResult StretchOverlayAndMask(ITarnSurface*& overlay, ITarnSurface*& mask, const VedRect& d,
                                VedRect& s) {
    const int32_t dw = platform::RectWidth(d), dh = platform::RectHeight(d);
    CSurfaceBuilder builder;
    SurfaceInfo info{};
    overlay->GetInfo(&info);
    info.width = static_cast<uint32_t>(dw);
    info.height = static_cast<uint32_t>(dh);
    // Also for YUV422, whose rows need twice that: the builder refuses such a
    // surface, and the composition answers its result with nothing painted.
    info.stride = dw;
    ITarnSurface* stretched = nullptr;
    int32_t bytes = 0;
    const auto fail = [&](VedResult r) {
        mask->Release();
        overlay->Release();
        return r < 0 ? r : VED_E_FAIL;
    };
    VedResult r = builder.CreateBlank(&info, &bytes, &stretched);
    if (r < 0 || !stretched) return fail(r);
    SurfaceInfo maskInfo{};
    mask->GetInfo(&maskInfo);
    maskInfo.width = static_cast<uint32_t>(dw);
    maskInfo.height = static_cast<uint32_t>(dh);
    maskInfo.stride = ((dw * 8 + 31) >> 5) * 4;
    ITarnSurface* stretchedMask = nullptr;
    r = builder.CreateBlank(&maskInfo, &bytes, &stretchedMask);
    if (r < 0 || !stretchedMask) return fail(r);
    // A mask has its overlay's size, so S serves for both. The results are
    // not looked at: composition goes on with what is there.
    stretched->DrawToSurface(nullptr, overlay, &s, 0);
    stretchedMask->DrawToSurface(nullptr, mask, &s, 0);
    overlay->Release();
    mask->Release();
    overlay = stretched;
    mask = stretchedMask;
    s = {0, 0, dw, dh};
    overlay->SetSourceRect(0, 0, dw, dh);
    overlay->SetDestRect(d.left, d.top, d.right, d.bottom);
    return VED_S_OK;
}

// The part of D the planar blend paints: its whole 2x2 blocks.
VedRect BlockArea(const VedRect& d) {
    const int32_t blocks = platform::RectWidth(d) >> 1, pairs = platform::RectHeight(d) >> 1;
    return {d.left, d.top, d.left + 2 * blocks, d.top + 2 * pairs};
}

// Every byte of one picture's three planes that the planar blend touches,
// entering at `r` for whole blocks of D.
bool PlanarPlanesInside(const SurfaceInfo& in, const VedRect& r, const VedRect& d) {
    const int64_t pairs = platform::RectHeight(d) >> 1, blocks = platform::RectWidth(d) >> 1;
    const int64_t luma = int64_t(in.stride) * in.height;
    const int64_t chroma = (int64_t(in.stride / 2) * in.height) / 2;
    const int64_t bytes = BufferBytes(in);
    const TouchedArea y{0, in.stride, r.top, r.left, 2 * pairs, 2 * blocks};
    TouchedArea c{luma, in.stride / 2, r.top >> 1, r.left >> 1, pairs, blocks};
    if (!AreaInside(y, bytes) || !AreaInside(c, bytes)) return false;
    c.planeOffset = luma + chroma;
    return AreaInside(c, bytes);
}

// Every byte the planar blend touches, in target, overlay and mask.
bool PlanarBlendInside(const SurfaceInfo& ti, const SurfaceInfo& oi, const SurfaceInfo& mi,
                       const VedRect& d, const VedRect& s) {
    const int64_t pairs = platform::RectHeight(d) >> 1, blocks = platform::RectWidth(d) >> 1;
    const TouchedArea m{0, oi.stride, s.top, s.left, 2 * pairs, 2 * blocks};
    return PlanarPlanesInside(ti, d, d) && PlanarPlanesInside(oi, s, d) && AreaInside(m, BufferBytes(mi));
}

// Every byte the packed blend touches; the mask's first row depends on the tier.
bool PackedBlendInside(const SurfaceInfo& ti, const SurfaceInfo& oi, const SurfaceInfo& mi,
                       const VedRect& d, const VedRect& s, bool useSse2) {
    const int64_t rows = platform::RectHeight(d), width = platform::RectWidth(d);
    const TouchedArea t{0, ti.stride, d.top, 2 * int64_t(d.left), rows, 2 * width};
    const TouchedArea o{0, oi.stride, s.top, 2 * int64_t(s.left), rows, 2 * width};
    const TouchedArea m{0, oi.width, useSse2 ? s.top : d.top, s.left, rows, width};
    return AreaInside(t, BufferBytes(ti)) && AreaInside(o, BufferBytes(oi)) &&
           AreaInside(m, BufferBytes(mi));
}

}  // namespace

VedResult ComposeMasked(ITarnSurface* target, ITarnSurface* overlay) {
    if (!target || !overlay) return VED_E_INVALIDARG;
    ITarnSurface* mask = nullptr;
    if (overlay->GetMask(&mask) < 0 || !mask) return VED_E_FAIL;  // overlay kept
    VedRect d{}, s{};
    overlay->GetDestRect(&d);
    overlay->GetSourceRect(&s);
    SurfaceInfo ti{};
    target->GetInfo(&ti);
    if (ti.format != SURFACE_FORMAT_YUV420 && ti.format != SURFACE_FORMAT_YUV422)
        return VED_E_BADSTATE;  // mask and overlay kept
    overlay->SetFormat(ti.format);
    overlay->Flush();

    const auto refuse = [&](VedResult r) {
        mask->Release();
        overlay->Release();
        return r;
    };
    if (platform::IsRectEmpty(&d)) return refuse(VED_E_INVALIDARG);
    // The packed blend touches every pixel of D and of S, so both must lie in
    // their pictures. The planar blend walks whole 2x2 blocks only, and may
    // leave an odd edge of D or S outside: its byte test below is the one
    // that decides. An S outside the overlay is for the stretch to meet (its
    // draw fails unseen, and the blank copies are blended).
    const bool planar = ti.format == SURFACE_FORMAT_YUV420;
    const bool stretch =
        platform::RectWidth(d) != platform::RectWidth(s) || platform::RectHeight(d) != platform::RectHeight(s);
    SurfaceInfo oi{};
    overlay->GetInfo(&oi);
    if (!planar && (!RectInside(d, ti.width, ti.height) || (!stretch && !RectInside(s, oi.width, oi.height))))
        return refuse(VED_E_INVALIDARG);
    // The planar blend paints D's whole blocks, which must lie in the target
    // picture: blocks past its right edge would run into the next rows and be
    // painted twice, in an order that differs between forms. Such a D is
    // refused before a copy of its size is made.
    if (planar && (!RectInside(BlockArea(d), ti.width, ti.height) || !PlanarPlanesInside(ti, d, d)))
        return refuse(VED_E_INVALIDARG);

    if (stretch) {
        const VedResult r = StretchOverlayAndMask(overlay, mask, d, s);
        if (r < 0) return r;
    }

    uint8_t* maskPixels = nullptr;
    uint8_t* targetPixels = nullptr;
    uint8_t* overlayPixels = nullptr;
    mask->GetPixels(&maskPixels);
    target->GetPixels(&targetPixels);
    overlay->GetPixels(&overlayPixels);
    overlay->GetDestRect(&d);
    overlay->GetSourceRect(&s);
    SurfaceInfo mi{};
    target->GetInfo(&ti);
    overlay->GetInfo(&oi);
    mask->GetInfo(&mi);
    const bool useSse2 = (g_cpuFeatures & kCpuSse2) != 0;
    const bool inside = planar ? PlanarBlendInside(ti, oi, mi, d, s)
                               : PackedBlendInside(ti, oi, mi, d, s, useSse2);
    if (!maskPixels || !targetPixels || !overlayPixels || !inside) return refuse(VED_E_INVALIDARG);

    const int32_t r =
        planar ? BlendMaskedPlanar(targetPixels, overlayPixels, maskPixels, ti.stride,
                                   static_cast<int32_t>(ti.height), oi.stride,
                                   static_cast<int32_t>(oi.height), &d, &s, useSse2)
               : BlendMaskedPacked(targetPixels, overlayPixels, maskPixels,
                                   static_cast<int32_t>(ti.width), static_cast<int32_t>(ti.height),
                                   static_cast<int32_t>(oi.width), static_cast<int32_t>(oi.height),
                                   ti.stride, oi.stride, &d, &s, useSse2);
    mask->Release();
    overlay->Release();
    return r;
}

}  // namespace tarn
