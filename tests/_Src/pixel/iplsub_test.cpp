#include "tests/support/one_pixel.h"

#include <climits>

TEST(IplSubtract, SaturatesAtIntegerDepths)
{
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_8U, 55, 56), 0);
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_8U, 255, 1), 254);
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_8S, -100, 29), -128);
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_8S, 100, -28), 127);
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_16U, 0, 65535), 0);
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_16S, 32767, -1), 32767);
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_32S, 0, INT_MIN), INT_MAX);
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_32S, -2, INT_MAX), INT_MIN);
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_32F, 0.25, 300.5), -300.25);
}

TEST(IplSubtract, TakesTheBitsOfTheSecondFromTheFirst)
{
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_1U, 0, 0), 0);
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_1U, 0, 1), 0);
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_1U, 1, 0), 1);
    EXPECT_EQ(resultOfPair(iplSubtract, IPL_DEPTH_1U, 1, 1), 0);
}

TEST(IplSubtract, HonoursTheMaskAtDepthOneWhateverTheOrders)
{
    Random random(1);
    const Image a = makeImage(21, 3, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PLANE);
    const Image b = makeImage(21, 3, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PIXEL);
    const Image dst = makeImage(21, 3, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PLANE);
    randomise(a.get(), random);
    randomise(b.get(), random);
    const IplImage* mask = giveRandomMask(dst.get(), 21, 3, random);
    iplSubtract(a.get(), b.get(), dst.get());
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 21; ++x)
            EXPECT_EQ(element(dst.get(), x, y, 0), element(mask, x, y, 0) *
                                                       element(a.get(), x, y, 0) *
                                                       (1 - element(b.get(), x, y, 0)));
}

TEST(IplSubtract, RefusesNullImagesByTheirCheck)
{
    EXPECT_REPORT(iplSubtract(nullptr, nullptr, nullptr), -9, "iplSubtract", "Incorrect Image",
                  "iplsub");
}
