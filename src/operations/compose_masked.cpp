// The masked compositor: an overlay with a mask onto a YUV420 or YUV422
// target, with per-pixel weights.
#include "operations/compose.h"
#include "operations/compose_guard.h"
#include "platform/cpu_features.h"
#include "platform/rect.h"

namespace tarn {

namespace {

// The part of D the planar blend paints: its whole 2x2 blocks.
VedRect BlockArea(const VedRect& d) {
    const int32_t blocks = platform::RectWidth(d) >> 1, pairs = platform::RectHeight(d) >> 1;
    return {d.left, d.top, d.left + 2 * blocks, d.top + 2 * pairs};
}

// Every byte of one picture's three planes that the planar blend touches,
// entering at `r` for whole blocks of D.
bool PlanarPlanesInside(const Picture& in, const VedRect& r, const VedRect& d) {
    const int64_t pairs = platform::RectHeight(d) >> 1, blocks = platform::RectWidth(d) >> 1;
    const int64_t luma = int64_t(in.stride) * in.height;
    const int64_t chroma = (int64_t(in.stride / 2) * in.height) / 2;
    const ByteSpan bytes = BufferOffsets(in);
    const TouchedArea y{0, in.stride, r.top, r.left, 2 * pairs, 2 * blocks};
    TouchedArea c{luma, in.stride / 2, r.top >> 1, r.left >> 1, pairs, blocks};
    if (!AreaInside(y, bytes) || !AreaInside(c, bytes)) return false;
    c.planeOffset = luma + chroma;
    return AreaInside(c, bytes);
}

// Every byte the planar blend touches, in target, overlay and mask.
bool PlanarBlendInside(const Picture& ti, const Picture& oi, const Picture& mi,
                       const VedRect& d, const VedRect& s) {
    const int64_t pairs = platform::RectHeight(d) >> 1, blocks = platform::RectWidth(d) >> 1;
    const TouchedArea m{0, oi.stride, s.top, s.left, 2 * pairs, 2 * blocks};
    return PlanarPlanesInside(ti, d, d) && PlanarPlanesInside(oi, s, d) && AreaInside(m, BufferOffsets(mi));
}

// Every byte the packed blend touches; the mask's first row depends on the tier.
bool PackedBlendInside(const Picture& ti, const Picture& oi, const Picture& mi,
                       const VedRect& d, const VedRect& s, bool sse2Tier) {
    const int64_t rows = platform::RectHeight(d), width = platform::RectWidth(d);
    const TouchedArea t{0, ti.stride, d.top, 2 * int64_t(d.left), rows, 2 * width};
    const TouchedArea o{0, oi.stride, s.top, 2 * int64_t(s.left), rows, 2 * width};
    const TouchedArea m{0, oi.width, sse2Tier ? s.top : d.top, s.left, rows, width};
    return AreaInside(t, BufferOffsets(ti)) && AreaInside(o, BufferOffsets(oi)) &&
           AreaInside(m, BufferOffsets(mi));
}

}  // namespace

ComposeStart StartMasked(const Picture& target, const MaskedOverlay& overlay) {
    const VedRect& d = overlay.dest;
    const VedRect& s = overlay.source;
    if (platform::IsRectEmpty(&d)) return {false, false, VED_E_INVALIDARG};
    // The packed blend touches every pixel of D and of S, so both must lie in
    // their pictures. The planar blend walks whole 2x2 blocks only, and may
    // leave an odd edge of D or S outside: its byte test before blending is
    // the one that decides. An S outside the overlay is for the stretch to
    // meet (its draw fails unseen, and the blank copies are blended).
    const bool planar = target.format == SURFACE_FORMAT_YUV420;
    const bool stretch = platform::RectWidth(d) != platform::RectWidth(s) ||
                         platform::RectHeight(d) != platform::RectHeight(s);
    const Picture& o = overlay.picture;
    if (!planar && (!RectInside(d, target.width, target.height) ||
                    (!stretch && !RectInside(s, o.width, o.height))))
        return {false, false, VED_E_INVALIDARG};
    // The planar blend paints D's whole blocks, which must lie in the target
    // picture: blocks past its right edge would run into the next rows and be
    // painted twice, in an order that differs between forms. Such a D is
    // refused before a copy of its size is made.
    if (planar && (!RectInside(BlockArea(d), target.width, target.height) || !PlanarPlanesInside(target, d, d)))
        return {false, false, VED_E_INVALIDARG};
    return {true, stretch, VED_S_OK};
}

VedResult BlendMaskedOverlay(const Picture& target, const MaskedOverlay& overlay) {
    const Picture& o = overlay.picture;
    const Picture& m = overlay.mask;
    const VedRect& d = overlay.dest;
    const VedRect& s = overlay.source;
    const bool planar = target.format == SURFACE_FORMAT_YUV420;
    const bool sse2Tier = (g_cpuFeatures & kCpuSse2) != 0;
    const bool inside = planar ? PlanarBlendInside(target, o, m, d, s)
                               : PackedBlendInside(target, o, m, d, s, sse2Tier);
    if (!m.pixels || !target.pixels || !o.pixels || !inside) return VED_E_INVALIDARG;
    if (planar)
        BlendMaskedPlanar(target.pixels, o.pixels, m.pixels, target.stride, target.height, o.stride,
                          o.height, &d, &s, sse2Tier);
    else
        BlendMaskedPacked(target.pixels, o.pixels, m.pixels, target.stride, o.stride, o.width, &d, &s,
                          sse2Tier);
    return VED_S_OK;
}

}  // namespace tarn
