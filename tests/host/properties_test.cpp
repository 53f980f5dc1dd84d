// Properties of a surface and the fit rectangle.
#include "host_support.h"

namespace {

using host::Blank;
using host::Describe;

TEST(Properties, DefaultsOfANewSurface) {
    auto s = Blank(Describe(SURFACE_FORMAT_RGB32, 8, 8));
    host::ExpectOverlayDefaults(s.get());
    int32_t x = 1, y = 1;
    s->GetAspect(&x, &y);
    VedRect dest{1, 1, 1, 1}, source{1, 1, 1, 1};
    s->GetDestRect(&dest);
    s->GetSourceRect(&source);
    EXPECT_EQ(std::vector<int32_t>({x, y, dest.left, dest.top, dest.right, dest.bottom, source.left, source.top,
                                    source.right, source.bottom}),
              std::vector<int32_t>(10, 0));
    ITarnSurface* mask = reinterpret_cast<ITarnSurface*>(0x1);
    EXPECT_EQ(s->GetMask(&mask), VED_E_FAIL);
    EXPECT_EQ(mask, nullptr);
    EXPECT_EQ(s->GetInfo(nullptr), VED_E_INVALIDARG);
}

TEST(Properties, RefusalsLeaveTheValueAlone) {
    auto s = Blank(Describe(SURFACE_FORMAT_RGB24, 20, 10));
    uint32_t alpha = 0;
    EXPECT_EQ(s->SetAlpha(256), VED_S_OK);
    EXPECT_EQ(s->SetAlpha(257), VED_E_INVALIDARG);
    s->GetAlpha(&alpha);
    EXPECT_EQ(alpha, 256u);

    EXPECT_EQ(s->SetAspect(16, 9), VED_S_OK);
    EXPECT_EQ(s->SetAspect(-1, 9), VED_E_INVALIDARG);
    int32_t x = 0, y = 0;
    s->GetAspect(&x, &y);
    EXPECT_EQ(x, 16);
    EXPECT_EQ(s->SetAspect(0, 0), VED_S_OK);  // clears the correction

    struct RectCase {
        int32_t l, t, r, b;
        VedResult source, dest;
    };
    const RectCase cases[] = {
        {0, 0, 20, 10, VED_S_OK, VED_S_OK},
        {0, 0, 21, 10, VED_E_INVALIDARG, VED_S_OK},          // right past the width
        {0, 0, 20, 11, VED_E_INVALIDARG, VED_S_OK},          // bottom past the height
        {0, 0, -1, 10, VED_E_INVALIDARG, VED_S_OK},          // negative right is huge unsigned
        {-1, 0, 5, 5, VED_E_INVALIDARG, VED_E_INVALIDARG},   // negative left
        {0, -1, 5, 5, VED_E_INVALIDARG, VED_E_INVALIDARG},   // negative top
        {15, 8, 5, 2, VED_S_OK, VED_S_OK},                   // order is not tested
        {0, 0, 5000, 5000, VED_E_INVALIDARG, VED_S_OK},      // the target is unknown here
    };
    for (const RectCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.l << "," << c.t << "," << c.r << "," << c.b);
        // A rectangle accepted is stored as given; a refused one changes nothing.
        const auto check = [&](VedResult expected, auto set, auto get) {
            VedRect before{}, after{};
            get(&before);
            EXPECT_EQ(set(), expected);
            get(&after);
            const VedRect want = expected == VED_S_OK ? VedRect{c.l, c.t, c.r, c.b} : before;
            EXPECT_EQ(0, std::memcmp(&want, &after, sizeof after));
        };
        check(c.source, [&] { return s->SetSourceRect(c.l, c.t, c.r, c.b); }, [&](VedRect* r) { s->GetSourceRect(r); });
        check(c.dest, [&] { return s->SetDestRect(c.l, c.t, c.r, c.b); }, [&](VedRect* r) { s->GetDestRect(r); });
    }
}

TEST(Properties, FlattenInPlaceAndBackColorAreStoredAsGiven) {
    auto s = Blank(Describe(SURFACE_FORMAT_YUV420, 8, 8));
    uint32_t v = 9;
    s->GetFlattenInPlace(&v);
    EXPECT_EQ(v, 0u);
    s->SetFlattenInPlace(7);
    s->GetFlattenInPlace(&v);
    EXPECT_EQ(v, 7u);
    EXPECT_EQ(host::InfoOf(s.get()).flattenInPlace, 7u);
    s->SetBackColor(0x00123456);
    s->GetBackColor(&v);
    EXPECT_EQ(v, 0x00123456u);
    EXPECT_EQ(s->SetOwnership(1), 1u);
}

