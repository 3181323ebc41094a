#include "_Src/walk/raster.h"

#include "tests/support/images.h"

#include <gtest/gtest.h>

namespace
{

int64_t offsetOf(const IplImage* image, const void* address)
{
    return static_cast<const char*>(address) - image->imageData;
}

int32_t channelsInRegion(const IplRaster& raster)
{
    return raster.planes * raster.channels;
}

IplRaster openedRaster(const IplImage* image)
{
    IplRaster raster{};
    EXPECT_TRUE(ownRegionStart(image, &raster));
    return raster;
}

// The first byte of the region's first element.
int64_t cornerOf(const IplImage* image, const IplRaster& raster)
{
    return offsetOf(image, raster.row(0, raster.region.y)) +
           (int64_t{raster.region.x} * raster.stride + raster.first) * raster.elementBytes;
}

void expectRegion(const IplRaster& raster, const IplRect& expected)
{
    EXPECT_EQ(raster.region.x, expected.x);
    EXPECT_EQ(raster.region.y, expected.y);
    EXPECT_EQ(raster.region.width, expected.width);
    EXPECT_EQ(raster.region.height, expected.height);
}

} // namespace

// --- The general operations' region -----------------------------------------------

TEST(OwnRegionStart, RefusesAnImageThatIsAlphaAlone)
{
    const Image image = makeImage(10, 6, 1, IPL_DEPTH_8U, 0, 4, 1);
    IplRaster raster{};
    EXPECT_FALSE(ownRegionStart(image.get(), &raster));
    // With a region it has a walk, over no channel.
    setRoi(image.get(), 0, 0, 0, 2, 2);
    EXPECT_TRUE(ownRegionStart(image.get(), &raster));
    EXPECT_EQ(channelsInRegion(raster), 0);
    setRoi(image.get(), 1, 0, 0, 2, 2);
    EXPECT_TRUE(ownRegionStart(image.get(), &raster));
    EXPECT_EQ(channelsInRegion(raster), 1);
}

TEST(OwnRegionStart, LeavesTheAlphaChannelOutUnlessItIsNamed)
{
    const Image image = makeImage(10, 6, 4, IPL_DEPTH_8U, 0, 4, 4);
    EXPECT_EQ(channelsInRegion(openedRaster(image.get())), 3);
    EXPECT_EQ(cornerOf(image.get(), openedRaster(image.get())), 0);
    setRoi(image.get(), 4, 0, 0, 2, 2);
    EXPECT_EQ(channelsInRegion(openedRaster(image.get())), 1);
    EXPECT_EQ(cornerOf(image.get(), openedRaster(image.get())), 3);
}

TEST(OwnRegionStart, FindsTheFirstElementInPixelOrder)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_16S);
    setRoi(image.get(), 0, 4, 2, 3, 3);
    IplRaster raster = openedRaster(image.get());
    EXPECT_EQ(cornerOf(image.get(), raster), 2 * 60 + 4 * 6);
    EXPECT_EQ(raster.step, 60);
    EXPECT_EQ(raster.planeStep, 360);
    EXPECT_EQ(raster.planes, 1);
    EXPECT_EQ(raster.channels, 3);
    EXPECT_EQ(raster.stride, 3);
    EXPECT_EQ(raster.elementBytes, 2);
    setRoi(image.get(), 3, 4, 2, 3, 3);
    raster = openedRaster(image.get());
    EXPECT_EQ(cornerOf(image.get(), raster), 2 * 60 + 4 * 6 + 4);
    EXPECT_EQ(raster.channels, 1);
    EXPECT_EQ(raster.stride, 3);
    setRoi(image.get(), 0, -4, -2, 9, 9);
    EXPECT_EQ(cornerOf(image.get(), openedRaster(image.get())), 0);
}

TEST(OwnRegionStart, FindsTheFirstElementInPlaneOrder)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_32F, 1);
    EXPECT_EQ(openedRaster(image.get()).planes, 3);
    setRoi(image.get(), 2, 4, 2, 3, 3);
    const IplRaster raster = openedRaster(image.get());
    EXPECT_EQ(raster.step, 40);
    EXPECT_EQ(raster.planeStep, 240);
    EXPECT_EQ(raster.planes, 1);
    EXPECT_EQ(raster.stride, 1);
    EXPECT_EQ(cornerOf(image.get(), raster), 240 + 2 * 40 + 4 * 4);
}

