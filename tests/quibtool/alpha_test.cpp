#include "quibtool/handle.h"

#include "tests/support/bad_handles.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

// The fourth byte that QuibSetAlpha gives a pixel.
uint8_t expectedAlpha(bool havePlane, uint8_t planeByte, uint8_t oldAlpha, uint32_t percent)
{
    if (percent == 0)
        return 0;
    const uint8_t from = havePlane ? planeByte : oldAlpha;
    if (percent == 100)
        return from;
    const uint32_t scale = static_cast<uint8_t>(percent * 256u / 100u);
    return static_cast<uint8_t>(from * scale / 256);
}

std::vector<uint8_t> expectedBytes(const IplImage* handle, const IplImage* plane, uint32_t percent)
{
    std::vector<uint8_t> bytes = bytesOf(handle);
    for (int32_t y = 0; y < handle->height; ++y) {
        for (int32_t x = 0; x < handle->width; ++x) {
            uint8_t& alpha = bytes[static_cast<size_t>(y * handle->widthStep + x * 4 + 3)];
            alpha = expectedAlpha(plane != nullptr, plane ? rowOf(plane, y)[x] : 0, alpha, percent);
        }
    }
    return bytes;
}

} // namespace

// --- QuibSetAlphaS -------------------------------------------------------------

TEST(QuibSetAlphaS, RefusesABadHandleWithTheText)
{
    EXPECT_BAD_HANDLE(QuibSetAlphaS(nullptr, nullptr, 0));
    Image handle = makeHandle(2, 2, 32);
    iplDeallocateImage(handle.get());
    EXPECT_BAD_HANDLE(QuibSetAlphaS(handle.get(), nullptr, 0));
}

TEST(QuibSetAlphaS, RefusesFewerThanFourChannelsWithoutTextOrClip)
{
    quibLastError[0] = 0;
    QuibRect rect{-3, -3, 50, 50};
    for (const int32_t bitDepth : {1, 8, 24}) {
        Random random(1);
        const Image handle = makeRandomHandle(5, 4, bitDepth, random);
        const std::vector<uint8_t> before = bytesOf(handle.get());
        EXPECT_EQ(QuibSetAlphaS(handle.get(), &rect, 7), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(bytesOf(handle.get()), before);
    }
    EXPECT_EQ(rect.left, -3);
    EXPECT_EQ(rect.bottom, 50);
    EXPECT_EQ(quibLastError[0], 0);
}

TEST(QuibSetAlphaS, SetsTheFourthByteOfEveryPixel)
{
    forEachLevel([] {
        Random random(2);
        for (int32_t width = 1; width < 70; ++width) {
            const Image handle = makeRandomHandle(width, 3, 32, random);
            std::vector<uint8_t> expected = bytesOf(handle.get());
            for (size_t i = 3; i < expected.size(); i += 4)
                expected[i] = 0xC3;
            ASSERT_EQ(QuibSetAlphaS(handle.get(), nullptr, 0xC3), QUIB_OK);
            ASSERT_EQ(bytesOf(handle.get()), expected);
        }
    });
}

TEST(QuibSetAlphaS, TakesTheLowByteOfTheAlpha)
{
    const Image handle = makeHandle(3, 3, 32);
    EXPECT_EQ(QuibSetAlphaS(handle.get(), nullptr, 0x1FF), QUIB_OK);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 3; ++x)
            EXPECT_EQ(element(handle.get(), x, y, 3), 255);
}

TEST(QuibSetAlphaS, LeavesTheRowPaddingOfAWiderPitch)
{
    Image handle = makeHandle(8, 3, 32);
    handle->width = 5;
    EXPECT_EQ(QuibSetAlphaS(handle.get(), nullptr, 0xFF), QUIB_OK);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 8; ++x)
            EXPECT_EQ(rowOf(handle.get(), y)[x * 4 + 3], x < 5 ? 255 : 0);
}

