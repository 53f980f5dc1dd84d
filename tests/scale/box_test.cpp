// Box shrink kernels against the exact floor of the mean, with the known
// deviations of the shift chains, and the band groups of the row driver.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "scale/box_shrink.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

using test::Image;

// One pixel of family F over an r x c box of a random (or constant) source.
template <BoxFamily F>
uint8_t BoxOnce(const std::vector<uint8_t>& src, int32_t stride, uint32_t r, uint32_t c, uint32_t lane = 0) {
    uint8_t out[8] = {};
    const uint32_t offset = 0, count = c;
    BoxShrinkRowPlain<F>(out, src.data(), &offset, &count, 1, stride, r);
    return out[lane];
}

TEST(BoxKernel, WithinThreeBelowTheFloorOfTheMean) {
    std::mt19937 rng(7);
    const int32_t stride = 16 * 4 + 4;
    std::vector<uint8_t> src(size_t(stride) * 16 + 8);
    for (int trial = 0; trial < 6; ++trial) {
        for (auto& b : src) b = trial == 0 ? 255 : trial == 1 ? 0 : uint8_t(rng());
        for (uint32_t r = 1; r <= 16; ++r)
            for (uint32_t c = 1; c <= 16; ++c) {
                if (r == 2 && c == 13) continue;  // reads another box, tested below
                for (uint32_t lane = 0; lane < 4; ++lane) {
                    uint32_t sum = 0;
                    for (uint32_t i = 0; i < r; ++i)
                        for (uint32_t j = 0; j < c; ++j) sum += src[i * stride + j * 4 + lane];
                    const int floorMean = int(sum / (r * c));
                    const int got = BoxOnce<BoxFamily::Bytes44>(src, stride, r, c, lane);
                    const bool over = (r == 5 && c == 7) || (r == 7 && c == 10);
                    EXPECT_GE(got, floorMean - 3) << r << "x" << c;
                    if (!over) EXPECT_LE(got, floorMean) << r << "x" << c;
                    else EXPECT_LE(got, std::min(floorMean + 3, 255)) << r << "x" << c;
                }
            }
    }
}

TEST(BoxKernel, KnownValues) {
    const int32_t stride = 64;
    std::vector<uint8_t> ff(size_t(stride) * 17, 255);
    // 3 x 3: 2295 through 1 1 4 1 1 and a shift of 4 is 254.
    EXPECT_EQ(BoxOnce<BoxFamily::Bytes44>(ff, stride, 3, 3), 254);
    EXPECT_EQ(BoxOnce<BoxFamily::Bytes44>(ff, stride, 16, 16), 255);
    // 5 x 7: the multiplier is too large, 257 saturates to 255.
    EXPECT_EQ(BoxOnce<BoxFamily::Bytes44>(ff, stride, 5, 7), 255);
    // 3 x 13: 9945 through 1 2 gives 252 from 3 to 3 bytes, through 1 2 3 254 from 4 to 3.
    EXPECT_EQ(BoxOnce<BoxFamily::Bytes33>(ff, stride, 3, 13), 252);
    EXPECT_EQ(BoxOnce<BoxFamily::Bytes43>(ff, stride, 3, 13), 254);
    EXPECT_EQ(BoxOnce<BoxFamily::Bytes44>(ff, stride, 13, 3), 254);
    // 2 x 2 is an exact, truncated mean: (1 + 2 + 3 + 5) / 4 = 2.
    std::vector<uint8_t> q(size_t(stride) * 2, 0);
    q[0] = 1, q[4] = 2, q[stride] = 3, q[stride + 4] = 5;
    EXPECT_EQ(BoxOnce<BoxFamily::Bytes44>(q, stride, 2, 2), 2);
}

