// tarnsurf between two ffmpeg commands: ffmpeg makes a clip, tarnsurf puts a
// PNG with alpha on it, ffmpeg decodes the result. Checked: frame count and
// size, bytes outside the overlay unchanged, bytes inside equal to the same
// composition done here directly through the library, and the colours and
// orientation of the overlay by what they must be. Also the refusals of the
// program: message, non-zero exit and no output file.
#include "png_io.h"
#include "y4m.h"

#include <tarn/TarnSurface.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace tarnsurf {
namespace {

namespace fs = std::filesystem;

constexpr int kW = 320, kH = 240, kFrames = 12;
constexpr int kOverlayW = 64, kOverlayH = 48, kOverlayX = 100, kOverlayY = 60;

struct ShellRun {
    int status;
    std::string err;
};

class EndToEnd : public ::testing::Test {
protected:
    void SetUp() override {
#if !defined(TARNSURF_EXE)
        GTEST_SKIP() << "the tarnsurf program is not part of this build";
#else
        if (std::system("ffmpeg -version > /dev/null 2>&1") != 0)
            GTEST_SKIP() << "ffmpeg is not installed (scripts/test.sh installs it)";
        dir_ = fs::temp_directory_path() / ("tarnsurf-e2e-" + std::to_string(std::random_device()()));
        fs::create_directories(dir_);
        // testsrc2 moves, so every frame differs.
        ASSERT_EQ(Shell("ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=25 -frames:v 12 "
                        "-pix_fmt yuv420p -f yuv4mpegpipe " + Path("clip.y4m")).status, 0);
        WriteOverlay();
#endif
    }
    void TearDown() override {
        if (!dir_.empty()) fs::remove_all(dir_);
    }

    std::string Path(const std::string& leaf) const { return (dir_ / leaf).string(); }
    ShellRun Shell(const std::string& command) const {
        const std::string errFile = Path("stderr.txt");
        const int status = std::system((command + " 2> " + errFile).c_str());
        std::ifstream in(errFile);
        std::stringstream text;
        text << in.rdbuf();
        return {status, text.str()};
    }
    static std::string Tool() {
#if defined(TARNSURF_EXE)
        return TARNSURF_EXE;
#else
        return "";
#endif
    }

    // Top half opaque red, bottom half fully transparent blue, so where the
    // overlay shows and in which colour tells orientation and chroma order.
    void WriteOverlay() {
        overlay_ = Image(kOverlayW, kOverlayH, 4);
        for (int y = 0; y < kOverlayH; ++y)
            for (int x = 0; x < kOverlayW; ++x) {
                uint8_t* p = overlay_.Row(y) + 4 * x;
                const bool top = y < kOverlayH / 2;
                p[0] = top ? 255 : 0;
                p[1] = 0;
                p[2] = top ? 0 : 255;
                p[3] = top ? 255 : 0;
            }
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(std::fopen(Path("logo.png").c_str(), "wb"), &std::fclose);
        WritePngTo(f.get(), overlay_, "logo.png");
    }

    // The frames of a Y4M file, each Y, U, V as in the stream.
    static std::vector<std::vector<uint8_t>> Frames(const std::string& path, Y4mHeader* header) {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(std::fopen(path.c_str(), "rb"), &std::fclose);
        Y4mReader reader(f.get(), path);
        *header = reader.header();
        std::vector<std::vector<uint8_t>> frames;
        for (;;) {
            std::vector<uint8_t> frame(header->FrameBytes());
            uint8_t* y = frame.data();
            if (!reader.ReadFrame({y, y + header->LumaBytes(), y + header->LumaBytes() + header->ChromaBytes()}))
                return frames;
            frames.push_back(std::move(frame));
        }
    }