TEST(QuibSetAlphaS, CountsTheLeftEdgeInBytesAndStartsAtTheFirstRow)
{
    const Image handle = makeHandle(8, 6, 32);
    QuibRect rect{4, 2, 6, 5};
    EXPECT_EQ(QuibSetAlphaS(handle.get(), &rect, 0xFF), QUIB_OK);
    for (int32_t y = 0; y < 6; ++y)
        for (int32_t x = 0; x < 32; ++x)
            EXPECT_EQ(rowOf(handle.get(), y)[x], y < 3 && (x == 7 || x == 11) ? 255 : 0)
                << x << ", " << y;
}

TEST(QuibSetAlphaS, WritesAColourByteWhenLeftIsNoMultipleOfFour)
{
    const Image handle = makeHandle(8, 1, 32);
    QuibRect rect{3, 0, 8, 1};
    EXPECT_EQ(QuibSetAlphaS(handle.get(), &rect, 0x55), QUIB_OK);
    for (int32_t x = 0; x < 32; ++x)
        EXPECT_EQ(rowOf(handle.get(), 0)[x], x >= 6 && x <= 22 && (x - 6) % 4 == 0 ? 0x55 : 0) << x;
}

TEST(QuibSetAlphaS, StoresTheClippedRectangleAlsoWhenItRefuses)
{
    const Image handle = makeHandle(8, 6, 32);
    QuibRect right{9, -2, 20, 40};
    EXPECT_EQ(QuibSetAlphaS(handle.get(), &right, 0xFF), QUIB_BAD_ARGUMENT);
    EXPECT_TRUE(sameRect(right, 9, 0, 8, 6));
    QuibRect flat{0, 3, 8, 3};
    EXPECT_EQ(QuibSetAlphaS(handle.get(), &flat, 0xFF), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(bytesOf(handle.get()), std::vector<uint8_t>(8 * 6 * 4, 0));
}

TEST(QuibSetAlphaS, MatchesTheWalkByBytesForRandomRectangles)
{
    forEachLevel([] {
        Random random(3);
        for (int round = 0; round < 200; ++round) {
            const int32_t width = random.between(1, 40);
            const int32_t height = random.between(1, 12);
            const Image handle = makeRandomHandle(width, height, 32, random);
            QuibRect rect{random.between(-3, width), random.between(-3, height),
                          random.between(-3, width + 3), random.between(-3, height + 3)};
            std::vector<uint8_t> expected = bytesOf(handle.get());
            const int32_t left = std::max(rect.left, 0);
            const int32_t top = std::max(rect.top, 0);
            const int32_t right = std::min(rect.right, width);
            const int32_t bottom = std::min(rect.bottom, height);
            const bool refused = left >= right || top >= bottom;
            for (int32_t y = 0; !refused && y < bottom - top; ++y)
                for (int32_t x = 0; x < right - left; ++x)
                    expected[static_cast<size_t>(y * handle->widthStep + left + x * 4 + 3)] = 0xA1;
            ASSERT_EQ(QuibSetAlphaS(handle.get(), &rect, 0xA1),
                      refused ? QUIB_BAD_ARGUMENT : QUIB_OK);
            ASSERT_EQ(bytesOf(handle.get()), expected);
            ASSERT_EQ(rect.left, left);
            ASSERT_EQ(rect.bottom, bottom);
        }
    });
}

TEST(QuibSetAlphaS, DoesNothingToAnImageWithoutRows)
{
    const Image handle = makeHandle(4, 3, 32);
    for (const int32_t height : {0, -1, INT32_MIN}) {
        handle->height = height;
        EXPECT_EQ(QuibSetAlphaS(handle.get(), nullptr, 0xFF), QUIB_OK);
        // A rectangle is clipped to nothing, and refused.
        QuibRect rect{0, 0, 4, 3};
        EXPECT_EQ(QuibSetAlphaS(handle.get(), &rect, 0xFF), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(rect.bottom, height);
    }
    EXPECT_EQ(bytesOf(handle.get()), std::vector<uint8_t>(4 * 3 * 4, 0));
}

// --- QuibSetAlpha ----------------------------------------------------------------

TEST(QuibSetAlpha, RefusesABadHandleWithTheText)
{
    EXPECT_BAD_HANDLE(QuibSetAlpha(nullptr, nullptr, 50));
}

TEST(QuibSetAlpha, RefusesOtherChannelCountsWithoutText)
{
    quibLastError[0] = 0;
    Random random(4);
    const Image colour = makeRandomHandle(5, 4, 24, random);
    const Image handle = makeRandomHandle(5, 4, 32, random);
    const Image plane = makeRandomHandle(5, 4, 8, random);
    const std::vector<uint8_t> colourBefore = bytesOf(colour.get());
    const std::vector<uint8_t> before = bytesOf(handle.get());
    EXPECT_EQ(QuibSetAlpha(colour.get(), plane.get(), 50), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibSetAlpha(handle.get(), colour.get(), 50), QUIB_BAD_ARGUMENT);
    // The plane is tested although it would not be read.
    EXPECT_EQ(QuibSetAlpha(handle.get(), colour.get(), 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(bytesOf(colour.get()), colourBefore);
    EXPECT_EQ(bytesOf(handle.get()), before);
    EXPECT_EQ(quibLastError[0], 0);
}

TEST(QuibSetAlpha, ClearsTheAlphaAtNoPercentWithoutReadingThePlane)
{
    Random random(5);
    const Image handle = makeRandomHandle(9, 5, 32, random);
    Image plane = makeHandle(9, 5, 8);
    iplDeallocateImage(plane.get());
    const std::vector<uint8_t> expected = expectedBytes(handle.get(), nullptr, 0);
    EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), 0), QUIB_OK);
    EXPECT_EQ(bytesOf(handle.get()), expected);
}

TEST(QuibSetAlpha, ChangesNothingAtAHundredPercentWithoutAPlane)
{
    Random random(6);
    const Image handle = makeRandomHandle(9, 5, 32, random);
    const std::vector<uint8_t> before = bytesOf(handle.get());
    EXPECT_EQ(QuibSetAlpha(handle.get(), nullptr, 100), QUIB_OK);
    EXPECT_EQ(bytesOf(handle.get()), before);
}

TEST(QuibSetAlpha, DoesNothingToAnImageWithoutRows)
{
    Random random(8);
    const Image handle = makeRandomHandle(4, 3, 32, random);
    const Image plane = makeRandomHandle(4, 3, 8, random);
    const std::vector<uint8_t> before = bytesOf(handle.get());
    for (const int32_t height : {0, -1, INT32_MIN}) {
        handle->height = height;
        for (const uint32_t percent : {0u, 50u, 100u}) {
            EXPECT_EQ(QuibSetAlpha(handle.get(), nullptr, percent), QUIB_OK);
            EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), percent), QUIB_OK);
        }
    }
    EXPECT_EQ(bytesOf(handle.get()), before);
}

