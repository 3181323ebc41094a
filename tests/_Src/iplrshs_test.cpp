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
    iplRShiftS(src.get(), dst.get(), value);
    return element(dst.get(), 0, 0, 0);
}

} // namespace

TEST(IplRShiftS, FillsWithZerosOrTheSign)
{
    EXPECT_EQ(result(IPL_DEPTH_8U, 0x81, 1), 0x40);
    EXPECT_EQ(result(IPL_DEPTH_8S, -127, 1), -64);
    EXPECT_EQ(result(IPL_DEPTH_8S, -1, 7), -1);
    EXPECT_EQ(result(IPL_DEPTH_16U, 0x8000, 15), 1);
    EXPECT_EQ(result(IPL_DEPTH_16S, -5, 1), -3);
    EXPECT_EQ(result(IPL_DEPTH_32S, -1000, 3), -125);
    EXPECT_EQ(result(IPL_DEPTH_32S, -1001, 3), -126);
}

TEST(IplRShiftS, ClearsOrLeavesTheSignWithTooManyBits)
{
    EXPECT_EQ(result(IPL_DEPTH_8U, 0xFF, 8), 0);
    EXPECT_EQ(result(IPL_DEPTH_16U, 0xFFFF, 100), 0);
    EXPECT_EQ(result(IPL_DEPTH_8S, -128, 100), -1);
    EXPECT_EQ(result(IPL_DEPTH_8S, 127, 100), 0);
    EXPECT_EQ(result(IPL_DEPTH_16S, -1, 0xFFFFFFFFu), -1);
    EXPECT_EQ(result(IPL_DEPTH_32S, 5, 32), 0);
    EXPECT_EQ(result(IPL_DEPTH_32S, -5, 32), -1);
    EXPECT_EQ(result(IPL_DEPTH_1U, 1, 1), 0);
    EXPECT_EQ(result(IPL_DEPTH_1U, 1, 0), 1);
}

TEST(IplRShiftS, RefusesANullSource)
{
    EXPECT_REPORT(iplRShiftS(nullptr, nullptr, 1), -5, "iplRShiftS", "srcImage==0", "iplrshs");
}

TEST(IplRShiftS, LeavesCopyingAndClearingToLogic)
{
    const auto refused = [](uint32_t depth, uint32_t nShift, const char* name, const char* file) {
        const Image src = makeImage(3, 3, 1, depth);
        EXPECT_REPORT(iplRShiftS(src.get(), nullptr, nShift), -9, name, "Incorrect Image", file);
    };
    refused(IPL_DEPTH_8U, 0, "iplXorS", "iplxors");
    refused(IPL_DEPTH_1U, 1, "iplAndS", "iplands");
    refused(IPL_DEPTH_8U, 7, "iplRShiftS", "iplrshs");
    refused(IPL_DEPTH_8U, 8, "iplAndS", "iplands");
    refused(IPL_DEPTH_16U, 15, "iplRShiftS", "iplrshs");
    refused(IPL_DEPTH_16U, 16, "iplAndS", "iplands");
    refused(IPL_DEPTH_8U, 0xFFFFFFFFu, "iplAndS", "iplands");
    refused(IPL_DEPTH_8S, 8, "iplRShiftS", "iplrshs");
    refused(IPL_DEPTH_32S, 0xFFFFFFFFu, "iplRShiftS", "iplrshs");
}

TEST(IplRShiftS, RefusesFloatsUnderTheNameOfWhoGetsThem)
{
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    const char* text = "This function does not support depth 32F";
    EXPECT_REPORT(iplRShiftS(floats.get(), floats.get(), 1), -5, "iplRShiftS", text, "iplrshs");
    EXPECT_REPORT(iplRShiftS(floats.get(), floats.get(), 0), -5, "iplXorS", text, "iplxors");
    EXPECT_REPORT(iplRShiftS(floats.get(), floats.get(), 32), -5, "iplAndS", text, "iplands");
}