TEST(BoxKernel, TwoByThirteenReadsTheSecondRowOneSampleLeft) {
    // Only the sample left of the box on row 1 is set (208): families Bytes33,
    // Bytes43 and Bytes44 take it in (208 / 26 through 3 1 1 2 1 -> 7),
    // Bytes34 does not.
    const int32_t stride = 80;
    std::vector<uint8_t> s(size_t(stride) * 2 + 8, 0);
    s[stride] = 208;
    uint8_t out[8] = {};
    const uint32_t count = 13;
    const uint32_t off4 = 4, off3 = 3;
    BoxShrinkRowPlain<BoxFamily::Bytes44>(out, s.data(), &off4, &count, 1, stride, 2);
    EXPECT_EQ(out[0], 7);
    BoxShrinkRowPlain<BoxFamily::Bytes43>(out, s.data(), &off4, &count, 1, stride, 2);
    EXPECT_EQ(out[0], 7);
    BoxShrinkRowPlain<BoxFamily::Bytes33>(out, s.data(), &off3, &count, 1, stride, 2);
    EXPECT_EQ(out[0], 7);
    BoxShrinkRowPlain<BoxFamily::Bytes34>(out, s.data(), &off3, &count, 1, stride, 2);
    EXPECT_EQ(out[0], 0);
}

TEST(BoxKernel, ZeroCountLagsAndBadRowCountsLeaveTheRow) {
    std::vector<uint8_t> s = {10, 10, 10, 10, 20, 20, 20, 20, 30, 30, 30, 30, 0, 0, 0, 0};
    const uint32_t offsets[3] = {0, 4, 8}, counts[3] = {1, 0, 1};
    uint8_t out[12];
    std::fill(out, out + 12, 0xA5);
    BoxShrinkRowPlain<BoxFamily::Bytes44>(out, s.data(), offsets, counts, 3, 16, 1);
    EXPECT_EQ(out[0], 10);
    EXPECT_EQ(out[4], 0) << "count 0 is a black pixel";
    EXPECT_EQ(out[8], 20) << "the pixel after it reads the lagging offset";
    for (uint32_t r : {0u, 17u, 0x10002u}) {
        std::fill(out, out + 12, 0xA5);
        BoxShrinkRowPlain<BoxFamily::Bytes44>(out, s.data(), offsets, counts, 3, 16, r);
        EXPECT_EQ(out[0], 0xA5) << r;
    }
}

TEST(BoxExact, MeansAndFades) {
    // 2 samples x 2 rows at source pitch 4, target pitch 4: exact truncated
    // means of the first three bytes; the fourth target byte is not written.
    std::vector<uint8_t> s = {10, 20, 30, 40, 11, 21, 33, 41, 12, 22, 30, 42, 13, 23, 31, 43};
    const uint32_t offsets[2] = {0, 0}, counts[2] = {2, 0};
    uint8_t out[8];
    std::fill(out, out + 8, 0xA5);
    BoxRowExact(out, s.data(), offsets, counts, 2, 8, 2, 4, 4, ScaleBounds::Unchecked());
    EXPECT_EQ(out[0], 11);
    EXPECT_EQ(out[1], 21);
    EXPECT_EQ(out[2], 31);
    EXPECT_EQ(out[3], 0xA5);
    EXPECT_EQ(out[4], 0xA5) << "count 0 leaves the target alone";
    // Fade: no outside parts still gives a = 254: (sum * 254 / 4) / 255.
    const uint8_t bg[4] = {100, 100, 100, 100};
    const uint32_t fc[2] = {2, 0x00FF0000};
    BoxRowFade(out, s.data(), offsets, fc, 2, 8, 2, 4, 4, bg, ScaleBounds::Unchecked());
    EXPECT_EQ(out[0], (46 * 254 / 4 + 100 * 1) / 255);
    EXPECT_EQ(out[4], 100) << "no samples: the background";
    // Half outside on both axes: a = (128 * 128) >> 8 = 64.
    const uint32_t half[1] = {0x007F0002};
    BoxRowFade(out, s.data(), offsets, half, 1, 8, 0x007F0002, 4, 4, bg, ScaleBounds::Unchecked());
    EXPECT_EQ(out[0], (46 * 64 / 4 + 100 * 191) / 255);
}

