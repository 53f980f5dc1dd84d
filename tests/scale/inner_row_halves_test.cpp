// The Inner form for runs at the midpoint weight against the plain Inner, and
// whole shrinks by powers of two through every form, which take that form.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "scale/inner_rows.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

// A run whose offsets step by `step` source pixels from `start` (or, with
// step 0, grow by 2 to 5 pixels at random), in a source exactly as long as
// the plain form reads: a load past it would leave the block, which the
// sanitizer build reports.
struct HalvesCase {
    uint32_t pixelBytes, start, step, len;
    int32_t sign;
};

TEST(InnerRowHalves, RunsGiveThePlainBytes) {
    std::mt19937 rng(5);
    std::vector<HalvesCase> cases;
    const uint32_t runs[][3] = {{3, 0, 2}, {3, 5, 2}, {4, 0, 2}, {4, 1, 4}, {4, 3, 8}, {4, 2, 0}};
    for (uint32_t len : {1u, 2u, 7u, 8u, 9u, 10u, 16u, 17u, 18u, 31u, 64u, 121u})
        for (int32_t sign : {1, -1})
            for (const auto& [pixelBytes, start, step] : runs) cases.push_back({pixelBytes, start, step, len, sign});
    int ran = 0;
    for (const HalvesCase& c : cases) {
        std::vector<uint32_t> co(c.len + 8), cw(c.len + 8, kHalfWord);
        uint32_t at = c.start;
        for (uint32_t j = 0; j < c.len; ++j) {
            co[j] = at * c.pixelBytes;
            at += c.step ? c.step : 2 + uint32_t(rng() % 4);
        }
        // The plain form reads 4 bytes at the last S+.
        const size_t rowBytes = co[c.len - 1] + c.pixelBytes + 4;
        const int32_t stride = int32_t(rowBytes + 3);
        auto src = test::RandomBytes(size_t(stride) + rowBytes, rng);
        // The run's row and the row below, that one first with a negative stride.
        const uint8_t* row = c.sign > 0 ? src.data() : src.data() + stride;
        const InnerRowFn plain = c.pixelBytes == 3 ? InnerRow33Plain : InnerRow44Plain;
        const HalvesInnerFn halves = PickHalvesInnerRow(c.pixelBytes, cw.data(), co.data(), c.len);
        if (c.len < 2) {
            EXPECT_EQ(halves, nullptr);
            continue;
        }
        if (HostSimdForm() < SimdForm::Avx2) continue;
        ASSERT_NE(halves, nullptr) << c.pixelBytes << " bytes, step " << c.step;
        // Canaries before and after: the plain form writes len * bytes + 1.
        std::vector<uint8_t> want(size_t(c.len) * 4 + 40, 0xC3), got(want);
        plain(want.data() + 16, row, cw.data(), co.data(), c.len, c.sign * stride, kHalfWord);
        // Asking for bytes further on changes nothing.
        const intptr_t ahead = c.len % 2 ? 0 : 64;
        halves(got.data() + 16, row, cw.data(), co.data(), c.len, c.sign * stride, kHalfWord, ahead);
        ASSERT_EQ(got, want) << c.pixelBytes << " bytes, start " << c.start << " step " << c.step << " len "
                             << c.len << " sign " << c.sign;
        ++ran;
    }
    if (HostSimdForm() >= SimdForm::Avx2) {
        EXPECT_GT(ran, 100);
    }
}

TEST(InnerRowHalves, OnlyMidpointRunsOfUsableStepsHaveAForm) {
    const uint32_t len = 20;
    std::vector<uint32_t> cw(len, kHalfWord), co(len);
    auto stepping = [&](uint32_t bytes) {
        for (uint32_t j = 0; j < len; ++j) co[j] = j * bytes;
    };
    stepping(8);
    cw[13] = 0x7F7F7F7Fu;
    EXPECT_EQ(PickHalvesInnerRow(4, cw.data(), co.data(), len), nullptr);
    cw[13] = 0x80808081u;  // one lane off
    EXPECT_EQ(PickHalvesInnerRow(4, cw.data(), co.data(), len), nullptr);
    cw[13] = kHalfWord;
    stepping(4);  // 4-byte samples one pixel apart overlap their pairs
    EXPECT_EQ(PickHalvesInnerRow(4, cw.data(), co.data(), len), nullptr);
    stepping(9);  // 3-byte samples three pixels apart
    EXPECT_EQ(PickHalvesInnerRow(3, cw.data(), co.data(), len), nullptr);
    stepping(16);
    co[7] = co[6];  // a repeated sample
    EXPECT_EQ(PickHalvesInnerRow(4, cw.data(), co.data(), len), nullptr);
}

TEST(InnerRowHalves, PowerOfTwoShrinksAgreeAcrossForms) {
    // Odd sizes shrunk by 2, 4 and 8 (whose tables put every interior weight
    // at the midpoint), apart and with negative strides: every form gives
    // the plain form's bytes and leaves the canaries around the target.
    std::mt19937 rng(23);
    struct Case {
        uint32_t pixelBytes, dw, dh, factor;
    };
    for (const Case c : {Case{4, 47, 21, 2}, Case{3, 47, 21, 2}, Case{4, 33, 17, 4}, Case{3, 49, 9, 2},
                         Case{4, 25, 11, 8}, Case{3, 33, 17, 4}, Case{4, 9, 5, 2}})
        for (uint32_t mode : {1u, 2u, 5u})
            for (int32_t sign : {1, -1}) {
                const test::WholeImage image{{c.dw * c.factor, c.dh * c.factor, c.dw, c.dh}, c.pixelBytes,
                                             c.pixelBytes, 3, 5, sign < 0};
                image.ExpectFormsAgree(image.Source(rng), mode);
            }
}

}  // namespace
}  // namespace tarn