    // The composition as a host would do it, in the library's plane order
    // (Y, Cr, Cb), handed back in stream order.
    std::vector<uint8_t> ComposeDirectly(const std::vector<uint8_t>& stream) const {
        const size_t luma = size_t(kW) * kH, chroma = luma / 4;
        std::vector<uint8_t> planar(luma + 2 * chroma);
        std::copy_n(stream.begin(), luma, planar.begin());
        std::copy_n(stream.begin() + long(luma + chroma), chroma, planar.begin() + long(luma));  // V
        std::copy_n(stream.begin() + long(luma), chroma, planar.begin() + long(luma + chroma));  // U

        tarn::Ref<ISurfaceBuilder> builder;
        EXPECT_EQ(CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, builder.put_void()), VED_S_OK);
        struct Source : IPixelSource {
            uint8_t* data;
            uint32_t TARN_CALL AddRef() override { return 1; }
            uint32_t TARN_CALL Release() override { return 1; }
            VedResult TARN_CALL QueryInterface(const VedId&, void**) override { return VED_E_NOTSUPPORTED; }
            uint8_t* TARN_CALL GetData() override { return data; }
        } frameSource, overlaySource;
        SurfaceInfo info{52, kW, kH, SURFACE_FORMAT_YUV420, 4, 12, kW, 0, 0, 0, 0, 1, 1};
        frameSource.data = planar.data();
        tarn::Ref<ITarnSurface> frame, overlay, flat;
        EXPECT_EQ(builder->CreateFromData(&info, &frameSource, frame.put()), VED_S_OK);

        // 32-bit pixels with alpha, stored bottom row first.
        std::vector<uint8_t> bgra(size_t(kOverlayW) * kOverlayH * 4);
        for (int y = 0; y < kOverlayH; ++y)
            for (int x = 0; x < kOverlayW; ++x) {
                const uint8_t* in = overlay_.Row(y) + 4 * x;
                uint8_t* out = bgra.data() + (size_t(kOverlayH - 1 - y) * kOverlayW + size_t(x)) * 4;
                out[0] = in[2], out[1] = in[1], out[2] = in[0], out[3] = in[3];
            }
        SurfaceInfo overlayInfo{52, kOverlayW, kOverlayH, SURFACE_FORMAT_RGB32, 4, 32, 4 * kOverlayW, 0, 0, 0, 0, 0, 0};
        overlaySource.data = bgra.data();
        EXPECT_EQ(builder->CreateFromData(&overlayInfo, &overlaySource, overlay.put()), VED_S_OK);
        EXPECT_EQ(overlay->SetSourceRect(0, 0, kOverlayW, kOverlayH), VED_S_OK);
        EXPECT_EQ(overlay->SetDestRect(kOverlayX, kOverlayY, kOverlayX + kOverlayW, kOverlayY + kOverlayH), VED_S_OK);
        EXPECT_EQ(frame->AddOverlay(overlay.get()), VED_S_OK);
        EXPECT_EQ(frame->Flatten(flat.put()), VED_S_OK);
        std::vector<uint8_t> out(planar.size() + 16);
        EXPECT_EQ(flat->CopyOut(out.data(), kW, 1), VED_S_OK);

        std::vector<uint8_t> result(planar.size());
        std::copy_n(out.begin(), luma, result.begin());
        std::copy_n(out.begin() + long(luma + chroma), chroma, result.begin() + long(luma));  // U from Cb
        std::copy_n(out.begin() + long(luma), chroma, result.begin() + long(luma + chroma));  // V from Cr
        return result;
    }

    fs::path dir_;
    Image overlay_;
};

bool InOverlay(int x, int y, int scale) {
    return x >= kOverlayX / scale && x < (kOverlayX + kOverlayW) / scale && y >= kOverlayY / scale &&
           y < (kOverlayY + kOverlayH) / scale;
}

