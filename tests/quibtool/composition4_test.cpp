#include "quibtool/handle.h"
#include "quibtool/startup.h"

#include "tests/support/bad_handles.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

// The colours of `under` with the colours of `over` laid on, both alphas
// counting.
void blendPlaced(uint8_t* under, const uint8_t* over)
{
    const uint32_t entry = pairBlendTable[over[3] * 256 + under[3]];
    const int32_t weight = static_cast<int32_t>(entry & 255);
    for (int32_t c = 0; c < 3; ++c)
        under[c] = static_cast<uint8_t>(under[c] + (((over[c] - under[c]) * weight) >> 8));
    under[3] = static_cast<uint8_t>(entry >> 24);
}

// Where y grows upwards and row r stands at y = -r.
bool contains(const QuibRect& rect, int64_t x, int64_t y)
{
    return x >= rect.left && x < rect.right && y <= rect.top && y > rect.bottom;
}

// Goes by the places of the pixels, one by one.
std::vector<uint8_t> plainPlacedComposition(const IplImage* over, const IplImage* under,
                                            const QuibPoint* position, const QuibRect* rect)
{
    std::vector<uint8_t> result = bytesOf(under);
    const QuibPoint at = position ? *position : QuibPoint{0, 0};
    for (int32_t row = 0; row < under->height; ++row) {
        for (int32_t column = 0; column < under->width; ++column) {
            const int64_t overColumn = int64_t{column} - at.x;
            const int64_t overRow = int64_t{row} + at.y;
            if (overColumn < 0 || overColumn >= over->width || overRow < 0 ||
                overRow >= over->height || (rect && !contains(*rect, column, -int64_t{row})))
                continue;
            blendPlaced(&result[static_cast<size_t>(row * under->widthStep + column * 4)],
                        rowOf(over, static_cast<int32_t>(overRow)) + overColumn * 4);
        }
    }
    return result;
}

void expectPlainPlacement(const IplImage* over, IplImage* under, const QuibPoint* position,
                          const QuibRect* rect)
{
    const std::vector<uint8_t> source = bytesOf(over);
    const std::vector<uint8_t> expected = plainPlacedComposition(over, under, position, rect);
    ASSERT_EQ(QuibComposition4(over, under, position, rect), QUIB_OK);
    ASSERT_EQ(bytesOf(under), expected)
        << (position ? position->x : 0) << ", " << (position ? position->y : 0);
    ASSERT_EQ(bytesOf(over), source);
}

// Sees to it that alphas of 0 and 255 are common, as in pictures.
void roundAlphas(IplImage* image, Random& random)
{
    for (int32_t i = 3; i < image->imageSize; i += 4)
        if (const int32_t choice = random.between(0, 3); choice < 2)
            image->imageData[i] = static_cast<char>(choice ? 255 : 0);
}

// The bytes of `under` with the first ones, one pixel after the other, blended.
std::vector<uint8_t> plainRun(const IplImage* over, const IplImage* under, int32_t bytes)
{
    std::vector<uint8_t> result = bytesOf(under);
    for (int32_t i = 0; i < bytes; i += 4)
        blendPlaced(&result[static_cast<size_t>(i)], rowOf(over, 0) + i);
    return result;
}

} // namespace

// --- Refusals -----------------------------------------------------------------------

TEST(QuibComposition4, RefusesABadHandleWithTheText)
{
    const Image good = makeHandle(4, 4, 32);
    EXPECT_BAD_HANDLE(QuibComposition4(nullptr, good.get(), nullptr, nullptr));
    EXPECT_BAD_HANDLE(QuibComposition4(good.get(), nullptr, nullptr, nullptr));
}

TEST(QuibComposition4, PassesOnTheImageChecksBeforeTheRectangle)
{
    const CleanStatus clean;
    Image over = makeHandle(4, 4, 32);
    Image under = makeHandle(4, 4, 32);
    const QuibRect upsideDown{0, 0, 4, 4};
    under->height = 0;
    EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, &upsideDown), -10);
    over->align = 5;
    EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, &upsideDown), -21);
}

