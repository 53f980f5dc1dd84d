// tarnsurf between two ffmpeg commands: ffmpeg makes a clip, tarnsurf puts a
// PNG with alpha on it, ffmpeg decodes the result. Checked: frame count and
// size, bytes outside the overlay unchanged, bytes inside equal to the same
// composition done here directly through the library, and the colours and
// orientation of the overlay by what they must be. Also the refusals of the
// program: message, exit code and no output file.
#include "png_io.h"
#include "y4m.h"

#include "host/host_support.h"
#include "tools_support.h"

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

namespace tarnsurf {
namespace {

namespace fs = std::filesystem;

constexpr int kW = 320, kH = 240, kFrames = 12;
constexpr int kOverlayW = 64, kOverlayH = 48, kOverlayX = 100, kOverlayY = 60;
constexpr size_t kLuma = size_t(kW) * kH, kChroma = kLuma / 4;
constexpr int kRedY = 82, kRedU = 90, kRedV = 240;  // opaque red in BT.601 studio range

struct ShellRun {
    int status;
    std::string err;
};

using Frames = std::vector<std::vector<uint8_t>>;

class EndToEnd : public ScratchDir {
protected:
    void SetUp() override {
#if !defined(TARNSURF_EXE)
        GTEST_SKIP() << "the tarnsurf program is not part of this build";
#else
        if (std::system("ffmpeg -version > /dev/null 2>&1") != 0)
            GTEST_SKIP() << "ffmpeg is not installed (scripts/test.sh installs it)";
        ScratchDir::SetUp();
        // testsrc2 moves, so every frame differs.
        ASSERT_EQ(Shell("ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=25 -frames:v 12 "
                        "-pix_fmt yuv420p -f yuv4mpegpipe " + Path("clip.y4m")).status, 0);
        // Top half opaque red, bottom half fully transparent blue, so where the
        // overlay shows and in which colour tells orientation and chroma order.
        overlay_ = Image(kOverlayW, kOverlayH, 4);
        for (int y = 0; y < kOverlayH; ++y)
            for (int x = 0; x < kOverlayW; ++x) {
                const bool top = y < kOverlayH / 2;
                const uint8_t rgba[4] = {uint8_t(top ? 255 : 0), 0, uint8_t(top ? 0 : 255), uint8_t(top ? 255 : 0)};
                std::copy_n(rgba, 4, overlay_.Row(y) + 4 * x);
            }
        WritePng("logo.png", overlay_);
        clip_ = ReadFrames(Path("clip.y4m"));
        ASSERT_EQ(clip_.size(), size_t(kFrames));
#endif
    }

    ShellRun Shell(const std::string& command) const {
        const int status = std::system((command + " 2> " + Path("stderr.txt")).c_str());
        return {status, FileText(Path("stderr.txt"))};
    }
    // tarnsurf compose with these arguments, after `before` (a pipe into it).
    ShellRun Compose(const std::string& args, const std::string& before = "") const {
#if defined(TARNSURF_EXE)
        return Shell(before + TARNSURF_EXE + " compose " + args);
#else
        return {-1, before + args};
#endif
    }
    // The clip as ffmpeg streams it into a pipe.
    std::string ClipThroughFfmpeg() const { return "ffmpeg -v error -i " + Path("clip.y4m") + " -f yuv4mpegpipe - | "; }
    // The logo at 100,60 with these further options.
    std::string Logo(const std::string& options = "") const { return " --overlay " + Path("logo.png") + ":x=100:y=60" + options; }
    // "width,height,frames" as ffprobe counts them.
    std::string Probe(const std::string& leaf) const {
        const ShellRun probe = Shell("ffprobe -v error -count_frames -show_entries stream=width,height,nb_read_frames "
                                     "-of csv=p=0 " + Path(leaf) + " > " + Path("probe.txt"));
        EXPECT_EQ(probe.status, 0) << probe.err;
        const std::string text = FileText(Path("probe.txt"));
        return text.substr(0, text.find('\n'));
    }
    void WritePng(const std::string& leaf, const Image& image) const {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(std::fopen(Path(leaf).c_str(), "wb"), &std::fclose);
        WritePngTo(f.get(), image, leaf);
    }

