// Area shrink: whole images at ratios whose planned blocks fit the 16-byte
// window, straddle its edge or spread wider, at whole power-of-two boxes,
// and over their own source, in every form against the plain form; the
// sweep plan's windows and repeats; and the AVX2 row ends' rounding.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "scale/area_shrink.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

using test::Shape;
using test::WholeImage;

TEST(AreaPlan, ImagesAgreeAcrossForms) {
    // Single-channel planes top-down from sources without slack; 3- and
    // 4-byte pixels bottom-up from padded rows, at the usual factors and
    // awkward ones, and blocks that repeat with periods of 1 to 4 and stop
    // repeating near the end.
    const Shape planes[] = {{96, 30, 64, 20}, {97, 31, 41, 13}, {200, 12, 180, 7},  {250, 9, 100, 4},
                            {18, 18, 9, 9},   {15, 20, 8, 10},  {1919, 6, 1280, 4}, {333, 17, 16, 3}};
    const Shape pixels[] = {{97, 31, 64, 20},  {96, 40, 48, 20},   {101, 33, 25, 8},   {160, 24, 20, 3},
                            {203, 19, 41, 13}, {333, 17, 16, 3},   {640, 9, 71, 2},    {17, 5, 16, 4},
                            {64, 32, 16, 8},   {256, 16, 32, 2},   {40, 8, 20, 2},     {222, 12, 111, 3},
                            {99, 33, 66, 22},  {201, 15, 134, 10}, {160, 20, 120, 15}, {250, 10, 200, 8},
                            {135, 9, 120, 8},  {121, 11, 55, 5},   {97, 21, 65, 14}};
    std::mt19937 rng(4);
    for (const Shape& s : planes) {
        const WholeImage image{s, 1, 1};
        image.ExpectFormsAgree(image.Source(rng), SCALE_AREA);
    }
    for (uint32_t c : {3u, 4u})
        for (const Shape& s : pixels) {
            const WholeImage image{s, c, c, 5, 7, true};
            image.ExpectFormsAgree(image.Source(rng), SCALE_AREA);
        }
}

// Every planned lane of the plan names its own sample: exactly one part of
// the window holds it, the lane's other bytes come out zero, and the window
// lies inside the row.
void CheckPlan(const AreaSweepPlan& plan, const std::vector<int32_t>& index, uint32_t per, uint32_t width,
               uint32_t srcWidth) {
    for (uint32_t b = 0; b < width / 8; ++b) {
        if (plan.kind[b] == AreaSweepPlan::Gather) continue;
        if (plan.kind[b] == AreaSweepPlan::Eights) {
            // 64 bytes from the base, column k's eight records in order.
            const int32_t base = plan.base[2 * b];
            ASSERT_GE(base, 0) << b;
            EXPECT_LE(uint32_t(base) + 64, srcWidth) << b;
            ASSERT_EQ(per, 8u);
            for (uint32_t r = 0; r < per; ++r)
                for (uint32_t k = 0; k < 8; ++k)
                    EXPECT_EQ(index[size_t(r) * width + 8 * b + k], base + int32_t(8 * k + r)) << b << " " << r;
            continue;
        }
        const uint32_t parts = plan.kind[b] == AreaSweepPlan::Narrow ? 1 : 2;
        for (uint32_t h = 0; h < 2; ++h) {
            const int32_t base = plan.base[2 * b + h];
            ASSERT_GE(base, 0) << b;
            EXPECT_LE(uint32_t(base) + 16 * parts, srcWidth) << b;
            for (uint32_t r = 0; r < per; ++r)
                for (uint32_t k = 0; k < 4; ++k) {
                    int found = 0;
                    for (uint32_t part = 0; part < parts; ++part) {
                        const uint8_t* m = plan.masks.data() + plan.maskAt[b] + (size_t(r) * parts + part) * 32 +
                                           16 * h + 4 * k;
                        EXPECT_EQ(m[1] & m[2] & m[3] & 0x80, 0x80) << "upper bytes of a lane are zero";
                        if (m[0] & 0x80) continue;
                        ++found;
                        EXPECT_EQ(base + int32_t(16 * part) + m[0], index[size_t(r) * width + 8 * b + 4 * h + k])
                            << b << " " << r << " " << k;
                    }
                    EXPECT_EQ(found, 1) << b << " " << r << " " << k;
                }
        }
    }
}

