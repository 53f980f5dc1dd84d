// Conversions among the RGB pixel kinds: 16-bit 565 and 555 to and from
// 32- and 24-bit pixels, and between the two 16-bit packings. Every row and
// every pixel; a negative height reads the source from its last row up. Every
// tier gives the same bytes, so the fastest form runs.
#include "convert/catalogue_kernels.h"
#include "convert/rgb16_rows.h"
#include "platform/byte_span.h"

namespace tarn {

namespace {

template <uint16_t (*Pack)(uint32_t, uint32_t, uint32_t), int Bpp>
void PackPlain(uint8_t* dst, const uint8_t* src, size_t n) {
    for (size_t i = 0; i < n; ++i, src += Bpp) {
        const uint16_t w = Pack(src[0], src[1], src[2]);
        dst[2 * i] = static_cast<uint8_t>(w);
        dst[2 * i + 1] = static_cast<uint8_t>(w >> 8);
    }
}

inline uint32_t WordAt(const uint8_t* p) { return p[0] | uint32_t(p[1]) << 8; }

template <Channels (*Expand)(uint32_t), int Bpp>
void ExpandPlain(uint8_t* dst, const uint8_t* src, size_t n) {
    for (size_t i = 0; i < n; ++i, dst += Bpp) {
        const Channels c = Expand(WordAt(src + 2 * i));
        dst[0] = c.b;
        dst[1] = c.g;
        dst[2] = c.r;
        if constexpr (Bpp == 4) dst[3] = 0;
    }
}

template <uint16_t (*Repack)(uint32_t)>
void RepackPlain(uint8_t* dst, const uint8_t* src, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const uint16_t w = Repack(WordAt(src + 2 * i));
        dst[2 * i] = static_cast<uint8_t>(w);
        dst[2 * i + 1] = static_cast<uint8_t>(w >> 8);
    }
}

using RowFn = void (*)(uint8_t* dst, const uint8_t* src, size_t n);

// The row function for a pair of kinds; null where the pair is not a
// conversion among RGB pixels of different kinds.
RowFn RowFor(RgbKind from, RgbKind to) {
    const Rgb16RowForms& f = ActiveRgb16Rows();
    using K = RgbKind;
    struct Pair {
        K from, to;
        RowFn fn;
    };
    const Pair table[] = {
        {K::Rgb565, K::Rgb32, f.expand565},
        {K::Rgb555, K::Rgb32, f.expand555},
        {K::Rgb565, K::Rgb24, ExpandPlain<Expand565, 3>},
        {K::Rgb555, K::Rgb24, ExpandPlain<Expand555, 3>},
        {K::Rgb32, K::Rgb565, f.pack565},
        {K::Rgb32, K::Rgb555, f.pack555},
        {K::Rgb24, K::Rgb565, PackPlain<Pack565, 3>},
        {K::Rgb24, K::Rgb555, PackPlain<Pack555, 3>},
        {K::Rgb565, K::Rgb555, RepackPlain<Rgb565To555>},
        {K::Rgb555, K::Rgb565, RepackPlain<Rgb555To565>},
    };
    for (const Pair& p : table)
        if (p.from == from && p.to == to) return p.fn;
    return nullptr;
}

}  // namespace

const Rgb16RowForms kRgb16RowsPlain = {ExpandPlain<Expand565, 4>, ExpandPlain<Expand555, 4>,
                                       PackPlain<Pack565, 4>, PackPlain<Pack555, 4>};

namespace {
constexpr FormEntry<const Rgb16RowForms*> kRgb16RowsForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx2, &kRgb16RowsAvx2},
#endif
    {SimdForm::Plain, &kRgb16RowsPlain},
};
static_assert(EndsInPlainForm(kRgb16RowsForms));
}  // namespace

const Rgb16RowForms& ActiveRgb16Rows() { return *PickForm(kRgb16RowsForms); }

void ConvertRgbPixels(RgbKind from, RgbKind to, uint8_t* dst, int32_t dstStride,
                      const uint8_t* src, int32_t srcStride, int32_t width, int32_t height) {
    const RowFn row = RowFor(from, to);
    const RowWalk walk = WalkOf(src, srcStride, height);
    if (row == nullptr || width <= 0) return;
    for (int32_t r = 0; r < walk.rows; ++r)
        row(dst + ptrdiff_t(r) * dstStride,
            reinterpret_cast<const uint8_t*>(Offset(walk.base, r * walk.step)), size_t(width));
}

}  // namespace tarn
