// Single-channel shrinks whose columns are all means of two neighbours and
// whose rows each read one source row, or at a shrink by 2 the mean of two
// (field pairs): the halved rows form against the plain rows over real
// tables and made-up chains of rows, with canaries and bottom-up pictures.
// Whole images of these shapes are scaled in every form in the row cache
// tests.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "scale/axis_table.h"
#include "scale/gray_halved_rows.h"
#include "scale/inner_rows.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

#if defined(TARN_HAVE_X86_SIMD)
TEST(GrayHalvedRows, MatchTheBilinearRowsOfWholeShrinks) {
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    struct Size {
        uint32_t sw, sh, dw, dh;
        AxisFilter rows;
        bool halves;  // whether the tables are of the kind the form takes
    };
    constexpr AxisFilter kB = AxisFilter::Bilinear, kF = AxisFilter::FieldPairs;
    // Odd target widths leave trailing pixels and a last block of means
    // short of a whole load; the source ends where its rows end. A width of
    // 3 mod 4 gives the trailing pixels the second byte of a column offset
    // for a weight, which is not 0 once the offsets pass 255. Field pairs
    // at a shrink by 2 mean two rows (weight 128); by 4 the form declines.
    const Size sizes[] = {{1920, 8, 960, 4, kB, true},  {242, 10, 121, 5, kB, true}, {484, 16, 121, 4, kB, true},
                          {968, 24, 121, 3, kB, true},  {1032, 9, 129, 3, kB, true}, {70, 6, 35, 3, kB, true},
                          {350, 6, 175, 3, kB, true},   {700, 8, 175, 2, kB, true},  {66, 4, 33, 2, kB, true},
                          {12, 4, 6, 2, kB, true},      {90, 6, 30, 2, kB, false},   {100, 4, 40, 2, kB, false},
                          {1920, 16, 960, 8, kF, true}, {350, 12, 175, 6, kF, true}, {242, 20, 121, 10, kF, true},
                          {70, 10, 35, 5, kF, true},    {484, 16, 121, 4, kF, false}};
    std::mt19937 rng(7);
    for (const Size& s : sizes)
        for (const bool up : {false, true}) {
            const test::WholeImage image{{s.sw, s.sh, s.dw, s.dh}, 1, 1, 0, 7, up};
            const auto src = image.Source(rng);
            const test::GrayTables t(image.s, up ? -image.SrcStride() : image.SrcStride(), AxisFilter::Bilinear, s.rows);
            ASSERT_TRUE(t.cf == 0 && t.cl == s.dw && t.rf == 0 && t.rl == s.dh) << s.sw << "->" << s.dw;
            bool blends = false, ran = false;
            const auto plain = image.Run(src, [&](const ScaleTarget& to, const ScaleSource& from) {
                for (uint32_t y = 0; y < s.dh; ++y) {
                    blends |= (t.rowWeights[y] & 255) != 0;
                    GrayInnerRowPlain(to.pixels + intptr_t(to.stride) * y, from.pixels + RowDelta(t.rows[y]),
                                      t.block.data(), t.cols.data(), s.dw, from.stride, t.rowWeights[y]);
                }
            });
            EXPECT_EQ(blends, s.rows == kF) << "the field tables should mean two rows";
            const auto fast = image.Run(src, [&](const ScaleTarget& to, const ScaleSource& from) {
                ran = GrayHalvedRowsAvx2(to.pixels, to.stride, from.pixels, t.rows.data(), t.rowWeights.data(), s.dh,
                                         from.stride, t.block.data(), t.cols.data(), s.dw, s.sw);
            });
            EXPECT_EQ(ran, s.halves) << s.sw << "->" << s.dw;
            if (ran) EXPECT_EQ(fast, plain) << image.What(1);
            else EXPECT_EQ(fast, image.Run(src, [](auto, auto) {})) << "wrote although it declined";
        }
}

// Row tables no scale makes, so that the lower row's means are taken up by
// chains of rows: each row starting where the last one's lower row is,
// rows repeated, a weight of 0 on a held row, and rows going back up.
TEST(GrayHalvedRows, KeepTheLowerRowsMeansForTheNextRow) {
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    const uint32_t sw = 350, sh = 12, dw = 175;
    const test::GrayTables t({sw, sh, dw, 1}, int32_t(sw), AxisFilter::Bilinear, AxisFilter::Bilinear);
    // The plain rows read the row below whatever its weight: one row more.
    std::mt19937 rng(5);
    const auto src = test::RandomBytes(size_t(sw) * (sh + 1), rng);
    // Source row and weight of each target row.
    const std::vector<std::pair<uint32_t, uint32_t>> tables[] = {
        {{0, 128}, {1, 128}, {2, 128}, {3, 128}, {4, 128}, {5, 128}},
        {{0, 128}, {1, 0}, {1, 128}, {2, 0}, {2, 0}, {3, 128}, {3, 128}},
        {{4, 128}, {5, 128}, {2, 128}, {3, 0}, {3, 128}, {0, 0}, {10, 128}, {11, 0}}};
    for (const auto& rowsOf : tables) {
        const uint32_t dh = uint32_t(rowsOf.size());
        std::vector<uint32_t> offsets, weights;
        for (const auto& [row, weight] : rowsOf) {
            offsets.push_back(row * sw);
            weights.push_back(weight * 0x01010101u);
        }
        const int32_t dstStride = int32_t(dw + 5);
        std::vector<uint8_t> plain(size_t(dstStride) * dh + 64, 0x3C), fast(plain);
        for (uint32_t y = 0; y < dh; ++y)
            GrayInnerRowPlain(plain.data() + 32 + size_t(dstStride) * y, src.data() + offsets[y], t.block.data(),
                              t.cols.data(), dw, int32_t(sw), weights[y]);
        ASSERT_TRUE(GrayHalvedRowsAvx2(fast.data() + 32, dstStride, src.data(), offsets.data(), weights.data(), dh,
                                       int32_t(sw), t.block.data(), t.cols.data(), dw, sw));
        EXPECT_EQ(fast, plain) << "table of " << dh << " rows";
    }
}
#endif

}  // namespace
}  // namespace tarn