TEST(AreaPlan, WindowsStayInsideTheRowAndHoldTheirSamples) {
    struct Case {
        uint32_t pitch2;  // twice the samples between columns
        uint32_t srcWidth;
        AreaSweepPlan::Kind kind;
    };
    // 1.5 samples a column: a half spreads over 7 samples; 6 apart: over 19
    // (two windows); 12 apart: over 37 (gathered); a row of 30 samples is
    // too narrow for two windows (its later blocks collapse onto the last
    // sample and fit one).
    const Case cases[] = {{3, 37, AreaSweepPlan::Narrow},
                          {12, 145, AreaSweepPlan::Wide},
                          {24, 289, AreaSweepPlan::Gather},
                          {12, 30, AreaSweepPlan::Gather}};
    const uint32_t width = 24, per = 2;
    for (const Case& c : cases) {
        std::vector<int32_t> index(size_t(per) * width);
        for (uint32_t x = 0; x < width; ++x)
            for (uint32_t r = 0; r < per; ++r)
                index[size_t(r) * width + x] = int32_t(std::min(c.srcWidth - 1, x * c.pitch2 / 2 + r));
        const AreaSweepPlan plan = BuildAreaSweepPlan(index.data(), per, width, c.srcWidth);
        ASSERT_EQ(plan.kind.size(), 3u);
        EXPECT_EQ(plan.kind[0], c.kind) << c.pitch2;
        bool gathers = false;
        for (uint8_t k : plan.kind) gathers |= k == AreaSweepPlan::Gather;
        EXPECT_EQ(plan.gathers, gathers);
        // A narrow block's 8 columns here read 13 samples: one window serves both halves.
        if (c.kind == AreaSweepPlan::Narrow) {
            EXPECT_EQ(plan.base[0], plan.base[1]);
        }
        CheckPlan(plan, index, per, width, c.srcWidth);
    }
}

// Planes exactly 8 samples a column across and not a whole step down (the
// chroma of a 4:2:0 frame shrunk by 8 at an odd luma height): blocks of
// eight columns read 64 bytes whole. Rows of whole blocks, of blocks and
// leftover columns, of a single block ending with the row; top-down and
// bottom-up, padded or not.
TEST(AreaPlan, EightSamplesAcrossAgreeAcrossForms) {
    const Shape planes[] = {{960, 37, 120, 5}, {168, 27, 21, 4}, {64, 9, 8, 2}, {72, 17, 9, 3}, {248, 41, 31, 6}};
    std::mt19937 rng(8);
    for (const Shape& s : planes)
        for (bool up : {false, true}) {
            const WholeImage image{s, 1, 1, up ? 3 : 0, up ? 5 : 0, up};
            image.ExpectFormsAgree(image.Source(rng), SCALE_AREA);
            // All 255: the largest sums the rows carry.
            image.ExpectFormsAgree(std::vector<uint8_t>(image.Source(rng).size(), 255), SCALE_AREA);
        }
}

TEST(AreaPlan, EightSamplesAcrossAreReadWhole) {
    // Eight records a column, column x reading bytes 8x .. 8x + 7: every
    // block is read whole. A column of block 1 reading one sample late
    // keeps that block to the planned windows.
    const uint32_t width = 24, per = 8;
    std::vector<int32_t> index(size_t(per) * width);
    for (uint32_t x = 0; x < width; ++x)
        for (uint32_t r = 0; r < per; ++r) index[size_t(r) * width + x] = int32_t(8 * x + r);
    AreaSweepPlan plan = BuildAreaSweepPlan(index.data(), per, width, 8 * width);
    EXPECT_EQ(plan.kind, std::vector<uint8_t>(3, AreaSweepPlan::Eights));
    CheckPlan(plan, index, per, width, 8 * width);
    index[size_t(3) * width + 10] += 1;
    plan = BuildAreaSweepPlan(index.data(), per, width, 8 * width);
    EXPECT_EQ(plan.kind[0], AreaSweepPlan::Eights);
    EXPECT_NE(plan.kind[1], AreaSweepPlan::Eights);
    EXPECT_EQ(plan.kind[2], AreaSweepPlan::Eights);
    CheckPlan(plan, index, per, width, 8 * width);
    // Seven records a column never read eight.
    plan = BuildAreaSweepPlan(index.data(), 7, width, 8 * width);
    for (uint8_t k : plan.kind) EXPECT_NE(k, AreaSweepPlan::Eights);
}

