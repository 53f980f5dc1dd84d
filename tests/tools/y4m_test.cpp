// YUV4MPEG2 header grammar, frame round trips, and the refusals of streams
// that are cut short, corrupt, or not 8-bit 4:2:0.
#include "y4m.h"

#include "tools_support.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace tarnsurf {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File StreamOf(const std::string& bytes) {
    File f(std::tmpfile(), &std::fclose);
    std::fwrite(bytes.data(), 1, bytes.size(), f.get());
    std::rewind(f.get());
    return f;
}

std::string Contents(std::FILE* f) {
    std::rewind(f);
    std::string s;
    for (int c; (c = std::fgetc(f)) != EOF;) s.push_back(char(c));
    return s;
}

TEST(Y4mHeader, KeepsEveryParameterInOrder) {
    const std::string line = "YUV4MPEG2 W320 H240 F30000:1001 It A128:117 C420mpeg2 XYSCSS=420MPEG2";
    const Y4mHeader h = ParseY4mHeader(line, "in.y4m");
    EXPECT_EQ(h.width, 320);
    EXPECT_EQ(h.height, 240);
    EXPECT_EQ(h.Param('F'), "30000:1001");
    EXPECT_EQ(h.Param('C'), "420mpeg2");
    EXPECT_EQ(h.FrameBytes(), 320u * 240u * 3 / 2);
    EXPECT_EQ(FormatY4mHeader(h), line + "\n");
}

TEST(Y4mHeader, AcceptsEveryForm420AndAMissingColourSpace) {
    for (const char* c : {"", " C420jpeg", " C420paldv", " C420mpeg2", " C420"}) {
        const std::string line = std::string("YUV4MPEG2 H8 W6") + c;
        const Y4mHeader h = ParseY4mHeader(line, "in.y4m");
        EXPECT_EQ(h.width, 6) << line;
        EXPECT_EQ(h.height, 8) << line;
        // W and H are written first whatever their order was.
        EXPECT_EQ(FormatY4mHeader(h), std::string("YUV4MPEG2 W6 H8") + c + "\n");
    }
}

TEST(Y4mHeader, RefusesWithTheStreamNameAndTheProblem) {
    const struct {
        const char* line;
        const char* problem;
    } cases[] = {
        {"YUV4MPEG W320 H240", "not a YUV4MPEG2 stream"},
        {"YUV4MPEG2W320 H240", "not a YUV4MPEG2 stream"},
        {"P5 320 240", "not a YUV4MPEG2 stream"},
        {"YUV4MPEG2 H240 F25:1", "no frame size"},
        {"YUV4MPEG2 W320", "no frame size"},
        {"YUV4MPEG2 Wabc H240", "bad W parameter 'abc'"},
        {"YUV4MPEG2 W320 H-2", "bad H parameter"},
        {"YUV4MPEG2 W0 H240", "bad W parameter"},
        {"YUV4MPEG2 W320 H240 C422", "C422 is not 8-bit 4:2:0"},
        {"YUV4MPEG2 W320 H240 C444", "C444 is not 8-bit 4:2:0"},
        {"YUV4MPEG2 W320 H240 Cmono", "Cmono is not 8-bit 4:2:0"},
        {"YUV4MPEG2 W320 H240 C420p10", "C420p10 is not 8-bit 4:2:0"},
        {"YUV4MPEG2 W321 H240", "321x240 is odd"},
        {"YUV4MPEG2 W320 H241", "320x241 is odd"},
        {"YUV4MPEG2 W2 H2", "too small"},
        {"YUV4MPEG2 W20000 H240", "larger than 16384"},
    };
    for (const auto& c : cases) {
        const std::string message = ErrorOf([&] { ParseY4mHeader(c.line, "clip.y4m"); });
        EXPECT_EQ(message.rfind("clip.y4m: ", 0), 0u) << c.line << " -> " << message;
        EXPECT_NE(message.find(c.problem), std::string::npos) << c.line << " -> " << message;
    }
}

// A 6x4 stream of three frames whose planes hold distinct values.
struct SmallStream {
    static constexpr int kW = 6, kH = 4;
    std::vector<std::vector<uint8_t>> y, u, v;

