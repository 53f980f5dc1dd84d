// The nearest 4-byte row and the streaming row store against their plain
// forms, and large 4-byte targets, whose rows are built aside and streamed,
// against the same scale written in place.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "scale/nearest_rows.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

constexpr uint8_t kCanary = 0xA7;

#if defined(TARN_HAVE_X86_SIMD)
// Offsets at random (any order, repeats), and rising by steps of `least` to
// `most` pixels up to the row's end: repeats and single steps (an
// enlargement, one window per eight pixels), the same with a jump of 9 every
// 29 steps (rows that try one window first, with groups that need two or
// none), steps up to 3 (mostly two windows), exact halving, and steps of 4
// to 9 (no window).
struct Steps {
    uint32_t least, most, jumpEvery;
};
constexpr Steps kRandom{0, 0, 0};
constexpr Steps kStepKinds[] = {kRandom, {0, 1, 0}, {0, 1, 29}, {0, 3, 0}, {2, 2, 0}, {4, 9, 0}};

// A column table of `len` offsets into a row of `width` 4-byte pixels.
std::vector<uint32_t> Columns(Steps steps, uint32_t width, uint32_t len, std::mt19937& rng) {
    const bool rising = steps.most > 0;
    std::vector<uint32_t> co(len + 8);
    uint32_t sample = rng() % 8;
    for (size_t i = 0; i < co.size(); ++i) {
        co[i] = rising ? std::min(sample, width - 1) * 4 : rng() % width * 4;
        if (rising) sample += steps.least + rng() % (steps.most - steps.least + 1);
        if (steps.jumpEvery && i % steps.jumpEvery == steps.jumpEvery - 1) sample += 9;
    }
    return co;
}

TEST(NearestRows, WindowsMatchPlain) {
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    std::mt19937 rng(7);
    // A narrow source row, whose end most rising rows reach, and a wide one.
    for (const uint32_t width : {70u, 700u})
        for (uint32_t len : {0u, 1u, 7u, 8u, 9u, 15u, 16u, 17u, 63u, 64u})
            for (const Steps steps : kStepKinds) {
                auto src = test::RandomBytes(width * 4, rng);  // no slack: a read past the row shows under ASan
                const std::vector<uint32_t> co = Columns(steps, width, len, rng);
                // Targets at every 4-byte phase of a 32-byte line, and off the
                // 4-byte grid.
                for (size_t at : {32u, 36u, 44u, 60u, 33u}) {
                    alignas(32) uint8_t a[64 * 4 + 96], b[64 * 4 + 96];
                    std::memset(a, kCanary, sizeof a);
                    std::memset(b, kCanary, sizeof b);
                    // A row to fetch ahead, given at most phases, changes no byte.
                    const uint8_t* ahead = at % 8 ? src.data() : nullptr;
                    NearestRow44Plain(a + at, src.data(), co.data(), len, width * 4, nullptr);
                    NearestRow44Avx2(b + at, src.data(), co.data(), len, width * 4, ahead);
                    ASSERT_EQ(0, std::memcmp(a, b, sizeof a))
                        << width << " wide, " << len << " long, steps " << steps.least << "-" << steps.most << "/"
                        << steps.jumpEvery << " at " << at;
                    for (uint32_t x = 0; x < len; ++x) ASSERT_EQ(0, std::memcmp(&a[at + 4 * x], &src[co[x]], 4)) << x;
                    ASSERT_EQ(a[at - 1], kCanary);
                    ASSERT_EQ(a[at + 4 * len], kCanary);
                }
            }
}