TEST_F(EndToEnd, ComposesAClipBetweenTwoFfmpegCommands) {
    const std::string compose = Tool() + " compose " + Path("clip.y4m") + " --overlay " + Path("logo.png") +
                                ":x=100:y=60 --threads 3 -o " + Path("out.y4m");
    ASSERT_EQ(Shell(compose).status, 0);
    const ShellRun probe = Shell("ffprobe -v error -count_frames -show_entries stream=width,height,nb_read_frames "
                            "-of csv=p=0 " + Path("out.y4m") + " > " + Path("probe.txt"));
    ASSERT_EQ(probe.status, 0) << probe.err;
    std::string line;
    std::getline(std::ifstream(Path("probe.txt")), line);
    EXPECT_EQ(line, "320,240,12");

    // ffmpeg decodes the result to raw 4:2:0, and so does it the clip.
    ASSERT_EQ(Shell("ffmpeg -v error -i " + Path("out.y4m") + " -f rawvideo -pix_fmt yuv420p " + Path("out.yuv")).status, 0);
    Y4mHeader header;
    const auto input = Frames(Path("clip.y4m"), &header);
    ASSERT_EQ(input.size(), size_t(kFrames));
    std::ifstream raw(Path("out.yuv"), std::ios::binary);
    const std::vector<uint8_t> decoded((std::istreambuf_iterator<char>(raw)), std::istreambuf_iterator<char>());
    ASSERT_EQ(decoded.size(), size_t(kFrames) * header.FrameBytes());

    const size_t luma = header.LumaBytes(), chroma = header.ChromaBytes();
    for (int f = 0; f < kFrames; ++f) {
        const uint8_t* out = decoded.data() + size_t(f) * header.FrameBytes();
        const std::vector<uint8_t>& in = input[size_t(f)];
        const std::vector<uint8_t> direct = ComposeDirectly(in);
        int outsideDiffs = 0, insideDiffs = 0;
        for (int plane = 0; plane < 3; ++plane) {
            const int scale = plane ? 2 : 1, w = kW / scale, h = kH / scale;
            const size_t base = plane == 0 ? 0 : plane == 1 ? luma : luma + chroma;
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const size_t i = base + size_t(y) * size_t(w) + size_t(x);
                    if (InOverlay(x, y, scale)) insideDiffs += out[i] != direct[i];
                    else outsideDiffs += out[i] != in[i];
                }
        }
        EXPECT_EQ(outsideDiffs, 0) << "frame " << f;
        EXPECT_EQ(insideDiffs, 0) << "frame " << f;

        // Opaque red on top: Y near 82, U near 90, V near 240 (BT.601 red).
        const int cx = (kOverlayX + 8) / 2, cyTop = (kOverlayY + 8) / 2;
        EXPECT_NEAR(out[size_t(kOverlayY + 8) * kW + size_t(kOverlayX + 8)], 82, 3) << "frame " << f;
        EXPECT_NEAR(out[luma + size_t(cyTop) * (kW / 2) + size_t(cx)], 90, 3) << "frame " << f;
        EXPECT_NEAR(out[luma + chroma + size_t(cyTop) * (kW / 2) + size_t(cx)], 240, 3) << "frame " << f;
        // Transparent below: within one step of the clip.
        const size_t below = size_t(kOverlayY + kOverlayH - 8) * kW + size_t(kOverlayX + 8);
        EXPECT_NEAR(out[below], in[below], 1) << "frame " << f;
    }
}

TEST_F(EndToEnd, WorksInAPipeAndGivesTheSameFrames) {
    ASSERT_EQ(Shell(Tool() + " compose " + Path("clip.y4m") + " --overlay " + Path("logo.png") +
                    ":x=100:y=60 -o " + Path("file.y4m")).status, 0);
    const std::string pipe = "ffmpeg -v error -i " + Path("clip.y4m") + " -f yuv4mpegpipe - | " + Tool() +
                             " compose - --overlay " + Path("logo.png") + ":x=100:y=60 -o - | ffmpeg -v error "
                             "-f yuv4mpegpipe -i - -f yuv4mpegpipe " + Path("piped.y4m");
    const ShellRun run = Shell(pipe);
    ASSERT_EQ(run.status, 0) << run.err;
    Y4mHeader a, b;
    EXPECT_EQ(Frames(Path("file.y4m"), &a), Frames(Path("piped.y4m"), &b));
    EXPECT_EQ(a.width, b.width);
}

