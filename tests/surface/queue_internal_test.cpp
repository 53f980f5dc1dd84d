// The queue's direct output and the lists' length limit, seen from inside
// the surface.
#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "operations/blank_surface.h"
#include "surface/bounded_list.h"

namespace {

using namespace tarn;

// An 8 x 8 RGB32 surface seen from inside.
class Rgb32Surface : public ::testing::Test {
protected:
    Ref<ITarnSurface> keep = testing_blank::MakeBlank(SURFACE_FORMAT_RGB32, 8, 8);
    CTarnSurfaceBuffer* s = testing_blank::Buffer(keep);
};

TEST_F(Rgb32Surface, DirectOutputStartsUnsetAndIsClearedByASuccessfulCopyOut) {
    EXPECT_FALSE(s->directOutput);
    std::vector<uint8_t> out(8 * 8 * 4);
    // An empty queue: copied out as it is, never directed.
    ASSERT_EQ(s->CopyOut(out.data(), 32, 1), VED_S_OK);
    EXPECT_FALSE(s->directOutput);
    // One record that runs: directed at the caller's memory, then cleared.
    s->SetFormat(SURFACE_FORMAT_RGB32);
    ASSERT_EQ(s->CopyOut(out.data(), 32, 1), VED_S_OK);
    EXPECT_FALSE(s->directOutput);
    EXPECT_TRUE(s->operations.empty());
}

TEST_F(Rgb32Surface, DirectOutputAFailureBeforeTheLastRecordKeepsItQueued) {
    std::vector<uint8_t> out(8 * 8 * 4);
    s->SetFormat(SurfaceFormat(99));
    s->SetFormat(SURFACE_FORMAT_RGB32);
    EXPECT_EQ(s->CopyOut(out.data(), 32, 0), VED_E_NOTSUPPORTED);
    EXPECT_EQ(s->operations.size(), 1u);  // the last record waits
    EXPECT_FALSE(s->directOutput);
}

TEST_F(Rgb32Surface, DirectOutputAFailureOfTheLastRecordLeavesDirectOutputOn) {
    ASSERT_EQ(s->DoFill(nullptr, 0x00102030u), VED_S_OK);
    std::vector<uint8_t> out(8 * 8 * 4, 0xEE);
    s->SetFormat(SurfaceFormat(99));
    EXPECT_EQ(s->CopyOut(out.data(), 32, 1), VED_E_NOTSUPPORTED);
    ASSERT_TRUE(s->directOutput);  // callers must not go on after this
    EXPECT_EQ(s->directOutput->buffer, out.data());
    EXPECT_EQ(s->directOutput->stride, 32);
    EXPECT_EQ(s->directOutput->topDown, 1u);
    EXPECT_TRUE(s->operations.empty());
    EXPECT_EQ(out[0], 0xEE);
    // What a host that goes on finds: a later change of format lands in the
    // old memory, 24-bit pixels of the fill's colour, and the surface stays
    // as it was.
    s->SetFormat(SURFACE_FORMAT_RGB24);
    ASSERT_EQ(s->Flush(), VED_S_OK);
    EXPECT_EQ(s->info.format, SURFACE_FORMAT_RGB32);
    // The fill stores the colour's bytes high to low, and the 24-bit rows
    // drop the fourth byte.
    EXPECT_EQ(out[0], 0x10);
    EXPECT_EQ(out[1], 0x20);
    EXPECT_EQ(out[2], 0x30);
    EXPECT_EQ(out[3], 0x10);
}

TEST_F(Rgb32Surface, AllocationOfNothingIsRefusedAndTheDestructorDropsTheQueue) {
    uint8_t* before = s->pixels;
    EXPECT_FALSE(s->AllocatePixels(0));
    EXPECT_EQ(s->pixels, before);
    s->Resize(16, 16, 0, 0);
    s->SetFormat(SURFACE_FORMAT_YUV420);
    EXPECT_EQ(s->operations.size(), 2u);
    keep.reset();  // queued records are dropped, not run; LeakSanitizer checks the rest
}

TEST_F(Rgb32Surface, AHostBufferIsNotFreed) {
    std::vector<uint8_t> host(8 * 8 * 4 + 64);
    s->ReplacePixels(host.data());  // frees the owned buffer, owns the new one
    EXPECT_EQ(s->ownership, 1u);
    s->SetOwnership(0);             // now the host's: must survive the surface
    keep.reset();
    host[0] = 1;
}

TEST(BoundedList, PassingTheLimitThrowsTheLengthError) {
    BoundedList<int, 3> list;
    list.push_back(1);
    list.push_back(2);
    list.insert(list.begin(), 0);
    try {
        list.push_back(3);
        FAIL() << "no length error";
    } catch (const std::length_error& e) {
        EXPECT_STREQ(e.what(), "list<T> too long");
    }
    EXPECT_EQ(list.size(), 3u);
    EXPECT_THROW(list.insert(list.end(), 9), std::length_error);
}

}  // namespace
