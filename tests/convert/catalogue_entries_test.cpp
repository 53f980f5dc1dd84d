// Every entry of the kernel catalogue, in every tier a feature word can
// fill, called on a small picture (20 x 10, and from its last row up) and
// compared byte for byte, margins included, with the reference worked from
// the formulas. 20 pixels have block and remainder columns in every body and
// no walk that moves a row.
#include <gtest/gtest.h>

#include <cstdlib>

#include "catalogue_reference.h"
#include "convert/kernel_catalogue.h"
#include "kernel_harness.h"
#include "platform/cpu_features.h"

namespace tarn::test {
namespace {

using namespace catref;
using F = CatalogueFormat;
using Tier = ref::Tier;

constexpr int kWidth = 20;
constexpr int kThreshold = 120;

Tier TierOfEntry(int row, int column) {
    const EntryOrigin o = OriginOf(row, column);
    if (o.forwards) return Tier::Plain;
    static const Tier tiers[] = {Tier::Plain, Tier::Plain, Tier::Mmx, Tier::Pavg, Tier::Sse2};
    return tiers[int(o.tier)];
}

// The packed orders and the RGB kinds are listed in the same order here.
bool IsPacked(F f) { return f >= F::Yuy2 && f <= F::Vyuy; }
Order OrderOf(F f) { return Order(int(f) - int(F::Yuy2)); }
Kind KindOf(F f) { return f >= F::Rgb32 ? Kind(int(f) - int(F::Rgb32)) : Kind::Rgb32; }
int BytesOfFormat(F f) { return IsPacked(f) ? 2 : BytesOf(KindOf(f)); }
// Rows of 20 pixels with some padding: odd for the RGB kinds.
int StrideOf(F f) { return kWidth * BytesOfFormat(f) + (IsPacked(f) ? 6 : 5); }

// `rows` rows of `bytes` from the buffer, in the order the kernel walks
// them: from the last row up when `reversed`.
Rows Read(const Buffer& b, ptrdiff_t first, int stride, int rows, int bytes, bool reversed) {
    Rows out(static_cast<size_t>(rows));
    for (int n = 0; n < rows; ++n) {
        const ptrdiff_t at = first + ptrdiff_t(reversed ? rows - 1 - n : n) * stride;
        out[n].assign(b.data.begin() + at, b.data.begin() + at + bytes);
    }
    return out;
}
void Write(std::vector<uint8_t>& data, ptrdiff_t first, int stride, const Rows& rows, bool reversed) {
    const int count = int(rows.size());
    for (int n = 0; n < count; ++n) {
        const ptrdiff_t at = first + ptrdiff_t(reversed ? count - 1 - n : n) * stride;
        std::copy(rows[n].begin(), rows[n].end(), data.begin() + at);
    }
}

// A planar frame in one buffer as a surface lays it out, rows read with the
// stride's padding.
struct PlanarFrame {
    PlanarFrame(int rows, uint32_t seed) : layout(PlanarOf(kWidth, rows, 4)), buffer(layout.bytes, seed) {}
    Planar Picture(int rows, bool reversed) const {
        const ref::PlanarSrc& p = layout.planes;
        return {Read(buffer, p.y, p.yStride, rows, p.yStride, reversed),
                Read(buffer, p.u, p.uvStride, rows / 2, p.uvStride, reversed),
                Read(buffer, p.v, p.uvStride, rows / 2, p.uvStride, reversed)};
    }
    void Put(std::vector<uint8_t>& data, const Planar& pic) const {
        const ref::PlanarSrc& p = layout.planes;
        Write(data, p.y, p.yStride, pic.y, false);
        Write(data, p.u, p.uvStride, pic.u, false);
        Write(data, p.v, p.uvStride, pic.v, false);
    }
    uint8_t* Y() { return buffer.At(layout.planes.y); }
    uint8_t* U() { return buffer.At(layout.planes.u); }
    uint8_t* V() { return buffer.At(layout.planes.v); }
    PlanarLayout layout;
    Buffer buffer;
};

Rows Cut(const Rows& rows, int bytes, int from = 0) {
    Rows out;
    for (const auto& r : rows) out.emplace_back(r.begin() + from, r.begin() + from + bytes);
    return out;
}

class EntryCheck {
public:
    EntryCheck(int row, int column, int height, uint32_t seed)
        : row_(row), column_(column), height_(height), rows_(std::abs(height)), flip_(height < 0),
          seed_(seed), tier_(TierOfEntry(row, column)), entry_(ConversionKernelTable[row][column]),
          what_(RowOfCatalogue(row)) {}