TEST(QuibComposition4, RefusesARectangleThatIsNotUprightWithoutText)
{
    Random random(1);
    const Image over = makeRandomHandle(8, 8, 32, random);
    const Image under = makeRandomHandle(8, 8, 32, random);
    const std::vector<uint8_t> before = bytesOf(under.get());
    quibLastError[0] = 0;
    for (const QuibRect& bad : {QuibRect{0, 0, 4, 4}, QuibRect{0, -4, 4, -4}, QuibRect{4, 0, 4, -4},
                                QuibRect{5, 0, 4, -4}, QuibRect{0, -8, 8, 0}}) {
        QuibRect rect = bad;
        EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, &rect), QUIB_BAD_ARGUMENT);
    }
    EXPECT_EQ(bytesOf(under.get()), before);
    EXPECT_EQ(quibLastError[0], 0);
}

TEST(QuibComposition4, TestsTheRectangleBeforeTheDepths)
{
    const Image over = makeHandle(4, 4, 24);
    const Image under = makeHandle(4, 4, 32);
    const QuibRect good{0, 0, 4, -4};
    const QuibRect bad{0, 0, 4, 4};
    EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, &bad), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, &good), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibComposition4(under.get(), over.get(), nullptr, nullptr), QUIB_BAD_ARGUMENT);
    for (const int32_t bitDepth : {1, 8})
        EXPECT_EQ(QuibComposition4(under.get(), makeHandle(4, 4, bitDepth).get(), nullptr, nullptr),
                  QUIB_BAD_ARGUMENT);
}

// --- Places -----------------------------------------------------------------------------

TEST(QuibComposition4, StartsFiveRowsIntoTheUpperImageAtAHeightOfFive)
{
    Random random(2);
    const Image over = makeRandomHandle(6, 9, 32, random);
    const Image under = makeRandomHandle(6, 9, 32, random);
    const std::vector<uint8_t> before = bytesOf(under.get());
    std::vector<uint8_t> pixel(rowOf(under.get(), 0), rowOf(under.get(), 0) + 4);
    blendPlaced(pixel.data(), rowOf(over.get(), 5));
    const QuibPoint position{0, 5};
    expectPlainPlacement(over.get(), under.get(), &position, nullptr);
    EXPECT_EQ(std::memcmp(rowOf(under.get(), 0), pixel.data(), 4), 0);
    // Four rows are left of the upper image.
    EXPECT_EQ(std::memcmp(rowOf(under.get(), 4), before.data() + 4 * under->widthStep,
                          static_cast<size_t>(5 * under->widthStep)),
              0);
}

TEST(QuibComposition4, StartsAtTheThirdRowAtAHeightOfMinusThree)
{
    Random random(3);
    const Image over = makeRandomHandle(6, 4, 32, random);
    const Image under = makeRandomHandle(6, 9, 32, random);
    const std::vector<uint8_t> before = bytesOf(under.get());
    std::vector<uint8_t> pixel(rowOf(under.get(), 3), rowOf(under.get(), 3) + 4);
    blendPlaced(pixel.data(), rowOf(over.get(), 0));
    const QuibPoint position{0, -3};
    expectPlainPlacement(over.get(), under.get(), &position, nullptr);
    EXPECT_EQ(std::memcmp(rowOf(under.get(), 3), pixel.data(), 4), 0);
    EXPECT_EQ(std::memcmp(rowOf(under.get(), 0), before.data(),
                          static_cast<size_t>(3 * under->widthStep)),
              0);
}

TEST(QuibComposition4, EntersTheUpperImageAtColumnTwoAtAnXOfMinusTwo)
{
    Random random(4);
    const Image over = makeRandomHandle(6, 4, 32, random);
    const Image under = makeRandomHandle(9, 4, 32, random);
    std::vector<uint8_t> pixel(rowOf(under.get(), 0), rowOf(under.get(), 0) + 4);
    blendPlaced(pixel.data(), rowOf(over.get(), 0) + 2 * 4);
    const QuibPoint position{-2, 0};
    expectPlainPlacement(over.get(), under.get(), &position, nullptr);
    EXPECT_EQ(std::memcmp(rowOf(under.get(), 0), pixel.data(), 4), 0);
}

