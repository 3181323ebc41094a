#include "tests/support/one_pixel.h"

#include <climits>

TEST(IplAdd, SaturatesAtIntegerDepths)
{
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_8U, 200, 55), 255);
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_8U, 200, 56), 255);
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_8S, 100, 28), 127);
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_8S, -100, -29), -128);
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_16U, 65535, 65535), 65535);
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_16S, -32768, -1), -32768);
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_32S, INT_MAX, 1), INT_MAX);
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_32S, INT_MIN, -1), INT_MIN);
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_32S, INT_MIN, INT_MAX), -1);
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_32F, 300.5, 0.25), 300.75);
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_1U, 0, 1), 1);
    EXPECT_EQ(resultOfPair(iplAdd, IPL_DEPTH_1U, 1, 1), 1);
}

TEST(IplAdd, RefusesANullFirstSource)
{
    EXPECT_REPORT(iplAdd(nullptr, nullptr, nullptr), -5, "iplAdd", "srcImageA==0", "ipladd");
}

TEST(IplAdd, GoesByTheFirstSourcesDepthToLogic)
{
    const Image bits = makeImage(3, 3, 1, IPL_DEPTH_1U);
    const Image bytes = makeImage(3, 3, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplAdd(bits.get(), nullptr, nullptr), -9, "iplOr", "Incorrect Image", "iplor");
    EXPECT_REPORT(iplAdd(bits.get(), bytes.get(), bytes.get()), -5, "iplOr",
                  "(srcImageA->depth != dstImage->depth)", "iplor");
    EXPECT_REPORT(iplAdd(bytes.get(), bits.get(), bytes.get()), -5, "iplAdd",
                  "(srcImageB->depth != dstImage->depth)", "ipladd");
}
