// A 5x7 pixel font with just the letters of the demo's title.
#pragma once

#include <string_view>

namespace tarnsurf {

inline constexpr int kGlyphWidth = 5;
inline constexpr int kGlyphHeight = 7;

// Whether pixel (x, y) of the glyph for `letter` is set; letters the font
// lacks are blank.
bool GlyphPixel(char letter, int x, int y);

}  // namespace tarnsurf
