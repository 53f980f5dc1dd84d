// Box shrink for the four pairs of 3- and 4-byte pixels: one kernel per
// (rows, columns) pair and family, produced by templates and selected per
// pixel through a table, plus the row driver with its band groups.
//
// A kernel sums r rows of c samples (4-byte loads at the source pitch) into
// four 16-bit lanes, divides by its chain (box_chains.h), packs with
// saturation at 255 and stores four bytes at the target pitch. The lanes are
// kept as two pairs in 32-bit words (lanes 0 and 2, lanes 1 and 3): with at
// most 16 * 16 samples a lane stays below 65536, so no lane carries into
// its neighbour, in the sums or in the chain.
#include <algorithm>
#include <array>
#include <cstring>
#include <cstdint>
#include <utility>
#include <vector>

#include "scale/box_shrink.h"

#include "platform/byte_span.h"
#include "scale/box_quads.h"
#include "scale/box_unit.h"
#include "platform/form_table.h"
#include "scale/pixel_lanes.h"

namespace tarn {
namespace {

constexpr uint32_t PairMask(unsigned shift) { return (0xFFFFu >> shift) * 0x00010001u; }

template <BoxFamily F>
constexpr uint32_t SourcePitch() { return F == BoxFamily::Bytes33 || F == BoxFamily::Bytes34 ? 3 : 4; }
template <BoxFamily F>
constexpr uint32_t TargetPitch() { return F == BoxFamily::Bytes33 || F == BoxFamily::Bytes43 ? 3 : 4; }

// The chain on two lanes at once; the masks keep each shift inside its lane.
template <BoxChain ch>
uint32_t Divide(uint32_t s) {
    if constexpr (ch.preShift != 0) s = (s >> 1) & PairMask(1);
    uint32_t a = s, t = s;
    for (uint32_t i = 0; i < ch.count; ++i) {
        t = (t >> ch.k[i]) & PairMask(ch.k[i]);
        a += t;
    }
    a = (a >> ch.finalShift) & PairMask(ch.finalShift);
    const uint32_t lo = a & 0xFFFF, hi = a >> 16;
    return (lo > 255 ? 255 : lo) | (hi > 255 ? 255 : hi) << 16;
}

template <BoxFamily F, uint32_t R, uint32_t C>
uint32_t BoxPixel(const uint8_t* p, intptr_t stride) {
    constexpr BoxChain ch = ChainFor(F, R, C);
    static_assert(ch.count != 0xFF, "every product of rows and columns has a chain");
    constexpr uint32_t sp = SourcePitch<F>();
    uint32_t even = 0, odd = 0;
    for (uint32_t i = 0; i < R; ++i) {
        // With 2 rows of 13 the second row starts one sample to the left,
        // except from 3 to 4 bytes.
        const uint8_t* q = p + stride * intptr_t(i);
        if constexpr (R == 2 && C == 13 && F != BoxFamily::Bytes34) q -= i * sp;
        for (uint32_t j = 0; j < C; ++j) {
            const uint32_t v = Load4(q + j * sp);
            even += v & 0x00FF00FFu;
            odd += (v >> 8) & 0x00FF00FFu;
        }
    }
    return Divide<ch>(even) | Divide<ch>(odd) << 8;
}

using BoxPixelFn = uint32_t (*)(const uint8_t*, intptr_t);

template <BoxFamily F, uint32_t R, size_t... C>
constexpr std::array<BoxPixelFn, 17> RowSet(std::index_sequence<C...>) {
    return {nullptr, &BoxPixel<F, R, uint32_t(C + 1)>...};
}

template <BoxFamily F, size_t... R>
constexpr std::array<std::array<BoxPixelFn, 17>, 16> FamilySet(std::index_sequence<R...>) {
    return {RowSet<F, uint32_t(R + 1)>(std::make_index_sequence<16>())...};
}

template <BoxFamily F>
constexpr auto kKernels = FamilySet<F>(std::make_index_sequence<16>());

}  // namespace

template <BoxFamily F>
void BoxShrinkRowPlain(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                  uint32_t len, int32_t stride, uint32_t rowCount) {
    if (rowCount < 1 || rowCount > 16) return;  // the target row stays as it was
    const auto& set = kKernels<F>[rowCount - 1];
    for (uint32_t j = 0; j < len; ++j, dst += TargetPitch<F>()) {
        const uint32_t c = counts[j];
        if (c == 0) {
            // A black pixel; the offsets do not advance, so the rest of the run
            // reads the offset of the column before it while the counts go on.
            Store4(dst, 0);
            continue;
        }
        if (c > 16) continue;  // cannot arise below a factor of 16
        Store4(dst, set[c](row + *offsets++, stride));
    }
}

template void BoxShrinkRowPlain<BoxFamily::Bytes33>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxShrinkRowPlain<BoxFamily::Bytes34>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxShrinkRowPlain<BoxFamily::Bytes43>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxShrinkRowPlain<BoxFamily::Bytes44>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);

