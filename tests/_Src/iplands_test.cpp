#include "_Src/ipl.h"

#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

double result(uint32_t depth, double element0, int32_t value)
{
    const Image src = makeImage(1, 1, 1, depth);
    const Image dst = makeImage(1, 1, 1, depth);
    putElement(src.get(), 0, 0, 0, element0);
    iplAndS(src.get(), dst.get(), value);
    return element(dst.get(), 0, 0, 0);
}

} // namespace

TEST(IplAndS, TakesTheValuesLowBitsOnly)
{
    EXPECT_EQ(result(IPL_DEPTH_8U, 0xAB, 0x1FF), 0xAB);
    EXPECT_EQ(result(IPL_DEPTH_8U, 0xAB, 0x10F), 0x0B);
    EXPECT_EQ(result(IPL_DEPTH_8S, -1, 0x80), -128);
    EXPECT_EQ(result(IPL_DEPTH_16U, 0xABCD, 0x7F0F0), 0xA0C0);
    EXPECT_EQ(result(IPL_DEPTH_16S, -1, 0x18000), -32768);
    EXPECT_EQ(result(IPL_DEPTH_32S, -1, 0x12345678), 0x12345678);
    EXPECT_EQ(result(IPL_DEPTH_1U, 1, 2), 0);
    EXPECT_EQ(result(IPL_DEPTH_1U, 1, 3), 1);
}

TEST(IplAndS, RefusesFloatsAfterTheirOtherFaults)
{
    const Image three = makeImage(3, 3, 3, IPL_DEPTH_32F);
    const Image four = makeImage(3, 3, 4, IPL_DEPTH_32F);
    EXPECT_REPORT(iplAndS(three.get(), four.get(), 1), -5, "iplAndS", "(nChSrc != nChDst)",
                  "iplands");
    EXPECT_REPORT(iplAndS(three.get(), three.get(), 1), -5, "iplAndS",
                  "This function does not support depth 32F", "iplands");
}

TEST(IplAndS, RefusesNullImagesByTheirCheck)
{
    EXPECT_REPORT(iplAndS(nullptr, nullptr, 1), -9, "iplAndS", "Incorrect Image", "iplands");
}

TEST(IplAndS, TakesDifferingOrdersOfBitsAlone)
{
    const Image bits = makeImage(3, 3, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PLANE);
    const Image otherBits = makeImage(3, 3, 1, IPL_DEPTH_1U);
    iplAndS(bits.get(), otherBits.get(), 1);
    const Image bytes = makeImage(3, 3, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    const Image otherBytes = makeImage(3, 3, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplAndS(bytes.get(), otherBytes.get(), 1), -5, "iplAndS",
                  "(srcImage->dataOrder != dstImage->dataOrder)", "iplands");
}
