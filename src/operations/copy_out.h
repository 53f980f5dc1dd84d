// The one routine that takes pixels out of a picture into memory of the
// caller: rows of each plane, cut to the shorter stride, reversed when the row
// orders differ. CopyOut, the export of platform objects and the operations
// that find nothing to change under a destination all use it.
#pragma once

#include "operations/picture.h"

namespace tarn {

// Nothing is written for a null picture or buffer, a stride below 1, or a
// GRAY8 picture. For YUV420 the destination's chroma planes follow its luma
// plane with no gap, rows at half its stride.
void CopyPictureOut(const Picture& picture, const Destination& to);

}  // namespace tarn
