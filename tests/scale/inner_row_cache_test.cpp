// The cached bilinear Inner of 3- and 4-byte pixels against the plain Inner, call
// by call, through sequences of source rows that reuse, swap and repeat the
// rows the cache holds.
#include "scale/inner_row_cache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "scale/inner_rows.h"
#include "scale/nearest_rows.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

void ExpectCallsGiveThePlainBytes(uint32_t pixelBytes) {
    const CachedInnerRowFn cached = PickCachedInnerRow(pixelBytes);
    const InnerRowFn plain = pixelBytes == 3 ? InnerRow33Plain : InnerRow44Plain;
    std::mt19937 rng(17);
    const uint32_t srcWidth = 90, rows = 12;
    const int32_t stride = int32_t(srcWidth * pixelBytes + 12);
    auto src = test::RandomBytes(size_t(stride) * rows + 16, rng);
    // Source row of each call, and the row below it as a stride multiple.
    struct Call {
        uint32_t row;
        int32_t below;
    };
    // The tail is field pairs of an enlargement: 2k and 2k + 1, 2k + 1 and
    // 2k + 2, then 2k again.
    const Call calls[] = {{0, 1}, {1, 1}, {3, 1}, {4, 1}, {4, 1}, {5, -1}, {5, 0}, {2, 3}, {5, -3}, {9, 2}, {11, -2},
                          {6, 1}, {7, 1}, {6, 1}, {7, 1}, {8, 1}, {9, 1}, {8, 1}, {9, 1}, {8, 1}};
    // Columns spread over the row (groups too wide for one window at small
    // lengths), or consecutive from a start (the last group's window slides
    // left to end at the band's last S+).
    for (uint32_t spread : {0u, 1u})
    for (uint32_t len : {4u, 5u, 7u, 8u, 13u, 40u, 83u}) {
        std::vector<uint32_t> co(len + 8), cw(len + 8);
        for (uint32_t j = 0; j < len; ++j) co[j] = pixelBytes * (spread ? uint32_t(j * (srcWidth - 2) / len) : j + 2);
        for (auto& w : cw) {
            const uint32_t r = uint32_t(rng());
            w = (r & 1) ? (r >> 8 & 255) * 0x01010101u : r;  // replicated or per lane
        }
        for (int cacheRows : {2, 3}) {
            InnerRowCache cache(len, cacheRows);
            ASSERT_TRUE(cache.Ready());
            for (const Call& c : calls) {
                const uint32_t rw = (uint32_t(rng()) & 255) * 0x01010101u;
                const uint8_t* row = src.data() + size_t(c.row) * stride;
                std::vector<uint8_t> want(size_t(len) * 4 + 8, 0x3C), got(want);
                plain(want.data(), row, cw.data(), co.data(), len, c.below * stride, rw);
                cached(got.data(), row, cw.data(), co.data(), len, c.below * stride, rw, cache);
                ASSERT_EQ(got, want) << pixelBytes << " bytes, len " << len << " row " << c.row << " below " << c.below
                                     << ", " << cacheRows << " cache rows";
            }
        }
    }
}

TEST(InnerRowCache, EachCallGivesThePlainBytes) {
    if (!PickCachedInnerRow(3) || !PickCachedInnerRow(4)) GTEST_SKIP() << "no cached form on this machine";
    ExpectCallsGiveThePlainBytes(3);
    ExpectCallsGiveThePlainBytes(4);
}

TEST(InnerRowCache, ImagesAgreeAcrossFormsInPlaceToo) {
    // Apart and in place (target over its source, where nothing is cached):
    // every form gives the plain bytes.
    std::mt19937 rng(8);
    // A shrink (where only 4-byte pixels cache) and an enlargement. In place,
    // 3-byte rows differ between forms whatever the cache: each form reads
    // pixels its own stores at pitch 3 have already changed at other times.
    struct Case {
        uint32_t pixelBytes, sw, sh, dw, dh;
    };
    for (const Case c : {Case{4, 61, 37, 45, 29}, Case{3, 61, 37, 45, 29}, Case{3, 45, 29, 61, 37}})
        for (bool inPlace : {false, true})
            for (uint32_t mode : {1u, 2u, 5u}) {
                if (inPlace && c.pixelBytes == 3) continue;
                const auto start =
                    test::RandomBytes(size_t(std::max(c.sw * c.sh, c.dw * c.dh)) * c.pixelBytes + 64, rng);
                test::ExpectFormsAgree(
                    [&] {
                        return test::ScaleInOneBlock(start, {c.sw, c.sh, c.dw, c.dh}, c.pixelBytes, mode, inPlace);
                    },
                    test::Label(c.pixelBytes, "bytes", c.sw, c.sh, "mode", mode, "in place", inPlace));
            }
}

TEST(InnerRowCache, LargeTargetsStreamThePlainBytes) {
    // A 4-byte enlargement into a target large enough to be stored around
    // the caches: in place from the cache where the stride keeps the middle
    // band on one 16-byte phase (the run then starts 0 to 3 pixels before a
    // boundary), built aside otherwise. Every form gives the plain bytes and
    // leaves the bytes around the target alone.
    const uint32_t sw = 1001, sh = 713, dw = 1777, dh = 1777;
    ASSERT_TRUE(StreamsTarget(size_t(dw) * 4 * dh));
    std::mt19937 rng(41);
    auto src = test::RandomBytes(size_t(sw) * 4 * sh, rng);
    for (uint32_t pad : {12u, 0u})
        for (uint32_t shift : {0u, 4u, 12u})
            for (uint32_t mode : {1u, 5u}) {
                if (pad == 0 && shift) continue;
                const int32_t stride = int32_t(dw * 4 + pad);
                const size_t bytes = size_t(stride) * dh;
                std::vector<uint8_t> first;
                for (SimdForm form : {SimdForm::Plain, SimdForm::Avx2}) {
                    if (HostSimdForm() < form) continue;
                    ScopedKernelChoice choice(g_cpuFeatures, form);
                    // 64 bytes of canary on both sides of the target, which
                    // starts `shift` bytes past a 64-byte boundary.
                    std::vector<uint8_t> block(bytes + 256, 0x6B);
                    const size_t skew = (64 - reinterpret_cast<uintptr_t>(block.data()) % 64) % 64;
                    uint8_t* dst = block.data() + skew + 64 + shift;
                    ScaleImage({dst, dw, dh, stride, 4}, {src.data(), sw, sh, int32_t(sw * 4), 4},
                               {double(sw) / dw, double(sh) / dh}, mode, nullptr);
                    for (size_t i = 0; i < 64; ++i) ASSERT_EQ(dst[-1 - ptrdiff_t(i)], 0x6B) << FormName(form);
                    for (size_t i = 0; i < 64; ++i) ASSERT_EQ(dst[bytes + i], 0x6B) << FormName(form);
                    std::vector<uint8_t> got(dst, dst + bytes);
                    if (first.empty()) first = std::move(got);
                    else ASSERT_TRUE(got == first) << "pad " << pad << " shift " << shift << " mode " << mode;
                }
            }
}

}  // namespace
}  // namespace tarn
