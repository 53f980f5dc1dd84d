// The overlay list: order, moves, lookups and the references entries hold.
#include "host_support.h"

namespace {

using host::RefCount;

struct ListTest : testing::Test {
    tarn::Ref<ITarnSurface> frame = host::Blank(host::Describe(SURFACE_FORMAT_YUV420, 16, 16));
    tarn::Ref<ITarnSurface> a = host::Blank(host::Describe(SURFACE_FORMAT_YUV420, 8, 8));
    tarn::Ref<ITarnSurface> b = host::Blank(host::Describe(SURFACE_FORMAT_YUV420, 8, 8));
    tarn::Ref<ITarnSurface> c = host::Blank(host::Describe(SURFACE_FORMAT_YUV420, 8, 8));

    std::vector<ITarnSurface*> Order() {
        std::vector<ITarnSurface*> out;
        for (int32_t i = 0; i < frame->GetOverlayCount(); ++i) {
            ITarnSurface* s = frame->GetOverlay(i);
            out.push_back(s);
            s->Release();
        }
        return out;
    }
};

TEST_F(ListTest, EmptyListAnswers) {
    EXPECT_EQ(frame->GetOverlayCount(), 0);
    EXPECT_EQ(frame->GetOverlay(0), nullptr);
    EXPECT_EQ(frame->GetOverlay(-1), nullptr);
    EXPECT_EQ(frame->FindOverlay(a.get()), -1);
    EXPECT_EQ(frame->FindOverlay(nullptr), -1);
    EXPECT_EQ(frame->AddOverlay(nullptr), VED_E_INVALIDARG);
    EXPECT_EQ(frame->RemoveOverlay(0), VED_E_INVALIDARG);
    EXPECT_EQ(frame->MoveOverlay(a.get(), 0), VED_E_FAIL);
    EXPECT_EQ(frame->MoveOverlay(nullptr, 0), VED_E_INVALIDARG);
    EXPECT_EQ(frame->MoveOverlay(a.get(), -1), VED_E_INVALIDARG);
}

TEST_F(ListTest, MovesCountInTheListWithoutTheEntry) {
    ASSERT_EQ(frame->AddOverlay(a.get()), VED_S_OK);
    ASSERT_EQ(frame->AddOverlay(b.get()), VED_S_OK);
    EXPECT_EQ(frame->FindOverlay(b.get()), 1);
    EXPECT_EQ(frame->MoveOverlay(b.get(), 0), VED_S_OK);
    EXPECT_EQ(frame->FindOverlay(b.get()), 0);
    EXPECT_EQ(frame->FindOverlay(a.get()), 1);

    ASSERT_EQ(frame->AddOverlay(c.get()), VED_S_OK);  // b, a, c
    struct Move {
        ITarnSurface* who;
        int32_t to;
        std::vector<ITarnSurface*> after;
    };
    const Move moves[] = {
        {b.get(), 100, {a.get(), c.get(), b.get()}},  // beyond the end: last
        {b.get(), 2, {a.get(), c.get(), b.get()}},    // its own index: nothing changes
        {a.get(), 1, {c.get(), a.get(), b.get()}},    // after removal c, b; insert before b
        {b.get(), 0, {b.get(), c.get(), a.get()}},
        {b.get(), 1, {c.get(), b.get(), a.get()}},
    };
    for (const Move& m : moves) {
        EXPECT_EQ(frame->MoveOverlay(m.who, m.to), VED_S_OK);
        EXPECT_EQ(Order(), m.after);
    }
    EXPECT_EQ(RefCount(a.get()), 2u);  // moving keeps exactly one list reference
}

TEST_F(ListTest, EntriesHoldReferencesAndDuplicatesAreSeparate) {
    frame->AddOverlay(a.get());
    frame->AddOverlay(a.get());
    EXPECT_EQ(frame->GetOverlayCount(), 2);
    EXPECT_EQ(RefCount(a.get()), 3u);
    ITarnSurface* got = frame->GetOverlay(1);
    EXPECT_EQ(got, a.get());
    EXPECT_EQ(RefCount(a.get()), 4u);  // each GetOverlay takes one for the caller
    got->Release();
    EXPECT_EQ(frame->MoveOverlay(a.get(), 5), VED_S_OK);  // moves the first of the two
    EXPECT_EQ(frame->RemoveOverlay(2), VED_E_INVALIDARG);
    EXPECT_EQ(frame->RemoveOverlay(0), VED_S_OK);
    EXPECT_EQ(frame->GetOverlayCount(), 1);
    EXPECT_EQ(RefCount(a.get()), 2u);
    frame.reset();  // the surface's end releases what its list holds
    EXPECT_EQ(RefCount(a.get()), 1u);
}

}  // namespace