TEST(Properties, MaskHoldsOneReferenceAndIsReplaced) {
    auto s = Blank(Describe(SURFACE_FORMAT_YUV420, 8, 8));
    auto first = Blank(Describe(SURFACE_FORMAT_GRAY8, 8, 8));
    auto second = Blank(Describe(SURFACE_FORMAT_GRAY8, 8, 8));
    EXPECT_EQ(s->SetMask(nullptr), VED_E_INVALIDARG);
    EXPECT_EQ(s->SetMask(first.get()), VED_S_OK);
    EXPECT_EQ(host::RefCount(first.get()), 2u);
    ITarnSurface* got = nullptr;
    EXPECT_EQ(s->GetMask(&got), VED_S_OK);
    EXPECT_EQ(got, first.get());
    EXPECT_EQ(host::RefCount(first.get()), 3u);  // the answer carries a reference
    got->Release();
    EXPECT_EQ(s->SetMask(second.get()), VED_S_OK);
    EXPECT_EQ(host::RefCount(first.get()), 1u);
    EXPECT_EQ(host::RefCount(second.get()), 2u);
    s.reset();
    EXPECT_EQ(host::RefCount(second.get()), 1u);  // released with the surface
}

struct FitCase {
    uint32_t width, height;
    int32_t aspectX, aspectY, targetWidth, targetHeight;
    VedRect expected;  // -99 where the field must stay as the caller set it
};

TEST(ComputeFitRect, CentresThePictureAndWritesOnlyThreeSides) {
    const FitCase cases[] = {
        // 4:3 into 16:9: fills the height; w = 4/3 x 720 = 960, left (1280 - 960) / 2.
        {640, 480, 0, 0, 1280, 720, {160, -99, 1120, 720}},
        // 16:9 into 4:3: fills the width; h = 640 / (16/9) = 360, top (480 - 360) / 2.
        {1280, 720, 0, 0, 640, 480, {-99, 60, 640, 420}},
        // Same shape: not above R, so the width branch, h = 720.
        {640, 360, 0, 0, 1280, 720, {-99, 0, 1280, 720}},
        // 720 x 576 shown as 16:9: W / 16 = 45 > 576 / 9 = 64? no: H becomes 9 x 720 / 16 = 405.
        // R = 720 / 405 = 1.777..; 1920 / 1080 is not above R, so h = 1920 / R = 1080.
        {720, 576, 16, 9, 1920, 1080, {-99, 0, 1920, 1080}},
        // 720 x 576 shown as 4:3 into 1920 x 1080: W / 4 = 180 > 576 / 3 = 192? no:
        // H = 3 x 720 / 4 = 540, R = 4/3, w = 1440, left 240.
        {720, 576, 4, 3, 1920, 1080, {240, -99, 1680, 1080}},
        // 400 x 100 shown as 2:1: 400 / 2 = 200 > 100 / 1 = 100, so W = 2 x 100 / 1 = 200.
        // R = 2, target 100 x 100: h = 50, top 25.
        {400, 100, 2, 1, 100, 100, {-99, 25, 100, 75}},
        // Odd leftovers: both the fitted side and its offset are truncated.
        // h = 101 / (4/3) = 75.75 -> 75, top (100 - 75) / 2 = 12.5 -> 12.
        {640, 480, 0, 0, 101, 100, {-99, 12, 101, 87}},
        // w = 4/3 x 61 = 81.33 -> 81, left (100 - 81) / 2 = 9.5 -> 9.
        {640, 480, 0, 0, 100, 61, {9, -99, 90, 61}},
        // The shape already matches the aspect within 0.000001: nothing corrected.
        {1000, 1000, 2000001, 2000000, 300, 100, {100, -99, 200, 100}},
    };
    for (const FitCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << " aspect " << c.aspectX
                                        << ":" << c.aspectY << " into " << c.targetWidth << "x"
                                        << c.targetHeight);
        auto s = Blank(Describe(SURFACE_FORMAT_RGB32, c.width, c.height));
        ASSERT_EQ(s->SetAspect(c.aspectX, c.aspectY), VED_S_OK);
        VedRect r{-99, -99, -99, -99};
        s->ComputeFitRect(c.targetWidth, c.targetHeight, &r);
        EXPECT_EQ(std::vector<int32_t>({r.left, r.top, r.right, r.bottom}),
                  std::vector<int32_t>({c.expected.left, c.expected.top, c.expected.right, c.expected.bottom}));
    }
}

}  // namespace
