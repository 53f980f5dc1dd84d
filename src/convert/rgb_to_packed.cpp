// RGB to packed 4:2:2 (Y0 Cb Y1 Cr per pixel pair, or another order). The
// plain kernels serve the plain and MMX tiers, and every order and 16-bit
// source; the SSE2 kernels are their own arithmetic, with the
// luma swap, single-pixel chroma, remainder pairs written into the source and
// the 4-byte source step of the 24-bit kernel, all kept as hosts know them.

#include "convert/catalogue_kernels.h"
#include "convert/colour_formulas.h"
#include "convert/conversion_kernels.h"
#include "convert/rgb16_rows.h"
#include "convert/rgb_rows.h"
#include "convert/row_prefetch.h"
#include "convert/scratch.h"
#include "platform/byte_span.h"

namespace tarn {

// Every row, every pixel pair; an odd width makes each later row start one
// pixel further left in source and destination. 16-bit sources are expanded
// to 4-byte pixels first; the four result bytes go where the order puts them.
void RgbToPacked(RgbKind in, PackedOrder order, uint8_t* dst, int32_t dstStride,
                 const uint8_t* src, int32_t srcStride, int32_t width, int32_t height) {
    const RowWalk walk = WalkOf(src, srcStride, height);  // from the last row up when negative
    const size_t pairs = static_cast<size_t>(width >> 1);
    if (walk.rows == 0 || width < 2) return;
    const ByteSpan srcSpan = ByteSpan::OfFrame(src, srcStride, walk.rows);
    const ByteSpan dstSpan = ByteSpan::OfFrame(dst, dstStride, walk.rows);
    const int inBpp = BytesOf(in);
    const bool packed16 = inBpp == 2;
    const int bpp = packed16 ? 4 : inBpp;
    const auto expand = in == RgbKind::Rgb565 ? ActiveRgb16Rows().expand565 : ActiveRgb16Rows().expand555;
    const PairPositions at4 = PositionsOf(order);
    Scratch work(pairs * 20 + 64);
    uint8_t* inScratch = work.data();
    uint8_t* outScratch = inScratch + pairs * 8 + 16;
    uint8_t* wide = outScratch + pairs * 4 + 16;
    for (int32_t r = 0; r < walk.rows; ++r) {
        const ptrdiff_t shift = -static_cast<ptrdiff_t>(width & 1) * r;
        const uint8_t* s = srcSpan.Fetch(Offset(walk.base, r * walk.step + shift * inBpp),
                                         pairs * 2 * inBpp, inScratch);
        if (packed16) {
            expand(wide, s, 2 * pairs);
            s = wide;
        }
        const Addr at = Offset(AddrOf(dst), ptrdiff_t(r) * dstStride + shift * 2);
        uint8_t* d = dstSpan.Target(at, pairs * 4, outScratch);
        for (size_t i = 0; i < pairs; ++i, s += 2 * bpp) {
            const int32_t b = s[0] + s[bpp], g = s[1] + s[bpp + 1], rr = s[2] + s[bpp + 2];
            d[4 * i + at4.y0] = LumaOf(s[0], s[1], s[2]);
            d[4 * i + at4.u] = CbOf(b, g, rr, 9);
            d[4 * i + at4.y1] = LumaOf(s[bpp], s[bpp + 1], s[bpp + 2]);
            d[4 * i + at4.v] = CrOf(b, g, rr, 9);
        }
        dstSpan.Store(at, d, pairs * 4);
    }
}

namespace {

// Both SSE2 kernels step the source 4 bytes a pixel: 32 bytes a block, 8 a
// remainder pair (pixels at bytes 0 and 4), and each row starts srcStride
// after the previous one less 4 bytes when the width is odd.
template <int Bpp>
void ToYuy2Sse2(uint8_t* dst, int32_t dstStride, uint8_t* src, int32_t srcStride, int32_t width,
                int32_t height) {
    const RowWalk walk = WalkOf(src, srcStride, height);  // from the last row up when negative
    if (walk.rows == 0 || width < 2) return;
    const ByteSpan srcSpan = ByteSpan::OfFrame(src, srcStride, walk.rows);
    const ByteSpan dstSpan = ByteSpan::OfFrame(dst, dstStride, walk.rows);
    const RgbRowForms& f = ActiveRgbRows();
    const auto blocksFn = Bpp == 4 ? f.yuy2Blocks32 : f.yuy2Blocks24;
    const size_t blocks = static_cast<size_t>(width >> 3);
    const size_t restPairs = static_cast<size_t>((width & 7) >> 1);
    const size_t inBytes = blocks * 32 + kRgbRowReadSlack;
    Scratch work(inBytes + blocks * 16 + 64);
    uint8_t* inScratch = work.data();
    uint8_t* outScratch = work.data() + inBytes;
    for (int32_t r = 0; r < walk.rows; ++r) {
        const ptrdiff_t shift = -static_cast<ptrdiff_t>(width & 1) * r;
        const Addr row = Offset(walk.base, r * walk.step + shift * 4);
        if (blocks) {
            const uint8_t* s = srcSpan.Fetch(row, inBytes, inScratch);
            const Addr at = Offset(AddrOf(dst), ptrdiff_t(r) * dstStride + shift * 2);
            uint8_t* d = dstSpan.Target(at, blocks * 16, outScratch);
            // The next row starts a pixel (4 bytes here) further left with an odd width.
            NextRows ahead(srcSpan);
            if (r + 1 < walk.rows) ahead.Add(Offset(row, walk.step - (width & 1) * 4), 64);
            InChunks(ahead, blocks, 32, [&](size_t x, size_t m) { blocksFn(d + 16 * x, s + 32 * x, m); });
            dstSpan.Store(at, d, blocks * 16);
        }
        // The remainder pairs never reach the destination: each pair's bytes
        // go over the first four bytes of the pair in the source, from the
        // truncated channel means of the pair shifted by 10. A width that is
        // a multiple of 8 leaves the source as it was.
        for (size_t j = 0; j < restPairs; ++j) {
            const Addr p = Offset(row, ptrdiff_t(blocks * 32 + 8 * j));
            uint8_t c[6];
            for (int i = 0; i < 3; ++i) {
                c[i] = srcSpan.Read(p + i);
                c[3 + i] = srcSpan.Read(p + 4 + i);
            }
            const int32_t b = (c[0] + c[3]) >> 1, g = (c[1] + c[4]) >> 1, rr = (c[2] + c[5]) >> 1;
            srcSpan.Write(p, LumaOf(c[0], c[1], c[2]));
            srcSpan.Write(p + 1, CbOf(b, g, rr, 10));
            srcSpan.Write(p + 2, LumaOf(c[3], c[4], c[5]));
            srcSpan.Write(p + 3, CrOf(b, g, rr, 10));
        }
    }
}

}  // namespace

void ConvRgb32ToYuy2Plain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                          int32_t width, int32_t height) {
    RgbToPacked(RgbKind::Rgb32, PackedOrder::Yuy2, dst, dstStride, src, srcStride, width, height);
}

void ConvRgb24ToYuy2Plain(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
                          int32_t width, int32_t height) {
    RgbToPacked(RgbKind::Rgb24, PackedOrder::Yuy2, dst, dstStride, src, srcStride, width, height);
}

void ConvRgb32ToYuy2Sse2Tier(uint8_t* dst, int32_t dstStride, uint8_t* src, int32_t srcStride,
                             int32_t width, int32_t height) {
    ToYuy2Sse2<4>(dst, dstStride, src, srcStride, width, height);
}

void ConvRgb24ToYuy2Sse2Tier(uint8_t* dst, int32_t dstStride, uint8_t* src, int32_t srcStride,
                             int32_t width, int32_t height) {
    ToYuy2Sse2<3>(dst, dstStride, src, srcStride, width, height);
}

}  // namespace tarn
