// Temporary-name-and-rename output. The temporary file lies in the target's
// directory so that the rename stays on one file system and is atomic.
#include "output_file.h"

#include "tool_error.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>

namespace tarnsurf {

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
    if (isStdout()) {
        name_ = "standard output";
        file_ = stdout;
        return;
    }
    name_ = path_;
    const std::filesystem::path target(path_);
    std::random_device random;
    for (int attempt = 0; attempt < 16 && !file_; ++attempt) {
        std::string leaf(1, '.');
        leaf += target.filename().string();
        leaf += '.';
        leaf += std::to_string(random() % 1000000);
        leaf += ".part";
        tempPath_ = (target.parent_path() / leaf).string();
        file_ = std::fopen(tempPath_.c_str(), "wbx");  // "x": never reuse a file that exists
        if (!file_ && errno != EEXIST) break;
    }
    if (!file_) Fail(name_, std::string("cannot create the output file: ") + std::strerror(errno));
}

OutputFile::~OutputFile() {
    if (committed_ || isStdout()) return;
    if (file_) std::fclose(file_);
    std::remove(tempPath_.c_str());
}

void OutputFile::Commit() {
    if (isStdout()) {
        if (std::fflush(stdout) != 0) Fail(name_, "write error (pipe closed?)");
        committed_ = true;
        return;
    }
    const bool flushed = std::fflush(file_) == 0 && !std::ferror(file_);
    const bool closed = std::fclose(file_) == 0;
    file_ = nullptr;
    if (!flushed || !closed) {
        std::remove(tempPath_.c_str());
        committed_ = true;
        Fail(name_, "write error (disk full?)");
    }
    std::error_code error;
    std::filesystem::rename(tempPath_, path_, error);
    if (error) {
        std::remove(tempPath_.c_str());
        committed_ = true;
        Fail(name_, "cannot move the finished file into place: " + error.message());
    }
    committed_ = true;
}

}  // namespace tarnsurf
