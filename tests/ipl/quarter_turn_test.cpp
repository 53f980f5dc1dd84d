// The quarter-turn path of iplRotate: each turn against the formulas of its
// walk, four turns back to the start, the covered rectangle only, and the
// fast copies against the plain one.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "ipl/iplwarp.h"
#include "ipl/quarter_turn.h"
#include "ipl_test_support.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"

namespace tarn {
namespace {

using testing_ipl::ExpectSamples;
using testing_ipl::FillPattern;
using testing_ipl::ForEachForm;
using testing_ipl::OwnedImage;
using testing_ipl::Pattern;
using testing_ipl::RecordReports;

// An 8 x 4 plane turned with the shifts that land it exactly in its target:
// the source pixel each target pixel takes, worked from the walk.
TEST(QuarterTurn, EightByFourPlane) {
    RecordReports rec;
    const struct {
        int angle, width, height;
        double xShift, yShift;
        int (*sx)(int x, int y);
        int (*sy)(int x, int y);
    } kCases[] = {
        {90, 4, 8, 0, 7, [](int, int y) { return 7 - y; }, [](int x, int) { return x; }},
        {180, 8, 4, 7, 3, [](int x, int) { return 7 - x; }, [](int, int y) { return 3 - y; }},
        {270, 4, 8, 3, 0, [](int, int y) { return y; }, [](int x, int) { return 3 - x; }},
        {-90, 4, 8, 3, 0, [](int, int y) { return y; }, [](int x, int) { return 3 - x; }},   // as 270
        {450, 4, 8, 0, 7, [](int, int y) { return 7 - y; }, [](int x, int) { return x; }},   // as 90
        {-180, 8, 4, 7, 3, [](int x, int) { return 7 - x; }, [](int, int y) { return 3 - y; }},
    };
    ForEachForm([&](SimdForm form) {
        for (const auto& c : kCases) {
            OwnedImage src(8, 4, 1, 3), dst(c.width, c.height, 1, 1, 0xEE);
            FillPattern(src);
            // Flag 16 plays no part on this path.
            iplRotate(src.get(), dst.get(), c.angle, c.xShift, c.yShift, 16);
            ExpectSamples(dst, [&](int x, int y, int) { return Pattern(c.sx(x, y), c.sy(x, y), 0); },
                          std::to_string(c.angle) + " " + FormName(form));
        }
    });
    EXPECT_TRUE(rec.reports().empty());
}

TEST(QuarterTurn, FourTurnsGiveTheOriginalBack) {
    for (int channels : {1, 3, 4}) {
        OwnedImage a(13, 7, channels, 2), b(7, 13, channels, 1);
        FillPattern(a);
        const std::vector<uint8_t> original = a.Pixels();
        for (int turn = 0; turn < 2; ++turn) {
            iplRotate(a.get(), b.get(), 90, 0, 12, 0);  // 13 wide: Y = 12
            iplRotate(b.get(), a.get(), 90, 0, 6, 0);   // 7 wide: Y = 6
        }
        EXPECT_EQ(a.Pixels(), original) << channels;
    }
}

// Shifted by (2, -1), the 180-degree turn of a 6 x 5 source covers target
// columns 2.. and rows ..3 of a 6 x 5 target; the rest keeps its bytes.
TEST(QuarterTurn, OnlyTheCoveredRectangleIsWritten) {
    OwnedImage src(6, 5, 3), dst(6, 5, 3, 0, 0x11);
    FillPattern(src);
    iplRotate(src.get(), dst.get(), 180, 7, 3, 0);
    ExpectSamples(dst, [](int x, int y, int c) { return x >= 2 && y <= 3 ? Pattern(7 - x, 3 - y, c) : 0x11; });
}

// An alpha channel in both images is left out: the target's fourth byte stays.
TEST(QuarterTurn, AlphaChannelIsNotCopied) {
    OwnedImage src(5, 3, 4), dst(3, 5, 4, 0, 0x77);
    src.get()->alphaChannel = dst.get()->alphaChannel = 4;
    FillPattern(src);
    iplRotate(src.get(), dst.get(), 270, 2, 0, 0);
    ExpectSamples(dst, [](int x, int y, int c) { return c == 3 ? 0x77 : Pattern(y, 2 - x, c); });
}

TEST(QuarterTurn, DifferentChannelCountsAreReported) {
    RecordReports rec;
    OwnedImage src(4, 4, 3), dst(4, 4, 4, 0, 0x33);
    FillPattern(src);
    iplRotate(src.get(), dst.get(), 90, 0, 3, 0);
    testing_ipl::ExpectOneReport(rec, -5, 1264);
    EXPECT_EQ(rec.reports()[0].function, "iplRotate");
    EXPECT_EQ(dst.pixel(0, 0), 0x33);
}

// The fast copies against the plain copy, on the three walks, awkward sizes,
// both directions and a target walked bottom-up, with canaries around it.
TEST(QuarterTurn, FastCopiesMatchThePlainCopy) {
    std::mt19937 rng(5);
    const int32_t kSizes[] = {1, 2, 15, 16, 17, 31, 32, 33, 47, 64, 70};
    constexpr int32_t kSrcStep = 80, kRows = 72, kPad = 64;
    std::vector<uint8_t> source(size_t(kSrcStep) * kRows);
    for (auto& v : source) v = uint8_t(rng());
    struct Walk {
        const char* name;
        intptr_t di, dj;
        int32_t originX, originY;  // source pixel of target (0, 0)
    };
    const Walk kWalks[] = {{"90", kSrcStep, -1, 71, 0},
                           {"270", -kSrcStep, 1, 0, 71},
                           {"180", -1, -kSrcStep, 71, 71}};
    for (const Walk& walk : kWalks)
        for (int32_t w : kSizes)
            for (int32_t h : kSizes)
                for (bool upward : {false, true}) {
                    const int32_t step = w + 5;
                    std::vector<uint8_t> expect(size_t(step) * h + 2 * kPad, 0xC3), got;
                    auto run = [&](QuarterCopyFn fn, std::vector<uint8_t>& out) {
                        out.assign(size_t(step) * h + 2 * kPad, 0xC3);
                        QuarterBlock b;
                        b.dstStep = upward ? -step : step;
                        b.dst = out.data() + kPad + (upward ? size_t(step) * (h - 1) : 0);
                        b.src = source.data() + walk.originY * kSrcStep + walk.originX;
                        b.di = walk.di, b.dj = walk.dj;
                        b.width = w, b.height = h;
                        fn(b);
                    };
                    run(QuarterCopyAll<1>, expect);
                    ForEachForm([&](SimdForm form) {
                        run(PickQuarterCopy(1), got);
                        ASSERT_EQ(got, expect) << walk.name << " " << w << "x" << h << (upward ? " up " : " ")
                                               << FormName(form);
                    });
                }
}

}  // namespace
}  // namespace tarn
