#include "_Src/window/neighbours.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/tiles.h"
#include "tests/support/window.h"

namespace
{

struct Arranged {
    Image image;
    IplNeighbourhood hood;
};

// Any part of an image of this depth, with windows of any reach.
Arranged randomNeighbourhood(uint32_t depth, Random& random)
{
    const int32_t channels = depth == IPL_DEPTH_1U ? 1 : random.between(1, 4);
    Arranged made{makeImage(random.between(1, 40), random.between(1, 20), channels, depth,
                            random.between(0, 1), 4 << random.between(0, 3)),
                  {}};
    IplImage* image = made.image.get();
    randomise(image, random);
    giveRandomBorders(image, random);
    IplNeighbourhood& hood = made.hood;
    hood.image = image;
    hood.rectangle.x = random.between(0, image->width - 1);
    hood.rectangle.y = random.between(0, image->height - 1);
    hood.rectangle.width = random.between(1, image->width - hood.rectangle.x);
    hood.rectangle.height = random.between(1, image->height - hood.rectangle.y);
    const auto reach = [&] { return random.between(0, random.coin() ? 2 : 25); };
    hood.reach = {reach(), reach(), reach(), reach()};
    hood.firstChannel = random.between(0, channels - 1);
    hood.channels = random.between(1, channels - hood.firstChannel);
    if (random.coin())
        hood.firstChannel = 0, hood.channels = channels;
    return made;
}

// Compares all that a row's windows can read with the plain form.
void expectPlainRows(const uint8_t* const* rows, const IplNeighbourhood& hood,
                     const IplImage* pixels, int32_t y)
{
    const IplReach& reach = hood.reach;
    for (int32_t r = 0; r <= reach.top + reach.bottom; ++r) {
        for (int32_t x = -reach.left; x < hood.rectangle.width + reach.right; ++x) {
            for (int32_t c = 0; c < hood.channels; ++c) {
                const double expected = elementAround(pixels, int64_t{hood.rectangle.x} + x,
                                                      int64_t{hood.rectangle.y} + y - reach.top + r,
                                                      hood.firstChannel + c);
                ASSERT_EQ(rowElement(pixels->depth, rows[r], ptrdiff_t{x} * hood.channels + c),
                          expected)
                    << describe(pixels) << " row " << y << " neighbour " << r << " at " << x;
            }
        }
    }
}

void expectPlainNeighbours(const IplNeighbourhood& hood, const IplImage* pixels)
{
    IplNeighbours neighbours(hood);
    ASSERT_TRUE(neighbours.isReady());
    for (int32_t y = 0; y < hood.rectangle.height; ++y) {
        const uint8_t* const* rows = neighbours.nextRows();
        ASSERT_NE(rows, nullptr);
        expectPlainRows(rows, hood, pixels, y);
        if (testing::Test::HasFatalFailure())
            return;
    }
}

// Whether a row lies in an image's block.
bool liesIn(const IplImage* image, const uint8_t* row)
{
    const uint8_t* data = rowOf(image, 0);
    return row >= data && row < data + image->imageSize;
}

} // namespace

TEST(Neighbours, AreThoseOfTheBorderCopy)
{
    Random random(1);
    for (const uint32_t depth : allDepths) {
        for (int i = 0; i < 60; ++i) {
            const Arranged made = randomNeighbourhood(depth, random);
            expectPlainNeighbours(made.hood, made.image.get());
        }
    }
}

TEST(Neighbours, AreTheSameFromTiles)
{
    Random random(2);
    for (const uint32_t depth : allDepths) {
        for (int i = 0; i < 40; ++i) {
            const Arranged made = randomNeighbourhood(depth, random);
            const TiledImage tiled(made.image.get(), 8 * random.between(1, 2), 8);
            std::copy_n(made.image->BorderMode, 4, tiled->BorderMode);
            std::copy_n(made.image->BorderConst, 4, tiled->BorderConst);
            IplNeighbourhood hood = made.hood;
            hood.image = tiled.get();
            expectPlainNeighbours(hood, made.image.get());
        }
    }
}

TEST(Neighbours, KeepWhatIsOverwrittenInPlace)
{
    Random random(3);
    for (const uint32_t depth : allDepths) {
        for (int i = 0; i < 60; ++i) {
            Arranged made = randomNeighbourhood(depth, random);
            const Twin before(made.image.get());
            std::copy_n(made.image->BorderMode, 4, before.get()->BorderMode);
            std::copy_n(made.image->BorderConst, 4, before.get()->BorderConst);
            made.hood.inPlace = true;
            IplNeighbours neighbours(made.hood);
            ASSERT_TRUE(neighbours.isReady());
            for (int32_t y = 0; y < made.hood.rectangle.height; ++y) {
                const uint8_t* const* rows = neighbours.nextRows();
                ASSERT_NE(rows, nullptr);
                expectPlainRows(rows, made.hood, before.get(), y);
                if (testing::Test::HasFatalFailure())
                    return;
                for (int32_t c = 0; c < made.image->nChannels; ++c)
                    for (int32_t x = 0; x < made.image->width; ++x)
                        putElement(made.image.get(), x, made.hood.rectangle.y + y, c, 1);
            }
        }
    }
}

