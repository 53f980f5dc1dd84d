// Region fill: sample values and byte order worked by hand, the 24-bit store
// that runs one byte past a row, planar and packed geometry, and DoFill's
// rectangle handling through the public Fill.
#include <gtest/gtest.h>

#include <vector>

#include "blank_surface.h"
#include "operations/fill.h"

namespace tarn {
namespace {

using namespace testing_blank;

constexpr uint8_t kCanary = 0xCD;

struct SampleCase {
    uint32_t color;
    uint8_t y, first, second;
};

// Worked by hand from the three formulas; the negative chroma sums check the
// arithmetic shift (truncation towards zero would give one more).
TEST(FillSamples, HandWorkedColours) {
    const SampleCase cases[] = {
        {0x00000000, 16, 128, 128},   // black
        {0xAB000000, 16, 128, 128},   // the top byte is ignored
        {0x00FF0000, 82, 90, 240},    // Hi: (66*255+128)>>8=66; (-38*255+128)>>8=-38
        {0x000000FF, 41, 240, 110},   // Lo: (25*255+128)>>8=25; (-18*255+128)>>8=-18
        {0x0000FF00, 144, 54, 34},    // Mid: 33023>>8=128; -18742>>8=-74; -23842>>8=-94
        {0x00FFFFFF, 235, 128, 128},  // white: 56228>>8=219; chroma sums are 128
        {0x00400000, 33, 119, 156},   // 66*64+128=4352, exactly 17; -2304>>8=-9; 7296>>8=28
    };
    for (const SampleCase& c : cases) {
        const FillSamples s = FillSamplesOf(c.color);
        EXPECT_EQ(s.y, c.y) << std::hex << c.color;
        EXPECT_EQ(s.first, c.first) << std::hex << c.color;
        EXPECT_EQ(s.second, c.second) << std::hex << c.color;
    }
}

// A buffer of `rows` x `stride` bytes plus 8 bytes of watched tail.
struct Canvas {
    Canvas(int32_t stride, int32_t rows) : stride(stride), bytes(size_t(stride * rows + 8), kCanary) {}
    uint8_t* data() { return bytes.data(); }
    uint8_t at(int32_t row, int32_t col) const { return bytes[size_t(row * stride + col)]; }
    int32_t stride;
    std::vector<uint8_t> bytes;
};

struct InterleavedCase {
    const char* name;
    int32_t bits, width, height, stride;
    VedRect rect;
    uint32_t color;
    std::vector<uint8_t> pixel;  // bytes of one painted pixel, in memory order
    bool zeroBehindRow;          // the byte right of each painted row becomes 0
};

TEST(FillInterleaved, ByteOrderAndOverrun) {
    const InterleavedCase cases[] = {
        {"rgb32 drops top byte", 32, 5, 3, 20, {1, 1, 3, 3}, 0xEE112233, {0x11, 0x22, 0x33, 0}, false},
        {"rgb24 mid-row", 24, 5, 3, 16, {1, 0, 3, 2}, 0x00112233, {0x11, 0x22, 0x33}, true},
        {"rgb24 to right edge clears next row's first byte", 24, 4, 3, 12, {2, 0, 4, 2}, 0x00A0B0C0, {0xA0, 0xB0, 0xC0}, true},
        {"rgb24 zero pattern", 24, 4, 3, 12, {2, 0, 4, 2}, 0xFF000000, {0, 0, 0}, false},
        {"rgb32 zero pattern", 32, 4, 2, 16, {0, 0, 4, 2}, 0, {0, 0, 0, 0}, false},
    };
    for (const InterleavedCase& c : cases) {
        SCOPED_TRACE(c.name);
        Canvas canvas(c.stride, c.height);
        ASSERT_EQ(FillInterleaved(canvas.data(), c.width, c.height, c.stride, &c.rect, c.bits, c.color), 1);
        const int32_t bpp = c.bits / 8;
        std::vector<uint8_t> expected(canvas.bytes.size(), kCanary);
        for (int32_t y = c.rect.top; y < c.rect.bottom; ++y) {
            for (int32_t x = c.rect.left; x < c.rect.right; ++x)
                for (int32_t k = 0; k < bpp; ++k) expected[size_t(y * c.stride + x * bpp + k)] = c.pixel[size_t(k)];
            if (c.zeroBehindRow) expected[size_t(y * c.stride + c.rect.right * bpp)] = 0;
        }
        EXPECT_EQ(canvas.bytes, expected);
    }
}

TEST(FillInterleaved, AnswersAndRefusals) {
    Canvas canvas(16, 4);
    const std::vector<uint8_t> untouched = canvas.bytes;
    const VedRect beyondRight{0, 0, 5, 1}, beyondBottom{0, 0, 1, 5}, negLeft{-1, 0, 2, 2},
        negTop{0, -1, 2, 2}, empty{2, 2, 2, 3}, inverted{3, 3, 1, 1}, farInverted{5, 0, INT32_MIN, 2};
    EXPECT_EQ(FillInterleaved(nullptr, 4, 4, 16, nullptr, 32, 1), 0);
    for (const VedRect* r : {&beyondRight, &beyondBottom, &negLeft, &negTop})
        EXPECT_EQ(FillInterleaved(canvas.data(), 4, 4, 16, r, 32, 0x123456), 0);
    for (const VedRect* r : {&empty, &inverted, &farInverted})
        EXPECT_EQ(FillInterleaved(canvas.data(), 4, 4, 16, r, 32, 0x123456), 1);
    EXPECT_EQ(canvas.bytes, untouched);
    // 8-bit pixels have no row writer: success, nothing painted.
    EXPECT_EQ(FillInterleaved(canvas.data(), 16, 4, 16, nullptr, 8, 0x123456), 1);
    EXPECT_EQ(canvas.bytes, untouched);
}

TEST(FillPattern, SixteenBitAndOtherSizes) {
    for (int32_t code : {2, 102}) {
        for (int32_t count : {1, 3, 4}) {
            SCOPED_TRACE(testing::Message() << "code " << code << " count " << count);
            Canvas canvas(16, 2);
            FillPattern(canvas.data() + 16, -16, code, count, 2, 0xFFFF1234);  // bottom row first
            for (int32_t row = 0; row < 2; ++row) {
                for (int32_t i = 0; i < count; ++i) {
                    EXPECT_EQ(canvas.at(row, 2 * i), 0x34);
                    EXPECT_EQ(canvas.at(row, 2 * i + 1), 0x12);
                }
                EXPECT_EQ(canvas.at(row, 2 * count), kCanary);
            }
        }
    }
    Canvas canvas(16, 2);
    const std::vector<uint8_t> untouched = canvas.bytes;
    for (int32_t bpp : {0, 1, 5, 8}) FillPattern(canvas.data(), 16, bpp, 4, 2, 0x123456);
    FillPattern(canvas.data(), 16, 4, 4, 0, 0x123456);
    FillPattern(canvas.data(), 16, 4, 4, -3, 0x123456);
    EXPECT_EQ(canvas.bytes, untouched);
}

TEST(FillPlanar, RectanglesAndWholePicture) {
    struct Case {
        const char* name;
        int32_t w, h;
        VedRect rect;
        bool whole;
    };
    const Case cases[] = {
        {"whole", 8, 6, {0, 0, 8, 6}, true},
        {"even rect", 8, 6, {2, 2, 6, 6}, false},
        {"width 3: one chroma column", 8, 6, {1, 0, 4, 4}, false},
        {"odd origin and height", 8, 6, {3, 1, 8, 4}, false},
        {"height 1: no chroma", 8, 6, {0, 5, 8, 6}, false},
    };
    const uint32_t color = 0x00FF0000;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Planes buffer(c.w, c.h, kCanary, kCanary, kCanary), expected = buffer;
        ASSERT_EQ(FillPlanar(buffer.bytes.data(), c.w, c.h, c.w, c.whole ? nullptr : &c.rect, color), 1);
        expected.Paint(c.rect, 82, 90, 240);
        EXPECT_EQ(buffer.bytes, expected.bytes);
    }
    std::vector<uint8_t> buffer(8 * 6 * 3 / 2, kCanary);
    const std::vector<uint8_t> untouched = buffer;
    const VedRect beyond{0, 0, 9, 2};
    EXPECT_EQ(FillPlanar(buffer.data(), 8, 6, 8, &beyond, color), 0);
    EXPECT_EQ(FillPlanar(nullptr, 8, 6, 8, nullptr, color), 0);
    EXPECT_EQ(buffer, untouched);
}

TEST(FillPacked, PaintsAtTheCornerWhateverTheRectangle) {
    const int32_t stride = 16;
    for (const VedRect rect : {VedRect{2, 1, 5, 3}, VedRect{0, 0, 3, 2}}) {
        std::vector<uint8_t> buffer(size_t(stride * 4 + 8), kCanary);
        ASSERT_EQ(FillPacked(buffer.data(), 8, 4, stride, &rect, 0x00FF0000), 1);
        std::vector<uint8_t> expected(buffer.size(), kCanary);
        const uint8_t row[6] = {90, 82, 240, 82, 82, 240};  // one pair, then Y and second chroma
        for (int32_t y = 0; y < 2; ++y)
            for (int32_t k = 0; k < 6; ++k) expected[size_t(y * stride + k)] = row[k];
        EXPECT_EQ(buffer, expected);
    }
    std::vector<uint8_t> buffer(64, kCanary);
    const VedRect beyond{0, 0, 2, 5};
    EXPECT_EQ(FillPacked(buffer.data(), 8, 4, 16, &beyond, 0), 0);
    EXPECT_EQ(buffer, std::vector<uint8_t>(64, kCanary));
}

// --- DoFill through the public Fill ---

TEST(DoFill, BottomUpRgbFlipsTheCallersRectangle) {
    Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_RGB32, 4, 6, /*topDown*/ 0);
    Paint(s, kCanary);
    VedRect rect{1, 0, 3, 2};  // the top two rows of the picture
    ASSERT_EQ(s->Fill(&rect, 0xFF010203), VED_S_OK);  // the top byte is not stored: the fourth is 0
    EXPECT_TRUE(SameRect(rect, {1, 4, 3, 6}));
    const uint8_t* p = Buffer(s)->pixels;
    const uint8_t pixel[4] = {0x01, 0x02, 0x03, 0};
    for (int32_t row = 0; row < 6; ++row)
        for (int32_t i = 0; i < 16; ++i) {
            const bool painted = row >= 4 && i >= 4 && i < 12;
            EXPECT_EQ(p[row * 16 + i], painted ? pixel[i % 4] : kCanary) << row << "," << i;
        }
    // A top-down surface and a planar one keep the record as it was.
    Ref<ITarnSurface> t = MakeBlank(SURFACE_FORMAT_RGB24, 4, 6, 1);
    Ref<ITarnSurface> yuv = MakeBlank(SURFACE_FORMAT_YUV420, 4, 6, 0);
    for (Ref<ITarnSurface>* other : {&t, &yuv}) {
        VedRect same{1, 0, 3, 2};
        ASSERT_EQ((*other)->Fill(&same, 0x10), VED_S_OK);
        EXPECT_TRUE(SameRect(same, {1, 0, 3, 2}));
    }
}

