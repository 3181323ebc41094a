#include "_Src/window/convplan.h"

#include "tests/support/conv_kernels.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

namespace
{

constexpr auto words = IplConvArithmetic::words;
constexpr auto doubleWords = IplConvArithmetic::doubleWords;
constexpr auto floats = IplConvArithmetic::floats;

IplConvArithmetic arithmeticOf(const std::vector<int32_t>& taps, uint32_t depth)
{
    const ConvKernel kernel = makeConvKernel(static_cast<int32_t>(taps.size()), 1, 0, 0, taps, 0);
    return ownConvArithmetic(kernel.get(), depth);
}

uint32_t bitsOf(float value)
{
    uint32_t bits = 0;
    std::memcpy(&bits, &value, 4);
    return bits;
}

} // namespace

TEST(OwnConvArithmetic, TakesTheNarrowestThatHoldsAllSums)
{
    EXPECT_EQ(arithmeticOf({0, 0}, IPL_DEPTH_8U), words);
    EXPECT_EQ(arithmeticOf({128}, IPL_DEPTH_8U), words); // 32640
    EXPECT_EQ(arithmeticOf({129}, IPL_DEPTH_8U), doubleWords);
    EXPECT_EQ(arithmeticOf({-128}, IPL_DEPTH_8U), words);
    EXPECT_EQ(arithmeticOf({-129}, IPL_DEPTH_8U), doubleWords);
    EXPECT_EQ(arithmeticOf({64, 64, -128}, IPL_DEPTH_8U), words);
    EXPECT_EQ(arithmeticOf({64, 65, -128}, IPL_DEPTH_8U), doubleWords);
    EXPECT_EQ(arithmeticOf({8421504}, IPL_DEPTH_8U), doubleWords);
    EXPECT_EQ(arithmeticOf({8421505}, IPL_DEPTH_8U), floats);
    EXPECT_EQ(arithmeticOf({8421504, 1}, IPL_DEPTH_8U), floats);
    EXPECT_EQ(arithmeticOf({8421504, -8421504}, IPL_DEPTH_8U), doubleWords);
    EXPECT_EQ(arithmeticOf({-8421504}, IPL_DEPTH_8U), doubleWords);
}

TEST(OwnConvArithmetic, KnowsTheDepthsRanges)
{
    EXPECT_EQ(arithmeticOf({32767}, IPL_DEPTH_1U), words);
    EXPECT_EQ(arithmeticOf({32768}, IPL_DEPTH_1U), doubleWords);
    EXPECT_EQ(arithmeticOf({-32768}, IPL_DEPTH_1U), words);
    EXPECT_EQ(arithmeticOf({-32769}, IPL_DEPTH_1U), doubleWords);
    EXPECT_EQ(arithmeticOf({INT32_MAX, INT32_MIN}, IPL_DEPTH_1U), doubleWords);
    EXPECT_EQ(arithmeticOf({INT32_MAX, 1}, IPL_DEPTH_1U), floats);
    EXPECT_EQ(arithmeticOf({255}, IPL_DEPTH_8S), words);        // -32640 to 32385
    EXPECT_EQ(arithmeticOf({256}, IPL_DEPTH_8S), words);        // -32768 to 32512
    EXPECT_EQ(arithmeticOf({-256}, IPL_DEPTH_8S), doubleWords); // to 32768
    EXPECT_EQ(arithmeticOf({1}, IPL_DEPTH_16U), doubleWords);
    EXPECT_EQ(arithmeticOf({0}, IPL_DEPTH_16S), doubleWords);
    EXPECT_EQ(arithmeticOf({32768}, IPL_DEPTH_16U), doubleWords);
    EXPECT_EQ(arithmeticOf({32769}, IPL_DEPTH_16U), floats);
    EXPECT_EQ(arithmeticOf({65536}, IPL_DEPTH_16S), doubleWords); // -2^31 is inside
    EXPECT_EQ(arithmeticOf({-65536}, IPL_DEPTH_16S), floats);
    EXPECT_EQ(arithmeticOf({0}, IPL_DEPTH_32S), floats);
    EXPECT_EQ(arithmeticOf({0}, IPL_DEPTH_32F), floats);
}

TEST(OwnConvMultiplier, IsThePatternOfTheShift)
{
    EXPECT_EQ(ownConvMultiplier(0), 1.0f);
    EXPECT_EQ(ownConvMultiplier(-7), 1.0f);
    for (int32_t shift = 1; shift <= 8; ++shift)
        EXPECT_EQ(ownConvMultiplier(shift), 1.0f / static_cast<float>(1 << shift));
    EXPECT_EQ(bitsOf(ownConvMultiplier(9)), 0x3b000015u);
    EXPECT_EQ(bitsOf(ownConvMultiplier(14)), 0x3880029au);
    EXPECT_EQ(bitsOf(ownConvMultiplier(18)), 0x367faf4du);
    EXPECT_EQ(bitsOf(ownConvMultiplier(23)), 0x3400d959u);
    EXPECT_EQ(ownConvMultiplier(24), 0.0f);
    EXPECT_EQ(ownConvMultiplier(INT32_MAX), 0.0f);
}

TEST(IplConvPlans, ReachAsFarAsAnyKernel)
{
    // Anchors are stored mirrored: the first has 2 columns to the left of its own.
    const ConvKernel wideOne = makeConvKernel(3, 1, 0, 0, {1, 2, 3}, 0);
    const ConvKernel tallOne = makeConvKernel(1, 5, 0, 3, {1, 0, 3, 0, 5}, 0);
    const OwnConvKernel* const both[] = {wideOne.get(), tallOne.get()};
    const IplConvPlans plans(both, 2, IPL_DEPTH_8U);
    ASSERT_TRUE(plans.isReady());
    EXPECT_EQ(plans.reach().left, 2);
    EXPECT_EQ(plans.reach().right, 0);
    EXPECT_EQ(plans.reach().top, 1);
    EXPECT_EQ(plans.reach().bottom, 3);
    EXPECT_EQ(plans[1].count, 3); // zeros are left out
}
