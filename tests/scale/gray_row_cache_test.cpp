// Single-channel bilinear scaling with the cached horizontal blends: whole
// images enlarged and shrunk by awkward ratios, from bottom-up sources into
// bottom-up targets with canaries around them, in every form against the
// plain form; and a target that overlaps its source, which must not take
// the cache.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "scale/axis_table.h"
#include "scale/gray_row_cache.h"
#include "scale/gray_strided.h"
#include "scale/inner_rows.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

TEST(GrayRowCache, ScaledImagesAgreeAcrossForms) {
    const test::Shape sizes[] = {{40, 20, 80, 40},  {37, 11, 101, 29}, {64, 30, 96, 45},   {97, 33, 48, 16},
                                 {96, 40, 64, 27},  {15, 7, 61, 23},   {300, 9, 1199, 17}, {17, 17, 16, 16},
                                 {160, 12, 83, 6},  {33, 5, 35, 9},    {200, 9, 55, 3},    {130, 8, 32, 4},
                                 {300, 6, 37, 3},
                                 // Whole factors: shrinks by 2, 4 and 8 and doubling, odd widths among them.
                                 {1920, 8, 960, 4},  {242, 10, 121, 5},  {484, 16, 121, 4},  {968, 24, 121, 3},
                                 {1032, 9, 129, 3},  {61, 9, 122, 18},   {300, 9, 600, 18},  {77, 6, 154, 12},
                                 {38, 7, 19, 3},     {130, 11, 65, 5},   {70, 6, 35, 3},     {33, 9, 16, 4},
                                 // Widths of 3 mod 4 whose trailing pixels weigh by an offset byte that
                                 // is not 0, and field pairs of whole shrinks by 2 (mode 5).
                                 {350, 6, 175, 3},   {350, 12, 175, 6},  {1920, 16, 960, 8}, {70, 10, 35, 5},
                                 {71, 11, 35, 5},
                                 // A target large enough to be stored around the caches.
                                 {1100, 1001, 2200, 2002}};
    std::mt19937 rng(31);
    for (const test::Shape& s : sizes)
        for (uint32_t mode : {1u, 2u, 5u}) {
            // Mode 1 reads a source that ends where its rows end: a read past
            // the row shows under the address sanitizer.
            const test::WholeImage image{s, 1, 1, mode == 1 ? 0 : 3, 5, true};
            image.ExpectFormsAgree(image.Source(rng), mode);
        }
}

#if defined(TARN_HAVE_X86_SIMD)
// The cached row of each form against the plain row over the middle band
// of real tables, row weights 0, 128 and others, and the way the blends
// are worked that the tables should lead to. The source rows end where the table's
// reach ends, so a vector load past them shows under the address sanitizer.
TEST(GrayRowCache, EachWayOfBlendingMatchesThePlainRow) {
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    using Run = GrayRowCache::Run;
    struct Case {
        uint32_t sw, dw;
        Run run;
    };
    const Case cases[] = {{1920, 960, Run::Halves},  {242, 121, Run::Halves},  {484, 121, Run::Halves},
                          {968, 121, Run::Halves},   {1032, 129, Run::Halves}, {66, 33, Run::Halves},
                          // The last block's load would pass the row's end, its samples do not.
                          {1920, 480, Run::Halves},  {1920, 240, Run::Halves}, {964, 241, Run::Halves},
                          {61, 122, Run::Doubled},   {960, 1920, Run::Doubled}, {17, 34, Run::Doubled},
                          {100, 67, Run::Shuffled},  {97, 301, Run::Shuffled}, {1920, 1280, Run::Shuffled}, {243, 121, Run::Shuffled}};
    struct Form {
        SimdForm form;
        CachedGrayInnerFn fn;
    };
    const Form forms[] = {{SimdForm::Avx2, GrayInnerRowCachedAvx2}, {SimdForm::Avx512, GrayInnerRowCachedAvx512}};
    std::mt19937 rng(33);
    for (const Form& f : forms) {
        for (const Case& c : cases) {
            if (HostSimdForm() < f.form) continue;
            const test::GrayTables t({c.sw, 1, c.dw, 1}, 0, AxisFilter::Bilinear, AxisFilter::Bilinear);
            const uint8_t* block = t.block.data();
            const uint32_t *offsets = t.cols.data(), first = t.cf, last = t.cl;
            const uint32_t middle = last - first;
            const int32_t stride = int32_t(c.sw);
            const uint32_t rows = 6;
            auto src = test::RandomBytes(size_t(stride) * rows, rng);
            // Streamed rows start their vector stores on a 32- or 64-byte
            // boundary: targets that start off it by 0 to 63 bytes, the bytes
            // around them left alone.
            for (bool stream : {false, true}) {
                GrayRowCache cache(middle, c.sw, stream);
                for (uint32_t y = 0; y + 1 < rows; ++y)
                    for (uint32_t rw : {0u, 128u, 0x4D4D4D4Du, 0xFFFFFFFFu}) {
                        const size_t skew = (y * 7 + rw) % 64 + 64;
                        std::vector<uint8_t> want(middle + 192, 0x3C), got(middle + 192, 0x3C);
                        const uint8_t* row = src.data() + size_t(stride) * y;
                        GrayInnerRowPlain(want.data() + skew, row, block + first, offsets + first, middle,
                                          stride, rw);
                        f.fn(got.data() + skew, row, block + first, offsets + first, middle, stride, rw, cache);
                        ASSERT_EQ(got, want) << FormName(f.form) << " " << c.sw << "->" << c.dw << " row " << y
                                             << " rw " << (rw & 255) << " stream " << stream;
                    }
                EXPECT_EQ(cache.run, c.run) << FormName(f.form) << " " << c.sw << "->" << c.dw;
            }
        }
    }
}

