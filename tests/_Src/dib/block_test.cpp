#include "_Src/dib/block.h"

#include "tests/support/dibs.h"

#include <gtest/gtest.h>

TEST(OwnImpliedSize, CountsHeaderTableAndRows)
{
    EXPECT_EQ(ownImpliedSize(dibHeader(5, 3, 24)), 40u + 3 * 16);
    EXPECT_EQ(ownImpliedSize(dibHeader(5, -3, 8, 0, 2)), 40u + 8 + 3 * 8);
    EXPECT_EQ(ownImpliedSize(dibHeader(-5, 3, 24)), 40u);
}

TEST(OwnImpliedSize, IsUnknownForStreams)
{
    EXPECT_EQ(ownImpliedSize(dibHeader(5, 3, 8, 1, 2)), ownUnknownSize);
    EXPECT_EQ(ownImpliedSize(dibHeader(5, 3, 4, 2, 2)), ownUnknownSize);
}

TEST(OwnImpliedSize, IsUnknownPastTheSizesThereAre)
{
    EXPECT_EQ(ownImpliedSize(dibHeader(INT32_MAX, INT32_MAX, 65535)), ownUnknownSize);
    EXPECT_EQ(ownImpliedSize(dibHeader(INT32_MAX, INT32_MIN, 65535)), ownUnknownSize);
}
