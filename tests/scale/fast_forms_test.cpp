// Fast forms of the scaler's row kernels against their plain forms, byte for
// byte, on random input of awkward sizes, and whole images scaled with every
// form the machine runs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "scale/area_shrink.h"
#include "scale/box_shrink.h"
#include "scale/gray_gather.h"
#include "scale/inner_rows.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

constexpr uint32_t kLens[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 64, 67};

struct RandomRows {
    std::mt19937 rng{12345};
    uint32_t Next() { return static_cast<uint32_t>(rng()); }
    std::vector<uint8_t> Bytes(size_t n) { return test::RandomBytes(n, rng); }
    std::vector<uint32_t> SortedOffsets(uint32_t len, uint32_t maxSample, uint32_t pitch) {
        std::vector<uint32_t> o(len + 8);
        for (auto& v : o) v = Next() % (maxSample + 1);
        std::sort(o.begin(), o.begin() + len);
        for (auto& v : o) v *= pitch;
        return o;
    }
    std::vector<uint32_t> Weights(uint32_t len) {
        std::vector<uint32_t> w(len + 8);
        for (auto& v : w) {
            const uint32_t r = Next();
            v = (r & 1) ? (r >> 8 & 255) * 0x01010101u : r;  // replicated or per lane
        }
        return w;
    }
};

#if defined(TARN_HAVE_X86_SIMD)
TEST(FastForms, InnerRowsMatchPlain) {
    const struct {
        uint32_t sb, db;
        InnerRowFn plain, sse2, avx2;
    } families[] = {{3, 3, InnerRow33Plain, InnerRow33Sse2, InnerRow33Avx2},
                    {3, 4, InnerRow34Plain, InnerRow34Sse2, InnerRow34Avx2},
                    {4, 3, InnerRow43Plain, InnerRow43Sse2, InnerRow43Avx2},
                    {4, 4, InnerRow44Plain, InnerRow44Sse2, InnerRow44Avx2}};
    RandomRows r;
    for (const auto& c : families)
        for (const auto& [fast, form] : {std::pair{c.sse2, SimdForm::Sse2}, std::pair{c.avx2, SimdForm::Avx2}}) {
            if (HostSimdForm() < form) continue;
            for (uint32_t len : kLens)
                for (int32_t sign : {1, -1}) {
                    const uint32_t width = 50;
                    const int32_t stride = int32_t(width * c.sb + 5);
                    const auto src = r.Bytes(size_t(stride) * 2 + 16);
                    const uint8_t* row = sign > 0 ? src.data() : src.data() + stride;
                    const auto offsets = r.SortedOffsets(len, width - 3, c.sb);
                    const auto weights = r.Weights(len);
                    const uint32_t rw = r.Next();
                    std::vector<uint8_t> a(len * 4 + 8, 0x5A), b(len * 4 + 8, 0x5A);
                    c.plain(a.data(), row, weights.data(), offsets.data(), len, sign * stride, rw);
                    fast(b.data(), row, weights.data(), offsets.data(), len, sign * stride, rw);
                    ASSERT_EQ(a, b) << c.sb << "->" << c.db << " len " << len << " form " << FormName(form);
                }
        }
}

