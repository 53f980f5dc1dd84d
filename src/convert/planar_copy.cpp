// Pictures copied as they are: a planar picture into one buffer, plane by
// plane, and any single-plane picture row by row. The row copy passed in is
// the tier's (fast_copy.h): plain, block or wide, or one of the smoothing
// copies, which keep the first and last rows of each plane and smooth the
// rows between.
#include "convert/catalogue_kernels.h"

namespace tarn {

void CopyPlanes(RowCopyKernel copy, bool smooth, bool swap, uint8_t* dst, int32_t dstStride,
                const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                int32_t uvStride, int32_t width, int32_t height) {
    const int32_t rows = height < 0 ? -height : height;
    // The chroma planes of a smoothing copy need two rows each.
    if (rows == 0 || width <= 0 || (smooth && rows < 4)) return;
    copy(dst, dstStride, srcY, yStride, width, height);
    const int32_t chromaRows = rows / 2;
    if (chromaRows == 0) return;
    const int64_t lumaBytes = int64_t(dstStride) * rows;
    uint8_t* first = dst + lumaBytes;
    uint8_t* second = dst + lumaBytes * 5 / 4;
    const int32_t chromaHeight = height < 0 ? -chromaRows : chromaRows;
    copy(first, dstStride / 2, swap ? srcV : srcU, uvStride, width / 2, chromaHeight);
    copy(second, dstStride / 2, swap ? srcU : srcV, uvStride, width / 2, chromaHeight);
}

void CopyPixelRows(RowCopyKernel copy, int bytesPerPixel, uint8_t* dst, int32_t dstStride,
                   const uint8_t* src, int32_t srcStride, int32_t width, int32_t height) {
    // The smoothing copies write a first row even for a height of 0.
    if (height == 0 || width <= 0) return;
    copy(dst, dstStride, src, srcStride, width * bytesPerPixel, height);
}

}  // namespace tarn
