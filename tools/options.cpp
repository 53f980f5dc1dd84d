// tarnsurf's command line, parsed by CLI11: one subcommand required, help
// texts with examples, and every malformed value refused before any work.
#include "options.h"

#include "tool_error.h"

#include <tarn/TarnSurface.h>

#include <CLI/CLI.hpp>

#include <sstream>
#include <thread>
#include <utility>

namespace tarnsurf {
namespace {

struct QualityName {
    const char* name;
    int32_t mode;
};

constexpr QualityName kQualities[] = {
    {"nearest", SCALE_NEAREST},       {"bilinear", SCALE_BILINEAR},
    {"bilinear-fade", SCALE_BILINEAR_FADE}, {"box", SCALE_BOX},
    {"box-fade", SCALE_BOX_FADE},     {"field", SCALE_FIELD_BILINEAR},
    {"area", SCALE_AREA},             {"planar-nearest", SCALE_PLANAR_NEAREST},
    {"sharpen", SCALE_PLANAR_SHARPEN}, {"planar-area", SCALE_PLANAR_AREA},
};

constexpr const char* kComposeExamples = R"(Overlay: FILE[:x=N][:y=N][:w=N][:h=N][:src=L,T,R,B][:alpha=N][:key=RRGGBB][:rotate=DEG]
  x, y     top left corner on the frame (default 0, 0); negative or past an
           edge is fine: the part on the frame is drawn
  w, h     size on the frame; the overlay is stretched when it differs from src
  src      the part of the PNG taken, right and bottom exclusive (default all)
  alpha    transparency 0 (opaque) .. 256 (invisible); scales a PNG's own alpha
  key      colour of the overlay that is not drawn (PNGs without alpha only)
  rotate   turn the overlay by DEG degrees after any stretch; it grows to hold
           the turned picture, x and y placing the grown one
A PNG's alpha channel becomes the overlay's mask. Overlays of any size are
drawn whole. INPUT and OUTPUT are .png or .bmp pictures or .y4m (YUV4MPEG2
4:2:0) streams; '-' is standard input or output, read and written as
YUV4MPEG2.

Examples:
  tarnsurf compose frame.png --overlay logo.png:x=32:y=32 -o out.png
  tarnsurf compose in.y4m --overlay title.png:x=100:y=600:alpha=64 \
      --overlay box.png:x=0:y=0:w=640:h=360 --resize 1280x720:fit -o out.y4m
  tarnsurf compose frame.bmp --overlay logo.png --overlay badge.bmp:x=64 -o out.bmp
  tarnsurf compose in.y4m --overlay logo.png:x=20:y=20:rotate=15 --rotate 90 -o out.y4m
  ffmpeg -i clip.mp4 -f yuv4mpegpipe -pix_fmt yuv420p - |
      tarnsurf compose - --overlay logo.png:x=20:y=20 -o - |
      ffmpeg -f yuv4mpegpipe -i - out.mp4)";

constexpr const char* kDemoExamples = R"(Builds a 1280x720 scene from built-in pictures (colour bars and a gradient
drawn with the library's fills, a title with an alpha channel, a keyed logo,
a translucent box, a stretched inset), flattens it, resizes it fitted to
1920x1080 and 640x480, and writes the PNG files with one timed line per step.

Examples:
  tarnsurf demo
  tarnsurf demo --out /tmp/demo
  tarnsurf demo --parts --out /tmp/parts   # pictures to try compose with)";

// CLI11 validators that run the tool's own grammars, so a bad value is
// reported like any other malformed option.
CLI::Validator Grammar(std::string name, void (*parse)(const std::string&)) {
    return CLI::Validator(
        [parse](std::string& text) {
            try {
                parse(text);
                return std::string();
            } catch (const ToolError& e) {
                return std::string(e.what());
            }
        },
        "", std::move(name));
}

