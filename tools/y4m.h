// YUV4MPEG2 streams, 8-bit 4:2:0 only: the header line with its parameters
// kept in order, and frames read and written plane by plane, so that callers
// can place the stream's U and V planes wherever their own layout wants them.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace tarnsurf {

struct Y4mHeader {
    int width = 0;
    int height = 0;
    // Every parameter of the header line but W and H, with its tag letter,
    // in the order the stream gave them ("F25:1", "Ip", "C420jpeg", "XYSCSS=...").
    std::vector<std::string> params;

    size_t LumaBytes() const { return size_t(width) * size_t(height); }
    size_t ChromaBytes() const { return LumaBytes() / 4; }
    size_t FrameBytes() const { return LumaBytes() + 2 * ChromaBytes(); }
    // The value of a parameter ("25:1" for tag 'F'), empty when absent.
    std::string Param(char tag) const;
};

// Largest width or height accepted from a stream: keeps a corrupt header from
// asking for gigabytes.
inline constexpr int kMaxY4mSide = 16384;

// Parses a header line without its newline. `source` names the stream in
// messages. Refuses anything but 8-bit 4:2:0 and odd or tiny sizes.
Y4mHeader ParseY4mHeader(std::string_view line, const std::string& source);
// The header line with its newline; W and H come first, then `params`.
std::string FormatY4mHeader(const Y4mHeader& header);

// Pointers to the three planes of one frame, in the roles of the stream.
struct PlanePointers {
    uint8_t* y;
    uint8_t* u;
    uint8_t* v;
};

class Y4mReader {
public:
    // Reads and checks the header at once. `file` stays owned by the caller.
    Y4mReader(std::FILE* file, std::string name);

    const Y4mHeader& header() const { return header_; }
    const std::string& name() const { return name_; }
    int framesRead() const { return framesRead_; }

    // Reads the next frame into the three planes. Answers false at a clean end
    // of the stream; a frame cut short or a bad frame marker is an error.
    bool ReadFrame(const PlanePointers& planes);

private:
    std::string ReadLine(const char* what, size_t limit, bool* cleanEnd);
    void ReadExactly(uint8_t* to, size_t bytes, size_t frameOffset);

    std::FILE* file_;
    std::string name_;
    Y4mHeader header_;
    int framesRead_ = 0;
};

class Y4mWriter {
public:
    // Writes the header at once.
    Y4mWriter(std::FILE* file, const Y4mHeader& header, std::string name);

    void WriteFrame(const uint8_t* y, const uint8_t* u, const uint8_t* v);
    int framesWritten() const { return framesWritten_; }

private:
    void Write(const void* data, size_t bytes);

    std::FILE* file_;
    Y4mHeader header_;
    std::string name_;
    int framesWritten_ = 0;
};

}  // namespace tarnsurf
