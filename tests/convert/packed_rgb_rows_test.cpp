// The row form from packed 4:2:2 to 32-bit RGB over every luma and chroma
// value at once, in every form this machine runs, against the vector form
// worked pixel by pixel: the fast forms fold the offsets into their products
// and reorder the pixel groups, which random rows would rarely push to the
// saturation points.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "convert/yuv_rows.h"
#include "kernel_harness.h"

namespace tarn::test {
namespace {

constexpr uint8_t kCanary = 0xCD;

TEST(PackedRgbRows, EveryLumaAndChromaGivesTheVectorForm) {
    // One row per Cb value: for each Cr, 128 pairs whose luma is y and
    // y + 128, so that every (y, Cb, Cr) appears once.
    constexpr size_t kPairs = 256 * 128, kPixels = 2 * kPairs;
    std::vector<uint8_t> row(4 * kPairs), want(4 * kPixels), out(4 * kPixels + 64);
    for (int u = 0; u < 256; ++u) {
        for (size_t i = 0; i < kPairs; ++i) {
            const int y = int(i % 128), v = int(i / 128);
            const uint8_t pair[4] = {uint8_t(y), uint8_t(u), uint8_t(y + 128), uint8_t(v)};
            std::copy(pair, pair + 4, row.begin() + ptrdiff_t(4 * i));
        }
        for (size_t x = 0; x < kPixels; ++x) {
            const uint8_t* p = row.data() + 4 * (x / 2);
            const ref::Rgb c = ref::Vector(p[2 * (x % 2)], p[1], p[3]);
            const uint8_t px[4] = {uint8_t(c.b), uint8_t(c.g), uint8_t(c.r), 0};
            std::copy(px, px + 4, want.begin() + ptrdiff_t(4 * x));
        }
        for (SimdForm form : FormsHere()) {
            std::fill(out.begin(), out.end(), kCanary);
            {
                ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, form);
                ActiveYuvRows().yuy2ToBgra(out.data(), row.data(), kPixels);
            }
            const auto miss = std::mismatch(want.begin(), want.end(), out.begin());
            if (miss.first != want.end()) {
                const size_t x = size_t(miss.first - want.begin()) / 4;
                const uint8_t* p = row.data() + 4 * (x / 2);
                FAIL() << FormName(form) << " y " << int(p[2 * (x % 2)]) << " u " << u << " v " << int(p[3])
                       << " byte " << (miss.first - want.begin()) % 4 << ": " << int(*miss.second) << " for "
                       << int(*miss.first);
            }
            for (size_t k = 4 * kPixels; k < out.size(); ++k) ASSERT_EQ(out[k], kCanary) << FormName(form);
        }
    }
}

}  // namespace
}  // namespace tarn::test