void ExpectStreamedCopiesMatchPlain(NearestCopies44Fn fast) {
    std::mt19937 rng(17);
    constexpr size_t kRoom = 3 * 384 + 160;
    for (const uint32_t width : {70u, 700u})
        for (uint32_t len : {0u, 1u, 7u, 9u, 17u, 32u, 47u, 64u})
            for (const Steps steps : kStepKinds) {
                auto src = test::RandomBytes(width * 4, rng);  // no slack
                const std::vector<uint32_t> co = Columns(steps, width, len, rng);
                for (const ptrdiff_t pitch : {288, 292, 301, 320, -320, -384})
                    for (uint32_t copies : {1u, 2u, 3u})
                        for (size_t at : {64u, 96u, 108u, 124u, 97u}) {
                            alignas(64) uint8_t a[kRoom], b[kRoom];
                            std::memset(a, kCanary, sizeof a);
                            std::memset(b, kCanary, sizeof b);
                            const size_t first = at + (pitch < 0 ? size_t(-pitch) * 2 : 0);
                            const uint8_t* ahead = at % 16 ? src.data() : nullptr;
                            NearestCopies44Plain(a + first, pitch, copies, src.data(), co.data(), len, width * 4,
                                                 nullptr);
                            fast(b + first, pitch, copies, src.data(), co.data(), len, width * 4, ahead);
                            StreamFenceSse2();
                            ASSERT_EQ(0, std::memcmp(a, b, sizeof a))
                                << width << " wide, " << len << " long, steps " << steps.least << "-" << steps.most
                                << "/" << steps.jumpEvery << ", pitch " << pitch << " x" << copies << " at " << at;
                            std::vector<bool> inside(sizeof a);
                            for (uint32_t c = 0; c < copies; ++c) {
                                const size_t row = first + size_t(pitch * ptrdiff_t(c));
                                for (uint32_t x = 0; x < len; ++x)
                                    ASSERT_EQ(0, std::memcmp(a + row + 4 * x, &src[co[x]], 4)) << c << " " << x;
                                std::fill(inside.begin() + ptrdiff_t(row), inside.begin() + ptrdiff_t(row + 4 * len),
                                          true);
                            }
                            for (size_t i = 0; i < sizeof a; ++i) {
                                if (!inside[i]) {
                                    ASSERT_EQ(a[i], kCanary) << "byte " << i << " outside the copies";
                                }
                            }
                        }
            }
}

// The streamed rows: one to three copies of a row, at pitches of whole
// 64-byte and 32-byte lines (the copies stored together), of a part of one
// (copy by copy), off the 4-byte grid, and downwards; every copy holds the
// row's samples and nothing between or around the copies is written.
TEST(NearestRows, StreamedCopiesMatchPlain) {
    const struct {
        SimdForm form;
        NearestCopies44Fn fn;
    } kForms[] = {{SimdForm::Avx2, NearestCopies44Avx2}, {SimdForm::Avx512, NearestCopies44Avx512}};
    for (const auto& form : kForms) {
        if (HostSimdForm() < form.form) continue;
        SCOPED_TRACE(FormName(form.form));
        ExpectStreamedCopiesMatchPlain(form.fn);
    }
}

// Forms for tables of one step: rows that end at their last sample (the last
// groups' loads would pass the end) or a little beyond it, from either phase.
TEST(NearestRows, UniformStepFormsMatchPlain) {
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    std::mt19937 rng(11);
    const struct {
        uint32_t pixels;
        NearestRow44Fn fast;
    } kForms[] = {{2, NearestRow44HalvesAvx2}, {4, NearestRow44QuartersAvx2}};
    for (const auto& form : kForms)
        for (uint32_t len : {1u, 7u, 8u, 9u, 16u, 17u, 40u})
            for (uint32_t first : {0u, 3u})
                for (uint32_t beyond : {0u, 1u, 5u, 40u}) {
                    const uint32_t width = first + (len - 1) * form.pixels + 1 + beyond;
                    auto src = test::RandomBytes(width * 4, rng);  // no slack
                    std::vector<uint32_t> co(len);
                    for (uint32_t x = 0; x < len; ++x) co[x] = (first + x * form.pixels) * 4;
                    ASSERT_EQ(len > 1 ? form.pixels * 4 : 0u, UniformStep(co.data(), len));
                    std::vector<uint8_t> a(4 * len + 8, kCanary), b(4 * len + 8, kCanary);
                    const uint8_t* ahead = beyond % 2 ? src.data() : nullptr;
                    NearestRow44Plain(a.data() + 4, src.data(), co.data(), len, width * 4, nullptr);
                    form.fast(b.data() + 4, src.data(), co.data(), len, width * 4, ahead);
                    ASSERT_EQ(a, b) << form.pixels << " " << len << " " << first << " " << beyond;
                }
}
#endif

