#include "quibtool/layers.h"

#include "_Src/ipl.h"
#include "quibtool/handle.h"
#include "quibtool/startup.h"
#include "tests/support/bad_handles.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

namespace
{

// A handle of width x height pixels whose rows are as long as those of another
// width.
Image paddedHandle(int32_t width, int32_t height, int32_t rowWidth, Random& random)
{
    Image handle = makeRandomHandle(rowWidth, height, 32, random);
    handle->width = width;
    return handle;
}

uint8_t* dataOf(const IplImage* image)
{
    return reinterpret_cast<uint8_t*>(image->imageData);
}

void plainPixel(uint8_t* out, const uint8_t* d, const uint8_t* s)
{
    const uint32_t entry = pairBlendTable[s[3] * 256 + d[3]];
    const int w = static_cast<int>(entry & 255);
    uint8_t pixel[4];
    for (int c = 0; c < 3; ++c)
        pixel[c] = static_cast<uint8_t>((d[c] + (((s[c] - d[c]) * w) >> 8)) & 255);
    pixel[3] = static_cast<uint8_t>(entry >> 24);
    std::memcpy(out, pixel, 4);
}

// The bytes of the target after the walk as told, whose steps stay inside the
// blocks. `target` null: into under.
std::vector<uint8_t> plainComposition(const IplImage* over, const IplImage* under,
                                      const IplImage* target)
{
    std::vector<uint8_t> out = bytesOf(target ? target : under);
    const uint8_t* s = dataOf(over);
    const uint8_t* d = dataOf(under);
    if (over->widthStep == under->widthStep && over->height == under->height) {
        const int32_t count =
            std::min(under->widthStep * under->height, static_cast<int32_t>(out.size())) / 4;
        for (int32_t i = 0; i < count; ++i)
            plainPixel(out.data() + i * 4, d + i * 4, s + i * 4);
        return out;
    }
    const int32_t width = std::min(over->width, under->width);
    const int32_t height = std::min(over->height, under->height);
    const int32_t overAdvance = 4 * (target ? under->width : over->width);
    const int32_t underAdvance = 4 * (target ? over->width : under->width);
    const int32_t targetAdvance = 4 * under->width;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width * 4; x += 4) {
            // What lies past a block's end is left out.
            const int32_t sAt = y * overAdvance + x;
            const int32_t dAt = y * underAdvance + x;
            const int32_t outAt = y * targetAdvance + x;
            if (sAt + 4 <= over->imageSize && dAt + 4 <= under->imageSize &&
                static_cast<size_t>(outAt) + 4 <= out.size())
                plainPixel(out.data() + outAt, d + dAt, s + sAt);
        }
    }
    return out;
}

void expectPlainComposition(IplImage* over, IplImage* under)
{
    const std::vector<uint8_t> expected = plainComposition(over, under, nullptr);
    ASSERT_EQ(QuibComposition3(over, under, nullptr), QUIB_OK);
    ASSERT_EQ(bytesOf(under), expected);
}

// Into a third image; the lower one stays as it is.
void expectPlainInto(IplImage* target, IplImage* over, IplImage* under)
{
    const std::vector<uint8_t> before = bytesOf(under);
    const std::vector<uint8_t> expected = plainComposition(over, under, target);
    IplImage* result = target;
    ASSERT_EQ(QuibComposition3(over, under, &result), QUIB_OK);
    ASSERT_EQ(result, target);
    ASSERT_EQ(bytesOf(result), expected);
    ASSERT_EQ(bytesOf(under), before);
}

} // namespace

