// The RGB depth conversions on frames that share bytes, in every form this
// machine runs (their reference forms are in reference_forms_test).
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "convert/conversion_kernels.h"
#include "convert/rgb_depth_rows.h"
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

#if defined(TARN_HAVE_X86_SIMD)
TEST(RgbDepthForms, Avx2RowsGiveThePlainRowsAtEveryWidthAndOffset) {
    // Every width through several steps of the widest block and each kind of
    // tail, from every offset within a 32-byte line; the bytes around the
    // target row stay as they were.
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    std::mt19937 rng(7);
    struct Row {
        RgbDepthRowFn fast, plain;
        int sb, db;
    };
    const Row rows[] = {{Rgb32ToRgb24RowAvx2, Rgb32ToRgb24RowPlain, 4, 3},
                        {Rgb24ToRgb32RowAvx2, Rgb24ToRgb32RowPlain, 3, 4}};
    const int kMaxWidth = 140, kPad = 40;
    std::vector<uint8_t> src(size_t(kMaxWidth) * 4 + 64);
    for (auto& b : src) b = uint8_t(rng());
    for (const Row& r : rows)
        for (int32_t width = 0; width <= kMaxWidth; ++width)
            for (int offset = 0; offset < 32; offset += 5) {
                std::vector<uint8_t> want(size_t(kMaxWidth) * 4 + 2 * kPad, 0xA5), got = want;
                r.plain(want.data() + kPad + offset, src.data() + offset, width);
                r.fast(got.data() + kPad + offset, src.data() + offset, width);
                ASSERT_EQ(got, want) << r.sb << " to " << r.db << ", width " << width << ", offset " << offset;
            }
}
#endif

}  // namespace
}  // namespace tarn
