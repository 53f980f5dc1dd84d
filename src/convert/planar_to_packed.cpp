// Planar 4:2:0 to packed 4:2:2, all tiers and byte orders. Output rows come
// in pairs that share one chroma row. With smoothing, luma rows other than the
// first and last are smoothed with their neighbours, and chroma is smoothed
// between rows of chroma, averaging two rows at the top and bottom; heights
// below 4 write nothing. Without, luma and chroma go as stored.

#include "convert/catalogue_kernels.h"
#include "convert/conversion_kernels.h"
#include "convert/reorder_rows.h"
#include "convert/scratch.h"
#include "convert/smoothing.h"
#include "convert/yuv_rows.h"
#include "platform/byte_span.h"

namespace tarn {

// The MMX body (16-pixel blocks) uses the truncating t() and m(); its
// remainder pairs and every column of the other tiers round, so the SSE2
// kernel gives the plain kernel's bytes at any width. Pairs are made in the
// Yuy2 order and moved to the destination's order before they are stored.
void PlanarToPacked(TierBody body, bool smooth, PackedOrder order, uint8_t* dst, int32_t dstStride,
                    const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                    int32_t uvStride, int32_t width, int32_t height) {
    const RowWalk walk = WalkOf(dst, dstStride, height);
    const int32_t rows = walk.rows;
    const size_t pairs = static_cast<size_t>(width >> 1);
    if (rows < (smooth ? 4 : 2) || width < 2) return;
    const int32_t lastPair = rows / 2 - 1;
    const ByteSpan dstSpan = ByteSpan::OfFrame(dst, dstStride, rows);
    const ByteSpan srcSpan = ByteSpan::OfPlanar(srcY, srcU, srcV, yStride, uvStride, rows);
    const YuvRowForms& f = RowsFor(body);
    const bool trunc = smooth && body == TierBody::Mmx;
    const ReorderRowFn reorder = ActiveReorderRow();
    const size_t n = 2 * pairs;
    const size_t nb = trunc ? size_t((width >> 4) << 4) : 0, nbc = nb / 2;

    const bool stream = size_t(rows) * 2 * n >= kStreamedFrameBytes;
    const size_t cap = 2 * n + 64;
    Scratch work(cap * 16);
    const auto row = [&](int i) { return work.data() + cap * size_t(i); };
    for (int32_t k = 0; k <= lastPair; ++k) {
        // An odd width makes each later pair start one pixel further left in
        // destination and luma.
        const ptrdiff_t shift = -static_cast<ptrdiff_t>(width & 1) * k;
        const bool first = k == 0, last = k == lastPair;
        const uint8_t* y[4] = {};
        for (int i = 0; i < 4; ++i) {
            const int32_t r = 2 * k - 1 + i;
            if (r < 0 || r > 2 * lastPair + 1) continue;
            y[i] = srcSpan.Fetch(Offset(AddrOf(srcY), ptrdiff_t(r) * yStride + shift), n, row(i));
        }
        const uint8_t* c[2][3] = {};
        const uint8_t* planes[2] = {srcU, srcV};
        for (int p = 0; p < 2; ++p)
            for (int i = 0; i < 3; ++i) {
                const int32_t r = k - 1 + i;
                if (r < 0 || r > lastPair) continue;
                c[p][i] = srcSpan.Fetch(Offset(AddrOf(planes[p]), ptrdiff_t(r) * uvStride), pairs,
                                        row(6 + 3 * p + i));
            }
        Addr at[2];
        uint8_t* outs[2];
        for (int i = 0; i < 2; ++i) {
            at[i] = Offset(walk.base, ptrdiff_t(2 * k + i) * walk.step + shift * 2);
            outs[i] = dstSpan.Target(at[i], 2 * n, row(14 + i));
        }
        if (!trunc) {
            // Rounding everywhere, both rows in one pass.
            f.smoothPairToYuy2(PlanarRowPair(outs, y, c, first, last, smooth, stream), pairs);
        } else {
            const uint8_t* luma[2];
            for (int i = 0; i < 2; ++i) {
                if (i == 0 ? first : last) {
                    luma[i] = y[1 + i];
                    continue;
                }
                uint8_t* out = row(4 + i);
                SmoothTruncRow(out, y[i], y[i + 2], y[i + 1], nb);
                f.smooth(out + nb, y[i] + nb, y[i + 2] + nb, y[i + 1] + nb, n - nb);
                luma[i] = out;
            }
            const uint8_t* chroma[2];
            for (int p = 0; p < 2; ++p) {
                uint8_t* out = row(12 + p);
                if (first || last) {
                    const uint8_t* a = first ? c[p][1] : c[p][0];
                    const uint8_t* b = first ? c[p][2] : c[p][1];
                    TruncAvgRow(out, a, b, nbc);
                    f.average(out + nbc, a + nbc, b + nbc, pairs - nbc);
                } else {
                    SmoothTruncRow(out, c[p][0], c[p][2], c[p][1], nbc);
                    f.smooth(out + nbc, c[p][0] + nbc, c[p][2] + nbc, c[p][1] + nbc, pairs - nbc);
                }
                chroma[p] = out;
            }
            for (int i = 0; i < 2; ++i) f.packYuy2(outs[i], luma[i], chroma[0], chroma[1], pairs);
        }
        for (int i = 0; i < 2; ++i) {
            if (order != PackedOrder::Yuy2) reorder(outs[i], outs[i], pairs, PackedOrder::Yuy2, order);
            dstSpan.Store(at[i], outs[i], 2 * n);
        }
    }
    if (stream && !trunc) f.endStreams();
}

void ConvPlanarToYuy2SmoothPlain(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                 const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                 int32_t uvStride, int32_t width, int32_t height) {
    PlanarToPacked(TierBody::Plain, true, PackedOrder::Yuy2, dst, dstStride, srcY, srcU, srcV, yStride, uvStride, width, height);
}

void ConvPlanarToYuy2SmoothMmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                   const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                   int32_t uvStride, int32_t width, int32_t height) {
    PlanarToPacked(TierBody::Mmx, true, PackedOrder::Yuy2, dst, dstStride, srcY, srcU, srcV, yStride, uvStride, width, height);
}

void ConvPlanarToYuy2SmoothSse2Tier(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                    const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                    int32_t uvStride, int32_t width, int32_t height) {
    PlanarToPacked(TierBody::Sse2, true, PackedOrder::Yuy2, dst, dstStride, srcY, srcU, srcV, yStride, uvStride, width, height);
}

}  // namespace tarn
