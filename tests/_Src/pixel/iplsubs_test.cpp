#include "tests/support/one_pixel.h"

#include <climits>

TEST(IplSubtractS, SaturatesAtBothEndsOfEachDepth)
{
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8U, 100, 101, 0), 0);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8U, 100, -156, 0), 255);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8U, 100, 99, 0), 1);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8S, -28, 101, 0), -128);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8S, 127, 254, 0), -127);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8S, 127, 400, 0), -128);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_16S, 32767, 65534, 0), -32767);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_32S, 0, INT_MIN, 0), INT_MAX);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_32S, -1, INT_MIN, 0), INT_MAX);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_32S, INT_MIN, 1, 0), INT_MIN);
}

TEST(IplSubtractS, SubtractsFromTheValueInReverse)
{
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8U, 100, 99, 1), 0);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8U, 100, 300, 1), 200);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8U, 100, 356, -1), 255);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8U, 255, 509, 1), 254);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8U, 255, 510, 1), 255);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8U, 1, 0, 1), 0);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8S, -128, 0, 1), 127);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8S, 127, 1000, 1), 127);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8S, -128, -1000, 1), -128);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_8S, 127, 200, 1), 73);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_16U, 65535, 131069, 1), 65534);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_32S, INT_MIN, INT_MIN, 1), 0);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_32S, INT_MIN, 0, 1), INT_MAX);
    EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_32S, 1, INT_MIN, 1), INT_MIN);
}

TEST(IplSubtractS, CopiesClearsAndInvertsBits)
{
    for (const double bit : {0.0, 1.0}) {
        EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_1U, bit, 2, 0), bit);
        EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_1U, bit, 1, 0), 0);
        EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_1U, bit, 2, 1), 0);
        EXPECT_EQ(resultOf(iplSubtractS, IPL_DEPTH_1U, bit, 3, 1), 1 - bit);
    }
}

TEST(IplSubtractS, RefusesANullSourceAndFloats)
{
    EXPECT_REPORT(iplSubtractS(nullptr, nullptr, 1, 0), -5, "iplSubtractS", "srcImage==0",
                  "iplsubs");
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    EXPECT_REPORT(iplSubtractS(floats.get(), nullptr, 1, 1), -5, "iplSubtractS",
                  "For processing depth 32F use function iplSubtractSFP", "iplsubs");
}

TEST(IplSubtractS, LeavesTheExtremesToLogic)
{
    expectDoneBy("iplXorS", "iplxors", iplSubtractS, IPL_DEPTH_1U, 0, 0);
    expectDoneBy("iplAndS", "iplands", iplSubtractS, IPL_DEPTH_1U, 1, 0);
    expectDoneBy("iplAndS", "iplands", iplSubtractS, IPL_DEPTH_1U, 0, 1);
    expectDoneBy("iplXorS", "iplxors", iplSubtractS, IPL_DEPTH_1U, 1, 1);
    for (const int32_t largest : {255, 65535}) {
        const uint32_t depth = largest == 255 ? IPL_DEPTH_8U : IPL_DEPTH_16U;
        expectDoneBy("iplOrS", "iplors", iplSubtractS, depth, -largest, 0);
        expectDoneBy("iplSubtractS", "iplsubs", iplSubtractS, depth, 1 - largest, 0);
        expectDoneBy("iplSubtractS", "iplsubs", iplSubtractS, depth, largest - 1, 0);
        expectDoneBy("iplAndS", "iplands", iplSubtractS, depth, largest, 0);
        expectDoneBy("iplAndS", "iplands", iplSubtractS, depth, 0, 1);
        expectDoneBy("iplSubtractS", "iplsubs", iplSubtractS, depth, 1, 1);
        expectDoneBy("iplSubtractS", "iplsubs", iplSubtractS, depth, 2 * largest - 1, 1);
        expectDoneBy("iplOrS", "iplors", iplSubtractS, depth, 2 * largest, 1);
    }
    expectDoneBy("iplSubtractS", "iplsubs", iplSubtractS, IPL_DEPTH_8S, INT_MAX, 0);
}
