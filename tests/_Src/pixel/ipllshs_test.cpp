#include "tests/support/one_pixel.h"

TEST(IplLShiftS, LosesWhatLeavesTheElement)
{
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_8U, 0x81, 1), 0x02);
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_8S, 0x41, 1), -126);
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_8U, 0xFF, 7), 0x80);
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_16U, 0x8421, 4), 0x4210);
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_16S, 1, 15), -32768);
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_32S, 3, 31), -2147483648.0);
}

TEST(IplLShiftS, ClearsWithAsManyBitsAsTheElementHasAndMore)
{
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_8U, 0xFF, 8), 0);
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_16S, -1, 16), 0);
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_32S, -1, 32), 0);
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_1U, 1, 1), 0);
    // A negative count.
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_32S, -1, 0x80000000u), 0);
    EXPECT_EQ(resultOf(iplLShiftS, IPL_DEPTH_1U, 1, 0), 1);
}

TEST(IplLShiftS, RefusesANullSource)
{
    EXPECT_REPORT(iplLShiftS(nullptr, nullptr, 1), -5, "iplLShiftS", "srcImage==0", "ipllshs");
}

TEST(IplLShiftS, LeavesCopyingAndClearingToLogic)
{
    expectDoneBy("iplXorS", "iplxors", iplLShiftS, IPL_DEPTH_8U, 0);
    expectDoneBy("iplAndS", "iplands", iplLShiftS, IPL_DEPTH_1U, 1);
    expectDoneBy("iplLShiftS", "ipllshs", iplLShiftS, IPL_DEPTH_8U, 7);
    expectDoneBy("iplAndS", "iplands", iplLShiftS, IPL_DEPTH_8U, 8);
    expectDoneBy("iplLShiftS", "ipllshs", iplLShiftS, IPL_DEPTH_16U, 15);
    expectDoneBy("iplAndS", "iplands", iplLShiftS, IPL_DEPTH_16U, 16);
    expectDoneBy("iplAndS", "iplands", iplLShiftS, IPL_DEPTH_8U, 0xFFFFFFFFu);
    expectDoneBy("iplAndS", "iplands", iplLShiftS, IPL_DEPTH_8S, 8);
    expectDoneBy("iplAndS", "iplands", iplLShiftS, IPL_DEPTH_32S, 32);
}

TEST(IplLShiftS, RefusesFloatsUnderTheNameOfWhoGetsThem)
{
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    const char* text = "This function does not support depth 32F";
    EXPECT_REPORT(iplLShiftS(floats.get(), floats.get(), 1), -5, "iplLShiftS", text, "ipllshs");
    EXPECT_REPORT(iplLShiftS(floats.get(), floats.get(), 0), -5, "iplXorS", text, "iplxors");
    EXPECT_REPORT(iplLShiftS(floats.get(), floats.get(), 32), -5, "iplAndS", text, "iplands");
}
