// The mask a 32-bit picture carries in its alpha bytes.
#pragma once

#include "operations/picture.h"

namespace tarn {

// Writes 255 - alpha of each pixel of the 32-bit picture `source` into the
// GRAY8 picture `mask` of the same width and height (rows `mask.stride`
// apart). Rows are reversed whatever either row order says: a 32-bit source
// is taken to be stored bottom-up.
void MaskFromAlpha(const Picture& source, const Picture& mask);

}  // namespace tarn
