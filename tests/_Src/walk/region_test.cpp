#include "_Src/walk/region.h"

#include "tests/support/images.h"

#include <gtest/gtest.h>

namespace
{

struct Size {
    bool some;
    int32_t height;
    int32_t width;
};

Size regionSize(const IplImage* image, bool clip)
{
    Size size{false, -7, -7};
    size.some = ownRegionSize(image, &size.height, &size.width, clip);
    return size;
}

// The size that a region of an image of 10 x 6 pixels has.
Size sizeOf(IplROI roi, bool clip)
{
    const Image image = makeImage(10, 6, 1, IPL_DEPTH_8U);
    image->roi = &roi;
    const Size size = regionSize(image.get(), clip);
    image->roi = nullptr;
    return size;
}

void expectSize(IplROI roi, bool clip, int32_t height, int32_t width)
{
    const Size size = sizeOf(roi, clip);
    EXPECT_TRUE(size.some);
    EXPECT_EQ(size.height, height);
    EXPECT_EQ(size.width, width);
}

int64_t offsetOf(const IplImage* image, const uint8_t* address)
{
    return address - reinterpret_cast<const uint8_t*>(image->imageData);
}

} // namespace

TEST(OwnRegionSize, IsTheImagesSizeWithoutARegion)
{
    const Image image = makeImage(10, 6, 1, IPL_DEPTH_8U);
    for (const bool clip : {false, true}) {
        const Size size = regionSize(image.get(), clip);
        EXPECT_TRUE(size.some);
        EXPECT_EQ(size.height, 6);
        EXPECT_EQ(size.width, 10);
    }
}

TEST(OwnRegionSize, HasNothingToDoForARegionWithoutPixels)
{
    for (const bool clip : {false, true}) {
        EXPECT_FALSE(sizeOf({0, 0, 0, 0, 3}, clip).some);
        EXPECT_FALSE(sizeOf({0, 0, 0, 3, -1}, clip).some);
    }
}

TEST(OwnRegionSize, GivesTheRegionAsItStandsWithoutClip)
{
    expectSize({0, 20, -20, 50, 60}, false, 60, 50);
}

TEST(OwnRegionSize, ClipsToTheImage)
{
    expectSize({0, 3, 2, 4, 2}, true, 2, 4);
    expectSize({0, 3, 2, 40, 20}, true, 4, 7);
    expectSize({0, 9, 5, INT32_MAX, INT32_MAX}, true, 1, 1);
    EXPECT_FALSE(sizeOf({0, 10, 0, 1, 1}, true).some);
    EXPECT_FALSE(sizeOf({0, 0, 6, 1, 1}, true).some);
    EXPECT_FALSE(sizeOf({0, INT32_MAX, 0, 1, 1}, true).some);
}

TEST(OwnRegionSize, AddsANegativeOffsetToTheSize)
{
    expectSize({0, -3, -1, 5, 3}, true, 2, 2);
    expectSize({0, -3, -1, 50, 30}, true, 6, 10);
    EXPECT_FALSE(sizeOf({0, -3, 0, 3, 3}, true).some);
    EXPECT_FALSE(sizeOf({0, INT32_MIN, 0, 1, 3}, true).some);
}

TEST(OwnCommonRegion, TakesTheSmallestOfEachSide)
{
    const Image a = makeImage(10, 6, 1, IPL_DEPTH_8U);
    const Image b = makeImage(7, 9, 3, IPL_DEPTH_16U);
    const Image c = makeImage(20, 20, 1, IPL_DEPTH_1U);
    setRoi(c.get(), 0, 15, 17, 50, 50);
    int32_t height = 0;
    int32_t width = 0;
    EXPECT_TRUE(ownCommonRegion(a.get(), b.get(), nullptr, &height, &width, true));
    EXPECT_EQ(height, 6);
    EXPECT_EQ(width, 7);
    EXPECT_TRUE(ownCommonRegion(a.get(), b.get(), c.get(), &height, &width, true));
    EXPECT_EQ(height, 3);
    EXPECT_EQ(width, 5);
    EXPECT_TRUE(ownCommonRegion(a.get(), b.get(), c.get(), &height, &width, false));
    EXPECT_EQ(height, 6);
    EXPECT_EQ(width, 7);
    setRoi(c.get(), 0, 20, 0, 50, 50);
    EXPECT_FALSE(ownCommonRegion(a.get(), b.get(), c.get(), &height, &width, true));
    EXPECT_TRUE(ownCommonRegion(a.get(), nullptr, nullptr, &height, &width, true));
    EXPECT_EQ(height, 6);
    EXPECT_EQ(width, 10);
}

