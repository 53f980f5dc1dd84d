// The demo scene: a 1280x720 frame of colour bars and ramps painted by the
// library's fills, under a translucent box, a title with an alpha channel, a
// small inset stretched four times, and a logo keyed on black.
#include "demo.h"

#include "demo_font.h"
#include "library.h"
#include "output_file.h"
#include "tool_error.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace tarnsurf {
namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 720;

class StepClock {
public:
    StepClock() : start_(std::chrono::steady_clock::now()) {}
    void Report(const char* step, const std::string& what) {
        const auto now = std::chrono::steady_clock::now();
        std::printf("%-8s %-62s %8.2f ms\n", step, what.c_str(),
                    std::chrono::duration<double, std::milli>(now - start_).count());
        std::fflush(stdout);
        start_ = now;
    }

private:
    std::chrono::steady_clock::time_point start_;
};

// An RGB fill stores the colour's high byte first, where blue lives, so a
// colour 0xRRGGBB is handed over with red and blue exchanged. A 24-bit fill
// also zeroes the byte behind each row of its rectangle (it stores 4 bytes a
// pixel), which would dent whatever lies to the right; the background is
// therefore 32-bit, and 24-bit pictures are filled only where that byte is
// black already or painted over later.
void Paint(ITarnSurface* s, int left, int top, int right, int bottom, uint32_t rgb) {
    VedRect rect{left, top, right, bottom};
    const uint32_t r = rgb >> 16 & 0xFF, g = rgb >> 8 & 0xFF, b = rgb & 0xFF;
    Check(s->Fill(&rect, b << 16 | g << 8 | r), "Fill");
}

uint32_t Hue(double h) {
    const auto channel = [h](double offset) {
        const double v = std::fabs(std::fmod(h * 6.0 + offset, 6.0) - 3.0) - 1.0;
        return uint32_t(std::lround(255.0 * std::clamp(v, 0.0, 1.0)));
    };
    return channel(0.0) << 16 | channel(4.0) << 8 | channel(2.0);
}

SurfaceRef BlankRgb(const Library& lib, int w, int h) {
    return lib.Blank(DescribeSurface(SURFACE_FORMAT_RGB24, w, h, true));
}

// Seven 75% bars over two thirds of the frame, a grey ramp and a hue ramp
// below them, each ramp 160 strips of 8 pixels.
int PaintBackground(ITarnSurface* frame) {
    static constexpr uint32_t kBars[] = {0xBFBFBF, 0xBFBF00, 0x00BFBF, 0x00BF00, 0xBF00BF, 0xBF0000, 0x0000BF};
    int fills = 0;
    for (int i = 0; i < 7; ++i, ++fills)
        Paint(frame, (i * kWidth / 7) & ~1, 0, ((i + 1) * kWidth / 7) & ~1, 480, kBars[i]);
    for (int i = 0; i < 160; ++i, fills += 2) {
        const uint32_t grey = uint32_t(i * 255 / 159);
        Paint(frame, i * 8, 480, i * 8 + 8, 600, grey << 16 | grey << 8 | grey);
        Paint(frame, i * 8, 600, i * 8 + 8, kHeight, Hue(i / 160.0));
    }
    return fills;
}

// "TarnSurface" in white with a soft black shadow; transparent elsewhere.
Image TitlePicture() {
    constexpr int kScale = 8, kAdvance = (kGlyphWidth + 1) * kScale;
    const std::string text = "TarnSurface";
    Image title(544, 72, 4);
    const auto block = [&](int left, int top, uint8_t value, uint8_t alpha) {
        for (int y = top; y < top + kScale; ++y)
            for (int x = left; x < left + kScale; ++x) {
                uint8_t* p = title.Row(y) + 4 * x;
                p[0] = p[1] = p[2] = value;
                p[3] = alpha;
            }
    };
    for (int pass = 0; pass < 2; ++pass)
        for (size_t i = 0; i < text.size(); ++i)
            for (int gy = 0; gy < kGlyphHeight; ++gy)
                for (int gx = 0; gx < kGlyphWidth; ++gx)
                    if (GlyphPixel(text[i], gx, gy)) {
                        const int x = 8 + int(i) * kAdvance + gx * kScale, y = 4 + gy * kScale;
                        if (pass == 0) block(x + 4, y + 4, 0, 140);  // shadow first, text over it
                        else block(x, y, 255, 255);
                    }
    return title;
}

// A checkerboard of 8-pixel squares, drawn here rather than filled: each
// square's fill would dent its right neighbour.
Image InsetPicture() {
    Image inset(64, 48, 3);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x) {
            static constexpr uint8_t kColours[2][3] = {{0xF0, 0x80, 0x20}, {0x1F, 0x6F, 0x7F}};
            const uint8_t* c = kColours[(x / 8 + y / 8) % 2];
            std::copy(c, c + 3, inset.Row(y) + 3 * x);
        }
    return inset;
}

