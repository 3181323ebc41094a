#include "_Src/ipl.h"

#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

double result(uint32_t depth, double element0, uint32_t value)
{
    const Image src = makeImage(1, 1, 1, depth);
    const Image dst = makeImage(1, 1, 1, depth);
    putElement(src.get(), 0, 0, 0, element0);
    iplLShiftS(src.get(), dst.get(), value);
    return element(dst.get(), 0, 0, 0);
}

} // namespace

TEST(IplLShiftS, LosesWhatLeavesTheElement)
{
    EXPECT_EQ(result(IPL_DEPTH_8U, 0x81, 1), 0x02);
    EXPECT_EQ(result(IPL_DEPTH_8S, 0x41, 1), -126);
    EXPECT_EQ(result(IPL_DEPTH_8U, 0xFF, 7), 0x80);
    EXPECT_EQ(result(IPL_DEPTH_16U, 0x8421, 4), 0x4210);
    EXPECT_EQ(result(IPL_DEPTH_16S, 1, 15), -32768);
    EXPECT_EQ(result(IPL_DEPTH_32S, 3, 31), -2147483648.0);
}

TEST(IplLShiftS, ClearsWithAsManyBitsAsTheElementHasAndMore)
{
    EXPECT_EQ(result(IPL_DEPTH_8U, 0xFF, 8), 0);
    EXPECT_EQ(result(IPL_DEPTH_16S, -1, 16), 0);
    EXPECT_EQ(result(IPL_DEPTH_32S, -1, 32), 0);
    EXPECT_EQ(result(IPL_DEPTH_1U, 1, 1), 0);
    // A negative count.
    EXPECT_EQ(result(IPL_DEPTH_32S, -1, 0x80000000u), 0);
    EXPECT_EQ(result(IPL_DEPTH_1U, 1, 0), 1);
}

TEST(IplLShiftS, RefusesANullSource)
{
    EXPECT_REPORT(iplLShiftS(nullptr, nullptr, 1), -5, "iplLShiftS", "srcImage==0", "ipllshs");
}

TEST(IplLShiftS, LeavesCopyingAndClearingToLogic)
{
    const auto refused = [](uint32_t depth, uint32_t nShift, const char* name, const char* file) {
        const Image src = makeImage(3, 3, 1, depth);
        EXPECT_REPORT(iplLShiftS(src.get(), nullptr, nShift), -9, name, "Incorrect Image", file);
    };
    refused(IPL_DEPTH_8U, 0, "iplXorS", "iplxors");
    refused(IPL_DEPTH_1U, 1, "iplAndS", "iplands");
    refused(IPL_DEPTH_8U, 7, "iplLShiftS", "ipllshs");
    refused(IPL_DEPTH_8U, 8, "iplAndS", "iplands");
    refused(IPL_DEPTH_16U, 15, "iplLShiftS", "ipllshs");
    refused(IPL_DEPTH_16U, 16, "iplAndS", "iplands");
    refused(IPL_DEPTH_8U, 0xFFFFFFFFu, "iplAndS", "iplands");
    refused(IPL_DEPTH_8S, 8, "iplAndS", "iplands");
    refused(IPL_DEPTH_32S, 32, "iplAndS", "iplands");
}

TEST(IplLShiftS, RefusesFloatsUnderTheNameOfWhoGetsThem)
{
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    const char* text = "This function does not support depth 32F";
    EXPECT_REPORT(iplLShiftS(floats.get(), floats.get(), 1), -5, "iplLShiftS", text, "ipllshs");
    EXPECT_REPORT(iplLShiftS(floats.get(), floats.get(), 0), -5, "iplXorS", text, "iplxors");
    EXPECT_REPORT(iplLShiftS(floats.get(), floats.get(), 32), -5, "iplAndS", text, "iplands");
}
