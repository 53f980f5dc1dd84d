// Single-channel area shrink with planned blocks: whole planes at ratios
// whose blocks fit the 16-byte window, straddle its edge, or spread wider,
// in every form against the plain form, from source buffers that end where
// the last row ends.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "convert/cpu_features.h"
#include "convert/kernel_forms.h"
#include "scale/planar_scale.h"
#include "scale/scale.h"

namespace tarn {
namespace {

TEST(AreaPlan, PlanesAgreeAcrossFormsAtManyRatios) {
    struct Size {
        uint32_t sw, sh, dw, dh;
    };
    const Size sizes[] = {{96, 30, 64, 20}, {97, 31, 41, 13}, {200, 12, 180, 7},  {250, 9, 100, 4},
                          {18, 18, 9, 9},   {15, 20, 8, 10},  {1919, 6, 1280, 4}, {333, 17, 16, 3}};
    std::mt19937 rng(4);
    for (const Size& s : sizes) {
        std::vector<uint8_t> src(size_t(s.sw) * s.sh);  // no slack: a read past the plane is caught
        for (auto& b : src) b = uint8_t(rng());
        auto run = [&](SimdForm form) {
            ScopedKernelChoice choice(g_cpuFeatures, form);
            std::vector<uint8_t> out(size_t(s.dw) * s.dh, 0x77);
            ScaleImage(out.data(), s.dw, s.dh, int32_t(s.dw), 1, src.data(), s.sw, s.sh, int32_t(s.sw), 1, 0.0,
                       double(s.sw) / s.dw, 0.0, double(s.sh) / s.dh, SCALE_AREA, nullptr);
            return out;
        };
        const auto plain = run(SimdForm::Plain);
        for (SimdForm f : {SimdForm::Sse2, SimdForm::Avx2}) {
            if (HostSimdForm() < f) continue;
            EXPECT_EQ(run(f), plain) << s.sw << "x" << s.sh << "->" << s.dw << "x" << s.dh << " " << FormName(f);
        }
    }
}

TEST(AreaPlan, WindowsStayInsideTheRowAndHoldTheirSamples) {
    // Columns at 1.5 samples each over a 37-sample row: every block fits a
    // window, the last one slides left to end at the row's end.
    const uint32_t width = 24, per = 2, srcWidth = 37;
    std::vector<int32_t> index(size_t(per) * width);
    for (uint32_t x = 0; x < width; ++x)
        for (uint32_t r = 0; r < per; ++r) index[size_t(r) * width + x] = int32_t(std::min(srcWidth - 1, x * 3 / 2 + r));
    const AreaSweepPlan plan = BuildAreaSweepPlan(index.data(), per, width, srcWidth);
    ASSERT_EQ(plan.base.size(), 3u);
    for (uint32_t b = 0; b < 3; ++b) {
        ASSERT_GE(plan.base[b], 0) << b;
        EXPECT_LE(uint32_t(plan.base[b]) + 16, srcWidth) << b;
        for (uint32_t r = 0; r < per; ++r)
            for (uint32_t k = 0; k < 8; ++k) {
                const uint8_t* m = plan.masks.data() + (size_t(b) * per + r) * 32 + 4 * k;
                EXPECT_EQ(plan.base[b] + m[0], index[size_t(r) * width + 8 * b + k]) << b << " " << r << " " << k;
                EXPECT_EQ(m[1] & m[2] & m[3] & 0x80, 0x80) << "upper bytes of a lane are zero";
            }
    }
    // Columns 3 samples apart spread over 22 samples a block: none planned.
    for (uint32_t x = 0; x < width; ++x)
        for (uint32_t r = 0; r < per; ++r) index[size_t(r) * width + x] = int32_t(std::min(80u, 3 * x + r));
    const AreaSweepPlan wide = BuildAreaSweepPlan(index.data(), per, width, 81);
    for (int32_t base : wide.base) EXPECT_EQ(base, -1);
}

}  // namespace
}  // namespace tarn
