// Row primitives of the YUV side: the plain forms, which are the scalar
// reference of the SSE2 tier's row arithmetic, and the choice of form.
#include "convert/yuv_rows.h"

#include <cstring>

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

template <int Bpp>
void PackedVectorPlain(uint8_t* dst, const uint8_t* src, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i, dst += Bpp) {
        const uint8_t* pair = src + 4 * (i / 2);
        const Bgr c = VectorForm(pair[2 * (i % 2)], pair[1], pair[3]);
        dst[0] = c.b;
        dst[1] = c.g;
        dst[2] = c.r;
        if constexpr (Bpp == 4) dst[3] = 0;
    }
}

uint8_t S(const Rows3& r, size_t i) { return static_cast<uint8_t>(Smooth(r.a[i], r.b[i], r.c[i])); }

void SmoothPairToYuy2Plain(const RowPair& rows, size_t pairs) {
    for (int r = 0; r < 2; ++r) {
        const Rows3 y = rows.y[r];
        for (size_t i = 0; i < pairs; ++i) {
            const uint8_t p[4] = {S(y, 2 * i), S(rows.u, i), S(y, 2 * i + 1), S(rows.v, i)};
            std::memcpy(rows.out[r] + 4 * i, p, 4);
        }
    }
}

void SmoothPairToBgraPlain(const RowPair& rows, size_t pixels) {
    for (int r = 0; r < 2; ++r) {
        uint8_t* dst = rows.out[r];
        for (size_t i = 0; i < pixels; ++i, dst += 4) {
            const Bgr c = VectorForm(S(rows.y[r], i), S(rows.u, i / 2), S(rows.v, i / 2));
            const uint8_t p[4] = {c.b, c.g, c.r, 0};
            std::memcpy(dst, p, 4);
        }
    }
}

void SmoothPairFromYuy2Plain(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, Rows3 a, Rows3 b,
                             size_t pairs) {
    for (size_t i = 0; i < pairs; ++i) {
        uint8_t f0[4], f1[4];
        for (size_t k = 0; k < 4; ++k) {
            f0[k] = S(a, 4 * i + k);
            f1[k] = S(b, 4 * i + k);
        }
        y0[2 * i] = f0[0];
        y0[2 * i + 1] = f0[2];
        y1[2 * i] = f1[0];
        y1[2 * i + 1] = f1[2];
        u[i] = static_cast<uint8_t>(RoundAvg(f0[1], f1[1]));
        v[i] = static_cast<uint8_t>(RoundAvg(f0[3], f1[3]));
    }
}

void NoStreams() {}

}  // namespace

const YuvRowForms kYuvRowsPlain = {SmoothPlain,           AveragePlain,           VectorPlain<4>,
                                   VectorPlain<3>,        PackPlain,              UnpackPlain,
                                   PackedVectorPlain<4>,  PackedVectorPlain<3>,   SmoothPairToYuy2Plain,
                                   SmoothPairToBgraPlain, NoStreams,              SmoothPairFromYuy2Plain};

#if defined(TARN_HAVE_X86_SIMD)
// Put together here, in a file built for every processor: a table worked
// out when the library loads must not be code of an instruction set the
// processor may lack, and in the AVX-512 file the copy would be. Both parts
// are fixed before any code runs (tables of function addresses).
const YuvRowForms kYuvRowsAvx512 = [] {
    YuvRowForms f = kYuvRowsAvx2;
    f.yuy2ToBgra = kYuvRowsOwnAvx512.yuy2ToBgra;
    f.smoothPairToYuy2 = kYuvRowsOwnAvx512.smoothPairToYuy2;
    f.smoothPairToBgra = kYuvRowsOwnAvx512.smoothPairToBgra;
    f.smoothPairFromYuy2 = kYuvRowsOwnAvx512.smoothPairFromYuy2;
    return f;
}();
#endif

namespace {
constexpr FormEntry<const YuvRowForms*> kYuvRowsForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx512, &kYuvRowsAvx512},
    {SimdForm::Avx2, &kYuvRowsAvx2},
    {SimdForm::Sse2, &kYuvRowsSse2},
#endif
    {SimdForm::Plain, &kYuvRowsPlain},
};
static_assert(EndsInPlainForm(kYuvRowsForms));
}  // namespace

const YuvRowForms& ActiveYuvRows() { return *PickForm(kYuvRowsForms); }

}  // namespace tarn
