// The compositors' range checks. Nothing in the blends tests a size, so a
// compositor refuses an overlay whose rectangles leave the target or the
// overlay, and one whose blend would touch a byte outside the buffer it
// reads or writes; in-range overlays are painted exactly as before.
#pragma once

#include <algorithm>
#include <cstdint>

#include "operations/picture.h"
#include "platform/byte_span.h"

namespace tarn {

// True when `rect` lies within a picture of width by height (left and top not
// negative, right and bottom not beyond). An inverted rectangle passes: it
// is for the stretch to deal with.
inline bool RectInside(const VedRect& rect, uint32_t width, uint32_t height) {
    return rect.left >= 0 && rect.top >= 0 && int64_t(rect.right) <= int64_t(width) &&
           int64_t(rect.bottom) <= int64_t(height);
}

// One area a blend touches: `rows` rows of `bytes` bytes, the first at byte
// `column` of row `row` of a plane that starts `planeOffset` bytes into the
// buffer and has rows `pitch` bytes apart.
struct TouchedArea {
    int64_t planeOffset;
    int64_t pitch;
    int64_t row;
    int64_t column;
    int64_t rows;
    int64_t bytes;
};

// A buffer of `bytes` bytes as the span of offsets from its start: the
// checks are worked before any blend, when some pictures have no address
// yet, so they count in offsets rather than addresses.
inline ByteSpan BufferOffsets(int64_t bytes) { return {0, static_cast<Addr>(bytes > 0 ? bytes : 0)}; }
inline ByteSpan BufferOffsets(const Picture& p) { return BufferOffsets(BufferBytes(p)); }

// True when every byte of the area lies in `buffer` (offsets, see above), or
// it is empty. An area starting left of its plane's rows is refused.
inline bool AreaInside(const TouchedArea& a, const ByteSpan& buffer) {
    if (a.rows <= 0 || a.bytes <= 0) return true;
    const int64_t first = a.planeOffset + a.row * a.pitch + a.column;
    const int64_t lastRow = first + (a.rows - 1) * a.pitch;
    const int64_t low = std::min(first, lastRow), end = std::max(first, lastRow) + a.bytes;
    return a.column >= 0 && low >= 0 && buffer.Holds(static_cast<Addr>(low), static_cast<size_t>(end - low));
}

}  // namespace tarn
