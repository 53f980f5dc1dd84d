// Packed 4:2:2 to planar 4:2:0, all tiers and byte orders. With smoothing,
// every packed row but the first and last is smoothed with its neighbours (F
// below); luma takes F, and the chroma of a row pair averages the F of its two
// rows, so that four or more source rows meet in one chroma sample; heights
// below 4 write nothing. Without, luma goes as stored and chroma averages the
// two rows of a pair. Source rows are brought to the Yuy2 order first.
#include <algorithm>
#include <cstdlib>

#include "convert/catalogue_kernels.h"
#include "convert/conversion_kernels.h"
#include "convert/packed_pair_rows.h"
#include "convert/reorder_rows.h"
#include "convert/scratch.h"
#include "convert/smoothing.h"
#include "convert/yuv_rows.h"
#include "platform/byte_span.h"
#include "platform/form_table.h"

namespace tarn {

void PackedChromaPlain(uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs) {
    const auto s = [](const Rows3& r, size_t k) { return Smooth(r.a[k], r.b[k], r.c[k]); };
    for (size_t i = 0; i < pairs; ++i) {
        u[i] = static_cast<uint8_t>(RoundAvg(s(a, 4 * i + 1), s(b, 4 * i + 1)));
        v[i] = static_cast<uint8_t>(RoundAvg(s(a, 4 * i + 3), s(b, 4 * i + 3)));
    }
}

void HalvePackedRowPlain(uint8_t* out, const uint8_t* row, size_t pairs) {
    for (size_t i = 0; i < pairs; ++i) {
        out[2 * i] = row[4 * i];
        out[2 * i + 1] = row[4 * i + 1];
    }
}

namespace {

// Plain row forms work every pair by the plain rule; the SSE2 ones have no
// chroma-alone form, their row pair with its luma being as fast.
constexpr PackedPairForms kPairsPlain{PackedChromaPlain, nullptr, HalvePackedRowPlain, nullptr};
constexpr PackedPairForms kPairsSse2{nullptr, nullptr, HalvePackedRowPlain, nullptr};
#if defined(TARN_HAVE_X86_SIMD)
constexpr PackedPairForms kPairsAvx2{PackedChromaAvx2, TwoChromaAvx2, HalvePackedRowAvx2, nullptr};
constexpr PackedPairForms kPairsAvx512{PackedChromaAvx512, TwoChromaAvx512, HalvePackedRowAvx512,
                                       PairRunAvx512};
#endif
constexpr FormEntry<const PackedPairForms*> kPairForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx512, &kPairsAvx512},
    {SimdForm::Avx2, &kPairsAvx2},
#endif
    {SimdForm::Plain, &kPairsSse2},
};
static_assert(EndsInPlainForm(kPairForms));

}  // namespace

const PackedPairForms& PackedPairFormsFor(const YuvRowForms& rows) {
    return &rows == &kYuvRowsPlain ? kPairsPlain : *PickForm(kPairForms);
}

void PackedToPlanar(TierBody body, bool smooth, PackedOrder order, uint8_t* dstY, uint8_t* dstU,
                    uint8_t* dstV, int32_t yStride, int32_t uvStride, const uint8_t* src,
                    int32_t srcStride, int32_t width, int32_t height) {
    PackedToPlanar(body, smooth, order, dstY, dstU, dstV, yStride, uvStride, src, srcStride, width, height,
                   nullptr);
}