TEST(OwnRegionStart, StandsAtTheRowsStartAtDepthOne)
{
    const Image image = makeImage(40, 6, 1, IPL_DEPTH_1U);
    setRoi(image.get(), 0, 19, 3, 3, 3);
    const IplRaster raster = openedRaster(image.get());
    EXPECT_EQ(offsetOf(image.get(), raster.row(0, raster.region.y)), 3 * 8);
    EXPECT_EQ(raster.region.x, 19);
    const quib::BitRows<const uint8_t> bits = ownRegionBits(raster, 5, 1);
    EXPECT_EQ(offsetOf(image.get(), bits.bytes), 4 * 8 + 3);
    EXPECT_EQ(bits.start, 0);
    EXPECT_EQ(bits.step, 8);
}

TEST(OwnRegionStart, GivesTheImagesSizeAndTheRegionInIt)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_8U);
    IplRaster raster = openedRaster(image.get());
    EXPECT_EQ(raster.width, 10);
    EXPECT_EQ(raster.height, 6);
    expectRegion(raster, {0, 0, 10, 6});
    setRoi(image.get(), 0, 4, 2, 30, 2);
    raster = openedRaster(image.get());
    EXPECT_EQ(raster.width, 10);
    EXPECT_EQ(raster.height, 6);
    expectRegion(raster, {4, 2, 6, 2});
    setRoi(image.get(), 0, -4, -2, 9, 9);
    expectRegion(openedRaster(image.get()), {0, 0, 5, 6});
    setRoi(image.get(), 0, 10, 2, 9, 9);
    EXPECT_EQ(openedRaster(image.get()).region.width, 0);
    EXPECT_EQ(openedRaster(image.get()).region.height, 0);
}

TEST(OwnRegionRow, CountsFromTheRegionsCorner)
{
    for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
        const bool planes = order == IPL_DATA_ORDER_PLANE;
        const Image image = makeImage(10, 6, 3, IPL_DEPTH_16U, order);
        setRoi(image.get(), 2, 5, 4, 20, 20);
        const IplRaster raster = openedRaster(image.get());
        const int64_t step = image->widthStep;
        const int64_t column = planes ? 6 * step + 5 * 2 : (5 * 3 + 1) * 2;
        EXPECT_EQ(offsetOf(image.get(), ownRegionRow<uint16_t>(raster, 0, 1)), 5 * step + column);
        EXPECT_EQ(offsetOf(image.get(), ownRegionRow<uint16_t>(raster, 0, -3)), step + column);
    }
}

TEST(OwnSplitChannels, MakesEachChannelAPlane)
{
    const Image image = makeImage(10, 6, 4, IPL_DEPTH_16U, IPL_DATA_ORDER_PIXEL, 4, 4);
    setRoi(image.get(), 0, 2, 1, 3, 3);
    IplRaster raster = openedRaster(image.get());
    ownSplitChannels(&raster);
    EXPECT_EQ(raster.planes, 3);
    EXPECT_EQ(raster.channels, 1);
    EXPECT_EQ(raster.stride, 4);
    for (int32_t c = 0; c < 3; ++c)
        EXPECT_EQ(offsetOf(image.get(), ownRegionRow<uint16_t>(raster, c, 2)),
                  3 * image->widthStep + (2 * 4 + c) * 2);
}

TEST(OwnSplitChannels, LeavesPlanesAsTheyAre)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_16U, IPL_DATA_ORDER_PLANE);
    IplRaster raster = openedRaster(image.get());
    ownSplitChannels(&raster);
    EXPECT_EQ(raster.planes, 3);
    EXPECT_EQ(raster.planeStep, 6 * image->widthStep);
}

// --- Masks --------------------------------------------------------------------------

TEST(OwnMaskStart, GivesTheByteAndTheBitInIt)
{
    const Image mask = makeImage(40, 6, 1, IPL_DEPTH_1U);
    IplRaster raster{};
    EXPECT_TRUE(ownMaskStart(mask.get(), &raster));
    EXPECT_EQ(offsetOf(mask.get(), ownRegionBits(raster, 0, 0).bytes), 0);
    EXPECT_EQ(ownRegionBits(raster, 0, 0).start, 0);
    setRoi(mask.get(), 0, 19, 3, 3, 3);
    EXPECT_TRUE(ownMaskStart(mask.get(), &raster));
    EXPECT_EQ(offsetOf(mask.get(), ownRegionBits(raster, 0, 0).bytes), 3 * 8 + 2);
    EXPECT_EQ(ownRegionBits(raster, 0, 0).step, 8);
    EXPECT_EQ(ownRegionBits(raster, 0, 0).start, 3);
    const Image gray = makeImage(4, 4, 1, IPL_DEPTH_8U);
    EXPECT_FALSE(ownMaskStart(gray.get(), &raster));
}