TEST(FastForms, GrayRowsMatchPlain) {
    RandomRows r;
    for (uint32_t len : kLens)
        for (uint32_t width : {2u, 5u, 13u, 40u, 97u}) {
            const int32_t stride = int32_t(width + 3);
            const auto src = r.Bytes(size_t(stride) * 2 + 8);
            const auto offsets = r.SortedOffsets(len, width - 2, 1);
            const auto block = r.Bytes(len * 4 + 8);
            const uint32_t rw = (r.Next() & 255) * 0x01010101u;
            std::vector<uint8_t> a(len + 8, 0x5A), b(len + 8, 0x5A);
            GrayInnerRowPlain(a.data(), src.data(), block.data(), offsets.data(), len, stride, rw);
            GrayInnerRowSse2(b.data(), src.data(), block.data(), offsets.data(), len, stride, rw);
            ASSERT_EQ(a, b) << "inner len " << len << " width " << width;
        }
}
TEST(FastForms, BoxRowsMatchPlain) {
    // Runs of paired boxes broken by other counts, zero counts (whose offsets
    // lag) and gaps in the offsets; every row count. Runs paired throughout
    // are checked with the quad rows.
    RandomRows r;
    for (uint32_t len : kLens)
        for (uint32_t rows = 0; rows <= 17; ++rows) {
            const int32_t stride = 4 * 160 + 12;
            const auto src = r.Bytes(size_t(stride) * 17 + 64);
            std::vector<uint32_t> counts(len + 1), offsets(len + 1);
            uint32_t at = 0;
            for (uint32_t j = 0; j < len; ++j) {
                const uint32_t pick = r.Next() % 10;
                counts[j] = pick < 7 ? 2 : pick == 7 ? 0 : 1 + r.Next() % 5;
                offsets[j] = at;
                at += (pick == 9 ? 12 : 8);
            }
            using Fn = void (*)(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
            const struct {
                Fn plain, sse2, avx2;
            } mixed[] = {{BoxShrinkRowPlain<BoxFamily::Bytes43>, BoxShrinkRowSse2<BoxFamily::Bytes43>,
                          BoxShrinkRowAvx2<BoxFamily::Bytes43>},
                         {BoxShrinkRowPlain<BoxFamily::Bytes44>, BoxShrinkRowSse2<BoxFamily::Bytes44>,
                          BoxShrinkRowAvx2<BoxFamily::Bytes44>}};
            for (const auto& fam : mixed) {
                std::vector<uint8_t> a(len * 4 + 8, 0x5A);
                fam.plain(a.data(), src.data(), offsets.data(), counts.data(), len, stride, rows);
                for (const auto& [fast, form] :
                     {std::pair{fam.sse2, SimdForm::Sse2}, std::pair{fam.avx2, SimdForm::Avx2}}) {
                    if (HostSimdForm() < form) continue;
                    std::vector<uint8_t> b(len * 4 + 8, 0x5A);
                    fast(b.data(), src.data(), offsets.data(), counts.data(), len, stride, rows);
                    ASSERT_EQ(a, b) << FormName(form) << " len " << len << " rows " << rows << " 4->"
                                    << (&fam == mixed ? 3 : 4);
                }
            }
        }
}
#endif

TEST(FastForms, GrayGatherPicksEachOffset) {
    RandomRows r;
    const auto row = r.Bytes(300);
    for (uint32_t len : kLens) {
        const auto offsets = r.SortedOffsets(len, 299, 1);
        std::vector<uint8_t> out(len + 8, 0x5A);
        GrayGatherRow(out.data(), row.data(), offsets.data(), len);
        for (uint32_t j = 0; j < len; ++j) ASSERT_EQ(out[j], row[offsets[j]]) << len << " " << j;
        ASSERT_EQ(out[len], 0x5A) << "nothing past the run";
    }
}

TEST(FastForms, ScaleImageAgreesAcrossForms) {
    // Every mode and pixel pair over padded rows; and a large plane shrunk
    // by area, whose float sums over many rows a fused multiply-add in a
    // fast form would round differently somewhere.
    const test::Shape sizes[] = {{37, 23, 61, 41}, {67, 45, 29, 17}, {40, 40, 40, 40}, {96, 64, 31, 30},
                                 {33, 70, 16, 22}, {80, 44, 40, 22}, {83, 41, 40, 20}};
    std::mt19937 rng(99);
    for (const test::Shape& s : sizes)
        for (uint32_t sb : {1u, 3u, 4u})
            for (uint32_t db : {1u, 3u, 4u}) {
                if ((sb == 1) != (db == 1)) continue;
                const test::WholeImage image{s, sb, db, 3, 5};
                const auto src = image.Source(rng, 64);
                for (uint32_t mode = 0; mode <= 6; ++mode) image.ExpectFormsAgree(src, mode);
            }
    const test::WholeImage plane{{641, 363, 427, 241}, 1, 1};
    plane.ExpectFormsAgree(plane.Source(rng), SCALE_AREA);
}

#if defined(TARN_HAVE_X86_SIMD)
TEST(FastForms, AreaRowSumsAreBitExact) {
    // The carried sums themselves, bit for bit, and the bytes, for each row end.
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    std::mt19937 rng(11);
    for (uint32_t width : {1u, 7u, 8u, 9u, 40u, 203u})
        for (uint32_t per : {1u, 2u, 3u, 5u}) {
            const uint32_t srcWidth = width * 2 + 5;
            auto row = test::RandomBytes(srcWidth + 8, rng);
            std::vector<int32_t> index(size_t(per) * width);
            std::vector<float> weight(size_t(per) * width);
            for (uint32_t x = 0; x < width; ++x)
                for (uint32_t r = 0; r < per; ++r) {
                    index[size_t(r) * width + x] = int32_t(std::min(srcWidth - 1, 2 * x + r));
                    weight[size_t(r) * width + x] = float(rng() % 100000) / 77777.0f;
                }
            std::vector<float> scratch(srcWidth + 16);
            for (int rowEnd = 0; rowEnd < 3; ++rowEnd) {
                // Plain: sums into a zeroed accumulator, then the row end.
                std::vector<float> current(width, 0.0f), a(width), b(width);
                for (uint32_t x = 0; x < width; ++x) a[x] = b[x] = float(rng() % 1000) / 7.0f;
                std::vector<uint8_t> outA(width, 0x5A), outB(width, 0x5A);
                const float f = 0.3f;
                AreaGrayRowPlain(row.data(), index.data(), weight.data(), per, width, current.data());
                if (rowEnd == 0) AreaCarryRowPlain(current.data(), a.data(), width);
                else if (rowEnd == 1) AreaEmitRowPlain(outA.data(), current.data(), a.data(), width);
                else AreaEmitSplitRowPlain(outA.data(), current.data(), a.data(), width, f);
                AreaGrayRowEndPlannedAvx2(row.data(), srcWidth, index.data(), weight.data(), per, width, scratch.data(),
                                          rowEnd, f, b.data(), outB.data(), nullptr);
                ASSERT_EQ(outA, outB) << "width " << width << " per " << per << " end " << rowEnd;
                for (uint32_t x = 0; x < width; ++x) {
                    uint32_t ua, ub;
                    std::memcpy(&ua, &a[x], 4);
                    std::memcpy(&ub, &b[x], 4);
                    ASSERT_EQ(ua, ub) << "width " << width << " per " << per << " end " << rowEnd << " x " << x;
                }
            }
        }
}
#endif

}  // namespace
}  // namespace tarn