TEST(BoxExact, BoundsZeroReadsAndDropWritesOutside) {
    // One box of 2 samples x 1 row: the second sample lies outside the
    // source bounds and reads as 0; the third target byte lies outside the
    // target bounds and keeps its value.
    const std::vector<uint8_t> s(16, 90);
    const uint32_t offsets[1] = {0}, counts[1] = {2};
    uint8_t out[4] = {1, 2, 3, 4};
    const ScaleBounds bounds{ByteSpan(AddrOf(out), AddrOf(out) + 2), ByteSpan(AddrOf(s.data()), AddrOf(s.data()) + 4)};
    BoxRowExact(out, s.data(), offsets, counts, 1, 16, 1, 4, 4, bounds);
    EXPECT_EQ(out[0], 45);
    EXPECT_EQ(out[1], 45);
    EXPECT_EQ(out[2], 3);
    const uint8_t bg[4] = {0, 0, 0, 0};
    BoxRowFade(out, s.data(), offsets, counts, 1, 16, 1, 4, 4, bg, bounds);
    EXPECT_EQ(out[0], (90 * 254 / 2) / 255) << "the mean of 90 and 0, faded as a full box";
    EXPECT_EQ(out[2], 3);
}

TEST(BoxDriver, ShrinkByTwoThroughScaleImage) {
    Image src(8, 8, 4), dst(4, 4, 4);
    for (uint32_t y = 0; y < 8; ++y)
        for (uint32_t x = 0; x < 8; ++x)
            for (uint32_t c = 0; c < 4; ++c) src.at(x, y)[c] = uint8_t(x * 20 + y * 3 + c);
    test::Scale(dst, src, 3);
    // Boxes of 2 x 2 from (2i, 2j): floor of the mean, all four lanes.
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 4; ++x)
            for (uint32_t c = 0; c < 4; ++c)
                EXPECT_EQ(dst.at(x, y)[c], (160 * x + 40 + 24 * y + 6 + 4 * c) / 4) << x << "," << y;
}

TEST(BoxDriver, FadeFromFourToThreeBytesSkipsTheBottomBand) {
    // 8 x 8 of 200 to 4 x 4 in mode 4: the last column and row are band
    // entries (a = 254: 200 * 254 / 255 = 199). From 4 to 3 bytes it stops before the
    // bottom band below a factor of 16; from 4 to 4 it is written.
    Image src(8, 8, 4), d3(4, 4, 3), d4(4, 4, 4);
    std::fill(src.data.begin(), src.data.end(), uint8_t(200));
    test::Scale(d3, src, 4);
    test::Scale(d4, src, 4);
    EXPECT_EQ(d3.at(0, 0)[0], 200);
    EXPECT_EQ(d3.at(3, 0)[0], 199);
    EXPECT_EQ(d3.at(0, 3)[0], test::kCanary);
    EXPECT_EQ(d4.at(0, 3)[0], 199);
    EXPECT_EQ(d4.at(0, 0)[3], 200) << "the fast path shrinks the fourth lane";
    // From a factor of 16 the exact path runs; a 4-byte target keeps its fourth byte.
    Image big(32, 32, 4), d(2, 2, 4);
    std::fill(big.data.begin(), big.data.end(), uint8_t(90));
    test::Scale(d, big, 3);
    EXPECT_EQ(d.at(1, 1)[2], 90);
    EXPECT_EQ(d.at(1, 1)[3], test::kCanary);
}

TEST(BoxDriver, AreaFallBackCanReachCountZero) {
    // Mode 6 with the source wider only: the box driver runs with a row step
    // of 0.5, where every other row count is 0 and the row is left alone.
    Image src(8, 4, 4), dst(4, 8, 4);
    std::fill(src.data.begin(), src.data.end(), uint8_t(60));
    test::Scale(dst, src, 6);
    EXPECT_EQ(dst.at(0, 0)[0], test::kCanary) << "rows 0: kb = 0, count 0";
    EXPECT_EQ(dst.at(0, 1)[0], 60);
}

}  // namespace
}  // namespace tarn