TEST(QuibSetAlpha, IgnoresRegionsMasksAndTheOriginOfBothSides)
{
    Random random(40);
    for (const uint32_t percent : {0u, 40u, 100u}) {
        const Image handle = makeRandomHandle(9, 5, 32, random);
        const Image plane = makeRandomHandle(9, 5, 8, random);
        const std::vector<uint8_t> expected = expectedBytes(handle.get(), plane.get(), percent);
        for (const Image* image : {&handle, &plane}) {
            setRoi(image->get(), 1, 2, 1, 3, 2);
            giveRandomMask(image->get(), 9, 5, random);
        }
        plane->origin = IPL_ORIGIN_BL;
        EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), percent), QUIB_OK);
        EXPECT_EQ(bytesOf(handle.get()), expected);
        EXPECT_NE(handle->roi, nullptr);
    }
}

TEST(QuibSetAlphaS, IgnoresARegionAndAMask)
{
    Random random(41);
    const Image handle = makeRandomHandle(9, 5, 32, random);
    const Image plain(iplCloneImage(handle.get()));
    setRoi(handle.get(), 1, 2, 1, 3, 2);
    giveRandomMask(handle.get(), 9, 5, random);
    QuibRect rect{4, 0, 8, 3};
    EXPECT_EQ(QuibSetAlphaS(plain.get(), nullptr, 7), QUIB_OK);
    EXPECT_EQ(QuibSetAlphaS(plain.get(), &rect, 9), QUIB_OK);
    EXPECT_EQ(QuibSetAlphaS(handle.get(), nullptr, 7), QUIB_OK);
    EXPECT_EQ(QuibSetAlphaS(handle.get(), &rect, 9), QUIB_OK);
    EXPECT_EQ(bytesOf(handle.get()), bytesOf(plain.get()));
    EXPECT_EQ(element(handle.get(), 0, 4, 3), 7);
}

