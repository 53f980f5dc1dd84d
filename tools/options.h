// The command line of tarnsurf: subcommands, their options, and the small
// grammars of an overlay description and a resize target.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnsurf {

struct PixelRect {
    int left = 0, top = 0, right = 0, bottom = 0;
};

// One --overlay: FILE, then options as :key=value, in any order.
struct OverlayPlacement {
    std::string file;
    int x = 0, y = 0;                // where the overlay's top left corner goes
    int width = 0, height = 0;       // size on the frame; 0: that of the source rectangle
    std::optional<PixelRect> source; // the part of the PNG taken; default all of it
    uint32_t alpha = 0;              // transparency, 0 (opaque) to 256 (invisible)
    std::optional<uint32_t> key;     // 0xRRGGBB: overlay pixels of this colour are not drawn
    int rotate = 0;                  // degrees, 0 to 359, turned after any stretch
};

struct ResizeTarget {
    int width = 0, height = 0;
    bool fit = false;  // keep the picture's shape and pad with black
};

struct ComposeOptions {
    std::string input;
    std::string output;
    std::vector<OverlayPlacement> overlays;
    std::optional<ResizeTarget> resize;
    int32_t quality = 1;  // a scaling mode of the library; bilinear by default
    int rotate = 0;       // degrees, 0 to 359, each frame turned after composing
    int threads = 1;
};

struct DemoOptions {
    std::string outDir = ".";
    int32_t quality = 1;
    bool parts = false;  // also write the background and the overlay pictures
};

enum class Command { None, Demo, Compose };

struct CommandLine {
    Command command = Command::None;
    ComposeOptions compose;
    DemoOptions demo;
    // When set, the program prints `message` (help on stdout with code 0, an
    // error on stderr otherwise) and ends with `exitCode`.
    bool finished = false;
    int exitCode = 0;
    std::string message;
};

CommandLine ParseCommandLine(int argc, const char* const* argv);

// The grammars, each refusing malformed text with a ToolError that says what
// is wrong.
OverlayPlacement ParseOverlay(const std::string& text);
ResizeTarget ParseResize(const std::string& text);
// A whole angle in degrees, any sign and any number of turns, as 0 to 359.
int ParseAngle(const std::string& text, const std::string& what);
// Quality names ("bilinear", "area", ...) and the library's scaling modes.
std::optional<int32_t> QualityByName(const std::string& name);
std::string QualityNames();

}  // namespace tarnsurf
