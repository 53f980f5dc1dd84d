// What the flatten tests share: pictures made from host bytes through the
// public builder, flattening in place as hosts usually ask, their bytes read
// back after the queue has run, and a check of every sample of a YUV420
// picture against what should lie inside and outside a rectangle.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <initializer_list>
#include <vector>

#include "host/host_support.h"
#include "surface/tarn_surface_buffer.h"

namespace tarn::flatten_support {

using Bytes = std::vector<uint8_t>;

// `data` as a picture of `format` with the stride a host would give.
inline Ref<ITarnSurface> Make(SurfaceFormat format, int w, int h, Bytes data) {
    SurfaceInfo info = host::Describe(format, uint32_t(w), uint32_t(h));
    info.flattenInPlace = 1;
    return host::FromData(info, std::move(data));
}

inline Bytes Yuv420Flat(int w, int h, uint8_t y, uint8_t u, uint8_t v) {
    Bytes b(w * h * 3 / 2, y);
    std::memset(b.data() + w * h, u, w * h / 4);
    std::memset(b.data() + w * h * 5 / 4, v, w * h / 4);
    return b;
}

inline Ref<ITarnSurface> Yuv420(int w, int h, uint8_t y, uint8_t u, uint8_t v) {
    return Make(SURFACE_FORMAT_YUV420, w, h, Yuv420Flat(w, h, y, u, v));
}

// A GRAY8 mask of one value, stride rounded to 4 bytes.
inline Ref<ITarnSurface> Mask(int w, int h, uint8_t value) {
    SurfaceInfo info = host::Describe(SURFACE_FORMAT_GRAY8, uint32_t(w), uint32_t(h));
    info.stride = (w + 3) & ~3;
    Ref<ITarnSurface> s = host::Blank(info);
    std::memset(host::PixelsOf(s.get()), value, size_t(info.stride) * h);
    return s;
}

inline void Place(ITarnSurface* o, VedRect s, VedRect d, uint32_t alpha = 0) {
    ASSERT_EQ(o->SetSourceRect(s.left, s.top, s.right, s.bottom), VED_S_OK);
    ASSERT_EQ(o->SetDestRect(d.left, d.top, d.right, d.bottom), VED_S_OK);
    ASSERT_EQ(o->SetAlpha(alpha), VED_S_OK);
}

// Adds `overlays` to `frame` in order and flattens it; `out`, if given,
// receives the result.
inline VedResult FlattenWith(ITarnSurface* frame, std::initializer_list<ITarnSurface*> overlays,
                             Ref<ITarnSurface>* out = nullptr) {
    for (ITarnSurface* o : overlays) EXPECT_EQ(frame->AddOverlay(o), VED_S_OK);
    Ref<ITarnSurface> result;
    const VedResult r = frame->Flatten(result.put());
    if (out) *out = result;
    return r;
}

// Drains first: GetInfo alone would show the format before queued work.
inline Bytes PixelsOf(ITarnSurface* s) {
    uint8_t* p = host::PixelsOf(s);
    return Bytes(p, p + BufferBytes(host::InfoOf(s)));
}

inline uint32_t Count(ITarnSurface* s) { return host::RefCount(s); }

// A sample of a YUV420 picture: plane 0 is Y, 1 and 2 the chroma planes.
using Samples = std::function<int(int plane, int x, int y)>;

inline Samples Flat(int y, int u, int v) {
    return [=](int plane, int, int) { return plane == 0 ? y : plane == 1 ? u : v; };
}

// The samples of the w x h YUV420 bytes `b`.
inline Samples Of(const Bytes& b, int w, int h) {
    return [&b, w, h](int plane, int x, int y) {
        const int pw = plane ? w / 2 : w, base = plane ? w * h + (plane - 1) * (w / 2) * (h / 2) : 0;
        return int(b[size_t(base + y * pw + x)]);
    };
}

// Every sample of the w x h YUV420 bytes `p`: inside D (halved for chroma)
// `in` at coordinates from D's corner, elsewhere `out` at the picture's own.
// Reports the first difference only.
inline void ExpectPlanes(const Bytes& p, int w, int h, VedRect d, const Samples& in, const Samples& out) {
    for (int plane = 0, base = 0; plane < 3; ++plane) {
        const int s = plane ? 1 : 0, pw = w >> s, ph = h >> s;
        const int l = d.left >> s, t = d.top >> s, r = d.right >> s, b = d.bottom >> s;
        for (int y = 0; y < ph; ++y)
            for (int x = 0; x < pw; ++x) {
                const bool inside = x >= l && x < r && y >= t && y < b;
                const int want = inside ? in(plane, x - l, y - t) : out(plane, x, y);
                if (p[size_t(base + y * pw + x)] != want) {
                    ADD_FAILURE() << "plane " << plane << " (" << x << ", " << y << "): "
                                  << int(p[size_t(base + y * pw + x)]) << ", want " << want;
                    return;
                }
            }
        base += pw * ph;
    }
}

}  // namespace tarn::flatten_support
