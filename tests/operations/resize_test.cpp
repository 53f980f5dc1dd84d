// DoResize through the queue and directly: the same-size rule, fit rectangles
// worked by hand, border bands of each format, the mask that follows, direct
// output into the caller's memory, and the failure codes.
#include <gtest/gtest.h>

#include <vector>

#include "blank_surface.h"
#include "operations/fill.h"
#include "operations/stretch.h"

namespace tarn {
namespace {

using namespace testing_blank;

constexpr uint8_t kFlat = 0x77;

// A surface whose every byte is kFlat (planar: Y, and chroma alike).
Ref<ITarnSurface> Flat(SurfaceFormat format, uint32_t w, uint32_t h, uint32_t topDown = 1) {
    Ref<ITarnSurface> s = MakeBlank(format, w, h, topDown);
    Paint(s, kFlat);
    return s;
}

TEST(DoResize, SameSizeKeepsTheBufferUnlessAnAspectIsSet) {
    Ref<ITarnSurface> s = Flat(SURFACE_FORMAT_RGB24, 16, 12);
    uint8_t* before = Buffer(s)->pixels;
    ASSERT_EQ(s->Resize(16, 12, 1, SCALE_BILINEAR), VED_S_OK);
    ASSERT_EQ(s->Flush(), VED_S_OK);
    EXPECT_EQ(Buffer(s)->pixels, before);

    // With an aspect, the same size is fitted anew: 16 x 12 shown as 16:9 is
    // 16 x 9, centred in 12 rows from row 1.
    ASSERT_EQ(s->SetAspect(16, 9), VED_S_OK);
    ASSERT_EQ(s->Resize(16, 12, 1, SCALE_NEAREST), VED_S_OK);
    ASSERT_EQ(s->Flush(), VED_S_OK);
    EXPECT_TRUE(SameRect(ContentOf(s), {0, 1, 16, 10}));
    int32_t ax = -1, ay = -1;
    s->GetAspect(&ax, &ay);
    EXPECT_EQ(ax, 0);
    EXPECT_EQ(ay, 0);
}

struct FitCase {
    const char* name;
    uint32_t w, h;
    int32_t aspectX, aspectY;
    int32_t tw, th, keepAspect;
    VedRect content;
};

// Worked by hand: ratio w / h (or the aspect's), the side that fits is kept
// whole and the other is trunc(ratio * side), centred.
TEST(DoResize, FitRectanglesForWideAndTallTargets) {
    const FitCase cases[] = {
        {"wide target", 640, 480, 0, 0, 1280, 720, 1, {160, 0, 1120, 720}},
        {"tall target", 640, 480, 0, 0, 640, 640, 1, {0, 80, 640, 560}},
        {"no aspect kept", 640, 480, 0, 0, 1280, 720, 0, {0, 0, 1280, 720}},
        {"16:9 shown in a square", 640, 480, 16, 9, 800, 800, 1, {0, 175, 800, 625}},
        {"16:9 into its own size", 640, 480, 16, 9, 640, 480, 1, {0, 60, 640, 420}},
        {"small wide", 64, 48, 0, 0, 128, 72, 1, {16, 0, 112, 72}},
    };
    for (const FitCase& c : cases) {
        SCOPED_TRACE(c.name);
        Ref<ITarnSurface> s = Flat(SURFACE_FORMAT_GRAY8, c.w, c.h);
        s->SetAspect(c.aspectX, c.aspectY);
        ASSERT_EQ(s->Resize(c.tw, c.th, c.keepAspect, SCALE_NEAREST), VED_S_OK);
        ASSERT_EQ(s->Flush(), VED_S_OK);
        EXPECT_TRUE(SameRect(ContentOf(s), c.content));
        SurfaceInfo info{};
        s->GetInfo(&info);
        EXPECT_EQ(info.width, uint32_t(c.tw));
        EXPECT_EQ(info.height, uint32_t(c.th));
        EXPECT_EQ(info.stride, (c.tw + 3) / 4 * 4);
    }
}

// 64 x 48 into 128 x 72 with the aspect kept: the picture covers columns 16
// to 111, bands left and right.
bool InPicture(int32_t x) { return x >= 16 && x < 112; }

// RGB bands are black (0) in either row order, planar ones black in every
// plane (Y 16, chroma 128). GRAY8 has no black of its own: its bands keep
// what was under them, which through direct output is the planar black
// painted first, chroma and all. (RGB with nearest: the 32-bit bilinear
// driver lets a trace of its background into its own edge bands, which is
// not ours to test.)
TEST(DoResize, BandsBesideAFittedPicture) {
    struct Case {
        SurfaceFormat format;
        uint32_t topDown;
        int32_t quality, bpp;
        bool direct;
        uint8_t black;
    };
    const Case cases[] = {
        {SURFACE_FORMAT_RGB24, 1, SCALE_NEAREST, 3, false, 0}, {SURFACE_FORMAT_RGB24, 0, SCALE_NEAREST, 3, false, 0},
        {SURFACE_FORMAT_RGB32, 1, SCALE_NEAREST, 4, false, 0}, {SURFACE_FORMAT_RGB32, 0, SCALE_NEAREST, 4, false, 0},
        {SURFACE_FORMAT_YUV420, 1, SCALE_BILINEAR, 1, false, 16}, {SURFACE_FORMAT_GRAY8, 1, SCALE_NEAREST, 1, true, 16},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.format << " topDown " << c.topDown);
        Ref<ITarnSurface> s = Flat(c.format, 64, 48, c.topDown);
        ASSERT_EQ(s->Resize(128, 72, 1, c.quality), VED_S_OK);
        const int32_t row = 128 * c.bpp, luma = row * 72;
        const bool planes = c.format == SURFACE_FORMAT_YUV420 || c.direct;
        std::vector<uint8_t> out(size_t(planes ? luma * 3 / 2 : luma), 0xEE);
        if (c.direct) {
            ASSERT_EQ(s->CopyOut(out.data(), 128, 1), VED_S_OK);
        } else {
            ASSERT_EQ(s->Flush(), VED_S_OK);
            EXPECT_EQ(Buffer(s)->info.stride, row);
            EXPECT_EQ(Buffer(s)->info.topDown, c.topDown);
            std::memcpy(out.data(), Buffer(s)->pixels, out.size());
        }
        for (int32_t i = 0; i < int32_t(out.size()); ++i) {
            const bool painted = i < luma ? InPicture(i % row / c.bpp) : !c.direct && InPicture(2 * ((i - luma) % 64));
            ASSERT_EQ(out[size_t(i)], painted ? kFlat : i < luma ? c.black : 128) << i % row << "," << i / row;
        }
    }
}

// Packed bands are painted at the buffer's corner: the left band's block
// twice, and the right band's columns keep the fresh buffer's bytes.
TEST(DoResize, PackedBandsLandInTheCorner) {
    Ref<ITarnSurface> s = Flat(SURFACE_FORMAT_YUV422, 8, 4);
    ASSERT_EQ(s->DoResize(16, 4, 1, SCALE_BILINEAR), VED_S_OK);  // fit 4..12, bands 4 wide
    const CTarnSurfaceBuffer* b = Buffer(s);
    EXPECT_TRUE(SameRect(ContentOf(s), {4, 0, 12, 4}));
    ASSERT_EQ(b->info.stride, 32);
    for (int32_t y = 0; y < 4; ++y) {
        for (int32_t k = 0; k < 8; ++k) ASSERT_EQ(b->pixels[y * 32 + k], (k & 1) ? 16 : 128) << y;
        for (int32_t k = 8; k < 24; ++k) ASSERT_EQ(b->pixels[y * 32 + k], kFlat) << y;
    }
    // Row 0 lies in the first quarter, set to 0x80 when the buffer was made.
    for (int32_t k = 24; k < 32; ++k) EXPECT_EQ(b->pixels[k], 0x80);
}

TEST(DoResize, MaskFollowsToTheFullSize) {
    Ref<ITarnSurface> s = Flat(SURFACE_FORMAT_RGB32, 64, 48);
    Ref<ITarnSurface> mask = Flat(SURFACE_FORMAT_GRAY8, 64, 48);
    ASSERT_EQ(s->SetMask(mask.get()), VED_S_OK);
    ASSERT_EQ(s->Resize(128, 72, 1, SCALE_BILINEAR), VED_S_OK);
    ASSERT_EQ(s->Flush(), VED_S_OK);
    EXPECT_TRUE(SameRect(ContentOf(s), {16, 0, 112, 72}));
    SurfaceInfo m{};
    mask->GetInfo(&m);
    EXPECT_EQ(m.width, 128u);
    EXPECT_EQ(m.height, 72u);
    EXPECT_TRUE(SameRect(ContentOf(mask), {0, 0, 128, 72}));
    for (int32_t i = 0; i < 128 * 72; ++i) ASSERT_EQ(Buffer(mask)->pixels[i], kFlat);
}

TEST(DoResize, DirectOutputLeavesTheSurfaceAsItWas) {
    Ref<ITarnSurface> s = Flat(SURFACE_FORMAT_YUV420, 16, 12);
    s->SetAspect(4, 3);
    CTarnSurfaceBuffer* b = Buffer(s);
    const SurfaceInfo before = b->info;
    uint8_t* pixels = b->pixels;
    ASSERT_EQ(s->Resize(32, 24, 1, SCALE_BILINEAR), VED_S_OK);
    std::vector<uint8_t> out(32 * 24 * 3 / 2, 0);
    ASSERT_EQ(s->CopyOut(out.data(), 32, 1), VED_S_OK);
    for (uint8_t v : out) ASSERT_EQ(v, kFlat);
    EXPECT_EQ(b->pixels, pixels);
    EXPECT_EQ(b->info.width, before.width);
    EXPECT_EQ(b->info.height, before.height);
    EXPECT_EQ(b->info.stride, before.stride);
    for (int32_t i = 0; i < 16 * 12 * 3 / 2; ++i) ASSERT_EQ(pixels[i], kFlat);
    int32_t ax = 0, ay = 0;
    s->GetAspect(&ax, &ay);
    EXPECT_EQ(ax, 4);  // a direct resize changes only the content rectangle
    EXPECT_EQ(ay, 3);
    EXPECT_TRUE(SameRect(ContentOf(s), {0, 0, 32, 24}));
}

// The caller's buffer is painted as a planar picture first, whatever the
// format: behind the RGB rows lie the chroma bytes of that paint.
TEST(DoResize, DirectRgbOutputIsFirstPaintedPlanarBlack) {
    Ref<ITarnSurface> s = Flat(SURFACE_FORMAT_RGB24, 8, 8);
    ASSERT_EQ(s->Resize(16, 8, 1, SCALE_NEAREST), VED_S_OK);  // fit 4..12
    std::vector<uint8_t> out(48 * 8 * 3 / 2, 0xEE);
    ASSERT_EQ(s->CopyOut(out.data(), 48, 1), VED_S_OK);
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 48; ++x)
            ASSERT_EQ(out[size_t(y * 48 + x)], (x >= 12 && x < 36) ? kFlat : 0) << x << "," << y;
    for (size_t i = 48 * 8; i < out.size(); ++i) ASSERT_EQ(out[i], 128) << i;
}

