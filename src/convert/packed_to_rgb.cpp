// Packed 4:2:2 to RGB, all tiers and byte orders. Rows are converted one at a
// time, all of them; each pixel pair takes the chroma of its four bytes. Block
// columns of the SIMD tiers use the vector form, the rest the table form.
// Source rows in another order are brought to the Yuy2 order first; 16-bit
// output is packed from 32-bit pixels.

#include "convert/catalogue_kernels.h"
#include "convert/colour_formulas.h"
#include "convert/conversion_kernels.h"
#include "convert/reorder_rows.h"
#include "convert/row_prefetch.h"
#include "convert/rgb16_rows.h"
#include "convert/scratch.h"
#include "platform/byte_span.h"

namespace tarn {

namespace {

template <int Bpp>
void FromPacked(TierBody body, PackedOrder order, RgbKind kind, uint8_t* dst, int32_t dstStride,
                const uint8_t* src, int32_t srcStride, int32_t width, int32_t height) {
    // A negative height reads the source from its last row up.
    const RowWalk walk = WalkOf(src, srcStride, height);
    const int32_t rows = walk.rows;
    const size_t n = static_cast<size_t>(width & ~1);
    if (rows == 0 || width < 2) return;
    const ByteSpan srcSpan = ByteSpan::OfFrame(src, srcStride, rows);
    const ByteSpan dstSpan = ByteSpan::OfFrame(dst, dstStride, rows);
    const YuvRowForms& f = RowsFor(body);
    const int blockShift = body == TierBody::Sse2 ? 4 : body == TierBody::Mmx ? 3 : 31;
    const size_t nb = body == TierBody::Plain ? 0 : static_cast<size_t>((width >> blockShift) << blockShift);
    // The MMX 24-bit body ends each block with an 8-byte store, one byte of 0
    // past the block. The next block or pair overwrites it; after a last block
    // with no pair behind it, it stays.
    const bool trailingZero = body == TierBody::Mmx && Bpp == 3 && nb > 0 && nb == n;
    const size_t outBytes = n * Bpp + (trailingZero ? 1 : 0);
    // 16-bit output: the pixels are made in a working row and packed.
    const bool packed16 = kind == RgbKind::Rgb565 || kind == RgbKind::Rgb555;
    const int outBpp = packed16 ? 2 : Bpp;
    const size_t storeBytes = packed16 ? n * 2 : outBytes;
    const Rgb16RowForms& pack = ActiveRgb16Rows();
    const ReorderRowFn reorder = ActiveReorderRow();

    Scratch work(n * 2 + outBytes * 2 + 256);
    uint8_t* in = work.data();
    uint8_t* y = in + n * 2 + 32;
    uint8_t* u = y + n + 16;
    uint8_t* v = u + n / 2 + 16;
    uint8_t* outScratch = v + n / 2 + 16;
    uint8_t* wide = outScratch + outBytes + 16;
    for (int32_t r = 0; r < rows; ++r) {
        // An odd width makes each later row start one pixel further left.
        const ptrdiff_t shift = -static_cast<ptrdiff_t>(width & 1) * r;
        const Addr from = Offset(walk.base, r * walk.step + shift * 2);
        const uint8_t* s = srcSpan.Fetch(from, n * 2, in);
        // The next row starts a pixel further left with an odd width.
        NextRows ahead(srcSpan);
        if (r + 1 < rows) ahead.Add(Offset(from, walk.step - (width & 1) * 2), 4);
        if (order != PackedOrder::Yuy2) {
            reorder(in, s, n / 2, order, PackedOrder::Yuy2);
            s = in;
        }
        const Addr at = Offset(AddrOf(dst), ptrdiff_t(r) * dstStride + shift * outBpp);
        uint8_t* target = dstSpan.Target(at, storeBytes, outScratch);
        uint8_t* out = packed16 ? wide : target;
        InChunks(ahead, nb, 512, [&](size_t x, size_t m) {
            (Bpp == 4 ? f.yuy2ToBgra : f.yuy2ToBgr)(out + x * Bpp, s + 2 * x, m);
        });
        if (trailingZero) out[nb * 3] = 0;
        f.unpackYuy2(y + nb, u + nb / 2, v + nb / 2, s + 2 * nb, (n - nb) / 2);
        for (size_t x = nb; x < n; ++x) {
            const Bgr c = TableForm(y[x], u[x / 2], v[x / 2]);
            out[x * Bpp] = c.b;
            out[x * Bpp + 1] = c.g;
            out[x * Bpp + 2] = c.r;
            if constexpr (Bpp == 4) out[x * Bpp + 3] = 0;
        }
        if (packed16) (kind == RgbKind::Rgb565 ? pack.pack565 : pack.pack555)(target, wide, n);
        dstSpan.Store(at, target, storeBytes);
    }
}

}  // namespace

void PackedToRgb(TierBody body, PackedOrder order, RgbKind out, uint8_t* dst, int32_t dstStride,
                 const uint8_t* src, int32_t srcStride, int32_t width, int32_t height) {
    if (out == RgbKind::Rgb24)
        FromPacked<3>(body, order, out, dst, dstStride, src, srcStride, width, height);
    else
        FromPacked<4>(body, order, out, dst, dstStride, src, srcStride, width, height);
}

void ConvYuy2ToRgb32Plain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                          int32_t width, int32_t height) {
    PackedToRgb(TierBody::Plain, PackedOrder::Yuy2, RgbKind::Rgb32, dst, dstStride, src, srcStride, width, height);
}
void ConvYuy2ToRgb24Plain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                          int32_t width, int32_t height) {
    PackedToRgb(TierBody::Plain, PackedOrder::Yuy2, RgbKind::Rgb24, dst, dstStride, src, srcStride, width, height);
}
void ConvYuy2ToRgb32MmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                            int32_t width, int32_t height) {
    PackedToRgb(TierBody::Mmx, PackedOrder::Yuy2, RgbKind::Rgb32, dst, dstStride, src, srcStride, width, height);
}
void ConvYuy2ToRgb24MmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                            int32_t width, int32_t height) {
    PackedToRgb(TierBody::Mmx, PackedOrder::Yuy2, RgbKind::Rgb24, dst, dstStride, src, srcStride, width, height);
}
void ConvYuy2ToRgb32Sse2Tier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                             int32_t width, int32_t height) {
    PackedToRgb(TierBody::Sse2, PackedOrder::Yuy2, RgbKind::Rgb32, dst, dstStride, src, srcStride, width, height);
}
void ConvYuy2ToRgb24Sse2Tier(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                             int32_t width, int32_t height) {
    PackedToRgb(TierBody::Sse2, PackedOrder::Yuy2, RgbKind::Rgb24, dst, dstStride, src, srcStride, width, height);
}

}  // namespace tarn