namespace {

// The sums of the first three bytes of `cols` samples `pitch` apart in each
// of `rows` rows from p. A box wholly inside the source span, with the byte
// after its last sample, is read directly: bytes 0 and 2 and byte 1 of each
// sample add up in 16-bit lanes of a 64-bit word, two 4-byte samples to a
// load where they lie side by side, one otherwise, and the lanes are emptied
// into the sums every 256 loads, before one can carry. A box that reaches
// outside reads each byte through the span, as 0 outside.
void SumBox(const ByteSpan& source, Addr p, int32_t stride, uint32_t rows, uint32_t cols, uint32_t pitch,
            uint32_t sum[3], BoxSum4Fn fast) {
    sum[0] = sum[1] = sum[2] = 0;
    if (rows == 0 || cols == 0) return;
    const intptr_t down = intptr_t(stride) * intptr_t(rows - 1);
    const Addr lo = Offset(p, std::min<intptr_t>(0, down));
    const size_t span =
        size_t(std::max<intptr_t>(0, down) - std::min<intptr_t>(0, down)) + size_t(cols - 1) * pitch + 3;
    if (source.Holds(lo, span + 1)) {
        if (pitch == 4 && fast) {
            fast(reinterpret_cast<const uint8_t*>(p), stride, rows, cols, sum);
            return;
        }
        uint64_t even = 0, odd = 0;
        uint32_t n = 0;
        auto empty = [&] {
            sum[0] += uint32_t(even & 0xFFFF) + uint32_t((even >> 32) & 0xFFFF);
            sum[2] += uint32_t((even >> 16) & 0xFFFF) + uint32_t(even >> 48);
            sum[1] += uint32_t(odd & 0xFFFF) + uint32_t((odd >> 32) & 0xFFFF);
            even = odd = n = 0;
        };
        auto add = [&](uint64_t v, uint64_t oddMask) {
            even += v & 0x00FF00FF00FF00FFull;
            odd += (v >> 8) & oddMask;
            if (++n == 256) empty();
        };
        const uint32_t pairs = pitch == 4 ? cols / 2 : 0;
        for (uint32_t i = 0; i < rows; ++i) {
            const uint8_t* q = reinterpret_cast<const uint8_t*>(Offset(p, intptr_t(i) * stride));
            for (uint32_t k = 0; k < pairs; ++k, q += 8) {
                uint64_t v;
                std::memcpy(&v, q, 8);
                add(v, 0x000000FF000000FFull);
            }
            for (uint32_t k = 2 * pairs; k < cols; ++k, q += pitch) add(Load4(q), 0xFF);
        }
        empty();
        return;
    }
    for (uint32_t i = 0; i < rows; ++i)
        for (uint32_t k = 0; k < cols; ++k)
            for (int ch = 0; ch < 3; ++ch) sum[ch] += source.Read(Offset(p, intptr_t(i) * stride + k * pitch + ch));
}

}  // namespace

