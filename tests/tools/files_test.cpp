// PNG round trips and refusals, and outputs that appear whole or not at all.
#include "output_file.h"
#include "png_io.h"
#include "error_of.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

namespace tarnsurf {
namespace {

namespace fs = std::filesystem;

class FilesTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("tarnsurf-files-" + std::to_string(std::random_device()()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }
    std::string Path(const char* leaf) const { return (dir_ / leaf).string(); }
    size_t EntryCount() const { return size_t(std::distance(fs::directory_iterator(dir_), fs::directory_iterator())); }

    void WritePng(const std::string& path, const Image& image) {
        OutputFile out(path);
        WritePngTo(out.file(), image, out.name());
        out.Commit();
    }

    fs::path dir_;
};

Image Pattern(int w, int h, int channels) {
    Image image(w, h, channels);
    for (size_t i = 0; i < image.pixels.size(); ++i) image.pixels[i] = uint8_t(i * 37 + i / 7);
    return image;
}

std::string PngErrorOf(const std::string& path) {
    return ErrorOf([&] { ReadPng(path); });
}

TEST_F(FilesTest, PngKeepsRgbAndRgbaPicturesExactly) {
    for (int channels : {3, 4}) {
        const Image picture = Pattern(13, 7, channels);
        WritePng(Path("p.png"), picture);
        const Image back = ReadPng(Path("p.png"));
        EXPECT_EQ(back.width, 13);
        EXPECT_EQ(back.height, 7);
        EXPECT_EQ(back.channels, channels);
        EXPECT_EQ(back.pixels, picture.pixels);
    }
}

TEST_F(FilesTest, GreyPngIsReadAsRgbWithoutAlpha) {
    WritePng(Path("g.png"), Pattern(5, 3, 1));
    const Image back = ReadPng(Path("g.png"));
    ASSERT_EQ(back.channels, 3);
    const Image grey = Pattern(5, 3, 1);
    for (size_t i = 0; i < grey.pixels.size(); ++i)
        for (int c = 0; c < 3; ++c) EXPECT_EQ(back.pixels[3 * i + size_t(c)], grey.pixels[i]);
}

TEST_F(FilesTest, BadPngsAreRefusedNamingTheFile) {
    std::ofstream(Path("text.png")) << "this is not a picture";
    WritePng(Path("whole.png"), Pattern(64, 64, 4));
    const auto size = fs::file_size(Path("whole.png"));
    fs::copy_file(Path("whole.png"), Path("cut.png"));
    fs::resize_file(Path("cut.png"), size / 2);

    EXPECT_NE(PngErrorOf(Path("missing.png")).find("missing.png: cannot open"), std::string::npos);
    EXPECT_NE(PngErrorOf(Path("text.png")).find("text.png: not a readable PNG"), std::string::npos);
    EXPECT_NE(PngErrorOf(Path("cut.png")).find("cut.png: corrupt PNG"), std::string::npos);
}

TEST_F(FilesTest, OutputAppearsOnlyOnCommit) {
    const std::string path = Path("out.bin");
    {
        OutputFile out(path);
        std::fputs("partial", out.file());
        EXPECT_FALSE(fs::exists(path));
        EXPECT_EQ(EntryCount(), 1u);  // the temporary file
    }
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(EntryCount(), 0u);  // removed without a trace

    {
        OutputFile out(path);
        std::fputs("whole", out.file());
        out.Commit();
    }
    std::string content;
    std::getline(std::ifstream(path), content);
    EXPECT_EQ(content, "whole");
    EXPECT_EQ(EntryCount(), 1u);
}

TEST_F(FilesTest, CommitReplacesAnOldFileAndAFailureKeepsIt) {
    const std::string path = Path("out.bin");
    std::ofstream(path) << "old";
    {
        OutputFile out(path);
        std::fputs("new", out.file());
    }
    std::string content;
    std::getline(std::ifstream(path), content);
    EXPECT_EQ(content, "old");
    {
        OutputFile out(path);
        std::fputs("new", out.file());
        out.Commit();
    }
    std::getline(std::ifstream(path), content);
    EXPECT_EQ(content, "new");
}

TEST_F(FilesTest, OutputInAMissingDirectoryIsRefusedByName) {
    const std::string path = Path("no/such/dir/out.png");
    const std::string message = ErrorOf([&] { OutputFile out(path); });
    EXPECT_NE(message.find(path + ": cannot create"), std::string::npos) << message;
}

}  // namespace
}  // namespace tarnsurf