TEST(DoFill, ContentRectangleWholeVersusPart) {
    for (SurfaceFormat format : {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_YUV420}) {
        Ref<ITarnSurface> s = MakeBlank(format, 8, 8);
        CTarnSurfaceBuffer* b = Buffer(s);
        b->info.contentLeft = 2, b->info.contentTop = 2, b->info.contentRight = 4, b->info.contentBottom = 4;
        VedRect part{0, 0, 8, 3};
        ASSERT_EQ(s->Fill(&part, 0x808080), VED_S_OK);
        EXPECT_TRUE(SameRect(ContentOf(s), {2, 2, 4, 4}));
        ASSERT_EQ(s->Fill(nullptr, 0x808080), VED_S_OK);
        EXPECT_TRUE(SameRect(ContentOf(s), {0, 0, 8, 8}));
    }
}

TEST(DoFill, BadRectanglesAndFormats) {
    Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_RGB24, 8, 8);
    Paint(s, kCanary);
    VedRect bad[] = {{-1, 0, 4, 4}, {0, -1, 4, 4}, {0, 0, 9, 4}, {0, 0, 4, 9}, {0, 0, -4, 4}, {0, 0, 4, -1}};
    for (VedRect& r : bad) EXPECT_EQ(s->Fill(&r, 0x123456), VED_E_INVALIDARG);
    VedRect thin[] = {{0, 0, 1, 8}, {0, 0, 8, 1}, {5, 5, 2, 2}};
    for (VedRect& r : thin) EXPECT_EQ(s->Fill(&r, 0x123456), VED_S_OK);
    const CTarnSurfaceBuffer* b = Buffer(s);
    for (int64_t i = 0; i < BufferBytes(b->info); ++i) ASSERT_EQ(b->pixels[i], kCanary) << i;

    for (SurfaceFormat format : {SURFACE_FORMAT_YUV422, SURFACE_FORMAT_GRAY8}) {
        Ref<ITarnSurface> other = MakeBlank(format, 8, 8);
        Buffer(other)->info.contentRight = 4;
        EXPECT_EQ(other->Fill(nullptr, 0), VED_E_NOTSUPPORTED);
        EXPECT_TRUE(SameRect(ContentOf(other), {0, 0, 8, 8}));  // changed before the refusal
    }
    SurfaceInfo info{};
    info.width = info.height = 8;
    info.format = SURFACE_FORMAT_RGB24;
    CTarnSurfaceBuffer empty(info);
    EXPECT_EQ(empty.DoFill(nullptr, 0), VED_E_INVALIDARG);
}

}  // namespace
}  // namespace tarn