    void Run() {
        if (row_ == 0) return BlockCopy();
        if (row_ == 1) return RowCopy();
        if (what_.src == F::SemiPlanar || what_.src == F::FieldSemiPlanar) return SemiPlanarSource();
        if (what_.src == F::Planar) return PlanarSource();
        if (IsPacked(what_.src)) return PackedSource();
        return RgbSource();
    }

private:
    std::string Name() const {
        return "row " + std::to_string(row_ + 1) + " column " + std::to_string(column_) + " " +
               EntryName(row_, column_) + " height " + std::to_string(height_);
    }
    bool Smooth() const { return column_ == 1; }

    void BlockCopy() {
        Buffer src(100, seed_), dst(100, 0);
        std::get<BlockCopyKernel>(entry_)(dst.At(kMargin), src.At(kMargin), 100);
        EXPECT_TRUE(std::equal(src.data.begin() + kMargin, src.data.begin() + kMargin + 100, dst.data.begin() + kMargin));
        EXPECT_EQ(dst.data[kMargin - 1], 0xCD);
        EXPECT_EQ(dst.data[kMargin + 100], 0xCD) << Name();
    }

    // The row copy and the copies of a format to itself: rows read walking
    // the source, smoothed in column 1.
    void CopyRowsOf(int bytesPerPixel, bool byPixels) {
        const int stride = kWidth * bytesPerPixel + 6;
        Buffer src(size_t(stride) * rows_, seed_), dst(size_t(stride) * rows_, 0);
        Buffer expected = dst;
        Rows pic = Read(src, kMargin, stride, rows_, kWidth * bytesPerPixel, flip_);
        if (Smooth()) pic = SmoothRows(tier_, pic, kWidth * bytesPerPixel);
        Write(expected.data, kMargin, stride, pic, false);
        std::get<OneToOneEntry>(entry_)(dst.At(kMargin), stride, src.At(kMargin), stride,
                                        byPixels ? kWidth : kWidth * bytesPerPixel, height_);
        EXPECT_EQ(dst.data, expected.data) << Name();
    }
    void RowCopy() { CopyRowsOf(2, false); }

    void SemiPlanarSource() {
        const bool field = what_.src == F::FieldSemiPlanar;
        const int planeRows = field ? (rows_ + 31) & ~31 : rows_;
        const int ss = kWidth + 4, ds = StrideOf(F::Rgb24);
        Buffer src(size_t(ss) * planeRows * 3 / 2, seed_), dst(size_t(ds) * rows_, 0);
        Buffer expected = dst;
        const Rows y = Read(src, kMargin, ss, planeRows, kWidth, false);
        const Rows c = Read(src, kMargin + ptrdiff_t(ss) * planeRows, ss, planeRows / 2, kWidth, false);
        Write(expected.data, kMargin, ds, SemiPlanarToRgb24(field, y, c, kWidth, rows_), flip_);
        std::get<OneToOneEntry>(entry_)(dst.At(kMargin), ds, src.At(kMargin), ss, kWidth, height_);
        EXPECT_EQ(dst.data, expected.data) << Name();
    }

    void PlanarSource() {
        PlanarFrame src(rows_, seed_);
        if (what_.dst == F::Planar || what_.dst == F::PlanarSwapped || what_.dst == F::SemiPlanar)
            return PlanarCopies(src);
        const Planar pic = src.Picture(rows_, false);
        const ref::PlanarSrc& p = src.layout.planes;
        const int ds = StrideOf(what_.dst);
        Buffer dst(size_t(ds) * rows_, 0);
        Buffer expected = dst;
        if (what_.dst == F::Rgb24 && tier_ == Tier::Sse2 && !Smooth())
            ref::PlanarToRgb24Rows(expected.Mem(), kMargin, ds, src.buffer.Mem(), p, kWidth, height_);
        else
            Write(expected.data, kMargin, ds,
                  IsPacked(what_.dst) ? PlanarToPacked(tier_, Smooth(), OrderOf(what_.dst), pic, kWidth)
                                      : PlanarToRgb(tier_, Smooth(), KindOf(what_.dst), kThreshold, pic, kWidth),
                  flip_);
        if (what_.dst == F::Rgb32Keyed)
            std::get<KeyedPlanarSourceEntry>(entry_)(dst.At(kMargin), ds, src.Y(), src.U(), src.V(), p.yStride,
                                                     p.uvStride, kWidth, height_, kThreshold);
        else
            std::get<PlanarSourceEntry>(entry_)(dst.At(kMargin), ds, src.Y(), src.U(), src.V(), p.yStride,
                                                p.uvStride, kWidth, height_);
        EXPECT_EQ(dst.data, expected.data) << Name();
    }

