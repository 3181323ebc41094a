#include "_Src/walk/target.h"

#include "_Src/walk/bits.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

namespace
{

IplTarget openedTarget(const IplImage* image, const IplImage* mask, int32_t width, int32_t height)
{
    IplTarget target{};
    EXPECT_TRUE(ownOpenTarget(image, mask, width, height, &target));
    return target;
}

} // namespace

TEST(OwnOpenTarget, RefusesWhatIsNotWritten)
{
    const Image alpha = makeImage(4, 4, 1, IPL_DEPTH_8U, 0, 4, 1);
    const Image gray = makeImage(4, 4, 1, IPL_DEPTH_8U);
    IplTarget target{};
    EXPECT_FALSE(ownOpenTarget(alpha.get(), nullptr, 4, 4, &target));
    EXPECT_FALSE(ownOpenTarget(gray.get(), gray.get(), 4, 4, &target));
}

TEST(OwnOpenTarget, TakesWholeRowsWithoutMaskAndLeftOutChannels)
{
    const Image mask = makeImage(4, 4, 1, IPL_DEPTH_1U);
    const Image colour = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const Image alpha = makeImage(4, 4, 4, IPL_DEPTH_8U, 0, 4, 4);
    const Image planes = makeImage(4, 4, 4, IPL_DEPTH_8U, 1, 4, 4);
    EXPECT_TRUE(ownTakesWholeRows(openedTarget(colour.get(), nullptr, 4, 4)));
    EXPECT_TRUE(ownTakesWholeRows(openedTarget(planes.get(), nullptr, 4, 4)));
    EXPECT_FALSE(ownTakesWholeRows(openedTarget(alpha.get(), nullptr, 4, 4)));
    EXPECT_FALSE(ownTakesWholeRows(openedTarget(colour.get(), mask.get(), 4, 4)));
}

TEST(OwnDeliver, WritesTheChannelsWhereTheMaskHasAOne)
{
    const Image image = makeImage(6, 2, 4, IPL_DEPTH_16U, 0, 4, 4);
    const Image mask = makeImage(20, 4, 1, IPL_DEPTH_1U);
    setRoi(image.get(), 0, 2, 1, 3, 1);
    setRoi(mask.get(), 0, 9, 2, 3, 1);
    ownPutBit(reinterpret_cast<uint8_t*>(mask->imageData) + 2 * mask->widthStep, 10, true);
    const uint16_t row[15] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    ownDeliver(openedTarget(image.get(), mask.get(), 3, 1), 0, 0, row, 5);
    std::vector<uint16_t> expected(static_cast<size_t>(image->imageSize) / 2);
    expected[6 * 4 + 3 * 4] = 6;
    expected[6 * 4 + 3 * 4 + 1] = 7;
    expected[6 * 4 + 3 * 4 + 2] = 8;
    EXPECT_EQ(std::memcmp(image->imageData, expected.data(), image->imageSize), 0);
}

TEST(OwnDeliver, WritesOnePlaneOfSeveral)
{
    const Image image = makeImage(3, 2, 3, IPL_DEPTH_32F, 1);
    const float row[3] = {1, 2, 3};
    ownDeliver(openedTarget(image.get(), nullptr, 3, 2), 2, 1, row, 1);
    std::vector<float> expected(18);
    std::copy_n(row, 3, expected.begin() + 15);
    EXPECT_EQ(std::memcmp(image->imageData, expected.data(), image->imageSize), 0);
}

TEST(OwnDeliverBits, WritesBitsWhereTheMaskHasAOne)
{
    const Image image = makeImage(20, 2, 1, IPL_DEPTH_1U);
    const Image mask = makeImage(20, 2, 1, IPL_DEPTH_1U);
    setRoi(image.get(), 0, 3, 1, 8, 1);
    std::memset(mask->imageData, 0x0F, 1);
    const uint8_t bits = 0xFF;
    ownDeliverBits(openedTarget(image.get(), mask.get(), 8, 1), 0, &bits);
    // The mask's bits 4 to 7 are the image's 7 to 10.
    const auto* row = reinterpret_cast<const uint8_t*>(image->imageData) + image->widthStep;
    EXPECT_EQ(row[0], 0x01);
    EXPECT_EQ(row[1], 0xE0);
    ownDeliverBits(openedTarget(image.get(), nullptr, 8, 1), 0, &bits);
    EXPECT_EQ(row[0], 0x1F);
    EXPECT_EQ(row[1], 0xE0);
}
