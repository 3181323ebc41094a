#include "_Src/ipl.h"

#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{

double product(uint32_t depth, double element0, int32_t value)
{
    const Image src = makeImage(1, 1, 1, depth);
    const Image dst = makeImage(1, 1, 1, depth);
    putElement(src.get(), 0, 0, 0, element0);
    iplMultiplyS(src.get(), dst.get(), value);
    return element(dst.get(), 0, 0, 0);
}

} // namespace

TEST(IplMultiplyS, SaturatesTheProduct)
{
    EXPECT_EQ(product(IPL_DEPTH_8U, 85, 3), 255);
    EXPECT_EQ(product(IPL_DEPTH_8U, 84, 3), 252);
    EXPECT_EQ(product(IPL_DEPTH_8U, 255, 255), 255);
    EXPECT_EQ(product(IPL_DEPTH_8S, -128, 1), -128);
    EXPECT_EQ(product(IPL_DEPTH_8S, -64, 3), -128);
    EXPECT_EQ(product(IPL_DEPTH_16U, 65535, 65535), 65535);
    EXPECT_EQ(product(IPL_DEPTH_16U, 256, 255), 65280);
    EXPECT_EQ(product(IPL_DEPTH_16S, -32768, -32768), 32767);
    EXPECT_EQ(product(IPL_DEPTH_32S, INT_MIN, -1), INT_MAX);
    EXPECT_EQ(product(IPL_DEPTH_32S, INT_MIN, 2), INT_MIN);
    EXPECT_EQ(product(IPL_DEPTH_32S, 65537, 32767), 2147450879);
    EXPECT_EQ(product(IPL_DEPTH_32S, -46341, 46341), INT_MIN);
}

TEST(IplMultiplyS, GivesZeroForANegativeValueAtUnsignedDepths)
{
    EXPECT_EQ(product(IPL_DEPTH_8U, 7, -3), 0);
    EXPECT_EQ(product(IPL_DEPTH_16U, 7, INT_MIN), 0);
    EXPECT_EQ(product(IPL_DEPTH_16U, 7, 0), 0);
}

TEST(IplMultiplyS, BringsTheValueIntoTheDepthsRangeFirst)
{
    EXPECT_EQ(product(IPL_DEPTH_8U, 1, 1000), 255);
    EXPECT_EQ(product(IPL_DEPTH_8U, 0, 1000), 0);
    EXPECT_EQ(product(IPL_DEPTH_16U, 1, 70000), 65535);
    EXPECT_EQ(product(IPL_DEPTH_8S, -1, 200), -127);
    EXPECT_EQ(product(IPL_DEPTH_8S, -1, -200), 127);
    EXPECT_EQ(product(IPL_DEPTH_16S, -1, 40000), -32767);
}

TEST(IplMultiplyS, AndsTheLowestBitAtDepthOne)
{
    EXPECT_EQ(product(IPL_DEPTH_1U, 1, 2), 0);
    EXPECT_EQ(product(IPL_DEPTH_1U, 1, 3), 1);
    EXPECT_EQ(product(IPL_DEPTH_1U, 0, 3), 0);
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
    const auto refused = [](uint32_t depth, int32_t value, const char* name, const char* file) {
        const Image src = makeImage(3, 3, 1, depth);
        EXPECT_REPORT(iplMultiplyS(src.get(), nullptr, value), -9, name, "Incorrect Image", file);
    };
    refused(IPL_DEPTH_1U, 1, "iplAndS", "iplands");
    refused(IPL_DEPTH_8U, 0, "iplAndS", "iplands");
    refused(IPL_DEPTH_16U, -1, "iplAndS", "iplands");
    refused(IPL_DEPTH_8U, 1, "iplMultiplyS", "iplmuls");
    refused(IPL_DEPTH_8S, 0, "iplMultiplyS", "iplmuls");
    refused(IPL_DEPTH_32S, -1, "iplMultiplyS", "iplmuls");
}