BoxSum4Fn PickBoxSum4() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<BoxSum4Fn> forms[] = {{SimdForm::Avx2, BoxSum4Avx2}, {SimdForm::Plain, nullptr}};
    return PickForm(forms);
#else
    return nullptr;
#endif
}

#if defined(TARN_HAVE_X86_SIMD)
QuadBoxBlocksFn PickQuadBoxBlocks() {
    static const FormEntry<QuadBoxBlocksFn> forms[] = {
        {SimdForm::Avx512, QuadBoxBlocksAvx512}, {SimdForm::Avx2, QuadBoxBlocksAvx2}, {SimdForm::Plain, nullptr}};
    const QuadBoxBlocksFn f = PickForm(forms);
    return f ? f : QuadBoxBlocksAvx2;
}
#endif

void BoxRowExact(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts, uint32_t len,
                 int32_t stride, uint32_t rowCount, uint32_t dstPitch, uint32_t srcPitch, const ScaleBounds& bounds) {
    // Addresses stay integers: the run may reach past the memory we were given.
    Addr d = AddrOf(dst);
    const BoxSum4Fn fast = PickBoxSum4();
    for (uint32_t j = 0; j < len; ++j, d += dstPitch) {
        const uint32_t c = counts[j];
        if (c == 0) continue;
        uint32_t sum[3];
        SumBox(bounds.source, AddrOf(row) + offsets[j], stride, rowCount, c, srcPitch, sum, fast);
        const uint32_t t = c * rowCount;
        if (t > 0)
            for (int ch = 0; ch < 3; ++ch) bounds.target.Write(d + ch, static_cast<uint8_t>(sum[ch] / t));
    }
}

void BoxRowFade(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts, uint32_t len,
                int32_t stride, uint32_t rowWord, uint32_t dstPitch, uint32_t srcPitch, const uint8_t* background,
                const ScaleBounds& bounds) {
    const uint32_t rows = rowWord & 0xFFFF;
    Addr d = AddrOf(dst);
    const BoxSum4Fn fast = PickBoxSum4();
    for (uint32_t j = 0; j < len; ++j, d += dstPitch) {
        const uint32_t cw = counts[j], cols = cw & 0xFFFF;
        const uint32_t t = cols * rows;
        // Both outside-fractions at 0 still give a = 254: a full-coverage
        // pixel comes out darkened, as it always has.
        const uint32_t a = ((255 - (cw >> 16)) * (255 - (rowWord >> 16))) >> 8;
        if (t == 0) {
            for (int ch = 0; ch < 3; ++ch) bounds.target.Write(d + ch, background[ch]);
            continue;
        }
        uint32_t sum[3];
        SumBox(bounds.source, AddrOf(row) + offsets[j], stride, rows, cols, srcPitch, sum, fast);
        for (int ch = 0; ch < 3; ++ch)
            bounds.target.Write(d + ch, static_cast<uint8_t>((sum[ch] * a / t + background[ch] * (255 - a)) / 255));
    }
}

