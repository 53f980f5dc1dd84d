// In-range input that the library's own range guards must leave alone: the
// guards may refuse only what would touch a byte outside a buffer, never a
// rectangle the composition, the draw or the direct output handles as stated.
// Every expected value here is worked by hand from the blend formula with
// weight 0 (the overlay alone) and the blank fills (Y 16, chroma 128).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "operations/blank_surface.h"
#include "operations/flatten_support.h"

namespace tarn {
namespace {

using namespace testing_blank;
using flatten_support::Bytes;
using flatten_support::PixelsOf;

// A YUV420 picture with one value per plane, made through the builder.
Ref<ITarnSurface> Planar(int w, int h, uint8_t y, uint8_t first, uint8_t second) {
    Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_YUV420, uint32_t(w), uint32_t(h));
    PaintPlanes(Buffer(s)->pixels, w, h, y, first, second);
    return s;
}

Ref<ITarnSurface> ZeroMask(int w, int h) { return MakeBlank(SURFACE_FORMAT_GRAY8, uint32_t(w), uint32_t(h)); }

void Place(ITarnSurface* o, VedRect s, VedRect d) {
    ASSERT_EQ(o->SetSourceRect(s.left, s.top, s.right, s.bottom), VED_S_OK);
    ASSERT_EQ(o->SetDestRect(d.left, d.top, d.right, d.bottom), VED_S_OK);
}

VedResult FlattenInPlace(ITarnSurface* target, ITarnSurface* overlay) {
    EXPECT_EQ(target->AddOverlay(overlay), VED_S_OK);
    target->SetFlattenInPlace(1);
    Ref<ITarnSurface> result;
    const VedResult r = target->Flatten(result.put());
    EXPECT_EQ(result.get(), target);
    return r;
}

// An RGB overlay of odd size is converted and trimmed to 8x8 (its mask
// follows); S and D stay 9x9, so nothing is stretched, and the blend walks the
// 4x4 blocks that lie inside both pictures.
TEST(InRange, MaskedOverlayTrimmedByItsConversionIsPainted) {
    Ref<ITarnSurface> target = MakeBlank(SURFACE_FORMAT_YUV420, 64, 64);
    Ref<ITarnSurface> overlay = MakeBlank(SURFACE_FORMAT_RGB24, 9, 9);
    ASSERT_EQ(Buffer(overlay)->info.stride, 28);
    Paint(overlay, 0xFF);
    overlay->SetMask(ZeroMask(9, 9).get());
    Place(overlay.get(), {0, 0, 9, 9}, {10, 10, 19, 19});

    EXPECT_EQ(FlattenInPlace(target.get(), overlay.get()), VED_S_OK);
    const SurfaceInfo oi = host::InfoOf(overlay.get());
    ASSERT_EQ(oi.format, SURFACE_FORMAT_YUV420);
    ASSERT_EQ(oi.width, 8u);
    const Bytes o = PixelsOf(overlay.get()), t = PixelsOf(target.get());
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) ASSERT_EQ(t[(10 + y) * 64 + 10 + x], o[y * 8 + x]) << x << "," << y;
    EXPECT_NE(o[0], 16);  // white is not the blank luma, so the check above has teeth
    for (int i = 10; i < 19; ++i) {
        EXPECT_EQ(t[18 * 64 + i], 16) << "row 18, column " << i;
        EXPECT_EQ(t[i * 64 + 18], 16) << "column 18, row " << i;
    }
}

// D reaches one column past the target's right edge; its odd last column is
// never blended, so every block lies inside.
TEST(InRange, MaskedDestinationOnePastTheEdgeKeepsItsWholeBlocks) {
    Ref<ITarnSurface> target = Planar(16, 16, 16, 128, 128);
    Ref<ITarnSurface> overlay = Planar(8, 8, 200, 128, 128);
    overlay->SetMask(ZeroMask(8, 8).get());
    Place(overlay.get(), {0, 0, 7, 6}, {10, 0, 17, 6});

    EXPECT_EQ(FlattenInPlace(target.get(), overlay.get()), VED_S_OK);
    const Bytes t = PixelsOf(target.get());
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x)
            ASSERT_EQ(t[y * 16 + x], y < 6 && x >= 10 ? 200 : 16) << x << "," << y;
}