TEST(QuibComposition4, DrawsWithinARectangleOfTheFirstTenRows)
{
    Random random(5);
    const Image over = makeRandomHandle(16, 16, 32, random);
    const Image under = makeRandomHandle(16, 16, 32, random);
    const std::vector<uint8_t> before = bytesOf(under.get());
    const QuibRect rect{0, 0, 16, -10};
    expectPlainPlacement(over.get(), under.get(), nullptr, &rect);
    EXPECT_NE(std::memcmp(rowOf(under.get(), 9), before.data() + 9 * under->widthStep,
                          static_cast<size_t>(under->widthStep)),
              0);
    EXPECT_EQ(std::memcmp(rowOf(under.get(), 10), before.data() + 10 * under->widthStep,
                          static_cast<size_t>(6 * under->widthStep)),
              0);
}

TEST(QuibComposition4, NeverWritesTheRectangleOrThePositionBack)
{
    const Image over = makeHandle(4, 4, 32);
    const Image under = makeHandle(4, 4, 32);
    const QuibRect rect{-5, 7, 90, -80};
    const QuibPoint position{-1, 2};
    EXPECT_EQ(QuibComposition4(over.get(), under.get(), &position, &rect), QUIB_OK);
    EXPECT_TRUE(sameRect(rect, -5, 7, 90, -80));
    EXPECT_EQ(position.x, -1);
    EXPECT_EQ(position.y, 2);
}

TEST(QuibComposition4, DrawsNothingWhenPlacedWhollyOutside)
{
    Random random(6);
    const Image over = makeRandomHandle(5, 4, 32, random);
    const Image under = makeRandomHandle(7, 6, 32, random);
    const std::vector<uint8_t> before = bytesOf(under.get());
    for (const QuibPoint& position :
         {QuibPoint{7, 0}, QuibPoint{-5, 0}, QuibPoint{0, 4}, QuibPoint{0, -6},
          QuibPoint{INT32_MAX, INT32_MAX}, QuibPoint{INT32_MIN, INT32_MIN},
          QuibPoint{INT32_MAX, INT32_MIN}, QuibPoint{INT32_MIN, INT32_MAX}})
        EXPECT_EQ(QuibComposition4(over.get(), under.get(), &position, nullptr), QUIB_OK);
    for (const QuibRect& rect :
         {QuibRect{7, 0, 9, -6}, QuibRect{-4, 0, 0, -6}, QuibRect{0, 5, 7, 0},
          QuibRect{0, -6, 7, -9}, QuibRect{INT32_MIN, INT32_MIN + 1, INT32_MIN + 1, INT32_MIN},
          QuibRect{INT32_MAX - 1, INT32_MAX, INT32_MAX, INT32_MAX - 1}})
        EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, &rect), QUIB_OK);
    EXPECT_EQ(bytesOf(under.get()), before);
}

TEST(QuibComposition4, DrawsTheLastRowAndColumnThatOverlap)
{
    Random random(7);
    for (const QuibPoint& position :
         {QuibPoint{6, 3}, QuibPoint{6, -5}, QuibPoint{-4, 3}, QuibPoint{-4, -5}}) {
        const Image over = makeRandomHandle(5, 4, 32, random);
        const Image under = makeRandomHandle(7, 6, 32, random);
        expectPlainPlacement(over.get(), under.get(), &position, nullptr);
    }
}

TEST(QuibComposition4, MatchesThePlainFormForRandomPlacesAndRectangles)
{
    forEachLevel([] {
        Random random(8);
        for (int round = 0; round < 1500; ++round) {
            const Image over = makeRandomHandleUpTo(40, 12, 32, random);
            const Image under = makeRandomHandleUpTo(40, 12, 32, random);
            roundAlphas(over.get(), random);
            roundAlphas(under.get(), random);
            const QuibPoint position{random.between(-over->width, under->width),
                                     random.between(-under->height, over->height)};
            QuibRect rect{};
            rect.left = random.between(-6, under->width);
            rect.right = rect.left + random.between(1, 40);
            rect.top = random.between(-under->height, 6);
            rect.bottom = rect.top - random.between(1, 14);
            ASSERT_NO_FATAL_FAILURE(expectPlainPlacement(over.get(), under.get(),
                                                         random.coin() ? &position : nullptr,
                                                         random.coin() ? &rect : nullptr));
        }
    });
}

