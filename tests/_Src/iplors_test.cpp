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
    iplOrS(src.get(), dst.get(), value);
    return element(dst.get(), 0, 0, 0);
}

} // namespace

TEST(IplOrS, TakesTheValuesLowBitsOnly)
{
    EXPECT_EQ(result(IPL_DEPTH_8U, 0xA0, 0x105), 0xA5);
    EXPECT_EQ(result(IPL_DEPTH_8S, 1, 0x80), -127);
    EXPECT_EQ(result(IPL_DEPTH_16U, 0xA0C0, 0x70B0D), 0xABCD);
    EXPECT_EQ(result(IPL_DEPTH_16S, 1, 0x18000), -32767);
    EXPECT_EQ(result(IPL_DEPTH_32S, 8, 0x12345670), 0x12345678);
    EXPECT_EQ(result(IPL_DEPTH_1U, 0, 2), 0);
    EXPECT_EQ(result(IPL_DEPTH_1U, 0, 3), 1);
}

TEST(IplOrS, SetsEveryBitWithMinusOne)
{
    EXPECT_EQ(result(IPL_DEPTH_8U, 7, -1), 255);
    EXPECT_EQ(result(IPL_DEPTH_16U, 7, -1), 65535);
    EXPECT_EQ(result(IPL_DEPTH_32S, 7, -1), -1);
    EXPECT_EQ(result(IPL_DEPTH_1U, 0, -1), 1);
}

TEST(IplOrS, RefusesFloatsAfterTheirOtherFaults)
{
    const Image three = makeImage(3, 3, 3, IPL_DEPTH_32F);
    const Image four = makeImage(3, 3, 4, IPL_DEPTH_32F);
    EXPECT_REPORT(iplOrS(three.get(), four.get(), 1), -5, "iplOrS", "(nChSrc != nChDst)", "iplors");
    EXPECT_REPORT(iplOrS(three.get(), three.get(), 1), -5, "iplOrS",
                  "This function does not support depth 32F", "iplors");
}

TEST(IplOrS, RefusesNullImagesByTheirCheck)
{
    EXPECT_REPORT(iplOrS(nullptr, nullptr, 1), -9, "iplOrS", "Incorrect Image", "iplors");
}

TEST(IplOrS, TakesDifferingOrdersOfBitsAlone)
{
    const Image bits = makeImage(3, 3, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PLANE);
    const Image otherBits = makeImage(3, 3, 1, IPL_DEPTH_1U);
    iplOrS(bits.get(), otherBits.get(), 1);
    const Image bytes = makeImage(3, 3, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    const Image otherBytes = makeImage(3, 3, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplOrS(bytes.get(), otherBytes.get(), 1), -5, "iplOrS",
                  "(srcImage->dataOrder != dstImage->dataOrder)", "iplors");
}