// A picture of `bits`-bit pixels, sw x sh, resized to dw x dh.
struct ResizeCase {
    SurfaceFormat format;
    int32_t bits, sw, sh, dw, dh;
};

// A direct resize in every quality gives the bytes of the whole planar paint
// followed by the stretch, whichever bytes it leaves out of the paint: row
// padding, the chroma behind, the byte a 24-bit row's last store reaches,
// the rows of gray and planar pictures (odd and even strides).
TEST(DoResize, DirectOutputEqualsPaintThenStretch) {
    const ResizeCase cases[] = {{SURFACE_FORMAT_RGB24, 24, 37, 23, 61, 17},  {SURFACE_FORMAT_RGB24, 24, 40, 30, 13, 9},
                          {SURFACE_FORMAT_RGB32, 32, 37, 23, 61, 17},  {SURFACE_FORMAT_RGB32, 32, 40, 30, 13, 9},
                          {SURFACE_FORMAT_GRAY8, 8, 37, 23, 61, 17},   {SURFACE_FORMAT_GRAY8, 8, 40, 30, 13, 9},
                          {SURFACE_FORMAT_YUV420, 12, 36, 22, 61, 17}, {SURFACE_FORMAT_YUV420, 12, 40, 30, 14, 10},
                          {SURFACE_FORMAT_YUV420, 12, 4, 4, 7, 5},    {SURFACE_FORMAT_YUV420, 12, 20, 14, 20, 14},
                          // Whole box shrinks; chroma planes that keep their size.
                          {SURFACE_FORMAT_GRAY8, 8, 40, 30, 20, 15},   {SURFACE_FORMAT_YUV420, 12, 64, 32, 16, 8},
                          {SURFACE_FORMAT_YUV420, 12, 9, 9, 8, 8},     {SURFACE_FORMAT_YUV420, 12, 13, 12, 12, 10}};
    // The sharpening mode changes its source, so it is left out: scaled twice, it
    // would give different bytes the second time.
    const int32_t planarModes[] = {SCALE_PLANAR_NEAREST, SCALE_PLANAR_AREA};
    for (const ResizeCase& c : cases) {
        const bool planar = c.format == SURFACE_FORMAT_YUV420;
        std::vector<int32_t> qualities;
        for (int32_t quality = SCALE_NEAREST; quality <= SCALE_AREA; ++quality) qualities.push_back(quality);
        if (c.bits == 8 || planar)
            qualities.insert(qualities.end(), std::begin(planarModes), std::end(planarModes));
        for (int32_t quality : qualities) {
            for (uint32_t topDown : {1u, 0u}) {
                for (int32_t pad : {0, 5, 6}) {
                    SCOPED_TRACE(testing::Message() << c.bits << " " << c.dw << " q" << quality << " td" << topDown
                                                    << " pad" << pad);
                    Ref<ITarnSurface> s = MakeBlank(c.format, uint32_t(c.sw), uint32_t(c.sh));
                    s->SetAspect(4, 3);  // so that a resize to the same size stretches all the same
                    CTarnSurfaceBuffer* b = Buffer(s);
                    for (int32_t i = 0; i < BufferBytes(b->info); ++i) b->pixels[i] = uint8_t(i * 37 + (i >> 7));
                    const int32_t stride = (planar ? c.dw : c.dw * c.bits / 8) + pad;
                    const size_t painted = size_t(stride) * size_t(c.dh) * 3 / 2;
                    std::vector<uint8_t> expected(painted + 16, 0xEE);
                    FillPlanar(expected.data(), c.dw, c.dh, stride, nullptr, 0);
                    Picture to = PictureOf(b->info, expected.data());
                    to.width = c.dw, to.height = c.dh, to.stride = stride, to.topDown = topDown;
                    if (planar) StretchPlanar(PictureOf(b->info, b->pixels), nullptr, to, nullptr, false, quality);
                    else StretchInterleaved(PictureOf(b->info, b->pixels), nullptr, to, nullptr, false, quality);

                    std::vector<uint8_t> out(painted + 16, 0xEE);
                    ASSERT_EQ(s->Resize(c.dw, c.dh, 0, ScaleMode(quality)), VED_S_OK);
                    ASSERT_EQ(s->CopyOut(out.data(), stride, topDown), VED_S_OK);
                    ASSERT_EQ(out, expected);
                }
            }
        }
    }
}