std::string QualityCheck(const std::string& text) {
    return QualityByName(text) ? std::string() : "unknown quality '" + text + "' (known: " + QualityNames() + ")";
}

}  // namespace

std::optional<int32_t> QualityByName(const std::string& name) {
    for (const QualityName& q : kQualities)
        if (name == q.name) return q.mode;
    return std::nullopt;
}

std::string QualityNames() {
    std::string names;
    for (const QualityName& q : kQualities) names += (names.empty() ? "" : ", ") + std::string(q.name);
    return names;
}

CommandLine ParseCommandLine(int argc, const char* const* argv) {
    CommandLine result;
    CLI::App app("tarnsurf: titles, logos and masks onto frames and video streams, with the TarnSurface library",
                 "tarnsurf");
    app.require_subcommand(1);
    app.footer("Run 'tarnsurf SUBCOMMAND --help' for the options and examples of each.");

    std::string demoQuality = "bilinear";
    CLI::App* demo = app.add_subcommand("demo", "Compose and resize a built-in scene; needs no input");
    demo->add_option("--out", result.demo.outDir, "Directory for the PNG files")->capture_default_str();
    demo->add_option("--quality", demoQuality, "Scaling mode: " + QualityNames())
        ->check(CLI::Validator(QualityCheck, "MODE"))
        ->capture_default_str();
    demo->add_flag("--parts", result.demo.parts,
                   "Also write the scene's pieces: its background and its overlay pictures (tarnsurf-part-*.png)");
    demo->footer(kDemoExamples);

    ComposeOptions& c = result.compose;
    std::vector<std::string> overlays;
    std::string resize;
    std::string composeQuality = "bilinear";
    c.threads = int(std::max(1u, std::thread::hardware_concurrency()));
    CLI::App* compose = app.add_subcommand("compose", "Put PNG or BMP overlays onto a PNG or BMP frame or every frame of a stream");
    compose->add_option("INPUT", c.input, "Frame (.png, .bmp) or stream (.y4m, '-' for standard input)")->required();
    compose->add_option("--overlay", overlays, "Overlay PNG or BMP with its placement (see below); repeatable")
        ->check(Grammar("OVERLAY", [](const std::string& t) { ParseOverlay(t); }))
        ->allow_extra_args(false);
    compose->add_option("--resize", resize, "Resize the composed frames to WxH; ':fit' keeps the shape")
        ->check(Grammar("WxH[:fit]", [](const std::string& t) { ParseResize(t); }));
    std::string rotate;
    compose->add_option("--rotate", rotate,
                        "Turn each composed frame by DEG degrees, any whole angle; the frame grows to hold "
                        "it, and a stream's size follows")
        ->check(Grammar("DEG", [](const std::string& t) { ParseAngle(t, "rotate"); }));
    compose->add_option("--quality", composeQuality, "Scaling mode: " + QualityNames())
        ->check(CLI::Validator(QualityCheck, "MODE"))
        ->capture_default_str();
    compose->add_option("--threads", c.threads, "Frames composed at once (default: all cores)")
        ->check(CLI::Range(1, 256));
    compose->add_option("-o,--output", c.output, "Output .png, .bmp or .y4m, '-' for standard output")->required();
    compose->footer(kComposeExamples);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        std::ostringstream out, err;
        result.finished = true;
        result.exitCode = app.exit(e, out, err) == 0 ? 0 : 2;
        result.message = out.str() + err.str();
        return result;
    }
    if (demo->parsed()) {
        result.command = Command::Demo;
        result.demo.quality = *QualityByName(demoQuality);
    } else {
        result.command = Command::Compose;
        for (const std::string& text : overlays) c.overlays.push_back(ParseOverlay(text));
        if (!resize.empty()) c.resize = ParseResize(resize);
        if (!rotate.empty()) c.rotate = ParseAngle(rotate, "rotate");
        c.quality = *QualityByName(composeQuality);
    }
    return result;
}

}  // namespace tarnsurf
