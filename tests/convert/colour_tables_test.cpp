// The colour tables the compiler works out, against their products.
#include "convert/colour_tables.h"

#include <gtest/gtest.h>

namespace {

using namespace tarn;

TEST(ColourTables, HoldTheProductsWithAThirteenBitFraction) {
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(kLumaTable[i], 9535 * (i - 16));
        EXPECT_EQ(kBlueFromU[i], 16531 * (i - 128));
        EXPECT_EQ(kGreenFromU[i], 3203 * (i - 128));
        EXPECT_EQ(kGreenFromV[i], 6660 * (i - 128));
        EXPECT_EQ(kRedFromV[i], 13074 * (i - 128));
    }
    // The factors are those of BT.601 for studio range, 255/219 and 1.402 x 255/224,
    // to the three decimals the 13-bit fraction was chosen for.
    EXPECT_NEAR(kLumaTable[17] / 8192.0, 255.0 / 219.0, 0.001);
    EXPECT_NEAR(kRedFromV[129] / 8192.0, 1.402 * 255.0 / 224.0, 0.001);
}

}  // namespace
