// Flatten where formats meet or sizes differ: RGB targets and overlays
// brought to YUV420, and overlays stretched to their destination. Expected
// samples come from the same conversion or a flat colour, so they do not
// depend on the converter's or the scaler's arithmetic.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "operations/flatten_support.h"

namespace tarn {
namespace {

using namespace flatten_support;

// RGB pixels of one colour; for RGB32 the fourth byte is `alpha`.
Bytes RgbFlat(int w, int h, int bytes, uint8_t b, uint8_t g, uint8_t r, uint8_t alpha = 255) {
    Bytes p(w * h * bytes);
    for (int i = 0; i < w * h; ++i) {
        p[i * bytes] = b, p[i * bytes + 1] = g, p[i * bytes + 2] = r;
        if (bytes == 4) p[i * bytes + 3] = alpha;
    }
    return p;
}

SurfaceFormat FormatOf(ITarnSurface* s) { return host::InfoOf(s).format; }

// A mask of zeros, made the way hosts get masks: from an opaque RGB32 picture.
Ref<ITarnSurface> ZeroMask(int w, int h) {
    Ref<ITarnSurface> m = Make(SURFACE_FORMAT_RGB32, w, h, RgbFlat(w, h, 4, 0, 0, 0, 255));
    m->SetFormat(SURFACE_FORMAT_YUV420);
    m->Flush();
    Ref<ITarnSurface> mask;
    EXPECT_EQ(m->GetMask(mask.put()), VED_S_OK);
    return mask;
}

// An RGB32 overlay, opaque: converted, it carries a mask of zeros made from
// its alpha and is composed by the masked path, so D holds exactly its
// converted samples. The RGB24 target comes back YUV420.
TEST(FlattenConvert, RgbTargetAndRgb32OverlayInPlace) {
    Ref<ITarnSurface> frame = Make(SURFACE_FORMAT_RGB24, 16, 8, RgbFlat(16, 8, 3, 10, 20, 30));
    Ref<ITarnSurface> title = Make(SURFACE_FORMAT_RGB32, 8, 4, RgbFlat(8, 4, 4, 200, 150, 100));
    title->SetSourceRect(0, 0, 8, 4);
    title->SetDestRect(4, 2, 12, 6);
    ASSERT_EQ(FlattenWith(frame.get(), {title.get()}), VED_S_OK);
    EXPECT_EQ(FormatOf(frame.get()), SURFACE_FORMAT_YUV420);
    EXPECT_EQ(FormatOf(title.get()), SURFACE_FORMAT_YUV420);  // for good
    Ref<ITarnSurface> mask;
    ASSERT_EQ(title->GetMask(mask.put()), VED_S_OK);

    const Bytes o = PixelsOf(title.get());
    Ref<ITarnSurface> plain = Make(SURFACE_FORMAT_RGB24, 16, 8, RgbFlat(16, 8, 3, 10, 20, 30));
    plain->SetFormat(SURFACE_FORMAT_YUV420);
    const Bytes before = PixelsOf(plain.get());
    ExpectPlanes(PixelsOf(frame.get()), 16, 8, {4, 2, 12, 6}, Of(o, 8, 4), Of(before, 16, 8));
}


// An RGB24 overlay without mask on a YUV420 frame: converted, then keyed at
// alpha 0, so D takes exactly the samples of the same picture converted alone.
TEST(FlattenConvert, Rgb24OverlayKeyed) {
    Ref<ITarnSurface> frame = Make(SURFACE_FORMAT_YUV420, 16, 16, Yuv420Flat(16, 16, 90, 91, 92));
    Bytes rgb = RgbFlat(8, 8, 3, 0, 0, 0);
    for (size_t i = 0; i < rgb.size(); ++i) rgb[i] = uint8_t(i * 13);
    Ref<ITarnSurface> title = Make(SURFACE_FORMAT_RGB24, 8, 8, rgb);
    title->SetSourceRect(0, 0, 8, 8);
    title->SetDestRect(8, 4, 16, 12);
    ASSERT_EQ(FlattenWith(frame.get(), {title.get()}), VED_S_OK);
    Ref<ITarnSurface> twin = Make(SURFACE_FORMAT_RGB24, 8, 8, rgb);
    twin->SetFormat(SURFACE_FORMAT_YUV420);
    const Bytes o = PixelsOf(twin.get());
    EXPECT_EQ(PixelsOf(title.get()), o);
    ExpectPlanes(PixelsOf(frame.get()), 16, 16, {8, 4, 16, 12}, Of(o, 8, 8), Flat(90, 91, 92));
}


// Into a copy: the RGB24 original keeps its format and pixels and loses its
// overlays. A masked overlay is painted into the converted copy; a keyed one
// is refused, since its planes follow the original's RGB stride and height
// and would fall outside the copy's buffer.
TEST(FlattenConvert, RgbTargetIntoCopy) {
    for (bool masked : {true, false}) {
        const Bytes rgb = RgbFlat(16, 8, 3, 10, 20, 30);
        Ref<ITarnSurface> frame = Make(SURFACE_FORMAT_RGB24, 16, 8, rgb);
        frame->SetFlattenInPlace(0);
        Ref<ITarnSurface> title = Make(SURFACE_FORMAT_YUV420, 8, 8, Yuv420Flat(8, 8, 200, 50, 60));
        title->SetSourceRect(0, 0, 8, 8);
        title->SetDestRect(0, 0, 8, 8);
        if (masked) title->SetMask(ZeroMask(8, 8).get());
        Ref<ITarnSurface> out;
        EXPECT_EQ(FlattenWith(frame.get(), {title.get()}, &out), masked ? VED_S_OK : VED_E_INVALIDARG);
        ASSERT_NE(out.get(), frame.get());
        EXPECT_EQ(FormatOf(frame.get()), SURFACE_FORMAT_RGB24);
        EXPECT_EQ(PixelsOf(frame.get()), rgb);
        EXPECT_EQ(frame->GetOverlayCount(), 0);
        EXPECT_EQ(FormatOf(out.get()), SURFACE_FORMAT_YUV420);
        EXPECT_EQ(Count(title.get()), 1u);
        const Bytes p = PixelsOf(out.get());
        EXPECT_EQ(p[0] == 200, masked);
        EXPECT_NE(p[15], 200);
    }
}

// Overlays stretched to D, keyed and masked: a flat overlay stays flat, so D
// takes its samples at alpha 0 or mask 0; a flat overlay in the key colour is
// keyed out after the stretch. Every reference is given back.
TEST(FlattenConvert, StretchedOverlays) {
    struct Case {
        bool masked;
        uint32_t key;
        bool painted;
    };
    const Case cases[] = {{false, 0xFF000000u, true}, {false, 0x00000000u, false}, {true, 0, true}};
    for (const Case& c : cases) {
        Ref<ITarnSurface> frame = Make(SURFACE_FORMAT_YUV420, 16, 16, Yuv420Flat(16, 16, 90, 91, 92));
        Ref<ITarnSurface> title = Make(SURFACE_FORMAT_YUV420, 4, 4,
                                       c.painted ? Yuv420Flat(4, 4, 200, 50, 60) : Yuv420Flat(4, 4, 16, 128, 128));
        title->SetSourceRect(0, 0, 4, 4);
        title->SetDestRect(2, 2, 10, 10);
        title->SetBackColor(c.key);
        Ref<ITarnSurface> mask;
        if (c.masked) {
            mask = ZeroMask(4, 4);
            title->SetMask(mask.get());
        }
        ASSERT_EQ(FlattenWith(frame.get(), {title.get()}), VED_S_OK);
        const VedRect d = c.painted ? VedRect{2, 2, 10, 10} : VedRect{0, 0, 0, 0};
        ExpectPlanes(PixelsOf(frame.get()), 16, 16, d, Flat(200, 50, 60), Flat(90, 91, 92));
        EXPECT_EQ(Count(title.get()), 1u);
        if (mask) {
            EXPECT_EQ(Count(mask.get()), 2u);
        }
        SurfaceInfo info{};
        title->GetInfo(&info);
        EXPECT_EQ(info.width, 4u);  // the overlay itself is not resized
    }
}

// A stretched YUV422 overlay would get a stride of its width, half of what a
// packed row needs: the builder refuses that blank surface, the compositor
// answers its result, and the target stays as it was.
TEST(FlattenConvert, StretchedYuv422OverlayIsRefused) {
    Ref<ITarnSurface> frame = Make(SURFACE_FORMAT_YUV422, 16, 8, Bytes(2 * 16 * 8, 16));
    const Bytes before = PixelsOf(frame.get());
    Ref<ITarnSurface> title = Make(SURFACE_FORMAT_YUV422, 4, 4, Bytes(2 * 4 * 4, 200));
    title->SetSourceRect(0, 0, 4, 4);
    title->SetDestRect(0, 0, 8, 8);
    Ref<ITarnSurface> mask = ZeroMask(4, 4);
    title->SetMask(mask.get());
    EXPECT_EQ(FlattenWith(frame.get(), {title.get()}), VED_E_INVALIDARG);
    EXPECT_EQ(PixelsOf(frame.get()), before);
    EXPECT_EQ(Count(title.get()), 1u);
    EXPECT_EQ(Count(mask.get()), 2u);
}

}  // namespace
}  // namespace tarn
