// Channel drivers on small images whose output is worked by hand from the
// band tables and Lerp(a, b, w) = a + floor((b - a) * w / 256).
#include <gtest/gtest.h>

#include "scale/pixel_lanes.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

using test::Image;

TEST(Lerp, RoundsDownForEitherSign) {
    // Exhaustively against the floor of the exact quotient, every third
    // weight and weight 1.
    for (int a = 0; a < 256; ++a)
        for (int b = 0; b < 256; ++b)
            for (int w = 0; w < 256; w += w == 0 ? 1 : w == 1 ? 2 : 3) {
                const int num = (b - a) * w;
                const int fl = num >= 0 ? num / 256 : -((-num + 255) / 256);
                ASSERT_EQ(int(LerpByte(a, b, w)), a + fl) << a << " " << b << " " << w;
            }
    EXPECT_EQ(Lerp(0x0A14FF00, 0x140A00FF, 0xFFFFFFFF), 0x130A00FEu);
    EXPECT_EQ(Lerp(0x00000000, 0xFFFFFFFF, 0x00000080), 0x0000007Fu) << "weights are per lane";
}

// Source 4 x 2 with rows 0 100 200 40 and 255 155 55 0, doubled in mode 1.
// Columns: offsets of pixels 0 0 0 1 1 3 3 3, weights 0 64 191 64 191 and the
// last three jump to the last pixel; rows: weights 0 64 191, then the bottom band.
void FillDoubling(Image& src) {
    src.SetRow(0, {0, 100, 200, 40});
    src.SetRow(1, {255, 155, 55, 0});
}

TEST(Driver, BilinearDoublingRowZeroSharesTheBandTable) {
    // Row 0 has rw 0: HorizontalOnly over the middle. A 3-byte source takes
    // the 3-byte column table (the jump at n - 2), a 4-byte source the 4-byte
    // one, up to the last pixel: 200 + floor(-160 * 64 / 256) = 160, 200 -
    // 120 = 80; its last column is capped into the right band towards a
    // 3-byte target and passes a trace of the background in the fourth byte
    // of a 4-byte one.
    const struct {
        uint32_t sb, db, lane0, lanes;
        uint8_t row0[8];
    } cases[] = {{3, 3, 0, 3, {0, 25, 74, 125, 174, 40, 40, 40}},
                 {3, 4, 0, 3, {0, 25, 74, 125, 174, 40, 40, 40}},
                 {4, 3, 0, 3, {0, 25, 74, 125, 174, 160, 80, 40}},
                 {4, 4, 3, 1, {0, 25, 74, 125, 174, 160, 80, 39}}};
    for (const auto& c : cases) {
        Image src(4, 2, c.sb), dst(8, 4, c.db);
        FillDoubling(src);
        test::Scale(dst, src, 1);
        for (uint32_t x = 0; x < 8; ++x)
            for (uint32_t ch = c.lane0; ch < c.lane0 + c.lanes; ++ch)
                EXPECT_EQ(dst.at(x, 0)[ch], c.row0[x]) << c.sb << "->" << c.db << " " << x;
        EXPECT_TRUE(dst.TailIntact()) << "copies of the right band store three bytes";
    }
}

TEST(Driver24To24, BilinearDoublingBands) {
    Image src(4, 2, 3), dst(8, 4, 3);
    FillDoubling(src);
    test::Scale(dst, src, 1);
    // Row 1, rw 64: column 0 is Lerp(0, 255, 64) = 63; the right band is
    // VerticalOnly Lerp(40, 0, 64) = 30.
    const uint8_t row1[8] = {63, 0, 0, 0, 0, 30, 30, 30};
    // Row 3 is the bottom band: copies and HorizontalOnly on row 1, rounding
    // down: 255 + floor(-100 * 64 / 256) = 230, 255 + floor(-100 * 191 / 256) = 180.
    const uint8_t row3[8] = {255, 230, 180, 0, 0, 0, 0, 0};  // 3, 4 unchecked
    for (uint32_t x : {0u, 1u, 2u, 5u, 6u, 7u})
        for (uint32_t c = 0; c < 3; ++c) {
            if (x == 0 || x >= 5) {
                EXPECT_EQ(dst.at(x, 1)[c], row1[x]) << x;
            }
            EXPECT_EQ(dst.at(x, 3)[c], row3[x]) << x;
        }
}