TEST(OwnRegionStart, RefusesAnImageThatIsAlphaAlone)
{
    const Image image = makeImage(10, 6, 1, IPL_DEPTH_8U, 0, 4, 1);
    IplWalk walk{};
    EXPECT_FALSE(ownRegionStart(image.get(), &walk));
    // With a region it has a walk, over no channel.
    setRoi(image.get(), 0, 0, 0, 2, 2);
    EXPECT_TRUE(ownRegionStart(image.get(), &walk));
    EXPECT_EQ(walk.channels, 0);
    setRoi(image.get(), 1, 0, 0, 2, 2);
    EXPECT_TRUE(ownRegionStart(image.get(), &walk));
    EXPECT_EQ(walk.channels, 1);
}

TEST(OwnRegionStart, LeavesTheAlphaChannelOutUnlessItIsNamed)
{
    const Image image = makeImage(10, 6, 4, IPL_DEPTH_8U, 0, 4, 4);
    IplWalk walk{};
    EXPECT_TRUE(ownRegionStart(image.get(), &walk));
    EXPECT_EQ(walk.channels, 3);
    EXPECT_EQ(offsetOf(image.get(), walk.address), 0);
    setRoi(image.get(), 4, 0, 0, 2, 2);
    EXPECT_TRUE(ownRegionStart(image.get(), &walk));
    EXPECT_EQ(walk.channels, 1);
    EXPECT_EQ(offsetOf(image.get(), walk.address), 3);
}

TEST(OwnRegionStart, FindsTheFirstElementInPixelOrder)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_16S);
    setRoi(image.get(), 0, 4, 2, 3, 3);
    IplWalk walk{};
    EXPECT_TRUE(ownRegionStart(image.get(), &walk));
    EXPECT_EQ(offsetOf(image.get(), walk.address), 2 * 60 + 4 * 6);
    EXPECT_EQ(walk.step, 60);
    EXPECT_EQ(walk.planeStep, 360);
    EXPECT_EQ(walk.channels, 3);
    EXPECT_EQ(walk.bitStart, 0);
    setRoi(image.get(), 3, 4, 2, 3, 3);
    EXPECT_TRUE(ownRegionStart(image.get(), &walk));
    EXPECT_EQ(offsetOf(image.get(), walk.address), 2 * 60 + 4 * 6 + 4);
    EXPECT_EQ(walk.channels, 1);
    setRoi(image.get(), 0, -4, -2, 9, 9);
    EXPECT_TRUE(ownRegionStart(image.get(), &walk));
    EXPECT_EQ(offsetOf(image.get(), walk.address), 0);
}

TEST(OwnRegionStart, FindsTheFirstElementInPlaneOrder)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_32F, 1);
    setRoi(image.get(), 2, 4, 2, 3, 3);
    IplWalk walk{};
    EXPECT_TRUE(ownRegionStart(image.get(), &walk));
    EXPECT_EQ(walk.step, 40);
    EXPECT_EQ(walk.planeStep, 240);
    EXPECT_EQ(offsetOf(image.get(), walk.address), 240 + 2 * 40 + 4 * 4);
}

TEST(OwnRegionStart, StandsAtTheRowsStartAtDepthOne)
{
    const Image image = makeImage(40, 6, 1, IPL_DEPTH_1U);
    setRoi(image.get(), 0, 19, 3, 3, 3);
    IplWalk walk{};
    EXPECT_TRUE(ownRegionStart(image.get(), &walk));
    EXPECT_EQ(offsetOf(image.get(), walk.address), 3 * 8);
    EXPECT_EQ(walk.bitStart, 19);
}

TEST(OwnMaskStart, GivesTheByteAndTheBitInIt)
{
    const Image mask = makeImage(40, 6, 1, IPL_DEPTH_1U);
    IplMaskWalk walk{};
    EXPECT_TRUE(ownMaskStart(mask.get(), &walk));
    EXPECT_EQ(offsetOf(mask.get(), walk.address), 0);
    EXPECT_EQ(walk.bitOffset, 0);
    setRoi(mask.get(), 0, 19, 3, 3, 3);
    EXPECT_TRUE(ownMaskStart(mask.get(), &walk));
    EXPECT_EQ(offsetOf(mask.get(), walk.address), 3 * 8 + 2);
    EXPECT_EQ(walk.step, 8);
    EXPECT_EQ(walk.bitOffset, 3);
    const Image gray = makeImage(4, 4, 1, IPL_DEPTH_8U);
    EXPECT_FALSE(ownMaskStart(gray.get(), &walk));
}