TEST(QuibSetAlpha, TakesFiveChannelsForPixelsOfFourBytes)
{
    // The pixel pitch is four bytes, whatever the record says.
    Random random(42);
    const Image handle = makeImage(8, 3, 5, IPL_DEPTH_8U);
    randomise(handle.get(), random);
    std::vector<uint8_t> expected = bytesOf(handle.get());
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 8; ++x)
            expected[static_cast<size_t>(y * handle->widthStep + x * 4 + 3)] = 0;
    EXPECT_EQ(QuibSetAlpha(handle.get(), nullptr, 0), QUIB_OK);
    EXPECT_EQ(bytesOf(handle.get()), expected);
    EXPECT_EQ(QuibSetAlphaS(handle.get(), nullptr, 0), QUIB_OK);
    EXPECT_EQ(bytesOf(handle.get()), expected);
}

TEST(QuibSetAlpha, RoundsScaledValuesDown)
{
    const Image handle = makeHandle(1, 1, 32);
    const Image plane = makeHandle(1, 1, 8);
    rowOf(plane.get(), 0)[0] = 255;
    EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), 50), QUIB_OK);
    EXPECT_EQ(rowOf(handle.get(), 0)[3], 127);
    EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), 99), QUIB_OK);
    EXPECT_EQ(rowOf(handle.get(), 0)[3], 252);
    EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), 100), QUIB_OK);
    EXPECT_EQ(rowOf(handle.get(), 0)[3], 255);
    // The scale's low byte counts: 384 acts as 128.
    EXPECT_EQ(QuibSetAlpha(handle.get(), nullptr, 150), QUIB_OK);
    EXPECT_EQ(rowOf(handle.get(), 0)[3], 127);
}

TEST(QuibSetAlpha, MultipliesThePercentIn32Bits)
{
    // 0x01000064 << 8 wraps to 25600, so the scale is 256 and its low byte 0:
    // only a full value of 100 is the special case.
    const Image handle = makeHandle(1, 1, 32);
    rowOf(handle.get(), 0)[3] = 200;
    EXPECT_EQ(QuibSetAlpha(handle.get(), nullptr, 0x01000064u), QUIB_OK);
    EXPECT_EQ(rowOf(handle.get(), 0)[3], 0);
    rowOf(handle.get(), 0)[3] = 200;
    EXPECT_EQ(QuibSetAlpha(handle.get(), nullptr, 0x01000032u), QUIB_OK);
    EXPECT_EQ(rowOf(handle.get(), 0)[3], 100);
}

TEST(QuibSetAlpha, GivesThePlainResultForEveryPercentOfInterest)
{
    forEachLevel([] {
        Random random(7);
        for (const uint32_t percent : {0u, 1u, 2u, 33u, 50u, 66u, 99u, 100u, 101u, 150u, 200u, 255u,
                                       1000u, 0x00FFFFFFu, 0xFFFFFFFFu}) {
            const int32_t width = random.between(1, 80);
            const int32_t height = random.between(1, 6);
            const Image handle = makeRandomHandle(width, height, 32, random);
            const Image plane = makeRandomHandle(width + random.between(0, 9), height, 8, random);
            for (const IplImage* given : {static_cast<const IplImage*>(plane.get()),
                                          static_cast<const IplImage*>(nullptr)}) {
                const std::vector<uint8_t> expected = expectedBytes(handle.get(), given, percent);
                ASSERT_EQ(QuibSetAlpha(handle.get(), given, percent), QUIB_OK);
                ASSERT_EQ(bytesOf(handle.get()), expected) << percent;
            }
        }
    });
}

