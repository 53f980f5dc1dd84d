// Planar 4:2:0 to semi-planar: the luma plane copied, then one plane of Cb,
// Cr byte pairs starting at the next multiple of 16 rows. The chroma of
// sample i lands at bytes 2i and 2i + 1 for i from width / 2 down to 1: the
// first pair of bytes in each chroma row is never written, and the last pair
// takes the sample just past the source chroma row. The chroma rows are
// interleaved into working rows and go through the same row copy as the
// luma, so a smoothing copy smooths both planes alike.
#include "convert/catalogue_kernels.h"
#include "convert/scratch.h"
#include "platform/byte_span.h"

namespace tarn {

void PlanarToSemiPlanar(RowCopyKernel copy, bool smooth, uint8_t* dst, int32_t dstStride,
                        const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV,
                        int32_t yStride, int32_t uvStride, int32_t width, int32_t height) {
    const int32_t rows = height < 0 ? -height : height;
    if (rows == 0 || width <= 0 || (smooth && rows < 4)) return;
    copy(dst, dstStride, srcY, yStride, width, height);
    const int32_t chromaRows = rows / 2;
    const size_t half = size_t(width / 2);
    if (chromaRows == 0 || half == 0) return;

    // Sample width / 2 lies past the chroma row: read inside the frame given,
    // 0 outside it.
    const ByteSpan srcSpan = ByteSpan::OfPlanar(srcY, srcU, srcV, yStride, uvStride, rows);
    const size_t rowBytes = 2 * half + 2;
    Scratch work(rowBytes * size_t(chromaRows));
    for (int32_t k = 0; k < chromaRows; ++k) {
        uint8_t* out = work.data() + rowBytes * size_t(k);
        const Addr u = Offset(AddrOf(srcU), ptrdiff_t(k) * uvStride);
        const Addr v = Offset(AddrOf(srcV), ptrdiff_t(k) * uvStride);
        for (size_t i = half; i >= 1; --i) {
            out[2 * i] = srcSpan.Read(u + i);
            out[2 * i + 1] = srcSpan.Read(v + i);
        }
    }
    uint8_t* plane = dst + int64_t(dstStride) * ((rows + 15) & ~15);
    copy(plane + 2, dstStride, work.data() + 2, int32_t(rowBytes), int32_t(2 * half),
         height < 0 ? -chromaRows : chromaRows);
}

}  // namespace tarn
