// Rotation: frame sizes and content rectangles worked by hand, right angles
// sample by sample against the turn formulas (with the edge bands that the
// warp's spans leave out of interleaved pictures), grown frames with black
// corners, the mask turning along, and the refusals that leave the surface
// as it was.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <vector>

#include "blank_surface.h"
#include "operations/rotate.h"

namespace tarn {
namespace {

using namespace testing_blank;

SurfaceInfo InfoOf(const Ref<ITarnSurface>& s) {
    SurfaceInfo info{};
    s->GetInfo(&info);
    return info;
}

// Fills every byte of the buffer from its position, so that each sample
// tells where it came from.
void Number(const Ref<ITarnSurface>& s, const std::function<uint8_t(int64_t)>& value) {
    CTarnSurfaceBuffer* b = Buffer(s);
    for (int64_t i = 0; i < BufferBytes(b->info); ++i) b->pixels[i] = value(i);
}

// Leaves freed blocks filled with `value` of about the size of a buffer of
// `bytes` (slack included) for the allocator to hand out again, so that a
// new buffer that is not cleared shows it. Under the address sanitizer new
// blocks start filled with a non-zero byte anyway.
void DirtyTheHeap(int64_t bytes, uint8_t value) {
    std::vector<uint8_t*> blocks;
    for (int64_t n = std::max<int64_t>(bytes - 256, 16); n <= bytes + 256 + 64; n += 16) {
        blocks.push_back(new uint8_t[size_t(n)]);
        std::memset(blocks.back(), value, size_t(n));
    }
    for (uint8_t* p : blocks) delete[] p;
}

// Bytes of a tightly strided buffer of a format.
int64_t BytesOf(SurfaceFormat format, int64_t w, int64_t h) {
    if (format == SURFACE_FORMAT_YUV420) return w * h * 3 / 2;
    return (w * host::BitsOf(format) + 31) / 32 * 4 * h;
}

TEST(Rotate, FrameOfTheSurface) {
    struct Case {
        SurfaceFormat format;
        uint32_t w, h;
        int32_t degrees;
        uint32_t outW, outH;
        int32_t outStride;
    };
    // t = d x 3.14159 / 180. 45: 100 (sin t + cos t) = 141.42 -> 141 -> 142.
    // 30: 480 x 0.5 + 640 x 0.866 = 794.26 -> 794; 480 x 0.866 + 320 = 735.7
    // -> 735 -> 736. 1920 x 1080 at 30: 2202.8 -> 2202, 1895.3 -> 1896. A
    // turn of one degree keeps a small frame. (Angles out of range have no
    // frame: see the refusals.)
    const Case cases[] = {
        {SURFACE_FORMAT_RGB24, 640, 480, 90, 480, 640, 1440},
        {SURFACE_FORMAT_RGB32, 640, 480, 150, 794, 736, 3176},
        {SURFACE_FORMAT_GRAY8, 640, 480, 330, 794, 736, 796},
        {SURFACE_FORMAT_GRAY8, 4, 4, 1, 4, 4, 4},
        {SURFACE_FORMAT_GRAY8, 4, 4, 359, 4, 4, 4},
        {SURFACE_FORMAT_RGB24, 640, 480, 270, 480, 640, 1440},
        {SURFACE_FORMAT_RGB24, 10, 6, 90, 6, 10, 20},  // 18 bytes of pixels, padded to 20
        {SURFACE_FORMAT_RGB32, 100, 100, 45, 142, 142, 568},
        {SURFACE_FORMAT_RGB24, 640, 480, 30, 794, 736, 2384},
        {SURFACE_FORMAT_GRAY8, 640, 480, 210, 794, 736, 796},
        {SURFACE_FORMAT_GRAY8, 1920, 1080, 30, 2202, 1896, 2204},
        {SURFACE_FORMAT_YUV420, 640, 480, 30, 794, 736, 794},
        {SURFACE_FORMAT_YUV420, 640, 480, 270, 480, 640, 480},
    };
    for (const Case& c : cases) {
        Ref<ITarnSurface> s = MakeBlank(c.format, c.w, c.h);
        ASSERT_EQ(s->Rotate(c.degrees), VED_S_OK);
        const SurfaceInfo info = InfoOf(s);
        EXPECT_EQ(info.width, c.outW) << c.format << " at " << c.degrees;
        EXPECT_EQ(info.height, c.outH) << c.format << " at " << c.degrees;
        EXPECT_EQ(info.stride, c.outStride) << c.format << " at " << c.degrees;
        EXPECT_EQ(Buffer(s)->ownership, 1u);
    }
}

TEST(Rotate, ContentRectangleMovesOnlyAtRightAngles) {
    // left = old top, right = old bottom, top = W - old right, bottom = W - old left.
    struct Case {
        int32_t degrees;
        VedRect content;
    };
    const Case cases[] = {{90, {2, 3, 4, 7}}, {270, {2, 3, 4, 7}}, {180, {1, 2, 5, 4}}, {30, {1, 2, 5, 4}}};
    for (const Case& c : cases) {
        Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_RGB32, 8, 6);
        SetContentRect(Buffer(s)->info, {1, 2, 5, 4});
        ASSERT_EQ(s->Rotate(c.degrees), VED_S_OK);
        EXPECT_TRUE(SameRect(ContentOf(s), c.content)) << c.degrees;
    }
    Ref<ITarnSurface> whole = MakeBlank(SURFACE_FORMAT_RGB24, 640, 480);
    ASSERT_EQ(whole->Rotate(90), VED_S_OK);
    EXPECT_TRUE(SameRect(ContentOf(whole), {0, 0, 480, 640}));
}

// Clockwise turns of a W x H plane: the target (x, y) and the source sample it takes.
struct Turned {
    int32_t x, y;
};
Turned SourceOf(int32_t degrees, int32_t x, int32_t y, int32_t w, int32_t h) {
    switch (degrees) {
        case 90: return {y, h - 1 - x};
        case 180: return {w - 1 - x, h - 1 - y};
        default: return {w - 1 - y, x};  // 270
    }
}

// A planar picture turned by a right angle about its centre: every sample of
// all three planes from its place by the clockwise formulas.
TEST(Rotate, PlanarRightAnglesSampleBySample) {
    constexpr int32_t W = 8, H = 4;
    for (const int32_t degrees : {90, 180, 270}) {
        DirtyTheHeap(BytesOf(SURFACE_FORMAT_YUV420, W, H), 0xA5);
        Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_YUV420, W, H);
        Number(s, [](int64_t i) { return uint8_t(i + 1); });
        const std::vector<uint8_t> before(Buffer(s)->pixels, Buffer(s)->pixels + W * H * 3 / 2);
        ASSERT_EQ(s->Rotate(degrees), VED_S_OK);
        const SurfaceInfo info = InfoOf(s);
        const bool swap = degrees != 180;
        ASSERT_EQ(info.width, uint32_t(swap ? H : W));
        ASSERT_EQ(info.height, uint32_t(swap ? W : H));
        ASSERT_EQ(info.stride, int32_t(info.width));
        const uint8_t* after = Buffer(s)->pixels;
        struct Plane {
            int64_t offset;
            int32_t w, h;
        };
        const Plane planes[] = {{0, W, H}, {W * H, W / 2, H / 2}, {W * H * 5 / 4, W / 2, H / 2}};
        for (const Plane& p : planes) {
            const int32_t tw = swap ? p.h : p.w, th = swap ? p.w : p.h;
            for (int32_t y = 0; y < th; ++y)
                for (int32_t x = 0; x < tw; ++x) {
                    const Turned from = SourceOf(degrees, x, y, p.w, p.h);
                    EXPECT_EQ(after[p.offset + y * tw + x], before[size_t(p.offset + from.y * p.w + from.x)])
                        << degrees << " plane at " << p.offset << " (" << x << ", " << y << ")";
                }
        }
    }
}

