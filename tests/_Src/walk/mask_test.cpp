#include "_Src/walk/mask.h"

#include "tests/support/images.h"

#include <gtest/gtest.h>

namespace
{

Image randomMask(int32_t width, int32_t height, Random& random)
{
    Image mask = makeImage(width, height, 1, IPL_DEPTH_1U);
    randomise(mask.get(), random);
    return mask;
}

} // namespace

TEST(OwnMergeMasks, GivesASingleMaskItself)
{
    Random random(1);
    const Image mask = randomMask(9, 4, random);
    {
        IplMergedMask none;
        ownMergeMasks(nullptr, nullptr, nullptr, &none);
        EXPECT_EQ(none.image, nullptr);
        EXPECT_EQ(none.state, MaskMerge::asGiven);
        IplMergedMask first;
        ownMergeMasks(mask.get(), nullptr, nullptr, &first);
        EXPECT_EQ(first.image, mask.get());
        EXPECT_EQ(first.state, MaskMerge::asGiven);
        IplMergedMask last;
        ownMergeMasks(nullptr, nullptr, mask.get(), &last);
        EXPECT_EQ(last.image, mask.get());
        EXPECT_EQ(last.state, MaskMerge::asGiven);
    }
    EXPECT_EQ(mask->width, 9);
}

TEST(OwnMergeMasks, LeavesAMergedMaskBehindIfAsked)
{
    Random random(5);
    const Image a = randomMask(9, 4, random);
    const Image b = randomMask(9, 4, random);
    Image left;
    {
        IplMergedMask mask;
        ownMergeMasks(a.get(), b.get(), nullptr, &mask);
        left.reset(mask.image);
        mask.leaveBehind();
    }
    EXPECT_EQ(left->width, 9);
}

TEST(OwnMergeMasks, AndsEachMaskFromItsOwnRegionsCorner)
{
    Random random(2);
    for (int round = 0; round < 60; ++round) {
        Image masks[3];
        for (Image& one : masks) {
            one = randomMask(random.between(20, 50), random.between(5, 9), random);
            if (random.coin())
                setRoi(one.get(), 0, random.between(0, 19), random.between(0, 4),
                       random.between(1, 40), random.between(1, 9));
        }
        const bool three = random.coin();
        IplMergedMask mask;
        ownMergeMasks(masks[0].get(), masks[1].get(), three ? masks[2].get() : nullptr, &mask);
        const IplImage* merged = mask.image;
        ASSERT_EQ(mask.state, MaskMerge::merged);
        ASSERT_NE(merged, nullptr);
        int32_t width = INT32_MAX;
        int32_t height = INT32_MAX;
        for (int i = 0; i < (three ? 3 : 2); ++i) {
            const IplImage* one = masks[i].get();
            const IplROI roi = one->roi ? *one->roi : IplROI{0, 0, 0, one->width, one->height};
            width = std::min({width, roi.width, one->width - roi.xOffset});
            height = std::min({height, roi.height, one->height - roi.yOffset});
        }
        ASSERT_EQ(merged->width, width);
        ASSERT_EQ(merged->height, height);
        EXPECT_EQ(merged->dataOrder, IPL_DATA_ORDER_PLANE);
        EXPECT_EQ(std::memcmp(merged->colorModel, "GRAY", 4), 0);
        EXPECT_EQ(std::memcmp(merged->channelSeq, "G   ", 4), 0);
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x) {
                bool all = true;
                for (int i = 0; i < (three ? 3 : 2); ++i) {
                    const IplROI* roi = masks[i]->roi;
                    all = all && element(masks[i].get(), x + (roi ? roi->xOffset : 0),
                                         y + (roi ? roi->yOffset : 0), 0) != 0;
                }
                ASSERT_EQ(element(merged, x, y, 0), all ? 1 : 0);
            }
        }
    }
}

TEST(OwnMergeMasks, TakesTheFirstMasksOrigin)
{
    Random random(3);
    const Image a = randomMask(9, 4, random);
    const Image b = randomMask(9, 4, random);
    b->origin = IPL_ORIGIN_BL;
    IplMergedMask mask;
    ownMergeMasks(nullptr, b.get(), a.get(), &mask);
    EXPECT_EQ(mask.image->origin, IPL_ORIGIN_BL);
}

TEST(OwnMergeMasks, IsEmptyWhenARegionLiesOutsideItsMask)
{
    Random random(4);
    const Image a = randomMask(9, 4, random);
    const Image b = randomMask(9, 4, random);
    setRoi(b.get(), 0, 9, 0, 3, 3);
    IplMergedMask both;
    ownMergeMasks(a.get(), b.get(), nullptr, &both);
    EXPECT_EQ(both.image, nullptr);
    EXPECT_EQ(both.state, MaskMerge::empty);
    // One mask alone is given back, whatever its region.
    IplMergedMask alone;
    ownMergeMasks(b.get(), nullptr, nullptr, &alone);
    EXPECT_EQ(alone.image, b.get());
    EXPECT_EQ(alone.state, MaskMerge::asGiven);
}
