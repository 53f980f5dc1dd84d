// Row primitives of the RGB side: the plain forms, which are the scalar
// reference of the arithmetic every tier shares, and the choice of form.
#include "convert/rgb_rows.h"

#include "convert/colour_formulas.h"

namespace tarn {

namespace {

template <int Bpp>
void PlanarPlain(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const uint8_t* s0,
                 const uint8_t* s1, size_t pairs) {
    for (size_t i = 0; i < pairs; ++i, s0 += 2 * Bpp, s1 += 2 * Bpp) {
        const uint8_t* px[4] = {s0, s0 + Bpp, s1, s1 + Bpp};
        int32_t sb = 0, sg = 0, sr = 0;
        for (const uint8_t* p : px) {
            sb += p[0];
            sg += p[1];
            sr += p[2];
        }
        y0[2 * i] = LumaOf(s0[0], s0[1], s0[2]);
        y0[2 * i + 1] = LumaOf(s0[Bpp], s0[Bpp + 1], s0[Bpp + 2]);
        y1[2 * i] = LumaOf(s1[0], s1[1], s1[2]);
        y1[2 * i + 1] = LumaOf(s1[Bpp], s1[Bpp + 1], s1[Bpp + 2]);
        u[i] = CbOf(sb, sg, sr, 10);
        v[i] = CrOf(sb, sg, sr, 10);
    }
}

// Pixel i of a block stands at byte Step * i: 4 for 32-bit sources, 3 for the
// 24-bit kernel, which reads its pixels packed but steps 32 bytes a block.
template <int Step>
void Yuy2BlocksPlain(uint8_t* dst, const uint8_t* src, size_t blocks) {
    for (size_t b = 0; b < blocks; ++b, src += 32) {
        for (int g = 0; g < 2; ++g, dst += 8) {
            const uint8_t* p[4];
            for (int i = 0; i < 4; ++i) p[i] = src + Step * (4 * g + i);
            const auto y = [](const uint8_t* q) { return LumaOf(q[0], q[1], q[2]); };
            const auto cb = [](const uint8_t* q) { return CbOf(q[0], q[1], q[2], 8); };
            const auto cr = [](const uint8_t* q) { return CrOf(q[0], q[1], q[2], 8); };
            // The luma of the two middle pixels trades places.
            const uint8_t out[8] = {y(p[0]), cb(p[1]), y(p[2]), cr(p[1]),
                                    y(p[1]), cb(p[3]), y(p[3]), cr(p[3])};
            for (int i = 0; i < 8; ++i) dst[i] = out[i];
        }
    }
}

}  // namespace

const RgbRowForms kRgbRowsPlain = {PlanarPlain<4>, PlanarPlain<3>, Yuy2BlocksPlain<4>,
                                   Yuy2BlocksPlain<3>};

#if defined(TARN_HAVE_X86_SIMD)
// Put together here, in a file built for every processor: a table worked
// out when the library loads must not be code of an instruction set the
// processor may lack, and in the AVX-512 file the copy would be. Both parts
// are fixed before any code runs (tables of function addresses).
const RgbRowForms kRgbRowsAvx512 = {kRgbRowsOwnAvx512.planar32, kRgbRowsOwnAvx512.planar24,
                                    kRgbRowsAvx2.yuy2Blocks32, kRgbRowsAvx2.yuy2Blocks24};
#endif

namespace {
constexpr FormEntry<const RgbRowForms*> kRgbRowsForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx512, &kRgbRowsAvx512},
    {SimdForm::Avx2, &kRgbRowsAvx2},
    {SimdForm::Sse2, &kRgbRowsSse2},
#endif
    {SimdForm::Plain, &kRgbRowsPlain},
};
static_assert(EndsInPlainForm(kRgbRowsForms));
}  // namespace

const RgbRowForms& ActiveRgbRows() { return *PickForm(kRgbRowsForms); }

}  // namespace tarn
