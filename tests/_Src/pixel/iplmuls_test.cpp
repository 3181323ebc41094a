#include "tests/support/one_pixel.h"

#include <climits>

TEST(IplMultiplyS, SaturatesTheProduct)
{
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_8U, 85, 3), 255);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_8U, 84, 3), 252);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_8U, 255, 255), 255);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_8S, -128, 1), -128);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_8S, -64, 3), -128);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_16U, 65535, 65535), 65535);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_16U, 256, 255), 65280);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_16S, -32768, -32768), 32767);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_32S, INT_MIN, -1), INT_MAX);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_32S, INT_MIN, 2), INT_MIN);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_32S, 65537, 32767), 2147450879);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_32S, -46341, 46341), INT_MIN);
}

TEST(IplMultiplyS, GivesZeroForANegativeValueAtUnsignedDepths)
{
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_8U, 7, -3), 0);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_16U, 7, INT_MIN), 0);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_16U, 7, 0), 0);
}

TEST(IplMultiplyS, BringsTheValueIntoTheDepthsRangeFirst)
{
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_8U, 1, 1000), 255);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_8U, 0, 1000), 0);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_16U, 1, 70000), 65535);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_8S, -1, 200), -127);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_8S, -1, -200), 127);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_16S, -1, 40000), -32767);
}

TEST(IplMultiplyS, AndsTheLowestBitAtDepthOne)
{
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_1U, 1, 2), 0);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_1U, 1, 3), 1);
    EXPECT_EQ(resultOf(iplMultiplyS, IPL_DEPTH_1U, 0, 3), 0);
}

TEST(IplMultiplyS, RefusesANullSourceAndFloats)
{
    EXPECT_REPORT(iplMultiplyS(nullptr, nullptr, 1), -5, "iplMultiplyS", "srcImage==0", "iplmuls");
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    EXPECT_REPORT(iplMultiplyS(floats.get(), nullptr, 1), -5, "iplMultiplyS",
                  "For processing depth 32F use function iplMultiplySFP", "iplmuls");
}

TEST(IplMultiplyS, LeavesNothingAndBitsToLogic)
{
    expectDoneBy("iplAndS", "iplands", iplMultiplyS, IPL_DEPTH_1U, 1);
    expectDoneBy("iplAndS", "iplands", iplMultiplyS, IPL_DEPTH_8U, 0);
    expectDoneBy("iplAndS", "iplands", iplMultiplyS, IPL_DEPTH_16U, -1);
    expectDoneBy("iplMultiplyS", "iplmuls", iplMultiplyS, IPL_DEPTH_8U, 1);
    expectDoneBy("iplMultiplyS", "iplmuls", iplMultiplyS, IPL_DEPTH_8S, 0);
    expectDoneBy("iplMultiplyS", "iplmuls", iplMultiplyS, IPL_DEPTH_32S, -1);
}
