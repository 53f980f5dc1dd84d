// Changing the format of a picture: the same format (nothing, or a copy to a
// destination), the chroma planes of YUV420 swapped in place, or one pass of a
// colour kernel into a new buffer or a destination.
#pragma once

#include <cstdint>

#include "operations/picture.h"
#include "operations/pixel_memory.h"

namespace tarn {

// What a change of format comes to, decided before any pixel is touched.
struct FormatChange {
    enum class Step : uint8_t { Refuse, Keep, SwapChroma, Convert };
    Step step = Step::Refuse;
    VedResult refusal = VED_E_FAIL;  // the answer of Refuse: no buffer, or no kernel
    int32_t conversion = -1;         // Convert: which kernel, a row of the table
    // Convert from RGB of odd width or height to planar: the picture is first
    // trimmed to even sizes by a fitting resize (mode 1), for planar pictures
    // never have an odd size.
    bool evenSizesFirst = false;
};
FormatChange PlanFormatChange(const Picture& picture, SurfaceFormat format);

// Carries out the change. Without a destination a conversion leaves its new
// buffer in `made` and `picture` describes it for the surface to install; a
// swap works in the picture's own buffer. With a destination the result goes
// into the caller's memory and the picture stays as it was.
VedResult ChangeFormat(Picture& picture, const FormatChange& change, const Destination* to,
                       PendingPixels& made);

}  // namespace tarn
