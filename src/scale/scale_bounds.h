// The memory a scaling call may touch, passed down with the call. The exact
// box functions step through a run at the pitches of their fixed table,
// which for some pixel-size pairs are wider than the pixels: a run then
// reaches past its row, and on the last row past the buffer. Inside these
// spans every byte comes out as that table makes it; writes outside are
// dropped and reads outside give 0. Every other kernel stays inside the
// pictures and needs no checks.
#pragma once

#include <cstdint>

#include "platform/byte_span.h"

namespace tarn {

struct ScaleBounds {
    ByteSpan target, source;

    // All of memory on both sides: nothing is dropped, for callers whose
    // buffers hold every byte the tables reach.
    static ScaleBounds Unchecked() { return {ByteSpan(0, UINTPTR_MAX), ByteSpan(0, UINTPTR_MAX)}; }
};

}  // namespace tarn