TEST(Driver32To32, BilinearDoublingPassesTraceOfBackground) {
    Image src(4, 2, 4), dst(8, 4, 4);
    FillDoubling(src);
    test::Scale(dst, src, 1);
    // The bottom band fades with weight 255 to the zero background:
    // Lerp(0, 255, 255) = 254, Lerp(0, 230, 255) = 229, corner weight 254.
    EXPECT_EQ(dst.at(0, 3)[0], 254);
    EXPECT_EQ(dst.at(1, 3)[0], 229);
    EXPECT_EQ(dst.at(7, 3)[0], 0);
    // With a background of 200, the right band and the corner move towards it.
    const uint8_t bg[4] = {200, 200, 200, 200};
    test::Scale(dst, src, 1, bg);
    EXPECT_EQ(dst.at(7, 0)[0], 40) << "Lerp(200, 40, 255) = 200 + floor(-159.4)";
    EXPECT_EQ(dst.at(7, 3)[0], 0 + 1) << "Lerp(200, 0, 254) = 200 - 199";
    EXPECT_TRUE(dst.TailIntact());
}

TEST(Driver24To24, FadeAtStepOne) {
    // Step 1 from 0: Inner pixels equal their source; the last column and
    // row are band entries of weight 255, Lerp(bg, S, 255); the bottom-right
    // pixel is a copy, as row H - 1 of the right band is.
    Image src(4, 4, 3), dst(4, 4, 3);
    for (uint32_t y = 0; y < 4; ++y) src.SetRow(y, {uint8_t(10 + y), uint8_t(50 + y), uint8_t(90 + y), uint8_t(130 + y)});
    const uint8_t bg[4] = {100, 100, 100, 100};
    test::Scale(dst, src, 2, bg);
    for (uint32_t y = 0; y < 3; ++y) {
        for (uint32_t x = 0; x < 3; ++x) EXPECT_EQ(dst.at(x, y)[1], src.at(x, y)[1]) << x << "," << y;
        EXPECT_EQ(dst.at(3, y)[1], 100 + (30 + y) * 255 / 256) << y;
    }
    for (uint32_t x = 0; x < 3; ++x) {
        const int s = src.at(x, 3)[1];
        const int expect = s >= 100 ? 100 + (s - 100) * 255 / 256 : 100 - ((100 - s) * 255 + 255) / 256;
        EXPECT_EQ(dst.at(x, 3)[1], expect) << x;
    }
    EXPECT_EQ(dst.at(3, 3)[1], 133);
    EXPECT_TRUE(dst.TailIntact());
}

TEST(DriverMixed, FadeRunsAreExactAtTheirFirstPixel) {
    // Step 0.5 from 0 in mode 2: row 0 and column 0 are band entries with
    // weight 128. Top-left: Lerp(bg, Lerp(bg, S, 128), 128); top-middle
    // first pixel: EdgeRow = Lerp(bg, Lerp(S, S+, 64), 128).
    Image src(4, 4, 4), dst(8, 8, 3);
    for (uint32_t y = 0; y < 4; ++y) src.SetRow(y, {200, 100, 40, 0});
    const uint8_t bg[4] = {20, 20, 20, 20};
    test::Scale(dst, src, 2, bg);
    EXPECT_EQ(dst.at(0, 0)[0], 20 + (20 + 180 * 128 / 256 - 20) * 128 / 256);  // 20 + 90/2 = 65
    EXPECT_EQ(dst.at(1, 0)[0], 20 + (200 - 25 - 20) * 128 / 256);             // 200 + floor(-100*64/256) = 175
}

TEST(DriverMixed, FadeLaneValuesCarryToTheNextPixel) {
    // 4 to 3 bytes, step 0.25 in mode 2: columns and rows 0 and 1 lie before
    // the source (weights 0 and 128), so row 0 (rw 0) runs the top-left
    // template over two pixels, loading only P3 := S = (100, 50, 200, 0).
    // Pixel 0 comes out as the background (10, 20, 30, 40) and leaves P0
    // packed: 16-bit lanes 20 * 256 + 10 and 40 * 256 + 30, and P1, P2 at 0.
    // Pixel 1 (cw 128): P1 := ((0 - 5130) * 128 mod 65536) >> 8 = 251 and
    // 241; P0 + P1 bytewise = 20 * 256 + 5 and 40 * 256 + 15; rw 0 keeps it;
    // the saturating pack gives 255 in every byte.
    Image src(4, 4, 4), dst(16, 16, 3);
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 4; ++x) {
            uint8_t* p = src.at(x, y);
            p[0] = 100, p[1] = 50, p[2] = 200, p[3] = 0;
        }
    const uint8_t bg[4] = {10, 20, 30, 40};
    test::Scale(dst, src, 2, bg);
    EXPECT_EQ(dst.at(0, 0)[0], 10);
    EXPECT_EQ(dst.at(0, 0)[1], 20);
    EXPECT_EQ(dst.at(0, 0)[2], 30);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(dst.at(1, 0)[c], 255) << c;
}

