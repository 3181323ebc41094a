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
    iplXorS(src.get(), dst.get(), value);
    return element(dst.get(), 0, 0, 0);
}

} // namespace

TEST(IplXorS, TakesTheValuesLowBitsOnly)
{
    EXPECT_EQ(result(IPL_DEPTH_8U, 0xF0, 0x1FF), 0x0F);
    EXPECT_EQ(result(IPL_DEPTH_8S, 1, 0x80), -127);
    EXPECT_EQ(result(IPL_DEPTH_16U, 0xF00F, 0x7FFFF), 0x0FF0);
    EXPECT_EQ(result(IPL_DEPTH_16S, 0, 0x18000), -32768);
    EXPECT_EQ(result(IPL_DEPTH_32S, 5, -1), -6);
}

TEST(IplXorS, CopiesBitsWithTwo)
{
    EXPECT_EQ(result(IPL_DEPTH_1U, 0, 2), 0);
    EXPECT_EQ(result(IPL_DEPTH_1U, 1, 2), 1);
    EXPECT_EQ(result(IPL_DEPTH_1U, 1, 1), 0);
}

TEST(IplNot, InvertsEveryBit)
{
    const Image src = makeImage(5, 1, 1, IPL_DEPTH_16U);
    const Image dst = makeImage(5, 1, 1, IPL_DEPTH_16U);
    putElement(src.get(), 4, 0, 0, 0x1234);
    iplNot(src.get(), dst.get());
    EXPECT_EQ(element(dst.get(), 4, 0, 0), 0xEDCB);
    const Image bits = makeImage(5, 1, 1, IPL_DEPTH_1U);
    iplNot(bits.get(), bits.get());
    EXPECT_EQ(rowOf(bits.get(), 0)[0], 0xF8);
}

TEST(IplNot, ReportsUnderTheNameOfXor)
{
    const Image floats = makeImage(3, 3, 1, IPL_DEPTH_32F);
    EXPECT_REPORT(iplNot(floats.get(), floats.get()), -5, "iplXorS",
                  "This function does not support depth 32F", "iplxors");
    EXPECT_REPORT(iplNot(nullptr, nullptr), -9, "iplXorS", "Incorrect Image", "iplxors");
}

TEST(IplXorS, RefusesFloatsAfterTheirOtherFaults)
{
    const Image three = makeImage(3, 3, 3, IPL_DEPTH_32F);
    const Image four = makeImage(3, 3, 4, IPL_DEPTH_32F);
    EXPECT_REPORT(iplXorS(three.get(), four.get(), 1), -5, "iplXorS", "(nChSrc != nChDst)",
                  "iplxors");
    EXPECT_REPORT(iplXorS(three.get(), three.get(), 1), -5, "iplXorS",
                  "This function does not support depth 32F", "iplxors");
}

TEST(IplXorS, RefusesNullImagesByTheirCheck)
{
    EXPECT_REPORT(iplXorS(nullptr, nullptr, 1), -9, "iplXorS", "Incorrect Image", "iplxors");
}

TEST(IplXorS, TakesDifferingOrdersOfBitsAlone)
{
    const Image bits = makeImage(3, 3, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PLANE);
    const Image otherBits = makeImage(3, 3, 1, IPL_DEPTH_1U);
    iplXorS(bits.get(), otherBits.get(), 1);
    const Image bytes = makeImage(3, 3, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    const Image otherBytes = makeImage(3, 3, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplXorS(bytes.get(), otherBytes.get(), 1), -5, "iplXorS",
                  "(srcImage->dataOrder != dstImage->dataOrder)", "iplxors");
}
