// The keyed compositor: an overlay without a mask onto a YUV420 target, with
// one constant weight and a key colour. Target and overlay are taken to be
// YUV420; Flatten brings no other.
#include "operations/compose.h"
#include "operations/compose_guard.h"
#include "platform/cpu_features.h"
#include "platform/rect.h"

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

// Every byte the keyed blend touches, for the rectangle `r`, lies within the
// offsets `bytes` of a buffer laid out as `l`.
bool KeyedBlendInside(const PlaneLayout& l, const ByteSpan& bytes, const VedRect& r) {
    const int64_t dw = platform::RectWidth(r), dh = platform::RectHeight(r);
    const TouchedArea y{0, l.pitch, r.top, r.left, dh, dw};
    TouchedArea c{l.first, l.chromaPitch, r.top >> 1, r.left >> 1, ((dh - 1) >> 1) + 1,
                  ((dw - 1) >> 1) + 1};
    if (!AreaInside(y, bytes) || !AreaInside(c, bytes)) return false;
    c.planeOffset = l.second;
    return AreaInside(c, bytes);
}

}  // namespace

ComposeStart StartKeyed(const Picture& target, const KeyedOverlay& overlay) {
    const VedRect& d = overlay.dest;
    const VedRect& s = overlay.source;
    if (platform::IsRectEmpty(&d)) return {false, false, VED_E_INVALIDARG};
    // Before any range test: an overlay at full transparency paints nothing
    // wherever it lies, and nothing is stretched for it.
    if (overlay.alpha >= 256) return {false, false, VED_S_OK};
    // The keyed blend touches every pixel of D, and of S when nothing is
    // stretched; an S outside the overlay is for the stretch to meet.
    const bool stretch = platform::RectWidth(d) != platform::RectWidth(s) ||
                         platform::RectHeight(d) != platform::RectHeight(s);
    const Picture& o = overlay.picture;
    if (!RectInside(d, target.width, target.height) || (!stretch && !RectInside(s, o.width, o.height)))
        return {false, false, VED_E_INVALIDARG};
    return {true, stretch, VED_S_OK};
}

VedResult BlendKeyedOverlay(const Picture& target, const Picture& planes, const KeyedOverlay& overlay) {
    const Picture& o = overlay.picture;
    if (!target.pixels || !o.pixels) return VED_E_INVALIDARG;
    const PlaneLayout tl = LayoutOf(planes.height, planes.stride);
    const PlaneLayout ol = LayoutOf(o.height, o.stride);
    if (!KeyedBlendInside(tl, BufferOffsets(target), overlay.dest) ||
        !KeyedBlendInside(ol, BufferOffsets(o), overlay.source))
        return VED_E_INVALIDARG;
    const bool sse2Tier = (g_cpuFeatures & kCpuSse2) != 0;
    BlendKeyed(PlanesAt(target.pixels, tl), PlanesAt(o.pixels, ol), overlay.dest, overlay.source,
               overlay.alpha, KeySamplesOf(overlay.keyColour), sse2Tier);
    return VED_S_OK;
}

}  // namespace tarn
