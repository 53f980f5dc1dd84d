// Row primitives of the YUV side: the plain forms, which are the scalar
// reference of the SSE2 tier's row arithmetic, and the choice of form.
#include "convert/yuv_rows.h"

#include "convert/colour_formulas.h"
#include "convert/smoothing.h"

namespace tarn {

namespace {

void SmoothPlain(uint8_t* out, const uint8_t* a, const uint8_t* b, const uint8_t* c, size_t n) {
    for (size_t i = 0; i < n; ++i) out[i] = static_cast<uint8_t>(Smooth(a[i], b[i], c[i]));
}

void AveragePlain(uint8_t* out, const uint8_t* a, const uint8_t* b, size_t n) {
    for (size_t i = 0; i < n; ++i) out[i] = static_cast<uint8_t>(RoundAvg(a[i], b[i]));
}

template <int Bpp>
void VectorPlain(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                 size_t pixels) {
    for (size_t i = 0; i < pixels; ++i, dst += Bpp) {
        const Bgr c = VectorForm(y[i], u[i / 2], v[i / 2]);
        dst[0] = c.b;
        dst[1] = c.g;
        dst[2] = c.r;
        if constexpr (Bpp == 4) dst[3] = 0;
    }
}

void PackPlain(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t pairs) {
    for (size_t i = 0; i < pairs; ++i, dst += 4) {
        dst[0] = y[2 * i];
        dst[1] = u[i];
        dst[2] = y[2 * i + 1];
        dst[3] = v[i];
    }
}

void UnpackPlain(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* src, size_t pairs) {
    for (size_t i = 0; i < pairs; ++i, src += 4) {
        y[2 * i] = src[0];
        u[i] = src[1];
        y[2 * i + 1] = src[2];
        v[i] = src[3];
    }
}

}  // namespace

const YuvRowForms kYuvRowsPlain = {SmoothPlain,    AveragePlain, VectorPlain<4>,
                                   VectorPlain<3>, PackPlain,    UnpackPlain};

const YuvRowForms& ActiveYuvRows() {
    static const FormEntry<const YuvRowForms*> table[] = {
#if defined(TARN_HAVE_X86_SIMD)
        {SimdForm::Avx2, &kYuvRowsAvx2},
        {SimdForm::Sse2, &kYuvRowsSse2},
#endif
        {SimdForm::Plain, &kYuvRowsPlain},
    };
    return *PickForm(table);
}

}  // namespace tarn
