// The 4:2:2 scaler in every form this machine runs against the plain form:
// enlargements and shrinks by awkward ratios and by the halves and quarters
// the integer way takes, widths whose rows end inside a vector step, sources
// that end where their last row ends or run bottom-up, bottom-up targets
// with canaries around them, bytes at the ends of their range, and a target
// over its own source. Last, the halved rows a packed resize to half size
// takes from the planar step before it, against this scaler's plain form.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "convert/catalogue_kernels.h"
#include "operations/convert_functions.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "scale/scale.h"

namespace tarn {
namespace {

TEST(PackedScaleForms, AgreeWithThePlainForm) {
    struct Size {
        int32_t sw, sh, dw, dh;
    };
    // Awkward ratios (float and double arithmetic), then whole 128ths
    // across and down (2x, 1/2, 2/3, 4x, 1/4, 1/8, mixed; odd and vector-
    // ending widths), then halves across with awkward ratios down and back,
    // then sixteenths and thirty-seconds both ways, whose weighted sums no
    // longer fit 16 bits; then halvings both ways of odd target widths; then
    // doublings both ways of rows around and between the vector steps;
    // last, awkward ratios of rows a thousand bytes and more long.
    const Size sizes[] = {{40, 20, 80, 40},  {37, 11, 101, 29}, {64, 30, 96, 45}, {97, 33, 48, 16}, {1, 1, 9, 3},
                          {3, 2, 2, 1},      {160, 12, 20, 3},  {15, 7, 61, 23},  {33, 5, 35, 9},  {2, 9, 1, 4},
                          {96, 40, 48, 20},  {64, 32, 16, 8},   {50, 30, 25, 10}, {37, 13, 74, 26}, {75, 31, 37, 15},
                          {48, 30, 32, 20},  {99, 27, 66, 18},  {17, 5, 68, 20},  {130, 9, 65, 9},  {131, 40, 33, 10},
                          {200, 16, 25, 2},  {8, 8, 16, 4},     {5, 3, 10, 6},    {41, 12, 82, 17}, {41, 17, 82, 12},
                          {36, 11, 24, 11},  {23, 6, 92, 21},   {9, 5, 144, 80},  {8, 3, 256, 96}, {4, 3, 128, 96},
                          {98, 14, 49, 7},   {66, 6, 33, 3},    {2, 2, 1, 1},     {130, 4, 65, 2},
                          {1, 1, 2, 2},      {1, 3, 2, 6},      {8, 1, 16, 2},    {9, 2, 18, 4},   {16, 3, 32, 6},
                          {17, 3, 34, 6},    {18, 5, 36, 10},   {33, 4, 66, 8},   {71, 3, 142, 6},
                          {341, 3, 512, 5},  {400, 9, 601, 13}, {700, 5, 1051, 7}};
    std::mt19937 rng(41);
    const size_t margin = 40;
    for (const Size& s : sizes)
        for (int variant = 0; variant < 4; ++variant) {
            // Bit 0: bottom-up target; bit 1: bottom-up source whose bytes
            // sit at the ends of their range (0, 255, runs of one value).
            const bool up = variant & 1, extremes = variant & 2;
            const int32_t srcStride = 2 * s.sw;  // the last row ends the buffer
            std::vector<uint8_t> src(size_t(srcStride) * s.sh);
            for (size_t i = 0; i < src.size(); ++i) {
                const uint32_t r = rng();
                src[i] = !extremes ? uint8_t(r) : (r & 3) == 0 ? uint8_t(r >> 8) : (r >> 4) & 1 ? 255 : 0;
            }
            const uint8_t* first = extremes ? src.data() + size_t(srcStride) * (s.sh - 1) : src.data();
            const int32_t dstStride = 2 * s.dw + 6;
            auto run = [&](SimdForm form) {
                ScopedKernelChoice choice(g_cpuFeatures, form);
                std::vector<uint8_t> out(size_t(dstStride) * s.dh + 2 * margin, 0x3C);
                uint8_t* dst = out.data() + margin + (up ? size_t(dstStride) * (s.dh - 1) : 0);
                ScalePacked({dst, uint32_t(s.dw), uint32_t(s.dh), up ? -dstStride : dstStride, 2},
                            {first, uint32_t(s.sw), uint32_t(s.sh), extremes ? -srcStride : srcStride, 2});
                return out;
            };
            const auto plain = run(SimdForm::Plain);
            for (size_t i = 0; i < margin; ++i) {
                ASSERT_EQ(plain[i], 0x3C);
                ASSERT_EQ(plain[plain.size() - 1 - i], 0x3C);
            }
            for (SimdForm f : {SimdForm::Sse2, SimdForm::Avx2, SimdForm::Avx512}) {
                if (HostSimdForm() < f) continue;
                EXPECT_EQ(run(f), plain) << s.sw << "x" << s.sh << "->" << s.dw << "x" << s.dh << " variant "
                                         << variant << " " << FormName(f);
            }
        }
}

// Doubling worked by hand: a target byte at a half position takes the floor
// of the mean of its neighbours, one at a half row the floor of the mean of
// the two row values, which may be quarters. Every form gives the same.
TEST(PackedScaleForms, DoublingTakesTheFloorOfHalvesAndQuarters) {
    // Two pairs a row, two rows; the pair at x = 1 clamps onto itself.
    const uint8_t src[8] = {10, 20, 31, 41, 13, 200, 0, 255};
    const uint8_t expected[4][8] = {
        {10, 20, 20, 30, 31, 41, 31, 41},                  // row 0
        {11, 110, 13, 129, 15, 148, 15, 148},              // half way between the source rows
        {13, 200, 6, 227, 0, 255, 0, 255},                 // row 1
        {13, 200, 6, 227, 0, 255, 0, 255},                 // clamps onto row 1
    };
    for (SimdForm f : {SimdForm::Plain, SimdForm::Sse2, SimdForm::Avx2, SimdForm::Avx512}) {
        if (HostSimdForm() < f) continue;
        ScopedKernelChoice choice(g_cpuFeatures, f);
        uint8_t out[4][8] = {};
        ScalePacked({&out[0][0], 4, 4, 8, 2}, {src, 2, 2, 4, 2});
        for (int y = 0; y < 4; ++y)
            for (int i = 0; i < 8; ++i) EXPECT_EQ(out[y][i], expected[y][i]) << y << "," << i << " " << FormName(f);
    }
}

// Targets of 8 MiB and more are written around the caches, from the first
// aligned byte of each row on; rows here start at every offset modulo 32.
TEST(PackedScaleForms, LargeTargetsGiveThePlainBytes) {
    struct Size {
        int32_t sw, sh, dw, dh;
    };
    // Doubling (integer way) and three halves (float way).
    const Size sizes[] = {{1051, 1001, 2102, 2002}, {1401, 1335, 2101, 2002}};
    std::mt19937 rng(43);
    for (const Size& s : sizes) {
        std::vector<uint8_t> src(size_t(2 * s.sw) * s.sh);
        for (auto& b : src) b = uint8_t(rng() >> 5);
        const int32_t dstStride = 2 * s.dw + 5;
        auto run = [&](SimdForm form) {
            ScopedKernelChoice choice(g_cpuFeatures, form);
            std::vector<uint8_t> out(size_t(dstStride) * s.dh + 64, 0x3C);
            ScalePacked({out.data() + 32, uint32_t(s.dw), uint32_t(s.dh), dstStride, 2},
                        {src.data(), uint32_t(s.sw), uint32_t(s.sh), 2 * s.sw, 2});
            return out;
        };
        const auto plain = run(SimdForm::Plain);
        ASSERT_EQ(plain[31], 0x3C);
        ASSERT_EQ(plain[plain.size() - 1], 0x3C);
        for (SimdForm f : {SimdForm::Sse2, SimdForm::Avx2, SimdForm::Avx512}) {
            if (HostSimdForm() < f) continue;
            EXPECT_TRUE(run(f) == plain) << s.sw << "x" << s.sh << "->" << s.dw << "x" << s.dh << " " << FormName(f);
        }
    }
}

TEST(PackedScaleForms, TargetOverTheSourceGivesThePlainBytes) {
    std::mt19937 rng(42);
    const int32_t sw = 24, sh = 6, dw = 48, dh = 12;
    std::vector<uint8_t> start(size_t(2 * dw) * dh + 64);
    for (auto& b : start) b = uint8_t(rng());
    auto run = [&](SimdForm form) {
        ScopedKernelChoice choice(g_cpuFeatures, form);
        std::vector<uint8_t> buf = start;
        ScalePacked({buf.data(), uint32_t(dw), uint32_t(dh), 2 * dw, 2},
                    {buf.data() + 100, uint32_t(sw), uint32_t(sh), 2 * sw, 2});
        return buf;
    };
    const auto plain = run(SimdForm::Plain);
    for (SimdForm f : {SimdForm::Sse2, SimdForm::Avx2, SimdForm::Avx512}) {
        if (HostSimdForm() < f) continue;
        EXPECT_EQ(run(f), plain) << FormName(f);
    }
}

// The planar step of a packed resize to half size writes the resize's rows
// as it reads the source: those rows must be the plain scaler's, with the
// bytes around them untouched, and the step's own bytes those it writes
// without them, in every tier and form. Widths take the two-pair blocks
// with and without a rest, and the pair-by-pair rows; luma is written over
// for the upper rows, as under a resize's paint.
TEST(PackedScaleForms, HalvedRowsOfThePlanarStepAreThePlainScalersRows) {
    struct Size {
        int32_t w, h;
    };
    const Size sizes[] = {{128, 40}, {144, 24}, {208, 12}, {132, 44}, {40, 8}, {34, 10}, {1920, 8}};
    const uint32_t tiers[] = {0, kCpuMmx, kCpuMmx | kCpuSse2};
    std::mt19937 rng(44);
    const size_t margin = 40;
    for (const Size& s : sizes) {
        const int32_t srcStride = 2 * s.w + 4, rowStride = s.w + 10, dw = s.w / 2, dh = s.h / 2;
        std::vector<uint8_t> src(size_t(srcStride) * s.h);
        for (auto& b : src) b = uint8_t(rng());
        std::vector<uint8_t> expected(size_t(rowStride) * dh + 2 * margin, 0x3C);
        {
            ScopedKernelChoice choice(g_cpuFeatures, SimdForm::Plain);
            ScalePacked({expected.data() + margin, uint32_t(dw), uint32_t(dh), rowStride, 2},
                        {src.data(), uint32_t(s.w), uint32_t(s.h), srcStride, 2});
        }
        const size_t planarBytes = size_t(s.w) * s.h * 3 / 2;
        const int64_t overwritten = int64_t(s.w) * s.h * 3 / 4;
        for (uint32_t tier : tiers)
            for (SimdForm f : {SimdForm::Plain, SimdForm::Sse2, SimdForm::Avx2, SimdForm::Avx512}) {
                if (HostSimdForm() < f) continue;
                ScopedKernelChoice choice(tier, f);
                std::vector<uint8_t> alone(planarBytes, 0x5A), with(planarBytes, 0x5A);
                std::vector<uint8_t> rows(expected.size(), 0x3C);
                EXPECT_FALSE(ConvertPackedToPlanarOver(src.data(), srcStride, alone.data(), s.w, s.w, s.h,
                                                       overwritten));
                EXPECT_TRUE(ConvertPackedToPlanarOver(src.data(), srcStride, with.data(), s.w, s.w, s.h,
                                                      overwritten, rows.data() + margin, rowStride));
                EXPECT_TRUE(with == alone) << s.w << "x" << s.h << " " << DescribeKernelChoice();
                EXPECT_TRUE(rows == expected) << s.w << "x" << s.h << " " << DescribeKernelChoice();
            }
    }
    // An odd width, or a source read from its last row up, is not halved so,
    // and nothing is written to the rows.
    std::vector<uint8_t> src(size_t(2 * 33) * 8, 7), planar(size_t(33) * 8 * 2, 0), rows(200, 0x3C);
    EXPECT_FALSE(ConvertPackedToPlanarOver(src.data(), 66, planar.data(), 33, 33, 8, 0, rows.data(), 20));
    uint8_t* u = planar.data() + 32 * 8;
    EXPECT_FALSE(PackedToPlanar(TierBody::Sse2, true, PackedOrder::Yuy2, planar.data(), u, u + 16 * 4, 32, 16,
                                src.data(), 66, 32, -8, nullptr, {rows.data(), 20}));
    EXPECT_EQ(rows, std::vector<uint8_t>(200, 0x3C));
}

}  // namespace
}  // namespace tarn
