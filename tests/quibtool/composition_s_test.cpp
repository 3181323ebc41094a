#include "quibtool/handle.h"
#include "quibtool/startup.h"

#include "tests/support/bad_handles.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/pace.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

// Runs work() with the processor flag set, then clear.
template<class Work>
void forBothAlphaForms(Work work)
{
    const uint32_t saved = quibHasMMX;
    for (const uint32_t flag : {0x00800000u, 0u}) {
        SCOPED_TRACE(flag ? "flag set" : "flag clear");
        quibHasMMX = flag;
        work();
    }
    quibHasMMX = saved;
}

void blendConstant(uint8_t* target, const uint8_t* under, const uint8_t* over)
{
    for (int32_t c = 0; c < 3; ++c)
        target[c] =
            static_cast<uint8_t>(under[c] + (((over[c] - under[c]) * int32_t{over[3]}) >> 8));
    if (quibHasMMX)
        target[3] = 255;
}

// The target's whole block afterwards; `target` is `under` in the two-image
// form. Pixel by pixel, from the start of a run to its end.
std::vector<uint8_t> plainConstantComposition(const IplImage* over, const IplImage* under,
                                              const IplImage* target)
{
    std::vector<uint8_t> result = bytesOf(target);
    const std::vector<uint8_t> upper = bytesOf(over);
    const std::vector<uint8_t> lower = bytesOf(under);
    const bool oneRun = over->widthStep == under->widthStep && over->height == under->height;
    const int32_t columns =
        oneRun ? over->widthStep * over->height / 4 : std::min(over->width, under->width);
    const int32_t rows = oneRun ? 1 : std::min(over->height, under->height);
    // With a result of its own the two images change their steps.
    const bool crossed = target != under;
    const int32_t overStep = 4 * (crossed ? under->width : over->width);
    const int32_t underStep = 4 * (crossed ? over->width : under->width);
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x < columns; ++x) {
            const size_t from = static_cast<size_t>(y * overStep + x * 4);
            const size_t below = static_cast<size_t>(y * underStep + x * 4);
            const size_t to = static_cast<size_t>(y * 4 * under->width + x * 4);
            if (from + 4 <= upper.size() && below + 4 <= lower.size() && to + 4 <= result.size())
                blendConstant(&result[to], &lower[below], &upper[from]);
        }
    }
    return result;
}

void expectPlainInPlace(IplImage* over, IplImage* under)
{
    const std::vector<uint8_t> source = bytesOf(over);
    const std::vector<uint8_t> expected = plainConstantComposition(over, under, under);
    ASSERT_EQ(QuibComposition_s(over, under, nullptr), QUIB_OK);
    ASSERT_EQ(bytesOf(under), expected);
    ASSERT_EQ(bytesOf(over), source);
}

void expectPlainBlend(IplImage* over, IplImage* under, IplImage* result)
{
    const std::vector<uint8_t> source = bytesOf(over);
    const std::vector<uint8_t> lower = bytesOf(under);
    const std::vector<uint8_t> expected = plainConstantComposition(over, under, result);
    IplImage* variable = result;
    ASSERT_EQ(QuibComposition_s(over, under, &variable), QUIB_OK);
    ASSERT_EQ(variable, result);
    ASSERT_EQ(bytesOf(result), expected) << over->width << " x " << over->height << " over "
                                         << under->width << " x " << under->height;
    ASSERT_EQ(bytesOf(over), source);
    ASSERT_EQ(bytesOf(under), lower);
}

// Calls work(over, under, random) for random images, often of one size.
template<class Work>
void forRandomPairs(uint64_t seed, Work work)
{
    forEachLevel([&] {
        forBothAlphaForms([&] {
            Random random(seed);
            for (int round = 0; round < 300; ++round) {
                const Image over = makeRandomHandleUpTo(40, 10, 32, random);
                const bool equal = random.coin();
                const Image under =
                    makeRandomHandle(equal ? over->width : random.between(1, 40),
                                     equal ? over->height : random.between(1, 10), 32, random);
                ASSERT_NO_FATAL_FAILURE(work(over.get(), under.get(), random));
            }
        });
    });
}

} // namespace

// --- Refusals -----------------------------------------------------------------------

