// Picture files, PNG and BMP: the bytes a BMP holds, round trips of any
// size, the layouts read, refusals naming the file, composition onto a BMP
// frame; and outputs that appear whole or not at all.
#include "bmp_io.h"
#include "compose.h"
#include "output_file.h"
#include "png_io.h"
#include "tools_support.h"

namespace tarnsurf {
namespace {

namespace fs = std::filesystem;

class Files : public ScratchDir {
protected:
    // PNG or BMP by the extension, as the program writes its outputs.
    void Write(const std::string& path, const Image& image) {
        OutputFile out(path);
        WritePictureTo(out.file(), image, out.name());
        out.Commit();
    }
};

Image Pattern(int w, int h, int channels = 3) {
    Image image(w, h, channels);
    for (size_t i = 0; i < image.pixels.size(); ++i) image.pixels[i] = uint8_t(i * 37 + i / 7 + 1);
    return image;
}

uint32_t Le32(const std::vector<uint8_t>& b, size_t at) {
    return uint32_t(b[at]) | uint32_t(b[at + 1]) << 8 | uint32_t(b[at + 2]) << 16 | uint32_t(b[at + 3]) << 24;
}
void Put32(std::vector<uint8_t>& b, size_t at, uint32_t v) {
    for (size_t i = 0; i < 4; ++i) b[at + i] = uint8_t(v >> (8 * i));
}

// A BMP file built by hand: the two headers, `extraHeader` bytes, then the
// pixel bytes as given.
std::vector<uint8_t> HandMadeBmp(int32_t width, int32_t height, uint16_t bits, uint32_t compression,
                                 const std::vector<uint8_t>& pixelBytes, uint32_t extraHeader = 0) {
    std::vector<uint8_t> b(54 + extraHeader, 0);
    b.insert(b.end(), pixelBytes.begin(), pixelBytes.end());
    b[0] = 'B', b[1] = 'M', b[26] = 1, b[28] = uint8_t(bits);
    for (auto [at, v] : {std::pair<size_t, uint32_t>{2, uint32_t(b.size())}, {10, 54 + extraHeader}, {14, 40},
                         {18, uint32_t(width)}, {22, uint32_t(height)}, {30, compression}})
        Put32(b, at, v);
    return b;
}

TEST_F(Files, PicturesOfAnySizeComeBackWhole) {
    const struct {
        const char* leaf;
        int w, h, channels;
    } cases[] = {{"p.png", 13, 7, 3}, {"p.png", 13, 7, 4}, {"p.bmp", 4, 4, 3},
                 {"p.bmp", 7, 5, 3},  {"p.bmp", 13, 6, 3}, {"p.bmp", 9, 11, 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.leaf << " " << c.w << "x" << c.h << "x" << c.channels);
        const Image picture = Pattern(c.w, c.h, c.channels);
        Write(Path(c.leaf), picture);
        const Image back = ReadPicture(Path(c.leaf));
        EXPECT_EQ(std::vector<int>({back.width, back.height, back.channels}), std::vector<int>({c.w, c.h, c.channels}));
        EXPECT_EQ(back.pixels, picture.pixels);
    }
}

TEST_F(Files, GreyPngIsReadAsRgbWithoutAlpha) {
    const Image grey = Pattern(5, 3, 1);
    Write(Path("g.png"), grey);
    const Image back = ReadPng(Path("g.png"));
    ASSERT_EQ(back.channels, 3);
    for (size_t i = 0; i < grey.pixels.size(); ++i)
        for (size_t c = 0; c < 3; ++c) EXPECT_EQ(back.pixels[3 * i + c], grey.pixels[i]);
}

TEST_F(Files, WrittenBmpIsBottomUpWithWordRows) {
    const Image picture = Pattern(5, 4);
    Write(Path("p.bmp"), picture);
    const std::vector<uint8_t> b = FileBytes(Path("p.bmp"));
    const size_t row = 16;  // 5 x 3 bytes padded to a word
    ASSERT_EQ(b.size(), 54 + row * 4);
    EXPECT_EQ(std::vector<uint32_t>({b[0], b[1], Le32(b, 2), Le32(b, 10), Le32(b, 14), Le32(b, 18), Le32(b, 22), b[28],
                                     Le32(b, 30)}),
              std::vector<uint32_t>({'B', 'M', uint32_t(b.size()), 54, 40, 5, 4, 24, 0}));
    for (int y = 0; y < 4; ++y) {
        const uint8_t* stored = b.data() + 54 + size_t(3 - y) * row;  // bottom row first
        for (int x = 0; x < 5; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(stored[3 * x + c], picture.Row(y)[3 * x + 2 - c]) << y << "," << x;
        EXPECT_EQ(stored[15], 0);
    }
}

// A top-down 32-bit file with plain bit fields, as some programs write it:
// the fourth bytes are not read, the rows come in file order.
TEST_F(Files, TopDownBitFieldsBmpIsRead) {
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
            for (int c = 0; c < 3; ++c) ASSERT_EQ(back.Row(y)[3 * x + c], pixels[size_t(y * w + x) * 4 + 2 - c]);
}

TEST_F(Files, BadFilesAreRefusedNamingTheFileAndTheProblem) {
    const std::vector<uint8_t> good = HandMadeBmp(8, 4, 24, 0, std::vector<uint8_t>(8 * 3 * 4, 7));
    auto spoiled = [&](auto change) { std::vector<uint8_t> b = good; change(b); return b; };
    Write(Path("whole.png"), Pattern(64, 64, 4));
    const std::vector<uint8_t> png = FileBytes(Path("whole.png"));
    const struct {
        const char* leaf;
        std::vector<uint8_t> bytes;
        const char* says;
    } cases[] = {
        {"text.png", {'t', 'e', 'x', 't'}, "not a readable PNG"},
        {"cut.png", std::vector<uint8_t>(png.begin(), png.begin() + long(png.size() / 2)), "corrupt PNG"},
        {"short.bmp", std::vector<uint8_t>(good.begin(), good.begin() + 30), "truncated BMP"},
        {"rows.bmp", std::vector<uint8_t>(good.begin(), good.end() - 1), "truncated BMP"},
        {"magic.bmp", spoiled([](auto& b) { b[0] = 'P'; }), "not a BMP file"},
        {"core.bmp", spoiled([](auto& b) { Put32(b, 14, 12); }), "BMP header of 12 bytes"},
        {"rle.bmp", spoiled([](auto& b) { Put32(b, 30, 1); }), "compressed BMP (compression 1)"},
        {"fields.bmp", spoiled([](auto& b) { Put32(b, 30, 3); }), "compressed BMP (compression 3)"},
        {"bits.bmp", spoiled([](auto& b) { b[28] = 8; }), "BMP of 8 bits per pixel"},
        {"planes.bmp", spoiled([](auto& b) { b[26] = 2; }), "bad BMP: 2 colour planes"},
        {"wide.bmp", spoiled([](auto& b) { Put32(b, 18, 100000); }), "picture of 100000x4 is larger than 16384"},
        {"tall.bmp", spoiled([](auto& b) { Put32(b, 22, uint32_t(-70000)); }), "picture of 8x70000 is larger than 16384"},
        {"empty.bmp", spoiled([](auto& b) { Put32(b, 22, 0); }), "bad BMP size"},
        {"small.bmp", spoiled([](auto& b) { Put32(b, 18, 3); }), "picture of 3x4 is too small"},
        {"offset.bmp", spoiled([](auto& b) { Put32(b, 10, 20); }), "bad BMP: pixels said to start"},
        {"good.bmp", good, nullptr},
    };
    for (const auto& c : cases) {
        WriteFile(Path(c.leaf), c.bytes);
        const std::string error = ErrorOf([&] { ReadPicture(Path(c.leaf)); });
        if (!c.says) {
            EXPECT_EQ(error, "");
            continue;
        }
        EXPECT_EQ(error.rfind(Path(c.leaf) + ": " + c.says, 0), 0u) << c.leaf << ": " << error;
    }
    for (const char* missing : {"missing.png", "missing.bmp"})
        EXPECT_EQ(ErrorOf([&] { ReadPicture(Path(missing)); }).rfind(Path(missing) + ": cannot open", 0), 0u);
}

// A BMP is only a container: composing onto a BMP frame with a BMP overlay
// gives the pixels that the same PNG files give; a bad BMP frame leaves no
// output behind.
TEST_F(Files, ComposingBmpFilesMatchesComposingPngFiles) {
    const Image frame = Pattern(24, 18), overlay = Pattern(9, 7);
    const auto compose = [&](const std::string& ext) {
        Write(Path("frame" + ext), frame);
        Write(Path("logo" + ext), overlay);
        ComposeOptions options;
        options.input = Path("frame" + ext);
        options.output = Path("out" + ext);
        OverlayPlacement placement;
        placement.file = Path("logo" + ext);
        placement.x = 4, placement.y = 2, placement.alpha = 64;
        options.overlays.push_back(placement);
        RunCompose(options);
        return ReadPicture(options.output);
    };
    const Image fromBmp = compose(".bmp"), fromPng = compose(".png");
    EXPECT_EQ(fromBmp.width, 24);
    EXPECT_EQ(fromBmp.height, 18);
    EXPECT_EQ(fromBmp.pixels, fromPng.pixels);
    EXPECT_NE(fromBmp.pixels, frame.pixels);  // the overlay is there

    WriteFile(Path("bad.bmp"), std::vector<uint8_t>(40, 'B'));
    const size_t entries = EntryCount();
    ComposeOptions options;
    options.input = Path("bad.bmp");
    options.output = Path("bad-out.bmp");
    EXPECT_NE(ErrorOf([&] { RunCompose(options); }).find("bad.bmp"), std::string::npos);
    EXPECT_EQ(EntryCount(), entries);  // neither the output nor its temporary file
}

TEST_F(Files, OutputAppearsOnlyOnCommitAndAFailureKeepsTheOldFile) {
    const std::string path = Path("out.bin");
    for (const char* before : {"", "old"}) {
        SCOPED_TRACE(before);
        if (*before) WriteFile(path, {'o', 'l', 'd'});
        const size_t entries = EntryCount();
        {
            OutputFile out(path);
            std::fputs("partial", out.file());
            EXPECT_EQ(EntryCount(), entries + 1);  // the temporary file
        }
        EXPECT_EQ(fs::exists(path), *before != 0);
        EXPECT_EQ(FileText(path), *before ? "old" : "");
        EXPECT_EQ(EntryCount(), entries);  // removed without a trace
        {
            OutputFile out(path);
            std::fputs("whole", out.file());
            out.Commit();
        }
        EXPECT_EQ(FileText(path), "whole");
        EXPECT_EQ(EntryCount(), 1u);
        fs::remove(path);
    }
    const std::string missing = Path("no/such/dir/out.png");
    const std::string message = ErrorOf([&] { OutputFile out(missing); });
    EXPECT_NE(message.find(missing + ": cannot create"), std::string::npos) << message;
}

}  // namespace
}  // namespace tarnsurf
