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
using namespace flatten_support;

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
    overlay->SetMask(Mask(9, 9, 0).get());
    Place(overlay.get(), {0, 0, 9, 9}, {10, 10, 19, 19});

    EXPECT_EQ(FlattenInPlace(target.get(), overlay.get()), VED_S_OK);
    const SurfaceInfo oi = host::InfoOf(overlay.get());
    ASSERT_EQ(oi.format, SURFACE_FORMAT_YUV420);
    ASSERT_EQ(oi.width, 8u);
    const Bytes o = PixelsOf(overlay.get());
    EXPECT_NE(o[0], 16);  // white is not the blank luma, so the check has teeth
    ExpectPlanes(PixelsOf(target.get()), 64, 64, {10, 10, 18, 18}, Of(o, 8, 8), Flat(16, 128, 128));
}

// D reaches one column past the target's right edge; its odd last column is
// never blended, so every block lies inside.
TEST(InRange, MaskedDestinationOnePastTheEdgeKeepsItsWholeBlocks) {
    Ref<ITarnSurface> target = Yuv420(16, 16, 16, 128, 128);
    Ref<ITarnSurface> overlay = Yuv420(8, 8, 200, 128, 128);
    overlay->SetMask(Mask(8, 8, 0).get());
    Place(overlay.get(), {0, 0, 7, 6}, {10, 0, 17, 6});

    EXPECT_EQ(FlattenInPlace(target.get(), overlay.get()), VED_S_OK);
    ExpectPlanes(PixelsOf(target.get()), 16, 16, {10, 0, 16, 6}, Flat(200, 128, 128), Flat(16, 128, 128));
}

// S outside the overlay's present size (a queued resize shrinks it to 4x4):
// the stretch is taken, its draw fails unseen, and the blank stretched
// overlay and mask are blended, painting black with weight 0.
TEST(InRange, SourceBeyondAShrunkOverlayTakesTheStretch) {
    Ref<ITarnSurface> target = Yuv420(16, 16, 100, 60, 60);
    Ref<ITarnSurface> overlay = Yuv420(8, 8, 200, 90, 90);
    overlay->SetMask(Mask(8, 8, 0).get());
    Place(overlay.get(), {0, 0, 8, 8}, {0, 0, 6, 6});
    ASSERT_EQ(overlay->Resize(4, 4, 0, 0), VED_S_OK);

    EXPECT_EQ(FlattenInPlace(target.get(), overlay.get()), VED_S_OK);
    ExpectPlanes(PixelsOf(target.get()), 16, 16, {0, 0, 6, 6}, Flat(16, 128, 128), Flat(100, 60, 60));
}

// alpha 256 answers success with nothing touched before any range test.
TEST(InRange, OpaqueKeyedOverlayIsPassedOverBeforeTheRangeTests) {
    Ref<ITarnSurface> target = Yuv420(16, 16, 30, 40, 50);
    const Bytes before = PixelsOf(target.get());
    Ref<ITarnSurface> overlay = Yuv420(8, 8, 200, 128, 128);
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
    const uint8_t* white = Buffer(source)->pixels;  // flat, so flat when stretched
    EXPECT_NE(white[0], 16);
    ExpectPlanes(PixelsOf(target.get()), 64, 64, {0, 0, 16, 16}, Flat(white[0], white[64], white[80]),
                 Flat(16, 128, 128));
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
