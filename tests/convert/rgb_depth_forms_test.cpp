// The RGB depth conversions in every form this machine runs against the
// pixel-by-pixel definition: odd widths around the 8-pixel steps, top-down
// and bottom-up sources, target rows at a negative stride, canaries around
// the target, and frames that share bytes.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "convert/conversion_kernels.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"

namespace tarn {
namespace {

constexpr size_t kMargin = 40;
constexpr uint8_t kCanary = 0xA5;

// Runs one depth conversion in `form` with the target's rows stored
// bottom-up when asked (first row last in memory, negative stride).
std::vector<uint8_t> Convert(SimdForm form, int sb, int db, const std::vector<uint8_t>& src, int32_t srcStride,
                         int32_t width, int32_t height, bool targetUp) {
    ScopedKernelChoice choice(g_cpuFeatures, form);
    const int32_t rows = height < 0 ? -height : height;
    const int32_t stride = width * db + 3;
    std::vector<uint8_t> out(size_t(stride) * rows + 2 * kMargin, kCanary);
    uint8_t* first = out.data() + kMargin + (targetUp ? size_t(stride) * (rows - 1) : 0);
    const int32_t pitch = targetUp ? -stride : stride;
    if (sb == 3) ConvRgb24ToRgb32(first, pitch, src.data(), srcStride, width, height);
    else ConvRgb32ToRgb24(first, pitch, src.data(), srcStride, width, height);
    return out;
}

TEST(RgbDepthForms, EveryFormGivesThePixelByPixelBytes) {
    std::mt19937 rng(21);
    for (int sb : {3, 4}) {
        const int db = 7 - sb;
        for (int32_t width : {1, 2, 5, 7, 8, 9, 11, 15, 16, 17, 23, 31, 33, 64, 67, 1921})
            for (int32_t height : {1, 3, -4})
                for (bool up : {false, true}) {
                    const int32_t rows = height < 0 ? -height : height;
                    const int32_t srcStride = width * sb + (width & 3);  // source rows end where they end
                    std::vector<uint8_t> src(size_t(srcStride) * rows);
                    for (auto& b : src) b = uint8_t(rng());
                    // Expected: target row y holds source row y (or rows - 1 - y
                    // for a negative height), three bytes copied, 0 for a fourth.
                    const int32_t stride = width * db + 3;
                    std::vector<uint8_t> want(size_t(stride) * rows + 2 * kMargin, kCanary);
                    for (int32_t y = 0; y < rows; ++y) {
                        const uint8_t* s = src.data() + size_t(srcStride) * (height < 0 ? rows - 1 - y : y);
                        uint8_t* d = want.data() + kMargin + size_t(stride) * (up ? rows - 1 - y : y);
                        for (int32_t x = 0; x < width; ++x)
                            for (int c = 0; c < db; ++c) d[x * db + c] = c == 3 ? 0 : s[x * sb + c];
                    }
                    for (SimdForm f : {SimdForm::Plain, SimdForm::Sse2, SimdForm::Avx2}) {
                        if (HostSimdForm() < f) continue;
                        ASSERT_EQ(Convert(f, sb, db, src, srcStride, width, height, up), want)
                            << sb << "->" << db << " " << width << "x" << height << (up ? " up " : " ")
                            << FormName(f);
                    }
                }
    }
}

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
