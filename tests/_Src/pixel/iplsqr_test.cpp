#include "tests/support/one_pixel.h"

#include <climits>

TEST(IplSquare, SaturatesTheSquare)
{
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_8U, 15), 225);
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_8U, 16), 255);
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_8S, -128), 127);
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_8S, -11), 121);
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_16U, 255), 65025);
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_16U, 65535), 65535);
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_16S, -32768), 32767);
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_16S, -181), 32761);
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_32S, -46340), 2147395600);
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_32S, 46341), INT_MAX);
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_32S, INT_MIN), INT_MAX);
    EXPECT_EQ(resultOf(iplSquare, IPL_DEPTH_32F, -1.5), 2.25);
}

TEST(IplSquare, CopiesBitsUnderTheMaskWhateverTheOrders)
{
    Random random(1);
    const Image src = makeImage(20, 3, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PLANE);
    const Image dst = makeImage(20, 3, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PIXEL);
    randomise(src.get(), random);
    const IplImage* mask = giveRandomMask(src.get(), 20, 3, random);
    iplSquare(src.get(), dst.get());
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 20; ++x)
            EXPECT_EQ(element(dst.get(), x, y, 0),
                      element(mask, x, y, 0) * element(src.get(), x, y, 0));
}

TEST(IplSquare, RefusesNullImagesByTheirCheck)
{
    EXPECT_REPORT(iplSquare(nullptr, nullptr), -9, "iplSquare", "Incorrect Image", "iplsqr");
}
