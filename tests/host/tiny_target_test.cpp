// Targets of one pixel: a planar picture drawn into a 1 x 1 buffer has chroma
// planes of no size. Every mode must answer and leave the buffer's neighbours
// alone.
#include "host_support.h"

namespace {

TEST(TinyTarget, PlanarIntoOnePixelInEveryMode) {
    auto s = host::FromData(host::Describe(SURFACE_FORMAT_YUV420, 16, 16), host::Ramp(16 * 16 * 3 / 2));
    for (int32_t mode : {0, 1, 2, 3, 4, 5, 6, 0xFF00, 0xFF01, 0xFF02}) {
        std::vector<uint8_t> buffer(64, 0xCD);
        EXPECT_EQ(s->DrawToBuffer(nullptr, nullptr, buffer.data() + 16, 1, 1, 0, mode), VED_S_OK)
            << "mode " << mode;
        for (int i = 0; i < 16; ++i) ASSERT_EQ(buffer[i], 0xCD) << "mode " << mode;
    }
}

}  // namespace
