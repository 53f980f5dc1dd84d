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
// The cached row against the plain row over the middle band of real
// tables, row weights 0, 128 and others, and the way the blends are worked
// that the tables should lead to. The source rows end where the table's
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
    std::mt19937 rng(33);
    for (const Case& c : cases) {
        // The block as the driver lays it out: weights, then the offsets the
        // trailing pixels read their weights from.
        std::vector<uint8_t> block(size_t(c.dw) * 5 + 8, 0);
        std::vector<uint32_t> offsets(c.dw);
        uint32_t first = 0, last = 0;
        BuildGrayColumnTable(c.dw, c.sw, block.data(), offsets.data(), 0.0, double(c.sw) / c.dw, &first, &last,
                             AxisFilter::Bilinear);
        std::memcpy(block.data() + c.dw, offsets.data(), size_t(c.dw) * 4);
        const uint32_t middle = last - first;
        const int32_t stride = int32_t(c.sw);
        const uint32_t rows = 6;
        std::vector<uint8_t> src(size_t(stride) * rows);
        for (auto& b : src) b = uint8_t(rng());
        // Streamed rows start their vector stores on a 32-byte boundary:
        // targets that start off it by 0 to 31 bytes, the bytes around them
        // left alone.
        for (bool stream : {false, true}) {
            GrayRowCache cache(middle, c.sw, stream);
            for (uint32_t y = 0; y + 1 < rows; ++y)
                for (uint32_t rw : {0u, 128u, 0x4D4D4D4Du, 0xFFFFFFFFu}) {
                    const size_t skew = (y * 7 + rw) % 32 + 32;
                    std::vector<uint8_t> want(middle + 96, 0x3C), got(middle + 96, 0x3C);
                    const uint8_t* row = src.data() + size_t(stride) * y;
                    GrayInnerRowPlain(want.data() + skew, row, block.data() + first, offsets.data() + first, middle,
                                      stride, rw);
                    GrayInnerRowCachedAvx2(got.data() + skew, row, block.data() + first, offsets.data() + first,
                                           middle, stride, rw, cache);
                    ASSERT_EQ(got, want) << c.sw << "->" << c.dw << " row " << y << " rw " << (rw & 255) << " stream "
                                         << stream;
                }
            EXPECT_EQ(cache.run, c.run) << c.sw << "->" << c.dw;
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
                std::vector<uint8_t> s(reach);
                for (auto& b : s) b = uint8_t(rng());
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

// A field-paired enlargement large enough to be stored around the caches:
// its top and bottom band rows (half the picture, as the pair marks count
// pairs) are each the gather of their table row, in every form, whichever
// way they reach the target.
TEST(GrayRowCache, StreamedBandRowsAreTheGathersOfTheirTableRows) {
    const uint32_t sw = 1100, sh = 1001, dw = 2200, dh = 2002;
    const double sx = double(sw) / dw, sy = double(sh) / dh;
    std::vector<uint8_t> colWeights(dw);
    std::vector<uint32_t> cols(dw), rowWeights(dh), rows(dh);
    uint32_t cf, cl, rf, rl;
    BuildGrayColumnTable(dw, sw, colWeights.data(), cols.data(), 0.0, sx, &cf, &cl, AxisFilter::Bilinear);
    BuildGrayRowTable(dh, sh, rowWeights.data(), rows.data(), int32_t(sw), 0.0, sy, &rf, &rl, AxisFilter::FieldPairs);
    ASSERT_GT(dh - rl, dh / 3) << "a large part of the target is band rows";
    std::mt19937 rng(37);
    const auto src = test::RandomBytes(size_t(sw) * sh, rng);
    test::ForEachForm([&](SimdForm form) {
        // Rows start 3 bytes past a 32-byte boundary and carry 5 bytes of padding.
        const int32_t stride = int32_t(dw + 5);
        std::vector<uint8_t> out(size_t(stride) * dh + 64, 0x6E);
        uint8_t* dst = out.data() + 3;
        ScaleImage({dst, dw, dh, stride, 1}, {src.data(), sw, sh, int32_t(sw), 1}, {sx, sy}, 5, nullptr);
        for (uint32_t y = 0; y < dh; ++y) {
            if (y >= rf && y < rl) continue;
            const uint8_t* d = dst + size_t(stride) * y;
            const uint8_t* s = src.data() + rows[y];
            for (uint32_t x = 0; x < dw; ++x) ASSERT_EQ(d[x], s[cols[x]]) << FormName(form) << " " << y << " " << x;
            for (uint32_t x = dw; x < dw + 5 && y + 1 < dh; ++x) ASSERT_EQ(d[x], 0x6E);
        }
    });
}

TEST(GrayRowCache, TargetOverTheSourceRunsRowByRow) {
    // A 2x enlargement written over the buffer that holds its source: rows
    // written early change rows read later. Without the cache the widest
    // form runs the uncached row kernel, so its bytes are those of the SSE2
    // form (whose order of work over a row already differs from the plain
    // form's when target and source share bytes).
    std::mt19937 rng(32);
    const uint32_t sw = 48, sh = 12, dw = 96, dh = 24;
    std::vector<uint8_t> start(size_t(dw) * dh + 64);
    for (auto& b : start) b = uint8_t(rng());
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