TEST_F(EndToEnd, ResizesFittedWithTheRequestedSize) {
    ASSERT_EQ(Shell(Tool() + " compose " + Path("clip.y4m") + " --overlay " + Path("logo.png") +
                    " --resize 640x360:fit -o " + Path("big.y4m")).status, 0);
    Y4mHeader header;
    const auto frames = Frames(Path("big.y4m"), &header);
    EXPECT_EQ(header.width, 640);
    EXPECT_EQ(header.height, 360);
    EXPECT_EQ(header.Param('F'), "25:1");  // the clip's parameters are kept
    EXPECT_EQ(frames.size(), size_t(kFrames));
    // 4:3 into 16:9: black bands of 80 columns left and right.
    EXPECT_EQ(frames[0][0], 16);
    EXPECT_EQ(frames[0][639], 16);
    EXPECT_NE(frames[0][size_t(180) * 640 + 320], 16);
}

// What editors do every day: overlays past an edge or at negative positions,
// pictures of odd and tiny sizes. ffmpeg's overlay filter on the same inputs
// is the judge of where every pixel goes; luma agrees within the rounding of
// the two blends and colour conversions. The filter blends in 4:4:4 here:
// in 4:2:0 it moves overlays to even positions.
TEST_F(EndToEnd, OverlaysAnywhereAndOfAnySizeMatchFfmpegsOverlayFilter) {
    ASSERT_EQ(Shell("ffmpeg -v error -f lavfi -i testsrc2=size=640x360:rate=25 -frames:v 3 -pix_fmt yuv420p "
                    "-f yuv4mpegpipe " + Path("wide.y4m")).status, 0);
    // 101 x 75 with opaque, half transparent and transparent parts; 3 x 3 opaque.
    Image odd(101, 75, 4), tiny(3, 3, 3);
    for (int y = 0; y < 75; ++y)
        for (int x = 0; x < 101; ++x) {
            uint8_t* p = odd.Row(y) + 4 * x;
            p[0] = uint8_t(x * 2), p[1] = uint8_t(255 - y * 3), p[2] = uint8_t(x * y);
            p[3] = x < 60 ? 255 : y < 40 ? 128 : 0;
        }
    for (size_t i = 0; i < tiny.pixels.size(); ++i) tiny.pixels[i] = uint8_t(i % 3 == 0 ? 250 : 20 * i);
    for (const auto& [name, image] : {std::pair{"odd.png", &odd}, std::pair{"tiny.png", &tiny}}) {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(std::fopen(Path(name).c_str(), "wb"), &std::fclose);
        WritePngTo(f.get(), *image, name);
    }
    const struct {
        const char* file;
        int x, y;
    } cases[] = {
        {"logo.png", 600, 300}, {"logo.png", -20, -10}, {"odd.png", 17, 33},
        {"odd.png", 590, -31},  {"tiny.png", 320, 181}, {"tiny.png", 639, 0},
    };
    constexpr int w = 640, h = 360;
    for (const auto& c : cases) {
        const std::string what = std::string(c.file) + " at " + std::to_string(c.x) + "," + std::to_string(c.y);
        const std::string place = ":x=" + std::to_string(c.x) + ":y=" + std::to_string(c.y);
        const ShellRun ours = Shell(Tool() + " compose " + Path("wide.y4m") + " --overlay " + Path(c.file) + place +
                                    " -o - | ffmpeg -v error -y -f yuv4mpegpipe -i - -f rawvideo " + Path("ours.yuv"));
        ASSERT_EQ(ours.status, 0) << what << ": " << ours.err;
        const ShellRun peer = Shell("ffmpeg -v error -y -i " + Path("wide.y4m") + " -i " + Path(c.file) +
                                    " -filter_complex \"[0][1]overlay=x=" + std::to_string(c.x) + ":y=" +
                                    std::to_string(c.y) + ":format=yuv444\" -pix_fmt yuv420p -f rawvideo " +
                                    Path("peer.yuv"));
        ASSERT_EQ(peer.status, 0) << what << ": " << peer.err;
        const auto read = [&](const char* leaf) {
            std::ifstream in(Path(leaf), std::ios::binary);
            return std::vector<uint8_t>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        };
        const std::vector<uint8_t> a = read("ours.yuv"), b = read("peer.yuv");
        const size_t frame = size_t(w) * h * 3 / 2;
        ASSERT_EQ(a.size(), 3 * frame) << what;
        ASSERT_EQ(b.size(), 3 * frame) << what;
        int worst = 0, changed = 0;
        for (size_t f = 0; f < 3; ++f)
            for (size_t i = 0; i < size_t(w) * h; ++i) {
                worst = std::max(worst, std::abs(int(a[f * frame + i]) - int(b[f * frame + i])));
                changed += a[f * frame + i] != b[f * frame + i];
            }
        EXPECT_LE(worst, 3) << what << " (" << changed << " luma samples differ)";
    }
}