// Picks s[Q j] and means (s[Q j] + s[Q j + 1]) >> 1 over a source that ends
// at the last sample: every whole block is worked, the last from the bytes
// within reach, and nothing is read past them (the address sanitizer would
// show it) or written past the blocks.
TEST(GrayStrided, TheLastBlockTakesOnlySamplesWithinReach) {
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    std::mt19937 rng(35);
    for (uint32_t q : {2u, 4u, 8u})
        for (uint32_t count : {16u, 31u, 32u, 48u, 63u, 64u, 100u, 480u})
            for (bool means : {false, true}) {
                const uint32_t reach = q * (count - 1) + (means ? 2 : 1);
                auto s = test::RandomBytes(reach, rng);
                std::vector<uint8_t> out(count + 16, 0x77);
                const uint32_t done = means ? StridedMeansAvx2(out.data(), s.data(), count, q, reach, nullptr)
                                            : StridedPicksAvx2(out.data(), s.data(), count, q, reach, s.data());
                ASSERT_EQ(done, count / 16 * 16) << q << " " << count << " " << means;
                for (uint32_t j = 0; j < done; ++j) {
                    const uint32_t want = means ? (s[q * j] + s[q * j + 1]) >> 1 : s[q * j];
                    ASSERT_EQ(out[j], want) << q << " " << count << " " << means << " " << j;
                }
                for (uint32_t j = done; j < out.size(); ++j) ASSERT_EQ(out[j], 0x77);
            }
}
#endif

TEST(GrayRowCache, TargetOverTheSourceRunsRowByRow) {
    // A 2x enlargement written over the buffer that holds its source: rows
    // written early change rows read later. Without the cache the widest
    // form runs the uncached row kernel, so its bytes are those of the SSE2
    // form (whose order of work over a row already differs from the plain
    // form's when target and source share bytes).
    std::mt19937 rng(32);
    const uint32_t sw = 48, sh = 12, dw = 96, dh = 24;
    auto start = test::RandomBytes(size_t(dw) * dh + 64, rng);
    // Field pairs too: half their target is bottom rows, gathered whole.
    for (uint32_t mode : {1u, 5u}) {
        auto run = [&](SimdForm form) {
            ScopedKernelChoice choice(g_cpuFeatures, form);
            std::vector<uint8_t> buf = start;
            ScaleImage({buf.data(), dw, dh, int32_t(dw), 1}, {buf.data() + 200, sw, sh, int32_t(sw), 1}, {0.5, 0.5},
                       mode, nullptr);
            return buf;
        };
        if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
        EXPECT_EQ(run(SimdForm::Avx2), run(SimdForm::Sse2)) << "mode " << mode;
    }
}

}  // namespace
}  // namespace tarn
