// Semi-planar 4:2:0 (a luma plane, then one plane of Cb, Cr byte pairs) to
// 24-bit RGB, rows in pairs that share one chroma row, by the table form in
// every tier. The field form holds the two fields of a frame one above the
// other in each plane, each plane's height rounded up to a multiple of 32. A
// negative height writes the destination from its last row up.
#include "convert/catalogue_kernels.h"
#include "convert/colour_formulas.h"
#include "convert/scratch.h"
#include "platform/byte_span.h"

namespace tarn {

void SemiPlanarToRgb24(TierBody body, bool field, uint8_t* dst, int32_t dstStride, const uint8_t* src,
                       int32_t srcStride, int32_t width, int32_t height) {
    const RowWalk walk = WalkOf(dst, dstStride, height);
    const int32_t pairsOfRows = walk.rows / 2;
    const size_t n = static_cast<size_t>(width > 0 ? width & ~1 : 0);
    if (pairsOfRows == 0 || n == 0) return;
    // The MMX tier's kernels (which the SSE2 tier keeps) compute the table
    // form too, so the body changes no byte. It is taken all the same: the
    // catalogue's plain and MMX entries pass different bodies, which keeps
    // them two functions that a linker folding identical code cannot merge,
    // and the catalogue tells its tiers apart by their entries' addresses.
    (void)body;
    const int32_t planeRows = field ? (walk.rows + 31) & ~31 : walk.rows;
    const uint8_t* chroma = src + int64_t(srcStride) * planeRows;

    Scratch work(n + 16);
    uint8_t* u = work.data();
    uint8_t* v = u + n / 2 + 8;
    for (int32_t r = 0; r < 2 * pairsOfRows; ++r) {
        // Frame row r of a field picture is row r / 2 of field r & 1; the
        // chroma of a field has half its rows.
        const int32_t f = field ? r & 1 : 0;
        const int32_t fieldRow = field ? r >> 1 : r;
        const uint8_t* y = src + int64_t(srcStride) * (f * planeRows / 2 + fieldRow);
        const uint8_t* c = chroma + int64_t(srcStride) * (f * planeRows / 4 + fieldRow / 2);
        for (size_t i = 0; i < n / 2; ++i) {
            u[i] = c[2 * i];
            v[i] = c[2 * i + 1];
        }
        uint8_t* out = reinterpret_cast<uint8_t*>(Offset(walk.base, r * walk.step));
        for (size_t x = 0; x < n; ++x) {
            const Bgr p = TableForm(y[x], u[x / 2], v[x / 2]);
            out[3 * x] = p.b;
            out[3 * x + 1] = p.g;
            out[3 * x + 2] = p.r;
        }
    }
}

}  // namespace tarn