TEST(QuibCompositionS, RefusesABadHandleWithTheText)
{
    const Image good = makeHandle(4, 4, 32);
    EXPECT_BAD_HANDLE(QuibComposition_s(nullptr, good.get(), nullptr));
    EXPECT_BAD_HANDLE(QuibComposition_s(good.get(), nullptr, nullptr));
}

TEST(QuibCompositionS, PassesOnTheImageChecksOfTheUpperThenTheLower)
{
    const CleanStatus clean;
    Image over = makeHandle(4, 4, 32);
    Image under = makeHandle(4, 4, 32);
    under->height = 0;
    EXPECT_EQ(QuibComposition_s(over.get(), under.get(), nullptr), -10);
    over->align = 5;
    EXPECT_EQ(QuibComposition_s(over.get(), under.get(), nullptr), -21);
}

TEST(QuibCompositionS, RefusesOtherDepthsWithoutTextOrHandle)
{
    const Image alpha = makeHandle(4, 4, 32);
    quibLastError[0] = 0;
    for (const int32_t bitDepth : {1, 8, 24}) {
        const Image other = makeHandle(4, 4, bitDepth);
        IplImage* result = nullptr;
        EXPECT_EQ(QuibComposition_s(alpha.get(), other.get(), nullptr), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(QuibComposition_s(other.get(), alpha.get(), &result), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(result, nullptr);
    }
    EXPECT_EQ(quibLastError[0], 0);
}

TEST(QuibCompositionS, RefusesAResultThatIsNoHandle)
{
    Random random(1);
    const Image over = makeRandomHandle(4, 4, 32, random);
    const Image under = makeRandomHandle(4, 4, 32, random);
    Image bare = makeHandle(4, 4, 32);
    iplDeallocateImage(bare.get());
    IplImage* result = bare.get();
    EXPECT_EQ(QuibComposition_s(over.get(), under.get(), &result), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(result, bare.get());
}

// --- Pixels -----------------------------------------------------------------------------

TEST(QuibCompositionS, MixesHalfWayWhateverTheLowerAlpha)
{
    forBothAlphaForms([] {
        const Image over = makePixel({200, 100, 0, 128});
        const Image under = makePixel({100, 200, 255, 0});
        EXPECT_EQ(QuibComposition_s(over.get(), under.get(), nullptr), QUIB_OK);
        const uint8_t alpha = quibHasMMX ? 255 : 0;
        EXPECT_EQ(bytesOf(under.get()), (std::vector<uint8_t>{150, 150, 127, alpha}));
    });
}

TEST(QuibCompositionS, KeepsTheLowerColourUnderAnUpperAlphaOfNought)
{
    forBothAlphaForms([] {
        const Image over = makePixel({99, 99, 99, 0});
        const Image under = makePixel({1, 2, 3, 77});
        EXPECT_EQ(QuibComposition_s(over.get(), under.get(), nullptr), QUIB_OK);
        const uint8_t alpha = quibHasMMX ? 255 : 77;
        EXPECT_EQ(bytesOf(under.get()), (std::vector<uint8_t>{1, 2, 3, alpha}));
    });
}

TEST(QuibCompositionS, NeverReachesAnOpaqueUpperColourQuite)
{
    const Image over = makePixel({255, 0, 255, 255});
    const Image under = makePixel({0, 255, 255, 10});
    EXPECT_EQ(QuibComposition_s(over.get(), under.get(), nullptr), QUIB_OK);
    EXPECT_EQ(element(under.get(), 0, 0, 0), 254);
    EXPECT_EQ(element(under.get(), 0, 0, 1), 0);
    EXPECT_EQ(element(under.get(), 0, 0, 2), 255);
}

TEST(QuibCompositionS, GivesEveryAlphaAndColourItsPlainResult)
{
    forEachLevel([] {
        forBothAlphaForms([] {
            // Upper colour by column, lower by row, all alphas one after the other.
            const Image over = makeHandle(256, 256, 32);
            for (int32_t alpha = 0; alpha < 256; alpha += stepOfCases(15)) {
                const Image under = makeHandle(256, 256, 32);
                for (int32_t y = 0; y < 256; ++y) {
                    for (int32_t x = 0; x < 256; ++x) {
                        const uint32_t upper = static_cast<uint32_t>(x) * 0x010101u;
                        const uint32_t lower = static_cast<uint32_t>(y) * 0x01010101u;
                        const uint32_t word = upper | static_cast<uint32_t>(alpha) << 24;
                        std::memcpy(rowOf(over.get(), y) + x * 4, &word, 4);
                        std::memcpy(rowOf(under.get(), y) + x * 4, &lower, 4);
                    }
                }
                ASSERT_NO_FATAL_FAILURE(expectPlainInPlace(over.get(), under.get()));
            }
        });
    });
}

// --- The two-image form --------------------------------------------------------------------

TEST(QuibCompositionS, MatchesThePlainFormInPlace)
{
    forRandomPairs(
        2, [](IplImage* over, IplImage* under, Random&) { expectPlainInPlace(over, under); });
}

TEST(QuibCompositionS, LeavesWhatLiesOutsideTheOverlap)
{
    forBothAlphaForms([] {
        Random random(3);
        const Image over = makeRandomHandle(4, 3, 32, random);
        const Image under = makeRandomHandle(7, 6, 32, random);
        const std::vector<uint8_t> before = bytesOf(under.get());
        EXPECT_EQ(QuibComposition_s(over.get(), under.get(), nullptr), QUIB_OK);
        for (int32_t y = 0; y < 6; ++y)
            EXPECT_EQ(std::memcmp(rowOf(under.get(), y) + (y < 3 ? 16 : 0),
                                  before.data() + y * under->widthStep + (y < 3 ? 16 : 0),
                                  static_cast<size_t>(under->widthStep - (y < 3 ? 16 : 0))),
                      0);
    });
}

TEST(QuibCompositionS, TakesRowPaddingIntoOneRunWhenStepsAndHeightsAreEqual)
{
    forBothAlphaForms([] {
        Random random(4);
        // Steps of 32 bytes, but five columns over six.
        const Image over = makeRandomPadded(5, 4, random);
        const Image under = makeRandomPadded(6, 4, random);
        expectPlainInPlace(over.get(), under.get());
        if (quibHasMMX) {
            EXPECT_EQ(rowOf(under.get(), 3)[31], 255);
        }
    });
}

TEST(QuibCompositionS, WalksRowsOfFourTimesAWidthWhenHeightsDiffer)
{
    forBothAlphaForms([] {
        Random random(5);
        const Image over = makeRandomPadded(5, 3, random);
        const Image under = makeRandomPadded(6, 4, random);
        expectPlainInPlace(over.get(), under.get());
    });
}

// --- The three-image form ------------------------------------------------------------------

TEST(QuibCompositionS, MakesAResultOfTheLowerImagesSize)
{
    forBothAlphaForms([] {
        Random random(6);
        const Image over = makeRandomHandle(9, 4, 32, random);
        const Image under = makeRandomHandle(9, 7, 32, random);
        IplImage* result = nullptr;
        ASSERT_EQ(QuibComposition_s(over.get(), under.get(), &result), QUIB_OK);
        const Image owner(result);
        ASSERT_NE(result, nullptr);
        QuibInfo info{};
        EXPECT_EQ(QuibGetInfo(result, &info), QUIB_OK);
        EXPECT_EQ(info.width, 9);
        EXPECT_EQ(info.height, 7);
        EXPECT_EQ(info.bitDepth, 32);
        const std::vector<uint8_t> expected =
            plainConstantComposition(over.get(), under.get(), result);
        for (int32_t y = 0; y < 4; ++y)
            for (int32_t x = 0; x < 36; ++x)
                if (quibHasMMX || x % 4 != 3) {
                    EXPECT_EQ(rowOf(result, y)[x], expected[static_cast<size_t>(y * 36 + x)]);
                }
    });
}

TEST(QuibCompositionS, KeepsTheResultsAlphaWhenTheFlagIsClear)
{
    const uint32_t saved = quibHasMMX;
    quibHasMMX = 0;
    Random random(7);
    const Image over = makeRandomHandle(5, 5, 32, random);
    const Image under = makeRandomHandle(5, 5, 32, random);
    const Image result = makeRandomHandle(5, 5, 32, random);
    const std::vector<uint8_t> before = bytesOf(result.get());
    IplImage* variable = result.get();
    EXPECT_EQ(QuibComposition_s(over.get(), under.get(), &variable), QUIB_OK);
    quibHasMMX = saved;
    for (size_t i = 3; i < before.size(); i += 4)
        EXPECT_EQ(static_cast<uint8_t>(result->imageData[i]), before[i]);
}

TEST(QuibCompositionS, MatchesThePlainFormIntoAResult)
{
    forRandomPairs(8, [](IplImage* over, IplImage* under, Random& random) {
        const Image result = makeRandomHandle(under->width, under->height, 32, random);
        expectPlainBlend(over, under, result.get());
    });
}

TEST(QuibCompositionS, CrossesTheStepsOfTheTwoImagesWhenThereIsAResult)
{
    // Row 1 of the result comes from the upper image four pixels on, which is
    // the lower one's width, and from the lower image two pixels on.
    const Image over = makeHandle(2, 4, 32);
    const Image under = makeHandle(4, 2, 32);
    for (int32_t i = 0; i < 8; ++i) {
        over->imageData[i * 4] = static_cast<char>(10 * i);
        over->imageData[i * 4 + 3] = static_cast<char>(128);
        under->imageData[i * 4] = static_cast<char>(100 + i);
    }
    Image result = makeHandle(4, 2, 32);
    IplImage* variable = result.get();
    EXPECT_EQ(QuibComposition_s(over.get(), under.get(), &variable), QUIB_OK);
    const auto mix = [](int32_t upper, int32_t lower) {
        return lower + (((upper - lower) * 128) >> 8);
    };
    EXPECT_EQ(element(result.get(), 0, 1, 0), mix(40, 102));
    EXPECT_EQ(element(result.get(), 1, 1, 0), mix(50, 103));
    EXPECT_EQ(element(result.get(), 2, 1, 0), 0);
}

TEST(QuibCompositionS, StepsByTheLowerImagesWidthInAResultOfAnotherWidth)
{
    forRandomPairs(10, [](IplImage* over, IplImage* under, Random& random) {
        const Image result = makeRandomHandleUpTo(60, 12, 32, random);
        expectPlainBlend(over, under, result.get());
    });
}

TEST(QuibCompositionS, IgnoresRegionsAndMasks)
{
    Random random(11);
    Image images[3];
    for (Image& image : images) {
        image = makeRandomHandle(17, 5, 32, random);
        setRoi(image.get(), 1, 3, 3, 2, 2);
        giveRandomMask(image.get(), 17, 5, random);
    }
    expectPlainBlend(images[0].get(), images[1].get(), images[2].get());
    expectPlainInPlace(images[0].get(), images[1].get());
    for (const Image& image : images) {
        EXPECT_NE(image->roi, nullptr);
        EXPECT_NE(image->maskROI, nullptr);
    }
}

TEST(QuibCompositionS, WritesTheTextForABadResultHandle)
{
    const Image over = makeHandle(4, 4, 32);
    const Image under = makeHandle(4, 4, 32);
    const Image header = makeHandle(4, 4, 32);
    iplDeallocateImage(header.get());
    IplImage* result = header.get();
    EXPECT_BAD_HANDLE(QuibComposition_s(over.get(), under.get(), &result));
}

TEST(QuibCompositionS, WritesIntoTheUpperOrLowerHandleGivenAsTheResult)
{
    forEachLevel([] {
        forBothAlphaForms([] {
            Random random(9);
            for (const bool intoOver : {true, false}) {
                const Image over = makeRandomHandle(13, 5, 32, random);
                const Image under = makeRandomHandle(13, 5, 32, random);
                IplImage* variable = intoOver ? over.get() : under.get();
                const std::vector<uint8_t> expected =
                    plainConstantComposition(over.get(), under.get(), variable);
                EXPECT_EQ(QuibComposition_s(over.get(), under.get(), &variable), QUIB_OK);
                EXPECT_EQ(bytesOf(variable), expected);
            }
        });
    });
}

TEST(QuibCompositionS, StaysInsideTheBlocks)
{
    forEachLevel([] {
        forBothAlphaForms([] {
            for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
                for (int32_t width = 1; width < 40; ++width) {
                    const GuardedHandle over(width, 3, 32, guard);
                    over.makeReadOnly();
                    for (const int32_t other : {width, 41 - width}) {
                        const GuardedHandle under(other, 4, 32, guard);
                        const GuardedHandle result(other, 4, 32, guard);
                        IplImage* variable = result.get();
                        EXPECT_EQ(QuibComposition_s(over.get(), under.get(), nullptr), QUIB_OK);
                        EXPECT_EQ(QuibComposition_s(over.get(), under.get(), &variable), QUIB_OK);
                    }
                }
            }
        });
    });
}
