#include "_Src/ipl.h"

#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{

// What iplAddS makes of one element.
double sum(uint32_t depth, double element0, int32_t value)
{
    const Image src = makeImage(1, 1, 1, depth);
    const Image dst = makeImage(1, 1, 1, depth);
    putElement(src.get(), 0, 0, 0, element0);
    iplAddS(src.get(), dst.get(), value);
    return element(dst.get(), 0, 0, 0);
}

} // namespace

TEST(IplAddS, SaturatesAtBothEndsOfEachDepth)
{
    EXPECT_EQ(sum(IPL_DEPTH_8U, 200, 55), 255);
    EXPECT_EQ(sum(IPL_DEPTH_8U, 200, 56), 255);
    EXPECT_EQ(sum(IPL_DEPTH_8U, 200, -201), 0);
    EXPECT_EQ(sum(IPL_DEPTH_8S, 100, 28), 127);
    EXPECT_EQ(sum(IPL_DEPTH_8S, -128, 255), 127);
    EXPECT_EQ(sum(IPL_DEPTH_8S, 127, -255), -128);
    EXPECT_EQ(sum(IPL_DEPTH_16U, 65000, 536), 65535);
    EXPECT_EQ(sum(IPL_DEPTH_16S, -32768, 65535), 32767);
    EXPECT_EQ(sum(IPL_DEPTH_16S, 32767, -65534), -32767);
    EXPECT_EQ(sum(IPL_DEPTH_32S, INT_MAX, 1), INT_MAX);
    EXPECT_EQ(sum(IPL_DEPTH_32S, INT_MIN, -1), INT_MIN);
    EXPECT_EQ(sum(IPL_DEPTH_32S, INT_MIN, INT_MAX), -1);
}

TEST(IplAddS, TakesTheExtremeValues)
{
    for (const uint32_t depth : {IPL_DEPTH_8U, IPL_DEPTH_16U}) {
        EXPECT_EQ(sum(depth, 5, INT_MIN), 0);
        EXPECT_EQ(sum(depth, 5, -65536), 0);
        EXPECT_EQ(sum(depth, 5, INT_MAX), depth == IPL_DEPTH_8U ? 255 : 65535);
    }
    EXPECT_EQ(sum(IPL_DEPTH_8S, 5, INT_MIN), -128);
    EXPECT_EQ(sum(IPL_DEPTH_16S, 5, INT_MIN), -32768);
    EXPECT_EQ(sum(IPL_DEPTH_16S, 5, INT_MAX), 32767);
}

TEST(IplAddS, CopiesWithZero)
{
    for (const uint32_t depth :
         {IPL_DEPTH_1U, IPL_DEPTH_8U, IPL_DEPTH_8S, IPL_DEPTH_16U, IPL_DEPTH_16S, IPL_DEPTH_32S})
        EXPECT_EQ(sum(depth, 1, 0), 1);
}

TEST(IplAddS, OrsTheLowestBitAtDepthOne)
{
    EXPECT_EQ(sum(IPL_DEPTH_1U, 0, 1), 1);
    EXPECT_EQ(sum(IPL_DEPTH_1U, 0, 2), 0);
    EXPECT_EQ(sum(IPL_DEPTH_1U, 1, 2), 1);
    EXPECT_EQ(sum(IPL_DEPTH_1U, 0, -1), 1);
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
    const auto refused = [](uint32_t depth, int32_t value, const char* name, const char* file) {
        const Image src = makeImage(3, 3, 1, depth);
        EXPECT_REPORT(iplAddS(src.get(), nullptr, value), -9, name, "Incorrect Image", file);
    };
    refused(IPL_DEPTH_1U, 1, "iplOrS", "iplors");
    refused(IPL_DEPTH_8U, 254, "iplSubtractS", "iplsubs");
    refused(IPL_DEPTH_8U, 255, "iplOrS", "iplors");
    refused(IPL_DEPTH_8U, -255, "iplAndS", "iplands");
    refused(IPL_DEPTH_8U, -254, "iplSubtractS", "iplsubs");
    refused(IPL_DEPTH_16U, 255, "iplSubtractS", "iplsubs");
    refused(IPL_DEPTH_16U, 65535, "iplOrS", "iplors");
    refused(IPL_DEPTH_16U, INT_MIN, "iplAndS", "iplands");
    refused(IPL_DEPTH_8S, 1000, "iplSubtractS", "iplsubs");
    refused(IPL_DEPTH_16S, INT_MIN, "iplSubtractS", "iplsubs");
    refused(IPL_DEPTH_32S, 1, "iplAddS", "ipladds");
}

TEST(IplAddS, RefusesADepthThatThereIsNot)
{
    const Image src = makeImage(3, 3, 1, IPL_DEPTH_8U);
    src->depth = 24;
    EXPECT_REPORT(iplAddS(src.get(), src.get(), 1), -17, "iplAddS", "Incorrect Image", "ipladds");
}
