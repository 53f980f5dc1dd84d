// Single-channel shrinks by whole factors whose rows each read one source
// row: the flat rows form against the plain rows, directly over real tables
// and through whole scaled images, with canaries and bottom-up pictures.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "scale/axis_table.h"
#include "scale/gray_flat_rows.h"
#include "scale/inner_rows.h"
#include "scale/scale.h"

namespace tarn {
namespace {

// The column and row tables of the single-channel driver, laid out as it
// lays them out: the weight bytes followed by the column offsets, which the
// trailing pixels read their weights from.
struct Tables {
    std::vector<uint8_t> block;
    std::vector<uint32_t> cols, rowWeights, rows;
    uint32_t cf = 0, cl = 0, rf = 0, rl = 0;
    Tables(uint32_t sw, uint32_t sh, uint32_t dw, uint32_t dh, int32_t srcStride)
        : block(size_t(dw) * 5 + 2), cols(dw), rowWeights(dh), rows(dh) {
        BuildGrayColumnTable(dw, sw, block.data(), cols.data(), 0.0, double(sw) / dw, &cf, &cl, AxisFilter::Bilinear);
        BuildGrayRowTable(dh, sh, rowWeights.data(), rows.data(), srcStride, 0.0, double(sh) / dh, &rf, &rl,
                          AxisFilter::Bilinear);
        std::memcpy(block.data() + dw, cols.data(), size_t(dw) * 4);
    }
};

#if defined(TARN_HAVE_X86_SIMD)
TEST(GrayFlatRows, MatchTheBilinearRowsOfWholeShrinks) {
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    struct Size {
        uint32_t sw, sh, dw, dh;
        bool halves;  // whether the columns are means of neighbours at an even step
    };
    // Odd target widths leave trailing pixels and a last block of means
    // short of a whole load; the source ends where its rows end. A width of
    // 3 mod 4 gives the trailing pixels the second byte of a column offset
    // for a weight, which is not 0 once the offsets pass 255.
    const Size sizes[] = {{1920, 8, 960, 4, true}, {242, 10, 121, 5, true},  {484, 16, 121, 4, true},
                          {968, 24, 121, 3, true}, {1032, 9, 129, 3, true},  {70, 6, 35, 3, true},
                          {350, 6, 175, 3, true},  {700, 8, 175, 2, true},
                          {66, 4, 33, 2, true},    {12, 4, 6, 2, true},      {90, 6, 30, 2, false},
                          {100, 4, 40, 2, false}};
    std::mt19937 rng(7);
    for (const Size& s : sizes)
        for (const bool up : {false, true}) {
            const int32_t srcStride = int32_t(s.sw);
            std::vector<uint8_t> src(size_t(srcStride) * s.sh);
            for (auto& b : src) b = uint8_t(rng());
            // Bottom-up: the first row last in memory, strides negative.
            const int32_t sStride = up ? -srcStride : srcStride;
            const uint8_t* first = up ? src.data() + size_t(srcStride) * (s.sh - 1) : src.data();
            const Tables t(s.sw, s.sh, s.dw, s.dh, sStride);
            ASSERT_EQ(t.cf, 0u);
            ASSERT_EQ(t.cl, s.dw);
            const int32_t dstStride = int32_t(s.dw + 7);
            const size_t margin = 40, bytes = size_t(dstStride) * s.dh + 2 * margin;
            std::vector<uint8_t> plain(bytes, 0x3C), fast(bytes, 0x3C);
            auto row0 = [&](std::vector<uint8_t>& v) {
                return v.data() + margin + (up ? size_t(dstStride) * (s.dh - 1) : 0);
            };
            const int32_t dStride = up ? -dstStride : dstStride;
            for (uint32_t y = 0; y < s.dh; ++y) {
                ASSERT_EQ(t.rowWeights[y] & 255, 0u);
                GrayInnerRowPlain(row0(plain) + intptr_t(dStride) * y, first + RowDelta(t.rows[y]), t.block.data(),
                                  t.cols.data(), s.dw, sStride, t.rowWeights[y]);
            }
            const bool ran = GrayFlatRowsAvx2(row0(fast), dStride, first, t.rows.data(), s.dh, t.block.data(),
                                              t.cols.data(), s.dw, s.sw);
            EXPECT_EQ(ran, s.halves) << s.sw << "->" << s.dw;
            if (ran) EXPECT_EQ(fast, plain) << s.sw << "x" << s.sh << "->" << s.dw << "x" << s.dh << " up " << up;
            else EXPECT_EQ(fast, std::vector<uint8_t>(bytes, 0x3C)) << "wrote although it declined";
        }
}
#endif

// Whole images through the driver, every form against the plain one: the
// shrinks above in the modes whose single-channel plan is bilinear.
TEST(GrayFlatRows, ScaledImagesAgreeAcrossForms) {
    struct Size {
        uint32_t sw, sh, dw, dh;
    };
    const Size sizes[] = {{1920, 8, 960, 4}, {242, 10, 121, 5}, {484, 16, 121, 4},
                          {968, 24, 121, 3}, {70, 6, 35, 3},    {33, 9, 16, 4},
                          {350, 6, 175, 3}};
    std::mt19937 rng(11);
    const size_t margin = 48;
    for (const Size& s : sizes)
        for (uint32_t mode : {1u, 2u, 3u, 4u}) {
            const int32_t srcStride = int32_t(s.sw);
            std::vector<uint8_t> src(size_t(srcStride) * s.sh);
            for (auto& b : src) b = uint8_t(rng());
            const int32_t dstStride = int32_t(s.dw + 3);
            auto run = [&](SimdForm form) {
                ScopedKernelChoice choice(g_cpuFeatures, form);
                std::vector<uint8_t> out(size_t(dstStride) * s.dh + 2 * margin, 0x5C);
                uint8_t* dst = out.data() + margin + size_t(dstStride) * (s.dh - 1);
                const uint8_t* from = src.data() + size_t(srcStride) * (s.sh - 1);
                ScaleImage({dst, s.dw, s.dh, -dstStride, 1}, {from, s.sw, s.sh, -srcStride, 1},
                           {double(s.sw) / s.dw, double(s.sh) / s.dh}, mode, nullptr);
                return out;
            };
            const auto plain = run(SimdForm::Plain);
            for (size_t i = 0; i < margin; ++i) {
                ASSERT_EQ(plain[i], 0x5C);
                ASSERT_EQ(plain[plain.size() - 1 - i], 0x5C);
            }
            for (SimdForm f : {SimdForm::Sse2, SimdForm::Avx2}) {
                if (HostSimdForm() < f) continue;
                EXPECT_EQ(run(f), plain) << s.sw << "x" << s.sh << "->" << s.dw << "x" << s.dh << " mode " << mode
                                         << " " << FormName(f);
            }
        }
}

}  // namespace
}  // namespace tarn
