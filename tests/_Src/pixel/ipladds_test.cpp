#include "tests/support/one_pixel.h"

#include <climits>

TEST(IplAddS, SaturatesAtBothEndsOfEachDepth)
{
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_8U, 200, 55), 255);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_8U, 200, 56), 255);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_8U, 200, -201), 0);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_8S, 100, 28), 127);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_8S, -128, 255), 127);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_8S, 127, -255), -128);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_16U, 65000, 536), 65535);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_16S, -32768, 65535), 32767);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_16S, 32767, -65534), -32767);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_32S, INT_MAX, 1), INT_MAX);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_32S, INT_MIN, -1), INT_MIN);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_32S, INT_MIN, INT_MAX), -1);
}

TEST(IplAddS, TakesTheExtremeValues)
{
    for (const uint32_t depth : {IPL_DEPTH_8U, IPL_DEPTH_16U}) {
        EXPECT_EQ(resultOf(iplAddS, depth, 5, INT_MIN), 0);
        EXPECT_EQ(resultOf(iplAddS, depth, 5, -65536), 0);
        EXPECT_EQ(resultOf(iplAddS, depth, 5, INT_MAX), depth == IPL_DEPTH_8U ? 255 : 65535);
    }
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_8S, 5, INT_MIN), -128);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_16S, 5, INT_MIN), -32768);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_16S, 5, INT_MAX), 32767);
}

TEST(IplAddS, CopiesWithZero)
{
    for (const uint32_t depth :
         {IPL_DEPTH_1U, IPL_DEPTH_8U, IPL_DEPTH_8S, IPL_DEPTH_16U, IPL_DEPTH_16S, IPL_DEPTH_32S})
        EXPECT_EQ(resultOf(iplAddS, depth, 1, 0), 1);
}

TEST(IplAddS, OrsTheLowestBitAtDepthOne)
{
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_1U, 0, 1), 1);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_1U, 0, 2), 0);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_1U, 1, 2), 1);
    EXPECT_EQ(resultOf(iplAddS, IPL_DEPTH_1U, 0, -1), 1);
}

TEST(IplAddS, RefusesANullSourceAndFloats)
{
    const Image dst = makeImage(3, 3, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplAddS(nullptr, dst.get(), 1), -5, "iplAddS", "srcImage==0", "ipladds");
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    floats->origin = 9;
    EXPECT_REPORT(iplAddS(floats.get(), nullptr, 1), -5, "iplAddS",
                  "For processing depth 32F use function iplAddSFP", "ipladds");
}

TEST(IplAddS, LeavesTheChecksToWhomItHandsTheWorkOver)
{
    expectDoneBy("iplOrS", "iplors", iplAddS, IPL_DEPTH_1U, 1);
    expectDoneBy("iplSubtractS", "iplsubs", iplAddS, IPL_DEPTH_8U, 254);
    expectDoneBy("iplOrS", "iplors", iplAddS, IPL_DEPTH_8U, 255);
    expectDoneBy("iplAndS", "iplands", iplAddS, IPL_DEPTH_8U, -255);
    expectDoneBy("iplSubtractS", "iplsubs", iplAddS, IPL_DEPTH_8U, -254);
    expectDoneBy("iplSubtractS", "iplsubs", iplAddS, IPL_DEPTH_16U, 255);
    expectDoneBy("iplOrS", "iplors", iplAddS, IPL_DEPTH_16U, 65535);
    expectDoneBy("iplAndS", "iplands", iplAddS, IPL_DEPTH_16U, INT_MIN);
    expectDoneBy("iplSubtractS", "iplsubs", iplAddS, IPL_DEPTH_8S, 1000);
    expectDoneBy("iplSubtractS", "iplsubs", iplAddS, IPL_DEPTH_16S, INT_MIN);
    expectDoneBy("iplAddS", "ipladds", iplAddS, IPL_DEPTH_32S, 1);
}

TEST(IplAddS, RefusesADepthThatThereIsNot)
{
    const Image src = makeImage(3, 3, 1, IPL_DEPTH_8U);
    src->depth = 24;
    EXPECT_REPORT(iplAddS(src.get(), src.get(), 1), -17, "iplAddS", "Incorrect Image", "ipladds");
}
