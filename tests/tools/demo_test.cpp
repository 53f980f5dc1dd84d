// The demo writes its three pictures, and what is in them is where the scene
// puts it: letterbox bands, a logo keyed on black, white title text.
#include "demo.h"
#include "png_io.h"
#include "tools_support.h"

namespace tarnsurf {
namespace {

const uint8_t* Pixel(const Image& image, int x, int y) { return image.Row(y) + 3 * x; }

// One run with its parts, into a directory it makes: the scene at both
// fitted sizes, and the parts the scene is made of.
using Demo = ScratchDir;

TEST_F(Demo, WritesTheSceneBothFittedSizesAndItsParts) {
    DemoOptions options;
    options.outDir = Path("made/here");  // made when missing
    options.parts = true;
    RunDemo(options);
    const auto read = [&](const std::string& leaf) { return ReadPng(Path("made/here/tarnsurf-" + leaf + ".png")); };
    const Image scene = read("demo-1280x720"), large = read("demo-1920x1080"), small = read("demo-640x480");
    const Image background = read("part-background"), title = read("part-title"), inset = read("part-inset"),
                logo = read("part-logo");
    EXPECT_EQ(std::vector<int>({scene.width, scene.height, large.width, large.height, small.width, small.height,
                                background.width, background.height, title.width, title.height, title.channels,
                                inset.width, inset.height, logo.width, logo.height}),
              std::vector<int>({1280, 720, 1920, 1080, 640, 480, 1280, 720, 544, 72, 4, 64, 48, 128, 128}));

    // 16:9 into 4:3: black bands of 60 rows above and below, picture between.
    for (int y : {0, 59, 420, 479})
        for (int c = 0; c < 3; ++c) EXPECT_LE(Pixel(small, 320, y)[c], 1) << "row " << y;
    EXPECT_GT(Pixel(small, 320, 240)[1], 100);

    // The logo's black gap between its tiles shows the grey ramp behind it,
    // and its red tile is red.
    const uint8_t* gap = Pixel(scene, 1096 + 63, 520 + 30);
    EXPECT_GT(gap[0], 150);
    EXPECT_NEAR(gap[0], gap[2], 6);
    const uint8_t* tile = Pixel(scene, 1096 + 30, 520 + 30);
    EXPECT_GT(tile[0], 180);
    EXPECT_LT(tile[1], 100);
    EXPECT_LT(tile[2], 100);
    // The top bar of the title's T is white through its alpha mask.
    for (int c = 0; c < 3; ++c) EXPECT_GT(Pixel(scene, 368 + 8 + 4, 56 + 4 + 4)[c], 225);
    // The first colour bar outside every overlay stays 75% grey.
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(Pixel(scene, 20, 300)[c], 191, 3);

    // The background under the box is the first bar; the scene darkens it.
    EXPECT_NEAR(Pixel(background, 60, 100)[0], 191, 1);
    EXPECT_LT(Pixel(scene, 60, 100)[0], 150);
    // The logo keeps its black background, which the scene keys away.
    EXPECT_EQ(Pixel(logo, 1, 1)[0] + Pixel(logo, 1, 1)[1] + Pixel(logo, 1, 1)[2], 0);
    EXPECT_GT(Pixel(logo, 30, 30)[0], 180);
    // Title: transparent corner, opaque white letter.
    EXPECT_EQ(title.Row(0)[3], 0);
    EXPECT_EQ(title.Row(4 + 4)[4 * (8 + 4) + 3], 255);
}

}  // namespace
}  // namespace tarnsurf
