// An output that appears whole or not at all: a file is written under a
// temporary name beside its final one and renamed by Commit. Standard output
// ("-") is written directly, since a pipe cannot be taken back.
#pragma once

#include <cstdio>
#include <string>

namespace tarnsurf {

class OutputFile {
public:
    explicit OutputFile(std::string path);
    ~OutputFile();  // removes the temporary file unless Commit ran
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::FILE* file() const { return file_; }
    // The name for messages: the final path, or "standard output".
    const std::string& name() const { return name_; }
    bool isStdout() const { return path_ == "-"; }

    // Flushes, closes and renames into place; a write error found here is
    // reported and the temporary file removed.
    void Commit();

private:
    std::string path_;
    std::string tempPath_;
    std::string name_;
    std::FILE* file_ = nullptr;
    bool committed_ = false;
};

}  // namespace tarnsurf