void WriteImage(const Image& image, const std::filesystem::path& path) {
    OutputFile out(path.string());
    WritePngTo(out.file(), image, out.name());
    out.Commit();
}

std::string Size(int w, int h) { return std::to_string(w) + "x" + std::to_string(h); }

}  // namespace

void RunDemo(const DemoOptions& options) {
    const std::filesystem::path dir(options.outDir);
    std::error_code error;
    std::filesystem::create_directories(dir, error);
    if (error) Fail(options.outDir, "cannot create the output directory: " + error.message());

    StepClock clock;
    const Library lib;
    SurfaceRef frame = lib.Blank(DescribeSurface(SURFACE_FORMAT_RGB32, kWidth, kHeight, true));
    const int fills = PaintBackground(frame.get());
    clock.Report("scene", Size(kWidth, kHeight) + " RGB32: bars and ramps in " + std::to_string(fills) + " fills");

    SurfaceRef box = BlankRgb(lib, 1200, 120);
    Paint(box.get(), 0, 0, 1200, 120, 0x102040);
    box = PrepareOverlay(lib, box, {0, 0, 1200, 120}, {40, 32, 1240, 152}, 96, kNoKey);

    const Image titleImage = TitlePicture();
    SurfaceRef title = RgbaSurfaceFrom(lib, titleImage, 0);
    title = PrepareOverlay(lib, title, {0, 0, 544, 72}, {368, 56, 912, 128}, 0, kNoKey);

    SurfaceRef inset = RgbSurfaceFrom(lib, InsetPicture());
    inset = PrepareOverlay(lib, inset, {0, 0, 64, 48}, {96, 240, 352, 432}, 0, kNoKey);

    SurfaceRef logo = BlankRgb(lib, 128, 128);  // black, so the tiles' dents vanish
    static constexpr uint32_t kTiles[] = {0xE03020, 0x30B040, 0x2050E0, 0xF0C020};
    for (int i = 0; i < 4; ++i)
        Paint(logo.get(), 4 + 64 * (i % 2), 4 + 64 * (i / 2), 60 + 64 * (i % 2), 60 + 64 * (i / 2), kTiles[i]);
    SurfaceRef logoPart;  // the logo as drawn, before composition converts it
    if (options.parts) Check(logo->Clone(logoPart.put()), "Clone");
    logo = PrepareOverlay(lib, logo, {0, 0, 128, 128}, {1096, 520, 1224, 648}, 0, 0x000000);
    clock.Report("overlays", "box alpha 96, title with alpha, inset stretched x4, logo keyed");
    if (options.parts) {
        // From copies: writing converts a picture, and the scene goes on
        // from the pictures as they are.
        SurfaceRef background;
        Check(frame->Clone(background.put()), "Clone");
        const std::pair<const char*, Image> parts[] = {
            {"background", ImageFromSurface(background.get())},
            {"title", titleImage},
            {"inset", InsetPicture()},
            {"logo", ImageFromSurface(logoPart.get())},
        };
        for (const auto& [name, image] : parts) WriteImage(image, dir / ("tarnsurf-part-" + std::string(name) + ".png"));
        clock.Report("parts", "background, title, inset and logo written");
    }

    for (ITarnSurface* overlay : {box.get(), title.get(), inset.get(), logo.get()})
        Check(frame->AddOverlay(overlay), "AddOverlay");
    Check(frame->SetFlattenInPlace(1), "SetFlattenInPlace");
    SurfaceRef composed;
    Check(frame->Flatten(composed.put()), "Flatten");
    clock.Report("flatten", "4 overlays onto the frame, now YUV420");

    const std::string sceneName = "tarnsurf-demo-" + Size(kWidth, kHeight) + ".png";
    WriteImage(ImageFromSurface(composed.get()), dir / sceneName);
    clock.Report("write", (dir / sceneName).string());

    for (const auto& [w, h] : {std::pair{1920, 1080}, std::pair{640, 480}}) {
        SurfaceRef copy;
        Check(composed->Clone(copy.put()), "Clone");
        Check(copy->Resize(w, h, 1, options.quality), "Resize");
        Check(copy->Flush(), "Flush");
        SurfaceInfo info{};
        Check(copy->GetInfo(&info), "GetInfo");
        const Image image = ImageFromSurface(copy.get());
        clock.Report("resize", Size(w, h) + " fitted, picture at " + std::to_string(info.contentLeft) + "," +
                                   std::to_string(info.contentTop) + "," + std::to_string(info.contentRight) +
                                   "," + std::to_string(info.contentBottom) + ", to RGB");
        const std::string name = "tarnsurf-demo-" + Size(w, h) + ".png";
        WriteImage(image, dir / name);
        clock.Report("write", (dir / name).string());
    }
}

}  // namespace tarnsurf