TEST(QuibComposition3, RefusesBadHandlesWithTheText)
{
    const CleanStatus clean;
    const Image good = makeHandle(2, 2, 32);
    const Image wrapped = wrappedHandle();
    EXPECT_BAD_HANDLE(QuibComposition3(nullptr, good.get(), nullptr));
    EXPECT_BAD_HANDLE(QuibComposition3(good.get(), nullptr, nullptr));
    // Both are tested before the check of either.
    EXPECT_EQ(QuibComposition3(wrapped.get(), nullptr, nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(iplGetStatus(), 0);
}

TEST(QuibComposition3, PassesTheChecksStatusOn)
{
    const CleanStatus clean;
    const Image good = makeHandle(2, 2, 32);
    const Image bad = makeHandle(2, 2, 24);
    IplImage* result = nullptr;
    good->imageSize = 0;
    // The check stands before the test of the depth.
    EXPECT_EQ(QuibComposition3(good.get(), bad.get(), &result), badSize);
    EXPECT_EQ(QuibComposition3(bad.get(), good.get(), &result), badSize);
    EXPECT_EQ(result, nullptr);
    bad->align = 3;
    EXPECT_EQ(QuibComposition3(bad.get(), good.get(), &result), -21);
}

TEST(QuibComposition3, RefusesOtherDepthsOnEitherSide)
{
    Random random(1);
    const Image good = makeRandomHandle(4, 4, 32, random);
    const std::vector<uint8_t> before = bytesOf(good.get());
    IplImage* result = nullptr;
    quibLastError[0] = 0;
    for (const int32_t bitDepth : {1, 8, 24}) {
        const Image other = makeRandomHandle(4, 4, bitDepth, random);
        EXPECT_EQ(QuibComposition3(good.get(), other.get(), &result), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(QuibComposition3(other.get(), good.get(), &result), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(QuibComposition3(other.get(), good.get(), nullptr), QUIB_BAD_ARGUMENT);
    }
    const Image deep = makeImage(4, 4, 4, IPL_DEPTH_16U);
    EXPECT_EQ(QuibComposition3(deep.get(), good.get(), &result), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(bytesOf(good.get()), before);
    EXPECT_EQ(quibLastError[0], 0);
}

TEST(QuibComposition3, RefusesAResultWithoutPixels)
{
    Random random(2);
    const Image over = makeRandomHandle(4, 4, 32, random);
    const Image under = makeRandomHandle(4, 4, 32, random);
    const std::vector<uint8_t> before = bytesOf(under.get());
    Image header = makeHandle(4, 4, 32);
    iplDeallocateImage(header.get());
    IplImage* result = header.get();
    EXPECT_EQ(QuibComposition3(over.get(), under.get(), &result), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(result, header.get());
    EXPECT_EQ(bytesOf(under.get()), before);
}

TEST(QuibComposition3, WritesTheTextForABadResultHandleAlone)
{
    const CleanStatus clean;
    const Image over = makeHandle(4, 4, 32);
    const Image under = makeHandle(4, 4, 32);
    const Image header = makeHandle(4, 4, 32);
    iplDeallocateImage(header.get());
    IplImage* result = header.get();
    EXPECT_BAD_HANDLE(QuibComposition3(over.get(), under.get(), &result));
    // One whose record is bad gets none.
    const Image bad = makeHandle(4, 4, 32);
    bad->origin = 9;
    result = bad.get();
    EXPECT_EQ(QuibComposition3(over.get(), under.get(), &result), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(takeErrorRow(), -1);
}

TEST(QuibComposition3, RefusesAResultThatTheCheckRefuses)
{
    const CleanStatus clean;
    Random random(3);
    const Image over = makeRandomHandle(4, 4, 32, random);
    const Image bad = makeRandomHandle(4, 4, 32, random);
    bad->origin = 9;
    IplImage* result = bad.get();
    EXPECT_EQ(QuibComposition3(over.get(), over.get(), &result), QUIB_BAD_ARGUMENT);
    bad->origin = 0;
}

TEST(QuibComposition3, MakesAResultOfTheLowerImagesSize)
{
    Random random(4);
    const Image over = makeRandomHandle(9, 3, 32, random);
    const Image under = makeRandomHandle(7, 5, 32, random);
    const std::vector<uint8_t> before = bytesOf(under.get());
    IplImage* result = nullptr;
    ASSERT_EQ(QuibComposition3(over.get(), under.get(), &result), QUIB_OK);
    const Image owner(result);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->width, 7);
    EXPECT_EQ(result->height, 5);
    EXPECT_EQ(result->nChannels, 4);
    EXPECT_EQ(bytesOf(under.get()), before);
}

TEST(QuibComposition3, KeepsTheLowerColourWhereBothAlphasAreZero)
{
    const Image over = makeHandle(1, 1, 32);
    const Image under = makeHandle(1, 1, 32);
    QuibFillColor(over.get(), 0x00FFFFFF, nullptr);
    QuibFillColor(under.get(), 0x00112233, nullptr);
    EXPECT_EQ(QuibComposition3(over.get(), under.get(), nullptr), QUIB_OK);
    uint32_t pixel = 0;
    std::memcpy(&pixel, under->imageData, 4);
    EXPECT_EQ(pixel, 0x00112233u);
}

TEST(QuibComposition3, GivesThePlainResultForImagesOfOneSize)
{
    forEachLevel([] {
        Random random(5);
        for (int round = 0; round < 200; ++round) {
            const int32_t width = random.between(1, 60);
            const int32_t height = random.between(1, 8);
            const Image over = makeRandomHandle(width, height, 32, random);
            const Image under = makeRandomHandle(width, height, 32, random);
            const Image target = makeRandomHandle(width, height, 32, random);
            const std::vector<uint8_t> before = bytesOf(over.get());
            ASSERT_NO_FATAL_FAILURE(expectPlainInto(target.get(), over.get(), under.get()));
            ASSERT_NO_FATAL_FAILURE(expectPlainComposition(over.get(), under.get()));
            ASSERT_EQ(bytesOf(over.get()), before);
        }
    });
}

TEST(QuibComposition3, TakesImagesOfEqualRowsAsOneRunWhateverTheirWidths)
{
    Random random(6);
    const Image over = paddedHandle(3, 4, 12, random);
    const Image under = paddedHandle(7, 4, 12, random);
    expectPlainComposition(over.get(), under.get());
    // The padding of the last row took part.
    EXPECT_EQ(bytesOf(under.get()).size(), 12u * 4 * 4);
}

TEST(QuibComposition3, WalksTheOverlapOfTwoImages)
{
    forEachLevel([] {
        Random random(7);
        for (int round = 0; round < 300; ++round) {
            const Image over = makeRandomHandleUpTo(40, 9, 32, random);
            const Image under = makeRandomHandleUpTo(40, 9, 32, random);
            ASSERT_NO_FATAL_FAILURE(expectPlainComposition(over.get(), under.get()));
        }
    });
}

TEST(QuibComposition3, LeavesWhatTheSmallerImageDoesNotReach)
{
    Random random(8);
    const Image over = makeRandomHandle(3, 2, 32, random);
    const Image under = makeRandomHandle(5, 4, 32, random);
    const std::vector<uint8_t> before = bytesOf(under.get());
    ASSERT_EQ(QuibComposition3(over.get(), under.get(), nullptr), QUIB_OK);
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t i = 0; i < 20; ++i)
            if (y >= 2 || i >= 12) {
                EXPECT_EQ(rowOf(under.get(), y)[i], before[static_cast<size_t>(y * 20 + i)]);
            }
}

TEST(QuibComposition3, WalksThreeImagesOfDifferentWidthsAskew)
{
    forEachLevel([] {
        Random random(9);
        for (int round = 0; round < 300; ++round) {
            const Image over = makeRandomHandleUpTo(40, 9, 32, random);
            const Image under = makeRandomHandleUpTo(40, 9, 32, random);
            const Image target = makeRandomHandle(under->width, under->height, 32, random);
            ASSERT_NO_FATAL_FAILURE(expectPlainInto(target.get(), over.get(), under.get()));
        }
    });
}

TEST(QuibComposition3, StepsByTheLowerImagesWidthInAResultOfAnotherWidth)
{
    forEachLevel([] {
        Random random(17);
        for (int round = 0; round < 300; ++round) {
            const Image over = makeRandomHandleUpTo(40, 9, 32, random);
            const Image under = random.coin()
                                    ? makeRandomHandle(over->width, over->height, 32, random)
                                    : makeRandomHandleUpTo(40, 9, 32, random);
            const Image target = makeRandomHandleUpTo(60, 12, 32, random);
            ASSERT_NO_FATAL_FAILURE(expectPlainInto(target.get(), over.get(), under.get()));
        }
    });
}

TEST(QuibComposition3, ExchangesTheAdvancesOfThreeImages)
{
    // Over has opaque pixels whose blue byte is their number.
    const Image over = makeHandle(4, 2, 32);
    for (int32_t i = 0; i < 8; ++i) {
        dataOf(over.get())[i * 4] = static_cast<uint8_t>(i * 10);
        dataOf(over.get())[i * 4 + 3] = 255;
    }
    const Image under = makeHandle(2, 4, 32);
    IplImage* result = nullptr;
    ASSERT_EQ(QuibComposition3(over.get(), under.get(), &result), QUIB_OK);
    const Image owner(result);
    // The second row of over is taken two pixels in, after under's width. Under
    // itself is black, so each weight of 255 gives one less than over.
    const uint8_t expected[] = {0, 9, 19, 29};
    for (int32_t i = 0; i < 4; ++i)
        EXPECT_EQ(dataOf(result)[i * 4], expected[i]);
    // Without a result it is the second row's start.
    ASSERT_EQ(QuibComposition3(over.get(), under.get(), nullptr), QUIB_OK);
    EXPECT_EQ(dataOf(under.get())[8], 39);
    EXPECT_EQ(dataOf(under.get())[12], 49);
}

TEST(QuibComposition3, WalksRowsByWidthsAndNotByPitch)
{
    Random random(10);
    const Image over = paddedHandle(3, 3, 8, random);
    const Image under = paddedHandle(5, 4, 8, random);
    expectPlainComposition(over.get(), under.get());
}

TEST(QuibComposition3, NeverLeavesABlock)
{
    forEachLevel([] {
        Random random(11);
        for (int round = 0; round < 150; ++round) {
            const Guard guard = random.coin() ? Guard::afterEnd : Guard::beforeStart;
            const GuardedHandle over(random.between(1, 40), random.between(1, 9), 32, guard);
            const GuardedHandle under(random.between(1, 40), random.between(1, 9), 32, guard);
            // The result may be too small: its end is kept to as well.
            const GuardedHandle target(random.between(1, 40), random.between(1, 9), 32, guard);
            randomise(over.get(), random);
            randomise(under.get(), random);
            over.makeReadOnly();
            EXPECT_EQ(QuibComposition3(over.get(), under.get(), nullptr), QUIB_OK);
            under.makeReadOnly();
            IplImage* result = target.get();
            EXPECT_EQ(QuibComposition3(over.get(), under.get(), &result), QUIB_OK);
        }
    });
}

TEST(QuibComposition3, MayTakeEitherImageAsItsResult)
{
    Random random(12);
    const Image over = makeRandomHandle(17, 5, 32, random);
    const Image under = makeRandomHandle(17, 5, 32, random);
    const std::vector<uint8_t> expected = plainComposition(over.get(), under.get(), nullptr);
    const Image upper(iplCloneImage(over.get()));
    IplImage* result = upper.get();
    EXPECT_EQ(QuibComposition3(upper.get(), under.get(), &result), QUIB_OK);
    EXPECT_EQ(bytesOf(upper.get()), expected);
    result = under.get();
    EXPECT_EQ(QuibComposition3(over.get(), under.get(), &result), QUIB_OK);
    EXPECT_EQ(bytesOf(under.get()), expected);
}

TEST(QuibComposition3, GivesTheSameBytesAtEveryLevelWhenItsResultIsWalkedAskew)
{
    std::vector<std::vector<uint8_t>> results;
    forEachLevel([&] {
        Random random(13);
        std::vector<uint8_t> all;
        for (int round = 0; round < 100; ++round) {
            const Image over = makeRandomHandleUpTo(40, 9, 32, random);
            const Image under = makeRandomHandleUpTo(40, 9, 32, random);
            IplImage* result = round % 2 ? under.get() : over.get();
            ASSERT_EQ(QuibComposition3(over.get(), under.get(), &result), QUIB_OK);
            const std::vector<uint8_t> bytes = bytesOf(result);
            all.insert(all.end(), bytes.begin(), bytes.end());
        }
        results.push_back(all);
    });
    for (const std::vector<uint8_t>& result : results)
        EXPECT_EQ(result, results[0]);
}

TEST(QuibComposition3, ComposesAnImageWithItself)
{
    Random random(14);
    const Image image = makeRandomHandle(17, 5, 32, random);
    expectPlainComposition(image.get(), image.get());
}

TEST(QuibComposition3, IgnoresRegionsAndMasks)
{
    Random random(15);
    const Image over = makeRandomHandle(17, 5, 32, random);
    const Image under = makeRandomHandle(17, 5, 32, random);
    const std::vector<uint8_t> expected = plainComposition(over.get(), under.get(), nullptr);
    setRoi(over.get(), 1, 3, 3, 2, 2);
    setRoi(under.get(), 1, 3, 3, 2, 2);
    giveRandomMask(over.get(), 17, 5, random);
    giveRandomMask(under.get(), 17, 5, random);
    const Image target = makeRandomHandle(17, 5, 32, random);
    setRoi(target.get(), 1, 3, 3, 2, 2);
    giveRandomMask(target.get(), 17, 5, random);
    IplImage* result = target.get();
    EXPECT_EQ(QuibComposition3(over.get(), under.get(), &result), QUIB_OK);
    EXPECT_EQ(bytesOf(target.get()), expected);
    EXPECT_EQ(QuibComposition3(over.get(), under.get(), nullptr), QUIB_OK);
    EXPECT_EQ(bytesOf(under.get()), expected);
    EXPECT_NE(under->roi, nullptr);
}

TEST(ComposeRowOver, AppliesThePixelRule)
{
    forEachLevel([] {
        Random random(16);
        uint8_t over[4 * 33];
        uint8_t under[4 * 33];
        uint8_t expected[4 * 33];
        random.fill(over, sizeof over);
        random.fill(under, sizeof under);
        for (size_t i = 0; i < 33; ++i)
            plainPixel(expected + i * 4, under + i * 4, over + i * 4);
        ComposeRowOver(under, under, over, 33);
        EXPECT_EQ(std::memcmp(under, expected, sizeof expected), 0);
    });
}