TEST(OwnMaskStart, TakesAMaskThatIsAlphaAlone)
{
    const Image mask = makeImage(40, 6, 1, IPL_DEPTH_1U, 0, 4, 1);
    IplRaster raster{};
    EXPECT_TRUE(ownMaskStart(mask.get(), &raster));
    EXPECT_NE(raster.address, nullptr);
}

// --- The per-pixel family's region --------------------------------------------------

namespace
{

// One channel, from a channel on.
IplRaster originOf(const IplImage* image, int32_t channelOffset)
{
    IplRaster raster{};
    ownRoiOrigin(image, {channelOffset, 1}, &raster);
    return raster;
}

} // namespace

TEST(OwnRoiOrigin, IsTheFirstElementWithoutARegion)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_16U);
    const IplRaster raster = originOf(image.get(), 0);
    EXPECT_EQ(cornerOf(image.get(), raster), 0);
    expectRegion(raster, {0, 0, 10, 6});
}

TEST(OwnRoiOrigin, FindsTheElementOfAChannelInBothOrders)
{
    for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
        const Image image = makeImage(10, 6, 3, IPL_DEPTH_16U, order);
        setRoi(image.get(), 2, 5, 4, 20, 20);
        const IplRaster raster = originOf(image.get(), 1);
        const int64_t row = 4 * image->widthStep;
        EXPECT_EQ(cornerOf(image.get(), raster), order == IPL_DATA_ORDER_PIXEL
                                                     ? row + (5 * 3 + 1) * 2
                                                     : row + 6 * image->widthStep + 5 * 2);
        EXPECT_EQ(raster.region.width, 5);
        EXPECT_EQ(raster.region.height, 2);
    }
}

TEST(OwnRoiOrigin, GivesTheByteAndTheBitInItAtDepthOne)
{
    const Image image = makeImage(30, 6, 1, IPL_DEPTH_1U);
    setRoi(image.get(), 0, 19, 1, 5, 2);
    const quib::BitRows<const uint8_t> bits = ownRegionBits(originOf(image.get(), 0), 0, 0);
    EXPECT_EQ(offsetOf(image.get(), bits.bytes), image->widthStep + 2);
    EXPECT_EQ(bits.start, 3);
}

TEST(OwnRoiOrigin, StaysInTheImageForARegionBeyondAnEdge)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_8U);
    setRoi(image.get(), 0, INT32_MAX, 2, 5, 2);
    EXPECT_EQ(cornerOf(image.get(), originOf(image.get(), 2)), 0);
    EXPECT_EQ(originOf(image.get(), 2).region.width, 0);
    setRoi(image.get(), 0, 2, 6, 5, 2);
    EXPECT_EQ(cornerOf(image.get(), originOf(image.get(), 2)), 0);
    EXPECT_EQ(originOf(image.get(), 2).region.height, 0);
}

// --- Bitmaps --------------------------------------------------------------------------

TEST(OwnTopDownRows, BeginAtTheRowThatIsShownAtTheTop)
{
    const Image top = makeImage(10, 6, 3, IPL_DEPTH_8U);
    const Image bottom = makeImage(10, 6, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 0, 1);
    setRoi(bottom.get(), 2, 3, 3, 2, 2);
    IplRaster raster{};
    ownTopDownRows(top.get(), &raster);
    EXPECT_EQ(offsetOf(top.get(), raster.row(0, 0)), 0);
    EXPECT_EQ(raster.step, 32);
    ownTopDownRows(bottom.get(), &raster);
    EXPECT_EQ(offsetOf(bottom.get(), raster.row(0, 0)), 5 * 32);
    EXPECT_EQ(offsetOf(bottom.get(), raster.row(0, 5)), 0);
    EXPECT_EQ(raster.channels, 3);
    expectRegion(raster, {0, 0, 10, 6});
}

TEST(OwnTopDownRows, KeepThePlanesInTheirOrder)
{
    const Image image = makeImage(10, 6, 4, IPL_DEPTH_16U, IPL_DATA_ORDER_PLANE, 4, 4, 1);
    IplRaster raster{};
    ownTopDownRows(image.get(), &raster);
    EXPECT_EQ(raster.planes, 4);
    for (int32_t c = 0; c < 4; ++c)
        EXPECT_EQ(offsetOf(image.get(), raster.row(c, 0)), (6 * c + 5) * 20);
}
