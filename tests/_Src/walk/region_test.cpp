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
