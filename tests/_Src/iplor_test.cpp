#include "_Src/ipl.h"

#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

double result(uint32_t depth, double elementA, double elementB)
{
    const Image a = makeImage(1, 1, 1, depth);
    const Image b = makeImage(1, 1, 1, depth);
    const Image dst = makeImage(1, 1, 1, depth);
    putElement(a.get(), 0, 0, 0, elementA);
    putElement(b.get(), 0, 0, 0, elementB);
    iplOr(a.get(), b.get(), dst.get());
    return element(dst.get(), 0, 0, 0);
}

} // namespace

TEST(IplOr, WorksOnTheBitsOfEveryIntegerDepth)
{
    EXPECT_EQ(result(IPL_DEPTH_8U, 240, 60), 252);
    EXPECT_EQ(result(IPL_DEPTH_16U, 61455, 4660), 62015);
    EXPECT_EQ(result(IPL_DEPTH_1U, 0, 1), 1);
    EXPECT_EQ(result(IPL_DEPTH_1U, 1, 1), 1);
    EXPECT_EQ(result(IPL_DEPTH_8S, -128, 127), -1);
    EXPECT_EQ(result(IPL_DEPTH_16S, -2, 21845), -1);
    EXPECT_EQ(result(IPL_DEPTH_32S, -65536, 305419896), -43400);
}

TEST(IplOr, HasItsOwnBitOffsetInEachImage)
{
    // Pixels 0 to 5 of the region: A 110100, B 101010.
    const Image a = makeImage(16, 1, 1, IPL_DEPTH_1U);
    const Image b = makeImage(16, 1, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(16, 1, 1, IPL_DEPTH_1U);
    rowOf(a.get(), 0)[0] = 0x34;
    rowOf(b.get(), 0)[0] = 0x01;
    rowOf(b.get(), 0)[1] = 0x50;
    rowOf(dst.get(), 0)[0] = 0xFF;
    rowOf(dst.get(), 0)[1] = 0xFF;
    setRoi(a.get(), 0, 2, 0, 6, 1);
    setRoi(b.get(), 0, 7, 0, 6, 1);
    setRoi(dst.get(), 0, 5, 0, 6, 1);
    iplOr(a.get(), b.get(), dst.get());
    EXPECT_EQ(rowOf(dst.get(), 0)[0], 0xFF);
    EXPECT_EQ(rowOf(dst.get(), 0)[1], 0xDF);
}

TEST(IplOr, RefusesNullImagesByTheirCheck)
{
    EXPECT_REPORT(iplOr(nullptr, nullptr, nullptr), -9, "iplOr", "Incorrect Image", "iplor");
}