TEST(Driver, NearestCopiesAndFourthBytes) {
    Image src(4, 4, 3), same(4, 4, 4), half(2, 2, 4);
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 4; ++x)
            for (uint32_t c = 0; c < 3; ++c) src.at(x, y)[c] = uint8_t(y * 40 + x * 8 + c);
    test::Scale(same, src, 0);
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 4; ++x) {
            EXPECT_EQ(same.at(x, y)[0], src.at(x, y)[0]);
            EXPECT_EQ(same.at(x, y)[3], 0xFF) << "equal widths give an opaque fourth byte";
        }
    // Step 2: p = 1, 3 -> pixels 1 and 3, rows 1 and 3.
    test::Scale(half, src, 0);
    EXPECT_EQ(half.at(0, 0)[2], src.at(1, 1)[2]);
    EXPECT_EQ(half.at(1, 1)[0], src.at(3, 3)[0]);
    // A size of one is nearest sample in every mode.
    Image one(1, 2, 4);
    test::Scale(one, src, 3);
    EXPECT_EQ(one.at(0, 1)[1], src.at(2, 3)[1]);
}

TEST(Driver, NearestRowsThatShareASourceRowAreItsSamples) {
    // Each source pixel names its row and column; square images scale both
    // axes alike, so target pixel (x, y) must carry the source row that
    // column y takes and the column of its own column, whether its row was
    // gathered or copied from the row above (enlargements copy every other
    // row).
    for (uint32_t sb : {3u, 4u})
        for (uint32_t db : {3u, 4u}) {
            if (sb == 4 && db == 3) continue;
            for (uint32_t n : {40u, 30u, 13u}) {
                Image src(20, 20, sb, 3), dst(n, n, db, 5);
                for (uint32_t y = 0; y < 20; ++y)
                    for (uint32_t x = 0; x < 20; ++x) {
                        src.at(x, y)[0] = uint8_t(y);
                        src.at(x, y)[1] = uint8_t(x);
                        src.at(x, y)[2] = uint8_t(x * 7 + y * 11);
                    }
                test::Scale(dst, src, 0);
                for (uint32_t y = 0; y < n; ++y)
                    for (uint32_t x = 0; x < n; ++x) {
                        const uint8_t* p = dst.at(x, y);
                        ASSERT_EQ(p[0], dst.at(y, 0)[1]) << sb << db << " " << n << " " << x << "," << y;
                        ASSERT_EQ(p[1], dst.at(x, 0)[1]) << sb << db << " " << n << " " << x << "," << y;
                        ASSERT_EQ(p[2], uint8_t(p[1] * 7 + p[0] * 11)) << sb << db << " " << n;
                    }
            }
        }
}

TEST(Driver, ZeroSizesAndUnknownPairsWriteNothing) {
    Image src(4, 4, 4), dst(4, 4, 2);
    src.SetRow(0, {1, 2, 3, 4});
    test::Scale(dst, src, 1);
    for (uint8_t b : dst.data) ASSERT_EQ(b, test::kCanary);
    Image d4(4, 4, 4);
    ScaleImage({d4.base(), 0, 4, d4.stride, 4}, {src.base(), 4, 4, src.stride, 4}, {1, 1}, 1, nullptr);
    for (uint8_t b : d4.data) ASSERT_EQ(b, test::kCanary);
}

TEST(Driver24To24, FieldPairsReadEvenAndOddRows) {
    // Rows doubled in mode 5: pairs at p = -0.25, 0.25, 0.75 read source rows
    // 0 and 1 with weights 0, 64, 191; the second row of a pair blends the
    // odd row with the even row below it. The last pair is the bottom band.
    Image src(4, 4, 3), dst(4, 8, 3);
    const uint8_t rows[4] = {0, 100, 200, 40};
    for (uint32_t y = 0; y < 4; ++y) src.SetRow(y, {rows[y], rows[y], rows[y], rows[y]});
    test::Scale(dst, src, 5);
    const uint8_t expect[8] = {0, 100, 25, 125, 74, 174, 200, 40};
    for (uint32_t y = 0; y < 8; ++y)
        for (uint32_t x = 0; x < 4; ++x) EXPECT_EQ(dst.at(x, y)[2], expect[y]) << x << "," << y;
}

