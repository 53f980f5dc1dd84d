// Planes scaled together, their axis tables built once, give the bytes of
// each plane scaled on its own: every gray filter, shrinks and enlargements
// by odd sizes, padded and negative strides, canaries around each target.
#include <gtest/gtest.h>

#include <vector>

#include "scale/scale_gray.h"
#include "scale/scale_plan.h"
#include "scale_test_support.h"

namespace tarn {
namespace {

using test::Image;

struct Pair {
    Image source[2], target[2];
    Pair(uint32_t sw, uint32_t sh, uint32_t dw, uint32_t dh, int32_t pad)
        : source{Image(sw, sh, 1, pad), Image(sw, sh, 1, pad)}, target{Image(dw, dh, 1, pad), Image(dw, dh, 1, pad)} {
        uint32_t seed = sw * 131 + dh;
        for (Image& s : source)
            for (uint32_t y = 0; y < sh; ++y)
                for (uint32_t x = 0; x < sw; ++x) s.Set(x, y, uint8_t((seed = seed * 1103515245u + 12345u) >> 24));
    }
    // Plane i as a request; a negative stride starts at the last row.
    ScaleRequest Request(int i, AxisFilter filter, bool flip) {
        Image &s = source[i], &t = target[i];
        const int32_t sign = flip ? -1 : 1;
        const ScaleTarget to{flip ? t.at(0, t.height - 1) : t.base(), t.width, t.height, sign * t.stride, 1};
        const ScaleSource from{flip ? s.at(0, s.height - 1) : s.base(), s.width, s.height, sign * s.stride, 1};
        return {to, from, {double(s.width) / t.width, double(s.height) / t.height}, 0, PlanPlane(filter, to, from),
                ScaleBounds::Unchecked()};
    }
};

TEST(ScaleGrayPlanes, EqualEachPlaneScaledOnItsOwn) {
    struct Size {
        uint32_t sw, sh, dw, dh;
    };
    const Size sizes[] = {{96, 54, 48, 27}, {61, 37, 30, 18}, {37, 23, 61, 17}, {40, 30, 13, 9}, {64, 40, 96, 60}};
    for (const Size& z : sizes)
        for (AxisFilter filter : {AxisFilter::Nearest, AxisFilter::Bilinear, AxisFilter::FieldPairs})
            for (int32_t pad : {0, 7})
                for (bool flip : {false, true}) {
                    SCOPED_TRACE(testing::Message() << z.sw << "x" << z.sh << " to " << z.dw << "x" << z.dh
                                                    << " filter " << int(filter) << " pad " << pad << " flip " << flip);
                    Pair alone(z.sw, z.sh, z.dw, z.dh, pad), together(z.sw, z.sh, z.dw, z.dh, pad);
                    for (int i = 0; i < 2; ++i) ScaleGray(alone.Request(i, filter, flip));
                    const ScaleRequest both[2] = {together.Request(0, filter, flip), together.Request(1, filter, flip)};
                    ScaleGrayPlanes(both, 2);
                    for (int i = 0; i < 2; ++i) {
                        EXPECT_EQ(together.target[i].data, alone.target[i].data) << "plane " << i;
                        EXPECT_TRUE(together.target[i].TailIntact());
                    }
                }
}

}  // namespace
}  // namespace tarn
