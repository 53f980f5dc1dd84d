// The grammars of --overlay and --resize, kept apart from the command-line
// library so they can be read and tested on their own.
//
//   --overlay FILE[:x=N][:y=N][:w=N][:h=N][:src=L,T,R,B][:alpha=N][:key=RRGGBB][:rotate=DEG]
//   --resize WxH[:fit]
//   --rotate DEG
//
// FILE ends at the first ':' that starts a "key=", so paths that hold a
// colon elsewhere still work.
#include "options.h"

#include "tool_error.h"

#include <charconv>
#include <limits>

namespace tarnsurf {
namespace {

// An option starts at a ':' followed by a lower-case word and '='; any other
// colon belongs to the file name ("C:\\logos\\a.png", "take:2.png").
bool StartsOption(const std::string& text, size_t colon) {
    size_t i = colon + 1;
    while (i < text.size() && text[i] >= 'a' && text[i] <= 'z') ++i;
    return i > colon + 1 && i < text.size() && text[i] == '=';
}

long ParseNumber(const std::string& text, const std::string& what, long low, long high, int base = 10) {
    long value = 0;
    const char* begin = text.data();
    const char* end = text.data() + text.size();
    const auto [stop, ec] = std::from_chars(begin, end, value, base);
    if (text.empty() || ec != std::errc() || stop != end)
        throw ToolError(what + " '" + text + "' is not a number");
    if (value < low || value > high)
        throw ToolError(what + " " + text + " is out of range (" + std::to_string(low) + " to " + std::to_string(high) + ")");
    return value;
}

constexpr long kMaxCoordinate = 16384;

PixelRect ParseRect(const std::string& text) {
    int values[4];
    size_t start = 0;
    for (int i = 0; i < 4; ++i) {
        const size_t comma = text.find(',', start);
        if ((i < 3) != (comma != std::string::npos))
            throw ToolError("src '" + text + "' needs four numbers LEFT,TOP,RIGHT,BOTTOM");
        values[i] = int(ParseNumber(text.substr(start, comma - start), "src value", 0, kMaxCoordinate));
        start = comma + 1;
    }
    const PixelRect rect{values[0], values[1], values[2], values[3]};
    if (rect.right <= rect.left || rect.bottom <= rect.top)
        throw ToolError("src '" + text + "' is empty: RIGHT and BOTTOM must exceed LEFT and TOP");
    return rect;
}

}  // namespace

OverlayPlacement ParseOverlay(const std::string& text) {
    size_t colon = text.find(':');
    while (colon != std::string::npos && !StartsOption(text, colon)) colon = text.find(':', colon + 1);
    OverlayPlacement placement;
    placement.file = text.substr(0, colon);
    if (placement.file.empty()) throw ToolError("overlay '" + text + "' names no file");
    while (colon != std::string::npos) {
        const size_t next = text.find(':', colon + 1);
        const std::string item = text.substr(colon + 1, next - colon - 1);
        colon = next;
        const size_t equals = item.find('=');
        if (equals == std::string::npos) throw ToolError("overlay option '" + item + "' has no '=value'");
        const std::string key = item.substr(0, equals);
        const std::string value = item.substr(equals + 1);
        if (key == "x") placement.x = int(ParseNumber(value, "x", -kMaxCoordinate, kMaxCoordinate));
        else if (key == "y") placement.y = int(ParseNumber(value, "y", -kMaxCoordinate, kMaxCoordinate));
        else if (key == "w") placement.width = int(ParseNumber(value, "w", 2, kMaxCoordinate));
        else if (key == "h") placement.height = int(ParseNumber(value, "h", 2, kMaxCoordinate));
        else if (key == "src") placement.source = ParseRect(value);
        else if (key == "alpha") placement.alpha = uint32_t(ParseNumber(value, "alpha", 0, 256));
        else if (key == "key") {
            const std::string hex = value.substr(value.rfind('#') == 0 ? 1 : value.rfind("0x", 0) == 0 ? 2 : 0);
            if (hex.size() != 6) throw ToolError("key '" + value + "' is not a colour RRGGBB in hex");
            placement.key = uint32_t(ParseNumber(hex, "key", 0, 0xFFFFFF, 16));
        } else if (key == "rotate") {
            placement.rotate = ParseAngle(value, "rotate");
        } else {
            throw ToolError("unknown overlay option '" + key + "' (known: x, y, w, h, src, alpha, key, rotate)");
        }
    }
    return placement;
}

int ParseAngle(const std::string& text, const std::string& what) {
    // The library sizes a turned frame from an angle of 0 to 360; other
    // angles are brought there, -30 and 330 being the same turn.
    constexpr long kTurns = 100 * 360;
    return int((ParseNumber(text, what, -kTurns, kTurns) % 360 + 360) % 360);
}

ResizeTarget ParseResize(const std::string& text) {
    ResizeTarget placement;
    std::string size = text;
    const size_t colon = text.find(':');
    if (colon != std::string::npos) {
        if (text.substr(colon + 1) != "fit")
            throw ToolError("resize '" + text + "': the only option after ':' is 'fit'");
        placement.fit = true;
        size = text.substr(0, colon);
    }
    const size_t times = size.find('x');
    if (times == std::string::npos) throw ToolError("resize '" + text + "' is not WIDTHxHEIGHT");
    placement.width = int(ParseNumber(size.substr(0, times), "resize width", 4, kMaxCoordinate));
    placement.height = int(ParseNumber(size.substr(times + 1), "resize height", 4, kMaxCoordinate));
    if ((placement.width | placement.height) & 1)
        throw ToolError("resize " + size + " is odd; frames are 4:2:0 and need an even width and height");
    return placement;
}

}  // namespace tarnsurf
