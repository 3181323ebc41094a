#include "_Src/ipl.h"

#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

Image randomImage(int32_t width, int32_t height, int32_t nChannels, Random& random)
{
    Image image = makeImage(width, height, nChannels, IPL_DEPTH_8U);
    randomise(image.get(), random);
    return image;
}

constexpr const char* resizeModeText =
    "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR && "
    "interpolate != IPL_INTER_CUBIC";

} // namespace

TEST(IplResize, RefusesToGrowOnEitherAxisByAreas)
{
    Random random(1);
    const Image small = randomImage(6, 6, 3, random);
    const Image wide = randomImage(12, 3, 3, random);
    const Image high = randomImage(3, 12, 3, random);
    for (IplImage* dst : {wide.get(), high.get()})
        EXPECT_REPORT(iplResize(small.get(), dst, dst->width, 6, dst->height, 6, IPL_INTER_SUPER),
                      -5, "iplResize", "(xDst > xSrc || yDst > ySrc)", "iplresiz");
}

TEST(IplResize, WritesNothingBehindThatReport)
{
    const ReportsReturn reports;
    Random random(2);
    const Image src = randomImage(6, 6, 1, random);
    const Image dst = randomImage(12, 3, 1, random);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    iplResize(src.get(), dst.get(), 12, 6, 3, 6, IPL_INTER_SUPER);
    EXPECT_EQ(bytesOf(dst.get()), before);
    EXPECT_EQ(iplGetStatus(), -5);
}

TEST(IplResize, AveragesByIplDecimate)
{
    Random random(3);
    const Image src = randomImage(12, 9, 3, random);
    const Image dst = makeImage(4, 3, 3, IPL_DEPTH_8U);
    const Image expected = makeImage(4, 3, 3, IPL_DEPTH_8U);
    iplResize(src.get(), dst.get(), 4, 12, 3, 9, IPL_INTER_SUPER);
    iplDecimate(src.get(), expected.get(), 4, 12, 3, 9, IPL_INTER_SUPER);
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
}

TEST(IplResize, GrowsLikeIplZoom)
{
    Random random(4);
    for (const int32_t mode : {IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC}) {
        const Image src = randomImage(8, 7, 3, random);
        const Image dst = makeImage(13, 10, 3, IPL_DEPTH_8U);
        const Image expected = makeImage(13, 10, 3, IPL_DEPTH_8U);
        iplResize(src.get(), dst.get(), 13, 8, 10, 7, mode);
        iplZoom(src.get(), expected.get(), 13, 8, 10, 7, mode);
        EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get())) << mode;
    }
}

TEST(IplResize, GrowsOnOneAxisAndShrinksOnTheOther)
{
    // By whole factors nearest takes pixel starts: columns double, every third
    // row stays.
    Random random(5);
    const Image src = randomImage(4, 6, 3, random);
    const Image dst = makeImage(8, 2, 3, IPL_DEPTH_8U);
    iplResize(src.get(), dst.get(), 8, 4, 2, 6, IPL_INTER_NN);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 8; ++x)
            for (int32_t c = 0; c < 3; ++c)
                EXPECT_EQ(element(dst.get(), x, y, c), element(src.get(), x / 2, y * 3, c));
}

TEST(IplResize, ShrinksByBilinearWhereIplDecimateWouldTakeNearest)
{
    // The end pixels of both images meet.
    Random random(6);
    const Image src = randomImage(8, 8, 1, random);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    iplResize(src.get(), dst.get(), 4, 8, 4, 8, IPL_INTER_LINEAR);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), element(src.get(), 0, 0, 0));
    EXPECT_EQ(element(dst.get(), 3, 3, 0), element(src.get(), 7, 7, 0));
}

TEST(IplResize, LeavesTheOtherRefusalsToTheWorkers)
{
    Random random(7);
    const Image src = randomImage(6, 6, 3, random);
    const Image dst = randomImage(6, 6, 3, random);
    EXPECT_REPORT(iplResize(src.get(), dst.get(), 6, 6, 6, 6, 4), -5, "iplZoom", resizeModeText,
                  "iplZoom");
    EXPECT_REPORT(iplResize(nullptr, dst.get(), 6, 6, 6, 6, 1), -9, "iplZoom", "Incorrect Image",
                  "iplZoom");
    EXPECT_REPORT(iplResize(src.get(), src.get(), 6, 6, 6, 6, IPL_INTER_SUPER), -5, "Decimate",
                  "srcImage == dstImage", "ipldecim");
}

TEST(IplResize, PassesAFailureOnAsABackTrace)
{
    // A failure that a quiet check left behind ends the process here, however
    // good the arguments are.
    Random random(8);
    const Image src = randomImage(6, 6, 3, random);
    const Image dst = randomImage(9, 3, 3, random);
    EXPECT_REPORT(
        {
            iplSetStatus(-13);
            iplResize(src.get(), dst.get(), 9, 6, 3, 6, IPL_INTER_LINEAR);
        },
        -1, "iplResize", "", "iplresiz");
    const Image smaller = randomImage(3, 3, 3, random);
    EXPECT_REPORT(
        {
            iplSetStatus(-13);
            iplResize(src.get(), smaller.get(), 3, 6, 3, 6, IPL_INTER_SUPER);
        },
        -1, "iplResize", "", "iplresiz");
}

TEST(IplResize, TheBackTraceKeepsTheFirstStatus)
{
    const ReportsReturn reports;
    Random random(9);
    const Image src = randomImage(6, 6, 3, random);
    const Image dst = randomImage(9, 3, 1, random);
    iplResize(src.get(), dst.get(), 9, 6, 3, 6, IPL_INTER_LINEAR);
    EXPECT_EQ(iplGetStatus(), -2);
}
