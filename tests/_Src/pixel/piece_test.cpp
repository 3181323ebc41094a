#include "_Src/pixel/piece.h"

#include "tests/support/images.h"

#include <gtest/gtest.h>

TEST(OwnIsWholeRun, HoldsForImagesOfOneShapeWithoutRegions)
{
    const Image a = makeImage(5, 3, 3, IPL_DEPTH_8U);
    const Image b = makeImage(5, 3, 3, IPL_DEPTH_8U);
    const Image c = makeImage(5, 3, 3, IPL_DEPTH_8U);
    EXPECT_TRUE(ownIsWholeRun(a.get(), b.get(), nullptr, false));
    EXPECT_TRUE(ownIsWholeRun(a.get(), b.get(), c.get(), false));
    EXPECT_FALSE(ownIsWholeRun(a.get(), b.get(), c.get(), true));
}

TEST(OwnIsWholeRun, NeedsEqualSizesAndAlignment)
{
    const Image image = makeImage(8, 4, 1, IPL_DEPTH_8U);
    const auto fits = [&image](int32_t width, int32_t height, int32_t nChannels, int32_t align) {
        const Image other = makeImage(width, height, nChannels, IPL_DEPTH_8U, 0, align);
        EXPECT_EQ(ownIsWholeRun(image.get(), image.get(), other.get(), false),
                  ownIsWholeRun(image.get(), other.get(), nullptr, false));
        return ownIsWholeRun(image.get(), other.get(), nullptr, false);
    };
    EXPECT_TRUE(fits(8, 4, 1, 4));
    EXPECT_FALSE(fits(7, 4, 1, 4));
    EXPECT_FALSE(fits(8, 5, 1, 4));
    EXPECT_FALSE(fits(8, 4, 2, 4));
    EXPECT_FALSE(fits(8, 4, 1, 8));
}

TEST(OwnIsWholeRun, TakesOnlyAWholeRegionWithAChannelOfInterestOfOne)
{
    const Image plain = makeImage(8, 4, 1, IPL_DEPTH_8U);
    const Image image = makeImage(8, 4, 1, IPL_DEPTH_8U);
    const auto fits = [&](int32_t coi, int32_t x, int32_t y, int32_t width, int32_t height) {
        setRoi(image.get(), coi, x, y, width, height);
        return ownIsWholeRun(plain.get(), image.get(), nullptr, false);
    };
    EXPECT_TRUE(fits(1, 0, 0, 8, 4));
    EXPECT_TRUE(fits(1, 0, 0, 9, 40));
    EXPECT_FALSE(fits(0, 0, 0, 8, 4));
    EXPECT_FALSE(fits(1, 1, 0, 8, 4));
    EXPECT_FALSE(fits(1, 0, 1, 8, 4));
    EXPECT_FALSE(fits(1, 0, 0, 7, 4));
    EXPECT_FALSE(fits(1, 0, 0, 8, 3));
    const Image three = makeImage(8, 4, 3, IPL_DEPTH_8U);
    const Image roi = makeImage(8, 4, 3, IPL_DEPTH_8U);
    setRoi(roi.get(), 1, 0, 0, 8, 4);
    EXPECT_FALSE(ownIsWholeRun(three.get(), roi.get(), nullptr, false));
}
