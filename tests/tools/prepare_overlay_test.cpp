// Overlays stretched once by the tool compose exactly as the library's own
// stretch on every frame does, and a stretched mask of a width that is not a
// multiple of 4 stays aligned with its overlay.
#include "library.h"
#include "tools_support.h"

namespace tarnsurf {
namespace {

constexpr int kW = 128, kH = 96;

std::vector<uint8_t> PatternFrame() {
    std::vector<uint8_t> frame(PlanarBytes(kW, kH));
    for (size_t i = 0; i < frame.size(); ++i) frame[i] = uint8_t(40 + (i * 7) % 170);
    return frame;
}

Image Picture(int w, int h, int channels) {
    Image image(w, h, channels);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t* p = image.Row(y) + channels * x;
            p[0] = uint8_t(x * 6), p[1] = uint8_t(y * 8), p[2] = uint8_t(255 - x * 5);
            if (channels == 4) p[3] = uint8_t((x + y) * 4);
        }
    return image;
}

TEST(PrepareOverlay, StretchOnceEqualsTheLibrarysStretchOnEveryFrame) {
    const Library lib;
    const VedRect source{4, 2, 36, 26}, dest{10, 12, 90, 72};  // 32x24 to 80x60
    for (int channels : {3, 4}) {
        for (uint32_t alpha : {0u, 100u}) {
            const Image picture = Picture(40, 30, channels);
            const auto make = [&] {
                return channels == 4 ? RgbaSurfaceFrom(lib, picture, 0) : RgbSurfaceFrom(lib, picture);
            };
            // The library stretches during composition.
            SurfaceRef plain = make();
            ASSERT_EQ(plain->SetFormat(SURFACE_FORMAT_YUV420), VED_S_OK);
            ASSERT_EQ(plain->Flush(), VED_S_OK);
            ASSERT_EQ(plain->SetSourceRect(source.left, source.top, source.right, source.bottom), VED_S_OK);
            ASSERT_EQ(plain->SetDestRect(dest.left, dest.top, dest.right, dest.bottom), VED_S_OK);
            ASSERT_EQ(plain->SetAlpha(alpha), VED_S_OK);
            const std::vector<uint8_t> frame = PatternFrame();
            const std::vector<uint8_t> expected = Flattened(lib, frame, kW, kH, plain.get());

            const SurfaceRef prepared = PrepareOverlay(lib, make(), source, dest, alpha, kNoKey);
            EXPECT_EQ(Flattened(lib, frame, kW, kH, prepared.get()), expected) << channels << " channels, alpha " << alpha;
            EXPECT_NE(expected, frame) << "overlay shows";
        }
    }
}

TEST(PrepareOverlay, MaskOfAnyWidthStaysAlignedWhenStretched) {
    // White, opaque on the left half and transparent on the right: over a
    // black frame every row of the result must be the same.
    const Library lib;
    Image picture(20, 8, 4);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 20; ++x) {
            uint8_t* p = picture.Row(y) + 4 * x;
            p[0] = p[1] = p[2] = 255;
            p[3] = x < 10 ? 255 : 0;
        }
    for (int width : {50, 52, 54}) {
        const SurfaceRef overlay =
            PrepareOverlay(lib, RgbaSurfaceFrom(lib, picture, 0), {0, 0, 20, 8}, {8, 8, 8 + width, 48}, 0, kNoKey);
        std::vector<uint8_t> black(PlanarBytes(kW, kH), 0x80);
        std::fill_n(black.begin(), kW * kH, 0x10);
        const std::vector<uint8_t> out = Flattened(lib, black, kW, kH, overlay.get());
        const auto row = [&](int y) { return std::vector<uint8_t>(&out[size_t(y) * kW + 8], &out[size_t(y) * kW + 8 + width]); };
        EXPECT_GT(row(8)[0], 200) << width;          // opaque white
        EXPECT_LT(row(8)[size_t(width) - 1], 30) << width;  // frame black shows
        for (int y = 9; y < 48; ++y) ASSERT_EQ(row(y), row(8)) << "width " << width << ", row " << y;
    }
}

}  // namespace
}  // namespace tarnsurf
