// Nearest-sample single-channel scaling: the planned gather against the
// plain definition dst[j] = row[offsets[j]] in every form, and whole planes
// against a gather worked row by row from the tables, so that rows copied
// from the row above and shuffled blocks are both checked.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "scale/axis_table.h"
#include "scale/gray_gather.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

// Offsets of `len` columns at `step` source bytes per column, or random
// (sorted or not) when step is 0 or negative.
std::vector<uint32_t> Columns(uint32_t len, double step, std::mt19937& rng) {
    std::vector<uint32_t> o(len);
    for (uint32_t j = 0; j < len; ++j)
        o[j] = step > 0 ? uint32_t(j * step + 0.25) : uint32_t(rng() % (len * 3 + 1));
    if (step == 0) std::sort(o.begin(), o.end());
    return o;
}

TEST(GrayGather, PlannedGatherPicksEachOffset) {
    std::mt19937 rng(7);
    // Up to 4 samples a column: one to four loads a block; beyond, byte by byte.
    const double steps[] = {0.5, 1.0, 1.5, 1.9, 2.0, 2.1, 2.5, 3.0, 3.3, 4.0, 4.1, 8.0, 0.0, -1.0};
    for (double step : steps)
        for (uint32_t len : {1u, 15u, 16u, 17u, 31u, 32u, 33u, 100u, 259u}) {
            const auto offsets = Columns(len, step, rng);
            // The row ends at the largest offset: a load past it would be caught.
            const auto row = test::RandomBytes(*std::max_element(offsets.begin(), offsets.end()) + 1, rng);
            const GrayGatherPlan plan(offsets.data(), len);
            test::ForEachForm([&](SimdForm form) {
                std::vector<uint8_t> out(len + 16, 0x5A);
                PickGrayPlannedGather()(out.data(), row.data(), offsets.data(), len, plan, len % 2 ? row.data() : nullptr);
                for (uint32_t j = 0; j < len; ++j)
                    ASSERT_EQ(out[j], row[offsets[j]]) << step << " " << len << " " << j << " " << FormName(form);
                ASSERT_EQ(out[len], 0x5A) << "nothing past the run";
            });
        }
}

TEST(GrayGather, StridedLeadsEndWhereTheStepBreaks) {
    // Offsets first + step * j that stop rising after `run` columns, as the
    // end of a shrink's table clamps to the last sample: the strided lead
    // takes whole blocks of the run and never loads past the largest offset
    // or, where the row goes on (`past` bytes more), past the row's end.
    std::mt19937 rng(9);
    for (uint32_t step : {2u, 4u, 8u})
        for (uint32_t past : {0u, step - 1})
            for (uint32_t first : {0u, 1u, 3u})
                for (uint32_t run : {15u, 16u, 33u, 64u, 100u})
                    for (uint32_t len : {run, run + 1, run + 20}) {
                        std::vector<uint32_t> offsets(len);
                        for (uint32_t j = 0; j < len; ++j) offsets[j] = first + step * std::min(j, run - 1);
                        const auto row = test::RandomBytes(offsets.back() + 1 + past, rng);
                        test::ForEachForm([&](SimdForm form) {
                            // Planned as the nearest driver plans for this form.
                            const GrayGatherPlan plan(offsets.data(), len, GrayGatherLeadsOnItsOwn(),
                                                      uint32_t(row.size()));
                            EXPECT_LE(plan.stridedColumns, run);
                            if (past) {
                                EXPECT_EQ(plan.stridedColumns, run / 16 * 16);
                            }
                            std::vector<uint8_t> out(len + 16, 0x5A);
                            PickGrayPlannedGather()(out.data(), row.data(), offsets.data(), len, plan, nullptr);
                            for (uint32_t j = 0; j < len; ++j)
                                ASSERT_EQ(out[j], row[offsets[j]])
                                    << step << " " << first << " " << run << " " << len << " " << j << " " << FormName(form);
                            ASSERT_EQ(out[len], 0x5A) << "nothing past the run";
                        });
                    }
}

