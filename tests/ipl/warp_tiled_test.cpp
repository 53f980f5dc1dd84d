// Images served in tiles: the callback's calls counted and paired, regions
// read across tiles and around the image by each border rule (checked
// against the rules worked per pixel), mirrored copies, and tiled warps
// that give the bytes of the same warp in memory.
#include <gtest/gtest.h>

#include <map>
#include <tuple>
#include <vector>

#include "ipl/iplborde.h"
#include "ipl/iplwarp.h"
#include "ipl_test_support.h"

namespace tarn {
namespace {

using testing_ipl::OwnedImage;
using testing_ipl::Pattern;
using testing_ipl::RecordReports;

// An 8-bit image of `channels` in pixel order served in tiles of 8 x 8,
// with a copy of the same picture in memory. Each tile row holds
// 8 x channels bytes rounded up to 4.
class TiledImage {
public:
    TiledImage(int w, int h, int channels, int tile = 8) : tile_(tile), channels_(channels), memory_(w, h, channels) {
        info_ = {Serve, this, nullptr, tile, tile};
        header_ = iplCreateImageHeader(channels, 0, IPL_DEPTH_8U, "RGB", "BGR", 0, 0, 4, w, h, nullptr, nullptr,
                                       nullptr, &info_);
        rowBytes_ = (tile * channels + 3) / 4 * 4;
        columns_ = (w + tile - 1) / tile, rows_ = (h + tile - 1) / tile;
        tiles_.assign(size_t(columns_ * rows_), std::vector<uint8_t>(size_t(rowBytes_) * tile, 0));
    }
    ~TiledImage() {
        header_->tileInfo = nullptr;
        iplDeallocateHeader(header_);
    }
    ImageHeader* get() { return header_; }
    OwnedImage& memory() { return memory_; }
    uint8_t* at(int x, int y) {
        return tiles_[size_t((y / tile_) * columns_ + x / tile_)].data() + (y % tile_) * rowBytes_ +
               (x % tile_) * channels_;
    }
    // The same samples in the tiles and in the copy in memory.
    template <class Value>
    void Fill(Value value) {
        testing_ipl::Fill(memory_, value);
        for (int y = 0; y < header_->height; ++y)
            for (int x = 0; x < header_->width; ++x)
                for (int c = 0; c < channels_; ++c) at(x, y)[c] = memory_.at(x, y)[c];
    }
    // Every tile lent was given back with its own pointer, and nothing is held.
    void ExpectBalanced() const {
        EXPECT_TRUE(held_.empty());
        EXPECT_EQ(lent_, released_);
        EXPECT_EQ(wrongPointer_, 0);
    }
    int lent() const { return lent_; }
    int writes() const { return writes_; }
    void FailTile(int column, int row) { failing_ = {column, row}; }

private:
    static void Serve(const ImageHeader* image, int32_t column, int32_t row, int32_t mode) {
        auto* self = static_cast<TiledImage*>(image->tileInfo->id);
        uint8_t* tile = self->tiles_[size_t(row * self->columns_ + column)].data();
        if (mode == 4) {
            ++self->released_;
            if (image->tileInfo->tileData != tile) ++self->wrongPointer_;
            auto it = self->held_.find({column, row});
            if (it != self->held_.end() && --it->second == 0) self->held_.erase(it);
            return;
        }
        if (std::pair{column, row} == self->failing_) {
            image->tileInfo->tileData = nullptr;
            return;
        }
        ++self->lent_;
        if (mode == 2) ++self->writes_;
        ++self->held_[{column, row}];
        image->tileInfo->tileData = tile;
    }

