// Image headers: creation refusing its arguments in order, row sizes,
// the validity check in its order, wrapping, borders, rectangles, release.
#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>

#include "ipl/ipl_error.h"
#include "ipl/ipl_image.h"
#include "ipl_test_support.h"

namespace tarn {
namespace {

using testing_ipl::RecordReports;

struct CreateArgs {
    int32_t channels = 3, alpha = 0;
    uint32_t depth = IPL_DEPTH_8U;
    const char *model = "RGB", *seq = "BGR";
    int32_t order = 0, origin = 0, align = 4, width = 5, height = 2;
    ImageHeader* mask = nullptr;
    ImageTileInfo* tile = nullptr;
    ImageRoi* roi = nullptr;

    ImageHeader* Create() const {
        return iplCreateImageHeader(channels, alpha, depth, model, seq, order, origin, align, width, height, roi,
                                    mask, nullptr, tile);
    }
};

// Each case breaks one or more arguments; the first failing test in the
// documented order fixes the status.
TEST(IplCreateImageHeader, RefusesInOrder) {
    RecordReports rec;
    uint8_t bits[64] = {};
    ImageHeader* grayMask = iplCreateImageHeader(1, 0, 8, "GRAY", "GRAY", 0, 0, 4, 4, 4, nullptr, nullptr, nullptr,
                                                 nullptr);
    ImageHeader* bitMask = iplCreateImageHeader(1, 0, 1, "GRAY", "GRAY", 0, 0, 4, 4, 4, nullptr, nullptr, nullptr,
                                                nullptr);
    ASSERT_TRUE(grayMask && bitMask);
    grayMask->imageData = bits;
    const struct {
        const char* name;
        void (*breakIt)(CreateArgs&);
        int32_t status;
    } kCases[] = {
        {"zero height and 0 channels", [](CreateArgs& a) { a.height = 0, a.channels = 0; }, -10},
        {"negative width", [](CreateArgs& a) { a.width = -1; }, -10},
        {"no channels, bad depth", [](CreateArgs& a) { a.channels = 0, a.depth = 7; }, -15},
        {"1 bit with 3 channels", [](CreateArgs& a) { a.depth = IPL_DEPTH_1U; }, -16},
        {"null model before bad depth", [](CreateArgs& a) { a.model = nullptr, a.depth = 12; }, -14},
        {"null sequence", [](CreateArgs& a) { a.seq = nullptr; }, -14},
        {"depth 12", [](CreateArgs& a) { a.depth = 12, a.alpha = 2; }, -17},
        {"unsigned 32 with sign of 1", [](CreateArgs& a) { a.depth = IPL_DEPTH_SIGN | 1; }, -17},
        {"alpha 2 of 3", [](CreateArgs& a) { a.alpha = 2, a.order = 2; }, -18},
        {"data order 2", [](CreateArgs& a) { a.order = 2, a.origin = 3; }, -19},
        {"origin 3", [](CreateArgs& a) { a.origin = 3, a.align = 2; }, -20},
        {"align 2", [](CreateArgs& a) { a.align = 2; }, -21},
        {"align 64", [](CreateArgs& a) { a.align = 64; }, -21},
    };
    for (const auto& c : kCases) {
        CreateArgs args;
        c.breakIt(args);
        rec.Clear();
        EXPECT_EQ(args.Create(), nullptr) << c.name;
        ASSERT_EQ(rec.reports().size(), 1u) << c.name;
        const auto& r = rec.reports()[0];
        EXPECT_EQ(r.status, c.status) << c.name;
        EXPECT_EQ(iplGetErrStatus(), c.status) << c.name;
        EXPECT_EQ(r.function, "iplCreateImageHeader");
        EXPECT_EQ(r.message, "Incorrect data-ins");
        EXPECT_EQ(r.file, "iplalloc");
        EXPECT_EQ(r.line, 158);
    }
    // Masks: not 1 bit; 1 bit without pixels fails its own check (-12), less 100.
    CreateArgs withGray;
    withGray.mask = grayMask;
    rec.Clear();
    EXPECT_EQ(withGray.Create(), nullptr);
    EXPECT_EQ(rec.reports().at(0).status, -117);
    CreateArgs withBits;
    withBits.mask = bitMask;
    rec.Clear();
    EXPECT_EQ(withBits.Create(), nullptr);
    EXPECT_EQ(rec.reports().at(0).status, -112);
    grayMask->imageData = nullptr;
    iplDeallocateHeader(grayMask);
    iplDeallocateHeader(bitMask);
}

TEST(IplCreateImageHeader, RowBytesFromWidthDepthChannelsAndAlign) {
    RecordReports rec;
    const struct {
        int32_t channels;
        uint32_t depth;
        int32_t order, align, width, height, widthStep, imageSize;
    } kCases[] = {
        {3, 8, 0, 4, 5, 2, 16, 32},           // 15 bytes up to 16
        {3, 8, 0, 8, 5, 2, 16, 32},
        {3, 8, 0, 32, 5, 2, 32, 64},
        {4, 8, 0, 4, 5, 3, 20, 60},
        {1, 1, 0, 4, 33, 2, 8, 16},           // 33 bits: 5 bytes, up to 8
        {3, 16, 0, 4, 3, 1, 20, 20},          // 18 bytes up to 20
        {3, 8, 1, 4, 5, 2, 8, 48},            // plane order: one plane's row, times channels in the size
        {2, IPL_DEPTH_32S, 1, 16, 3, 2, 16, 64},
    };
    for (const auto& c : kCases) {
        ImageHeader* h = iplCreateImageHeader(c.channels, 0, c.depth, "X", "X", c.order, 0, c.align, c.width,
                                              c.height, nullptr, nullptr, nullptr, nullptr);
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(h->widthStep, c.widthStep) << c.channels << " " << c.depth << " " << c.width;
        EXPECT_EQ(h->imageSize, c.imageSize) << c.channels << " " << c.depth << " " << c.width;
        EXPECT_EQ(h->headerSize, 112);
        EXPECT_EQ(h->imageData, nullptr);
        EXPECT_EQ(h->imageDataOrigin, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(h) % 32, 0u);
        for (int s = 0; s < 4; ++s) EXPECT_EQ(h->borderMode[s] | h->borderConst[s], 0);
        iplDeallocateHeader(h);
    }
    EXPECT_TRUE(rec.reports().empty());
}

TEST(IplCreateImageHeader, SizesBeyondThirtyTwoBitsAreRefused) {
    RecordReports rec;
    EXPECT_EQ(iplCreateImageHeader(4, 0, 32, "X", "X", 0, 0, 4, 1 << 28, 1, nullptr, nullptr, nullptr, nullptr),
              nullptr);
    EXPECT_EQ(rec.reports().at(0).status, -10);
}

TEST(ImageWrapHeader, ShapesByBits) {
    const struct {
        int32_t bits, channels;
        uint32_t depth;
        const char model[5];
        const char sequence[5];
    } kCases[] = {{1, 1, 1, "GRAY", "GRAY"}, {8, 1, 8, "GRAY", "GRAY"}, {24, 3, 8, "RGB", "BGR"},
                  {32, 4, 8, "RGBA", "BGRA"}};
    for (const auto& c : kCases) {
        ImageHeader* h = ImageWrapHeader(7, 3, c.bits);
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(h->channels, c.channels);
        EXPECT_EQ(h->depth, c.depth);
        EXPECT_EQ(h->alphaChannel, 0);
        EXPECT_EQ(h->align, 4);
        EXPECT_EQ(std::string(h->colorModel, strnlen(h->colorModel, 4)), c.model);
        EXPECT_EQ(std::string(h->channelSeq, strnlen(h->channelSeq, 4)), c.sequence);
        iplDeallocateHeader(h);
    }
    for (int32_t bits : {0, 12, 16, 48}) EXPECT_EQ(ImageWrapHeader(7, 3, bits), nullptr) << bits;
    // A frame with no pixels is an incorrect size, reported through the error path.
    RecordReports rec;
    EXPECT_EQ(ImageWrapHeader(0, 480, 24), nullptr);
    EXPECT_EQ(ImageWrapHeader(640, 0, 8), nullptr);
    ASSERT_EQ(rec.reports().size(), 2u);
    EXPECT_EQ(rec.reports()[0].status, -10);
    EXPECT_EQ(rec.reports()[1].status, -10);
}

TEST(IplCheckImageHeader, StepsInOrder) {
    RecordReports rec;
    uint8_t pixels[256] = {};
    ImageTileInfo tile{[](const ImageHeader*, int32_t, int32_t, int32_t) {}, nullptr, nullptr, 16, 8};
    EXPECT_EQ(iplCheckImageHeader(nullptr), -9);
    EXPECT_EQ(iplGetErrStatus(), -9);

    ImageHeader* h = ImageWrapHeader(5, 4, 24);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(iplCheckImageHeader(h), -12);  // until the caller sets the pixels
    h->imageData = pixels;
    EXPECT_EQ(iplCheckImageHeader(h), 0);
    EXPECT_EQ(iplGetErrStatus(), 0);

    const struct {
        const char* name;
        void (*breakIt)(ImageHeader&, ImageTileInfo*);
        int32_t status;
    } kCases[] = {
        {"pixels and tile", [](ImageHeader& i, ImageTileInfo* t) { i.tileInfo = t, i.width = 0; }, -12},
        {"no size, no step", [](ImageHeader& i, ImageTileInfo*) { i.imageSize = 0, i.widthStep = 0; }, -10},
        {"no step, bad width", [](ImageHeader& i, ImageTileInfo*) { i.widthStep = -4, i.width = 0; }, -13},
        {"width 0", [](ImageHeader& i, ImageTileInfo*) { i.width = 0, i.channels = 0; }, -10},
        {"channels 0", [](ImageHeader& i, ImageTileInfo*) { i.channels = 0; }, -15},
        {"1 bit with 3", [](ImageHeader& i, ImageTileInfo*) { i.depth = 1; }, -16},
        {"depth 24", [](ImageHeader& i, ImageTileInfo*) { i.depth = 24, i.alphaChannel = 1; }, -17},
        {"alpha 1", [](ImageHeader& i, ImageTileInfo*) { i.alphaChannel = 1; }, -18},
        {"order 5", [](ImageHeader& i, ImageTileInfo*) { i.dataOrder = 5; }, -19},
        {"origin -1", [](ImageHeader& i, ImageTileInfo*) { i.origin = -1; }, -20},
        {"align 0", [](ImageHeader& i, ImageTileInfo*) { i.align = 0; }, -21},
        {"tiled, no callback",
         [](ImageHeader& i, ImageTileInfo* t) { i.imageData = nullptr, i.tileInfo = t, t->callback = nullptr; },
         -22},
        {"tiled, width 0",
         [](ImageHeader& i, ImageTileInfo* t) { i.imageData = nullptr, i.tileInfo = t, t->tileWidth = 0; }, -23},
        {"tiled, height 12",
         [](ImageHeader& i, ImageTileInfo* t) { i.imageData = nullptr, i.tileInfo = t, t->tileHeight = 12; }, -23},
        {"tiled, width 12",
         [](ImageHeader& i, ImageTileInfo* t) { i.imageData = nullptr, i.tileInfo = t, t->tileWidth = 12; }, -23},
        {"tiled without size or step",
         [](ImageHeader& i, ImageTileInfo* t) {
             i.imageData = nullptr, i.tileInfo = t, i.imageSize = 0, i.widthStep = 0;
         },
         0},
    };
    for (const auto& c : kCases) {
        ImageHeader copy = *h;
        ImageTileInfo t = tile;
        c.breakIt(copy, &t);
        iplSetErrStatus(-99);
        EXPECT_EQ(iplCheckImageHeader(&copy), c.status) << c.name;
        EXPECT_EQ(iplGetErrStatus(), c.status) << c.name;
    }
    EXPECT_TRUE(rec.reports().empty());  // the check reports nothing
    h->imageData = nullptr;
    iplDeallocateHeader(h);
}

TEST(IplCheckImageHeader, RoiTests) {
    uint8_t pixels[256] = {};
    ImageHeader* h = ImageWrapHeader(5, 4, 24);
    h->imageData = pixels;
    const struct {
        ImageRoi roi;
        int32_t status;
    } kCases[] = {
        {{3, 0, 0, 1, 1}, 0},    // coi equal to channels passes
        {{4, 0, 0, 1, 1}, -24},  // one above does not
        {{-1, -1, 0, 0, 1}, -24},
        {{0, -1, 0, 1, 0}, -25},
        {{0, -1, 0, 0, 1}, -25},
        {{0, -1, 0, 1, 1}, -11},
        {{0, 0, -3, 1, 1}, -11},
        {{0, 9, 9, 1, 1}, 0},    // beyond the image: not the check's business
    };
    for (const auto& c : kCases) {
        ImageRoi roi = c.roi;
        h->roi = &roi;
        EXPECT_EQ(iplCheckImageHeader(h), c.status) << c.roi.coi << " " << c.roi.xOffset;
    }
    h->roi = nullptr;
    h->imageData = nullptr;
    iplDeallocateHeader(h);
}

TEST(IplCheckImageHeader, MaskStatusesAreAHundredLower) {
    uint8_t pixels[64] = {};
    ImageHeader* h = ImageWrapHeader(4, 4, 8);
    ImageHeader* mask = ImageWrapHeader(4, 4, 1);
    h->imageData = pixels;
    h->maskRoi = mask;
    EXPECT_EQ(iplCheckImageHeader(h), -112);  // the mask has no pixels
    mask->imageData = pixels;
    EXPECT_EQ(iplCheckImageHeader(h), 0);
    mask->align = 3;
    EXPECT_EQ(iplCheckImageHeader(h), -121);
    mask->align = 4;
    mask->maskRoi = mask;  // its own mask: refused, not followed for ever
    EXPECT_LT(iplCheckImageHeader(h), 0);
    mask->maskRoi = nullptr;
    mask->depth = 8;
    EXPECT_EQ(iplCheckImageHeader(h), -117);
    mask->depth = 1;
    ImageTileInfo tile{};
    mask->tileInfo = &tile;
    EXPECT_EQ(iplCheckImageHeader(h), -26);
    mask->tileInfo = nullptr;
    mask->imageData = h->imageData = nullptr;
    iplDeallocate(h, IPL_IMAGE_HEADER | IPL_IMAGE_MASK);
}

TEST(SetImageBorder, ClampsToTheDepthAndSetsTheMaskedSides) {
    const struct {
        uint32_t depth;
        int32_t constant, stored;
    } kCases[] = {{8, 300, 255}, {8, -3, 0}, {IPL_DEPTH_8S, 300, 127}, {IPL_DEPTH_8S, -300, -128},
                  {1, 5, 1},     {16, 70000, 65535}, {IPL_DEPTH_16S, -40000, -32768}, {32, -40000, -40000},
                  {IPL_DEPTH_32S, 1 << 30, 1 << 30}};
    for (const auto& c : kCases) {
        ImageHeader h{};
        h.depth = c.depth;
        SetImageBorder(&h, 2, IPL_SIDE_TOP | IPL_SIDE_RIGHT, c.constant);
        EXPECT_EQ(h.borderConst[0], c.stored) << c.depth << " " << c.constant;
        EXPECT_EQ(h.borderConst[3], c.stored);
        EXPECT_EQ(h.borderMode[0], 2);
        EXPECT_EQ(h.borderMode[3], 2);
        EXPECT_EQ(h.borderMode[1] | h.borderMode[2] | h.borderConst[1] | h.borderConst[2], 0);
    }
}

TEST(ImageRect, WholeImageRoiAndClipping) {
    ImageHeader h{};
    h.width = 10, h.height = 6;
    const auto corners = [](const InclusiveRect& r) { return std::tuple(r.left, r.top, r.right, r.bottom); };
    InclusiveRect r;
    ASSERT_TRUE(ImageRect(&h, true, &r));
    EXPECT_EQ(corners(r), std::tuple(0, 0, 9, 5));
    const struct {
        ImageRoi roi;
        bool clip, ok;
        InclusiveRect rect;
    } kCases[] = {
        {{0, 2, 1, 3, 4}, true, true, {2, 1, 4, 4}},
        {{0, 8, 4, 5, 5}, true, true, {8, 4, 9, 5}},
        {{0, 8, 4, 5, 5}, false, true, {8, 4, 12, 8}},
        {{0, -2, -1, 3, 3}, true, true, {0, 0, 0, 1}},
        {{0, -3, 0, 3, 3}, true, false, {}},
        {{0, 10, 0, 3, 3}, true, false, {}},
        {{0, 0, 6, 3, 3}, true, false, {}},
        {{0, 0, 0, 0, 3}, false, false, {}},
        {{0, 0, 0, 3, -1}, true, false, {}},
    };
    for (const auto& c : kCases) {
        ImageRoi roi = c.roi;
        h.roi = &roi;
        InclusiveRect got{};
        EXPECT_EQ(ImageRect(&h, c.clip, &got), c.ok) << c.roi.xOffset << "," << c.roi.yOffset;
        if (c.ok) {
            EXPECT_EQ(corners(got), corners(c.rect)) << c.roi.xOffset << "," << c.roi.yOffset;
        }
    }
}

TEST(IplDeallocate, ReleasesWhatTheFlagsName) {
    ImageHeader* h = ImageWrapHeader(4, 4, 8);
    h->roi = static_cast<ImageRoi*>(IplMalloc(sizeof(ImageRoi)));
    h->tileInfo = static_cast<ImageTileInfo*>(IplMalloc(sizeof(ImageTileInfo)));
    h->maskRoi = ImageWrapHeader(4, 4, 1);
    h->imageDataOrigin = static_cast<uint8_t*>(std::malloc(16));
    h->imageData = h->imageDataOrigin + 4;
    iplDeallocate(h, IPL_IMAGE_ROI | IPL_IMAGE_TILE | IPL_IMAGE_MASK | IPL_IMAGE_DATA);
    EXPECT_EQ(h->roi, nullptr);
    EXPECT_EQ(h->tileInfo, nullptr);
    EXPECT_EQ(h->maskRoi, nullptr);
    EXPECT_EQ(h->imageData, nullptr);
    EXPECT_EQ(h->imageDataOrigin, nullptr);
    iplDeallocate(h, IPL_IMAGE_HEADER);  // a leak or double free shows in the sanitizer build
    iplDeallocate(nullptr, IPL_IMAGE_ALL);
}

TEST(IplMalloc, AlignedAndRefusesNothing) {
    EXPECT_EQ(IplMalloc(0), nullptr);
    EXPECT_EQ(IplMalloc(-5), nullptr);
    for (int64_t n : {1, 3, 31, 32, 33, 1000}) {
        auto* p = static_cast<uint8_t*>(IplMalloc(n));
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 32, 0u);
        std::fill(p, p + n, uint8_t(0x5A));  // the whole block is usable
        IplFree(p);
    }
    auto* w = static_cast<int32_t*>(IplMallocWords(10));
    for (int i = 0; i < 10; ++i) w[i] = i;
    IplFree(w);
}

}  // namespace
}  // namespace tarn