// A turned stream: every frame turned after composing, the header telling
// the grown size, and ffmpeg reading it back. 320x240 at 30 degrees holds
// 240 sin 30 + 320 cos 30 = 397.1 by 240 cos 30 + 320 sin 30 = 367.8,
// whole and even: 398 x 368. 210 degrees needs the same frame.
TEST_F(EndToEnd, TurnedStreamsGrowAndFfmpegReadsThem) {
    const struct {
        const char* angle;
        const char* size;
    } cases[] = {{"30", "398,368"}, {"=-150", "398,368"}, {"90", "240,320"}, {"180", "320,240"}};
    for (const auto& c : cases) {
        const std::string angle = c.angle[0] == '=' ? std::string("--rotate") + c.angle : std::string("--rotate ") + c.angle;
        const ShellRun run = Shell("ffmpeg -v error -i " + Path("clip.y4m") + " -f yuv4mpegpipe - | " + Tool() +
                                   " compose - --overlay " + Path("logo.png") + ":x=100:y=60 " + angle + " -o - > " +
                                   Path("turned.y4m"));
        ASSERT_EQ(run.status, 0) << angle << ": " << run.err;
        const ShellRun probe = Shell("ffprobe -v error -count_frames -show_entries stream=width,height,nb_read_frames "
                                     "-of csv=p=0 " + Path("turned.y4m") + " > " + Path("probe.txt"));
        ASSERT_EQ(probe.status, 0) << probe.err;
        std::string line;
        std::getline(std::ifstream(Path("probe.txt")), line);
        EXPECT_EQ(line, std::string(c.size) + ",12") << angle;
    }
    // Half a turn takes pixel x, y to 319 - x, 239 - y: the overlay's opaque
    // red top half (x 100 to 163, y 60 to 83) to x 156 to 219, y 156 to 179.
    ASSERT_EQ(Shell(Tool() + " compose " + Path("clip.y4m") + " --overlay " + Path("logo.png") +
                    ":x=100:y=60 --rotate 180 -o " + Path("half.y4m")).status, 0);
    Y4mHeader header;
    const auto frames = Frames(Path("half.y4m"), &header);
    ASSERT_EQ(frames.size(), size_t(kFrames));
    EXPECT_NEAR(frames[0][size_t(170) * kW + size_t(188)], 82, 4);  // red luma
}