// S outside the overlay's present size (a queued resize shrinks it to 4x4):
// the stretch is taken, its draw fails unseen, and the blank stretched
// overlay and mask are blended, painting black with weight 0.
TEST(InRange, SourceBeyondAShrunkOverlayTakesTheStretch) {
    Ref<ITarnSurface> target = Planar(16, 16, 100, 60, 60);
    Ref<ITarnSurface> overlay = Planar(8, 8, 200, 90, 90);
    overlay->SetMask(ZeroMask(8, 8).get());
    Place(overlay.get(), {0, 0, 8, 8}, {0, 0, 6, 6});
    ASSERT_EQ(overlay->Resize(4, 4, 0, 0), VED_S_OK);

    EXPECT_EQ(FlattenInPlace(target.get(), overlay.get()), VED_S_OK);
    const Bytes t = PixelsOf(target.get());
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) ASSERT_EQ(t[y * 16 + x], x < 6 && y < 6 ? 16 : 100) << x << "," << y;
    for (int plane = 0; plane < 2; ++plane)
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x)
                ASSERT_EQ(t[256 + plane * 64 + y * 8 + x], x < 3 && y < 3 ? 128 : 60) << plane << ":" << x << "," << y;
}

// alpha 256 answers success with nothing touched before any range test.
TEST(InRange, OpaqueKeyedOverlayIsPassedOverBeforeTheRangeTests) {
    Ref<ITarnSurface> target = Planar(16, 16, 30, 40, 50);
    const Bytes before = PixelsOf(target.get());
    Ref<ITarnSurface> overlay = Planar(8, 8, 200, 128, 128);
    Place(overlay.get(), {0, 0, 8, 8}, {12, 0, 20, 8});
    ASSERT_EQ(overlay->SetAlpha(256), VED_S_OK);
    EXPECT_EQ(FlattenInPlace(target.get(), overlay.get()), VED_S_OK);
    EXPECT_EQ(PixelsOf(target.get()), before);
}

// The planar draw reads the source rectangle cut to even sizes: 0,0,9,9 of an
// RGB source that its conversion trims to 8x8 still lies inside.
TEST(InRange, DrawReadsTheEvenCutOfTheSourceRectangle) {
    Ref<ITarnSurface> target = MakeBlank(SURFACE_FORMAT_YUV420, 64, 64);
    Ref<ITarnSurface> source = MakeBlank(SURFACE_FORMAT_RGB24, 9, 9, 0);
    Paint(source, 0xFF);
    VedRect dest{0, 0, 16, 16}, from{0, 0, 9, 9};
    EXPECT_EQ(target->DrawToSurface(&dest, source.get(), &from, 0), VED_S_OK);
    const SurfaceInfo si = host::InfoOf(source.get());
    EXPECT_EQ(si.format, SURFACE_FORMAT_YUV420);
    EXPECT_EQ(si.width, 8u);
    EXPECT_EQ(si.height, 8u);
    const uint8_t white = Buffer(source)->pixels[0];
    EXPECT_NE(white, 16);
    const Bytes t = PixelsOf(target.get());
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) ASSERT_EQ(t[y * 64 + x], white) << x << "," << y;
    EXPECT_EQ(t[16 * 64 + 16], 16);
}


// A direct resize into a stride shorter than a 24-bit row: rows overlap, but
// every byte written lies in the stride x height x 3 / 2 the caller provides.
TEST(InRange, DirectResizeWithAShortStrideStaysInTheCallersBuffer) {
    Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_RGB24, 8, 8);
    uint8_t* p = Buffer(s)->pixels;
    for (int i = 0; i < 8 * 24; i += 3) p[i] = 10, p[i + 1] = 20, p[i + 2] = 30;
    ASSERT_EQ(s->Resize(16, 16, 0, SCALE_NEAREST), VED_S_OK);
    std::vector<uint8_t> out(16 * 16 * 3 / 2 + 64, 0xEE);
    EXPECT_EQ(s->CopyOut(out.data(), 16, 0), VED_S_OK);
    // Rows of 48 bytes at 16-byte steps end at 15 * 16 + 48 = 288; behind them
    // the black planar paint stays, and nothing lies past 384.
    for (int i = 0; i < 288; ++i) ASSERT_TRUE(out[i] == 10 || out[i] == 20 || out[i] == 30) << i;
    for (int i = 288; i < 384; ++i) ASSERT_EQ(out[i], 128) << i;
    for (size_t i = 384; i < out.size(); ++i) ASSERT_EQ(out[i], 0xEE) << i;
}

}  // namespace
}  // namespace tarn