    SmallStream() {
        for (int f = 0; f < 3; ++f) {
            y.emplace_back(kW * kH);
            u.emplace_back(kW * kH / 4);
            v.emplace_back(kW * kH / 4);
            for (size_t i = 0; i < y[f].size(); ++i) y[f][i] = uint8_t(16 + 10 * f + i);
            for (size_t i = 0; i < u[f].size(); ++i) u[f][i] = uint8_t(100 + 10 * f + i);
            for (size_t i = 0; i < v[f].size(); ++i) v[f][i] = uint8_t(200 + 10 * f + i);
        }
    }
    std::string Bytes() const {
        File f(std::tmpfile(), &std::fclose);
        Y4mWriter writer(f.get(), ParseY4mHeader("YUV4MPEG2 W6 H4 F25:1 C420jpeg", "t"), "t");
        for (int i = 0; i < 3; ++i) writer.WriteFrame(y[i].data(), u[i].data(), v[i].data());
        EXPECT_EQ(writer.framesWritten(), 3);
        return Contents(f.get());
    }
};

// The writer lays out the header, a marker per frame and the planes in stream
// order; the reader gives back every frame into the planes it is handed.
TEST(Y4mStream, FramesGoOutInStreamOrderAndComeBackIntoTheCallersPlanes) {
    const SmallStream s;
    const std::string bytes = s.Bytes();
    const std::string header = "YUV4MPEG2 W6 H4 F25:1 C420jpeg\n";
    const size_t frame = 6 + 24 + 6 + 6;
    ASSERT_EQ(bytes.size(), header.size() + 3 * frame);
    EXPECT_EQ(bytes.substr(0, header.size()), header);
    const size_t second = header.size() + frame;
    EXPECT_EQ(bytes.substr(second, 6), "FRAME\n");
    EXPECT_EQ(uint8_t(bytes[second + 6]), s.y[1][0]);
    EXPECT_EQ(uint8_t(bytes[second + 6 + 24]), s.u[1][0]);  // U before V
    EXPECT_EQ(uint8_t(bytes[second + 6 + 30]), s.v[1][0]);

    File f = StreamOf(bytes);
    Y4mReader reader(f.get(), "t.y4m");
    EXPECT_EQ(reader.header().width, 6);
    std::vector<uint8_t> y(24), u(6), v(6);
    for (int i = 0; i < 3; ++i) {
        // The reader puts U and V wherever it is told: here swapped on purpose.
        ASSERT_TRUE(reader.ReadFrame({y.data(), v.data(), u.data()}));
        EXPECT_EQ(y, s.y[i]);
        EXPECT_EQ(v, s.u[i]);
        EXPECT_EQ(u, s.v[i]);
    }
    EXPECT_FALSE(reader.ReadFrame({y.data(), u.data(), v.data()}));
    EXPECT_EQ(reader.framesRead(), 3);
}

TEST(Y4mStream, SkipsParametersOfAFrameMarker) {
    std::string bytes = "YUV4MPEG2 W4 H4\nFRAME Ip XA=1\n" + std::string(24, '\x51');
    File f = StreamOf(bytes);
    Y4mReader reader(f.get(), "t.y4m");
    std::vector<uint8_t> y(16), u(4), v(4);
    ASSERT_TRUE(reader.ReadFrame({y.data(), u.data(), v.data()}));
    EXPECT_EQ(v[3], 0x51);
}

TEST(Y4mStream, RefusesStreamsCutShortOrCorrupt) {
    const std::string good = SmallStream().Bytes();
    const size_t header = std::string("YUV4MPEG2 W6 H4 F25:1 C420jpeg\n").size();
    const size_t frame = 6 + 36;
    const struct {
        std::string bytes;
        const char* problem;
    } cases[] = {
        {"", "empty input"},
        {"YUV4MPEG2 W6 H4", "ends inside the header"},
        {good.substr(0, good.size() - 1), "truncated: frame 3 has 35 of 36 bytes"},
        {good.substr(0, header + frame + 10), "truncated: frame 2 has 4 of 36 bytes"},
        {good.substr(0, header + 2 * frame + 3), "ends inside the frame marker line after frame 2"},
        {good.substr(0, header + frame) + "FRAMX\n" + good.substr(header + frame + 6), "frame 2 does not start with FRAME"},
        {good.substr(0, header) + "FRAMES\n", "frame 1 does not start with FRAME"},
    };
    for (const auto& c : cases) {
        const std::string message = ErrorOf([&] {
            File f = StreamOf(c.bytes);
            Y4mReader reader(f.get(), "cut.y4m");
            std::vector<uint8_t> y(24), u(6), v(6);
            while (reader.ReadFrame({y.data(), u.data(), v.data()})) {
            }
        });
        EXPECT_EQ(message.rfind("cut.y4m: ", 0), 0u) << message;
        EXPECT_NE(message.find(c.problem), std::string::npos)
            << "expected '" << c.problem << "', got '" << message << "'";
    }
}

}  // namespace
}  // namespace tarnsurf