TEST(AreaPlan, RepeatingBlocksAreWhatTheyClaim) {
    // Columns 1.5 samples apart (a period of one block at 4 bytes a pixel,
    // of three at 3): every block the plan calls repeating has the kind,
    // shuffles and weights of its place in the first period and windows
    // moved on by whole periods; a weight changed in block 7 ends the run
    // there, and a table with no pattern repeats nothing.
    for (uint32_t c : {1u, 3u, 4u}) {
        const uint32_t pixels = 48 / c * 2, width = pixels * c, per = 2, srcWidth = (pixels * 3 / 2 + 2) * c;
        std::vector<int32_t> index(size_t(per) * width);
        std::vector<float> weight(size_t(per) * width);
        for (uint32_t x = 0; x < pixels; ++x)
            for (uint32_t r = 0; r < per; ++r)
                for (uint32_t ch = 0; ch < c; ++ch) {
                    index[size_t(r) * width + x * c + ch] = int32_t((x * 3 / 2 + r) * c + ch);
                    weight[size_t(r) * width + x * c + ch] = (x % 2 == r) ? 0.25f : 0.5f;
                }
        AreaSweepPlan plan = BuildAreaSweepPlan(index.data(), per, width, srcWidth);
        FindAreaSweepPeriod(plan, weight.data(), per, width);
        const uint32_t blocks = width / 8;
        const uint32_t wantPeriod = c == 3 ? 3 : c == 4 ? 1 : 1;
        ASSERT_EQ(plan.period, wantPeriod) << c;
        EXPECT_GE(plan.repeats, blocks - 2) << c;  // the last windows may be pulled back inside the row
        const uint32_t p = plan.period;
        for (uint32_t b = 0; b < plan.repeats; ++b) {
            const uint32_t q = b % p, g = b / p;
            ASSERT_NE(plan.kind[b], AreaSweepPlan::Gather);
            EXPECT_EQ(plan.kind[b], plan.kind[q]);
            for (uint32_t h = 0; h < 2; ++h)
                EXPECT_EQ(plan.base[2 * b + h], plan.base[2 * q + h] + int32_t(g) * plan.advance) << c << " " << b;
            const size_t bytes = size_t(per) * (plan.kind[b] == AreaSweepPlan::Narrow ? 32 : 64);
            EXPECT_TRUE(std::equal(plan.masks.begin() + plan.maskAt[b], plan.masks.begin() + plan.maskAt[b] + bytes,
                                   plan.masks.begin() + plan.maskAt[q]));
            for (uint32_t r = 0; r < per; ++r)
                for (uint32_t j = 0; j < 8; ++j)
                    EXPECT_EQ(weight[size_t(r) * width + 8 * b + j], plan.weights[size_t(r) * 8 * p + 8 * q + j]);
        }
        weight[8 * 7 + 3] = 0.75f;
        FindAreaSweepPeriod(plan, weight.data(), per, width);
        EXPECT_EQ(plan.repeats, 7u) << c;
        for (auto& w : weight) w = float(&w - weight.data());
        FindAreaSweepPeriod(plan, weight.data(), per, width);
        EXPECT_EQ(plan.period, 0u) << c;
    }
}

// Whole factors whose product is a power of two take the exact box sums:
// all 255 (sums at the top of 16 bits) and random bytes; sources that end
// where their last pixel ends.
void ExpectExactBoxesAgree(const WholeImage& image, std::mt19937& rng) {
    const Shape& s = image.s;
    ASSERT_NE(AreaExactShift(s.sw, s.sh, s.dw, s.dh), 0u) << image.What(SCALE_AREA);
    for (bool saturated : {true, false}) {
        auto src = image.Source(rng, -image.srcPad);
        if (saturated) std::fill(src.begin(), src.end(), 255);
        const auto plain = image.ExpectFormsAgree(src, SCALE_AREA);
        for (uint32_t y = 0; saturated && y < s.dh; ++y)
            for (uint32_t x = 0; x < s.dw * image.db; ++x)
                ASSERT_EQ(plain[WholeImage::kMargin + size_t(y) * image.DstStride() + x], 255)
                    << image.What(SCALE_AREA);
    }
}