TEST(Rotate, FourQuarterTurnsGiveThePictureBack) {
    for (const int32_t degrees : {90, 270}) {
        Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_YUV420, 12, 8);
        Number(s, [](int64_t i) { return uint8_t(i * 7 + 3); });
        const std::vector<uint8_t> before(Buffer(s)->pixels, Buffer(s)->pixels + 12 * 8 * 3 / 2);
        for (int i = 0; i < 4; ++i) ASSERT_EQ(s->Rotate(degrees), VED_S_OK);
        EXPECT_EQ(InfoOf(s).width, 12u);
        EXPECT_EQ(std::vector<uint8_t>(Buffer(s)->pixels, Buffer(s)->pixels + before.size()), before);
    }
}

// A half size of 3 turns about 0.5 (a quarter of 6, less one half), so the
// turn writes two of the three chroma columns (90) or rows (180, 270) of
// the target plane; the third is zero, not heap contents.
TEST(Rotate, OddHalfSizeLeavesAZeroChromaLine) {
    struct Case {
        int32_t degrees, w, h;
        bool column;  // the zero line is the last column, else the last row
    };
    const Case cases[] = {{90, 8, 6, true}, {270, 6, 8, false}, {180, 8, 6, false}};
    for (const Case& c : cases) {
        DirtyTheHeap(BytesOf(SURFACE_FORMAT_YUV420, c.w, c.h), 0xA5);
        Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_YUV420, c.w, c.h);
        Number(s, [](int64_t i) { return uint8_t(i % 200 + 20); });
        ASSERT_EQ(s->Rotate(c.degrees), VED_S_OK);
        const SurfaceInfo info = InfoOf(s);
        const int32_t cw = int32_t(info.width) / 2, ch = int32_t(info.height) / 2;
        const int64_t luma = int64_t(info.width) * info.height;
        const uint8_t* p = Buffer(s)->pixels;
        for (const int64_t plane : {luma, luma + luma / 4})
            for (int32_t y = 0; y < ch; ++y)
                for (int32_t x = 0; x < cw; ++x) {
                    const bool last = c.column ? x == cw - 1 : y == ch - 1;
                    EXPECT_EQ(p[plane + y * cw + x] == 0, last) << c.degrees << " (" << x << ", " << y << ")";
                }
    }
}

