// Box shrink of a group of target rows at a time against the plain one-row
// kernels: runs paired throughout in every family, lengths with and without
// a tail, groups of two to four rows, and row counts that send the group
// back to one row at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "scale/box_shrink.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

#if defined(TARN_HAVE_X86_SIMD)
// `rows` rows of random bytes and a run of `len` boxes two samples wide,
// `pitch` bytes a sample, the tables four boxes longer.
struct PairedRun {
    int32_t stride;
    std::vector<uint8_t> src;
    std::vector<uint32_t> offsets, counts;
    PairedRun(uint32_t len, uint32_t pitch, int32_t pad, uint32_t rows, std::mt19937& rng)
        : stride(int32_t(len * 2 * pitch) + pad), src(test::RandomBytes(size_t(stride) * rows + 64, rng)),
          offsets(len + 4), counts(len + 4, 2) {
        for (uint32_t j = 0; j < len + 4; ++j) offsets[j] = j * 2 * pitch;
    }
};

template <BoxFamily F>
void CheckFamily(uint32_t sb, uint32_t db) {
    std::mt19937 rng(31 + sb * 10 + db);
    for (uint32_t len : {1u, 4u, 5u, 8u, 9u, 16u, 17u, 37u}) {
        const PairedRun p(len, sb, 24, 12, rng);
        const struct {
            uint32_t n, row[4], count[4];
        } groups[] = {{2, {0, 2}, {2, 2}}, {2, {1, 5}, {2, 2}}, {3, {0, 2, 4}, {2, 2, 2}},
                      {4, {0, 2, 4, 6}, {2, 2, 2, 2}}, {4, {7, 1, 3, 9}, {2, 2, 2, 2}},
                      {2, {0, 4}, {2, 3}}, {4, {6, 3, 0, 2}, {2, 2, 1, 2}}};
        for (const auto& g : groups) {
            const size_t bytes = size_t(len) * db + 8;
            std::vector<std::vector<uint8_t>> want(g.n, std::vector<uint8_t>(bytes, 0x42)), got(want);
            uint8_t* d[4];
            const uint8_t* rows[4];
            for (uint32_t i = 0; i < g.n; ++i) {
                rows[i] = p.src.data() + size_t(g.row[i]) * p.stride;
                d[i] = got[i].data();
                BoxShrinkRowPlain<F>(want[i].data(), rows[i], p.offsets.data(), p.counts.data(), len, p.stride,
                                     g.count[i]);
            }
            BoxPairedRowGroupAvx2<F>(d, rows, g.count, g.n, p.offsets.data(), p.counts.data(), len, p.stride);
            for (uint32_t i = 0; i < g.n; ++i)
                ASSERT_EQ(got[i], want[i]) << sb << "->" << db << " len " << len << " group of " << g.n << " row " << i;
        }
    }
}

// The SSE2 form of a run paired throughout (4-byte sources), row counts 1
// to 16, lengths with and without a tail.
template <BoxFamily F>
void CheckSse2PairedRow(uint32_t db) {
    std::mt19937 rng(5 + db);
    for (uint32_t len : {1u, 3u, 4u, 5u, 8u, 11u, 37u})
        for (uint32_t rowCount : {1u, 2u, 3u, 7u, 16u}) {
            const PairedRun p(len, 4, 20, 16, rng);
            std::vector<uint8_t> want(size_t(len) * db + 8, 0x42), got(want);
            BoxShrinkRowPlain<F>(want.data(), p.src.data(), p.offsets.data(), p.counts.data(), len, p.stride, rowCount);
            BoxPairedRowSse2<F>(got.data(), p.src.data(), p.offsets.data(), p.counts.data(), len, p.stride, rowCount);
            ASSERT_EQ(got, want) << "4->" << db << " len " << len << " rows " << rowCount;
        }
}

TEST(BoxRowGroups, Sse2PairedRowsMatchPlain) {
    CheckSse2PairedRow<BoxFamily::Bytes43>(3);
    CheckSse2PairedRow<BoxFamily::Bytes44>(4);
}