TEST(Neighbours, AreTheImagesOwnRowsInside)
{
    for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
        const Image image = makeImage(20, 10, 3, IPL_DEPTH_16S, order);
        const int32_t channels = order == IPL_DATA_ORDER_PIXEL ? 3 : 1;
        IplNeighbours neighbours({image.get(), {2, 1, 16, 9}, {2, 2, 2, 1}, 0, channels, false});
        ASSERT_TRUE(neighbours.isReady());
        for (int32_t y = 1; y < 10; ++y) {
            const uint8_t* const* rows = neighbours.nextRows();
            for (int32_t r = 0; r < 4; ++r)
                EXPECT_EQ(liesIn(image.get(), rows[r]), y - 2 + r >= 0 && y - 2 + r < 10);
        }
    }
}

TEST(Neighbours, OfAllColumnsAreMade)
{
    const Image image = makeImage(20, 10, 1, IPL_DEPTH_8U);
    IplNeighbours neighbours({image.get(), {0, 0, 20, 10}, {1, 0, 0, 0}, 0, 1, false});
    EXPECT_FALSE(liesIn(image.get(), neighbours.nextRows()[0]));
}

TEST(Neighbours, ReadATileOnceDownTheImage)
{
    Random random(4);
    Image image = makeImage(20, 20, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    randomise(image.get(), random);
    iplSetBorderMode(image.get(), IPL_BORDER_REFLECT, 15, 0);
    const TiledImage tiled(image.get(), 16, 8);
    iplSetBorderMode(tiled.get(), IPL_BORDER_REFLECT, 15, 0);
    expectPlainNeighbours({tiled.get(), {0, 0, 20, 20}, {2, 3, 2, 3}, 0, 3, false}, image.get());
    EXPECT_EQ(tiled.log, fetches(toRead, {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {0, 2}, {1, 2}}));
}

TEST(Neighbours, EndWhereATileDoesNotCome)
{
    const Image image = makeImage(20, 20, 1, IPL_DEPTH_8U);
    TiledImage tiled(image.get(), 16, 8);
    tiled.failFrom = 6;
    IplNeighbours neighbours({tiled.get(), {0, 0, 20, 20}, {1, 1, 1, 1}, 0, 1, false});
    ASSERT_TRUE(neighbours.isReady());
    int32_t rows = 0;
    while (rows < 20 && neighbours.nextRows())
        ++rows;
    EXPECT_EQ(rows, 7);
    EXPECT_EQ(tiled.log.size(), 7u);
}

TEST(Neighbours, AreNotReadyWithoutMemoryOrTiles)
{
    const Image image = makeImage(20, 20, 1, IPL_DEPTH_1U);
    TiledImage tiled(image.get(), 16, 8);
    for (int32_t passing = 0; passing < 4; ++passing) {
        FailingAllocation failure(passing);
        const IplNeighbours neighbours({tiled.get(), {0, 0, 20, 20}, {1, 1, 1, 1}, 0, 1, true});
        EXPECT_FALSE(neighbours.isReady());
    }
    iplSetBorderMode(tiled.get(), IPL_BORDER_WRAP, 15, 0);
    tiled.failFrom = 0;
    EXPECT_FALSE(IplNeighbours({tiled.get(), {0, 0, 20, 20}, {1, 1, 1, 1}, 0, 1, true}).isReady());
}

TEST(Neighbours, OfAnEndlessWindowTakeNoMemory)
{
    const Image image = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const IplNeighbours neighbours(
        {image.get(), {0, 0, 4, 4}, {INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX}, 0, 1, false});
    EXPECT_FALSE(neighbours.isReady());
}

TEST(Neighbours, ReadNothingOutsideTheBlock)
{
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
        for (const int32_t bitDepth : {1, 8, 24, 32}) {
            const GuardedHandle image(37, 5, bitDepth, guard);
            iplSetBorderMode(image.get(), IPL_BORDER_WRAP, 15, 0);
            image.makeReadOnly();
            const int32_t channels = bitDepth < 24 ? 1 : bitDepth / 8;
            expectPlainNeighbours({image.get(), {0, 0, 37, 5}, {9, 7, 40, 3}, 0, channels, false},
                                  image.get());
            expectPlainNeighbours({image.get(), {3, 1, 34, 4}, {3, 1, 0, 0}, 0, channels, false},
                                  image.get());
        }
    }
}