    // Plane copies into one buffer; the source is read from its last row up
    // when the height is negative.
    void PlanarCopies(PlanarFrame& src) {
        const ref::PlanarSrc& p = src.layout.planes;
        const int ds = kWidth + 4;
        Buffer dst(size_t(ds) * 32, 0);
        Buffer expected = dst;
        const Planar pic = src.Picture(rows_, flip_);
        const auto smoothed = [&](const Rows& rows, int bytes, int from = 0) {
            const Rows cut = Cut(rows, bytes, from);
            return Smooth() ? SmoothRows(tier_, cut, bytes) : cut;
        };
        Write(expected.data, kMargin, ds, smoothed(pic.y, kWidth), false);
        if (what_.dst == F::SemiPlanar) {
            const ptrdiff_t plane = kMargin + ptrdiff_t(ds) * ((rows_ + 15) & ~15);
            Write(expected.data, plane + 2, ds, smoothed(PlanarToSemiPlanarChroma(pic, kWidth), kWidth, 2), false);
        } else {
            const bool swap = what_.dst == F::PlanarSwapped;
            const ptrdiff_t first = kMargin + ptrdiff_t(ds) * rows_, second = kMargin + ptrdiff_t(ds) * rows_ * 5 / 4;
            Write(expected.data, first, ds / 2, smoothed(swap ? pic.v : pic.u, kWidth / 2), false);
            Write(expected.data, second, ds / 2, smoothed(swap ? pic.u : pic.v, kWidth / 2), false);
        }
        std::get<PlanarSourceEntry>(entry_)(dst.At(kMargin), ds, src.Y(), src.U(), src.V(), p.yStride, p.uvStride,
                                            kWidth, height_);
        EXPECT_EQ(dst.data, expected.data) << Name();
    }

    void PackedSource() {
        const Order from = OrderOf(what_.src);
        if (what_.dst == what_.src) return CopyRowsOf(2, true);
        const int ss = StrideOf(what_.src);
        Buffer src(size_t(ss) * rows_, seed_);
        const Rows pic = Read(src, kMargin, ss, rows_, 2 * kWidth, flip_);
        if (what_.dst == F::Planar) return PackedToPlanarCheck(src, pic, from);
        const int ds = StrideOf(what_.dst);
        Buffer dst(size_t(ds) * rows_, 0);
        Buffer expected = dst;
        const Rows in = Smooth() ? SmoothRows(tier_, pic, 2 * kWidth) : pic;
        // Column 1 of packed to RGB converts the smoothed rows as column 0 of
        // the tier does; the Pavg tier's column 0 is the MMX one.
        const Tier convert = tier_ == Tier::Pavg ? Tier::Mmx : tier_;
        Write(expected.data, kMargin, ds,
              IsPacked(what_.dst) ? Reorder(from, OrderOf(what_.dst), in, kWidth)
                                  : PackedToRgb(convert, from, KindOf(what_.dst), in, kWidth),
              false);
        std::get<OneToOneEntry>(entry_)(dst.At(kMargin), ds, src.At(kMargin), ss, kWidth, height_);
        EXPECT_EQ(dst.data, expected.data) << Name();
    }

