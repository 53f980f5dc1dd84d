// CopyPictureOut: plane by plane, one FastCopy per row.
#include "operations/copy_out.h"

#include <cstddef>

#include "convert/fast_copy.h"

namespace tarn {

namespace {

// Copies `rows` rows of `rowBytes`, reversing their order when `reverse`.
void CopyPlane(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
               int32_t rowBytes, int32_t rows, bool reverse) {
    if (reverse) {
        src += static_cast<ptrdiff_t>(rows - 1) * srcStride;
        srcStride = -srcStride;
    }
    for (int32_t y = 0; y < rows; ++y, dst += dstStride, src += srcStride)
        FastCopy(dst, src, static_cast<size_t>(rowBytes));
}

}  // namespace

void CopyPictureOut(const Picture& picture, const Destination& to) {
    if (!picture.pixels || !to.buffer) return;
    const int32_t n = picture.stride < to.stride ? picture.stride : to.stride;
    if (n <= 0) return;
    const int32_t c = n / 2;
    const int32_t height = picture.height;
    const bool reverse = to.topDown != picture.topDown;
    switch (picture.format) {
        case SURFACE_FORMAT_RGB24:
        case SURFACE_FORMAT_RGB32:
        case SURFACE_FORMAT_YUV422:
            CopyPlane(to.buffer, to.stride, picture.pixels, picture.stride, n, height, reverse);
            break;
        case SURFACE_FORMAT_YUV420: {
            CopyPlane(to.buffer, to.stride, picture.pixels, picture.stride, n, height, reverse);
            if (height < 2) break;
            const int64_t toLuma = int64_t(to.stride) * height;
            const int32_t chromaRows = height / 2;
            const int32_t toChromaStride = to.stride / 2;
            uint8_t* toFirst = to.buffer + toLuma;
            uint8_t* toSecond = toFirst + int64_t(toChromaStride) * chromaRows;
            CopyPlane(toFirst, toChromaStride, FirstChroma(picture), ChromaStride(picture), c, chromaRows,
                      reverse);
            CopyPlane(toSecond, toChromaStride, SecondChroma(picture), ChromaStride(picture), c,
                      chromaRows, reverse);
            break;
        }
        default:  // GRAY8 among them: nothing is copied
            break;
    }
}

}  // namespace tarn