// --- Pixels ------------------------------------------------------------------------------

TEST(QuibComposition4, GivesEveryPairOfAlphasItsPlainResult)
{
    forEachLevel([] {
        Random random(9);
        const Image over = makeRandomHandle(256, 256, 32, random);
        const Image under = makeRandomHandle(256, 256, 32, random);
        for (int32_t y = 0; y < 256; ++y) {
            for (int32_t x = 0; x < 256; ++x) {
                rowOf(over.get(), y)[x * 4 + 3] = static_cast<uint8_t>(y);
                rowOf(under.get(), y)[x * 4 + 3] = static_cast<uint8_t>(x);
            }
        }
        expectPlainPlacement(over.get(), under.get(), nullptr, nullptr);
    });
}

TEST(QuibComposition4, NeverReachesAnOpaqueUpperColourQuite)
{
    const Image over = makePixel({255, 255, 255, 255});
    const Image under = makePixel({0, 0, 0, 255});
    EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, nullptr), QUIB_OK);
    EXPECT_EQ(element(under.get(), 0, 0, 0), 254);
    EXPECT_EQ(element(under.get(), 0, 0, 3), 255);
}

TEST(QuibComposition4, KeepsTheLowerColourWhereBothAlphasAreNought)
{
    const Image over = makePixel({200, 200, 200, 0});
    const Image under = makePixel({50, 50, 50, 0});
    EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, nullptr), QUIB_OK);
    EXPECT_EQ(element(under.get(), 0, 0, 1), 50);
    EXPECT_EQ(element(under.get(), 0, 0, 3), 0);
}

// --- One run, and rows: five pixels and three of padding, which a handle never has ------------

TEST(QuibComposition4, BlendsTheRowPaddingInASingleRun)
{
    Random random(10);
    const Image over = makeRandomPadded(5, 4, random);
    const Image under = makeRandomPadded(5, 4, random);
    const std::vector<uint8_t> expected = plainRun(over.get(), under.get(), under->imageSize);
    EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, nullptr), QUIB_OK);
    EXPECT_EQ(bytesOf(under.get()), expected);
}

TEST(QuibComposition4, WalksRowsOfFourTimesTheWidthOnceAPositionOrRectangleIsGiven)
{
    const QuibPoint origin{0, 0};
    const QuibRect wholeRect{0, 0, 5, -4};
    for (const bool byPosition : {true, false}) {
        Random random(11);
        const Image over = makeRandomPadded(5, 4, random);
        const Image under = makeRandomPadded(5, 4, random);
        // Twenty pixels one after the other: padding of the first rows, and
        // nothing of the last ones.
        const std::vector<uint8_t> expected = plainRun(over.get(), under.get(), 20 * 4);
        EXPECT_EQ(QuibComposition4(over.get(), under.get(), byPosition ? &origin : nullptr,
                                   byPosition ? nullptr : &wholeRect),
                  QUIB_OK);
        EXPECT_EQ(bytesOf(under.get()), expected);
    }
}

TEST(QuibComposition4, EndsASingleRunWithTheShorterBlock)
{
    forEachLevel([] {
        Random random(12);
        const GuardedHandle over(5, 4, 32);
        random.fill(over->imageData, static_cast<size_t>(over->imageSize));
        const Image under = makeRandomPadded(5, 4, random);
        const std::vector<uint8_t> expected = plainRun(over.get(), under.get(), over->imageSize);
        EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, nullptr), QUIB_OK);
        EXPECT_EQ(bytesOf(under.get()), expected);
    });
}

