// Axis tables against values worked by hand from the table rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "scale/axis_table.h"
#include "scale/scale_plan.h"

namespace tarn {
namespace {

constexpr uint32_t kFull = 0xFFFFFFFFu;
constexpr uint32_t W(uint32_t v) { return v * 0x01010101u; }

struct Built {
    std::vector<uint32_t> w, o;
    uint32_t first = 99, last = 99;
};

// Modes 0 to 6 are the filters in order.
AxisFilter F(uint32_t mode) { return static_cast<AxisFilter>(mode); }

Built Build(uint32_t m, uint32_t n, int32_t pitch, double start, double step, uint32_t mode) {
    Built b;
    b.w.assign(m + 1, 0xDEADBEEF);
    b.o.assign(m + 1, 0xDEADBEEF);
    BuildAxisTable(m, n, b.w.data(), b.o.data(), pitch, start, step, &b.first, &b.last, F(mode));
    return b;
}

void Expect(const Built& b, std::vector<uint32_t> w, std::vector<uint32_t> o, uint32_t first,
            uint32_t last) {
    for (size_t i = 0; i < o.size(); ++i) EXPECT_EQ(b.o[i], o[i]) << "offset " << i;
    for (size_t i = 0; i < w.size(); ++i) EXPECT_EQ(b.w[i], w[i]) << "weight " << i;
    EXPECT_EQ(b.o[o.size()], 0xDEADBEEF) << "nothing written past the table";
    EXPECT_EQ(b.first, first);
    EXPECT_EQ(b.last, last);
}

TEST(AxisTable, NearestHalfStepIn) {
    // p = 0.25, 0.75, ... 3.75; k = 3 is the last sample and marks the band.
    Built b = Build(8, 4, 3, 0.0, 0.5, 0);
    Expect(b, {}, {0, 0, 3, 3, 6, 6, 9, 9}, 0, 6);
    EXPECT_EQ(b.w[0], 0xDEADBEEF) << "mode 0 writes no weights";
    // Start 2 before the source at step 1: p = -1.5, -0.5, 0.5: k = -1, 0, 0.
    Expect(Build(3, 4, 4, -2.0, 1.0, 0), {}, {0, 0, 0}, 1, 3);
}

TEST(AxisTable, BilinearThreeByteLimit) {
    // p = -0.25 (clamped interior, weight 0), 0.25 -> 64, 0.75 -> 191, ...
    // With 3-byte pixels the table jumps to the last column at k = n - 2.
    Expect(Build(8, 4, 3, 0.0, 0.5, 1), {0, W(64), W(191), W(64), W(191), kFull, kFull, kFull},
           {0, 0, 0, 3, 3, 9, 9, 9}, 0, 5);
    // 4-byte pixels interpolate up to the last column.
    Expect(Build(8, 4, 4, 0.0, 0.5, 1), {0, W(64), W(191), W(64), W(191), W(64), W(191), kFull},
           {0, 0, 0, 4, 4, 8, 8, 12}, 0, 7);
}

TEST(AxisTable, BilinearBelowMinusOneButNotBelowMinusStep) {
    // p = -1.2: not below -3, k = -1: first sample, weight 255, band mark.
    // Then p = 1.8 and 4.8: k = 1 and 4 with fraction 0.8 -> 204.
    Expect(Build(3, 10, 4, -2.2, 3.0, 1), {kFull, W(204), W(204)}, {0, 4, 16}, 1, 3);
    // Below -step and above n - 1 + step.
    Expect(Build(2, 4, 4, -10.0, 9.0, 1), {kFull, kFull}, {0, 12}, 1, 1);
}

TEST(AxisTable, FadeAtBothEnds) {
    // Step 0.5 from 0: the first entry is a band entry with fade weight
    // trunc(0.25 / 0.5 * 255 + 0.5) = 128, where mode 1 clamps (weight 0).
    // The last: 255 - trunc(0.25 / 0.5 * 255 + 0.5) = 127.
    Expect(Build(8, 4, 4, 0.0, 0.5, 2), {W(128), W(64), W(191), W(64), W(191), W(64), W(191), W(127)},
           {0, 0, 0, 4, 4, 8, 8, 12}, 1, 7);
    // Step 1 from 2 over 4 samples: p = 2, 3, 4, 5. At 3 the fade is 255, at 4
    // (not above n - 1 + step) it is 0, at 5 the entry is wholly outside.
    Expect(Build(4, 4, 4, 2.0, 1.0, 2), {0, kFull, 0, 0}, {8, 12, 12, 12}, 0, 1);
    // Below -step: weight 0.
    Expect(Build(1, 4, 4, -5.0, 1.0, 2), {0}, {0}, 1, 1);
}

TEST(AxisTable, BoxCounts) {
    // Step 2.5 over 10 samples: boxes 0-1, 2-4, 5-6, 7-9 (the last runs past).
    Expect(Build(4, 10, 4, 0.0, 2.5, 3), {2, 3, 2, 3}, {0, 8, 20, 28}, 0, 3);
    // Start -1.5, step 3: the first box holds sample 0 only and is a band entry.
    Expect(Build(2, 10, 4, -1.5, 3.0, 3), {1, 3}, {0, 4}, 1, 2);
    // Wholly before: kb = -1 and 0 give count 0.
    Expect(Build(3, 10, 4, -3.5, 2.0, 3), {0, 0, 2}, {0, 0, 0}, 2, 3);
}

TEST(AxisTable, BoxFadeWords) {
    // Near edge: 255 - trunc(1.5 * 255 / 3 + 0.5) = 127 over a count of 1.
    Expect(Build(2, 10, 4, -1.5, 3.0, 4), {0x007F0001, 3}, {0, 4}, 1, 2);
    // Far edge over 9 samples, p = 7.5: h = trunc(255 - (1.5 * 255 / 2.5 + 0.5)) = 101,
    // count 2; then wholly outside.
    Expect(Build(5, 9, 4, 0.0, 2.5, 4), {2, 3, 2, 0x00650002, 0x00FF0000}, {0, 8, 20, 28, 32}, 0, 3);
    Expect(Build(1, 9, 4, -5.0, 2.0, 4), {0x00FF0000}, {0}, 1, 1);
}

TEST(AxisTable, FieldPairs) {
    // 8 rows of stride 100 at step 1: pairs read even row 2k and odd 2k + 1.
    Expect(Build(8, 8, 100, 0.0, 1.0, 5), {0, 0, 0, 0, 0, 0, 0, 0}, {0, 100, 200, 300, 400, 500, 600, 700},
           0, 6);
    // At the far end the weight is not inverted (mode 2 would give 127).
    Built b = Build(16, 8, 100, 0.0, 0.5, 5);
    EXPECT_EQ(b.w[14], W(128));
    EXPECT_EQ(b.w[15], W(128));
    EXPECT_EQ(b.o[14], 600u);
    EXPECT_EQ(b.o[15], 700u);
    EXPECT_EQ(b.w[2], W(64));
    EXPECT_EQ(b.last, 14u);
    // Before the source the first mark skips the whole pair.
    Expect(Build(4, 8, 100, -2.0, 2.0, 5), {W(64), W(64), W(128), W(128)}, {0, 100, 0, 100}, 2, 4);
    // An odd height leaves the last row unwritten.
    Built odd = Build(3, 8, 100, 0.0, 1.0, 5);
    EXPECT_EQ(odd.o[2], 0xDEADBEEF);
    EXPECT_EQ(odd.w[2], 0xDEADBEEF);
}

TEST(AxisTable, AreaWordsOfMixedDrivers) {
    // Step 2.5 over 11: K = -0.25; interior words trunc((K + p - k) * 255 / 15),
    // one number, not replicated: -4 and 4 alternate; the tail has
    // h = trunc(255 - (1 * 255 / 2.5 + 0.5)) = 152 over a count of 1.
    Expect(Build(5, 11, 4, 0.0, 2.5, 6), {0xFFFFFFFC, 4, 0xFFFFFFFC, 4, 0x00980001}, {0, 8, 20, 28, 40},
           0, 4);
    // Step 2 over 10: the last box ends at n, count n - k = 2 with no fade.
    Expect(Build(5, 10, 4, 0.0, 2.0, 6), {0xFFFFFFF6, 0xFFFFFFF6, 0xFFFFFFF6, 0xFFFFFFF6, 2},
           {0, 8, 16, 24, 32}, 0, 4);
    // Before the source: partly (255 - trunc(0.5 * 255 / 2 + 0.5) = 191) and wholly.
    Expect(Build(1, 10, 4, -1.5, 2.0, 6), {0x00BF0001}, {0}, 1, 1);
    Expect(Build(1, 10, 4, -2.5, 2.0, 6), {0x00FF0000}, {0}, 1, 1);
    // Beyond the source.
    Expect(Build(1, 10, 4, 12.0, 2.0, 6), {0x00FF0000}, {36}, 0, 0);
}

TEST(AxisTable, ModesAboveSixWriteNothing) {
    // The planar-only modes have no multi-channel table: their plan writes nothing.
    const uint8_t px[16] = {};
    uint8_t out[16];
    const ScaleTarget t{out, 2, 2, 8, 4};
    const ScaleSource s{px, 2, 2, 8, 4};
    EXPECT_EQ(PlanImage(0xFF01, t, s, {1.0, 1.0}).driver, ScaleDriver::None);
    Built none = Build(0, 4, 4, 0.0, 1.0, 1);
    EXPECT_EQ(none.o[0], 0xDEADBEEF);
}

TEST(AxisTable, AccumulatedPositionAndE) {
    // p starts at 1 - 1e-10 (start, step 1, half step minus half): the E moves
    // k to 1 in the multi-channel table (fraction below 0, weight 0), where
    // the single-channel columns take k = 0 with weight 255 (checked below).
    Built b = Build(1, 4, 4, 1.0 - 1e-10, 1.0, 1);
    EXPECT_EQ(b.o[0], 4u);
    EXPECT_EQ(b.w[0], 0u);
    // Ten additions of 0.1 fall short of 1.0 (0.9999999999999999): with E the
    // eleventh entry of mode 0 lands on sample 1, not 0. p = 0.05 + 10 * 0.1.
    Built acc = Build(11, 4, 1, -0.0, 0.1, 0);
    EXPECT_EQ(acc.o[10], 1u);
}

TEST(GrayTables, BoxColumnsAreBilinearAndPairMarksCountPairs) {
    // The values of the nearest and bilinear tables are checked against the
    // running sum below; here the other modes. Mode 3 columns are bilinear.
    uint8_t w[8], bw[8];
    uint32_t o[8], bo[8], f, l, bf, bl;
    BuildGrayColumnTable(8, 4, w, o, 0.0, 0.5, &f, &l, F(1));
    BuildGrayColumnTable(8, 4, bw, bo, 0.0, 0.5, &bf, &bl, F(3));
    EXPECT_TRUE(std::equal(w, w + 8, bw) && std::equal(o, o + 8, bo) && f == bf && l == bl);
    EXPECT_EQ(bw[1], 64);
    // Mode 5 rows: pair 3 reaches nf - 1 and marks last = 3, a pair index.
    uint32_t rw[8], ro[8];
    BuildGrayRowTable(8, 8, rw, ro, 100, 0.0, 1.0, &f, &l, F(5));
    EXPECT_EQ(l, 3u);
    EXPECT_EQ(ro[6], 600u);
    EXPECT_EQ(ro[7], 700u);
    EXPECT_EQ(rw[6], 0u);
}

// The single-channel rules as loops over a running position p += step, the
// bytes every way of building the tables must give: where the positions are
// exact multiples of a binary grain the tables work them out directly, and
// elsewhere (0.1, a third) the rounding of the running sum decides.
struct GrayRef {
    std::vector<uint32_t> o, w;
    uint32_t first = 0, last = 0;
};

GrayRef RefGray(uint32_t m, uint32_t n, int64_t pitch, double start, double step, bool nearest, bool centred) {
    GrayRef r;
    r.last = m;
    double p = centred ? start + step * 0.5 - 0.5 : start;
    for (uint32_t i = 0; i < m; ++i, p += step) {
        uint32_t o, w = 0;
        if (p < 0) {
            o = 0, r.first = i + 1;
        } else if (nearest ? p > double(n) - 1 : p >= double(n) - 1) {
            o = uint32_t(int64_t(n - 1) * pitch), r.last = std::min(r.last, i);
        } else {
            const int64_t k = nearest ? int64_t(p + 1e-9) : int64_t(p);
            const double f = p - double(k);
            o = uint32_t(k * pitch);
            w = nearest || f <= 0 ? 0 : uint32_t(int64_t(f * 255 + 0.5));
        }
        r.o.push_back(o);
        r.w.push_back(w);
    }
    return r;
}

TEST(GrayTables, EveryWayOfWorkingPositionsGivesTheRunningSum) {
    const double steps[] = {2.0,  4.0,       8.0,        0.5,       0.25,       1.5,  1080.0 / 720, 2.0 / 3,
                            0.1,  1.0 / 3,   0.75,       1.0,       1919.0 / 3, 3.0,  1.0 / 1024,   6.5};
    const double starts[] = {0.0, -2.0, 0.25, 1.0 - 1e-10, 3.5};
    const int64_t pitches[] = {7, -1920, 70001};
    for (double step : steps)
        for (double start : starts)
            for (uint32_t m : {1u, 7u, 33u, 480u, 1001u})
                for (uint32_t n : {1u, 2u, 97u, 1920u})
                    for (AxisFilter f : {AxisFilter::Nearest, AxisFilter::Bilinear}) {
                        const bool nearest = f == AxisFilter::Nearest;
                        std::vector<uint8_t> cw(m + 1, 0xA5);
                        std::vector<uint32_t> co(m + 1, 0xDEADBEEF);
                        uint32_t first = 99, last = 99;
                        BuildGrayColumnTable(m, n, cw.data(), co.data(), start, step, &first, &last, f);
                        const GrayRef c = RefGray(m, n, 1, start, step, nearest, true);
                        for (uint32_t i = 0; i < m; ++i) {
                            ASSERT_EQ(co[i], c.o[i]) << step << " " << start << " " << m << " " << n << " " << i;
                            if (!nearest) {
                                ASSERT_EQ(cw[i], c.w[i]) << step << " " << start << " " << m << " " << i;
                            }
                        }
                        ASSERT_EQ(co[m], 0xDEADBEEF);
                        ASSERT_EQ(cw[m], 0xA5);
                        ASSERT_EQ(first, c.first) << step << " " << start << " " << m << " " << n;
                        ASSERT_EQ(last, c.last) << step << " " << start << " " << m << " " << n;
                        for (int64_t pitch : pitches) {
                            std::vector<uint32_t> rw(m + 1, 0xDEADBEEF), ro(m + 1, 0xDEADBEEF);
                            BuildGrayRowTable(m, n, rw.data(), ro.data(), int32_t(pitch), start, step, &first, &last,
                                              f);
                            const GrayRef r = RefGray(m, n, pitch, start, step, nearest, nearest);
                            for (uint32_t i = 0; i < m; ++i) {
                                ASSERT_EQ(ro[i], r.o[i]) << step << " " << start << " " << pitch << " " << i;
                                if (!nearest) {
                                    ASSERT_EQ(rw[i], W(r.w[i])) << step << " " << start << " " << i;
                                }
                            }
                            ASSERT_EQ(ro[m], 0xDEADBEEF);
                            ASSERT_EQ(first, r.first);
                            ASSERT_EQ(last, r.last);
                        }
                    }
}

}  // namespace
}  // namespace tarn
