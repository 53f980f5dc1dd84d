// RGB to planar 4:2:0, all tiers. The tiers give the same bytes and differ
// only in speed: the plain and MMX kernels run the scalar rows, the SSE2
// kernels the fastest form this processor has (rgb_rows.h).

#include "convert/catalogue_kernels.h"
#include "convert/conversion_kernels.h"
#include "convert/rgb16_rows.h"
#include "convert/rgb_rows.h"
#include "convert/row_prefetch.h"
#include "convert/scratch.h"
#include "platform/byte_span.h"

namespace tarn {

namespace {

// Row pair k reads source rows 2k and 2k + 1 (from the last row up when the
// height is negative) and writes luma rows 2k, 2k + 1 and chroma row k. An odd
// width leaves the last column alone, and as the row step subtracts the whole
// width each later pair starts one pixel further left in source and luma.
// Bpp is the size of a source pixel; 16-bit pixels (Bpp 2) are expanded by
// `expand` to 4-byte ones before the rows are converted.
template <int Bpp>
void ConvertRows(const RgbRowForms& f, uint8_t* dstY, uint8_t* dstU, uint8_t* dstV,
                 int32_t yStride, int32_t uvStride, const uint8_t* src, int32_t srcStride,
                 int32_t width, int32_t height,
                 void (*expand)(uint8_t*, const uint8_t*, size_t) = nullptr) {
    const RowWalk walk = WalkOf(src, srcStride, height);
    const int32_t rows = walk.rows;
    const int32_t pairs = width >> 1;
    if (rows < 2 || pairs == 0) return;
    const ByteSpan srcSpan = ByteSpan::OfFrame(src, srcStride, rows);
    const ByteSpan dstSpan = ByteSpan::OfPlanar(dstY, dstU, dstV, yStride, uvStride, rows);
    const size_t n = 2 * static_cast<size_t>(pairs);
    const size_t srcBytes = n * Bpp + kRgbRowReadSlack;
    const size_t cap = srcBytes + 64;
    const size_t wideBytes = n * 4 + kRgbRowReadSlack;
    Scratch work(cap * 6 + 2 * wideBytes);
    uint8_t* scratch[6];
    for (int i = 0; i < 6; ++i) scratch[i] = work.data() + cap * i;
    uint8_t* wide[2] = {work.data() + cap * 6, work.data() + cap * 6 + wideBytes};
    auto planar = Bpp == 3 ? f.planar24 : f.planar32;

    for (int32_t k = 0; k < rows / 2; ++k) {
        const ptrdiff_t shift = -static_cast<ptrdiff_t>(width & 1) * k;
        const Addr s0At = Offset(walk.base, ptrdiff_t(2 * k) * walk.step + shift * Bpp);
        const uint8_t* s0 = srcSpan.Fetch(s0At, srcBytes, scratch[0]);
        const uint8_t* s1 = srcSpan.Fetch(Offset(s0At, walk.step), srcBytes, scratch[1]);
        // The next pair starts a pixel further left with an odd width.
        NextRows ahead(srcSpan);
        if (k + 1 < rows / 2) {
            const Addr next = Offset(s0At, 2 * walk.step - (width & 1) * Bpp);
            ahead.Add(next, 4 * Bpp);
            ahead.Add(Offset(next, walk.step), 4 * Bpp);
        }
        if (expand) {
            expand(wide[0], s0, n);
            expand(wide[1], s1, n);
            s0 = wide[0];
            s1 = wide[1];
        }
        const Addr y0At = Offset(AddrOf(dstY), ptrdiff_t(2 * k) * yStride + shift);
        const Addr y1At = Offset(y0At, yStride);
        const Addr uAt = Offset(AddrOf(dstU), ptrdiff_t(k) * uvStride);
        const Addr vAt = Offset(AddrOf(dstV), ptrdiff_t(k) * uvStride);
        uint8_t* y0 = dstSpan.Target(y0At, n, scratch[2]);
        uint8_t* y1 = dstSpan.Target(y1At, n, scratch[3]);
        uint8_t* u = dstSpan.Target(uAt, size_t(pairs), scratch[4]);
        uint8_t* v = dstSpan.Target(vAt, size_t(pairs), scratch[5]);
        constexpr size_t kPairBytes = Bpp == 3 ? 6 : 8;  // of the rows the form reads
        InChunks(ahead, size_t(pairs), 128, [&](size_t x, size_t m) {
            planar(y0 + 2 * x, y1 + 2 * x, u + x, v + x, s0 + kPairBytes * x, s1 + kPairBytes * x, m);
        });
        dstSpan.Store(y0At, y0, n);
        dstSpan.Store(y1At, y1, n);
        dstSpan.Store(uAt, u, size_t(pairs));
        dstSpan.Store(vAt, v, size_t(pairs));
    }
}

}  // namespace

// The channels expanded with their low bits 0, then the arithmetic of 32-bit
// sources: 25 x (blue << 3) is the 200 x blue of the 5-bit field.
void Rgb16ToPlanar(RgbKind in, uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                   int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                   int32_t height) {
    const Rgb16RowForms& f = ActiveRgb16Rows();
    ConvertRows<2>(kRgbRowsPlain, dstY, dstU, dstV, yStride, uvStride, src, srcStride, width, height,
                   in == RgbKind::Rgb565 ? f.expand565 : f.expand555);
}

void ConvRgb32ToPlanarPlain(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                            int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                            int32_t height) {
    ConvertRows<4>(kRgbRowsPlain, dstY, dstU, dstV, yStride, uvStride, src, srcStride, width, height);
}

void ConvRgb24ToPlanarPlain(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                            int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                            int32_t height) {
    ConvertRows<3>(kRgbRowsPlain, dstY, dstU, dstV, yStride, uvStride, src, srcStride, width, height);
}

// The MMX tier computes the same integers; its 24-bit kernel runs the last row
// pair through the plain code only so as not to read past the frame, which the
// guarded fetch already ensures here.
void ConvRgb32ToPlanarMmxTier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                              int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                              int32_t height) {
    ConvertRows<4>(kRgbRowsPlain, dstY, dstU, dstV, yStride, uvStride, src, srcStride, width, height);
}

void ConvRgb24ToPlanarMmxTier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                              int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                              int32_t height) {
    ConvertRows<3>(kRgbRowsPlain, dstY, dstU, dstV, yStride, uvStride, src, srcStride, width, height);
}

void ConvRgb32ToPlanarSse2Tier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                               int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                               int32_t height) {
    ConvertRows<4>(ActiveRgbRows(), dstY, dstU, dstV, yStride, uvStride, src, srcStride, width,
                   height);
}

void ConvRgb24ToPlanarSse2Tier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                               int32_t uvStride, const uint8_t* src, int32_t srcStride, int32_t width,
                               int32_t height) {
    ConvertRows<3>(ActiveRgbRows(), dstY, dstU, dstV, yStride, uvStride, src, srcStride, width,
                   height);
}

}  // namespace tarn