bool PackedToPlanar(TierBody body, bool smooth, PackedOrder order, uint8_t* dstY, uint8_t* dstU,
                    uint8_t* dstV, int32_t yStride, int32_t uvStride, const uint8_t* src,
                    int32_t srcStride, int32_t width, int32_t height, const uint8_t* overwritten,
                    HalvedRows halved) {
    // A negative height reads the source from its last row up.
    const RowWalk walk = WalkOf(src, srcStride, height);
    const int32_t rows = walk.rows;
    const size_t pairs = static_cast<size_t>(width >> 1);
    if (rows < (smooth ? 4 : 2) || width < 2) return false;
    const bool halve = halved.rows && height > 0 && !(width & 1);
    const int32_t lastPair = rows / 2 - 1;
    const ByteSpan srcSpan = ByteSpan::OfFrame(src, srcStride, rows);
    const ByteSpan dstSpan = ByteSpan::OfPlanar(dstY, dstU, dstV, yStride, uvStride, rows);
    const YuvRowForms& f = RowsFor(body);
    const bool trunc = smooth && body == TierBody::Mmx;
    const Addr lost = AddrOf(overwritten);
    const PackedPairForms& forms = PackedPairFormsFor(f);
    const PackedChromaFn chromaAlone = smooth && !trunc && overwritten ? forms.chroma : nullptr;
    const ReorderRowFn reorder = ActiveReorderRow();
    // Block columns in bytes of the packed row; the rest are remainder pairs.
    const int blockShift = body == TierBody::Sse2 ? 4 : 3;
    const size_t nb = body == TierBody::Plain ? 0 : size_t((width >> blockShift) << blockShift) * 2;
    const size_t n = pairs * 4;
    const HalvePackedRowFn halveRow = forms.halve;
    // Row k of the halved rows, from source row 2k as stored.
    const auto halveAt = [&](int32_t k, uint8_t* scratch) {
        if (!halve) return;
        const uint8_t* from = srcSpan.Fetch(Offset(walk.base, 2 * k * walk.step), n, scratch);
        halveRow(halved.rows + intptr_t(k) * halved.stride, from, pairs);
    };

    const size_t cap = n + 64;
    Scratch work(cap * 16 + PairRunWorkBytes(pairs));
    const auto row = [&](int i) { return work.data() + cap * size_t(i); };
    // Where row pair k writes, and how much of that is written over later.
    struct Place {
        Addr y0, y1, u, v;
        bool lumaLost, allLost;
    };
    const auto placeOf = [&](int32_t k) {
        // An odd width makes each later pair start one pixel further left in
        // source and luma; chroma rows do not move.
        const ptrdiff_t shift = -static_cast<ptrdiff_t>(width & 1) * k;
        Place p;
        p.y0 = Offset(AddrOf(dstY), ptrdiff_t(2 * k) * yStride + shift);
        p.y1 = Offset(p.y0, yStride);
        p.u = Offset(AddrOf(dstU), ptrdiff_t(k) * uvStride);
        p.v = Offset(AddrOf(dstV), ptrdiff_t(k) * uvStride);
        p.lumaLost = std::max(p.y0, p.y1) + 2 * pairs <= lost;
        p.allLost = p.lumaLost && std::max(p.u, p.v) + pairs <= lost;
        return p;
    };
    // The chroma alone of two middle row pairs at once where the vector rows
    // serve every column and each pair starts where the last did (an even
    // width), with every row they touch in the frames.
    const auto twoAt = [&](int32_t k, const Place& p, const Place& q) {
        if (!forms.two || trunc || !smooth || order != PackedOrder::Yuy2 || (width & 1) ||
            nb / 4 != pairs || !p.lumaLost || !q.lumaLost || q.allLost)
            return false;
        const uint8_t* rows6[6];
        for (int j = 0; j < 6; ++j) {
            const Addr at = Offset(walk.base, (2 * k - 1 + j) * walk.step);
            if (!srcSpan.Holds(at, n)) return false;
            rows6[j] = reinterpret_cast<const uint8_t*>(at);
        }
        const Addr cs[4] = {p.u, q.u, p.v, q.v};
        for (Addr c : cs)
            if (!dstSpan.Holds(c, pairs)) return false;
        const auto at = [](Addr a) { return reinterpret_cast<uint8_t*>(a); };
        TwoChroma out{{at(p.u), at(q.u)}, {at(p.v), at(q.v)}};
        if (halve) {
            out.halved[0] = halved.rows + intptr_t(k) * halved.stride;
            out.halved[1] = out.halved[0] + halved.stride;
        }
        forms.two(out, rows6, pairs);
        return true;
    };
    // Middle row pairs from k on that keep the same of their bytes (all, or
    // chroma alone), one source row at a time, where the run form serves
    // every column and no row it writes meets another or a source row; where
    // the run ends (k: none).
    const auto runAt = [&](int32_t k, const Place& p) {
        if (!forms.run || trunc || !smooth || order != PackedOrder::Yuy2 || (width & 1) || nb / 4 != pairs ||
            k == 0 || k >= lastPair || p.lumaLost)
            return k;
        int32_t end = k + 1;
        while (end < lastPair) {
            const Place q = placeOf(end);
            if (q.lumaLost) break;
            ++end;
        }
        const int32_t count = end - k;
        const Addr above = Offset(walk.base, (2 * k - 1) * walk.step);
        const ByteSpan read = ByteSpan::OfRows(reinterpret_cast<const uint8_t*>(above), walk.step, 2 * count + 2, n);
        if (!srcSpan.Holds(read.Lo(), read.Hi() - read.Lo())) return k;
        const auto at = [](Addr a) { return reinterpret_cast<uint8_t*>(a); };
        uint8_t* h = halve ? halved.rows + intptr_t(k) * halved.stride : nullptr;
        const ByteSpan spans[] = {
            ByteSpan::OfRows(at(p.y0), yStride, 2 * count, 2 * pairs),
            ByteSpan::OfRows(at(p.u), uvStride, count, pairs), ByteSpan::OfRows(at(p.v), uvStride, count, pairs),
            halve ? ByteSpan::OfRows(h, halved.stride, count, 2 * pairs) : ByteSpan()};
        const bool rowsApart = std::abs(int64_t(yStride)) >= int64_t(2 * pairs) &&
                               std::abs(int64_t(uvStride)) >= int64_t(pairs) &&
                               (!halve || std::abs(int64_t(halved.stride)) >= int64_t(2 * pairs));
        if (!rowsApart) return k;
        for (size_t i = 0; i < 4; ++i) {
            if (!spans[i].ApartFrom(read)) return k;
            if (i < 3 && !dstSpan.Holds(spans[i].Lo(), spans[i].Hi() - spans[i].Lo())) return k;
            for (size_t j = i + 1; j < 4; ++j)
                if (!spans[i].ApartFrom(spans[j])) return k;
        }
        forms.run({at(above), walk.step, at(p.y0), yStride, at(p.u), at(p.v), uvStride, h,
                   halved.stride, count, pairs, work.data() + cap * 16});
        return end;
    };
    for (int32_t k = 0; k <= lastPair; ++k) {
        const ptrdiff_t shift = -static_cast<ptrdiff_t>(width & 1) * k;
        const bool first = k == 0, last = k == lastPair;
        const Place place = placeOf(k);
        const Addr y0At = place.y0, y1At = place.y1, uAt = place.u, vAt = place.v;
        // What is written over afterwards need not be written now.
        const bool lumaLost = place.lumaLost;
        if (place.allLost) {
            halveAt(k, row(0));
            continue;
        }
        if (const int32_t end = runAt(k, place); end > k) {
            k = end - 1;
            continue;
        }
        if (k > 0 && k + 1 < lastPair && twoAt(k, place, placeOf(k + 1))) {
            ++k;
            continue;
        }
        const uint8_t* s[4] = {};  // source rows 2k - 1 .. 2k + 2
        for (int i = 0; i < 4; ++i) {
            const int32_t r = 2 * k - 1 + i;
            if (r < 0 || r > 2 * lastPair + 1) continue;
            s[i] = srcSpan.Fetch(Offset(walk.base, r * walk.step + shift * 2), n, row(i));
            if (order != PackedOrder::Yuy2) {
                reorder(row(i), s[i], pairs, order, PackedOrder::Yuy2);
                s[i] = row(i);
            }
        }
        uint8_t* y0 = dstSpan.Target(y0At, 2 * pairs, row(11));
        uint8_t* y1 = dstSpan.Target(y1At, 2 * pairs, row(12));
        uint8_t* u = dstSpan.Target(uAt, pairs, row(13));
        uint8_t* v = dstSpan.Target(vAt, pairs, row(13) + pairs + 16);

        // Rounding body columns (every column of the plain kernel) in one
        // pass: F of each row, luma from it, chroma r(F0, F1). Stored rows
        // are given three times.
        size_t done = 0;
        if (!smooth) {
            // Rows as stored, chroma r(row 2k, row 2k + 1) in every body.
            f.smoothPairFromYuy2(y0, y1, u, v, Rows3{s[1], s[1], s[1]}, Rows3{s[2], s[2], s[2]}, pairs);
            done = pairs;
        } else if (!trunc) {
            const Rows3 a = first ? Rows3{s[1], s[1], s[1]} : Rows3{s[0], s[2], s[1]};
            const Rows3 b = last ? Rows3{s[2], s[2], s[2]} : Rows3{s[1], s[3], s[2]};
            done = body == TierBody::Plain ? pairs : nb / 4;
            if (lumaLost && chromaAlone)
                chromaAlone(u, v, a, b, done);
            else
                f.smoothPairFromYuy2(y0, y1, u, v, a, b, done);
        }
        if (done < pairs) {
            // Working packed rows from byte o on: their luma bytes give the
            // two luma rows, their chroma bytes the chroma row.
            const size_t o = 4 * done;
            const uint8_t* fb[2];
            const uint8_t* fr[2];
            for (int i = 0; i < 2; ++i) {
                if (i == 0 ? first : last) {
                    fb[i] = fr[i] = s[1 + i];
                    continue;
                }
                uint8_t* out = row(4 + i);
                f.smooth(out + o, s[i] + o, s[i + 2] + o, s[i + 1] + o, n - o);
                fr[i] = fb[i] = out;
                if (trunc) {
                    uint8_t* t = row(6 + i);
                    SmoothTruncRow(t, s[i], s[i + 2], s[i + 1], nb);
                    fb[i] = t;
                }
            }
            uint8_t* a0 = row(8);
            uint8_t* a1 = row(9);
            uint8_t* ac = row(10);
            if (trunc) {  // the MMX body: t() for s() and m() for r()
                std::memcpy(a0, fb[0], nb);
                std::memcpy(a1, fb[1], nb);
                TruncAvgRow(ac, fb[0], fb[1], nb);
            }
            const size_t from = std::max(o, nb), rest = n - from;
            if (first) {
                // Pair 0 of the remainder columns agrees with the plain rule.
                std::memcpy(a0 + from, fr[0] + from, rest);
                std::memcpy(a1 + from, fr[1] + from, rest);
                f.average(ac + from, fr[0] + from, fr[1] + from, rest);
            } else if (!last) {
                // Middle pairs of the remainder take row 2k + 1 for both luma
                // rows and for chroma: the SIMD kernels have always done this.
                std::memcpy(a0 + from, fr[1] + from, rest);
                std::memcpy(a1 + from, fr[1] + from, rest);
                std::memcpy(ac + from, fr[1] + from, rest);
            } else {
                // The last pair of the remainder starts from source row 2k - 1
                // as stored, one row above its own.
                std::memcpy(a0 + from, s[0] + from, rest);
                std::memcpy(a1 + from, fr[0] + from, rest);
                f.average(ac + from, s[0] + from, fr[0] + from, rest);
            }
            uint8_t* spare = row(14);
            uint8_t* spare2 = row(15);
            f.unpackYuy2(y0 + 2 * done, spare, spare2, a0 + o, pairs - done);
            f.unpackYuy2(y1 + 2 * done, spare, spare2, a1 + o, pairs - done);
            f.unpackYuy2(spare, u + done, v + done, ac + o, pairs - done);
        }
        dstSpan.Store(y0At, y0, 2 * pairs);
        dstSpan.Store(y1At, y1, 2 * pairs);
        dstSpan.Store(uAt, u, pairs);
        dstSpan.Store(vAt, v, pairs);
        halveAt(k, row(0));
    }
    return halve;
}

void ConvYuy2ToPlanarSmoothPlain(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                                 int32_t uvStride, const uint8_t* src, int32_t srcStride,
                                 int32_t width, int32_t height) {
    PackedToPlanar(TierBody::Plain, true, PackedOrder::Yuy2, dstY, dstU, dstV, yStride, uvStride, src, srcStride, width, height);
}

void ConvYuy2ToPlanarSmoothMmxTier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                                   int32_t uvStride, const uint8_t* src, int32_t srcStride,
                                   int32_t width, int32_t height) {
    PackedToPlanar(TierBody::Mmx, true, PackedOrder::Yuy2, dstY, dstU, dstV, yStride, uvStride, src, srcStride, width, height);
}

void ConvYuy2ToPlanarSmoothSse2Tier(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV, int32_t yStride,
                                    int32_t uvStride, const uint8_t* src, int32_t srcStride,
                                    int32_t width, int32_t height) {
    PackedToPlanar(TierBody::Sse2, true, PackedOrder::Yuy2, dstY, dstU, dstV, yStride, uvStride, src, srcStride, width, height);
}

}  // namespace tarn
