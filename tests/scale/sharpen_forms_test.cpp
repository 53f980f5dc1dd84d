// The sharpening passes in every form this machine runs against the plain
// form: planes narrower and shorter than the blur's taps, widths that end
// inside a vector step, rows with padding, planes whose differences stay
// within the dead band (nothing changes) or reach one side only.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "scale/sharpen.h"

namespace tarn {
namespace {

TEST(SharpenForms, PlanesAgreeWithThePlainForm) {
    struct Size {
        int32_t w, h;
    };
    const Size sizes[] = {{1, 1}, {3, 2}, {8, 9}, {9, 8}, {17, 17}, {25, 4}, {33, 21}, {64, 40}, {101, 13}};
    std::mt19937 rng(51);
    // Random bytes, a flat plane, a gentle ramp (differences inside the dead
    // band), and dark noise on one bright spot (one side only).
    for (int kind = 0; kind < 4; ++kind)
        for (const Size& s : sizes) {
            const int32_t stride = s.w + 5;
            std::vector<uint8_t> start(size_t(stride) * s.h);
            for (size_t i = 0; i < start.size(); ++i) {
                const int32_t x = int32_t(i % stride), y = int32_t(i / stride);
                start[i] = kind == 0 ? uint8_t(rng())
                           : kind == 1 ? 77
                           : kind == 2 ? uint8_t(x + y)
                                       : uint8_t((x == s.w / 2 && y == s.h / 2) ? 250 : rng() % 8);
            }
            auto run = [&](SimdForm form) {
                ScopedKernelChoice choice(g_cpuFeatures, form);
                std::vector<uint8_t> plane = start;
                SharpenPlane(plane.data(), s.w, s.h, stride);
                std::vector<uint8_t> blur(size_t(s.w) * s.h);
                std::vector<uint8_t> tight(size_t(s.w) * s.h);
                for (int32_t y = 0; y < s.h; ++y)
                    for (int32_t x = 0; x < s.w; ++x) tight[size_t(y) * s.w + x] = start[size_t(y) * stride + x];
                GaussianBlurPlane(tight.data(), s.w, s.h, 1.5, blur.data());
                plane.insert(plane.end(), blur.begin(), blur.end());
                return plane;
            };
            const auto plain = run(SimdForm::Plain);
            if (kind == 1) {
                EXPECT_TRUE(std::equal(start.begin(), start.end(), plain.begin())) << "flat stays";
            }
            for (SimdForm f : {SimdForm::Sse2, SimdForm::Avx2}) {
                if (HostSimdForm() < f) continue;
                EXPECT_EQ(run(f), plain) << "kind " << kind << " " << s.w << "x" << s.h << " " << FormName(f);
            }
        }
}

}  // namespace
}  // namespace tarn
