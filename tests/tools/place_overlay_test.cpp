// Overlays anywhere and pictures kept whole. An overlay cut at an edge or a
// corner of the frame must give the frame exactly what the library gives it
// when the whole overlay lies inside a larger frame around it; a picture of
// any size must show every one of its pixels and touch nothing else.
#include "compose.h"
#include "overlay_layout.h"
#include "tools_support.h"

#include <cmath>

namespace tarnsurf {
namespace {

constexpr int kW = 96, kH = 64;
constexpr int kMargin = 48;  // room around the frame for the reference composition
constexpr int kBigW = kW + 2 * kMargin, kBigH = kH + 2 * kMargin;

// A 4:2:0 frame, Y in 16..235 (where the transparent margin leaves samples exactly as they are).
std::vector<uint8_t> PatternFrame(int w, int h) {
    std::vector<uint8_t> frame(PlanarBytes(w, h));
    for (size_t i = 0; i < frame.size(); ++i) frame[i] = uint8_t(16 + (i * 37 + i / 11) % 220);
    return frame;
}

// The picture: colours that change every pixel, opaque, half transparent and
// fully transparent areas when it has alpha, and a black block for the key.
Image Picture(int w, int h, int channels) {
    Image image(w, h, channels);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t* p = image.Row(y) + channels * x;
            const bool black = x >= 4 && x < 12 && y >= 4 && y < 10;
            p[0] = black ? 0 : uint8_t(40 + x * 5);
            p[1] = black ? 0 : uint8_t(200 - y * 6);
            p[2] = black ? 0 : uint8_t((x * y * 7) & 0xFF);
            if (channels == 4) p[3] = uint8_t(x < 8 ? 255 : x < 16 ? 0 : (x * 29 + y * 13) & 0xFF);
        }
    return image;
}

// Calls copy(at, atBig, n) for each row of each plane of the frame: its
// offset in a kW x kH frame, the offset of the same row in the big frame
// where the frame sits inside the margin, and the row's length.
template <class Copy>
void ForEachWindowRow(Copy copy) {
    const auto planeStart = [](int w, int h, int plane) { return plane ? size_t(w) * h + size_t(plane - 1) * (w / 2) * (h / 2) : 0; };
    for (int plane = 0; plane < 3; ++plane) {
        const int s = plane ? 2 : 1;
        for (int r = 0; r < kH / s; ++r)
            copy(planeStart(kW, kH, plane) + size_t(r) * (kW / s),
                 planeStart(kBigW, kBigH, plane) + size_t(r + kMargin / s) * (kBigW / s) + size_t(kMargin / s), kW / s);
    }
}

// The library composing the whole overlay with its top left corner at x, y
// of the frame, inside a larger frame that holds it; the frame's part cut out.
std::vector<uint8_t> Reference(const Library& lib, const std::vector<uint8_t>& frame, const Image& picture, int x,
                               int y, uint32_t key) {
    std::vector<uint8_t> big(PlanarBytes(kBigW, kBigH), 0);
    ForEachWindowRow([&](size_t at, size_t atBig, int n) { std::copy_n(&frame[at], n, &big[atBig]); });
    const bool masked = picture.channels == 4;
    SurfaceRef overlay = masked ? RgbaSurfaceFrom(lib, picture, 0) : RgbSurfaceFrom(lib, picture);
    EXPECT_EQ(overlay->SetSourceRect(0, 0, picture.width, picture.height), VED_S_OK);
    EXPECT_EQ(overlay->SetDestRect(kMargin + x, kMargin + y, kMargin + x + picture.width,
                                   kMargin + y + picture.height), VED_S_OK);
    EXPECT_EQ(overlay->SetBackColor(key), VED_S_OK);
    const std::vector<uint8_t> composed = Flattened(lib, big, kBigW, kBigH, overlay.get());
    std::vector<uint8_t> window(PlanarBytes(kW, kH));
    ForEachWindowRow([&](size_t at, size_t atBig, int n) { std::copy_n(&composed[atBig], n, &window[at]); });
    return window;
}

struct Position {
    const char* where;
    int x, y;
};

// 40 x 22 pictures: odd cuts, even cuts, every edge and corner, and inside.
constexpr Position kPositions[] = {
    {"inside, odd", 31, 21},      {"left", -13, 20},         {"right", 69, 20},
    {"top", 30, -7},              {"bottom", 30, 55},        {"top left", -13, -7},
    {"top right", 69, -7},        {"bottom left", -13, 55},  {"bottom right", 69, 55},
    {"top left, even", -12, -6},  {"bottom right, even", 70, 56}, {"wider than the frame", -20, 30},
};

TEST(PlaceOverlay, CutAtEveryEdgeComposesAsTheWholeOverlayWould) {
    const Library lib;
    const std::vector<uint8_t> frame = PatternFrame(kW, kH);
    const size_t luma = size_t(kW) * kH;
    for (int channels : {3, 4}) {
        for (const uint32_t key : {kNoKey, 0x000000u}) {
            if (channels == 4 && key != kNoKey) continue;  // a key works without alpha only
            for (const bool stretched : {false, true}) {
                // A stretched overlay is cut after its stretch, as it shows.
                const Image picture =
                    stretched ? StretchImage(lib, Picture(28, 16, channels), 40, 22) : Picture(40, 22, channels);
                for (const Position& at : kPositions) {
                    const std::string what = std::string(at.where) + ", " + std::to_string(channels) +
                                             " channels, key " + std::to_string(key) + (stretched ? ", stretched" : "");
                    const SurfaceRef overlay = PlaceOverlay(lib, picture, at.x, at.y, 0, key, kW, kH);
                    ASSERT_TRUE(overlay) << what;
                    const std::vector<uint8_t> ours = Flattened(lib, frame, kW, kH, overlay.get());
                    const std::vector<uint8_t> expected = Reference(lib, frame, picture, at.x, at.y, key);
                    // A key is tested on the overlay's chroma, taken in pairs of
                    // pixels; an overlay cut by an odd number of pixels pairs
                    // them as the frame does, which the whole one cannot.
                    const bool evenCut = at.x % 2 == 0 && at.y % 2 == 0;
                    int lumaDiffs = 0;
                    for (size_t i = 0; i < luma; ++i) lumaDiffs += ours[i] != expected[i];
                    if (key == kNoKey || evenCut) {
                        EXPECT_EQ(lumaDiffs, 0) << what;
                    }
                    // Without a mask every sample is the overlay's own, so where
                    // the 2x2 blocks of overlay and frame coincide, chroma agrees too.
                    if (channels == 3 && evenCut) {
                        int chromaDiffs = 0;
                        for (size_t i = luma; i < ours.size(); ++i) chromaDiffs += ours[i] != expected[i];
                        EXPECT_EQ(chromaDiffs, 0) << what;
                    }
                    EXPECT_NE(ours, frame) << what;
                }
            }
        }
    }
}

TEST(PlaceOverlay, OverlaysOffTheFrameAreSkipped) {
    const Library lib;
    const Image picture = Picture(40, 22, 4);
    for (const Position& at : {Position{"left", -40, 0}, Position{"right", kW, 0}, Position{"above", 0, -22},
                               Position{"below", 0, kH}, Position{"far", 5000, -5000}})
        EXPECT_FALSE(PlaceOverlay(lib, picture, at.x, at.y, 0, kNoKey, kW, kH)) << at.where;
    // One pixel in reach is drawn.
    EXPECT_TRUE(PlaceOverlay(lib, picture, -39, -21, 0, kNoKey, kW, kH));
    EXPECT_TRUE(PlaceOverlay(lib, picture, kW - 1, kH - 1, 0, kNoKey, kW, kH));
}

// BT.601 studio-range luma of an RGB colour, worked from its definition.
double Luma(const uint8_t* rgb) { return 16.0 + (65.481 * rgb[0] + 128.553 * rgb[1] + 24.966 * rgb[2]) / 255.0; }

TEST(PlaceOverlay, PicturesOfAnySizeShowEveryPixelAndNothingElse) {
    const Library lib;
    struct Case {
        int w, h, channels, x, y;
    };
    const Case cases[] = {
        {101, 75, 3, 10, 7},  {101, 75, 4, 10, 7}, {101, 75, 4, 11, 8}, {101, 75, 3, -5, -3},
        {3, 3, 3, 40, 30},    {3, 3, 4, 40, 30},   {3, 3, 4, 41, 31},   {3, 3, 4, 157, 117},
        {1, 1, 4, 20, 21},    {5, 2, 3, 157, 1},
    };
    constexpr int fw = 160, fh = 120;
    // A blank frame: Y 16 everywhere, far from any of the bright pictures below.
    const std::vector<uint8_t> frame = Flattened(lib, std::vector<uint8_t>(PlanarBytes(fw, fh), 16), fw, fh, nullptr);
    for (const Case& c : cases) {
        Image picture(c.w, c.h, c.channels);
        for (int y = 0; y < c.h; ++y)
            for (int x = 0; x < c.w; ++x) {
                uint8_t* p = picture.Row(y) + c.channels * x;
                p[0] = 255, p[1] = uint8_t(128 + (x * 3) % 128), p[2] = uint8_t(y * 5);
                if (c.channels == 4) p[3] = 255;
            }
        const std::string what = std::to_string(c.w) + "x" + std::to_string(c.h) + " with " +
                                 std::to_string(c.channels) + " channels at " + std::to_string(c.x) + "," +
                                 std::to_string(c.y);
        const SurfaceRef overlay = PlaceOverlay(lib, picture, c.x, c.y, 0, kNoKey, fw, fh);
        ASSERT_TRUE(overlay) << what;
        const std::vector<uint8_t> out = Flattened(lib, frame, fw, fh, overlay.get());
        int wrong = 0, touched = 0;
        for (int y = 0; y < fh; ++y)
            for (int x = 0; x < fw; ++x) {
                const uint8_t got = out[size_t(y) * fw + size_t(x)];
                const int px = x - c.x, py = y - c.y;
                if (px >= 0 && px < c.w && py >= 0 && py < c.h)
                    wrong += std::fabs(got - Luma(picture.Row(py) + c.channels * px)) > 2.0;
                else
                    touched += got != 16;
            }
        EXPECT_EQ(wrong, 0) << what;
        EXPECT_EQ(touched, 0) << what;
    }
}

TEST(PlaceOverlay, AxisLayoutsWorkedByHand) {
    struct Case {
        int position, length, extent;
        bool masked;
        AxisLayout expected;
    };
    const Case cases[] = {
        // Inside: nothing cut. Keyed canvases are 4 at least, rounded up to 4.
        {10, 7, 64, false, {0, 7, 0, 7, 10, 17, 8}},
        // Cut at the left by 13.
        {-13, 40, 64, false, {13, 40, 0, 27, 0, 27, 28}},
        // Cut at the right: 6 pixels show.
        {58, 40, 64, false, {0, 6, 0, 6, 58, 64, 8}},
        // Masked, odd part inside: grown by one margin pixel on the right.
        {10, 7, 64, true, {0, 7, 2, 10, 10, 18, 12}},
        // Masked, odd part at the right edge: grown by one on the left.
        {59, 40, 64, true, {0, 5, 1, 7, 58, 64, 8}},
        // Masked, cut at the left by 13: 27 show, grown to the right.
        {-13, 40, 64, true, {13, 40, 2, 30, 0, 28, 32}},
        // Tiny.
        {5, 1, 64, true, {0, 1, 2, 4, 5, 7, 4}},
    };
    for (const Case& c : cases) {
        const AxisLayout a = LayOutAxis(c.position, c.length, c.extent, c.masked, 4);
        const AxisLayout& e = c.expected;
        EXPECT_EQ(std::vector<int>({a.cropBegin, a.cropEnd, a.sourceBegin, a.sourceEnd, a.destBegin, a.destEnd, a.canvas}),
                  std::vector<int>({e.cropBegin, e.cropEnd, e.sourceBegin, e.sourceEnd, e.destBegin, e.destEnd, e.canvas}))
            << c.position << " + " << c.length << (c.masked ? " masked" : "");
    }
    EXPECT_TRUE(LayOutAxis(64, 10, 64, true, 4).Empty());
    EXPECT_TRUE(LayOutAxis(-10, 10, 64, false, 4).Empty());
}

TEST(StretchImage, NearestSamplesCarryAlphaAndAnySizeGoes) {
    const Library lib;
    const Image picture = Picture(3, 2, 4);
    const Image doubled = StretchImage(lib, picture, 6, 4);
    ASSERT_EQ(doubled.width, 6);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 6; ++x)
            EXPECT_TRUE(std::equal(doubled.Row(y) + 4 * x, doubled.Row(y) + 4 * x + 4, picture.Row(y / 2) + 4 * (x / 2)))
                << x << "," << y;
    const Image one = Crop(picture, 2, 1, 1, 1);
    const Image spread = StretchImage(lib, one, 3, 5);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 3; ++x)
            EXPECT_TRUE(std::equal(spread.Row(y) + 4 * x, spread.Row(y) + 4 * x + 4, one.Row(0))) << x << "," << y;
}

}  // namespace
}  // namespace tarnsurf