// Interleaved right angles go through the warp with shifts a hair off whole
// numbers (pi as 3.14159), so the target is the exact turn moved by a pixel,
// and its first rows or columns stay zero. Worked by hand from the shifts:
//   90: target rows from 1: T(x, y) = S(W - y, x); row 0 zero.
//  180: columns from 1, rows from 2: T(x, y) = S(W - x, H - y).
//  270: columns from 2, rows from 1: T(x, y) = S(y, H - x).
// (x, y) are stored columns and rows.
TEST(Rotate, InterleavedRightAnglesWithTheirBands) {
    struct Case {
        int32_t degrees;
        int32_t firstColumn, firstRow;
        std::function<Turned(int32_t, int32_t, int32_t, int32_t)> source;
    };
    const Case cases[] = {
        {90, 0, 1, [](int32_t x, int32_t y, int32_t w, int32_t) { return Turned{w - y, x}; }},
        {180, 1, 2, [](int32_t x, int32_t y, int32_t w, int32_t h) { return Turned{w - x, h - y}; }},
        {270, 2, 1, [](int32_t x, int32_t y, int32_t, int32_t h) { return Turned{y, h - x}; }},
    };
    const SurfaceFormat formats[] = {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_RGB32, SURFACE_FORMAT_GRAY8};
    struct Size {
        int32_t w, h;
    };
    const Size sizes[] = {{10, 6}, {37, 23}, {4, 1500}};
    for (const Size& size : sizes)
    for (const SurfaceFormat format : formats)
        for (const Case& c : cases) {
            const int32_t W = size.w, H = size.h;
            DirtyTheHeap(c.degrees == 180 ? BytesOf(format, W, H) : BytesOf(format, H, W), 0xA5);
            Ref<ITarnSurface> s = MakeBlank(format, W, H, 0);
            const SurfaceInfo was = InfoOf(s);
            const int32_t px = was.bitsPerPixel / 8;
            Number(s, [&](int64_t i) { return uint8_t(i % was.stride < W * px ? i % 251 + 1 : 0); });
            const std::vector<uint8_t> before(Buffer(s)->pixels, Buffer(s)->pixels + was.stride * H);
            ASSERT_EQ(s->Rotate(c.degrees), VED_S_OK);
            const SurfaceInfo info = InfoOf(s);
            const int32_t tw = int32_t(info.width), th = int32_t(info.height);
            const uint8_t* after = Buffer(s)->pixels;
            for (int32_t y = 0; y < th; ++y) {
                for (int32_t x = 0; x < tw; ++x) {
                    const bool written = x >= c.firstColumn && y >= c.firstRow;
                    const Turned from = written ? c.source(x, y, W, H) : Turned{0, 0};
                    for (int32_t k = 0; k < px; ++k) {
                        const uint8_t want = written ? before[size_t(from.y * was.stride + from.x * px + k)] : 0;
                        ASSERT_EQ(after[y * info.stride + x * px + k], want)
                            << "format " << format << " at " << c.degrees << ": (" << x << ", " << y << ")";
                    }
                }
                for (int32_t b = tw * px; b < info.stride; ++b) ASSERT_EQ(after[y * info.stride + b], 0);
            }
        }
}

