// Reports of the image library: the status word, the handler, the texts of
// the statuses, and the end of the process that a report means by default.
#include <gtest/gtest.h>

#include <cstring>

#include "ipl/ipl_error.h"
#include "ipl/ipl_image.h"
#include "ipl_test_support.h"

namespace tarn {
namespace {

using testing_ipl::RecordReports;

// Status 0 is stored and calls no handler; a backtrace (-1) or autotrace
// (-8) keeps the first status but is handled; others are stored, then handled.
TEST(IplError, StatusesAreStoredThenHandled) {
    RecordReports rec;
    iplSetErrStatus(-7);
    EXPECT_EQ(iplError(0, "f", "m", "file", 1), 0);
    EXPECT_EQ(iplGetErrStatus(), 0);
    EXPECT_TRUE(rec.reports().empty());
    for (int32_t passing : {-1, -8}) {
        iplSetErrStatus(-17);
        EXPECT_EQ(iplError(passing, "outer", "", "iplwarp", 982), passing);
        EXPECT_EQ(iplGetErrStatus(), -17);
    }
    ASSERT_EQ(rec.reports().size(), 2u);
    EXPECT_EQ(rec.reports()[0].status, -1);
    EXPECT_EQ(rec.reports()[0].function, "outer");
    EXPECT_EQ(rec.reports()[0].line, 982);
    rec.Clear();
    EXPECT_EQ(iplError(-5, "iplRotate", "msg", "iplwarp", 1264), -5);
    EXPECT_EQ(iplGetErrStatus(), -5);
    ASSERT_EQ(rec.reports().size(), 1u);
    EXPECT_EQ(rec.reports()[0].message, "msg");
    EXPECT_EQ(rec.reports()[0].file, "iplwarp");
}

// The default handler in the default (fatal) mode; outside it, it answers the status.
TEST(IplError, DefaultHandlerAnswersTheStatusOutsideTheFatalMode) {
    EXPECT_EQ(iplGetErrMode(), IPL_ERRMODE_FATAL);
    EXPECT_EQ(iplErrorContext()->handler, &DefaultErrorHandler);
    iplSetErrMode(IPL_ERRMODE_RETURN);
    EXPECT_EQ(iplError(-5, "f", "m", "file", 1), -5);
    EXPECT_EQ(iplGetErrStatus(), -5);
    iplSetErrMode(IPL_ERRMODE_FATAL);
    iplSetErrStatus(0);
}

// The child ends through exit(1) with nothing of its own on the heap, so a
// leak check at its exit (sanitizer builds) has nothing to change the code with.
TEST(IplErrorDeathTest, AReportEndsTheProcessWithCodeOne) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(iplError(-5, "iplWarpAffine", "m", "iplwarp", 899), ::testing::ExitedWithCode(1), "");
    EXPECT_EXIT(iplCreateImageHeader(3, 0, IPL_DEPTH_1U, "RGB", "BGR", 0, 0, 4, 4, 4, nullptr, nullptr, nullptr,
                                     nullptr),
                ::testing::ExitedWithCode(1), "");
    EXPECT_EXIT(iplError(-1, "iplRotate", "", "iplwarp", 1416), ::testing::ExitedWithCode(1), "") << "a backtrace";
}

TEST(IplErrorText, Table) {
    const struct {
        int32_t status;
        const char* text;
    } kCases[] = {
        {0, "No Error"},
        {-1, "Backtrace"},
        {-2, "Unknown error or status code"},
        {-5, "Bad argument"},
        {-9, "Null pointer to an image header"},
        {-10, "Incorrect image size"},
        {-12, "Image must be tiled or must have nonzero data pointer"},
        {-16, "Number of channels for 1U depth image must be one"},
        {-21, "Incorrect data alignment value in the image header"},
        {-25, "Incorrect size of ROI in the image header"},
        {-26, "Mask image is taled"},
        {-31, "Incorrect filter ofset value"},
        {-32, "Unknown error or status code"},
        {-109, "Unknown error or status code"},
        {-110, "Mask. Incorrect image size"},
        {-116, "Unknown error or status code"},
        {-117, "Mask. Incorrect depth value in the image header"},
        {-122, "Unknown error or status code"},
        {-123, "Unknown error or status code"},
        {-125, "Mask. Incorrect size of ROI in the image header"},
        {-126, "Unknown error or status code"},
        {1, "Unknown error or status code"},
        {INT32_MIN, "Unknown error or status code"},
    };
    for (const auto& c : kCases) EXPECT_STREQ(iplErrorText(c.status), c.text) << c.status;
}

TEST(IplErrorText, PlainRowsAreTheMaskTextsWithoutPrefix) {
    for (int32_t s = -10; s >= -25; --s) {
        const char* mask = iplErrorText(s - 100);
        if (std::strncmp(mask, "Mask. ", 6) != 0) continue;
        EXPECT_EQ(iplErrorText(s), mask + 6) << s;  // the same storage, not a copy
    }
}

}  // namespace
}  // namespace tarn