namespace
{

// The corner and size that a region of an image of 10 x 6 pixels has.
IplRect clipped(IplROI roi)
{
    const Image image = makeImage(10, 6, 1, IPL_DEPTH_8U);
    image->roi = &roi;
    IplRect rectangle{};
    ownClipROI(image.get(), &rectangle);
    image->roi = nullptr;
    return rectangle;
}

void expectRect(const IplRect& rectangle, int32_t x, int32_t y, int32_t width, int32_t height)
{
    EXPECT_EQ(rectangle.x, x);
    EXPECT_EQ(rectangle.y, y);
    EXPECT_EQ(rectangle.width, width);
    EXPECT_EQ(rectangle.height, height);
}

struct Origin {
    int64_t offset; // of the address in the pixels
    int32_t width;
    int32_t height;
    int32_t bitOffset;
};

Origin originOf(const IplImage* image, int32_t channelOffset)
{
    Origin origin{0, -7, -7, -7};
    origin.offset = offsetOf(image, ownRoiOrigin(image, &origin.width, &origin.height,
                                                 channelOffset, &origin.bitOffset));
    return origin;
}

} // namespace

TEST(OwnClipROI, CutsAtTheRightAndBottomEdges)
{
    expectRect(clipped({0, 2, 1, 3, 4}), 2, 1, 3, 4);
    expectRect(clipped({1, 2, 1, 30, 40}), 2, 1, 8, 5);
    const Image image = makeImage(10, 6, 1, IPL_DEPTH_8U);
    IplRect rectangle{};
    ownClipROI(image.get(), &rectangle);
    expectRect(rectangle, 0, 0, 10, 6);
}

TEST(OwnClipROI, LeavesTheSizeOfARegionBeyondAnEdgeNegative)
{
    expectRect(clipped({0, 13, 6, 3, 4}), 13, 6, -3, 0);
    expectRect(clipped({0, INT32_MAX, 0, INT32_MAX, 1}), INT32_MAX, 0, 10 - INT32_MAX, 1);
}

TEST(OwnRoiOrigin, IsTheFirstElementWithoutARegion)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_16U);
    const Origin origin = originOf(image.get(), 0);
    EXPECT_EQ(origin.offset, 0);
    EXPECT_EQ(origin.width, 10);
    EXPECT_EQ(origin.height, 6);
    EXPECT_EQ(origin.bitOffset, 0);
}

TEST(OwnRoiOrigin, FindsTheElementOfAChannelInBothOrders)
{
    for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
        const Image image = makeImage(10, 6, 3, IPL_DEPTH_16U, order);
        setRoi(image.get(), 2, 5, 4, 20, 20);
        const Origin origin = originOf(image.get(), 1);
        const int64_t row = 4 * image->widthStep;
        EXPECT_EQ(origin.offset, order == IPL_DATA_ORDER_PIXEL
                                     ? row + (5 * 3 + 1) * 2
                                     : row + 6 * image->widthStep + 5 * 2);
        EXPECT_EQ(origin.width, 5);
        EXPECT_EQ(origin.height, 2);
    }
}

TEST(OwnRoiOrigin, GivesTheByteAndTheBitInItAtDepthOne)
{
    const Image image = makeImage(30, 6, 1, IPL_DEPTH_1U);
    setRoi(image.get(), 0, 19, 1, 5, 2);
    const Origin origin = originOf(image.get(), 0);
    EXPECT_EQ(origin.offset, image->widthStep + 2);
    EXPECT_EQ(origin.bitOffset, 3);
}

TEST(OwnRoiOrigin, StaysInTheImageForARegionBeyondAnEdge)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_8U);
    setRoi(image.get(), 0, INT32_MAX, 2, 5, 2);
    EXPECT_EQ(originOf(image.get(), 2).offset, 0);
    EXPECT_EQ(originOf(image.get(), 2).width, 0);
    setRoi(image.get(), 0, 2, 6, 5, 2);
    EXPECT_EQ(originOf(image.get(), 2).offset, 0);
    EXPECT_EQ(originOf(image.get(), 2).height, 0);
}
