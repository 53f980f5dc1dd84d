// The four packed orders worked by hand (one pixel pair in each order), the
// rows of each fast form of the reorders and 16-bit packings against the
// plain one, and every 16-bit word and colour through the packings.
#include <gtest/gtest.h>

#include <random>

#include "convert/catalogue_kernels.h"
#include "convert/reorder_rows.h"
#include "convert/rgb16_rows.h"
#include "kernel_harness.h"

namespace tarn::test {
namespace {

// Y0 126, Cb 128, Y1 235, Cr 160 as each order stores it.
const PackedOrder kOrders[] = {PackedOrder::Yuy2, PackedOrder::Yvyu, PackedOrder::Uyvy, PackedOrder::Vyuy};
const std::vector<uint8_t> kBlock[] = {{126, 128, 235, 160}, {126, 160, 235, 128}, {128, 126, 160, 235}, {160, 126, 128, 235}};

TEST(PackedOrders, ATwoPixelBlockInEveryOrder) {
    for (SimdForm form : FormsHere()) {
        ScopedKernelChoice choice(0, form);
        for (int from = 0; from < 4; ++from) {
            const std::vector<uint8_t> two = [&] {
                std::vector<uint8_t> v = kBlock[from];
                v.insert(v.end(), kBlock[from].begin(), kBlock[from].end());
                return v;
            }();
            // Every other order: the same samples where that order keeps them.
            for (int to = 0; to < 4; ++to) {
                std::vector<uint8_t> out(4, 0);
                ReorderPacked(TierBody::Plain, false, kOrders[from], kOrders[to], out.data(), 4, kBlock[from].data(), 4, 2, 1);
                EXPECT_EQ(out, kBlock[to]) << from << " to " << to;
            }
            // To RGB by the table form: luma 126 and 235 with Cb 128, Cr 160
            // are (128, 102, 179) and (254, 228, 255 after clamping 305).
            std::vector<uint8_t> rgb(8, 0xCD);
            PackedToRgb(TierBody::Plain, kOrders[from], RgbKind::Rgb32, rgb.data(), 8, kBlock[from].data(), 4, 2, 1);
            EXPECT_EQ(rgb, (std::vector<uint8_t>{128, 102, 179, 0, 254, 228, 255, 0})) << from;
            // To planar: two rows of the block, luma as stored and chroma the
            // average of equal rows.
            uint8_t y[4] = {}, u = 0, v = 0;
            PackedToPlanar(TierBody::Plain, false, kOrders[from], y, &u, &v, 2, 1, two.data(), 4, 2, 2);
            EXPECT_EQ(std::vector<uint8_t>(y, y + 4), (std::vector<uint8_t>{126, 235, 126, 235})) << from;
            EXPECT_EQ(u, 128);
            EXPECT_EQ(v, 160);
        }
    }
}

TEST(PackedOrders, PureBlueFromRgbInEveryOrder) {
    // Luma (25 x 255 >> 8) + 16 = 40; over the pair Cb (112 x 510 >> 9) + 128
    // = 239 and Cr (-18 x 510 >> 9, rounded down) + 128 = 110.
    const uint8_t blue32[8] = {255, 0, 0, 0, 255, 0, 0, 0};
    const uint16_t blue565[2] = {0x001F, 0x001F};
    const std::vector<uint8_t> expected[] = {{40, 239, 40, 110}, {40, 110, 40, 239}, {239, 40, 110, 40}, {110, 40, 239, 40}};
    for (int o = 0; o < 4; ++o) {
        std::vector<uint8_t> out(4, 0);
        RgbToPacked(RgbKind::Rgb32, kOrders[o], out.data(), 4, blue32, 8, 2, 1);
        EXPECT_EQ(out, expected[o]) << o;
        // 565 blue expands to 248: (25 x 248 >> 8) + 16 = 40 as well, and
        // Cb (112 x 496 >> 9) + 128 = 236.
        RgbToPacked(RgbKind::Rgb565, kOrders[o], out.data(), 4, reinterpret_cast<const uint8_t*>(blue565), 4, 2, 1);
        const PairPositions at = PositionsOf(kOrders[o]);
        EXPECT_EQ(out[at.y0], 40);
        EXPECT_EQ(out[at.u], 236);
        EXPECT_EQ(out[at.v], 110);  // -18 x 496 = -8928, >> 9 is -18 (rounded down from -17.4)
    }
}

// Rows of every length up to a few blocks, in place and apart, canaries
// around the target.
TEST(FastForms, ReorderAndRgb16RowsEqualThePlainRows) {
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 form on this processor";
    std::mt19937 gen(77);
    for (size_t n = 0; n <= 70; ++n) {
        std::vector<uint8_t> src(n * 4 + 64);
        for (auto& b : src) b = uint8_t(gen());
        for (PackedOrder from : kOrders)
            for (PackedOrder to : kOrders) {
                std::vector<uint8_t> a(n * 4 + 2, 0xCD), b = a;
                ReorderRowPlain(a.data() + 1, src.data(), n, from, to);
                ReorderRowAvx2(b.data() + 1, src.data(), n, from, to);
                ASSERT_EQ(a, b) << n;
                std::vector<uint8_t> inPlace(src.begin(), src.begin() + ptrdiff_t(n * 4));
                ReorderRowAvx2(inPlace.data(), inPlace.data(), n, from, to);
                ASSERT_TRUE(std::equal(inPlace.begin(), inPlace.end(), a.begin() + 1)) << n;
            }
        using RowFn = void (*)(uint8_t*, const uint8_t*, size_t);
        const std::pair<RowFn, RowFn> rows[] = {
            {kRgb16RowsPlain.expand565, kRgb16RowsAvx2.expand565}, {kRgb16RowsPlain.expand555, kRgb16RowsAvx2.expand555},
            {kRgb16RowsPlain.pack565, kRgb16RowsAvx2.pack565},     {kRgb16RowsPlain.pack555, kRgb16RowsAvx2.pack555}};
        for (const auto& [plain, fast] : rows) {
            std::vector<uint8_t> a(n * 4 + 2, 0xCD), b = a;
            plain(a.data() + 1, src.data(), n);
            fast(b.data() + 1, src.data(), n);
            ASSERT_EQ(a, b) << n;
        }
    }
}

}  // namespace
}  // namespace tarn::test