// Target rows of 3-byte pixels that touch, with the rows going down or up
// the buffer: every byte, the ones each row's last store spills onto its
// neighbour and past the group included, as the plain rows leave them
// worked one after another.
template <BoxFamily F>
void CheckTouchingRows(uint32_t sb) {
    std::mt19937 rng(41 + sb);
    for (uint32_t len : {1u, 4u, 5u, 8u, 9u, 16u, 17u, 24u, 37u})
        for (uint32_t n : {2u, 3u, 4u})
            for (int32_t sign : {1, -1}) {
                const PairedRun p(len, sb, 24, 8, rng);
                const size_t pitch = size_t(len) * 3, margin = 16;
                std::vector<uint8_t> want(pitch * n + 2 * margin, 0x42), got(want);
                const uint32_t counts2[4] = {2, 2, 2, 2};
                auto rowsOf = [&](std::vector<uint8_t>& out, uint8_t** d, const uint8_t** r) {
                    for (uint32_t i = 0; i < n; ++i) {
                        d[i] = out.data() + margin + pitch * (sign > 0 ? i : n - 1 - i);
                        r[i] = p.src.data() + size_t(2 * i) * p.stride;
                    }
                };
                uint8_t* d[4];
                const uint8_t* r[4];
                rowsOf(want, d, r);
                for (uint32_t i = 0; i < n; ++i)
                    BoxShrinkRowPlain<F>(d[i], r[i], p.offsets.data(), p.counts.data(), len, p.stride, 2);
                rowsOf(got, d, r);
                BoxPairedRowGroupAvx2<F>(d, r, counts2, n, p.offsets.data(), p.counts.data(), len, p.stride);
                ASSERT_EQ(got, want) << sb << "->3 len " << len << " group of " << n << " sign " << sign;
            }
}

TEST(BoxRowGroups, TouchingThreeByteRowsMatchPlainRows) {
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    CheckTouchingRows<BoxFamily::Bytes33>(3);
    CheckTouchingRows<BoxFamily::Bytes43>(4);
}

TEST(BoxRowGroups, MatchPlainRows) {
    if (HostSimdForm() < SimdForm::Avx2) GTEST_SKIP() << "no AVX2 here";
    CheckFamily<BoxFamily::Bytes33>(3, 3);
    CheckFamily<BoxFamily::Bytes34>(3, 4);
    CheckFamily<BoxFamily::Bytes43>(4, 3);
    CheckFamily<BoxFamily::Bytes44>(4, 4);
}
#endif

TEST(BoxRowGroups, HalvingAgreesAcrossFormsApartAndInPlace) {
    // 13 target rows: groups of four, then a last row on its own (with fade,
    // the rows between the bands, their side bands around the group); in
    // place, rows go one at a time as before.
    std::mt19937 rng(77);
    for (uint32_t mode : {SCALE_BOX, SCALE_BOX_FADE})
        for (uint32_t bytes : {3u, 4u})
            for (bool inPlace : {false, true}) {
                const auto start = test::RandomBytes(74 * 26 * bytes + 64, rng);
                test::ExpectFormsAgree(
                    [&] { return test::ScaleInOneBlock(start, {74, 26, 37, 13}, bytes, mode, inPlace); },
                    test::Label("mode", mode, bytes, "bytes in place", inPlace));
            }
}

TEST(BoxRowGroups, FadedHalvingWithTouchingRowsAgreesAcrossForms) {
    // Target rows without padding, so that a 3-byte middle's last store
    // spills onto the right band of its row; going down and up the buffer,
    // odd and even sizes, several groups and a last row on its own, and
    // padded rows beside them.
    std::mt19937 rng(91);
    const test::Shape shapes[] = {{74, 26, 37, 13}, {130, 34, 65, 17}, {64, 18, 32, 9}, {2 * 41, 2 * 8, 41, 8}};
    for (const test::Shape& s : shapes)
        for (uint32_t sb : {3u, 4u})
            for (uint32_t db : {3u, 4u})
                for (int32_t dstPad : {0, 5})
                    for (bool up : {false, true}) {
                        const test::WholeImage image{s, sb, db, 3, dstPad, up};
                        image.ExpectFormsAgree(image.Source(rng), SCALE_BOX_FADE);
                    }
}

}  // namespace
}  // namespace tarn
