// What the tests of tarnsurf share: the message of a refusal, a frame
// flattened with an overlay, a scratch directory per test, and whole files
// read and written.
#pragma once

#include "library.h"
#include "tool_error.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace tarnsurf {

// Message of the ToolError that `fn` throws, or "" when it throws none.
template <class Fn>
std::string ErrorOf(Fn fn) {
    try {
        fn();
    } catch (const ToolError& e) {
        return e.what();
    }
    return "";
}

inline std::vector<uint8_t> FileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

inline std::string FileText(const std::string& path) {
    const std::vector<uint8_t> bytes = FileBytes(path);
    return std::string(bytes.begin(), bytes.end());
}

inline void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

// Flattens `overlay` onto a copy of `frame`, a w x h planar picture.
inline std::vector<uint8_t> Flattened(const Library& lib, const std::vector<uint8_t>& frame, int w, int h,
                               ITarnSurface* overlay) {
    SurfaceRef target = lib.FromData(DescribeSurface(SURFACE_FORMAT_YUV420, w, h, true), frame.data());
    if (overlay) {
        EXPECT_EQ(target->AddOverlay(overlay), VED_S_OK);
    }
    SurfaceRef result;
    EXPECT_EQ(target->Flatten(result.put()), VED_S_OK);
    uint8_t* p = nullptr;
    EXPECT_EQ(result->GetPixels(&p), VED_S_OK);
    return std::vector<uint8_t>(p, p + PlanarBytes(w, h));
}

// A fresh directory for each test, removed with everything in it afterwards.
class ScratchDir : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() /
               ("tarnsurf-" + std::to_string(std::random_device()()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override {
        if (!dir_.empty()) std::filesystem::remove_all(dir_);
    }
    std::string Path(const std::string& leaf) const { return (dir_ / leaf).string(); }
    size_t EntryCount() const {
        return size_t(std::distance(std::filesystem::directory_iterator(dir_), std::filesystem::directory_iterator()));
    }

    std::filesystem::path dir_;
};

}  // namespace tarnsurf