TEST(Driver, BoxNeedsBothStepsAtTwo) {
    // Mode 3 with steps 4 and 1.5 runs as mode 1; mode 4 as mode 2.
    Image src(16, 6, 4), box(4, 4, 4), bilinear(4, 4, 4);
    for (uint32_t y = 0; y < 6; ++y)
        for (uint32_t x = 0; x < 16; ++x) src.Set(x, y, uint8_t(x * 13 + y * 31));
    test::Scale(box, src, 3);
    test::Scale(bilinear, src, 1);
    EXPECT_EQ(box.data, bilinear.data);
    test::Scale(box, src, 4);
    test::Scale(bilinear, src, 2);
    EXPECT_EQ(box.data, bilinear.data);
}

TEST(Driver, NegativeStridesWalkTheSameRows) {
    // A source handed in upside down with a negative stride, into a target
    // also walked upwards, gives the same picture in every mode.
    for (uint32_t bytes : {1u, 3u, 4u})
        for (uint32_t mode = 0; mode <= 6; ++mode) {
            Image src(23, 17, bytes, 2), flipped(23, 17, bytes, 2), a(9, 31, bytes, 1), b(9, 31, bytes, 1);
            for (uint32_t y = 0; y < 17; ++y)
                for (uint32_t x = 0; x < 23 * bytes; ++x) {
                    const uint8_t v = uint8_t(x * 37 + y * 11 + (x * y) % 7);
                    src.at(0, y)[x] = v;
                    flipped.at(0, 16 - y)[x] = v;
                }
            test::Scale(a, src, mode);
            ScaleImage({b.at(0, 30), 9, 31, -b.stride, bytes}, {flipped.at(0, 16), 23, 17, -flipped.stride, bytes},
                       {23.0 / 9, 17.0 / 31}, mode, nullptr);
            for (uint32_t y = 0; y < 31; ++y)
                for (uint32_t x = 0; x < 9 * bytes; ++x)
                    ASSERT_EQ(a.at(0, y)[x], b.at(0, 30 - y)[x]) << bytes << " mode " << mode << " " << x << "," << y;
        }
}

TEST(ScaleGray, TrailingPixelsTakeWeightsFromTheBlock) {
    // 4 to 8 columns at step 0.5: the middle band is columns 1..6, a run of
    // 6. Its last two pixels (j = 4, 5) read the weight bytes at 4 * j past
    // the run start, which lie in the offsets after the weights (bytes of the
    // offsets 0 and 1): weight 0, so they copy sample 2 instead of blending.
    // Rows at step 2 (p = 0, 2) have weight 0.
    Image src(4, 4, 1), dst(8, 2, 1);
    for (uint32_t y = 0; y < 4; ++y) src.SetRow(y, {0, 100, 200, 255});
    test::Scale(dst, src, 1);
    const uint8_t expect[8] = {0, 25, 74, 125, 174, 200, 200, 255};
    for (uint32_t x = 0; x < 8; ++x) EXPECT_EQ(dst.at(x, 0)[0], expect[x]) << x;
    // Mode 3 is the same bilinear path.
    Image box(8, 2, 1);
    test::Scale(box, src, 3);
    EXPECT_EQ(box.data, dst.data);
}

TEST(ScaleGray, TopAndBottomRowsAreGathered) {
    // Rows at step 0.5 from 0: p = 0, 0.5, ..., 3 reaches the end at row 6.
    // Bottom rows gather the last source row with no interpolation.
    Image src(2, 4, 1), dst(4, 8, 1);
    for (uint32_t y = 0; y < 4; ++y) src.SetRow(y, {uint8_t(10 * y), uint8_t(100 + 10 * y)});
    test::Scale(dst, src, 1);
    // Columns: p = -0.25 (left), 0.25 (k 0, 64), 0.75 (k 0, 191), 1.25 (right).
    const uint8_t bottom[4] = {30, 30, 30, 130};
    for (uint32_t x = 0; x < 4; ++x) EXPECT_EQ(dst.at(x, 7)[0], bottom[x]);
    // Row 1 (p = 0.5, weight 128): Lerp(Lerp(0,100,64), Lerp(10,110,64), 128) = 25 + 5.
    EXPECT_EQ(dst.at(1, 1)[0], 30);
}

}  // namespace
}  // namespace tarn
