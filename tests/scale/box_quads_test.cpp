// Box rows of boxes 2, 4 or 8 samples wide and of unit boxes (at most one
// sample wide and tall), and the exact area shrink by 4 and 8, against the
// plain forms byte for byte: every family, lengths with and without tails,
// row counts in and out of range, source rows that end right after the
// plain form's last read, both stride signs, and canaries around targets.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "scale/box_shrink.h"
#include "scale/box_unit.h"
#include "scale/scale_bounds.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

using RowFn = void (*)(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
using UnitFn = void (*)(uint8_t*, const uint8_t*, const uint32_t*, uint32_t, const UnitWindows*);

struct Family {
    uint32_t sp, dp;
    RowFn plain;
    UnitFn unitPlain;
    RowFn paired, quad;  // boxes 2 and 4 or 8 samples wide; null where AVX2 is not built
    UnitFn unitAvx2;
};

template <BoxFamily F>
constexpr Family FamilyOf(uint32_t sp, uint32_t dp) {
#if defined(TARN_HAVE_X86_SIMD)
    return {sp, dp, BoxShrinkRowPlain<F>, BoxUnitRowPlain<F>, BoxPairedRowAvx2<F>, BoxQuadRowAvx2<F>,
            BoxUnitRowAvx2<F>};
#else
    return {sp, dp, BoxShrinkRowPlain<F>, BoxUnitRowPlain<F>, nullptr, nullptr, nullptr};
#endif
}

const Family kFamilies[] = {FamilyOf<BoxFamily::Bytes33>(3, 3), FamilyOf<BoxFamily::Bytes34>(3, 4),
                            FamilyOf<BoxFamily::Bytes43>(4, 3), FamilyOf<BoxFamily::Bytes44>(4, 4)};

constexpr uint8_t kFill = 0x5A;
constexpr size_t kMargin = 16;

// A target run with canaries on both sides; `Run` is the run's start.
struct Target {
    std::vector<uint8_t> bytes;
    explicit Target(size_t n) : bytes(n + 2 * kMargin, kFill) {}
    uint8_t* Run() { return bytes.data() + kMargin; }
};

TEST(BoxQuads, RowsMatchPlain) {
    if (!kFamilies[0].quad || HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    std::mt19937 rng(404);
    for (const Family& fam : kFamilies)
        for (uint32_t width : {2u, 4u, 8u})
            for (uint32_t len : {1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 10u, 15u, 16u, 17u, 23u, 25u, 31u, 40u, 64u})
                for (uint32_t rows = 0; rows <= 17; ++rows)
                    for (int sign : {1, -1}) {
                        const uint32_t start = 5 * fam.sp;  // the run begins inside the row
                        std::vector<uint32_t> offsets(len), counts(len, width);
                        for (uint32_t j = 0; j < len; ++j) offsets[j] = start + j * width * fam.sp;
                        // Each row ends right after the plain form's last 4-byte load.
                        const uint32_t rowBytes = offsets[len - 1] + (width - 1) * fam.sp + 4;
                        const int32_t stride = sign * int32_t(rowBytes + 3);
                        const uint32_t deep = std::clamp(rows, 1u, 16u);
                        auto src = test::RandomBytes(size_t(rowBytes + 3) * (deep - 1) + rowBytes, rng);
                        const uint8_t* first = src.data() + (sign < 0 ? size_t(rowBytes + 3) * (deep - 1) : 0);
                        Target want(size_t(len) * fam.dp + 1);
                        fam.plain(want.Run(), first, offsets.data(), counts.data(), len, stride, rows);
                        // The rows of boxes 4 or 8 wide take their blocks from
                        // the widest form allowed.
                        for (SimdForm form : {SimdForm::Avx2, SimdForm::Avx512}) {
                            if (HostSimdForm() < form) continue;
                            ScopedKernelChoice choice(g_cpuFeatures, form);
                            Target got(size_t(len) * fam.dp + 1);
                            (width == 2 ? fam.paired : fam.quad)(got.Run(), first, offsets.data(), counts.data(), len,
                                                                 stride, rows);
                            ASSERT_EQ(got.bytes, want.bytes) << fam.sp << "->" << fam.dp << " width " << width
                                                             << " len " << len << " rows " << rows << " sign " << sign
                                                             << " " << FormName(form);
                        }
                    }
}

TEST(BoxQuads, FourByFourBoxIsTheFlooredMean) {
    // A box of 4 x 4 divides by 16 exactly (an empty chain, a shift of 4):
    // samples x + 10 y + channel give a mean of 1.5 + 15 + channel, floored.
    for (const Family& fam : kFamilies) {
        const int32_t stride = int32_t(16 * fam.sp + 4);
        std::vector<uint8_t> src(size_t(stride) * 4);
        for (uint32_t y = 0; y < 4; ++y)
            for (uint32_t x = 0; x < 16; ++x)
                for (uint32_t ch = 0; ch < fam.sp; ++ch) src[y * stride + x * fam.sp + ch] = uint8_t(x % 4 + 10 * y + ch);
        const std::vector<uint32_t> offsets = {0, 4 * fam.sp, 8 * fam.sp, 12 * fam.sp}, counts(4, 4);
        Target out(4 * fam.dp + 1);
        fam.plain(out.Run(), src.data(), offsets.data(), counts.data(), 4, stride, 4);
        for (uint32_t j = 0; j < 4; ++j)
            for (uint32_t ch = 0; ch < 3; ++ch) EXPECT_EQ(out.Run()[j * fam.dp + ch], 16 + ch) << fam.sp << fam.dp;
    }
}

TEST(BoxUnit, ResolvesLaggingOffsets) {
    const uint32_t offsets[] = {40, 44, 48, 52, 56};
    const uint32_t counts[] = {0, 1, 0, 1, 1};
    std::vector<uint32_t> resolved;
    ASSERT_TRUE(ResolveUnitColumns(offsets, counts, 5, resolved));
    EXPECT_EQ(resolved, (std::vector<uint32_t>{kUnitBlack, 40, kUnitBlack, 44, 48}));
    const uint32_t wide[] = {1, 2, 1};
    EXPECT_FALSE(ResolveUnitColumns(offsets, wide, 3, resolved));
}

TEST(BoxUnit, RowsMatchPlainKernels) {
    // Counts of 0 and 1 in random order and in the patterns of growth by
    // 2 and 3/2, and runs of ones; the plain kernels with a row count of 1
    // are the reference.
    std::mt19937 rng(8);
    uint32_t planned = 0;
    for (const Family& fam : kFamilies)
        for (uint32_t len : {1u, 2u, 7u, 8u, 9u, 16u, 17u, 31u, 64u})
            for (int pattern = 0; pattern < 4; ++pattern) {
                std::vector<uint32_t> counts(len), offsets(len);
                for (uint32_t j = 0; j < len; ++j) {
                    counts[j] = pattern == 0 ? rng() % 2 : pattern == 1 ? j % 2 : pattern == 2 ? j % 3 != 0 : 1;
                    offsets[j] = (j + 2) * fam.sp;
                }
                // The row ends right after the last sample that can be read.
                auto src = test::RandomBytes(size_t(len + 1) * fam.sp + 4, rng);
                std::vector<uint32_t> resolved;
                ASSERT_TRUE(ResolveUnitColumns(offsets.data(), counts.data(), len, resolved));
                Target want(size_t(len) * fam.dp + 1), plain(want), fast(want);
                fam.plain(want.Run(), src.data(), offsets.data(), counts.data(), len, 0, 1);
                fam.unitPlain(plain.Run(), src.data(), resolved.data(), len, nullptr);
                ASSERT_EQ(plain.bytes, want.bytes) << fam.sp << "->" << fam.dp << " len " << len;
                if (!fam.unitAvx2 || HostSimdForm() < SimdForm::Avx2) continue;
                fam.unitAvx2(fast.Run(), src.data(), resolved.data(), len, nullptr);
                ASSERT_EQ(fast.bytes, want.bytes) << "AVX2 " << fam.sp << "->" << fam.dp << " len " << len;
                // The planned shuffles, wherever four pixels fit a window.
                UnitWindows windows;
                if (!PlanUnitWindows(resolved.data(), len, fam.dp, windows)) continue;
                ++planned;
                Target shuffled(want);
                std::fill(shuffled.bytes.begin(), shuffled.bytes.end(), kFill);
                fam.unitAvx2(shuffled.Run(), src.data(), resolved.data(), len, &windows);
                ASSERT_EQ(shuffled.bytes, want.bytes) << "windows " << fam.sp << "->" << fam.dp << " len " << len
                                                      << " pattern " << pattern;
            }
    if (HostSimdForm() >= SimdForm::Avx2) {
        EXPECT_GT(planned, 40u);
    }
}

TEST(BoxExact, WholeBoxesAndCutBoxesSumAlike) {
    // Boxes of several rows going up (negative stride) at source pitches 3
    // and 4, with the source span cut through some of them: each box is the
    // sum of its bytes inside the span, worked here byte by byte.
    std::mt19937 rng(61);
    auto src = test::RandomBytes(40 * 9, rng);
    const int32_t stride = -40;
    const uint8_t* row = src.data() + 40 * 8;  // the last buffer row first
    // The exact rows take the column word whole; the fade rows its low half.
    const uint32_t offsets[] = {0, 6, 13, 20}, counts[] = {3, 2, 0x00400004, 1}, plainCounts[] = {3, 2, 4, 1};
    const uint8_t bg[4] = {7, 70, 170, 0};
    for (uint32_t pitch : {3u, 4u})
        for (size_t cut : {size_t(0), size_t(40 * 3 + 17), size_t(40 * 6 + 2)}) {
            const ByteSpan span(AddrOf(src.data()) + cut, AddrOf(src.data()) + src.size());
            const ScaleBounds bounds{ByteSpan(0, UINTPTR_MAX), span};
            uint8_t exact[16], faded[16];
            std::fill(exact, exact + 16, kFill);
            std::fill(faded, faded + 16, kFill);
            const uint32_t rowWord = 0x00200005;
            BoxRowExact(exact, row, offsets, plainCounts, 4, stride, 5, 4, pitch, bounds);
            BoxRowFade(faded, row, offsets, counts, 4, stride, rowWord, 4, pitch, bg, bounds);
            for (uint32_t j = 0; j < 4; ++j) {
                const uint32_t cols = counts[j] & 0xFFFF, t = cols * 5;
                const uint32_t a = ((255 - (counts[j] >> 16)) * (255 - (rowWord >> 16))) >> 8;
                for (uint32_t ch = 0; ch < 3; ++ch) {
                    uint32_t sum = 0;
                    for (uint32_t i = 0; i < 5; ++i)
                        for (uint32_t k = 0; k < cols; ++k) {
                            const size_t at = 40 * (8 - i) + offsets[j] + k * pitch + ch;
                            sum += at >= cut ? src[at] : 0;
                        }
                    EXPECT_EQ(exact[4 * j + ch], sum / t) << pitch << " cut " << cut << " box " << j;
                    EXPECT_EQ(faded[4 * j + ch], (sum * a / t + bg[ch] * (255 - a)) / 255)
                        << pitch << " cut " << cut << " box " << j;
                }
                EXPECT_EQ(exact[4 * j + 3], kFill);
            }
        }
}

TEST(BoxExact, BoxesOfMoreThan256SamplesSumWithoutCarrying) {
    // 17 rows of 41 samples and 40 rows of 33 (more loads of eight samples
    // than a 16-bit lane holds), bytes near 255, at pitches 3 and 4 and both
    // stride signs: the exact mean of each channel, summed here byte by byte.
    std::mt19937 rng(67);
    for (uint32_t pitch : {3u, 4u})
        for (int sign : {1, -1})
            for (const auto& [rows, cols] : {std::pair{17u, 41u}, std::pair{40u, 33u}}) {
                const uint32_t rowBytes = cols * pitch + 1;
                std::vector<uint8_t> src(size_t(rowBytes) * rows);
                for (auto& b : src) b = uint8_t(240 + rng() % 16);
                const int32_t stride = sign * int32_t(rowBytes);
                const uint8_t* row = src.data() + (sign < 0 ? size_t(rowBytes) * (rows - 1) : 0);
                const uint32_t offsets[] = {0}, counts[] = {cols};
                uint8_t out[4] = {kFill, kFill, kFill, kFill};
                BoxRowExact(out, row, offsets, counts, 1, stride, rows, 4, pitch, ScaleBounds::Unchecked());
                for (uint32_t ch = 0; ch < 3; ++ch) {
                    uint32_t sum = 0;
                    for (uint32_t i = 0; i < rows; ++i)
                        for (uint32_t k = 0; k < cols; ++k) sum += row[intptr_t(i) * stride + k * pitch + ch];
                    EXPECT_EQ(out[ch], sum / (rows * cols)) << pitch << " " << sign << " channel " << ch;
                }
                EXPECT_EQ(out[3], kFill);
            }
}

TEST(BoxExact, RowsAgreeAcrossForms) {
    // Runs of boxes 1 to 20 samples wide (every length of a masked tail),
    // of 1 to 17 rows, in sources that end with the last box's last byte,
    // both stride signs and a count of 0 among them, exact and faded, in
    // every form the machine runs against the plain form, canaries around.
    std::mt19937 rng(71);
    const uint8_t bg[4] = {9, 90, 190, 0};
    for (uint32_t pitch : {3u, 4u})
        for (uint32_t rows : {1u, 2u, 5u, 8u, 16u, 17u})
            for (int sign : {1, -1}) {
                std::vector<uint32_t> offsets, counts, words;
                uint32_t at = 2 * pitch;
                for (uint32_t cols = 0; cols <= 20; ++cols) {
                    counts.push_back(cols);
                    words.push_back(cols | (cols * 11 % 256) << 16);
                    offsets.push_back(at);  // a count of 0 keeps the next box's offset
                    at += cols * pitch;
                }
                const uint32_t len = uint32_t(counts.size()), rowBytes = at + 1;
                const int32_t stride = sign * int32_t(rowBytes);
                auto src = test::RandomBytes(size_t(rowBytes) * rows, rng);
                const uint8_t* row = src.data() + (sign < 0 ? size_t(rowBytes) * (rows - 1) : 0);
                const ScaleBounds bounds{ByteSpan(0, UINTPTR_MAX),
                                         ByteSpan(AddrOf(src.data()), AddrOf(src.data()) + src.size())};
                for (bool fade : {false, true})
                    test::ExpectFormsAgree(
                        [&] {
                            Target out(size_t(len) * 4);
                            if (fade)
                                BoxRowFade(out.Run(), row, offsets.data(), words.data(), len, stride, rows | 0x300000,
                                           4, pitch, bg, bounds);
                            else
                                BoxRowExact(out.Run(), row, offsets.data(), counts.data(), len, stride, rows, 4,
                                            pitch, bounds);
                            return out.bytes;
                        },
                        test::Label("pitch", pitch, "rows", rows, "sign", sign, "fade", fade));
            }
}

TEST(BoxQuads, ImagesAgreeAcrossForms) {
    // Box and box-fade shrinks in every pixel pair; the area mode at whole
    // factors 4 and 8 across, 2 to 64 down (up to 256 samples a pixel: the
    // box sums against the plain form's float sweep), and growing (its box
    // fall-back, counts of 0 and 1). Both pictures bottom-up, rows padded;
    // a row of slack after the source, as the library's own buffers have:
    // the fade rows from 3 to 4 bytes step their samples by 4 bytes, as they
    // always have, and so read past a 3-byte row's end.
    const struct {
        uint32_t mode;
        bool mixed;  // every pixel pair, or 3 to 3 and 4 to 4 only
        std::vector<test::Shape> sizes;
    } groups[] = {
        {SCALE_BOX, true, {{8 * 37, 8 * 3, 37, 3}, {4 * 41, 4 * 5, 41, 5}, {8 * 9, 13, 9, 3}, {4 * 17 + 3, 30, 17, 7},
                           {8 * 16, 8 * 2, 16, 2}, {2 * 37, 2 * 13, 37, 13}, {2 * 16, 2 * 9, 16, 9}}},
        {SCALE_AREA, false, {{4 * 37, 8, 37, 4}, {8 * 19, 32, 19, 4}, {4 * 9, 128, 9, 2}, {8 * 17, 64, 17, 2},
                             {8 * 12, 16, 12, 2}, {4 * 37, 4 * 5, 37, 5}, {8 * 21, 8 * 3, 21, 3}}},
        {SCALE_AREA, true, {{20, 10, 30, 15}, {21, 9, 42, 18}, {17, 5, 51, 11}, {33, 6, 40, 7}}},
    };
    std::mt19937 rng(5);
    for (const auto& g : groups)
        for (uint32_t mode : {g.mode, g.mode == SCALE_BOX ? uint32_t(SCALE_BOX_FADE) : g.mode})
            for (uint32_t sb : {3u, 4u})
                for (uint32_t db : {3u, 4u})
                    for (const test::Shape& s : g.sizes) {
                        if (!g.mixed && sb != db) continue;
                        const test::WholeImage image{s, sb, db, 5, 7, true};
                        image.ExpectFormsAgree(image.Source(rng, image.SrcStride()), mode);
                    }
}

}  // namespace
}  // namespace tarn
