// The command line: what it accepts, with the values it yields, and what it
// refuses, with a message that names the problem.
#include "options.h"

#include "error_of.h"

#include <tarn/TarnSurface.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

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
                                  "area", "--threads", "3", "-o", "out.y4m"});
    ASSERT_FALSE(cl.finished) << cl.message;
    ASSERT_EQ(cl.command, Command::Compose);
    const ComposeOptions& c = cl.compose;
    EXPECT_EQ(c.input, "in.y4m");
    EXPECT_EQ(c.output, "out.y4m");
    ASSERT_EQ(c.overlays.size(), 2u);
    EXPECT_EQ(c.overlays[0].file, "logo.png");
    EXPECT_EQ(c.overlays[0].x, 10);
    EXPECT_EQ(c.overlays[0].y, 20);
    EXPECT_EQ(c.overlays[1].alpha, 64u);
    EXPECT_EQ(c.overlays[1].width, 100);
    ASSERT_TRUE(c.resize.has_value());
    EXPECT_EQ(c.resize->width, 1280);
    EXPECT_EQ(c.resize->height, 720);
    EXPECT_TRUE(c.resize->fit);
    EXPECT_EQ(c.quality, SCALE_AREA);
    EXPECT_EQ(c.threads, 3);
}

TEST(CommandLine, ComposeDefaultsAndPipes) {
    const CommandLine cl = Parse({"compose", "-", "-o", "-"});
    ASSERT_FALSE(cl.finished) << cl.message;
    EXPECT_EQ(cl.compose.input, "-");
    EXPECT_EQ(cl.compose.output, "-");
    EXPECT_TRUE(cl.compose.overlays.empty());
    EXPECT_FALSE(cl.compose.resize.has_value());
    EXPECT_EQ(cl.compose.quality, SCALE_BILINEAR);
    EXPECT_GE(cl.compose.threads, 1);
}

TEST(CommandLine, DemoAndItsDirectory) {
    CommandLine cl = Parse({"demo"});
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

TEST(CommandLine, RefusesMalformedLines) {
    const struct {
        std::vector<std::string> args;
        const char* problem;
    } cases[] = {
        {{}, "subcommand"},
        {{"paint"}, "subcommand"},
        {{"compose", "-o", "out.png"}, "INPUT"},
        {{"compose", "in.png"}, "--output"},
        {{"compose", "in.png", "-o", "o.png", "--quality", "sharp"}, "unknown quality 'sharp'"},
        {{"compose", "in.png", "-o", "o.png", "--resize", "1280"}, "not WIDTHxHEIGHT"},
        {{"compose", "in.png", "-o", "o.png", "--resize", "1281x720"}, "odd"},
        {{"compose", "in.png", "-o", "o.png", "--resize", "640x480:crop"}, "only option after ':' is 'fit'"},
        {{"compose", "in.png", "-o", "o.png", "--threads", "0"}, "--threads"},
        {{"compose", "in.png", "-o", "o.png", "--overlay", "a.png:alpha=300"}, "alpha 300 is out of range"},
        {{"compose", "in.png", "-o", "o.png", "--overlay", "a.png:size=3"}, "unknown overlay option 'size'"},
        {{"compose", "in.png", "-o", "o.png", "--frobnicate"}, "--frobnicate"},
    };
    for (const auto& c : cases) {
        const CommandLine cl = Parse(c.args);
        EXPECT_TRUE(cl.finished);
        EXPECT_NE(cl.exitCode, 0);
        EXPECT_NE(cl.message.find(c.problem), std::string::npos)
            << "expected '" << c.problem << "' in: " << cl.message;
    }
}

TEST(OverlayPlacement, ReadsEveryOption) {
    const OverlayPlacement s = ParseOverlay("logo.png:x=10:y=20:w=100:h=50:src=2,4,42,24:alpha=256:key=#00ff80");
    EXPECT_EQ(s.file, "logo.png");
    EXPECT_EQ(s.x, 10);
    EXPECT_EQ(s.y, 20);
    EXPECT_EQ(s.width, 100);
    EXPECT_EQ(s.height, 50);
    ASSERT_TRUE(s.source.has_value());
    EXPECT_EQ(s.source->left, 2);
    EXPECT_EQ(s.source->top, 4);
    EXPECT_EQ(s.source->right, 42);
    EXPECT_EQ(s.source->bottom, 24);
    EXPECT_EQ(s.alpha, 256u);
    EXPECT_EQ(s.key, 0x00FF80u);
    EXPECT_EQ(ParseOverlay("a.png:key=0x102030").key, 0x102030u);
}

TEST(OverlayPlacement, ColonsThatStartNoOptionBelongToTheFile) {
    EXPECT_EQ(ParseOverlay("C:\\logos\\a.png:x=4").file, "C:\\logos\\a.png");
    EXPECT_EQ(ParseOverlay("take:2.png").file, "take:2.png");
    EXPECT_EQ(ParseOverlay("take:2.png:y=6").y, 6);
    EXPECT_EQ(ParseOverlay("take:2.png:x=-40:y=-6").x, -40);  // off the frame's left edge
    const OverlayPlacement plain = ParseOverlay("plain.png");
    EXPECT_EQ(plain.x, 0);
    EXPECT_EQ(plain.alpha, 0u);
    EXPECT_FALSE(plain.source.has_value());
    EXPECT_FALSE(plain.key.has_value());
}

TEST(CommandLine, RotateTakesNegativeAngles) {
    EXPECT_EQ(Parse({"compose", "in.y4m", "--rotate", "30", "-o", "o.y4m"}).compose.rotate, 30);
    EXPECT_EQ(Parse({"compose", "in.y4m", "--rotate=-90", "-o", "o.y4m"}).compose.rotate, 270);
    EXPECT_EQ(Parse({"compose", "in.y4m", "-o", "o.y4m"}).compose.rotate, 0);
    const CommandLine bad = Parse({"compose", "in.y4m", "--rotate", "right", "-o", "o.y4m"});
    EXPECT_TRUE(bad.finished);
    EXPECT_NE(bad.message.find("not a number"), std::string::npos) << bad.message;
}

TEST(OverlayPlacement, AnglesOfAnySignAndTurnAreBroughtToOneTurn) {
    EXPECT_EQ(ParseOverlay("a.png:rotate=30").rotate, 30);
    EXPECT_EQ(ParseOverlay("a.png:rotate=-30").rotate, 330);
    EXPECT_EQ(ParseOverlay("a.png:rotate=450").rotate, 90);
    EXPECT_EQ(ParseOverlay("a.png:rotate=-720").rotate, 0);
    EXPECT_EQ(ParseOverlay("a.png:rotate=360").rotate, 0);
    EXPECT_NE(ErrorOf([] { ParseOverlay("a.png:rotate=1.5"); }).find("not a number"), std::string::npos);
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
        {"a.png:x=1:bogus", "no '=value'"},
    };
    for (const auto& c : cases) {
        const std::string message = ErrorOf([&] { ParseOverlay(c.text); });
        EXPECT_NE(message.find(c.problem), std::string::npos) << c.text << " -> '" << message << "'";
    }
}

}  // namespace
}  // namespace tarnsurf