    int tile_, channels_, rowBytes_ = 0, columns_ = 0, rows_ = 0;
    int lent_ = 0, released_ = 0, writes_ = 0, wrongPointer_ = 0;
    std::pair<int, int> failing_{-1, -1};
    std::map<std::pair<int, int>, int> held_;
    ImageTileInfo info_;
    ImageHeader* header_;
    OwnedImage memory_;
    std::vector<std::vector<uint8_t>> tiles_;
};

// The border rules worked per coordinate.
int32_t ByRule(int rule, int32_t v, int32_t size) {
    if (v >= 0 && v < size) return v;
    if (rule == 1) return v < 0 ? 0 : size - 1;
    const int32_t q = v >= 0 ? v / size : -((-v + size - 1) / size);
    const int32_t r = v - q * size;
    return rule == 2 && (q & 1) ? size - 1 - r : r;
}

// What the region holds at image point (x, y): above and below the image
// the top or bottom rule applies to both coordinates; beside it, the left
// or right rule to x.
int ExpectedSample(const ImageHeader* h, OwnedImage& image, int32_t x, int32_t y, int c) {
    int side = -1;
    if (y < 0) side = 0;
    else if (y >= h->height) side = 1;
    else if (x < 0) side = 2;
    else if (x >= h->width) side = 3;
    if (side < 0) return image.pixel(x, y, c);
    const int rule = h->borderMode[side] & 3;
    if (rule == 0) return uint8_t(h->borderConst[side]);
    const int32_t sy = side < 2 ? ByRule(rule, y, h->height) : y;
    return image.pixel(ByRule(rule, x, h->width), sy, c);
}

// A 4 x 4 image read from (-6, -6) to (9, 9): every pixel around every
// corner, under each rule on all sides and under mixed rules.
TEST(ReadRegion, BorderRulesAroundTheCornersOfAFourByFour) {
    const int kRules[][4] = {{0, 0, 0, 0}, {1, 1, 1, 1}, {2, 2, 2, 2}, {3, 3, 3, 3}, {2, 3, 0, 1}, {1, 0, 3, 2}};
    for (const auto& rules : kRules)
        for (bool tiled : {false, true}) {
            TiledImage source(4, 4, 3);
            source.Fill(Pattern);
            ImageHeader* h = tiled ? source.get() : source.memory().get();
            for (int side = 0; side < 4; ++side) {
                SetImageBorder(h, rules[side], 1 << side, 40 + 50 * side);
            }
            int32_t stride = 0;
            uint8_t* region = ReadRegion(h, -6, -6, 16, 16, &stride);
            ASSERT_NE(region, nullptr);
            EXPECT_EQ(stride, 48);
            for (int y = 0; y < 16; ++y)
                for (int x = 0; x < 16; ++x)
                    for (int c = 0; c < 3; ++c)
                        ASSERT_EQ(region[y * stride + x * 3 + c], ExpectedSample(h, source.memory(), x - 6, y - 6, c))
                            << rules[0] << rules[1] << rules[2] << rules[3] << " at " << x - 6 << "," << y - 6;
            IplFree(region);
            source.ExpectBalanced();
        }
}

// A region wholly left of the image, by replicate: column 0 throughout.
TEST(ReadRegion, WhollyOutsideTheImage) {
    OwnedImage image(4, 4, 1);
    testing_ipl::Fill(image, [](int x, int y, int) { return 10 * y + x; });
    SetImageBorder(image.get(), 1, 4, 0);
    int32_t stride = 0;
    uint8_t* left = ReadRegion(image.get(), -9, 0, 3, 4, &stride);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 3; ++x) EXPECT_EQ(left[y * stride + x], 10 * y);
    IplFree(left);
}

// A copy with To below From runs backwards: mirrored in x, in y, or both,
// across tile edges and from memory alike.
TEST(CopyRegion, MirroredCopies) {
    TiledImage source(24, 16, 3);
    source.Fill(Pattern);
    for (bool tiled : {false, true}) {
        ImageHeader* h = tiled ? source.get() : source.memory().get();
        for (auto [xFrom, yFrom, xTo, yTo] : {std::tuple{2, 3, 19, 12}, {19, 3, 2, 12}, {2, 12, 19, 3}, {19, 12, 2, 3}}) {
            std::vector<uint8_t> out(18 * 3 * 10, 0);
            ASSERT_EQ(CopyRegion(h, xFrom, yFrom, xTo, yTo, out.data(), 0, 0, 18 * 3, 0, 3, 1), 0);
            const int dx = xTo > xFrom ? 1 : -1, dy = yTo > yFrom ? 1 : -1;
            for (int j = 0; j < 10; ++j)
                for (int i = 0; i < 18; ++i)
                    for (int c = 0; c < 3; ++c)
                        ASSERT_EQ(out[(j * 18 + i) * 3 + c], Pattern(xFrom + i * dx, yFrom + j * dy, c))
                            << tiled << " " << xFrom << "," << yFrom << " " << i << "," << j;
        }
    }
    source.ExpectBalanced();
    EXPECT_GT(source.lent(), 0);
}

TEST(CopyRegion, ATileNotServedFails) {
    TiledImage source(24, 16, 1);
    source.FailTile(1, 0);
    std::vector<uint8_t> out(24 * 16);
    EXPECT_NE(CopyRegion(source.get(), 0, 0, 23, 15, out.data(), 0, 0, 24, 0, 1, 1), 0);
    int32_t stride;
    EXPECT_EQ(ReadRegion(source.get(), 0, 0, 24, 16, &stride), nullptr);
}

// A source of 3 x 2 tiles warped into a tiled target and into one in
// memory gives the bytes of the warp in memory. The mapping (scale by two
// with a shear, quarter-pixel shifts) is exact in binary, so the blocks'
// own rounding of their first rows changes nothing.
TEST(WarpTiled, SameBytesAsInMemory) {
    RecordReports rec;
    const double c[6] = {0.5, 0.25, 3.25, -0.25, 0.5, 9.5};
    for (int mode : {IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC, IPL_INTER_LINEAR | IPL_SMOOTH_EDGE})
        for (int channels : {1, 3, 4}) {
            TiledImage source(24, 16, channels);
            source.Fill(Pattern);
            OwnedImage direct(21, 19, channels, 0, 0x11);
            iplWarpAffine(source.memory().get(), direct.get(), c, mode);

            TiledImage target(21, 19, channels);
            target.Fill([](int, int, int) { return 0x11; });
            iplWarpAffine(source.get(), target.get(), c, mode);
            OwnedImage untiledTarget(21, 19, channels, 0, 0x11);
            iplWarpAffine(source.get(), untiledTarget.get(), c, mode);

            for (int y = 0; y < 19; ++y)
                for (int x = 0; x < 21; ++x)
                    for (int ch = 0; ch < channels; ++ch) {
                        ASSERT_EQ(target.at(x, y)[ch], direct.pixel(x, y, ch)) << mode << " " << x << "," << y;
                        ASSERT_EQ(untiledTarget.pixel(x, y, ch), direct.pixel(x, y, ch)) << mode;
                    }
            source.ExpectBalanced();
            target.ExpectBalanced();
            // Nine target tiles of 8 x 8 over 21 x 19 pixels, each lent for
            // writing once at most (smoothing adds a lending per pixel written).
            EXPECT_GT(target.writes(), 0);
            if (!(mode & IPL_SMOOTH_EDGE)) {
                EXPECT_LE(target.writes(), 9);
            }
        }
    EXPECT_TRUE(rec.reports().empty());
}

// An untiled target is worked in blocks of 128 x 128: a 300-wide target
// takes three block columns, and the warp still equals the one in memory.
TEST(WarpTiled, UntiledTargetInBlocks) {
    RecordReports rec;
    TiledImage source(160, 40, 1);
    source.Fill(Pattern);
    const double c[6] = {2, 0, 0.5, 0, 1, 0};
    OwnedImage direct(300, 40, 1, 0, 3), viaTiles(300, 40, 1, 0, 3);
    iplWarpAffine(source.memory().get(), direct.get(), c, IPL_INTER_LINEAR);
    iplWarpAffine(source.get(), viaTiles.get(), c, IPL_INTER_LINEAR);
    EXPECT_EQ(viaTiles.Pixels(), direct.Pixels());
    source.ExpectBalanced();
    EXPECT_TRUE(rec.reports().empty());
}

}  // namespace
}  // namespace tarn
