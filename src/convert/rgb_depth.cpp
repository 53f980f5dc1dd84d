// The two RGB depth conversions, the same in every tier, in a plain and a
// fast form. All rows and all columns, odd sizes included; a negative height
// reads the source from its last row up. No row ever leaves its frame, so no
// access is guarded.
#include "convert/conversion_kernels.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "convert/rgb_depth_rows.h"
#include "platform/form_table.h"

namespace tarn {

void Rgb24ToRgb32Row(uint8_t* d, const uint8_t* s, int32_t width) {
    for (int32_t x = 0; x < width; ++x, s += 3, d += 4) {
        d[0] = s[0];
        d[1] = s[1];
        d[2] = s[2];
        d[3] = 0;  // the fourth byte is always 0
    }
}

void Rgb32ToRgb24Row(uint8_t* d, const uint8_t* s, int32_t width) {
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

DepthForms PickDepthForms() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<DepthForms> t[] = {{SimdForm::Avx2, {Rgb24ToRgb32RowAvx2, Rgb32ToRgb24RowAvx2}},
                                              {SimdForm::Plain, {Rgb24ToRgb32Row, Rgb32ToRgb24Row}}};
    return PickForm(t);
#else
    return {Rgb24ToRgb32Row, Rgb32ToRgb24Row};
#endif
}

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
    auto span = [rows](const uint8_t* first, ptrdiff_t pitch, ptrdiff_t bytes) {
        const uintptr_t a = reinterpret_cast<uintptr_t>(first), b = a + pitch * (rows - 1);
        return std::pair<uintptr_t, uintptr_t>{std::min(a, b), std::max(a, b) + uintptr_t(bytes)};
    };
    const auto s = span(src, step, ptrdiff_t(width) * srcBpp);
    const auto d = span(dst, dstStride, ptrdiff_t(width) * dstBpp);
    const RgbDepthRowFn row = d.second <= s.first || s.second <= d.first ? fast : plain;
    for (int32_t r = 0; r < rows; ++r, dst += dstStride, src += step) row(dst, src, width);
}

}  // namespace

void ConvRgb24ToRgb32(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                      int32_t width, int32_t height) {
    ConvertDepth(PickDepthForms().widen, Rgb24ToRgb32Row, 3, 4, dst, dstStride, src, srcStride, width, height);
}

void ConvRgb32ToRgb24(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                      int32_t width, int32_t height) {
    ConvertDepth(PickDepthForms().narrow, Rgb32ToRgb24Row, 4, 3, dst, dstStride, src, srcStride, width, height);
}

}  // namespace tarn
