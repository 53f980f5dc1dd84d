// The 4:2:2 scaler in every form this machine runs against the plain form:
// enlargements and shrinks by awkward ratios, widths whose rows end inside
// a vector step, sources that end where their last row ends, bottom-up
// targets with canaries around them, and a target over its own source.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "scale/scale.h"

namespace tarn {
namespace {

TEST(PackedScaleForms, AgreeWithThePlainForm) {
    struct Size {
        int32_t sw, sh, dw, dh;
    };
    const Size sizes[] = {{40, 20, 80, 40}, {37, 11, 101, 29}, {64, 30, 96, 45}, {97, 33, 48, 16}, {1, 1, 9, 3},
                          {3, 2, 2, 1},     {160, 12, 20, 3},  {15, 7, 61, 23},  {33, 5, 35, 9},  {2, 9, 1, 4},
                          {96, 40, 48, 20}, {64, 32, 16, 8},   {50, 30, 25, 10}};
    std::mt19937 rng(41);
    const size_t margin = 40;
    for (const Size& s : sizes)
        for (bool up : {false, true}) {
            const int32_t srcStride = 2 * s.sw;  // the last row ends the buffer
            std::vector<uint8_t> src(size_t(srcStride) * s.sh);
            for (auto& b : src) b = uint8_t(rng());
            const int32_t dstStride = 2 * s.dw + 6;
            auto run = [&](SimdForm form) {
                ScopedKernelChoice choice(g_cpuFeatures, form);
                std::vector<uint8_t> out(size_t(dstStride) * s.dh + 2 * margin, 0x3C);
                uint8_t* dst = out.data() + margin + (up ? size_t(dstStride) * (s.dh - 1) : 0);
                ScalePacked({dst, uint32_t(s.dw), uint32_t(s.dh), up ? -dstStride : dstStride, 2},
                            {src.data(), uint32_t(s.sw), uint32_t(s.sh), srcStride, 2});
                return out;
            };
            const auto plain = run(SimdForm::Plain);
            for (size_t i = 0; i < margin; ++i) {
                ASSERT_EQ(plain[i], 0x3C);
                ASSERT_EQ(plain[plain.size() - 1 - i], 0x3C);
            }
            for (SimdForm f : {SimdForm::Sse2, SimdForm::Avx2}) {
                if (HostSimdForm() < f) continue;
                EXPECT_EQ(run(f), plain) << s.sw << "x" << s.sh << "->" << s.dw << "x" << s.dh << (up ? " up " : " ")
                                         << FormName(f);
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
    for (SimdForm f : {SimdForm::Sse2, SimdForm::Avx2}) {
        if (HostSimdForm() < f) continue;
        EXPECT_EQ(run(f), plain) << FormName(f);
    }
}

}  // namespace
}  // namespace tarn