TEST(QuibSetAlpha, StaysInsideBothBlocks)
{
    forEachLevel([] {
        for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
            for (int32_t width = 1; width < 40; ++width) {
                const GuardedHandle handle(width, 3, 32, guard);
                const GuardedHandle plane((width + 3) & ~3, 3, 8, guard);
                plane.makeReadOnly();
                EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), 100), QUIB_OK);
                EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), 70), QUIB_OK);
                EXPECT_EQ(QuibSetAlpha(handle.get(), nullptr, 70), QUIB_OK);
                EXPECT_EQ(QuibSetAlphaS(handle.get(), nullptr, 70), QUIB_OK);
                QuibRect rect{width - 1, 0, width, 3};
                EXPECT_EQ(QuibSetAlphaS(handle.get(), &rect, 70), QUIB_OK);
            }
        }
    });
}

TEST(QuibSetAlpha, NeverReadsPastASmallPlane)
{
    forEachLevel([] {
        const GuardedHandle handle(21, 6, 32);
        const GuardedHandle plane(5, 4, 8);
        std::memset(handle->imageData, 1, static_cast<size_t>(handle->imageSize));
        plane.makeReadOnly();
        EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), 100), QUIB_OK);
        EXPECT_EQ(rowOf(handle.get(), 0)[3], 0xA5);
        EXPECT_EQ(rowOf(handle.get(), 3)[4 * 4 + 3], 0xA5);
        EXPECT_EQ(rowOf(handle.get(), 4)[3], 1);
    });
}

TEST(QuibSetAlpha, WritesNothingFromAPlaneWithoutPixels)
{
    Random random(12);
    const Image handle = makeRandomHandle(9, 5, 32, random);
    const Image plane = makeHandle(9, 5, 8);
    iplDeallocateImage(plane.get());
    const std::vector<uint8_t> before = bytesOf(handle.get());
    EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), 100), QUIB_OK);
    EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), 50), QUIB_OK);
    EXPECT_EQ(bytesOf(handle.get()), before);
}

TEST(QuibSetAlpha, GoesByTheRowsOfRecordsThatLeaveTheirSizesOut)
{
    const GuardedHandle handle(7, 3, 32);
    const GuardedHandle plane(7, 3, 8);
    std::memset(plane->imageData, 9, static_cast<size_t>(plane->imageSize));
    handle->imageSize = 0;
    plane->imageSize = 0;
    EXPECT_EQ(QuibSetAlpha(handle.get(), plane.get(), 100), QUIB_OK);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 7; ++x)
            EXPECT_EQ(rowOf(handle.get(), y)[x * 4 + 3], 9);
    QuibRect rect{0, 0, 1, 3};
    EXPECT_EQ(QuibSetAlphaS(handle.get(), &rect, 5), QUIB_OK);
    for (int32_t y = 0; y < 3; ++y)
        EXPECT_EQ(rowOf(handle.get(), y)[3], 5);
    EXPECT_EQ(QuibSetAlphaS(handle.get(), nullptr, 6), QUIB_OK);
    EXPECT_EQ(rowOf(handle.get(), 2)[6 * 4 + 3], 6);
}

TEST(QuibSetAlpha, WalksNoRowOfARecordWhoseSizesWrapped)
{
    IplImage* handle = nullptr;
    ASSERT_EQ(QuibCreate0(65536, 16384, 32, &handle), QUIB_OK);
    const Image owner(handle);
    ASSERT_EQ(handle->imageSize, 0);
    EXPECT_EQ(QuibSetAlpha(handle, nullptr, 0), QUIB_OK);
    EXPECT_EQ(QuibSetAlpha(handle, nullptr, 50), QUIB_OK);
    EXPECT_EQ(QuibSetAlphaS(handle, nullptr, 1), QUIB_OK);
    QuibRect rect{0, 0, 65536, 16384};
    EXPECT_EQ(QuibSetAlphaS(handle, &rect, 1), QUIB_OK);
    IplImage* plane = nullptr;
    ASSERT_EQ(QuibCreate0(65536, 65536, 8, &plane), QUIB_OK);
    const Image planeOwner(plane);
    const Image small = makeHandle(64, 64, 32);
    EXPECT_EQ(QuibSetAlpha(small.get(), plane, 50), QUIB_OK);
    EXPECT_EQ(bytesOf(small.get()), std::vector<uint8_t>(64 * 64 * 4, 0));
}
