// The copies: every form on sizes around its block boundaries, unaligned,
// with canaries; row copies with the flip; smoothing against its formula.
#include "convert/fast_copy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "kernel_harness.h"

namespace {

using namespace tarn;

using CopyFn = void (*)(void*, const void*, size_t);

TEST(FastCopy, EveryFormCopiesEverySizeAroundItsBlocks) {
    const struct {
        const char* name;
        CopyFn fn;
    } forms[] = {{"FastCopyMmxTier", FastCopyMmxTier}, {"FastCopyStream", FastCopyStream},
                 {"FastCopyWide", FastCopyWide}, {"FastCopy", FastCopy}};
    const size_t sizes[] = {0, 1, 15, 16, 17, 63, 64, 65, 127, 128, 129, 191, 255, 256, 257, 1000, 4099};
    const std::vector<uint8_t> src = tarn::test::RandomBytes(4099 + 64, 5);
    for (const auto& form : forms)
        for (size_t size : sizes)
            for (size_t srcOffset : {0, 1, 7})
                for (size_t dstOffset : {0, 3, 8, 13}) {
                    std::vector<uint8_t> dst(size + 64, 0xCD);
                    form.fn(dst.data() + dstOffset, src.data() + srcOffset, size);
                    for (size_t i = 0; i < dst.size(); ++i) {
                        const bool inside = i >= dstOffset && i < dstOffset + size;
                        const uint8_t expected = inside ? src[i - dstOffset + srcOffset] : 0xCD;
                        ASSERT_EQ(dst[i], expected) << form.name << " size " << size << " src+"
                                                    << srcOffset << " dst+" << dstOffset << " at " << i;
                    }
                }
}

TEST(FastCopy, EveryTierGivesTheSameBytes) {
    const std::vector<uint8_t> src = tarn::test::RandomBytes(1920 * 4 + 3, 9);
    for (uint32_t word : {0u, kCpuMmx, kCpuMmx | kCpuSse2}) {
        ScopedKernelChoice choice(word, SimdForm::Avx2);
        std::vector<uint8_t> dst(src.size());
        FastCopy(dst.data(), src.data(), src.size());
        EXPECT_EQ(dst, src) << DescribeKernelChoice();
    }
}

using RowsFn = void (*)(uint8_t*, int32_t, const uint8_t*, int32_t, int32_t, int32_t);

// Reference for the row copies: row y of the output is source row y, or
// height-1-y when the height is negative.
TEST(CopyRowsPlain, CopyEachRowForwardOrFromTheLastRowUp) {
    const RowsFn forms[] = {CopyRowsPlain, CopyRowsMmxTier, CopyRowsWide};
    const int32_t widths[] = {1, 63, 64, 65, 127, 128, 200};
    for (RowsFn fn : forms)
        for (int32_t width : widths)
            for (int32_t height : {3, -3, 5, -5}) {
                const int32_t rows = height < 0 ? -height : height;
                const int32_t srcStride = width + 9, dstStride = width + 5;
                const std::vector<uint8_t> src = tarn::test::RandomBytes(size_t(srcStride) * rows, uint32_t(width));
                std::vector<uint8_t> dst(size_t(dstStride) * rows, 0xCD);
                fn(dst.data(), dstStride, src.data(), srcStride, width, height);
                for (int32_t y = 0; y < rows; ++y) {
                    const int32_t from = height < 0 ? rows - 1 - y : y;
                    for (int32_t x = 0; x < dstStride; ++x) {
                        const uint8_t expected = x < width ? src[from * srcStride + x] : 0xCD;
                        ASSERT_EQ(dst[y * dstStride + x], expected) << width << "x" << height;
                    }
                }
            }
}

TEST(CopyRowsSmoothPlain, SmoothMiddleRowsWithTheirNeighboursAndKeepTheEdges) {
    struct Form {
        RowsFn fn;
        int block;        // bytes per block that use the block average
        bool truncating;  // block average truncates
    };
    const Form forms[] = {{CopyRowsSmoothPlain, 1, false},
                          {CopyRowsSmoothMmxTier, 8, true},
                          {CopyRowsSmoothPavgTier, 8, false},
                          {CopyRowsSmoothWide, 16, false}};
    for (const Form& form : forms)
        for (int32_t width : {1, 7, 8, 9, 15, 16, 17, 33})
            for (int32_t height : {2, 3, 6, -6}) {
                const int32_t rows = height < 0 ? -height : height;
                const int32_t stride = width + 3;
                const std::vector<uint8_t> src = tarn::test::RandomBytes(size_t(stride) * rows, uint32_t(width * 31 + rows));
                std::vector<uint8_t> dst(size_t(stride) * rows, 0xCD);
                form.fn(dst.data(), stride, src.data(), stride, width, height);
                auto at = [&](int32_t row, int32_t x) {
                    return int(src[(height < 0 ? rows - 1 - row : row) * stride + x]);
                };
                const int32_t blockBytes = width / form.block * form.block;
                for (int32_t y = 0; y < rows; ++y)
                    for (int32_t x = 0; x < width; ++x) {
                        int expected = at(y, x);
                        if (y > 0 && y < rows - 1) {
                            expected = (form.truncating && x < blockBytes)
                                           ? ref::T(at(y - 1, x), at(y + 1, x), at(y, x))
                                           : ref::S(at(y - 1, x), at(y + 1, x), at(y, x));
                        }
                        ASSERT_EQ(dst[y * stride + x], expected)
                            << "form block " << form.block << " " << width << "x" << height << " at "
                            << x << "," << y;
                    }
            }
}

TEST(CopyRowsSmoothPlain, TruncatingBlocksDarkenAnOddFlatGrey) {
    // t(a, a, a) is not a for odd a: 101 -> (50 + 50) / 2 + 50 = 100.
    std::vector<uint8_t> src(16 * 3, 101), dst(16 * 3, 0);
    CopyRowsSmoothMmxTier(dst.data(), 16, src.data(), 16, 16, 3);
    EXPECT_EQ(dst[16], 100);
    CopyRowsSmoothPlain(dst.data(), 16, src.data(), 16, 16, 3);
    EXPECT_EQ(dst[16], 101);
}

}  // namespace
