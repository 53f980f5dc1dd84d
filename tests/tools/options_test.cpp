// The command line: what it accepts, with the values it yields, and what it
// refuses, with a message that names the problem.
#include "options.h"

#include "tools_support.h"

#include <tarn/TarnSurface.h>

namespace tarnsurf {
namespace {

CommandLine Parse(std::vector<std::string> args) {
    args.insert(args.begin(), "tarnsurf");
    std::vector<const char*> argv;
    for (const std::string& a : args) argv.push_back(a.c_str());
    return ParseCommandLine(int(argv.size()), argv.data());
}

TEST(CommandLine, ComposeWithEverything) {
    const CommandLine cl = Parse({"compose", "in.y4m", "--overlay", "logo.png:x=10:y=20", "--overlay",
                                  "title.png:alpha=64:w=100:h=50", "--resize", "1280x720:fit", "--quality",
                                  "area", "--threads", "3", "--rotate=-90", "-o", "out.y4m"});
    ASSERT_FALSE(cl.finished) << cl.message;
    ASSERT_EQ(cl.command, Command::Compose);
    const ComposeOptions& c = cl.compose;
    EXPECT_EQ(c.input, "in.y4m");
    EXPECT_EQ(c.output, "out.y4m");
    ASSERT_EQ(c.overlays.size(), 2u);
    EXPECT_EQ(c.overlays[0].file, "logo.png");
    EXPECT_EQ(std::vector<int>({c.overlays[0].x, c.overlays[0].y, int(c.overlays[1].alpha), c.overlays[1].width}),
              std::vector<int>({10, 20, 64, 100}));
    ASSERT_TRUE(c.resize.has_value());
    EXPECT_EQ(std::vector<int>({c.resize->width, c.resize->height, c.resize->fit, c.quality, c.threads, c.rotate}),
              std::vector<int>({1280, 720, 1, SCALE_AREA, 3, 270}));  // negative angles brought to one turn
}

TEST(CommandLine, DefaultsPipesAndDemo) {
    CommandLine cl = Parse({"compose", "-", "-o", "-"});
    ASSERT_FALSE(cl.finished) << cl.message;
    EXPECT_EQ(cl.compose.input, "-");
    EXPECT_EQ(cl.compose.output, "-");
    EXPECT_TRUE(cl.compose.overlays.empty());
    EXPECT_FALSE(cl.compose.resize.has_value());
    EXPECT_EQ(cl.compose.quality, SCALE_BILINEAR);
    EXPECT_EQ(cl.compose.rotate, 0);
    EXPECT_GE(cl.compose.threads, 1);

    cl = Parse({"demo"});
    ASSERT_FALSE(cl.finished) << cl.message;
    EXPECT_EQ(cl.command, Command::Demo);
    EXPECT_EQ(cl.demo.outDir, ".");
    cl = Parse({"demo", "--out", "/tmp/x", "--quality", "sharpen"});
    EXPECT_EQ(cl.demo.outDir, "/tmp/x");
    EXPECT_EQ(cl.demo.quality, SCALE_PLANAR_SHARPEN);
}

TEST(CommandLine, HelpEndsWellAndShowsExamples) {
    for (const char* sub : {"compose", "demo"}) {
        const CommandLine cl = Parse({sub, "--help"});
        EXPECT_TRUE(cl.finished);
        EXPECT_EQ(cl.exitCode, 0);
        EXPECT_NE(cl.message.find("Examples:"), std::string::npos) << sub;
        EXPECT_NE(cl.message.find(std::string("tarnsurf ") + sub), std::string::npos) << sub;
    }
}

// A line that cannot be used ends the program with code 2, as usage errors do.
TEST(CommandLine, RefusesMalformedLines) {
    const std::vector<std::string> line = {"compose", "in.png", "-o", "o.png"};
    const auto with = [&](std::vector<std::string> more) {
        more.insert(more.begin(), line.begin(), line.end());
        return more;
    };
    const struct {
        std::vector<std::string> args;
        const char* problem;
    } cases[] = {
        {{}, "subcommand"},
        {{"paint"}, "subcommand"},
        {{"compose", "-o", "out.png"}, "INPUT"},
        {{"compose", "in.png"}, "--output"},
        {with({"--quality", "sharp"}), "unknown quality 'sharp'"},
        {with({"--resize", "1280"}), "not WIDTHxHEIGHT"},
        {with({"--resize", "1281x720"}), "odd"},
        {with({"--resize", "640x480:crop"}), "only option after ':' is 'fit'"},
        {with({"--threads", "0"}), "--threads"},
        {with({"--rotate", "right"}), "not a number"},
        {with({"--overlay", "a.png:alpha=300"}), "alpha 300 is out of range"},
        {with({"--overlay", "a.png:size=3"}), "unknown overlay option 'size'"},
        {with({"--frobnicate"}), "--frobnicate"},
    };
    for (const auto& c : cases) {
        const CommandLine cl = Parse(c.args);
        EXPECT_TRUE(cl.finished);
        EXPECT_EQ(cl.exitCode, 2);
        EXPECT_NE(cl.message.find(c.problem), std::string::npos)
            << "expected '" << c.problem << "' in: " << cl.message;
    }
}

TEST(OverlayPlacement, ReadsEveryOption) {
    const OverlayPlacement s = ParseOverlay("logo.png:x=10:y=20:w=100:h=50:src=2,4,42,24:alpha=256:key=#00ff80");
    EXPECT_EQ(s.file, "logo.png");
    ASSERT_TRUE(s.source.has_value());
    EXPECT_EQ(std::vector<int>({s.x, s.y, s.width, s.height, s.source->left, s.source->top, s.source->right,
                                s.source->bottom, int(s.alpha)}),
              std::vector<int>({10, 20, 100, 50, 2, 4, 42, 24, 256}));
    EXPECT_EQ(s.key, 0x00FF80u);
    EXPECT_EQ(ParseOverlay("a.png:key=0x102030").key, 0x102030u);
    const OverlayPlacement plain = ParseOverlay("plain.png");
    EXPECT_EQ(std::vector<int>({plain.x, plain.y, plain.width, plain.height, int(plain.alpha), plain.rotate}),
              std::vector<int>(6, 0));
    EXPECT_FALSE(plain.source.has_value());
    EXPECT_FALSE(plain.key.has_value());
}

TEST(OverlayPlacement, ColonsThatStartNoOptionBelongToTheFile) {
    EXPECT_EQ(ParseOverlay("C:\\logos\\a.png:x=4").file, "C:\\logos\\a.png");
    EXPECT_EQ(ParseOverlay("take:2.png").file, "take:2.png");
    EXPECT_EQ(ParseOverlay("take:2.png:y=6").y, 6);
    EXPECT_EQ(ParseOverlay("take:2.png:x=-40:y=-6").x, -40);  // off the frame's left edge
}

TEST(OverlayPlacement, AnglesOfAnySignAndTurnAreBroughtToOneTurn) {
    for (auto [text, degrees] : {std::pair{"30", 30}, {"-30", 330}, {"450", 90}, {"-720", 0}, {"360", 0}}) {
        EXPECT_EQ(ParseOverlay(std::string("a.png:rotate=") + text).rotate, degrees) << text;
        EXPECT_EQ(Parse({"compose", "in.y4m", std::string("--rotate=") + text, "-o", "o.y4m"}).compose.rotate, degrees) << text;
    }
}

TEST(OverlayPlacement, RefusesWithTheReason) {
    const struct {
        const char* text;
        const char* problem;
    } cases[] = {
        {":x=1", "names no file"},
        {"a.png:x=-16385", "out of range"},
        {"a.png:x=1e3", "not a number"},
        {"a.png:w=1", "w 1 is out of range"},
        {"a.png:src=0,0,10", "four numbers"},
        {"a.png:src=0,0,10,10,3", "four numbers"},
        {"a.png:src=10,0,10,10", "is empty"},
        {"a.png:key=red", "not a colour RRGGBB"},
        {"a.png:key=12345", "not a colour RRGGBB"},
        {"a.png:key=gg0000", "not a number"},
        {"a.png:alpha=", "not a number"},
        {"a.png:rotate=1.5", "not a number"},
        {"a.png:x=1:bogus", "no '=value'"},
    };
    for (const auto& c : cases) {
        const std::string message = ErrorOf([&] { ParseOverlay(c.text); });
        EXPECT_NE(message.find(c.problem), std::string::npos) << c.text << " -> '" << message << "'";
    }
}

}  // namespace
}  // namespace tarnsurf