    // The frames of a Y4M file, each Y, U, V as in the stream.
    static Frames ReadFrames(const std::string& path, Y4mHeader* header = nullptr) {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(std::fopen(path.c_str(), "rb"), &std::fclose);
        Y4mReader reader(f.get(), path);
        if (header) *header = reader.header();
        const Y4mHeader& h = reader.header();
        for (Frames frames;;) {
            std::vector<uint8_t> frame(h.FrameBytes());
            uint8_t* y = frame.data();
            if (!reader.ReadFrame({y, y + h.LumaBytes(), y + h.LumaBytes() + h.ChromaBytes()})) return frames;
            frames.push_back(std::move(frame));
        }
    }

    // The composition as a host would do it, in the library's plane order
    // (Y, Cr, Cb), handed back in stream order (Y, U = Cb, V = Cr).
    std::vector<uint8_t> ComposeDirectly(const std::vector<uint8_t>& stream) const {
        const auto swapChroma = [](std::vector<uint8_t> planes) {
            std::swap_ranges(planes.begin() + long(kLuma), planes.begin() + long(kLuma + kChroma),
                             planes.begin() + long(kLuma + kChroma));
            return planes;
        };
        auto frame = host::FromData(host::Describe(SURFACE_FORMAT_YUV420, kW, kH), swapChroma(stream));
        // 32-bit pixels with alpha, stored bottom row first.
        std::vector<uint8_t> bgra(size_t(kOverlayW) * kOverlayH * 4);
        for (int y = 0; y < kOverlayH; ++y)
            for (int x = 0; x < kOverlayW; ++x) {
                const uint8_t* in = overlay_.Row(y) + 4 * x;
                uint8_t* out = bgra.data() + (size_t(kOverlayH - 1 - y) * kOverlayW + size_t(x)) * 4;
                out[0] = in[2], out[1] = in[1], out[2] = in[0], out[3] = in[3];
            }
        auto overlay = host::FromData(host::Describe(SURFACE_FORMAT_RGB32, kOverlayW, kOverlayH, 0), bgra);
        EXPECT_EQ(overlay->SetSourceRect(0, 0, kOverlayW, kOverlayH), VED_S_OK);
        EXPECT_EQ(overlay->SetDestRect(kOverlayX, kOverlayY, kOverlayX + kOverlayW, kOverlayY + kOverlayH), VED_S_OK);
        EXPECT_EQ(frame->AddOverlay(overlay.get()), VED_S_OK);
        tarn::Ref<ITarnSurface> flat;
        EXPECT_EQ(frame->Flatten(flat.put()), VED_S_OK);
        std::vector<uint8_t> out(kLuma + 2 * kChroma + 16);
        EXPECT_EQ(flat->CopyOut(out.data(), kW, 1), VED_S_OK);
        out.resize(kLuma + 2 * kChroma);
        return swapChroma(out);
    }