TEST(AreaPlan, WholePowerOfTwoBoxesAgreeAcrossForms) {
    // Products 4 to 256 (16 x 16, 2 x 128) for 1, 3 and 4 bytes a pixel,
    // widths whose rows leave vector tails.
    const Shape sizes[] = {{64, 32, 4, 2},  {34, 6, 17, 3}, {76, 12, 19, 3}, {168, 16, 21, 2}, {46, 32, 23, 2},
                           {132, 4, 33, 2}, {32, 256, 16, 2}, {18, 2, 9, 1}, {16, 2, 8, 1},  {62, 8, 31, 2}};
    std::mt19937 rng(9);
    for (uint32_t c : {1u, 3u, 4u})
        for (const Shape& s : sizes) ExpectExactBoxesAgree({s, c, c}, rng);
    // Single-channel boxes 2 or 4 samples wide and 1 to 128 rows tall: rows
    // of fewer than 32 (or 64) targets, exactly that many, and rows whose
    // last 32 (or 64) overlap the ones before, top-down and bottom-up,
    // padded strides.
    const uint32_t boxes[][2] = {{2, 1}, {2, 2}, {2, 4}, {2, 16}, {2, 128}, {4, 1}, {4, 4}, {4, 8}, {4, 64}};
    for (const auto& [fx, fy] : boxes)
        for (uint32_t dw : {5u, 31u, 32u, 33u, 63u, 64u, 65u, 70u, 96u, 128u, 241u})
            for (bool up : {false, true}) {
                const uint32_t dh = fy >= 64 ? 2 : 3;
                ExpectExactBoxesAgree({{dw * fx, dh * fy, dw, dh}, 1, 1, up ? 3 : 0, 5, up}, rng);
            }
    EXPECT_EQ(AreaExactShift(96, 30, 64, 20), 0u);  // 1.5
    EXPECT_EQ(AreaExactShift(90, 30, 30, 10), 0u);  // 3 x 3
    EXPECT_EQ(AreaExactShift(64, 64, 2, 2), 0u);    // 32 x 32: past 16 bits
    EXPECT_EQ(AreaExactShift(64, 30, 16, 15), 3u);  // 4 x 2
}

TEST(AreaPlan, PixelPairsAcrossAgreeAcrossForms) {
    // 3- and 4-byte pixels halved across (boxes 1, 2 and 4 rows tall)
    // through the area shrink itself: target heights that leave 0 to 3 rows
    // after whole groups of four, widths with and without a tail past whole
    // eights, both row orders, padded strides; 3-byte sources end where
    // their last pixel ends.
    std::mt19937 rng(13);
    for (uint32_t c : {3u, 4u})
        for (uint32_t fy : {1u, 2u, 4u})
            for (uint32_t dw : {8u, 9u, 10u, 15u, 16u, 17u, 33u, 61u})
                for (uint32_t dh : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 9u})
                    for (bool up : {false, true}) {
                        const WholeImage image{{2 * dw, fy * dh, dw, dh}, c, c, 12, 20, up};
                        ASSERT_NE(AreaExactShift(2 * dw, fy * dh, dw, dh), 0u);
                        image.ExpectFormsAgree(
                            image.Source(rng, c == 3 ? -image.srcPad : 0),
                            [](const ScaleTarget& t, const ScaleSource& f) { AreaShrink(t, f); },
                            image.What(SCALE_AREA));
                    }
}

TEST(AreaPlan, ShrinksOverTheirOwnSourceKeepTheRowOrder) {
    // The target lies in the source's own buffer, from row `lead` on with the
    // source's stride (some 16 bytes into the row for the float sweeps): a
    // target row written may change source rows a later target row reads,
    // and every form must read what the plain form, which sums each source
    // row whole before the target row it ends is written, reads. Lead 0 is
    // the usual in-place shrink. The halving pairs first, then exact boxes
    // whose rows end with a block that overlaps the one before: part of its
    // source lies under target bytes already written, and only its pixels
    // from other source bytes may be kept.
    const struct {
        uint32_t c;
        Shape s;
        uint32_t skew;
    } cases[] = {{4, {74, 14, 37, 7}, 0},   {3, {74, 14, 37, 7}, 0},    {4, {18, 4, 9, 2}, 0},
                 {3, {20, 6, 10, 3}, 0},    {4, {36, 8, 9, 2}, 0},      {3, {40, 8, 10, 2}, 0},
                 {3, {48, 30, 32, 20}, 16}, {3, {61, 40, 40, 9}, 16},   {4, {48, 30, 32, 20}, 16},
                 {4, {61, 40, 40, 9}, 16}};
    std::mt19937 rng(17);
    for (const auto& [c, s, skew] : cases) {
        const int32_t stride = int32_t(s.sw * c);
        const auto image = test::RandomBytes(size_t(stride) * (s.sh + 6), rng);
        for (uint32_t lead : {0u, 1u, 2u, 3u, 4u})
            test::ExpectFormsAgree(
                [&] {
                    std::vector<uint8_t> buffer(image);
                    AreaShrink({buffer.data() + size_t(lead) * stride + (lead > 1 ? skew : 0), s.dw, s.dh, stride, c},
                               {buffer.data(), s.sw, s.sh, stride, c});
                    return buffer;
                },
                test::Label(c, "bytes", test::Describe(s), "lead", lead));
    }
}

