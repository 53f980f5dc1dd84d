// Pictures at the ends of the size range. Shrinks by a factor of 16 or more
// take the exact box functions, whose fixed pitch table steps some runs wider
// than their pixels: on the last row such a run would reach past the buffer.
// A planar picture drawn into a 1 x 1 buffer has chroma planes of no size.
// Each case must answer success and stay inside every buffer (the sanitizer
// build checks each access; canaries check the caller's buffer).
#include "host_support.h"

namespace {

using host::Describe;

TEST(LargeShrink, StaysInsideEveryBufferForEachPixelSizePair) {
    const SurfaceFormat rgb[] = {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_RGB32};
    for (SurfaceFormat targetFormat : rgb)
        for (SurfaceFormat sourceFormat : rgb)
            for (int mode : {SCALE_BOX, SCALE_BOX_FADE, SCALE_AREA}) {
                SCOPED_TRACE(testing::Message() << "target " << targetFormat << " source "
                                                << sourceFormat << " mode " << mode);
                const SurfaceInfo sourceInfo = Describe(sourceFormat, 1600, 64);
                auto source = host::FromData(sourceInfo, host::Ramp(size_t(sourceInfo.stride) * 64));
                auto target = host::Blank(Describe(targetFormat, 100, 4));
                EXPECT_EQ(target->DrawToSurface(nullptr, source.get(), nullptr, mode), VED_S_OK);

                // The same shrink through the queue, into the surface and into
                // a caller's buffer (which a direct resize paints as planar).
                auto resized = host::FromData(sourceInfo, host::Ramp(size_t(sourceInfo.stride) * 64));
                ASSERT_EQ(resized->Resize(100, 4, 0, mode), VED_S_OK);
                const int32_t stride = 100 * host::BitsOf(sourceFormat) / 8;
                std::vector<uint8_t> out(size_t(stride) * 4 * 3 / 2);
                EXPECT_EQ(resized->CopyOut(out.data(), stride, 1), VED_S_OK);
                EXPECT_EQ(resized->Flush(), VED_S_OK);
                std::vector<uint8_t> drawn(size_t(stride) * 4 + 16);
                EXPECT_EQ(source->DrawToBuffer(nullptr, nullptr, drawn.data(), 100, 4, stride, mode),
                          VED_S_OK);
            }
}

TEST(TinyTarget, PlanarIntoOnePixelInEveryMode) {
    auto s = host::FromData(Describe(SURFACE_FORMAT_YUV420, 16, 16), host::Ramp(16 * 16 * 3 / 2));
    for (int32_t mode : {0, 1, 2, 3, 4, 5, 6, 0xFF00, 0xFF01, 0xFF02}) {
        std::vector<uint8_t> buffer(64, 0xCD);
        EXPECT_EQ(s->DrawToBuffer(nullptr, nullptr, buffer.data() + 16, 1, 1, 0, mode), VED_S_OK)
            << "mode " << mode;
        for (int i = 0; i < 16; ++i) ASSERT_EQ(buffer[i], 0xCD) << "mode " << mode;
    }
}

}  // namespace