// A box mode that does not shrink both axes by two runs as bilinear, which
// stores every byte of each row: the new buffer needs no clearing first. The
// scaler's bytes over a buffer of 0xEE and over one of zeros must agree, and
// the resize must give them, whatever the heap held.
TEST(DoResize, BoxModesThatEnlargeStoreEveryByte) {
    const ResizeCase cases[] = {{SURFACE_FORMAT_RGB24, 24, 37, 23, 61, 17}, {SURFACE_FORMAT_RGB32, 32, 37, 23, 61, 17},
                          {SURFACE_FORMAT_RGB24, 24, 13, 9, 19, 14},  {SURFACE_FORMAT_RGB32, 32, 13, 9, 19, 14},
                          {SURFACE_FORMAT_RGB32, 32, 40, 30, 21, 16}, {SURFACE_FORMAT_RGB24, 24, 41, 31, 13, 17},
                          {SURFACE_FORMAT_RGB32, 32, 9, 40, 13, 19},  {SURFACE_FORMAT_GRAY8, 8, 37, 23, 61, 17}};
    for (const ResizeCase& c : cases) {
        for (int32_t quality : {int32_t(SCALE_BOX), int32_t(SCALE_BOX_FADE)}) {
            for (uint32_t topDown : {1u, 0u}) {
                SCOPED_TRACE(testing::Message() << c.bits << " " << c.sw << "x" << c.sh << " to " << c.dw << "x"
                                                << c.dh << " q" << quality << " td" << topDown);
                Ref<ITarnSurface> s = MakeBlank(c.format, uint32_t(c.sw), uint32_t(c.sh), topDown);
                CTarnSurfaceBuffer* b = Buffer(s);
                for (int32_t i = 0; i < BufferBytes(b->info); ++i) b->pixels[i] = uint8_t(i * 37 + (i >> 7));
                const int32_t stride = c.dw * c.bits / 8, bytes = stride * c.dh;
                std::vector<uint8_t> over[2] = {std::vector<uint8_t>(size_t(bytes) + 16, 0),
                                                std::vector<uint8_t>(size_t(bytes) + 16, 0xEE)};
                for (int k = 0; k < 2; ++k) {
                    Picture to = PictureOf(b->info, over[k].data());
                    to.width = c.dw, to.height = c.dh, to.stride = stride;
                    StretchInterleaved(PictureOf(b->info, b->pixels), nullptr, to, nullptr, false, quality);
                    for (size_t i = size_t(bytes); i < over[k].size(); ++i) ASSERT_EQ(over[k][i], k ? 0xEE : 0);
                }
                for (std::vector<uint8_t>& v : over) v.resize(size_t(bytes));
                ASSERT_EQ(over[0], over[1]);
                ASSERT_EQ(s->Resize(c.dw, c.dh, 0, ScaleMode(quality)), VED_S_OK);
                std::vector<uint8_t> out(size_t(bytes) * 3 / 2 + 16, 0);
                ASSERT_EQ(s->CopyOut(out.data(), stride, topDown), VED_S_OK);
                out.resize(size_t(bytes));
                ASSERT_EQ(out, over[0]);
            }
        }
    }
}

