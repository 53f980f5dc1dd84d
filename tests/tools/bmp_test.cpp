// BMP files: the bytes written, round trips of any size, the layouts read,
// refusals naming the file, and composition onto a BMP frame.
#include "bmp_io.h"
#include "compose.h"
#include "error_of.h"
#include "output_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

namespace tarnsurf {
namespace {

namespace fs = std::filesystem;

class BmpTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("tarnsurf-bmp-" + std::to_string(std::random_device()()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }
    std::string Path(const std::string& leaf) const { return (dir_ / leaf).string(); }

    void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    }
    std::vector<uint8_t> FileBytes(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
    }
    void Write(const std::string& path, const Image& image) {
        OutputFile out(path);
        WritePictureTo(out.file(), image, out.name());
        out.Commit();
    }

    fs::path dir_;
};

Image Pattern(int w, int h) {
    Image image(w, h, 3);
    for (size_t i = 0; i < image.pixels.size(); ++i) image.pixels[i] = uint8_t(i * 37 + i / 7 + 1);
    return image;
}

uint32_t Le32(const std::vector<uint8_t>& b, size_t at) {
    return uint32_t(b[at]) | uint32_t(b[at + 1]) << 8 | uint32_t(b[at + 2]) << 16 | uint32_t(b[at + 3]) << 24;
}
void Put32(std::vector<uint8_t>& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = uint8_t(v >> (8 * i));
}

// A BMP file built by hand: headers, then `rows` of the picture in the file's
// order, each padded to whole words.
std::vector<uint8_t> HandMadeBmp(int32_t width, int32_t height, uint16_t bits, uint32_t compression,
                                 const std::vector<uint8_t>& pixelBytes, uint32_t extraHeader = 0) {
    std::vector<uint8_t> b(54 + extraHeader + pixelBytes.size(), 0);
    std::copy(pixelBytes.begin(), pixelBytes.end(), b.begin() + 54 + extraHeader);
    b[0] = 'B';
    b[1] = 'M';
    Put32(b, 10, 54 + extraHeader);
    Put32(b, 14, 40);
    Put32(b, 18, uint32_t(width));
    Put32(b, 22, uint32_t(height));
    b[26] = 1;
    b[28] = uint8_t(bits);
    Put32(b, 30, compression);
    Put32(b, 2, uint32_t(b.size()));
    return b;
}

TEST_F(BmpTest, WrittenFileIsABottomUpBitmapWithWordRows) {
    const Image picture = Pattern(5, 4);
    Write(Path("p.bmp"), picture);
    const std::vector<uint8_t> b = FileBytes(Path("p.bmp"));
    const size_t row = 16;  // 5 x 3 bytes padded to a word
    ASSERT_EQ(b.size(), 54 + row * 4);
    EXPECT_EQ(b[0], 'B');
    EXPECT_EQ(b[1], 'M');
    EXPECT_EQ(Le32(b, 2), b.size());
    EXPECT_EQ(Le32(b, 10), 54u);
    EXPECT_EQ(Le32(b, 14), 40u);
    EXPECT_EQ(Le32(b, 18), 5u);
    EXPECT_EQ(Le32(b, 22), 4u);
    EXPECT_EQ(b[28], 24);
    EXPECT_EQ(Le32(b, 30), 0u);
    for (int y = 0; y < 4; ++y) {
        const uint8_t* stored = b.data() + 54 + size_t(3 - y) * row;  // bottom row first
        for (int x = 0; x < 5; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(stored[3 * x + c], picture.Row(y)[3 * x + 2 - c]) << y << "," << x;
        EXPECT_EQ(stored[15], 0);
    }
}

TEST_F(BmpTest, PicturesOfAnySizeComeBackWhole) {
    for (auto [w, h] : {std::pair{4, 4}, {7, 5}, {13, 6}, {9, 11}}) {
        const Image picture = Pattern(w, h);
        Write(Path("p.bmp"), picture);
        const Image back = ReadPicture(Path("p.bmp"));
        EXPECT_EQ(back.width, w);
        EXPECT_EQ(back.height, h);
        EXPECT_EQ(back.channels, 3);
        EXPECT_EQ(back.pixels, picture.pixels) << w << "x" << h;
    }
}

// A top-down 32-bit file with plain bit fields, as some programs write it:
// the fourth bytes are not read, the rows come in file order.
TEST_F(BmpTest, TopDownBitFieldsFileIsRead) {
    const int w = 5, h = 4;
    std::vector<uint8_t> pixels(size_t(w) * h * 4);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = uint8_t(3 * i + 1);
    // The three masks sit between the header and the pixels.
    std::vector<uint8_t> file = HandMadeBmp(w, -h, 32, 3, pixels, 12);
    Put32(file, 54, 0xFF0000);
    Put32(file, 58, 0xFF00);
    Put32(file, 62, 0xFF);
    WriteFile(Path("t.bmp"), file);
    const Image back = ReadBmp(Path("t.bmp"));
    ASSERT_EQ(back.width, w);
    ASSERT_EQ(back.height, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(back.Row(y)[3 * x + c], pixels[size_t(y * w + x) * 4 + 2 - c]);
}

TEST_F(BmpTest, BadFilesAreRefusedNamingTheFileAndTheProblem) {
    const std::vector<uint8_t> rows(size_t(8) * 3 * 4, 7);
    std::vector<uint8_t> good = HandMadeBmp(8, 4, 24, 0, rows);
    auto spoiled = [&](auto change) { std::vector<uint8_t> b = good; change(b); return b; };
    struct Case { const char* leaf; std::vector<uint8_t> bytes; const char* says; } cases[] = {
        {"short.bmp", std::vector<uint8_t>(good.begin(), good.begin() + 30), "truncated BMP"},
        {"rows.bmp", std::vector<uint8_t>(good.begin(), good.end() - 1), "truncated BMP"},
        {"magic.bmp", spoiled([](auto& b) { b[0] = 'P'; }), "not a BMP file"},
        {"core.bmp", spoiled([](auto& b) { Put32(b, 14, 12); }), "header of 12 bytes"},
        {"rle.bmp", spoiled([](auto& b) { Put32(b, 30, 1); }), "compressed BMP (compression 1)"},
        {"fields.bmp", spoiled([](auto& b) { Put32(b, 30, 3); }), "compressed BMP (compression 3)"},
        {"bits.bmp", spoiled([](auto& b) { b[28] = 8; }), "8 bits per pixel"},
        {"planes.bmp", spoiled([](auto& b) { b[26] = 2; }), "2 colour planes"},
        {"wide.bmp", spoiled([](auto& b) { Put32(b, 18, 100000); }), "larger than 16384"},
        {"tall.bmp", spoiled([](auto& b) { Put32(b, 22, uint32_t(-70000)); }), "larger than 16384"},
        {"empty.bmp", spoiled([](auto& b) { Put32(b, 22, 0); }), "bad BMP size"},
        {"small.bmp", spoiled([](auto& b) { Put32(b, 18, 3); }), "too small"},
        {"offset.bmp", spoiled([](auto& b) { Put32(b, 10, 20); }), "pixels said to start"},
    };
    for (const Case& c : cases) {
        WriteFile(Path(c.leaf), c.bytes);
        const std::string error = ErrorOf([&] { ReadPicture(Path(c.leaf)); });
        EXPECT_NE(error.find(Path(c.leaf)), std::string::npos) << c.leaf << ": " << error;
        EXPECT_NE(error.find(c.says), std::string::npos) << c.leaf << ": " << error;
    }
    WriteFile(Path("good.bmp"), good);
    EXPECT_EQ(ErrorOf([&] { ReadPicture(Path("good.bmp")); }), "");
}

// A BMP is only a container: composing onto a BMP frame with a BMP overlay
// gives the pixels that the same PNG files give.
TEST_F(BmpTest, ComposingBmpFilesMatchesComposingPngFiles) {
    const Image frame = Pattern(24, 18), overlay = Pattern(9, 7);
    Write(Path("frame.bmp"), frame);
    Write(Path("frame.png"), frame);
    Write(Path("logo.bmp"), overlay);
    Write(Path("logo.png"), overlay);
    const auto compose = [&](const std::string& ext) {
        ComposeOptions options;
        options.input = Path("frame" + ext);
        options.output = Path("out" + ext);
        OverlayPlacement placement;
        placement.file = Path("logo" + ext);
        placement.x = 4;
        placement.y = 2;
        placement.alpha = 64;
        options.overlays.push_back(placement);
        options.threads = 1;
        RunCompose(options);
        return ReadPicture(options.output);
    };
    const Image fromBmp = compose(".bmp"), fromPng = compose(".png");
    EXPECT_EQ(fromBmp.width, 24);
    EXPECT_EQ(fromBmp.height, 18);
    EXPECT_EQ(fromBmp.pixels, fromPng.pixels);
    EXPECT_NE(fromBmp.pixels, frame.pixels);  // the overlay is there
}

TEST_F(BmpTest, BadBmpFrameLeavesNoOutput) {
    WriteFile(Path("bad.bmp"), std::vector<uint8_t>(40, 'B'));
    ComposeOptions options;
    options.input = Path("bad.bmp");
    options.output = Path("out.bmp");
    options.threads = 1;
    EXPECT_NE(ErrorOf([&] { RunCompose(options); }).find("bad.bmp"), std::string::npos);
    EXPECT_FALSE(fs::exists(Path("out.bmp")));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir_), fs::directory_iterator()), 1);
}

}  // namespace
}  // namespace tarnsurf