// Other angles: a frame of one colour turned by 45 degrees keeps the colour
// about the centre and is black in the corners (zero for RGB and GRAY8; Y 16
// and chroma 128 for YUV420).
TEST(Rotate, GrownFrameHasBlackCorners) {
    struct Case {
        SurfaceFormat format;
        uint8_t corner, chromaCorner;
    };
    const Case cases[] = {{SURFACE_FORMAT_RGB24, 0, 0},
                          {SURFACE_FORMAT_RGB32, 0, 0},
                          {SURFACE_FORMAT_GRAY8, 0, 0},
                          {SURFACE_FORMAT_YUV420, 16, 128}};
    for (const Case& c : cases)
        for (const int32_t degrees : {45, 135, 225, 315, 1, 89}) {
            const RotatedFrame f = GrownFrame(degrees, 100, 60);
            DirtyTheHeap(BytesOf(c.format, f.width, f.height), 0xA5);
            Ref<ITarnSurface> s = MakeBlank(c.format, 100, 60);
            Paint(s, 200);
            ASSERT_EQ(s->Rotate(degrees), VED_S_OK);
            const SurfaceInfo info = InfoOf(s);
            const uint8_t* p = Buffer(s)->pixels;
            const int32_t w = int32_t(info.width), h = int32_t(info.height), stride = info.stride;
            const int32_t px = c.format == SURFACE_FORMAT_YUV420 ? 1 : info.bitsPerPixel / 8;
            EXPECT_EQ(p[int64_t(h / 2) * stride + (w / 2) * px], 200) << c.format << " at " << degrees;
            if (degrees != 1 && degrees != 89) {  // a turn of one degree leaves barely a corner
                EXPECT_EQ(p[0], c.corner) << c.format << " at " << degrees;
                EXPECT_EQ(p[int64_t(h - 1) * stride + (w - 1) * px], c.corner) << c.format << " at " << degrees;
            }
            if (c.format == SURFACE_FORMAT_YUV420) {
                const int64_t luma = int64_t(stride) * h;
                EXPECT_EQ(p[luma], c.chromaCorner);
                EXPECT_EQ(p[luma + luma / 4], c.chromaCorner);
                EXPECT_EQ(p[luma + (h / 4) * (stride / 2) + w / 4], 200);
            } else {
                for (int32_t y = 0; y < h; ++y)
                    for (int32_t b = w * px; b < stride; ++b) ASSERT_EQ(p[int64_t(y) * stride + b], 0);
            }
        }
}

TEST(Rotate, NoTurnKeepsTheBufferAndHalfTurnKeepsTheFrame) {
    for (const int32_t degrees : {0, 360}) {
        Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_RGB24, 16, 8);
        uint8_t* was = Buffer(s)->pixels;
        EXPECT_EQ(s->Rotate(degrees), VED_S_OK);
        EXPECT_EQ(Buffer(s)->pixels, was);
    }
    // 180 degrees: a new buffer, the stride kept even where it is wider than the rows.
    Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_RGB24, 16, 8, 1, 52);
    SetContentRect(Buffer(s)->info, {1, 2, 5, 4});
    const SurfaceInfo before = InfoOf(s);
    uint8_t* was = Buffer(s)->pixels;
    ASSERT_EQ(s->Rotate(180), VED_S_OK);
    EXPECT_NE(Buffer(s)->pixels, was);
    EXPECT_EQ(std::memcmp(&before, &Buffer(s)->info, sizeof before), 0);
}

// The mask turns along and keeps the size of its surface; its pixels take
// the same interleaved turn.
TEST(Rotate, MaskTurnsAlong) {
    for (const int32_t degrees : {90, 180, 30}) {
        Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_RGB32, 12, 8);
        Ref<ITarnSurface> m = MakeBlank(SURFACE_FORMAT_GRAY8, 12, 8);
        Number(m, [](int64_t i) { return uint8_t(i + 1); });
        ASSERT_EQ(s->SetMask(m.get()), VED_S_OK);
        uint8_t* maskWas = Buffer(m)->pixels;
        ASSERT_EQ(s->Rotate(degrees), VED_S_OK);
        EXPECT_EQ(InfoOf(m).width, InfoOf(s).width) << degrees;
        EXPECT_EQ(InfoOf(m).height, InfoOf(s).height) << degrees;
        EXPECT_NE(Buffer(m)->pixels, maskWas);
        if (degrees == 90) {
            EXPECT_EQ(Buffer(m)->pixels[1 * 8 + 3], 3 * 12 + (12 - 1) + 1);  // T(3, 1) = S(11, 3)
        }
    }
}