    Image overlay_;
    Frames clip_;
};

// The code the program ended with, from what std::system answers.
int ExitCode(int status) {
#if defined(_WIN32)
    return status;
#else
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

size_t At(int x, int y) { return size_t(y) * kW + size_t(x); }

TEST_F(EndToEnd, ComposesAClipBetweenTwoFfmpegCommands) {
    ASSERT_EQ(Compose(Path("clip.y4m") + Logo() + " --threads 3 -o " + Path("out.y4m")).status, 0);
    EXPECT_EQ(Probe("out.y4m"), "320,240,12");

    // ffmpeg decodes the result to raw 4:2:0.
    ASSERT_EQ(Shell("ffmpeg -v error -i " + Path("out.y4m") + " -f rawvideo -pix_fmt yuv420p " + Path("out.yuv")).status, 0);
    const std::vector<uint8_t> decoded = FileBytes(Path("out.yuv"));
    const size_t frameBytes = kLuma + 2 * kChroma;
    ASSERT_EQ(decoded.size(), kFrames * frameBytes);
    for (int f = 0; f < kFrames; ++f) {
        const uint8_t* out = decoded.data() + size_t(f) * frameBytes;
        const std::vector<uint8_t>& in = clip_[size_t(f)];
        const std::vector<uint8_t> direct = ComposeDirectly(in);
        int outsideDiffs = 0, insideDiffs = 0;
        for (int plane = 0; plane < 3; ++plane) {
            const int s = plane ? 2 : 1, w = kW / s;
            const size_t base = plane == 0 ? 0 : kLuma + size_t(plane - 1) * kChroma;
            for (int y = 0; y < kH / s; ++y)
                for (int x = 0; x < w; ++x) {
                    const size_t i = base + size_t(y) * size_t(w) + size_t(x);
                    const bool inside = x >= kOverlayX / s && x < (kOverlayX + kOverlayW) / s &&
                                        y >= kOverlayY / s && y < (kOverlayY + kOverlayH) / s;
                    (inside ? insideDiffs : outsideDiffs) += out[i] != (inside ? direct[i] : in[i]);
                }
        }
        EXPECT_EQ(outsideDiffs, 0) << "frame " << f;
        EXPECT_EQ(insideDiffs, 0) << "frame " << f;

        // Opaque red on top; transparent below, within one step of the clip.
        const size_t chromaAt = size_t(kOverlayY + 8) / 2 * (kW / 2) + size_t(kOverlayX + 8) / 2;
        EXPECT_NEAR(out[At(kOverlayX + 8, kOverlayY + 8)], kRedY, 3) << "frame " << f;
        EXPECT_NEAR(out[kLuma + chromaAt], kRedU, 3) << "frame " << f;
        EXPECT_NEAR(out[kLuma + kChroma + chromaAt], kRedV, 3) << "frame " << f;
        const size_t below = At(kOverlayX + 8, kOverlayY + kOverlayH - 8);
        EXPECT_NEAR(out[below], in[below], 1) << "frame " << f;
    }

    // In a pipe, from ffmpeg to ffmpeg, the same frames come out.
    const ShellRun run = Compose("- " + Logo() + " -o - | ffmpeg -v error -f yuv4mpegpipe -i - -f yuv4mpegpipe " +
                                 Path("piped.y4m"), ClipThroughFfmpeg());
    ASSERT_EQ(run.status, 0) << run.err;
    Y4mHeader piped, file;
    EXPECT_EQ(ReadFrames(Path("piped.y4m"), &piped), ReadFrames(Path("out.y4m"), &file));
    EXPECT_EQ(std::pair(piped.width, piped.height), std::pair(file.width, file.height));
}

TEST_F(EndToEnd, ResizesFittedWithTheRequestedSize) {
    ASSERT_EQ(Compose(Path("clip.y4m") + Logo() + " --resize 640x360:fit -o " + Path("big.y4m")).status, 0);
    Y4mHeader header;
    const Frames frames = ReadFrames(Path("big.y4m"), &header);
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
    WritePng("odd.png", odd);
    WritePng("tiny.png", tiny);
    const struct {
        const char* file;
        int x, y;
    } cases[] = {
        {"logo.png", 600, 300}, {"logo.png", -20, -10}, {"odd.png", 17, 33},
        {"odd.png", 590, -31},  {"tiny.png", 320, 181}, {"tiny.png", 639, 0},
    };
    const size_t luma = 640 * 360, frame = luma * 3 / 2;
    for (const auto& c : cases) {
        const std::string what = std::string(c.file) + " at " + std::to_string(c.x) + "," + std::to_string(c.y);
        const std::string x = std::to_string(c.x), y = std::to_string(c.y);
        const ShellRun ours = Compose(Path("wide.y4m") + " --overlay " + Path(c.file) + ":x=" + x + ":y=" + y +
                                      " -o - | ffmpeg -v error -y -f yuv4mpegpipe -i - -f rawvideo " + Path("ours.yuv"));
        ASSERT_EQ(ours.status, 0) << what << ": " << ours.err;
        const ShellRun peer = Shell("ffmpeg -v error -y -i " + Path("wide.y4m") + " -i " + Path(c.file) +
                                    " -filter_complex \"[0][1]overlay=x=" + x + ":y=" + y +
                                    ":format=yuv444\" -pix_fmt yuv420p -f rawvideo " + Path("peer.yuv"));
        ASSERT_EQ(peer.status, 0) << what << ": " << peer.err;
        const std::vector<uint8_t> a = FileBytes(Path("ours.yuv")), b = FileBytes(Path("peer.yuv"));
        ASSERT_EQ(a.size(), 3 * frame) << what;
        ASSERT_EQ(b.size(), 3 * frame) << what;
        int worst = 0, changed = 0;
        for (size_t f = 0; f < 3; ++f)
            for (size_t i = f * frame; i < f * frame + luma; ++i) {
                worst = std::max(worst, std::abs(int(a[i]) - int(b[i])));
                changed += a[i] != b[i];
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
    } cases[] = {{" 30", "398,368"}, {"=-150", "398,368"}, {" 90", "240,320"}, {" 180", "320,240"}};
    for (const auto& c : cases) {
        const ShellRun run = Compose("- " + Logo() + " --rotate" + c.angle + " -o - > " + Path("turned.y4m"),
                                     ClipThroughFfmpeg());
        ASSERT_EQ(run.status, 0) << c.angle << ": " << run.err;
        EXPECT_EQ(Probe("turned.y4m"), std::string(c.size) + ",12") << c.angle;
        if (std::string(c.angle) != " 180") continue;
        // Half a turn takes pixel x, y to 319 - x, 239 - y: the overlay's opaque
        // red top half (x 100 to 163, y 60 to 83) to x 156 to 219, y 156 to 179.
        const Frames frames = ReadFrames(Path("turned.y4m"));
        ASSERT_EQ(frames.size(), size_t(kFrames));
        EXPECT_NEAR(frames[0][At(188, 170)], kRedY, 4);
    }
}

// An overlay turned on its own: a quarter turn makes the 64x48 logo 48 wide
// and 64 high, its red half now a side; half a turn puts the red half below.
TEST_F(EndToEnd, OverlaysTurnOnTheirOwn) {
    ASSERT_EQ(Compose(Path("clip.y4m") + Logo(":rotate=180") + " -o " + Path("half.y4m")).status, 0);
    const Frames half = ReadFrames(Path("half.y4m"));
    ASSERT_EQ(half.size(), size_t(kFrames));
    EXPECT_NEAR(half[0][At(132, 60 + 40)], kRedY, 4);                  // lower half red
    EXPECT_NEAR(half[0][At(132, 60 + 8)], clip_[0][At(132, 60 + 8)], 1);  // upper half clear

    ASSERT_EQ(Compose(Path("clip.y4m") + Logo(":rotate=90") + " -o " + Path("quarter.y4m")).status, 0);
    const Frames quarter = ReadFrames(Path("quarter.y4m"));
    ASSERT_EQ(quarter.size(), size_t(kFrames));
    // Red fills one side of a 48x64 box: its left or right 24 columns, all 64 rows.
    const auto red = [&](int x, int y) { return std::abs(int(quarter[0][At(x, y)]) - kRedY) <= 4; };
    const bool left = red(100 + 8, 60 + 4) && red(100 + 8, 60 + 60);
    const bool right = red(100 + 40, 60 + 4) && red(100 + 40, 60 + 60);
    EXPECT_NE(left, right);
    EXPECT_NEAR(quarter[0][At(100 + 24, 60 + 70)], clip_[0][At(100 + 24, 60 + 70)], 1);  // nothing below the box
}

// A refusal of the command line ends with code 2, one found at work with 1.
TEST_F(EndToEnd, BadInputIsRefusedWithoutOutput) {
    std::ofstream(Path("text.png")) << "not a picture";
    ASSERT_EQ(Shell("head -c 60000 " + Path("clip.y4m") + " > " + Path("cut.y4m")).status, 0);
    ASSERT_EQ(Shell("ffmpeg -v error -f lavfi -i testsrc2=size=320x240 -frames:v 2 -pix_fmt yuv422p -f yuv4mpegpipe " +
                    Path("c422.y4m")).status, 0);
    const std::string clip = Path("clip.y4m"), logo = " --overlay " + Path("logo.png");
    const struct {
        std::string args;
        std::string message;
        int code;
    } cases[] = {
        {clip + " --overlay " + Path("none.png"), Path("none.png") + ": cannot open", 1},
        {clip + " --overlay " + Path("text.png"), Path("text.png") + ": not a readable PNG", 1},
        {clip + logo + ":src=0,0,65,48", "reaches outside the picture", 1},
        {Path("cut.y4m") + logo, Path("cut.y4m") + ": truncated: frame 1", 1},
        {Path("c422.y4m"), "is not 8-bit 4:2:0", 1},
        {Path("none.y4m"), Path("none.y4m") + ": cannot open", 1},
        {clip + logo + ":alpha=x", "alpha 'x' is not a number", 2},
        {clip + " --resize 640", "not WIDTHxHEIGHT", 2},
    };
    for (const auto& c : cases) {
        const ShellRun run = Compose(c.args + " -o " + Path("out.y4m"));
        EXPECT_EQ(ExitCode(run.status), c.code) << c.args;
        EXPECT_NE(run.err.find(c.message), std::string::npos) << "expected '" << c.message << "' in: " << run.err;
        EXPECT_FALSE(fs::exists(Path("out.y4m"))) << c.args;
        for (const auto& entry : fs::directory_iterator(dir_))
            EXPECT_NE(entry.path().extension(), ".part") << c.args;
    }
}

}  // namespace
}  // namespace tarnsurf
