// A packed picture smoothed row by row, then converted: the smoothing forms
// of the packed-to-RGB conversions. The smoothed picture is a working copy of
// the source's whole frame, bytes between rows included, so that the
// conversion reads it exactly where it would have read the source.
#include <cstring>

#include "convert/catalogue_kernels.h"
#include "convert/scratch.h"
#include "platform/byte_span.h"

namespace tarn {

void SmoothPackedThen(RowCopyKernel smooth, OneToOneKernel convert, uint8_t* dst,
                      int32_t dstStride, const uint8_t* src, int32_t srcStride, int32_t width,
                      int32_t height) {
    const int32_t rows = height < 0 ? -height : height;
    if (rows == 0 || width <= 0) return;
    // The first row of the frame in memory order, whichever way it is walked.
    const ByteSpan frame = ByteSpan::OfFrame(src, srcStride, rows);
    const Addr lo = frame.Lo();
    const size_t bytes = frame.Hi() - lo;
    Scratch copy(bytes);
    std::memcpy(copy.data(), reinterpret_cast<const uint8_t*>(lo), bytes);
    uint8_t* first = copy.data() + (AddrOf(src) - lo);
    // Smoothing is the same read up or down: the neighbours enter alike.
    smooth(first, srcStride, src, srcStride, width * 2, rows);
    convert(dst, dstStride, first, srcStride, width, height);
}

}  // namespace tarn