TEST(GrayGather, NearestPlanesFollowTheirTables) {
    // Every form against a gather worked row by row from the tables, so that
    // rows copied from the row above and shuffled blocks are both checked:
    // enlargements and shrinks, padded rows, targets bottom-up, canaries
    // around the target. The second group shrinks by 2, 4 and 8 across,
    // whose rows are picked whole at one step: odd widths (a last block
    // short of a whole load, columns after the last block), sources that
    // end where their rows end, rows repeated where the height grows, and
    // sources bottom-up too.
    struct Case {
        test::Shape s;
        int32_t srcPad, dstPad;
        bool upTarget, upSource;
    };
    std::vector<Case> cases = {
        {{48, 27, 96, 54}, 0, 0, false, false},  {{960, 8, 1920, 16}, 0, 0, false, false},
        {{96, 40, 64, 30}, 3, 5, false, false},  {{35, 17, 111, 70}, 1, 0, true, false},
        {{64, 9, 64, 23}, 0, 7, false, false},   {{200, 11, 33, 5}, 0, 0, true, false},
        {{17, 33, 16, 64}, 0, 0, false, false},  {{1920, 9, 480, 3}, 0, 0, false, false},
        {{301, 12, 97, 4}, 2, 1, true, false},   {{1922, 9, 961, 4}, 0, 3, true, false},
        {{968, 17, 121, 2}, 5, 0, false, false}, {{130, 10, 65, 5}, 0, 0, true, false}};
    for (const test::Shape& s : {test::Shape{1920, 9, 960, 4}, {242, 6, 121, 3}, {484, 8, 121, 16}, {968, 5, 121, 5},
                                 {70, 12, 35, 6}, {33, 4, 16, 9}, {4100, 3, 1025, 2}, {66, 7, 33, 7}})
        for (bool up : {false, true}) cases.push_back({s, 0, 3, up, up});
    const size_t margin = 40;
    std::mt19937 rng(3);
    for (const auto& [s, srcPad, dstPad, upTarget, upSource] : cases) {
        const int32_t ss = int32_t(s.sw) + srcPad, ds = int32_t(s.dw) + dstPad;
        const auto src = test::RandomBytes(size_t(ss) * s.sh, rng);
        const test::GrayTables t(s, ss, AxisFilter::Nearest, AxisFilter::Nearest);
        if (srcPad == 0 && s.sw % s.dw == 0) {
            ASSERT_EQ(t.cols[1] - t.cols[0], s.sw / s.dw) << test::Describe(s);
        }
        // Row y of a picture as the scaler sees it lies at row `at(y)` of its buffer.
        auto at = [](bool up, uint32_t y, uint32_t h) { return up ? h - 1 - y : y; };
        std::vector<uint8_t> want(size_t(ds) * s.dh + 2 * margin, 0xC3);
        for (uint32_t y = 0; y < s.dh; ++y)
            for (uint32_t x = 0; x < s.dw; ++x)
                want[margin + size_t(at(upTarget, y, s.dh)) * ds + x] =
                    src[size_t(at(upSource, uint32_t(RowDelta(t.rows[y]) / ss), s.sh)) * ss + t.cols[x]];
        test::ForEachForm([&](SimdForm form) {
            std::vector<uint8_t> out(want.size(), 0xC3);
            uint8_t* top = out.data() + margin + size_t(at(upTarget, 0, s.dh)) * ds;
            const uint8_t* from = src.data() + size_t(at(upSource, 0, s.sh)) * ss;
            ScaleImage({top, s.dw, s.dh, upTarget ? -ds : ds, 1}, {from, s.sw, s.sh, upSource ? -ss : ss, 1},
                       {double(s.sw) / s.dw, double(s.sh) / s.dh}, SCALE_NEAREST, nullptr);
            ASSERT_EQ(out, want) << test::Describe(s) << " up " << upTarget << upSource << " " << FormName(form);
        });
    }
}

TEST(GrayGather, FieldBandRowsAreGathersOfTheirTableRows) {
    // Row pairs mark their bands in pairs, so about half an enlarged field
    // picture is top and bottom rows: each the gather of its table row by
    // the bilinear column offsets, whether gathered or copied from a row
    // above, and the last case is large enough to be stored around the
    // caches (its target starts 3 bytes past a 32-byte boundary). The
    // padding after each row but the last keeps its bytes.
    const struct {
        test::Shape s;
        bool flip;
        int32_t srcPad, dstPad;
        size_t skew;
    } cases[] = {{{40, 12, 80, 24}, false, 3, 1, 0},   {{61, 20, 122, 40}, true, 3, 1, 0},
                 {{300, 16, 600, 32}, false, 3, 1, 0}, {{33, 14, 100, 42}, true, 3, 1, 0},
                 {{1100, 1001, 2200, 2002}, false, 0, 5, 3}};
    std::mt19937 rng(5);
    for (const auto& [s, flip, srcPad, dstPad, skew] : cases) {
        const int32_t ss = int32_t(s.sw) + srcPad, ds = int32_t(s.dw) + dstPad;
        const auto src = test::RandomBytes(size_t(ss) * s.sh, rng);
        const test::GrayTables t(s, ss, AxisFilter::Bilinear, AxisFilter::FieldPairs);
        ASSERT_GE(s.dh - t.rl, std::max(8u, s.dh / 3)) << "enough bottom rows for the planned gather";
        test::ForEachForm([&](SimdForm form) {
            std::vector<uint8_t> out(size_t(ds) * s.dh + 64, 0xC3);
            uint8_t* top = out.data() + skew + (flip ? size_t(ds) * (s.dh - 1) : 0);
            ScaleImage({top, s.dw, s.dh, flip ? -ds : ds, 1}, {src.data(), s.sw, s.sh, ss, 1},
                       {double(s.sw) / s.dw, double(s.sh) / s.dh}, SCALE_FIELD_BILINEAR, nullptr);
            for (uint32_t y = 0; y < s.dh; ++y) {
                if (y >= t.rf && y < t.rl) continue;
                const uint8_t* row = top + (flip ? -intptr_t(ds) : intptr_t(ds)) * y;
                for (uint32_t x = 0; x < s.dw; ++x)
                    ASSERT_EQ(row[x], src[RowDelta(t.rows[y]) + t.cols[x]])
                        << test::Describe(s) << " row " << y << " column " << x << " " << FormName(form);
                for (int32_t x = int32_t(s.dw); x < ds && y + 1 < s.dh; ++x) ASSERT_EQ(row[x], 0xC3);
            }
        });
    }
}

TEST(GrayGather, ScalingInPlaceAgreesAcrossForms) {
    // Target over its own source: rows are gathered in order, never copied
    // from the row above, whatever the form.
    std::mt19937 rng(21);
    const auto start = test::RandomBytes(80 * 24 + 64, rng);
    test::ExpectFormsAgree([&] {
        std::vector<uint8_t> buf = start;
        ScaleImage({buf.data(), 80, 24, 80, 1}, {buf.data(), 40, 12, 40, 1}, {0.5, 0.5}, SCALE_NEAREST, nullptr);
        return buf;
    });
}

}  // namespace
}  // namespace tarn
