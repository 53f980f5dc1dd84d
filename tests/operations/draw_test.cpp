// DrawToSurface and DrawToBuffer: rectangle tests, the flip of picture
// rectangles for bottom-up RGB, the content rectangle that only grows, the
// refusals that leave the source alone, and DrawToBuffer's default strides.
#include <gtest/gtest.h>

#include <vector>

#include "blank_surface.h"

namespace tarn {
namespace {

using namespace testing_blank;

constexpr uint8_t kCanary = 0xCD;

// RGB surface whose stored row r holds the byte 10 * r + 1 everywhere.
Ref<ITarnSurface> RowNumbered(SurfaceFormat format, uint32_t w, uint32_t h, uint32_t topDown) {
    Ref<ITarnSurface> s = MakeBlank(format, w, h, topDown);
    CTarnSurfaceBuffer* b = Buffer(s);
    for (uint32_t r = 0; r < h; ++r)
        std::memset(b->pixels + r * size_t(b->info.stride), int(10 * r + 1), size_t(b->info.stride));
    return s;
}

Ref<ITarnSurface> FlatPlanar(uint32_t w, uint32_t h, uint8_t y, uint8_t first, uint8_t second) {
    Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_YUV420, w, h);
    PaintPlanes(Buffer(s)->pixels, int32_t(w), int32_t(h), y, first, second);
    return s;
}

uint8_t StoredByte(const Ref<ITarnSurface>& s, int32_t row, int32_t byte) {
    const CTarnSurfaceBuffer* b = Buffer(s);
    return b->pixels[row * b->info.stride + byte];
}

// Rectangles count in picture rows: a bottom-up side's rectangle is flipped
// to its stored rows (on a copy: the caller's record stays), and same row
// orders copy stored rows in order while opposite ones mirror them. `rows`
// gives, for each stored target row, the stored source row it shows, or -1
// for none.
TEST(DrawToSurface, RectanglesAreFlippedForBottomUpSidesAndRowOrdersMirror) {
    struct Side {
        SurfaceFormat format;
        uint32_t w, h, topDown;
    };
    struct Case {
        const char* what;
        Side target, source;
        VedRect dest;
        bool whole;  // no source rectangle
        int rows[6];
    };
    const Case cases[] = {
        {"bottom-up both, the picture's top rows", {SURFACE_FORMAT_RGB24, 8, 6, 0}, {SURFACE_FORMAT_RGB24, 8, 4, 0},
         {0, 0, 8, 4}, true, {-1, -1, 0, 1, 2, 3}},
        {"bottom-up source onto top-down", {SURFACE_FORMAT_RGB32, 4, 4, 1}, {SURFACE_FORMAT_RGB32, 4, 6, 0},
         {0, 0, 4, 2}, false, {5, 4, -1, -1}},
        {"32-bit source onto a 24-bit target", {SURFACE_FORMAT_RGB24, 4, 4, 1}, {SURFACE_FORMAT_RGB32, 4, 4, 1},
         {0, 0, 4, 4}, true, {0, 1, 2, 3}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Ref<ITarnSurface> target = MakeBlank(c.target.format, c.target.w, c.target.h, c.target.topDown);
        Paint(target, kCanary);
        Ref<ITarnSurface> source = RowNumbered(c.source.format, c.source.w, c.source.h, c.source.topDown);
        VedRect dest = c.dest, from = c.dest;
        ASSERT_EQ(target->DrawToSurface(&dest, source.get(), c.whole ? nullptr : &from, SCALE_NEAREST), VED_S_OK);
        EXPECT_TRUE(SameRect(dest, c.dest));
        EXPECT_TRUE(SameRect(from, c.dest));
        const int32_t rowBytes = int32_t(c.target.w) * host::BitsOf(c.target.format) / 8;
        for (int32_t row = 0; row < int32_t(c.target.h); ++row)
            for (int32_t x = 0; x < rowBytes; ++x)
                ASSERT_EQ(StoredByte(target, row, x), c.rows[row] < 0 ? kCanary : 10 * c.rows[row] + 1) << row;
    }
}

TEST(DrawToSurface, ContentRectangleOnlyGrows) {
    Ref<ITarnSurface> target = MakeBlank(SURFACE_FORMAT_YUV420, 8, 8);
    Ref<ITarnSurface> source = FlatPlanar(4, 4, 50, 60, 70);
    CTarnSurfaceBuffer* b = Buffer(target);
    b->info.contentLeft = 2, b->info.contentTop = 2, b->info.contentRight = 4, b->info.contentBottom = 4;
    VedRect dest{4, 4, 8, 6};
    ASSERT_EQ(target->DrawToSurface(&dest, source.get(), nullptr, SCALE_BILINEAR), VED_S_OK);
    EXPECT_TRUE(SameRect(ContentOf(target), {2, 2, 8, 6}));
    VedRect inside{2, 2, 4, 4};
    ASSERT_EQ(target->DrawToSurface(&inside, source.get(), nullptr, SCALE_BILINEAR), VED_S_OK);
    EXPECT_TRUE(SameRect(ContentOf(target), {2, 2, 8, 6}));
    ASSERT_EQ(target->DrawToSurface(nullptr, source.get(), nullptr, SCALE_BILINEAR), VED_S_OK);
    EXPECT_TRUE(SameRect(ContentOf(target), {0, 0, 8, 8}));
}

TEST(DrawToSurface, BadAndThinRectangles) {
    Ref<ITarnSurface> target = MakeBlank(SURFACE_FORMAT_RGB24, 8, 8);
    Paint(target, kCanary);
    Ref<ITarnSurface> source = RowNumbered(SURFACE_FORMAT_RGB24, 8, 8, 1);
    const VedRect before = ContentOf(target);
    VedRect bad[] = {{-1, 0, 4, 4}, {0, -1, 4, 4}, {0, 0, 9, 4}, {0, 0, 4, 9}, {0, 0, -2, 4}};
    for (VedRect& r : bad) EXPECT_EQ(target->DrawToSurface(&r, source.get(), nullptr, 0), VED_E_INVALIDARG);
    VedRect thin[] = {{0, 0, 1, 8}, {0, 0, 8, 1}, {6, 6, 2, 2}};
    for (VedRect& r : thin) EXPECT_EQ(target->DrawToSurface(&r, source.get(), nullptr, 0), VED_S_OK);
    EXPECT_TRUE(SameRect(ContentOf(target), before));
    for (int64_t i = 0; i < BufferBytes(Buffer(target)->info); ++i) ASSERT_EQ(Buffer(target)->pixels[i], kCanary);

    // The destination is looked at first: a bad source rectangle leaves the
    // content rectangle grown.
    Buffer(target)->info.contentRight = 2;
    VedRect dest{0, 0, 6, 6}, badSource{0, 0, 9, 2}, thinSource{0, 0, 8, 1};
    EXPECT_EQ(target->DrawToSurface(&dest, source.get(), &badSource, 0), VED_E_INVALIDARG);
    EXPECT_TRUE(SameRect(ContentOf(target), {0, 0, 6, 8}));
    EXPECT_EQ(target->DrawToSurface(&dest, source.get(), &thinSource, 0), VED_S_OK);
    for (int64_t i = 0; i < BufferBytes(Buffer(target)->info); ++i) ASSERT_EQ(Buffer(target)->pixels[i], kCanary);
    EXPECT_EQ(target->DrawToSurface(&dest, nullptr, nullptr, 0), VED_E_INVALIDARG);
}

TEST(DrawToSurface, RefusalsLeaveTheSourceAlone) {
    // A packed target: not supported, content grown, the source's format
    // kept; its queue is drained first, as GetPixels comes before the refusal.
    Ref<ITarnSurface> packed = MakeBlank(SURFACE_FORMAT_YUV422, 8, 8);
    Buffer(packed)->info.contentRight = 2;
    Ref<ITarnSurface> source = RowNumbered(SURFACE_FORMAT_RGB24, 8, 8, 1);
    ASSERT_EQ(source->Resize(16, 16, 0, 0), VED_S_OK);
    VedRect dest{0, 0, 4, 4};
    EXPECT_EQ(packed->DrawToSurface(&dest, source.get(), nullptr, 0), VED_E_NOTSUPPORTED);
    EXPECT_TRUE(SameRect(ContentOf(packed), {0, 0, 4, 8}));
    SurfaceInfo info{};
    source->GetInfo(&info);
    EXPECT_EQ(info.width, 16u);
    EXPECT_EQ(info.format, SURFACE_FORMAT_RGB24);
    EXPECT_EQ(Buffer(source)->operations.size(), 0u);

    // A thin rectangle onto a planar target: no conversion of an RGB source.
    ASSERT_EQ(source->Resize(8, 8, 0, 0), VED_S_OK);
    Ref<ITarnSurface> planar = MakeBlank(SURFACE_FORMAT_YUV420, 8, 8);
    VedRect thin{0, 0, 8, 1};
    EXPECT_EQ(planar->DrawToSurface(&thin, source.get(), nullptr, 0), VED_S_OK);
    EXPECT_EQ(Buffer(source)->operations.size(), 1u);

    // Pixel sizes the engine cannot turn into one another are refused.
    Ref<ITarnSurface> rgb = MakeBlank(SURFACE_FORMAT_RGB24, 8, 8);
    Ref<ITarnSurface> gray = MakeBlank(SURFACE_FORMAT_GRAY8, 8, 8);
    EXPECT_EQ(rgb->DrawToSurface(nullptr, gray.get(), nullptr, 0), VED_E_NOTSUPPORTED);
    EXPECT_EQ(planar->DrawToSurface(nullptr, gray.get(), nullptr, 0), VED_E_NOTSUPPORTED);
}

TEST(DrawToBuffer, DefaultStrides) {
    // 24-bit rows of width 101 are padded to 304 bytes.
    Ref<ITarnSurface> rgb = MakeBlank(SURFACE_FORMAT_RGB24, 4, 4);
    Paint(rgb, 0x44);
    std::vector<uint8_t> out(304 * 3 + 16, kCanary);
    ASSERT_EQ(rgb->DrawToBuffer(nullptr, nullptr, out.data(), 101, 3, 0, SCALE_NEAREST), VED_S_OK);
    for (int32_t row = 0; row < 3; ++row) {
        for (int32_t x = 0; x < 303; ++x) ASSERT_EQ(out[size_t(row * 304 + x)], 0x44) << row << "," << x;
        if (row < 2) {
            EXPECT_EQ(out[size_t(row * 304 + 303)], kCanary);
        }
    }
    // Planar: the width, and a rectangle of width 101 is drawn 100 wide.
    Ref<ITarnSurface> yuv = FlatPlanar(8, 8, 50, 60, 70);
    std::vector<uint8_t> planes(102 * 4 * 3 / 2, kCanary);
    VedRect dest{0, 0, 101, 4};
    ASSERT_EQ(yuv->DrawToBuffer(nullptr, &dest, planes.data(), 102, 4, -1, SCALE_BILINEAR), VED_S_OK);
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 102; ++x) ASSERT_EQ(planes[size_t(y * 102 + x)], x < 100 ? 50 : kCanary);
    for (int32_t plane = 0; plane < 2; ++plane)
        for (int32_t y = 0; y < 2; ++y)
            for (int32_t x = 0; x < 51; ++x)
                ASSERT_EQ(planes[size_t(408 + plane * 102 + y * 51 + x)], x < 50 ? 60 + 10 * plane : kCanary);
}

TEST(DrawToBuffer, RectanglesCountInStoredRows) {
    Ref<ITarnSurface> source = RowNumbered(SURFACE_FORMAT_RGB32, 4, 6, /*topDown*/ 0);
    std::vector<uint8_t> out(16 * 2, kCanary);
    VedRect from{0, 0, 4, 2};
    ASSERT_EQ(source->DrawToBuffer(&from, nullptr, out.data(), 4, 2, 16, SCALE_NEAREST), VED_S_OK);
    for (int32_t x = 0; x < 16; ++x) {
        EXPECT_EQ(out[size_t(x)], 1);  // stored row 0, not flipped
        EXPECT_EQ(out[size_t(16 + x)], 11);
    }
    EXPECT_TRUE(SameRect(ContentOf(source), {0, 0, 4, 6}));
}

TEST(DrawToBuffer, Refusals) {
    Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_RGB32, 8, 8);
    std::vector<uint8_t> out(16 * 4, kCanary);
    const std::vector<uint8_t> untouched = out;
    EXPECT_EQ(s->DrawToBuffer(nullptr, nullptr, nullptr, 4, 4, 16, 0), VED_E_INVALIDARG);
    EXPECT_EQ(s->DrawToBuffer(nullptr, nullptr, out.data(), 0, 4, 16, 0), VED_E_INVALIDARG);
    EXPECT_EQ(s->DrawToBuffer(nullptr, nullptr, out.data(), 4, -1, 16, 0), VED_E_INVALIDARG);
    VedRect beyondBuffer{0, 0, 5, 2}, beyondSurface{0, 0, 9, 2}, negative{0, -2, 2, 2};
    EXPECT_EQ(s->DrawToBuffer(nullptr, &beyondBuffer, out.data(), 4, 4, 16, 0), VED_E_INVALIDARG);
    EXPECT_EQ(s->DrawToBuffer(&beyondSurface, nullptr, out.data(), 4, 4, 16, 0), VED_E_INVALIDARG);
    EXPECT_EQ(s->DrawToBuffer(nullptr, &negative, out.data(), 4, 4, 16, 0), VED_E_INVALIDARG);
    VedRect thin{0, 0, 4, 1}, inverted{3, 3, 1, 1};
    EXPECT_EQ(s->DrawToBuffer(nullptr, &thin, out.data(), 4, 4, 16, 0), VED_S_OK);
    EXPECT_EQ(s->DrawToBuffer(&inverted, nullptr, out.data(), 4, 4, 16, 0), VED_S_OK);
    // The source rectangle is looked at first.
    EXPECT_EQ(s->DrawToBuffer(&inverted, &beyondBuffer, out.data(), 4, 4, 16, 0), VED_S_OK);
    EXPECT_EQ(s->DrawToBuffer(&beyondSurface, &thin, out.data(), 4, 4, 16, 0), VED_E_INVALIDARG);
    EXPECT_EQ(out, untouched);
    Ref<ITarnSurface> packed = MakeBlank(SURFACE_FORMAT_YUV422, 8, 8);
    EXPECT_EQ(packed->DrawToBuffer(nullptr, nullptr, out.data(), 4, 4, 16, 0), VED_E_NOTSUPPORTED);
}

}  // namespace
}  // namespace tarn