namespace {

struct FamilyPitches {
    BoxFamily family;
    uint32_t dstBytes;
    // (target, source) pitches the row driver hands to the exact functions;
    // but from 4 to 4 bytes they differ from the images' own pixel sizes.
    uint32_t fadeDst, fadeSrc;
    uint32_t exactDst, exactSrc;  // without fade
    BoxRowFn fast;
};

const FamilyPitches kFamilies[] = {
    {BoxFamily::Bytes33, 3, 3, 3, 4, 3, BoxShrinkRowPlain<BoxFamily::Bytes33>},
    {BoxFamily::Bytes34, 4, 3, 4, 3, 4, BoxShrinkRowPlain<BoxFamily::Bytes34>},
    {BoxFamily::Bytes43, 3, 4, 3, 4, 3, BoxShrinkRowPlain<BoxFamily::Bytes43>},
    {BoxFamily::Bytes44, 4, 4, 4, 4, 4, BoxShrinkRowPlain<BoxFamily::Bytes44>},
};

// A run paired throughout skips the per-row search for paired boxes.
BoxRowFn PickPairedRow(BoxFamily family, BoxRowFn general) {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<BoxRowFn> forms[4][3] = {
        {{SimdForm::Avx2, BoxPairedRowAvx2<BoxFamily::Bytes33>}, {SimdForm::Sse2, nullptr}, {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, BoxPairedRowAvx2<BoxFamily::Bytes34>}, {SimdForm::Sse2, nullptr}, {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, BoxPairedRowAvx2<BoxFamily::Bytes43>},
         {SimdForm::Sse2, BoxPairedRowSse2<BoxFamily::Bytes43>},
         {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, BoxPairedRowAvx2<BoxFamily::Bytes44>},
         {SimdForm::Sse2, BoxPairedRowSse2<BoxFamily::Bytes44>},
         {SimdForm::Plain, nullptr}},
    };
    if (const BoxRowFn f = PickForm(forms[static_cast<int>(family)])) return f;
#else
    (void)family;
#endif
    return general;
}

BoxRowFn PickQuadRow(BoxFamily family, BoxRowFn general) {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<BoxRowFn> forms[4][2] = {
        {{SimdForm::Avx2, BoxQuadRowAvx2<BoxFamily::Bytes33>}, {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, BoxQuadRowAvx2<BoxFamily::Bytes34>}, {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, BoxQuadRowAvx2<BoxFamily::Bytes43>}, {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, BoxQuadRowAvx2<BoxFamily::Bytes44>}, {SimdForm::Plain, nullptr}},
    };
    if (const BoxRowFn f = PickForm(forms[static_cast<int>(family)])) return f;
#else
    (void)family;
#endif
    return general;
}

BoxRowGroupFn PickPairedRowGroup(BoxFamily family) {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<BoxRowGroupFn> forms[4][2] = {
        {{SimdForm::Avx2, BoxPairedRowGroupAvx2<BoxFamily::Bytes33>}, {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, BoxPairedRowGroupAvx2<BoxFamily::Bytes34>}, {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, BoxPairedRowGroupAvx2<BoxFamily::Bytes43>}, {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, BoxPairedRowGroupAvx2<BoxFamily::Bytes44>}, {SimdForm::Plain, nullptr}},
    };
    return PickForm(forms[static_cast<int>(family)]);
#else
    (void)family;
    return nullptr;
#endif
}

// Whether the target rows, `written` bytes each, lie apart from every source
// byte the box rows can read (each table row and the rows of its count below
// it, up to two samples and a few bytes past the last column offset), and
// their first `rowBytes` bytes apart from one another.
bool BoxTargetApart(const ScaleRequest& r, const DriverTables& t, size_t written, size_t rowBytes) {
    const AxisTable& cols = t.cols;
    const AxisTable& rows = t.rows;
    const uint32_t height = r.target.height;
    const int32_t srcStride = r.source.stride;
    intptr_t lo = INTPTR_MAX, hi = INTPTR_MIN;
    for (uint32_t y = 0; y < height; ++y) {
        const intptr_t top = RowDelta(rows.offsets[y]);
        const intptr_t span = intptr_t(srcStride) * (intptr_t(std::min(rows.weights[y], 16u)) - 1);
        lo = std::min(lo, top + std::min<intptr_t>(0, span));
        hi = std::max(hi, top + std::max<intptr_t>(0, span));
    }
    hi += intptr_t(*std::max_element(cols.offsets, cols.offsets + r.target.width)) +
          2 * intptr_t(r.source.pixelBytes) + 8;
    const Addr src = AddrOf(r.source.pixels);
    const ByteSpan read{src + lo, src + hi};
    return RowsApart(r.target.pixels, rowBytes, height, r.target.stride, read) &&
           ByteSpan::OfRows(r.target.pixels, r.target.stride, int32_t(height), written).ApartFrom(read);
}

BoxRowFn PickBoxRow(BoxFamily family, BoxRowFn plain) {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<BoxRowFn> c[] = {{SimdForm::Avx2, BoxShrinkRowAvx2<BoxFamily::Bytes43>},
                                            {SimdForm::Sse2, BoxShrinkRowSse2<BoxFamily::Bytes43>},
                                            {SimdForm::Plain, BoxShrinkRowPlain<BoxFamily::Bytes43>}};
    static const FormEntry<BoxRowFn> d[] = {{SimdForm::Avx2, BoxShrinkRowAvx2<BoxFamily::Bytes44>},
                                            {SimdForm::Sse2, BoxShrinkRowSse2<BoxFamily::Bytes44>},
                                            {SimdForm::Plain, BoxShrinkRowPlain<BoxFamily::Bytes44>}};
    if (family == BoxFamily::Bytes43) return PickForm(c);
    if (family == BoxFamily::Bytes44) return PickForm(d);
#else
    (void)family;
#endif
    return plain;
}

}  // namespace

