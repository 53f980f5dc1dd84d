// Flatten: the overlay stack composed, first to last, onto this surface or a
// copy of it. Composition happens in YUV only: a target in another format is
// converted to YUV420 and stays so. The overlays are consumed.
//
// This is the surface side of composition: each overlay is converted through
// its own queue once, its values (pictures, rectangles, weights) are
// collected, the stretched copies a compositor asks for are made through the
// surface factory, and the checks and blends over those values run in
// operations/compose.h.
#include "operations/compose.h"
#include "surface/flatten.h"
#include "surface/surface_factory.h"

namespace tarn {

namespace {

// True when the overlay has a mask; the reference GetMask gave is returned.
bool HasMask(ITarnSurface* overlay) {
    ITarnSurface* mask = nullptr;
    if (overlay->GetMask(&mask) < 0 || !mask) return false;
    mask->Release();
    return true;
}

// The conversion runs through the surface's queue, after whatever the host
// queued on it; its result is not looked at: a surface that could not be
// converted is refused by the compositor's checks.
void Convert(ITarnSurface* surface, SurfaceFormat format) {
    surface->SetFormat(format);
    surface->Flush();
}

// The buffer of a surface, its queue drained first (a mask's queue is drained
// here for the first time; the others' are empty by now).
uint8_t* PixelsOf(ITarnSurface* surface) {
    uint8_t* pixels = nullptr;
    surface->GetPixels(&pixels);
    return pixels;
}

Picture PictureAt(ITarnSurface* surface, uint8_t* pixels) {
    SurfaceInfo info{};
    surface->GetInfo(&info);
    return PictureOf(info, pixels);
}

// A blank copy of D's size for the stretch of a picture laid out as `like`.
// The factory's rules decide: a YUV422 copy given `stride` = D's width is
// refused, and the composition answers that with nothing painted.
VedResult MakeStretchBlank(SurfaceInfo like, const VedRect& d, int32_t stride, CTarnSurfaceBuffer** out) {
    like.width = static_cast<uint32_t>(d.right - d.left);
    like.height = static_cast<uint32_t>(d.bottom - d.top);
    like.stride = stride;
    return MakeBlankSurface(like, nullptr, out);
}

}  // namespace

VedResult ComposeKeyed(const SurfaceInfo& planes, CTarnSurfaceBuffer& target, ITarnSurface* overlay) {
    KeyedOverlay k{};
    overlay->GetDestRect(&k.dest);
    overlay->GetSourceRect(&k.source);
    overlay->GetAlpha(&k.alpha);
    overlay->GetBackColor(&k.keyColour);
    SurfaceInfo oi{};
    overlay->GetInfo(&oi);
    k.picture = PictureOf(oi, nullptr);
    const ComposeStart start = StartKeyed(PictureOf(target.info, nullptr), k);
    if (!start.goOn) {
        overlay->Release();
        return start.result;
    }
    if (start.stretch) {
        CTarnSurfaceBuffer* stretched = nullptr;
        const VedResult r = MakeStretchBlank(oi, k.dest, k.dest.right - k.dest.left, &stretched);
        if (r < 0) {
            overlay->Release();
            return r;
        }
        stretched->DrawToSurface(nullptr, overlay, &k.source, 0);  // result not looked at
        overlay->Release();
        overlay = stretched;
        k.source = {0, 0, k.dest.right - k.dest.left, k.dest.bottom - k.dest.top};
    }
    uint8_t* targetPixels = PixelsOf(&target);
    k.picture = PictureAt(overlay, PixelsOf(overlay));
    const VedResult r = BlendKeyedOverlay(PictureOf(target.info, targetPixels), PictureOf(planes, nullptr), k);
    overlay->Release();
    return r;
}

VedResult ComposeMasked(CTarnSurfaceBuffer& target, ITarnSurface* overlay) {
    ITarnSurface* mask = nullptr;
    if (overlay->GetMask(&mask) < 0 || !mask) return VED_E_FAIL;  // overlay kept
    MaskedOverlay m{};
    overlay->GetDestRect(&m.dest);
    overlay->GetSourceRect(&m.source);
    const SurfaceFormat format = target.info.format;
    if (format != SURFACE_FORMAT_YUV420 && format != SURFACE_FORMAT_YUV422)
        return VED_E_BADSTATE;  // mask and overlay kept
    SurfaceInfo oi{};
    overlay->GetInfo(&oi);
    if (oi.format != format) {
        // Flatten has converted the overlay already. A conversion that did
        // not take (memory ran short) is tried once more here, as hosts have
        // always seen; after one that took, a second would do nothing.
        Convert(overlay, format);
        overlay->GetInfo(&oi);
    }
    m.picture = PictureOf(oi, nullptr);
    const auto refuse = [&](VedResult r) {
        mask->Release();
        overlay->Release();
        return r;
    };
    const ComposeStart start = StartMasked(PictureOf(target.info, nullptr), m);
    if (!start.goOn) return refuse(start.result);

    if (start.stretch) {
        // Overlay and mask are stretched to D's size through two blank
        // copies. A stretched overlay already made when only the mask's
        // blank fails is not released: that leak is old behaviour and kept.
        CTarnSurfaceBuffer* stretched = nullptr;
        VedResult r = MakeStretchBlank(oi, m.dest, m.dest.right - m.dest.left, &stretched);
        if (r < 0) return refuse(r);
        SurfaceInfo maskInfo{};
        mask->GetInfo(&maskInfo);
        CTarnSurfaceBuffer* stretchedMask = nullptr;
        r = MakeStretchBlank(maskInfo, m.dest, (((m.dest.right - m.dest.left) * 8 + 31) >> 5) * 4,
                             &stretchedMask);
        if (r < 0) return refuse(r);
        // A mask has its overlay's size, so S serves for both. The results
        // are not looked at: composition goes on with what is there.
        stretched->DrawToSurface(nullptr, overlay, &m.source, 0);
        stretchedMask->DrawToSurface(nullptr, mask, &m.source, 0);
        overlay->Release();
        mask->Release();
        overlay = stretched;
        mask = stretchedMask;
        m.source = {0, 0, m.dest.right - m.dest.left, m.dest.bottom - m.dest.top};
    }

    uint8_t* maskPixels = PixelsOf(mask);
    uint8_t* targetPixels = PixelsOf(&target);
    uint8_t* overlayPixels = PixelsOf(overlay);
    m.picture = PictureAt(overlay, overlayPixels);
    m.mask = PictureAt(mask, maskPixels);
    return refuse(BlendMaskedOverlay(PictureOf(target.info, targetPixels), m));
}

VedResult CTarnSurfaceBuffer::Flatten(ITarnSurface** result) {
    VedResult running = Drain(nullptr);
    if (running < 0) return running;
    if (overlays.empty()) {
        AddRef();
        *result = this;
        return running;
    }

    const bool inPlace = info.flattenInPlace != 0;
    CTarnSurfaceBuffer* target = this;
    if (!inPlace) {
        CTarnSurfaceBuffer* copy = nullptr;
        running = CloneSurface(&copy);
        if (running < 0 || !copy) return VED_E_FAIL;  // the list stays as it was
        target = copy;
    }

    const int32_t count = GetOverlayCount();
    for (int32_t i = 0; i < count; ++i) {
        ITarnSurface* overlay = GetOverlay(i);  // a reference for the compositor
        if (!overlay) break;
        if (target->info.format == SURFACE_FORMAT_YUV422) {
            Convert(overlay, SURFACE_FORMAT_YUV422);
            // Without a mask the overlay is passed over on purpose, and the
            // reference GetOverlay gave is not given back: hosts have always
            // seen that count.
            if (HasMask(overlay)) running = ComposeMasked(*target, overlay);
            continue;
        }
        // For good: the target stays YUV420 after the composition.
        if (target->info.format != SURFACE_FORMAT_YUV420) Convert(target, SURFACE_FORMAT_YUV420);
        Convert(overlay, SURFACE_FORMAT_YUV420);
        running = HasMask(overlay) ? ComposeMasked(*target, overlay) : ComposeKeyed(info, *target, overlay);
    }

    // Consumed whatever the compositors answered, also into a copy.
    for (ITarnSurface* overlay : overlays) overlay->Release();
    overlays.clear();

    if (inPlace) AddRef();
    *result = target;
    return running;
}

}  // namespace tarn
