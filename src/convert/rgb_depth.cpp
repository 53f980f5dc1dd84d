// The two RGB depth conversions, the same in every tier, in a plain and a
// fast form. All rows and all columns, odd sizes included; a negative height
// reads the source from its last row up. No row ever leaves its frame, so no
// access is guarded.
#include "convert/conversion_kernels.h"

#include <cstddef>

#include "convert/rgb_depth_rows.h"
#include "convert/row_prefetch.h"
#include "platform/byte_span.h"
#include "platform/form_table.h"

namespace tarn {

void Rgb24ToRgb32RowPlain(uint8_t* d, const uint8_t* s, int32_t width) {
    for (int32_t x = 0; x < width; ++x, s += 3, d += 4) {
        d[0] = s[0];
        d[1] = s[1];
        d[2] = s[2];
        d[3] = 0;  // the fourth byte is always 0
    }
}

void Rgb32ToRgb24RowPlain(uint8_t* d, const uint8_t* s, int32_t width) {
    for (int32_t x = 0; x < width; ++x, s += 4, d += 3) {
        d[0] = s[0];
        d[1] = s[1];
        d[2] = s[2];
    }
}

namespace {

struct DepthForms {
    RgbDepthRowFn widen, narrow;
};

constexpr FormEntry<DepthForms> kDepthForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx2, {Rgb24ToRgb32RowAvx2, Rgb32ToRgb24RowAvx2}},
#endif
    {SimdForm::Plain, {Rgb24ToRgb32RowPlain, Rgb32ToRgb24RowPlain}},
};
static_assert(EndsInPlainForm(kDepthForms));

// The rows in order; a negative height reads the source from its last row
// up. Rows are worked whole, so a fast form that reads a row before it
// writes it gives the plain bytes only when no target row meets a source
// row: frames that touch go pixel by pixel.
void ConvertDepth(RgbDepthRowFn fast, RgbDepthRowFn plain, int srcBpp, int dstBpp, uint8_t* dst,
                  int32_t dstStride, const uint8_t* src, int32_t srcStride, int32_t width, int32_t height) {
    const int32_t rows = height < 0 ? -height : height;
    ptrdiff_t step = srcStride;
    if (height < 0) {
        src += step * (rows - 1);
        step = -step;
    }
    if (rows == 0 || width <= 0) return;
    const ByteSpan read = ByteSpan::OfRows(src, step, rows, size_t(width) * srcBpp);
    const ByteSpan written = ByteSpan::OfRows(dst, dstStride, rows, size_t(width) * dstBpp);
    const RgbDepthRowFn row = written.ApartFrom(read) ? fast : plain;
    // Narrowing goes in chunks, hinting the next source row ahead (see
    // row_prefetch.h): a tenth faster on a 1080p frame. Widening goes
    // unhinted: hinted, a chunk at a time or a whole row ahead, it ran 10 to
    // 25 percent slower.
    const bool hinted = srcBpp == 4;
    for (int32_t r = 0; r < rows; ++r, dst += dstStride, src += step) {
        NextRows ahead(read);
        if (hinted && r + 1 < rows) ahead.Add(Offset(AddrOf(src), step), size_t(2 * srcBpp));
        InChunks(ahead, size_t(width), 512, [&](size_t x, size_t n) {
            row(dst + x * dstBpp, src + x * srcBpp, int32_t(n));
        });
    }
}

}  // namespace

void ConvRgb24ToRgb32(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                      int32_t width, int32_t height) {
    ConvertDepth(PickForm(kDepthForms).widen, Rgb24ToRgb32RowPlain, 3, 4, dst, dstStride, src, srcStride, width, height);
}

void ConvRgb32ToRgb24(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                      int32_t width, int32_t height) {
    ConvertDepth(PickForm(kDepthForms).narrow, Rgb32ToRgb24RowPlain, 4, 3, dst, dstStride, src, srcStride, width, height);
}

}  // namespace tarn