// 3-byte rows: each pixel's three bytes are its sample's, nothing is written
// past the row, and no byte is read past the source row (no slack), whether
// a row to fetch ahead is given or not.
TEST(NearestRows, ThreeByteRowsHoldTheirSamplesOnly) {
    std::mt19937 rng(12);
    const NearestRow33Fn forms[] = {NearestRow33Plain, PickNearestRow33()};
    for (uint32_t width : {1u, 5u, 64u})
        for (uint32_t len : {1u, 2u, 5u, 9u, 40u})
            for (uint32_t most : {1u, 3u, 9u}) {
                auto src = test::RandomBytes(width * 3, rng);
                std::vector<uint32_t> co(len);
                uint32_t sample = 0;
                for (auto& o : co) {
                    o = std::min(sample, width - 1) * 3;
                    sample += rng() % (most + 1);
                }
                co.back() = (width - 1) * 3;  // the last sample, read as 3 bytes
                const uint8_t* const aheads[] = {nullptr, src.data()};
                for (const NearestRow33Fn form : forms)
                    for (const uint8_t* ahead : aheads) {
                        std::vector<uint8_t> out(3 * len + 6, kCanary);
                        form(out.data() + 3, src.data(), co.data(), len, (width - 1) * 3, ahead);
                        for (uint32_t x = 0; x < len; ++x)
                            ASSERT_EQ(0, std::memcmp(&out[3 + 3 * x], &src[co[x]], 3)) << width << " " << len << " " << x;
                        for (size_t i : {size_t(0), size_t(2), 3 * size_t(len) + 3, out.size() - 1})
                            ASSERT_EQ(out[i], kCanary) << i;
                    }
            }
}

TEST(NearestRows, UniformStepIsTheOneDistanceOrNone) {
    const uint32_t even[] = {8, 16, 24, 32}, uneven[] = {8, 16, 24, 36}, flat[] = {12, 12, 12};
    EXPECT_EQ(8u, UniformStep(even, 4));
    EXPECT_EQ(0u, UniformStep(uneven, 4));
    EXPECT_EQ(8u, UniformStep(uneven, 3));
    EXPECT_EQ(0u, UniformStep(flat, 3));
    EXPECT_EQ(0u, UniformStep(even, 1));
}

#if defined(TARN_HAVE_X86_SIMD)
TEST(NearestRows, StreamStoreCopiesExactlyTheRow) {
    std::mt19937 rng(8);
    auto src = test::RandomBytes(400, rng);
    for (size_t at : {0u, 1u, 3u, 4u, 15u})
        for (size_t bytes : {0u, 1u, 15u, 16u, 17u, 63u, 64u, 65u, 129u, 300u}) {
            alignas(16) uint8_t out[400];
            std::memset(out, kCanary, sizeof out);
            StreamRowSse2(out + at, src.data(), bytes);
            for (size_t i = 0; i < sizeof out; ++i) {
                const bool inside = i >= at && i < at + bytes;
                ASSERT_EQ(out[i], inside ? src[i - at] : kCanary) << at << " " << bytes << " " << i;
            }
        }
}
#endif

