// What the host-level tests share: a builder, descriptors and a pixel source,
// all through the public header only.
#pragma once

#include <gtest/gtest.h>
#include <tarn/TarnSurface.h>

#include <cstring>
#include <vector>

namespace host {

inline tarn::Ref<ISurfaceBuilder> Builder() {
    tarn::Ref<ISurfaceBuilder> builder;
    EXPECT_EQ(CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, builder.put_void()),
              VED_S_OK);
    return builder;
}

inline int32_t BitsOf(SurfaceFormat format) {
    switch (format) {
        case SURFACE_FORMAT_RGB24: return 24;
        case SURFACE_FORMAT_RGB32: return 32;
        case SURFACE_FORMAT_GRAY8: return 8;
        case SURFACE_FORMAT_YUV422: return 16;
        default: return 12;
    }
}

// A descriptor with the stride a host would give: packed rows, planar = width.
inline SurfaceInfo Describe(SurfaceFormat format, uint32_t width, uint32_t height,
                            uint32_t topDown = 1) {
    SurfaceInfo info{};
    info.size = sizeof info;
    info.width = width;
    info.height = height;
    info.format = format;
    info.bitsPerPixel = BitsOf(format);
    info.stride = format == SURFACE_FORMAT_YUV420 || format == SURFACE_FORMAT_YUV420_SWAPPED
                      ? int32_t(width)
                      : int32_t(width) * BitsOf(format) / 8;
    info.topDown = topDown;
    return info;
}

inline tarn::Ref<ITarnSurface> Blank(const SurfaceInfo& info) {
    tarn::Ref<ITarnSurface> surface;
    int32_t bytes = 0;
    EXPECT_EQ(Builder()->CreateBlank(&info, &bytes, surface.put()), VED_S_OK);
    return surface;
}

// Caller memory handed to CreateFromData; not reference counted.
class Pixels : public IPixelSource {
public:
    explicit Pixels(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}
    uint32_t TARN_CALL AddRef() override { return 1; }
    uint32_t TARN_CALL Release() override { return 1; }
    VedResult TARN_CALL QueryInterface(const VedId&, void**) override { return VED_E_NOTSUPPORTED; }
    uint8_t* TARN_CALL GetData() override { return bytes_.empty() ? nullptr : bytes_.data(); }

private:
    std::vector<uint8_t> bytes_;
};

// Bytes 0, 1, 2, ... wrapping at 251 (a prime, so rows never line up).
inline std::vector<uint8_t> Ramp(size_t n, uint32_t start = 0) {
    std::vector<uint8_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = uint8_t((i + start) % 251);
    return v;
}

inline tarn::Ref<ITarnSurface> FromData(const SurfaceInfo& info, std::vector<uint8_t> bytes) {
    Pixels source(std::move(bytes));
    tarn::Ref<ITarnSurface> surface;
    EXPECT_EQ(Builder()->CreateFromData(&info, &source, surface.put()), VED_S_OK);
    return surface;
}

inline SurfaceInfo InfoOf(ITarnSurface* s) {
    SurfaceInfo info{};
    EXPECT_EQ(s->GetInfo(&info), VED_S_OK);
    return info;
}

inline uint8_t* PixelsOf(ITarnSurface* s) {
    uint8_t* p = nullptr;
    EXPECT_EQ(s->GetPixels(&p), VED_S_OK);
    return p;
}

// The count a fresh AddRef/Release pair reveals.
inline uint32_t RefCount(VideoEdit::IVedUnknown* object) {
    object->AddRef();
    return object->Release();
}

// What a new surface and a clone have alike: opaque, a black key colour that
// keys nothing, and no overlays.
inline void ExpectOverlayDefaults(ITarnSurface* s) {
    uint32_t alpha = 1, back = 1;
    EXPECT_EQ(s->GetAlpha(&alpha), VED_S_OK);
    EXPECT_EQ(s->GetBackColor(&back), VED_S_OK);
    EXPECT_EQ(alpha, 0u);
    EXPECT_EQ(back, 0xFF000000u);
    EXPECT_EQ(s->GetOverlayCount(), 0);
}

}  // namespace host