namespace tarn::test {
namespace {

// Small input spaces, all of them: every 16-bit word and every colour triple
// through each form of the 16-bit rows.
TEST(Rgb16, EveryWordAndEveryColourInEveryForm) {
    std::vector<uint16_t> words(65536);
    for (size_t i = 0; i < words.size(); ++i) words[i] = uint16_t(i);
    const auto* wordBytes = reinterpret_cast<const uint8_t*>(words.data());
    std::vector<uint8_t> triples(65536 * 4);
    std::vector<uint16_t> packed(65536), again(65536);
    std::vector<uint8_t> wide(65536 * 4);
    for (SimdForm form : FormsHere()) {
        ScopedKernelChoice choice(0, form);
        // Expansion and packing undo each other on every word (bit 15 of a
        // 555 word is not kept).
        ConvertRgbPixels(RgbKind::Rgb565, RgbKind::Rgb32, wide.data(), 0, wordBytes, 0, 65536, 1);
        ConvertRgbPixels(RgbKind::Rgb32, RgbKind::Rgb565, reinterpret_cast<uint8_t*>(again.data()), 0, wide.data(), 0, 65536, 1);
        ASSERT_EQ(again, words) << FormName(form);
        ConvertRgbPixels(RgbKind::Rgb555, RgbKind::Rgb32, wide.data(), 0, wordBytes, 0, 65536, 1);
        ConvertRgbPixels(RgbKind::Rgb32, RgbKind::Rgb555, reinterpret_cast<uint8_t*>(again.data()), 0, wide.data(), 0, 65536, 1);
        for (auto& w : words) w &= 0x7FFF;
        ASSERT_EQ(again, words) << FormName(form);
        for (size_t i = 0; i < words.size(); ++i) words[i] = uint16_t(i);
        // Every triple, 65536 at a time: red and green vary within a run,
        // blue from run to run.
        std::vector<uint16_t> want565(65536), want555(65536);
        for (int b = 0; b < 256; ++b) {
            for (int i = 0; i < 65536; ++i) {
                const int g = i & 255, r = i >> 8;
                const uint8_t px[4] = {uint8_t(b), uint8_t(g), uint8_t(r), uint8_t(i * 7)};
                std::copy(px, px + 4, triples.begin() + 4 * i);
                want565[i] = uint16_t((r >> 3) << 11 | (g >> 2) << 5 | b >> 3);
                want555[i] = uint16_t((r >> 3) << 10 | (g >> 3) << 5 | b >> 3);
            }
            ConvertRgbPixels(RgbKind::Rgb32, RgbKind::Rgb565, reinterpret_cast<uint8_t*>(packed.data()), 0, triples.data(), 0, 65536, 1);
            ASSERT_EQ(packed, want565) << "blue " << b << " " << FormName(form);
            ConvertRgbPixels(RgbKind::Rgb32, RgbKind::Rgb555, reinterpret_cast<uint8_t*>(packed.data()), 0, triples.data(), 0, 65536, 1);
            ASSERT_EQ(packed, want555) << "blue " << b << " " << FormName(form);
        }
    }
}

}  // namespace
}  // namespace tarn::test
