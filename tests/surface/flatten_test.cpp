// Flatten end to end through the public interface on YUV420 and YUV422
// frames: targets, modes, both tiers, reference counts and the range guard.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "operations/compose.h"
#include "operations/flatten_support.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "surface/flatten.h"
#include "surface/tarn_surface_buffer.h"

namespace tarn {
namespace {

using namespace flatten_support;

Ref<ITarnSurface> Yuv422(int w, int h, uint8_t fill) {
    return Make(SURFACE_FORMAT_YUV422, w, h, Bytes(2 * w * h, fill));
}

TEST(Flatten, EmptyListAnswersThisSurfaceInEitherMode) {
    for (uint32_t inPlace : {0u, 1u}) {
        Ref<ITarnSurface> s = Yuv420(8, 8, 1, 2, 3);
        s->SetFlattenInPlace(inPlace);
        Ref<ITarnSurface> out;
        EXPECT_EQ(s->Flatten(out.put()), VED_S_OK);
        EXPECT_EQ(out.get(), s.get());
        EXPECT_EQ(Count(s.get()), 2u);
    }
}

// A keyed overlay at alpha 0 replaces D's samples; outside D nothing moves.
TEST(Flatten, KeyedOverlayInPlace) {
    Ref<ITarnSurface> frame = Yuv420(16, 8, 10, 100, 150);
    Ref<ITarnSurface> title = Yuv420(8, 4, 200, 50, 60);
    Place(title.get(), {0, 0, 8, 4}, {4, 2, 12, 6});
    Ref<ITarnSurface> out;
    ASSERT_EQ(FlattenWith(frame.get(), {title.get()}, &out), VED_S_OK);
    EXPECT_EQ(out.get(), frame.get());
    EXPECT_EQ(frame->GetOverlayCount(), 0);
    ExpectPlanes(PixelsOf(frame.get()), 16, 8, {4, 2, 12, 6}, Flat(200, 50, 60), Flat(10, 100, 150));
}


// Into a copy: the original keeps its pixels but loses its overlays; the copy
// is a new object with one reference for the caller.
TEST(Flatten, IntoCopyLeavesOriginal) {
    Ref<ITarnSurface> frame = Yuv420(8, 8, 10, 20, 30);
    frame->SetFlattenInPlace(0);
    const Bytes before = PixelsOf(frame.get());
    Ref<ITarnSurface> title = Yuv420(8, 8, 90, 91, 92);
    Place(title.get(), {0, 0, 8, 8}, {0, 0, 8, 8});
    Ref<ITarnSurface> out;
    ASSERT_EQ(FlattenWith(frame.get(), {title.get()}, &out), VED_S_OK);
    ASSERT_NE(out.get(), frame.get());
    EXPECT_EQ(Count(out.get()), 1u);
    EXPECT_EQ(Count(frame.get()), 1u);
    EXPECT_EQ(frame->GetOverlayCount(), 0);
    EXPECT_EQ(PixelsOf(frame.get()), before);
    EXPECT_EQ(PixelsOf(out.get()), PixelsOf(title.get()));
}

// Alpha 256 paints nothing; later overlays lie over earlier ones; the mask
// path ignores alpha.
TEST(Flatten, AlphaOrderAndMaskIgnoringAlpha) {
    Ref<ITarnSurface> frame = Yuv420(8, 8, 10, 20, 30);
    Ref<ITarnSurface> first = Yuv420(8, 8, 40, 41, 42), second = Yuv420(8, 8, 70, 71, 72);
    Ref<ITarnSurface> hidden = Yuv420(8, 8, 99, 99, 99);
    Place(first.get(), {0, 0, 8, 8}, {0, 0, 8, 8});
    Place(second.get(), {0, 0, 4, 4}, {4, 4, 8, 8}, 256);  // masked: alpha ignored
    second->SetMask(Mask(8, 8, 0).get());
    Place(hidden.get(), {0, 0, 8, 8}, {0, 0, 8, 8}, 256);
    ASSERT_EQ(FlattenWith(frame.get(), {first.get(), second.get(), hidden.get()}), VED_S_OK);
    ExpectPlanes(PixelsOf(frame.get()), 8, 8, {4, 4, 8, 8}, Flat(70, 71, 72), Flat(40, 41, 42));
}

// Odd D: a mask leaves the last column and row, the keyed path paints them.
TEST(Flatten, OddRectangleMaskedAgainstKeyed) {
    for (bool masked : {true, false}) {
        Ref<ITarnSurface> frame = Yuv420(8, 8, 10, 20, 30);
        Ref<ITarnSurface> title = Yuv420(8, 8, 200, 50, 60);
        Place(title.get(), {0, 0, 5, 5}, {0, 0, 5, 5});
        if (masked) title->SetMask(Mask(8, 8, 0).get());
        ASSERT_EQ(FlattenWith(frame.get(), {title.get()}), VED_S_OK);
        const Bytes p = PixelsOf(frame.get());
        const int painted = masked ? 4 : 5;
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                EXPECT_EQ(p[y * 8 + x], x < painted && y < painted ? 200 : 10) << masked << x << y;
    }
}

// The carry-over of the SSE2 tier's queue: a 3 by 3 overlay at alpha 128
// over Y 0. With SSE2 a row ends with three pixels queued and the next row
// blends them again: row 0 takes 100, 150, 175 over three rows; row 1 100,
// 150; row 2 100 (its first two by the batch of eight, the third alone).
// Without SSE2 every Y is blended once: 100. Outside D stays 0.
TEST(Flatten, KeyedTiersDifferInTheQueueTail) {
    for (bool sse2 : {true, false}) {
        ScopedKernelChoice choice(sse2 ? kCpuSse2 | kCpuMmx : 0, HostSimdForm());
        Ref<ITarnSurface> frame = Yuv420(8, 8, 0, 0, 0);
        Ref<ITarnSurface> title = Yuv420(8, 8, 200, 200, 200);
        Place(title.get(), {0, 0, 3, 3}, {0, 0, 3, 3}, 128);
        ASSERT_EQ(FlattenWith(frame.get(), {title.get()}), VED_S_OK);
        const Bytes p = PixelsOf(frame.get());
        const int row[4] = {sse2 ? 175 : 100, sse2 ? 150 : 100, 100, 0};
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x) EXPECT_EQ(p[y * 8 + x], x < 3 ? row[y] : 0) << sse2 << x << y;
    }
}

// Every reference accounted for: overlays, masks and the result, with a
// refused overlay in the stack. Flatten answers the last compositor's result.
TEST(Flatten, ReferenceCounts) {
    for (uint32_t inPlace : {0u, 1u}) {
        Ref<ITarnSurface> frame = Yuv420(16, 16, 10, 20, 30);
        frame->SetFlattenInPlace(inPlace);
        Ref<ITarnSurface> keyed = Yuv420(8, 8, 1, 2, 3), masked = Yuv420(8, 8, 4, 5, 6);
        Ref<ITarnSurface> outside = Yuv420(8, 8, 7, 8, 9);
        Ref<ITarnSurface> mask = Mask(8, 8, 0);
        Place(keyed.get(), {0, 0, 8, 8}, {0, 0, 8, 8});
        Place(masked.get(), {0, 0, 8, 8}, {8, 8, 16, 16});
        Place(outside.get(), {0, 0, 8, 8}, {12, 0, 20, 8});  // beyond the right edge
        masked->SetMask(mask.get());
        frame->AddOverlay(keyed.get());
        frame->AddOverlay(outside.get());
        frame->AddOverlay(masked.get());
        frame->AddOverlay(keyed.get());  // twice: two list references
        EXPECT_EQ(Count(keyed.get()), 3u);
        Ref<ITarnSurface> out;
        EXPECT_EQ(frame->Flatten(out.put()), VED_S_OK);
        EXPECT_EQ(Count(keyed.get()), 1u);
        EXPECT_EQ(Count(masked.get()), 1u);
        EXPECT_EQ(Count(outside.get()), 1u);
        EXPECT_EQ(Count(mask.get()), 2u);  // the host's and the overlay's
        EXPECT_EQ(Count(out.get()), inPlace ? 2u : 1u);
        EXPECT_EQ(Count(frame.get()), inPlace ? 2u : 1u);

        frame->AddOverlay(outside.get());
        EXPECT_EQ(frame->Flatten(out.put()), VED_E_INVALIDARG);
        EXPECT_EQ(Count(outside.get()), 1u);
    }
}

// A YUV422 target passes over an overlay without a mask (keeping the
// reference GetOverlay gave) and paints a masked one.
TEST(Flatten, Yuv422Target) {
    Ref<ITarnSurface> frame = Yuv422(8, 4, 16);
    Ref<ITarnSurface> plain = Yuv422(8, 4, 200), masked = Yuv422(8, 4, 100);
    Place(plain.get(), {0, 0, 8, 4}, {0, 0, 8, 4});
    Place(masked.get(), {0, 0, 3, 2}, {1, 1, 4, 3});
    masked->SetMask(Mask(8, 4, 0).get());
    ASSERT_EQ(FlattenWith(frame.get(), {plain.get(), masked.get()}), VED_S_OK);
    EXPECT_EQ(Count(masked.get()), 1u);
    EXPECT_EQ(Count(plain.get()), 2u);
    plain->Release();  // the reference Flatten kept
    const Bytes p = PixelsOf(frame.get());
    for (int y = 0; y < 4; ++y)
        for (int b = 0; b < 16; ++b) {
            const bool in = y >= 1 && y < 3 && b >= 2 && b < 8;
            EXPECT_EQ(p[y * 16 + b], in ? 100 : 16) << y << "," << b;
        }
}

// The guard: rectangles beyond target or overlay, a mask smaller than its
// overlay, and keyed planes of the flattened surface that fall outside the
// target. Each is refused whole and paints nothing.
TEST(Compose, RangeGuard) {
    Ref<ITarnSurface> frame = Yuv420(16, 16, 10, 20, 30);
    const Bytes before = PixelsOf(frame.get());
    auto* self = static_cast<CTarnSurfaceBuffer*>(frame.get());
    const auto keyed = [&](ITarnSurface* o) {
        o->AddRef();
        return ComposeKeyed(self->info, *self, o);
    };
    const auto masked = [&](ITarnSurface* o) {
        o->AddRef();
        return ComposeMasked(*self, o);
    };

    Ref<ITarnSurface> o = Yuv420(8, 8, 200, 50, 60);
    Place(o.get(), {0, 0, 8, 8}, {10, 10, 18, 18});  // D beyond the target
    EXPECT_EQ(keyed(o.get()), VED_E_INVALIDARG);
    o->SetMask(Mask(8, 8, 0).get());
    EXPECT_EQ(masked(o.get()), VED_E_INVALIDARG);

    Ref<ITarnSurface> narrow = Yuv420(8, 8, 200, 50, 60);
    Place(narrow.get(), {0, 0, 8, 8}, {0, 0, 8, 8});
    static_cast<CTarnSurface*>(narrow.get())->sourceRect = {2, 0, 10, 8};  // S beyond
    EXPECT_EQ(keyed(narrow.get()), VED_E_INVALIDARG);
    narrow->SetMask(Mask(8, 8, 0).get());
    EXPECT_EQ(masked(narrow.get()), VED_E_INVALIDARG);

    Ref<ITarnSurface> smallMask = Yuv420(8, 8, 200, 50, 60);
    Place(smallMask.get(), {0, 0, 8, 8}, {0, 0, 8, 8});
    smallMask->SetMask(Mask(8, 4, 0).get());
    EXPECT_EQ(masked(smallMask.get()), VED_E_INVALIDARG);

    // Planes from a taller surface's numbers lie beyond this target's buffer.
    Ref<ITarnSurface> tall = Yuv420(16, 32, 0, 0, 0);
    Ref<ITarnSurface> fits = Yuv420(8, 8, 200, 50, 60);
    Place(fits.get(), {0, 0, 8, 8}, {0, 0, 8, 8});
    fits->AddRef();
    EXPECT_EQ(ComposeKeyed(static_cast<CTarnSurfaceBuffer*>(tall.get())->info, *self, fits.get()),
              VED_E_INVALIDARG);

    EXPECT_EQ(PixelsOf(frame.get()), before);
    for (ITarnSurface* s : {o.get(), narrow.get(), smallMask.get(), fits.get()})
        EXPECT_EQ(Count(s), 1u);
    EXPECT_EQ(keyed(fits.get()), VED_S_OK);  // the same overlay in range paints
    EXPECT_NE(PixelsOf(frame.get()), before);
}

// Answers of the compositors on their own, and which references each keeps.
TEST(Compose, RefusalsAndTheReferencesTheyKeep) {
    Ref<ITarnSurface> frame = Yuv420(8, 8, 10, 20, 30);
    auto* self = static_cast<CTarnSurfaceBuffer*>(frame.get());
    Ref<ITarnSurface> bare = Yuv420(8, 8, 1, 2, 3);
    Place(bare.get(), {0, 0, 8, 8}, {0, 0, 8, 8});
    bare->AddRef();  // no mask: VED_E_FAIL, the overlay's reference stays
    EXPECT_EQ(ComposeMasked(*self, bare.get()), VED_E_FAIL);
    EXPECT_EQ(Count(bare.get()), 2u);
    bare->Release();

    Ref<ITarnSurface> mask = Mask(8, 8, 0);
    bare->SetMask(mask.get());
    Ref<ITarnSurface> gray = Mask(8, 8, 7);  // a target neither YUV420 nor YUV422
    bare->AddRef();
    EXPECT_EQ(ComposeMasked(*static_cast<CTarnSurfaceBuffer*>(gray.get()), bare.get()), VED_E_BADSTATE);
    EXPECT_EQ(Count(bare.get()), 2u);  // overlay and mask both kept
    EXPECT_EQ(Count(mask.get()), 3u);
    bare->Release();
    mask->Release();

    Ref<ITarnSurface> empty = Yuv420(8, 8, 1, 2, 3);
    Place(empty.get(), {0, 0, 8, 8}, {4, 4, 4, 8});  // empty D: released
    empty->AddRef();
    EXPECT_EQ(ComposeKeyed(self->info, *self, empty.get()), VED_E_INVALIDARG);
    EXPECT_EQ(Count(empty.get()), 1u);
}

// A copy that cannot be made: VED_E_FAIL and the list as it was.
TEST(Flatten, FailedCopyKeepsTheList) {
    Ref<ITarnSurface> frame = Yuv420(8, 8, 10, 20, 30);
    frame->SetFlattenInPlace(0);
    Ref<ITarnSurface> title = Yuv420(8, 8, 1, 2, 3);
    Place(title.get(), {0, 0, 8, 8}, {0, 0, 8, 8});
    frame->AddOverlay(title.get());
    static_cast<CTarnSurfaceBuffer*>(frame.get())->info.storage = 0;  // Clone refuses it
    ITarnSurface* out = nullptr;
    EXPECT_EQ(frame->Flatten(&out), VED_E_FAIL);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(frame->GetOverlayCount(), 1);
    EXPECT_EQ(Count(title.get()), 2u);
}

}  // namespace
}  // namespace tarn
