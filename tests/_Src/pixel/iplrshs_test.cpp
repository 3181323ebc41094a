#include "tests/support/one_pixel.h"

TEST(IplRShiftS, FillsWithZerosOrTheSign)
{
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_8U, 0x81, 1), 0x40);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_8S, -127, 1), -64);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_8S, -1, 7), -1);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_16U, 0x8000, 15), 1);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_16S, -5, 1), -3);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_32S, -1000, 3), -125);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_32S, -1001, 3), -126);
}

TEST(IplRShiftS, ClearsOrLeavesTheSignWithTooManyBits)
{
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_8U, 0xFF, 8), 0);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_16U, 0xFFFF, 100), 0);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_8S, -128, 100), -1);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_8S, 127, 100), 0);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_16S, -1, 0xFFFFFFFFu), -1);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_32S, 5, 32), 0);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_32S, -5, 32), -1);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_1U, 1, 1), 0);
    EXPECT_EQ(resultOf(iplRShiftS, IPL_DEPTH_1U, 1, 0), 1);
}

TEST(IplRShiftS, RefusesANullSource)
{
    EXPECT_REPORT(iplRShiftS(nullptr, nullptr, 1), -5, "iplRShiftS", "srcImage==0", "iplrshs");
}

TEST(IplRShiftS, LeavesCopyingAndClearingToLogic)
{
    expectDoneBy("iplXorS", "iplxors", iplRShiftS, IPL_DEPTH_8U, 0);
    expectDoneBy("iplAndS", "iplands", iplRShiftS, IPL_DEPTH_1U, 1);
    expectDoneBy("iplRShiftS", "iplrshs", iplRShiftS, IPL_DEPTH_8U, 7);
    expectDoneBy("iplAndS", "iplands", iplRShiftS, IPL_DEPTH_8U, 8);
    expectDoneBy("iplRShiftS", "iplrshs", iplRShiftS, IPL_DEPTH_16U, 15);
    expectDoneBy("iplAndS", "iplands", iplRShiftS, IPL_DEPTH_16U, 16);
    expectDoneBy("iplAndS", "iplands", iplRShiftS, IPL_DEPTH_8U, 0xFFFFFFFFu);
    expectDoneBy("iplRShiftS", "iplrshs", iplRShiftS, IPL_DEPTH_8S, 8);
    expectDoneBy("iplRShiftS", "iplrshs", iplRShiftS, IPL_DEPTH_32S, 0xFFFFFFFFu);
}

TEST(IplRShiftS, RefusesFloatsUnderTheNameOfWhoGetsThem)
{
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    const char* text = "This function does not support depth 32F";
    EXPECT_REPORT(iplRShiftS(floats.get(), floats.get(), 1), -5, "iplRShiftS", text, "iplrshs");
    EXPECT_REPORT(iplRShiftS(floats.get(), floats.get(), 0), -5, "iplXorS", text, "iplxors");
    EXPECT_REPORT(iplRShiftS(floats.get(), floats.get(), 32), -5, "iplAndS", text, "iplands");
}