// An overlay turned on its own: a quarter turn makes the 64x48 logo 48 wide
// and 64 high, its red half now a side; half a turn puts the red half below.
TEST_F(EndToEnd, OverlaysTurnOnTheirOwn) {
    Y4mHeader header;
    ASSERT_EQ(Shell(Tool() + " compose " + Path("clip.y4m") + " --overlay " + Path("logo.png") +
                    ":x=100:y=60:rotate=180 -o " + Path("half.y4m")).status, 0);
    const auto half = Frames(Path("half.y4m"), &header);
    ASSERT_EQ(half.size(), size_t(kFrames));
    EXPECT_NEAR(half[0][size_t(60 + 40) * kW + 132], 82, 4);  // lower half red
    const auto original = Frames(Path("clip.y4m"), &header);
    EXPECT_NEAR(half[0][size_t(60 + 8) * kW + 132], original[0][size_t(60 + 8) * kW + 132], 1);  // upper half clear

    ASSERT_EQ(Shell(Tool() + " compose " + Path("clip.y4m") + " --overlay " + Path("logo.png") +
                    ":x=100:y=60:rotate=90 -o " + Path("quarter.y4m")).status, 0);
    const auto quarter = Frames(Path("quarter.y4m"), &header);
    // Red fills one side of a 48x64 box: its left or right 24 columns, all 64 rows.
    const auto red = [&](int x, int y) { return std::abs(int(quarter[0][size_t(y) * kW + size_t(x)]) - 82) <= 4; };
    const bool left = red(100 + 8, 60 + 4) && red(100 + 8, 60 + 60);
    const bool right = red(100 + 40, 60 + 4) && red(100 + 40, 60 + 60);
    EXPECT_NE(left, right);
    const auto clip = Frames(Path("clip.y4m"), &header);
    const size_t below = size_t(60 + 70) * kW + size_t(100 + 24);  // nothing below the turned box
    EXPECT_NEAR(quarter[0][below], clip[0][below], 1);
}

TEST_F(EndToEnd, BadInputIsRefusedWithoutOutput) {
    std::ofstream(Path("text.png")) << "not a picture";
    ASSERT_EQ(Shell("head -c 60000 " + Path("clip.y4m") + " > " + Path("cut.y4m")).status, 0);
    ASSERT_EQ(Shell("ffmpeg -v error -f lavfi -i testsrc2=size=320x240 -frames:v 2 -pix_fmt yuv422p -f yuv4mpegpipe " +
                    Path("c422.y4m")).status, 0);
    const std::string clip = Path("clip.y4m"), logo = Path("logo.png");
    const struct {
        std::string args;
        std::string message;
    } cases[] = {
        {clip + " --overlay " + Path("none.png"), Path("none.png") + ": cannot open"},
        {clip + " --overlay " + Path("text.png"), Path("text.png") + ": not a readable PNG"},
        {clip + " --overlay " + logo + ":src=0,0,65,48", "reaches outside the picture"},
        {Path("cut.y4m") + " --overlay " + logo, Path("cut.y4m") + ": truncated: frame 1"},
        {Path("c422.y4m"), "is not 8-bit 4:2:0"},
        {Path("none.y4m"), Path("none.y4m") + ": cannot open"},
        {clip + " --overlay " + logo + ":alpha=x", "alpha 'x' is not a number"},
        {clip + " --resize 640", "not WIDTHxHEIGHT"},
    };
    for (const auto& c : cases) {
        const ShellRun run = Shell(Tool() + " compose " + c.args + " -o " + Path("out.y4m"));
        EXPECT_NE(run.status, 0) << c.args;
        EXPECT_NE(run.err.find(c.message), std::string::npos) << "expected '" << c.message << "' in: " << run.err;
        EXPECT_FALSE(fs::exists(Path("out.y4m"))) << c.args;
        size_t leftovers = 0;
        for (const auto& entry : fs::directory_iterator(dir_))
            leftovers += entry.path().extension() == ".part";
        EXPECT_EQ(leftovers, 0u) << c.args;
    }
}

}  // namespace
}  // namespace tarnsurf