void BoxShrinkRows(const ScaleRequest& request, const DriverTables& tables, const Bands& b) {
    const uint32_t srcBytes = request.source.pixelBytes, dstBytes = request.target.pixelBytes;
    uint8_t* dst = request.target.pixels;
    const uint8_t* src = request.source.pixels;
    const AxisTable& cols = tables.cols;
    const AxisTable& rows = tables.rows;
    const uint32_t width = request.target.width, height = request.target.height;
    const int32_t dstStride = request.target.stride, srcStride = request.source.stride;
    const ScaleBounds& bounds = request.bounds;
    const bool fade = request.plan.driver == ScaleDriver::BoxFade;
    const FamilyPitches& f = kFamilies[(srcBytes == 4 ? 2 : 0) + (dstBytes == 4 ? 1 : 0)];
    const BoxRowFn fastRow = PickBoxRow(f.family, f.fast);
    // The fast path runs over all columns, or over the middle band with fade.
    const uint32_t fastFrom = fade ? b.colFirst : 0, fastLen = fade ? b.middle : width;
    const uint32_t width0 = fastLen > 0 ? cols.weights[fastFrom] : 0;
    const bool uniform = fastLen > 0 && UniformThroughout(cols.offsets + fastFrom, cols.weights + fastFrom, fastLen,
                                                          width0, width0 * srcBytes);
    const bool paired = uniform && width0 == 2;
    const BoxRowFn pairedRow = paired                                  ? PickPairedRow(f.family, fastRow)
                               : uniform && (width0 == 4 || width0 == 8) ? PickQuadRow(f.family, fastRow)
                                                                         : fastRow;
    const bool exact = tables.maxFactor > 15;
    const uint32_t exDst = fade ? f.fadeDst : f.exactDst, exSrc = fade ? f.fadeSrc : f.exactSrc;
    // Boxes no wider than one sample (the area mode's fall-back as the image
    // grows) resolve their columns once; rows of count 1 then only gather.
    std::vector<uint32_t> unitCols;
    const bool unit = !exact && fastLen > 0 &&
                      ResolveUnitColumns(cols.offsets + fastFrom, cols.weights + fastFrom, fastLen, unitCols);
    const BoxUnitRowFn unitRow = unit ? PickBoxUnitRow(f.family) : nullptr;
    UnitWindows windows;
    const bool windowed = unit && PlanUnitWindows(unitCols.data(), fastLen, f.dstBytes, windows);
    auto fast = [&](uint8_t* d, const uint8_t* r, uint32_t col, uint32_t len, uint32_t rw) {
        if (unit && rw == 1)
            unitRow(d, r, unitCols.data() + (col - fastFrom), len, windowed ? &windows : nullptr);
        else if (exact)
            BoxRowExact(d, r, cols.offsets + col, cols.weights + col, len, srcStride, rw, exDst, exSrc, bounds);
        else pairedRow(d, r, cols.offsets + col, cols.weights + col, len, srcStride, rw);
    };
    // The box fade blends towards black, whatever the request's background.
    static const uint8_t kBlack[4] = {0, 0, 0, 0};
    auto faded = [&](uint8_t* d, const uint8_t* r, uint32_t col, uint32_t len, uint32_t rw) {
        BoxRowFade(d, r, cols.offsets + col, cols.weights + col, len, srcStride, rw, f.fadeDst, f.fadeSrc, kBlack,
                   bounds);
    };
    const BoxRowGroupFn group = !exact && paired ? PickPairedRowGroup(f.family) : nullptr;
    // A 3-byte target's last 4-byte store spills one byte past its row, which
    // the next row overwrites when rows touch. The group puts that byte back
    // after each row (box_shrink.h). With fade the spill of a middle lands
    // in its own row's right band, made after the group, so touching rows
    // are grouped too; only a middle that ends its row (no right band) with
    // a left band in front of the next one would spill onto that band, made
    // before the group, and there touching rows go one at a time.
    const size_t written = size_t(width) * f.dstBytes + (f.dstBytes == 3 ? 1 : 0);
    const bool spillsOntoBand = fade && b.right == 0 && b.left > 0;
    const bool grouped = group && height > 1 &&
                         BoxTargetApart(request, tables, written, spillsOntoBand ? written : size_t(width) * f.dstBytes);
    // Rows whose fast path spans the whole run: all of them, or with fade
    // those between the top and bottom bands, whose side bands go before
    // and after the group's middles as they do row by row.
    const uint32_t groupFrom = fade ? b.rowFirst : 0, groupTo = fade ? b.rowLast : height;
    uint32_t y = 0;
    auto groupRows = [&] {
        const uint32_t n = std::min(kBoxRowGroup, groupTo - y);
        uint8_t* d[kBoxRowGroup];
        const uint8_t* r[kBoxRowGroup];
        for (uint32_t i = 0; i < n; ++i) {
            d[i] = dst + static_cast<intptr_t>(dstStride) * (y + i) + size_t(fastFrom) * f.dstBytes;
            r[i] = src + RowDelta(rows.offsets[y + i]);
            if (fade) faded(d[i] - size_t(fastFrom) * f.dstBytes, r[i], 0, b.left, rows.weights[y + i]);
        }
        group(d, r, rows.weights + y, n, cols.offsets + fastFrom, cols.weights + fastFrom, fastLen, srcStride);
        if (fade)
            for (uint32_t i = 0; i < n; ++i)
                faded(dst + static_cast<intptr_t>(dstStride) * (y + i) + size_t(b.colLast) * f.dstBytes, r[i],
                      b.colLast, b.right, rows.weights[y + i]);
        y += n;
    };
    while (y < height) {
        if (grouped && y >= groupFrom && y + 1 < groupTo) {
            groupRows();
            continue;
        }
        uint8_t* d = dst + static_cast<intptr_t>(dstStride) * y;
        const uint8_t* r = src + RowDelta(rows.offsets[y]);
        const uint32_t rw = rows.weights[y];
        if (!fade) {
            fast(d, r, 0, width, rw);
        } else if (y < b.rowFirst) {
            faded(d, r, 0, width, rw);
        } else if (y < b.rowLast) {
            faded(d, r, 0, b.left, rw);
            fast(d + size_t(b.colFirst) * f.dstBytes, r, b.colFirst, b.middle, rw);
            faded(d + size_t(b.colLast) * f.dstBytes, r, b.colLast, b.right, rw);
        } else if (f.family != BoxFamily::Bytes43 || exact) {
            // From 4 to 3 bytes below a factor of 16 it stops before these rows: they stay
            // as they were.
            faded(d, r, 0, width, rw);
        }
        ++y;
    }
}

}  // namespace tarn