#if defined(TARN_HAVE_X86_SIMD)
TEST(AreaPlan, RowEndsRoundHalvesAndWrapLikeThePlainForm) {
    // Sums on either side of every k + 0.5, tiny ones, exact halves and
    // sums past 255 (whose byte wraps), whole and split by f, with the
    // carries they leave: the AVX2 row ends against the plain ones.
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    std::vector<float> values = {0.0f, 1e-30f, 0.25f, 255.49998f, 255.5f, 256.0f, 300.7f, 511.5f, 1000.25f};
    // The 24 floats on either side of every k + 0.5 and of every whole k:
    // where a sum's fraction is closest to the half it rounds at.
    for (float k = 0; k < 260; k += 1)
        for (float at : {k + 0.5f, k}) {
            float below = at, above = at;
            values.push_back(at);
            for (int i = 0; i < 24; ++i) {
                values.push_back(below = std::nextafter(below, 0.0f));
                values.push_back(above = std::nextafter(above, 1000.0f));
            }
        }
    const uint32_t total = uint32_t(values.size());
    std::mt19937 rng(3);
    std::vector<float> carry0(total);
    for (auto& c : carry0) c = (rng() % 4 == 0) ? float(rng() % 64) * 0.125f : 0.0f;
    for (float f : {0.0f, 0.5f, 0.3f, 0.999f}) {
        std::vector<float> curA(values), curB(values), carA(carry0), carB(carry0);
        std::vector<uint8_t> outA(total), outB(total);
        if (f == 0.0f) {
            AreaEmitRowPlain(outA.data(), curA.data(), carA.data(), total);
            AreaEmitRowAvx2(outB.data(), curB.data(), carB.data(), total);
        } else {
            AreaEmitSplitRowPlain(outA.data(), curA.data(), carA.data(), total, f);
            AreaEmitSplitRowAvx2(outB.data(), curB.data(), carB.data(), total, f);
        }
        EXPECT_EQ(outB, outA) << "f " << f;
        EXPECT_EQ(carB, carA) << "f " << f;
    }
}

TEST(AreaPlan, EightSamplesAcrossSumInRecordOrder) {
    // A row's sums, eight records a column read whole, against the plain
    // sweep's floats: weights of every size, unlike each other, so that
    // adding the products in any other order would round differently.
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    std::mt19937 rng(9);
    std::uniform_real_distribution<float> some(1e-4f, 0.2f);
    for (uint32_t width : {8u, 21u, 40u}) {
        const uint32_t per = 8, srcWidth = 8 * width + 3;
        std::vector<int32_t> index(size_t(per) * width);
        std::vector<float> weight(index.size());
        for (uint32_t x = 0; x < width; ++x)
            for (uint32_t r = 0; r < per; ++r) {
                index[size_t(r) * width + x] = int32_t(8 * x + r);
                weight[size_t(r) * width + x] = some(rng);
            }
        const AreaSweepPlan plan = BuildAreaSweepPlan(index.data(), per, width, srcWidth);
        for (uint8_t k : plan.kind) ASSERT_EQ(k, AreaSweepPlan::Eights);
        for (int round = 0; round < 20; ++round) {
            const std::vector<uint8_t> row = test::RandomBytes(srcWidth, rng);
            std::vector<float> plain(width, 0.0f), carry(width, 0.0f), scratch(srcWidth + 16);
            AreaGrayRowPlain(row.data(), index.data(), weight.data(), per, width, plain.data());
            AreaGrayRowEndPlannedAvx2(row.data(), srcWidth, index.data(), weight.data(), per, width, scratch.data(), 0,
                                      0.0f, carry.data(), nullptr, &plan);
            ASSERT_EQ(carry, plain) << width;
        }
    }
}
#endif

}  // namespace
}  // namespace tarn