// A surface that does not own its pixels leaves them to their owner, and
// owns the new buffer.
TEST(Rotate, OwnershipOfTheOldBuffer) {
    Ref<ITarnSurface> s = MakeBlank(SURFACE_FORMAT_GRAY8, 8, 8);
    std::vector<uint8_t> mine(64 + 64, 7);
    CTarnSurfaceBuffer* b = Buffer(s);
    uint8_t* own = b->pixels;
    b->pixels = mine.data();
    s->SetOwnership(0);
    ASSERT_EQ(s->Rotate(45), VED_S_OK);
    EXPECT_EQ(b->ownership, 1u);
    EXPECT_NE(b->pixels, mine.data());
    EXPECT_EQ(mine[0], 7);  // still ours to read
    delete[] own;
}

TEST(Rotate, RefusalsLeaveTheSurfaceAsItWas) {
    struct Case {
        SurfaceFormat format;
        int32_t degrees;
        VedResult result;
        bool contentMoves;
    };
    const Case cases[] = {
        {SURFACE_FORMAT_RGB32, -90, VED_E_OUTOFMEMORY, false},
        {SURFACE_FORMAT_RGB32, -1, VED_E_OUTOFMEMORY, false},
        {SURFACE_FORMAT_GRAY8, 361, VED_E_OUTOFMEMORY, false},
        {SURFACE_FORMAT_YUV420, 450, VED_E_OUTOFMEMORY, false},
        {SURFACE_FORMAT_RGB24, 720, VED_E_OUTOFMEMORY, false},
        {SURFACE_FORMAT_RGB24, INT_MIN, VED_E_OUTOFMEMORY, false},
        {SURFACE_FORMAT_YUV420, INT_MAX, VED_E_OUTOFMEMORY, false},
        {SURFACE_FORMAT_YUV422, 90, VED_E_NOTSUPPORTED, true},
        {SURFACE_FORMAT_YUV422, 270, VED_E_NOTSUPPORTED, true},
        {SURFACE_FORMAT_YUV422, 180, VED_E_NOTSUPPORTED, false},
        {SURFACE_FORMAT_YUV422, 30, VED_E_NOTSUPPORTED, false},
        {SURFACE_FORMAT_YUV422, 400, VED_E_NOTSUPPORTED, false},
    };
    for (const Case& c : cases) {
        Ref<ITarnSurface> s = MakeBlank(c.format, 8, 6);
        SetContentRect(Buffer(s)->info, {1, 2, 5, 4});
        const SurfaceInfo before = InfoOf(s);
        uint8_t* was = Buffer(s)->pixels;
        EXPECT_EQ(s->Rotate(c.degrees), c.result) << c.format << " at " << c.degrees;
        EXPECT_EQ(Buffer(s)->pixels, was);
        SurfaceInfo after = InfoOf(s);
        EXPECT_TRUE(SameRect(ContentOf(s), c.contentMoves ? VedRect{2, 3, 4, 7} : VedRect{1, 2, 5, 4}));
        SetContentRect(after, ContentRectOf(before));
        EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0) << c.format << " at " << c.degrees;
    }
    // Pixels the warp cannot take: bits that disagree with the format's rows.
    Ref<ITarnSurface> odd = MakeBlank(SURFACE_FORMAT_RGB24, 8, 6);
    Buffer(odd)->info.bitsPerPixel = 32;
    EXPECT_EQ(odd->Rotate(90), VED_E_INVALIDARG);
    Buffer(odd)->info.bitsPerPixel = 16;
    EXPECT_EQ(odd->Rotate(45), VED_E_INVALIDARG);
    // No pixels at all.
    CTarnSurfaceBuffer empty(host::Describe(SURFACE_FORMAT_RGB32, 8, 8));
    EXPECT_EQ(empty.DoRotate(90), VED_E_INVALIDARG);
}

TEST(RotateWrappers, NullPixelsTurnNothing) {
    uint8_t buffer[64];
    for (int i = 0; i < 64; ++i) buffer[i] = uint8_t(i);
    const std::vector<uint8_t> before(buffer, buffer + 64);
    RotateInterleaved(buffer, 4, 4, 4, 8, nullptr, 4, 4, 4, 8, 90);
    RotatePlanar(buffer, 4, 4, 4, nullptr, 4, 4, 4, 90);
    RotateInterleaved(nullptr, 4, 4, 4, 8, buffer, 4, 4, 4, 8, 90);
    RotatePlanar(nullptr, 4, 4, 4, buffer, 4, 4, 4, 90);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + 64), before);
}

}  // namespace
}  // namespace tarn