TEST(QuibComposition4, StaysInsideBothBlocks)
{
    forEachLevel([] {
        for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
            for (int32_t width = 1; width < 40; ++width) {
                const GuardedHandle over(width, 3, 32, guard);
                const GuardedHandle under(41 - width, 4, 32, guard);
                over.makeReadOnly();
                EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, nullptr), QUIB_OK);
                for (const QuibPoint& position :
                     {QuibPoint{1, -1}, QuibPoint{-1, 1}, QuibPoint{40 - width, -3},
                      QuibPoint{1 - width, 2}})
                    EXPECT_EQ(QuibComposition4(over.get(), under.get(), &position, nullptr),
                              QUIB_OK);
            }
        }
    });
}

TEST(QuibComposition4, ComposesAHandleOverItself)
{
    Random random(13);
    const Image handle = makeRandomHandle(9, 7, 32, random);
    const std::vector<uint8_t> expected = plainRun(handle.get(), handle.get(), handle->imageSize);
    EXPECT_EQ(QuibComposition4(handle.get(), handle.get(), nullptr, nullptr), QUIB_OK);
    EXPECT_EQ(bytesOf(handle.get()), expected);
}

TEST(QuibComposition4, ComposesAHandleOverItselfAtAnotherPlaceFromTheEndOfEachRow)
{
    forEachLevel([] {
        Random random(14);
        for (const QuibPoint& position : {QuibPoint{3, 0}, QuibPoint{-2, 0}, QuibPoint{0, -1},
                                          QuibPoint{1, -2}, QuibPoint{-1, 1}}) {
            const Image handle = makeRandomHandle(21, 7, 32, random);
            std::vector<uint8_t> expected = bytesOf(handle.get());
            for (int32_t row = 0; row < 7; ++row) {
                for (int32_t column = 20; column >= 0; --column) {
                    const int32_t fromColumn = column - position.x;
                    const int32_t fromRow = row + position.y;
                    if (fromColumn >= 0 && fromColumn < 21 && fromRow >= 0 && fromRow < 7)
                        blendPlaced(
                            &expected[static_cast<size_t>((row * 21 + column) * 4)],
                            &expected[static_cast<size_t>((fromRow * 21 + fromColumn) * 4)]);
                }
            }
            EXPECT_EQ(QuibComposition4(handle.get(), handle.get(), &position, nullptr), QUIB_OK);
            EXPECT_EQ(bytesOf(handle.get()), expected) << position.x << ", " << position.y;
        }
    });
}

TEST(QuibComposition4, LeavesRegionsAndTheAlphaChannelFieldAlone)
{
    const Image over = makeHandle(6, 6, 32);
    const Image under = makeHandle(6, 6, 32);
    under->alphaChannel = 4;
    setRoi(over.get(), 0, 1, 1, 2, 2);
    setRoi(under.get(), 2, 2, 2, 2, 2);
    const IplROI* held[] = {over->roi, under->roi};
    const QuibPoint position{1, -1};
    EXPECT_EQ(QuibComposition4(over.get(), under.get(), &position, nullptr), QUIB_OK);
    EXPECT_EQ(over->roi, held[0]);
    EXPECT_EQ(under->roi, held[1]);
    EXPECT_EQ(under->roi->xOffset, 2);
    EXPECT_EQ(under->alphaChannel, 4);
}

TEST(QuibComposition4, ComposesOutsideOfRegionsAndMasksToo)
{
    Random random(21);
    const Image over = makeRandomHandle(17, 5, 32, random);
    const Image under = makeRandomHandle(17, 5, 32, random);
    const Image plain(iplCloneImage(under.get()));
    const QuibPoint position{1, -1};
    EXPECT_EQ(QuibComposition4(over.get(), plain.get(), &position, nullptr), QUIB_OK);
    EXPECT_EQ(QuibComposition4(over.get(), plain.get(), nullptr, nullptr), QUIB_OK);
    for (const Image* image : {&over, &under}) {
        setRoi(image->get(), 1, 3, 3, 2, 2);
        giveRandomMask(image->get(), 17, 5, random);
    }
    EXPECT_EQ(QuibComposition4(over.get(), under.get(), &position, nullptr), QUIB_OK);
    EXPECT_EQ(QuibComposition4(over.get(), under.get(), nullptr, nullptr), QUIB_OK);
    EXPECT_EQ(bytesOf(under.get()), bytesOf(plain.get()));
}
