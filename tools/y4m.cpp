// YUV4MPEG2 header parsing and frame transfer. Frames are Y, then U, then V,
// each plane tightly packed; the frame marker line may carry parameters, which
// are skipped on reading and never written.
#include "y4m.h"

#include "tool_error.h"

#include <array>
#include <charconv>

namespace tarnsurf {
namespace {

constexpr std::string_view kMagic = "YUV4MPEG2";
constexpr std::string_view kFrameMarker = "FRAME";
constexpr size_t kMaxHeaderLine = 4096;
constexpr size_t kMaxFrameLine = 1024;

// The C values that mean 8-bit 4:2:0; they differ only in where chroma is
// sited, which does not change the bytes.
constexpr std::array<std::string_view, 4> kPlanar420 = {"420jpeg", "420paldv", "420mpeg2", "420"};

int ParseSide(std::string_view digits, char tag, const std::string& source) {
    int value = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (ec != std::errc() || end != digits.data() + digits.size() || value <= 0)
        Fail(source, std::string("bad ") + tag + " parameter '" + std::string(digits) + "' in the YUV4MPEG2 header");
    return value;
}

}  // namespace

std::string Y4mHeader::Param(char tag) const {
    for (const std::string& p : params)
        if (!p.empty() && p[0] == tag) return p.substr(1);
    return {};
}

Y4mHeader ParseY4mHeader(std::string_view line, const std::string& source) {
    if (line.substr(0, kMagic.size()) != kMagic || (line.size() > kMagic.size() && line[kMagic.size()] != ' '))
        Fail(source, "not a YUV4MPEG2 stream (the first line does not start with YUV4MPEG2)");
    Y4mHeader header;
    std::string_view rest = line.substr(kMagic.size());
    while (!rest.empty()) {
        const size_t space = rest.find(' ');
        const std::string_view token = rest.substr(0, space);
        rest = space == std::string_view::npos ? std::string_view() : rest.substr(space + 1);
        if (token.empty()) continue;
        if (token[0] == 'W')
            header.width = ParseSide(token.substr(1), 'W', source);
        else if (token[0] == 'H')
            header.height = ParseSide(token.substr(1), 'H', source);
        else
            header.params.emplace_back(token);
    }
    if (header.width == 0 || header.height == 0)
        Fail(source, "the YUV4MPEG2 header has no frame size (W and H parameters)");
    const std::string colour = header.Param('C');
    bool planar420 = colour.empty();  // a stream without C is 4:2:0 by definition
    for (std::string_view accepted : kPlanar420) planar420 = planar420 || colour == accepted;
    if (!planar420)
        Fail(source, "colour space C" + colour +
                         " is not 8-bit 4:2:0; only 4:2:0 streams are read (ffmpeg: -pix_fmt yuv420p)");
    const std::string size = std::to_string(header.width) + "x" + std::to_string(header.height);
    if (header.width > kMaxY4mSide || header.height > kMaxY4mSide)
        Fail(source, "frame size " + size + " is larger than " + std::to_string(kMaxY4mSide));
    if (header.width < 4 || header.height < 4)
        Fail(source, "frame size " + size + " is too small; frames are at least 4x4");
    if ((header.width | header.height) & 1)
        Fail(source, "frame size " + size + " is odd; 4:2:0 frames need an even width and height");
    return header;
}

std::string FormatY4mHeader(const Y4mHeader& header) {
    std::string line = std::string(kMagic) + " W" + std::to_string(header.width) + " H" + std::to_string(header.height);
    for (const std::string& p : header.params) line += " " + p;
    return line + "\n";
}

Y4mReader::Y4mReader(std::FILE* file, std::string name) : file_(file), name_(std::move(name)) {
    bool cleanEnd = false;
    const std::string line = ReadLine("header", kMaxHeaderLine, &cleanEnd);
    if (cleanEnd) Fail(name_, "empty input: no YUV4MPEG2 header");
    header_ = ParseY4mHeader(line, name_);
}

std::string Y4mReader::ReadLine(const char* what, size_t limit, bool* cleanEnd) {
    std::string line;
    for (;;) {
        const int c = std::fgetc(file_);
        if (c == EOF) {
            if (std::ferror(file_)) Fail(name_, std::string("read error in the ") + what);
            *cleanEnd = line.empty();
            // Before the header is parsed its width is still 0.
            const std::string after = header_.width ? " after frame " + std::to_string(framesRead_) : "";
            if (!*cleanEnd) Fail(name_, std::string("stream ends inside the ") + what + " line" + after);
            return line;
        }
        if (c == '\n') return line;
        if (line.size() >= limit) Fail(name_, std::string(what) + " line is too long; the stream is corrupt");
        line.push_back(static_cast<char>(c));
    }
}

bool Y4mReader::ReadFrame(const PlanePointers& planes) {
    bool cleanEnd = false;
    const std::string line = ReadLine("frame marker", kMaxFrameLine, &cleanEnd);
    if (cleanEnd) return false;
    const int number = framesRead_ + 1;
    if (line.compare(0, kFrameMarker.size(), kFrameMarker) != 0 ||
        (line.size() > kFrameMarker.size() && line[kFrameMarker.size()] != ' '))
        Fail(name_, "frame " + std::to_string(number) + " does not start with FRAME; the stream is corrupt");
    ReadExactly(planes.y, header_.LumaBytes(), 0);
    ReadExactly(planes.u, header_.ChromaBytes(), header_.LumaBytes());
    ReadExactly(planes.v, header_.ChromaBytes(), header_.LumaBytes() + header_.ChromaBytes());
    ++framesRead_;
    return true;
}

void Y4mReader::ReadExactly(uint8_t* to, size_t bytes, size_t frameOffset) {
    const size_t got = std::fread(to, 1, bytes, file_);
    if (got == bytes) return;
    if (std::ferror(file_)) Fail(name_, "read error in frame " + std::to_string(framesRead_ + 1));
    Fail(name_, "truncated: frame " + std::to_string(framesRead_ + 1) + " has " +
                    std::to_string(frameOffset + got) + " of " + std::to_string(header_.FrameBytes()) + " bytes");
}

Y4mWriter::Y4mWriter(std::FILE* file, const Y4mHeader& header, std::string name)
    : file_(file), header_(header), name_(std::move(name)) {
    const std::string line = FormatY4mHeader(header_);
    Write(line.data(), line.size());
}

void Y4mWriter::WriteFrame(const uint8_t* y, const uint8_t* u, const uint8_t* v) {
    static constexpr char kMarkerLine[] = "FRAME\n";
    Write(kMarkerLine, sizeof kMarkerLine - 1);
    Write(y, header_.LumaBytes());
    Write(u, header_.ChromaBytes());
    Write(v, header_.ChromaBytes());
    ++framesWritten_;
}

void Y4mWriter::Write(const void* data, size_t bytes) {
    if (std::fwrite(data, 1, bytes, file_) != bytes)
        Fail(name_, "write error after " + std::to_string(framesWritten_) + " frames (disk full or pipe closed?)");
}

}  // namespace tarnsurf
