// ByteSpan: the ranges frames cover, guarded access at their edges, and the
// test whether written rows can meet read bytes. Expected ranges are worked
// by hand from offsets into one buffer.
#include "platform/byte_span.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <vector>

namespace {

using namespace tarn;

class ByteSpanTest : public ::testing::Test {
protected:
    ByteSpanTest() : memory(64) { std::iota(memory.begin(), memory.end(), uint8_t(1)); }
    Addr At(size_t offset) const { return AddrOf(memory.data()) + offset; }
    uint8_t* P(size_t offset) { return memory.data() + offset; }
    std::vector<uint8_t> memory;
};

TEST_F(ByteSpanTest, FramesCoverTheirRowsWhicheverWayTheyWalk) {
    struct Case {
        size_t first;
        ptrdiff_t stride;
        int32_t rows;
        size_t lo, hi;
    };
    // Three rows of 8 from offset 8: [8, 32). Walked from the last row up,
    // the first row starts at 24 and the range is the same.
    const Case cases[] = {{8, 8, 3, 8, 32}, {24, -8, 3, 8, 32}, {5, 10, 1, 5, 15}};
    for (const Case& c : cases) {
        const ByteSpan s = ByteSpan::OfFrame(P(c.first), c.stride, c.rows);
        EXPECT_EQ(s.Lo(), At(c.lo));
        EXPECT_EQ(s.Hi(), At(c.hi));
    }
    EXPECT_TRUE(ByteSpan::OfFrame(P(0), 8, 0).Empty());
    // Rows of 3 bytes, 8 apart: the last row ends 3 bytes after its start.
    const ByteSpan rows = ByteSpan::OfRows(P(24), -8, 3, 3);
    EXPECT_EQ(rows.Lo(), At(8));
    EXPECT_EQ(rows.Hi(), At(27));
    // Luma 4 rows of 8 at 0, chroma 2 rows of 4 at 32 and at 40.
    const ByteSpan planar = ByteSpan::OfPlanar(P(0), P(32), P(40), 8, 4, 4);
    EXPECT_EQ(planar.Lo(), At(0));
    EXPECT_EQ(planar.Hi(), At(48));
    EXPECT_EQ(ByteSpan().Union(rows).Lo(), rows.Lo());
}

TEST_F(ByteSpanTest, ReadsOutsideGiveZeroAndWritesOutsideAreDropped) {
    const ByteSpan s(At(10), At(20));
    EXPECT_TRUE(s.Holds(At(10), 10));
    EXPECT_FALSE(s.Holds(At(10), 11));
    EXPECT_FALSE(s.Holds(At(9), 1));
    EXPECT_EQ(s.Read(At(19)), 20);
    EXPECT_EQ(s.Read(At(20)), 0);

    uint8_t scratch[8];
    const uint8_t* got = s.Fetch(At(16), 8, scratch);  // bytes 16..19 inside, 20..23 outside
    const uint8_t expected[8] = {17, 18, 19, 20, 0, 0, 0, 0};
    EXPECT_EQ(std::vector<uint8_t>(got, got + 8), std::vector<uint8_t>(expected, expected + 8));
    EXPECT_EQ(s.Fetch(At(12), 4, scratch), P(12));  // wholly inside: the memory itself

    uint8_t* target = s.Target(At(6), 8, scratch);  // bytes 6..9 outside, 10..13 inside
    ASSERT_EQ(target, scratch);
    for (int i = 0; i < 8; ++i) target[i] = uint8_t(200 + i);
    s.Store(At(6), target, 8);
    EXPECT_EQ(memory[9], 10);  // outside: as it was
    EXPECT_EQ(memory[10], 204);
    EXPECT_EQ(memory[13], 207);
    EXPECT_EQ(memory[14], 15);
}

TEST_F(ByteSpanTest, RowsAreApartOnlyWhenNoWrittenByteIsReadOrWrittenTwice) {
    const ByteSpan source(At(32), At(48));
    // Two rows of 8 at 0 and 16 end at 24: apart. A third row reaches 40.
    EXPECT_TRUE(RowsApart(P(0), 8, 2, 16, source));
    EXPECT_FALSE(RowsApart(P(0), 8, 3, 16, source));
    // Ending exactly where the source starts still leaves them apart.
    EXPECT_TRUE(RowsApart(P(24), 8, 1, 16, source));
    // Rows closer than their length overlap each other.
    EXPECT_FALSE(RowsApart(P(0), 8, 2, 4, source));
    EXPECT_TRUE(RowsApart(P(0), 8, 1, 4, source));
    // No rows count as one.
    EXPECT_FALSE(RowsApart(P(30), 8, 0, 16, source));
    // Walking up from the last row covers the same bytes.
    EXPECT_TRUE(RowsApart(P(16), 8, 2, -16, source));
}

}  // namespace
