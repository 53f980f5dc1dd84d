// Planar 4:2:0 to RGB, all tiers and RGB kinds. Output rows come in pairs
// that share one chroma row, smoothed or as stored; the SSE2 24-bit kernel
// works row by row without smoothing. Block columns of the SIMD tiers use the vector
// form, the rest the table form (colour_formulas.h).

#include "convert/catalogue_kernels.h"
#include "convert/colour_formulas.h"
#include "convert/conversion_kernels.h"
#include "convert/rgb16_rows.h"
#include "convert/scratch.h"
#include "convert/smoothing.h"
#include "convert/yuv_rows.h"
#include "platform/byte_span.h"

namespace tarn {

namespace {

// The columns one row pair converts and where its rows stand.
struct PairLayout {
    int32_t blockPixels;    // block columns, from the left of the pair's rows
    int32_t pixels;         // all columns converted
    ptrdiff_t shift;        // pixels right of the nominal start, luma and destination
    ptrdiff_t chromaShift;  // samples right of the nominal chroma row start
};

// The row step subtracts the whole width, so with an odd width each later pair
// starts one pixel further left. The MMX smoothing body converts
// (width >> 1) & 7 remainder pairs after the first row pair although its
// blocks are 8 pixels wide: with bit 3 of the width set each such pair runs 8
// pixels past its rows, and as the running pointers are not reset, every
// later pair starts 8 pixels (4 chroma samples) further right. Hosts have
// always seen these pictures. The Pavg body shares that walk; the MMX body
// without smoothing converts (width >> 1) & 3 pairs throughout.
PairLayout LayoutOf(TierBody body, bool smooth, int32_t width, int32_t k) {
    const int32_t pairs = width >> 1;
    const ptrdiff_t drift = -static_cast<ptrdiff_t>(width & 1) * k;
    if (body == TierBody::Sse2) {
        const int32_t blocks = (width >> 4) << 4;
        return {blocks, blocks + 2 * (pairs & 7), drift, 0};
    }
    if (body == TierBody::Mmx || body == TierBody::Pavg) {
        const int32_t blocks = (width >> 3) << 3;
        const bool overrun = smooth && k >= 1;
        const int32_t rest = overrun ? (pairs & 7) : (pairs & 3);
        const ptrdiff_t over = (overrun && (width & 8)) ? k - 1 : 0;
        return {blocks, blocks + 2 * rest, drift + 8 * over, 4 * over};
    }
    return {0, 2 * pairs, drift, 0};
}

template <int Bpp>
void TableRow(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v, int32_t from,
              int32_t to) {
    for (int32_t x = from; x < to; ++x) {
        const Bgr c = TableForm(y[x], u[x / 2], v[x / 2]);
        uint8_t* p = dst + x * Bpp;
        p[0] = c.b;
        p[1] = c.g;
        p[2] = c.r;
        if constexpr (Bpp == 4) p[3] = 0;
    }
}

// The vector form over a row's block columns. The row forms work in whole
// 16-pixel groups; the Pavg body's 8-pixel blocks can leave 8 pixels over,
// which the plain form converts with the same arithmetic.
template <int Bpp>
void VectorRow(const YuvRowForms& f, uint8_t* out, const uint8_t* y, const uint8_t* u, const uint8_t* v,
               size_t pixels) {
    const size_t wide = pixels & ~size_t(15);
    const auto row = [](const YuvRowForms& forms) { return Bpp == 4 ? forms.toBgra : forms.toBgr; };
    row(f)(out, y, u, v, wide);
    row(kYuvRowsPlain)(out + wide * Bpp, y + wide, u + wide / 2, v + wide / 2, pixels - wide);
}

// Working rows of one call: fetched source rows and the rows built from them.
struct PairRows {
    explicit PairRows(size_t pixels) : cap(pixels + 64), store(cap * 24) {}
    uint8_t* Row(int i) { return store.data() + cap * static_cast<size_t>(i); }
    size_t cap;
    Scratch store;
};

struct PairOptions {
    TierBody body;
    bool smooth;
    RgbKind out;
    int32_t threshold;
};

// Bpp is the size of the pixels made, 3 for Rgb24 and 4 for every other
// kind; the fourth byte of Rgb32Luma and Rgb32Keyed is set afterwards and the
// 16-bit kinds are packed from the 4-byte pixels.
template <int Bpp>
void ConvertPairs(const PairOptions& o, uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                  const uint8_t* srcU, const uint8_t* srcV, int32_t yStride, int32_t uvStride,
                  int32_t width, int32_t height) {
    const TierBody body = o.body;
    const bool smooth = o.smooth;
    const RowWalk walk = WalkOf(dst, dstStride, height);
    const int32_t rows = walk.rows;
    if (rows < (smooth ? 4 : 2) || width < 2) return;  // smoothing needs two row pairs
    const int32_t lastPair = rows / 2 - 1;
    const ByteSpan dstSpan = ByteSpan::OfFrame(dst, dstStride, rows);
    const ByteSpan srcSpan = ByteSpan::OfPlanar(srcY, srcU, srcV, yStride, uvStride, rows);
    const YuvRowForms& f = RowsFor(body);
    const bool trunc = smooth && body == TierBody::Mmx;
    const bool packed16 = o.out == RgbKind::Rgb565 || o.out == RgbKind::Rgb555;
    const int outBpp = BytesOf(o.out);
    const Rgb16RowForms& pack = ActiveRgb16Rows();
    // The Pavg body averages chroma rows 0 and 4 in the block columns of its
    // first pair of 32-bit output, where the others average rows 0 and 1.
    const bool firstFromRow4 = body == TierBody::Pavg && o.out == RgbKind::Rgb32;

    // Pixels built in place when they are stored as they are made.
    const bool direct = !trunc && !packed16;
    // Plain 32-bit output of the SSE2 body: the block columns of both rows
    // are made in one pass from the source rows, and the working rows hold
    // only the columns after the blocks.
    const bool pairPass = Bpp == 4 && body == TierBody::Sse2 && o.out == RgbKind::Rgb32;
    const bool stream = pairPass && size_t(rows) * size_t(width) * 4 >= kStreamedFrameBytes;
    PairRows w(static_cast<size_t>(width + 16) * 4);
    for (int32_t k = 0; k <= lastPair; ++k) {
        const PairLayout g = LayoutOf(body, smooth, width, k);
        const size_t n = static_cast<size_t>(g.pixels), nc = n / 2;
        const size_t nb = static_cast<size_t>(g.blockPixels), nbc = nb / 2;
        const bool first = k == 0, last = k == lastPair;

        // Luma rows 2k - 1 to 2k + 2 and chroma rows k - 1 to k + 1, each
        // where it is needed.
        const uint8_t* y[4] = {};
        for (int i = 0; i < 4; ++i) {
            const int32_t r = 2 * k - 1 + i;
            if (r < 0 || r > 2 * lastPair + 1) continue;
            const Addr at = Offset(AddrOf(srcY), ptrdiff_t(r) * yStride + g.shift);
            y[i] = srcSpan.Fetch(at, n, w.Row(i));
        }
        const uint8_t* c[2][3] = {};
        const uint8_t* planes[2] = {srcU, srcV};
        for (int p = 0; p < 2; ++p)
            for (int i = 0; i < 3; ++i) {
                const int32_t r = k - 1 + i;
                if (r < 0 || r > lastPair) continue;
                const Addr at = Offset(AddrOf(planes[p]), ptrdiff_t(r) * uvStride + g.chromaShift);
                c[p][i] = srcSpan.Fetch(at, nc, w.Row(6 + 3 * p + i));
            }

        // Rows 0 and 2P - 1 stand as stored; the others are smoothed, in the
        // MMX body's block columns with the truncating t(). Without smoothing
        // every row stands as stored. Outside the pair pass the smoothed
        // rows are made in working rows, in cache, and each output row is
        // then converted in one pass of its own, so that the destination
        // fills in one stream; the pair pass smooths inside the conversion
        // for both rows at once, and writes a large frame with streaming
        // stores (yuv_rows.h).
        const uint8_t* luma[2];
        for (int i = 0; i < 2; ++i) {
            if (!smooth || (i == 0 ? first : last)) {
                luma[i] = y[1 + i];
                continue;
            }
            uint8_t* out = w.Row(4 + i);
            const size_t from = trunc || pairPass ? nb : 0;
            if (trunc) SmoothTruncRow(out, y[i], y[i + 2], y[i + 1], nb);
            f.smooth(out + from, y[i] + from, y[i + 2] + from, y[i + 1] + from, n - from);
            luma[i] = out;
        }
        // Chroma: block columns average the two rows at the ends; the plain
        // columns take row 0 at the top and, at the bottom, row P - 2: the
        // last chroma row is read from one row above on purpose.
        const uint8_t* chroma[2];
        for (int p = 0; p < 2; ++p) {
            uint8_t* out = w.Row(12 + p);
            if (!smooth) {
                chroma[p] = c[p][1];
                continue;
            }
            if (first || last) {
                const uint8_t* a = first ? c[p][1] : c[p][0];
                const uint8_t* b = first ? c[p][2] : c[p][1];
                if (first && firstFromRow4) {
                    const Addr at = Offset(AddrOf(planes[p]), 4 * ptrdiff_t(uvStride) + g.chromaShift);
                    b = srcSpan.Fetch(at, nc, w.Row(20 + p));
                }
                if (trunc)
                    TruncAvgRow(out, a, b, nbc);
                else if (!pairPass)
                    f.average(out, a, b, nbc);
                std::memcpy(out + nbc, a + nbc, nc - nbc);
            } else {
                const size_t from = trunc || pairPass ? nbc : 0;
                if (trunc) SmoothTruncRow(out, c[p][0], c[p][2], c[p][1], nbc);
                f.smooth(out + from, c[p][0] + from, c[p][2] + from, c[p][1] + from, nc - from);
            }
            chroma[p] = out;
        }

        // Convert and store both rows. The MMX body stores block by block and
        // pair by pair, first row then second, and its overruns land in rows
        // stored before or after; that order decides which bytes remain.
        const size_t outBytes = n * size_t(outBpp);
        uint8_t* outs[2];
        uint8_t* finals[2];
        Addr at[2];
        for (int i = 0; i < 2; ++i) {
            at[i] = Offset(walk.base, ptrdiff_t(2 * k + i) * walk.step + g.shift * outBpp);
            finals[i] = direct ? dstSpan.Target(at[i], outBytes, w.Row(14 + 2 * i))
                               : w.Row(14 + 2 * i);
            outs[i] = packed16 ? w.Row(18 + i) : finals[i];
        }
        if (pairPass) f.smoothPairToBgra(PlanarRowPair(outs, y, c, first, last, smooth, stream), nb);
        for (int i = 0; i < 2; ++i) {
            if (!pairPass) VectorRow<Bpp>(f, outs[i], luma[i], chroma[0], chroma[1], nb);
            TableRow<Bpp>(outs[i], luma[i], chroma[0], chroma[1], g.blockPixels, g.pixels);
            if (o.out == RgbKind::Rgb32Luma) {
                for (size_t x = 0; x < n; ++x) outs[i][4 * x + 3] = luma[i][x];
            } else if (o.out == RgbKind::Rgb32Keyed) {
                const bool all = o.threshold > 255;
                for (size_t x = 0; x < n; ++x)
                    outs[i][4 * x + 3] = all || y[1 + i][x] > o.threshold ? 255 : 0;
            } else if (packed16) {
                (o.out == RgbKind::Rgb565 ? pack.pack565 : pack.pack555)(finals[i], outs[i], n);
            }
            if (!trunc) dstSpan.Store(at[i], finals[i], outBytes);
        }
        if (trunc) {
            for (size_t x = 0; x < n; x += x < nb ? 8 : 2) {
                const size_t unit = (x < nb ? 8 : 2) * outBpp;
                for (int i = 0; i < 2; ++i) dstSpan.Store(at[i] + x * outBpp, finals[i] + x * outBpp, unit);
            }
        }
    }
    if (stream) f.endStreams();
}

}  // namespace

void PlanarToRgb(TierBody body, bool smooth, RgbKind out, int32_t threshold, uint8_t* dst,
                 int32_t dstStride, const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV,
                 int32_t yStride, int32_t uvStride, int32_t width, int32_t height) {
    const PairOptions o{body, smooth, out, threshold};
    if (out == RgbKind::Rgb24)
        ConvertPairs<3>(o, dst, dstStride, srcY, srcU, srcV, yStride, uvStride, width, height);
    else
        ConvertPairs<4>(o, dst, dstStride, srcY, srcU, srcV, yStride, uvStride, width, height);
}

void ConvPlanarToRgb32SmoothPlain(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                  const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                  int32_t uvStride, int32_t width, int32_t height) {
    ConvertPairs<4>({TierBody::Plain, true, RgbKind::Rgb32, 0}, dst, dstStride, srcY, srcU, srcV, yStride, uvStride, width, height);
}

void ConvPlanarToRgb24SmoothPlain(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                  const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                  int32_t uvStride, int32_t width, int32_t height) {
    ConvertPairs<3>({TierBody::Plain, true, RgbKind::Rgb24, 0}, dst, dstStride, srcY, srcU, srcV, yStride, uvStride, width, height);
}

void ConvPlanarToRgb32SmoothMmxTier(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                    const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                    int32_t uvStride, int32_t width, int32_t height) {
    ConvertPairs<4>({TierBody::Mmx, true, RgbKind::Rgb32, 0}, dst, dstStride, srcY, srcU, srcV, yStride, uvStride, width, height);
}

void ConvPlanarToRgb32SmoothSse2Tier(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                     const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                     int32_t uvStride, int32_t width, int32_t height) {
    ConvertPairs<4>({TierBody::Sse2, true, RgbKind::Rgb32, 0}, dst, dstStride, srcY, srcU, srcV, yStride, uvStride, width, height);
}

// Row n takes luma row n and chroma row n / 2 as stored. The remainder pairs
// take the chroma of column 0 of their chroma row and are stored red first:
// both are how this kernel has always drawn the right edge.
void ConvPlanarToRgb24Sse2Tier(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                               const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                               int32_t uvStride, int32_t width, int32_t height) {
    const RowWalk walk = WalkOf(dst, dstStride, height);
    const int32_t rows = walk.rows;
    if (rows == 0 || width < 2) return;
    const ByteSpan dstSpan = ByteSpan::OfFrame(dst, dstStride, rows);
    const ByteSpan srcSpan = ByteSpan::OfPlanar(srcY, srcU, srcV, yStride, uvStride, rows);
    const YuvRowForms& f = ActiveYuvRows();
    const size_t blocks = static_cast<size_t>((width >> 4) << 4);
    const size_t n = static_cast<size_t>(width & ~1);
    PairRows w(n + 16);
    for (int32_t r = 0; r < rows; ++r) {
        const ptrdiff_t shift = -static_cast<ptrdiff_t>(width & 1) * r;
        const uint8_t* y = srcSpan.Fetch(Offset(AddrOf(srcY), ptrdiff_t(r) * yStride + shift), n, w.Row(0));
        const ptrdiff_t chromaRow = ptrdiff_t(r / 2) * uvStride;
        const uint8_t* u = srcSpan.Fetch(Offset(AddrOf(srcU), chromaRow), n / 2, w.Row(1));
        const uint8_t* v = srcSpan.Fetch(Offset(AddrOf(srcV), chromaRow), n / 2, w.Row(2));
        const Addr at = Offset(walk.base, ptrdiff_t(r) * walk.step + shift * 3);
        uint8_t* out = dstSpan.Target(at, n * 3, w.Row(3));
        f.toBgr(out, y, u, v, blocks);
        for (size_t x = blocks; x < n; ++x) {
            const Bgr c = TableForm(y[x], u[0], v[0]);
            out[3 * x] = c.r;
            out[3 * x + 1] = c.g;
            out[3 * x + 2] = c.b;
        }
        dstSpan.Store(at, out, n * 3);
    }
}

}  // namespace tarn