// Scales one source twice with every form this machine runs, in both row
// orders: apart, and with the target rows between the source rows, where the
// drivers see the target near the source and neither cache blends, build
// rows aside nor copy pixels with wider stores. The rows must agree.
void ExpectApartEqualsShared(uint32_t pixelBytes, uint32_t sw, uint32_t sh, uint32_t dw, uint32_t dh) {
    const int32_t srcRow = int32_t(sw * pixelBytes), dstRow = int32_t(dw * pixelBytes);
    // 3-byte rows end in a 4-byte store: padding takes its spare byte.
    const int32_t dstStride = dstRow + (pixelBytes == 3 ? 5 : 0);
    // Shared layout: each source row, then 24 bytes of gap, then a target row.
    const int32_t shared = srcRow + 24 + dstRow + 8;
    std::mt19937 rng(9);
    auto pixels = test::RandomBytes(size_t(srcRow) * sh + 8, rng);
    std::vector<uint8_t> both(size_t(shared) * std::max(sh, dh) + 64, kCanary);
    for (uint32_t y = 0; y < sh; ++y)
        std::memcpy(&both[size_t(y) * shared], &pixels[size_t(y) * srcRow], size_t(srcRow));
    const ScaleSource apartSource{pixels.data(), sw, sh, srcRow, pixelBytes};
    const ScaleSource sharedSource{both.data(), sw, sh, shared, pixelBytes};
    const ScaleSteps steps{double(sw) / dw, double(sh) / dh};
    for (uint32_t quality : {uint32_t(SCALE_NEAREST), uint32_t(SCALE_BILINEAR), uint32_t(SCALE_BILINEAR_FADE),
                             uint32_t(SCALE_FIELD_BILINEAR)}) {
        for (int32_t sign : {1, -1}) {
            // In place, plain form, target between the source rows.
            std::vector<uint8_t> inPlace(size_t(dstRow) * dh);
            {
                ScopedKernelChoice choice(g_cpuFeatures, SimdForm::Plain);
                uint8_t* first = both.data() + srcRow + 24 + (sign > 0 ? 0 : size_t(shared) * (dh - 1));
                ScaleImage({first, dw, dh, sign * shared, pixelBytes}, sharedSource, steps, quality);
                for (uint32_t y = 0; y < dh; ++y)
                    std::memcpy(&inPlace[size_t(y) * dstRow], both.data() + size_t(y) * shared + srcRow + 24,
                                size_t(dstRow));
                for (uint32_t y = 0; y < sh; ++y)
                    ASSERT_EQ(0, std::memcmp(&both[size_t(y) * shared], &pixels[size_t(y) * srcRow], size_t(srcRow)))
                        << "the source rows stay as they were";
            }
            test::ForEachForm([&](SimdForm form) {
                SCOPED_TRACE(testing::Message() << pixelBytes << " bytes, " << sw << "x" << sh << " to " << dw << "x"
                                                << dh << ", quality " << quality << " sign " << sign << " "
                                                << FormName(form));
                std::vector<uint8_t> out(size_t(dstStride) * dh + 32, kCanary);
                uint8_t* first = out.data() + 16 + (sign > 0 ? 0 : size_t(dstStride) * (dh - 1));
                ScaleImage({first, dw, dh, sign * dstStride, pixelBytes}, apartSource, steps, quality);
                for (uint32_t y = 0; y < dh; ++y)
                    ASSERT_EQ(0, std::memcmp(out.data() + 16 + size_t(y) * dstStride, &inPlace[size_t(y) * dstRow],
                                             size_t(dstRow)))
                        << "row " << y;
                for (size_t i = 0; i < 16; ++i) ASSERT_EQ(out[i], kCanary);
                for (size_t i = out.size() - 15; i < out.size(); ++i) ASSERT_EQ(out[i], kCanary);
            });
        }
    }
}

TEST(NearestRows, TargetsEqualTargetsWrittenInPlace) {
    // 4-byte targets large enough to stream their rows (a stride of whole
    // 64-byte lines, whose repeated rows every form stores together, and a
    // stride that leaves them row by row; equal widths: whole rows), shrinks by whole
    // factors (column tables of one step), and wide copies of 3-byte pixels
    // (every third row fetched ahead; equal widths).
    ASSERT_TRUE(StreamsTarget(size_t(1990) * 4 * 1600));
    const struct {
        uint32_t pixelBytes, sw, sh, dw, dh;
    } cases[] = {{4, 1001, 801, 1990, 1600}, {4, 999, 533, 2000, 1600}, {4, 1990, 700, 1990, 1600}, {4, 402, 41, 201, 20},
                 {4, 404, 41, 101, 13},      {4, 408, 17, 51, 9},        {3, 301, 201, 517, 333},
                 {3, 301, 201, 150, 101},    {3, 300, 91, 100, 30},      {3, 64, 40, 64, 80}};
    for (const auto& c : cases) ExpectApartEqualsShared(c.pixelBytes, c.sw, c.sh, c.dw, c.dh);
}

}  // namespace
}  // namespace tarn
