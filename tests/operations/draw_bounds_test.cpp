// Rectangles anywhere, extremes included, through Fill, DrawToSurface and
// DrawToBuffer on every format and row order: the answer is one of the
// operation's codes, and no byte outside the buffers is touched (the
// sanitizers watch the surfaces; the caller's buffer carries a canary tail).
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <vector>

#include "blank_surface.h"

namespace tarn {
namespace {

using namespace testing_blank;

constexpr int32_t kEdges[] = {INT32_MIN, -3, -1, 0, 1, 2, 3, 5, 7, 8, 9, 12, INT32_MAX};

VedRect RandomRect(std::mt19937& rng) {
    auto pick = [&] { return kEdges[rng() % (sizeof(kEdges) / sizeof(kEdges[0]))]; };
    return {pick(), pick(), pick(), pick()};
}

bool Allowed(VedResult r) {
    return r == VED_S_OK || r == VED_E_INVALIDARG || r == VED_E_NOTSUPPORTED;
}

struct Kind {
    SurfaceFormat format;
    uint32_t topDown;
    uint32_t width, height;  // of the target; the source is 8 x 6
};
constexpr Kind kKinds[] = {{SURFACE_FORMAT_RGB24, 1, 8, 8}, {SURFACE_FORMAT_RGB24, 0, 9, 7},
                           {SURFACE_FORMAT_RGB32, 0, 8, 8}, {SURFACE_FORMAT_GRAY8, 1, 8, 8},
                           {SURFACE_FORMAT_YUV420, 1, 8, 8}, {SURFACE_FORMAT_YUV420, 1, 7, 9},
                           {SURFACE_FORMAT_YUV422, 1, 8, 8}};

TEST(RectangleBounds, AnyRectangleAnswersWithoutStrayWrites) {
    std::mt19937 rng(5);
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(testing::Message() << kind.format << "/" << kind.topDown);
        Ref<ITarnSurface> target = MakeBlank(kind.format, kind.width, kind.height, kind.topDown);
        Ref<ITarnSurface> source = MakeBlank(kind.format, 8, 6, kind.topDown);
        for (int i = 0; i < 3000; ++i) {
            VedRect a = RandomRect(rng), b = RandomRect(rng);
            VedRect fillRect = a;
            ASSERT_TRUE(Allowed(target->Fill(&fillRect, 0x123456)));
            VedRect dest = a, from = b;
            ASSERT_TRUE(Allowed(target->DrawToSurface(&dest, source.get(), &from, i % 3)));
            // A caller's buffer of 6 x 5 pixels at the default stride, with
            // the documented 16 bytes of slack and a canary behind it.
            const int32_t bits = Buffer(target)->info.bitsPerPixel;
            const size_t rowBytes = kind.format == SURFACE_FORMAT_YUV420 ? 6 : size_t((bits * 6 + 31) / 32 * 4);
            const size_t bytes = rowBytes * 5 * (kind.format == SURFACE_FORMAT_YUV420 ? 2 : 1) + 16;
            std::vector<uint8_t> out(bytes + 32, 0xCD);
            VedRect s2 = b, d2 = a;
            ASSERT_TRUE(Allowed(target->DrawToBuffer(&s2, &d2, out.data(), 6, 5, 0, i % 3)));
            for (size_t k = bytes; k < out.size(); ++k) ASSERT_EQ(out[k], 0xCD) << k;
        }
    }
}

// Quality is handed on unchecked, except that the plane-only and unknown
// modes, which leave the tables of 3- and 4-byte pixels unfilled, are refused
// for those pixels; no mode takes any format's resize or draw outside its
// buffers.
TEST(RectangleBounds, AnyQualityOnEveryFormat) {
    const int32_t qualities[] = {0, 1, 2, 3, 4, 5, 6, 7, 0xFF00, 0xFF01, 0xFF02, -1};
    for (const Kind& kind : kKinds) {
        for (int32_t q : qualities) {
            SCOPED_TRACE(testing::Message() << kind.format << " quality " << q);
            Ref<ITarnSurface> s = MakeBlank(kind.format, kind.width, kind.height, kind.topDown);
            const bool wide = kind.format == SURFACE_FORMAT_RGB24 || kind.format == SURFACE_FORMAT_RGB32;
            const bool tabled = !wide || uint32_t(q) <= SCALE_AREA;
            ASSERT_EQ(s->Resize(20, 11, q & 1, q), VED_S_OK);  // odd height: mode 5 pairs rows
            ASSERT_EQ(s->Flush(), tabled ? VED_S_OK : VED_E_INVALIDARG);
            Ref<ITarnSurface> t = MakeBlank(kind.format, 6, 6, kind.topDown);
            ASSERT_TRUE(Allowed(t->DrawToSurface(nullptr, s.get(), nullptr, q)));
        }
    }
}

}  // namespace
}  // namespace tarn