    void PackedToPlanarCheck(Buffer& src, const Rows& pic, Order from) {
        PlanarFrame dst(rows_, 0);
        Buffer expected = dst.buffer;
        if (!Smooth()) {
            Planar planes = PackedToPlanar(from, pic, kWidth);
            PlanarFrame shape(rows_, 0);
            shape.Put(expected.data, planes);
        } else {
            // The smoothing form: the Yuy2 reference on the source brought to
            // the Yuy2 order.
            Buffer yuy2 = src;
            const int ss = StrideOf(what_.src);
            Write(yuy2.data, kMargin, ss, Reorder(from, Order::Yuy2, Read(src, kMargin, ss, rows_, 2 * kWidth, false), kWidth), false);
            ref::Yuy2ToPlanar(tier_, expected.Mem(), dst.layout.planes, yuy2.Mem(), kMargin, ss, kWidth, height_);
        }
        const ref::PlanarSrc& p = dst.layout.planes;
        std::get<PlanarDestinationEntry>(entry_)(dst.Y(), dst.U(), dst.V(), p.yStride, p.uvStride, src.At(kMargin),
                                                 StrideOf(what_.src), kWidth, height_);
        EXPECT_EQ(dst.buffer.data, expected.data) << Name();
    }

    void RgbSource() {
        const Kind in = KindOf(what_.src);
        if (what_.dst == what_.src) return CopyRowsOf(BytesOf(in), true);
        const int ss = StrideOf(what_.src);
        Buffer src(size_t(ss) * rows_, seed_);
        Buffer srcExpected = src;
        const Rows pic = Read(src, kMargin, ss, rows_, kWidth * BytesOf(in), flip_);
        if (what_.dst == F::Planar) {
            PlanarFrame dst(rows_, 0);
            Buffer expected = dst.buffer;
            dst.Put(expected.data, RgbToPlanar(in, pic, kWidth));
            const ref::PlanarSrc& p = dst.layout.planes;
            std::get<PlanarDestinationEntry>(entry_)(dst.Y(), dst.U(), dst.V(), p.yStride, p.uvStride,
                                                     src.At(kMargin), ss, kWidth, height_);
            EXPECT_EQ(dst.buffer.data, expected.data) << Name();
            return;
        }
        const int ds = StrideOf(what_.dst);
        Buffer dst(size_t(ds) * rows_, 0);
        Buffer expected = dst;
        if (std::holds_alternative<WritableSourceEntry>(entry_)) {
            // The SSE2 kernels to Yuy2, with their own arithmetic and the
            // remainder written into the source.
            ref::RgbToYuy2(Tier::Sse2, BytesOf(in), expected.Mem(), kMargin, ds, srcExpected.Mem(), kMargin, ss,
                           kWidth, height_);
            std::get<WritableSourceEntry>(entry_)(dst.At(kMargin), ds, src.At(kMargin), ss, kWidth, height_);
        } else {
            Write(expected.data, kMargin, ds,
                  IsPacked(what_.dst) ? RgbToPacked(in, OrderOf(what_.dst), pic, kWidth)
                                      : RgbToRgb(in, KindOf(what_.dst), pic, kWidth),
                  false);
            std::get<OneToOneEntry>(entry_)(dst.At(kMargin), ds, src.At(kMargin), ss, kWidth, height_);
        }
        EXPECT_EQ(dst.data, expected.data) << Name();
        EXPECT_EQ(src.data, srcExpected.data) << Name() << " source";
    }

    int row_, column_, height_, rows_;
    bool flip_;
    uint32_t seed_;
    Tier tier_;
    KernelEntry entry_;
    CatalogueRow what_;
};

TEST(KernelCatalogue, EveryEntryOfEveryTierMatchesItsReference) {
    CatalogueRestore restore;
    uint32_t seed = 9000;
    for (uint32_t word : {0u, kCpuMmx, kCpuMmx | kCpuSse, kCpuMmx | kCpuSse | kCpuSse2}) {
        FillKernelCatalogue(word);
        for (SimdForm form : FormsHere()) {
            ScopedKernelChoice choice(word, form);
            for (int row = 0; row < kCatalogueRows; ++row)
                for (int column = 0; column < 2; ++column) {
                    if (std::holds_alternative<std::monostate>(ConversionKernelTable[row][column])) continue;
                    for (int height : {10, -10}) {
                        SCOPED_TRACE("word " + std::to_string(word) + " form " + FormName(form));
                        EntryCheck(row, column, height, ++seed).Run();
                    }
                }
        }
    }
}

}  // namespace
}  // namespace tarn::test
