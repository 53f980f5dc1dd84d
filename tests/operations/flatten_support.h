// What the flatten tests share: pictures made from host bytes through the
// public builder, flattening in place as hosts usually ask, and their bytes
// read back after the queue has run.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
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

// Drains first: GetInfo alone would show the format before queued work.
inline Bytes PixelsOf(ITarnSurface* s) {
    uint8_t* p = host::PixelsOf(s);
    return Bytes(p, p + BufferBytes(host::InfoOf(s)));
}

inline uint32_t Count(ITarnSurface* s) { return host::RefCount(s); }

}  // namespace tarn::flatten_support