// A packed picture sent to the caller lies over the planar paint: rows that
// meet or overlap cover its luma block (and overlapping ones reach into the
// chroma behind), wider rows leave its black Y in the gaps.
TEST(DoResize, DirectPackedOutputLiesOverThePlanarPaint) {
    for (int32_t stride : {24, 32, 40}) {
        Ref<ITarnSurface> s = Flat(SURFACE_FORMAT_YUV422, 8, 4);
        ASSERT_EQ(s->Resize(16, 8, 0, SCALE_BILINEAR), VED_S_OK);
        std::vector<uint8_t> out(size_t(stride) * 8 * 3 / 2, 0xEE);
        ASSERT_EQ(s->CopyOut(out.data(), stride, 1), VED_S_OK);
        for (int32_t i = 0; i < int32_t(out.size()); ++i) {
            bool inRow = false;
            for (int32_t y = 0; y < 8; ++y) inRow |= i >= y * stride && i < y * stride + 32;
            ASSERT_EQ(out[size_t(i)], inRow ? kFlat : i < stride * 8 ? 16 : 128) << stride << ": " << i;
        }
    }
}

TEST(DoResize, FailuresAndTheStateTheyLeave) {
    struct Case {
        SurfaceFormat format;
        VedResult answer;
    };
    // Buffers beyond 32-bit byte counts cannot be had: the format's
    // allocation failure, content already set, aspect unchanged.
    for (const Case c : {Case{SURFACE_FORMAT_RGB32, VED_E_FAIL}, Case{SURFACE_FORMAT_GRAY8, VED_E_FAIL},
                         Case{SURFACE_FORMAT_YUV420, VED_E_OUTOFMEMORY},
                         Case{SURFACE_FORMAT_YUV422, VED_E_OUTOFMEMORY}}) {
        SCOPED_TRACE(c.format);
        Ref<ITarnSurface> s = Flat(c.format, 8, 8);
        s->SetAspect(3, 2);
        uint8_t* pixels = Buffer(s)->pixels;
        EXPECT_EQ(Buffer(s)->DoResize(100000, 100000, 0, 0), c.answer);
        EXPECT_TRUE(SameRect(ContentOf(s), {0, 0, 100000, 100000}));
        EXPECT_EQ(Buffer(s)->pixels, pixels);
        EXPECT_EQ(Buffer(s)->info.width, 8u);
        int32_t ax = 0, ay = 0;
        s->GetAspect(&ax, &ay);
        EXPECT_EQ(ax, 3);
    }
    // Below the smallest surface, or no pixels at all.
    Ref<ITarnSurface> s = Flat(SURFACE_FORMAT_RGB24, 8, 8);
    EXPECT_EQ(Buffer(s)->DoResize(2, 8, 0, 0), VED_E_INVALIDARG);
    EXPECT_EQ(Buffer(s)->DoResize(8, -5, 0, 0), VED_E_INVALIDARG);
    SurfaceInfo info{};
    info.width = info.height = 8;
    info.format = SURFACE_FORMAT_RGB24;
    CTarnSurfaceBuffer empty(info);
    EXPECT_EQ(empty.DoResize(16, 16, 0, 0), VED_E_INVALIDARG);
    // An unknown format is not supported.
    Buffer(s)->info.format = SurfaceFormat(99);
    EXPECT_EQ(Buffer(s)->DoResize(16, 16, 0, 0), VED_E_NOTSUPPORTED);
    Buffer(s)->info.format = SURFACE_FORMAT_RGB24;
    // A bits value that disagrees with the stride would write past each row.
    Buffer(s)->info.bitsPerPixel = 32;
    EXPECT_EQ(Buffer(s)->DoResize(16, 16, 0, 0), VED_E_INVALIDARG);
}

}  // namespace
}  // namespace tarn
