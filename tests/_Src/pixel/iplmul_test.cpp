#include "tests/support/one_pixel.h"

#include <climits>

TEST(IplMultiply, SaturatesAtIntegerDepths)
{
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_8U, 51, 5), 255);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_8U, 50, 5), 250);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_8U, 255, 255), 255);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_8U, 129, 255), 255);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_8S, -128, -128), 127);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_8S, -128, 2), -128);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_16U, 65535, 65535), 65535);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_16S, -32768, 2), -32768);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_32S, 46341, 46341), INT_MAX);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_32S, INT_MIN, 1), INT_MIN);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_32S, INT_MIN, INT_MIN), INT_MAX);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_32F, -1.5, 300), -450);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_1U, 0, 1), 0);
    EXPECT_EQ(resultOfPair(iplMultiply, IPL_DEPTH_1U, 1, 1), 1);
}

TEST(IplMultiply, RefusesANullFirstSource)
{
    EXPECT_REPORT(iplMultiply(nullptr, nullptr, nullptr), -5, "iplMultiply", "srcImageA==0",
                  "iplmul");
}

TEST(IplMultiply, GoesByTheFirstSourcesDepthToLogic)
{
    const Image bits = makeImage(3, 3, 1, IPL_DEPTH_1U);
    const Image bytes = makeImage(3, 3, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplMultiply(bits.get(), nullptr, nullptr), -9, "iplAnd", "Incorrect Image",
                  "ipland");
    EXPECT_REPORT(iplMultiply(bits.get(), bytes.get(), bytes.get()), -5, "iplAnd",
                  "(srcImageA->depth != dstImage->depth)", "ipland");
    EXPECT_REPORT(iplMultiply(bytes.get(), bits.get(), bytes.get()), -5, "iplMultiply",
                  "(srcImageB->depth != dstImage->depth)", "iplmul");
}
