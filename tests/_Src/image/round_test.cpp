#include "_Src/image/round.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(OwnSaturate, CutsFractions)
{
    EXPECT_EQ(ownSaturate(2.9), 2);
    EXPECT_EQ(ownSaturate(-2.9), -2);
    EXPECT_EQ(ownSaturate(2147483646.5), 2147483646);
    EXPECT_EQ(ownSaturate(-2147483647.5), -2147483647);
}

TEST(OwnSaturate, TakesTheNearestIntegerThereIs)
{
    for (const double more : {0.0, 1.0, 1e300, HUGE_VAL}) {
        EXPECT_EQ(ownSaturate(2147483647.0 + more), INT32_MAX);
        EXPECT_EQ(ownSaturate(-2147483648.0 - more), INT32_MIN);
    }
}

TEST(OwnSaturate, TakesNoughtForWhatIsNoNumber)
{
    EXPECT_EQ(ownSaturate(NAN), 0);
    EXPECT_EQ(ownSaturate(-NAN), 0);
}
