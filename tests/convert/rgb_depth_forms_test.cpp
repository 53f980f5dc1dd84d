// The RGB depth conversions on frames that share bytes, in every form this
// machine runs (their reference forms are in reference_forms_test).
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "convert/conversion_kernels.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"

namespace tarn {
namespace {

TEST(RgbDepthForms, FramesThatShareBytesGiveThePlainBytes) {
    // Narrowing in place (target over the source) and widening into a
    // buffer whose target rows begin inside the source: every form as plain.
    std::mt19937 rng(22);
    const int32_t width = 37, rows = 5;
    for (int sb : {4, 3}) {
        const int db = 7 - sb;
        const int32_t srcStride = width * 4;
        std::vector<uint8_t> start(size_t(srcStride) * rows * 2 + 64);
        for (auto& b : start) b = uint8_t(rng());
        auto run = [&](SimdForm form) {
            ScopedKernelChoice choice(g_cpuFeatures, form);
            std::vector<uint8_t> buf = start;
            uint8_t* src = buf.data() + (sb == 3 ? 40 : 0);
            uint8_t* dst = buf.data();
            if (sb == 4) ConvRgb32ToRgb24(dst, width * db, src, srcStride, width, rows);
            else ConvRgb24ToRgb32(dst + 24, width * db, src, width * 3, width, rows);
            return buf;
        };
        const auto plain = run(SimdForm::Plain);
        for (SimdForm f : {SimdForm::Sse2, SimdForm::Avx2}) {
            if (HostSimdForm() < f) continue;
            EXPECT_EQ(run(f), plain) << sb << " " << FormName(f);
        }
    }
}

}  // namespace
}  // namespace tarn
