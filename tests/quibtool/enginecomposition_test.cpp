#include "quibtool/handle.h"

#include "tests/support/bad_handles.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/plain_composite.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/regions.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>

namespace
{

using MaybeRect = std::optional<QuibRect>;

QuibRect* addressOf(MaybeRect& rect)
{
    return rect ? &*rect : nullptr;
}

// What differs between the two functions.
struct Alphas {
    bool areConstants = false;
    uint32_t a = 0;
    uint32_t b = 0;
};

struct Job {
    IplImage* a;
    IplImage* b;
    MaybeRect rectA{};
    MaybeRect rectB{};
    MaybeRect rectResult{};
    Alphas alphas{};
    PlainComposite form{0, 0, 0, 255};
};

Image compose(Job& job)
{
    IplImage* result = nullptr;
    const QuibStatus status =
        job.alphas.areConstants
            ? QuibComposition2(job.a, job.b, job.alphas.a, job.alphas.b, &result,
                               addressOf(job.rectA), addressOf(job.rectB),
                               addressOf(job.rectResult), job.form.type)
            : QuibComposition1(job.a, job.b, &result, addressOf(job.rectA), addressOf(job.rectB),
                               addressOf(job.rectResult), job.form.type, job.form.premulAlpha,
                               job.form.divideMode);
    EXPECT_EQ(status, QUIB_OK);
    return Image(result);
}

QuibRect clipped(const QuibRect& rect, const IplImage* image)
{
    return {std::max(rect.left, 0), std::max(rect.top, 0), std::min(rect.right, image->width),
            std::min(rect.bottom, image->height)};
}

QuibRect wholeOf(const IplImage* image)
{
    return {0, 0, image->width, image->height};
}

// The part of a region that lies in the image, if the region came from another.
Area areaIn(const QuibRect& rect, const IplImage* image)
{
    return {rect.left, rect.top, std::min(rect.right, image->width) - rect.left,
            std::min(rect.bottom, image->height) - rect.top};
}

// The result's bytes, for inputs without regions of their own.
std::vector<uint8_t> plainByEngine(const Job& job)
{
    const QuibRect rectA = job.rectA ? clipped(*job.rectA, job.a) : wholeOf(job.a);
    const QuibRect rectB = job.rectB   ? clipped(*job.rectB, job.b)
                           : job.rectA ? rectA
                                       : wholeOf(job.b);
    const QuibRect rectResult = job.rectResult           ? clipped(*job.rectResult, job.b)
                                : job.rectA || job.rectB ? rectB
                                                         : wholeOf(job.b);
    const Area areaA = areaIn(rectA, job.a);
    const Area areaB = areaIn(rectB, job.b);
    const Area areaResult = areaIn(rectResult, job.b);
    Area size = areaResult;
    for (const Area& area : {areaA, areaB}) {
        size.width = std::min(size.width, area.width);
        size.height = std::min(size.height, area.height);
    }
    shrinkTo(&size, job.a->maskROI);
    shrinkTo(&size, job.b->maskROI);

    std::vector<uint8_t> out = bytesOf(job.b);
    const PlainComposite form =
        job.alphas.areConstants ? PlainComposite{job.form.type, 0, 0, 255} : job.form;
    for (int32_t y = 0; y < size.height; ++y) {
        for (int32_t x = 0; x < size.width; ++x) {
            if (!maskLets(job.a->maskROI, x, y) || !maskLets(job.b->maskROI, x, y))
                continue;
            const uint8_t* a = rowOf(job.a, areaA.y + y) + (areaA.x + x) * 4;
            const uint8_t* b = rowOf(job.b, areaB.y + y) + (areaB.x + x) * 4;
            uint8_t* to =
                out.data() + (areaResult.y + y) * job.b->widthStep + (areaResult.x + x) * 4;
            const uint32_t aA = job.alphas.areConstants ? job.alphas.a & 255 : a[3];
            const uint32_t aB = job.alphas.areConstants ? job.alphas.b & 255 : b[3];
            for (int32_t c = 0; c < 3; ++c)
                to[c] = static_cast<uint8_t>(plainElement(form, a[c], b[c], aA, aB));
            if (!job.alphas.areConstants)
                to[3] = static_cast<uint8_t>(plainAlpha(form.type, aA, aB, 255));
        }
    }
    return out;
}

void expectCleared(std::initializer_list<const IplImage*> images)
{
    for (const IplImage* image : images) {
        EXPECT_EQ(image->roi, nullptr);
        EXPECT_EQ(image->alphaChannel, 0);
    }
}

void expectPlainByEngine(Job job)
{
    const std::vector<uint8_t> expected = plainByEngine(job);
    const std::vector<uint8_t> bytesA = bytesOf(job.a);
    const std::vector<uint8_t> bytesB = bytesOf(job.b);
    const Image result = compose(job);
    ASSERT_EQ(bytesOf(result.get()), expected);
    EXPECT_EQ(bytesOf(job.a), bytesA);
    EXPECT_EQ(bytesOf(job.b), bytesB);
    EXPECT_EQ(result->maskROI, nullptr);
    expectCleared({job.a, job.b, result.get()});
}

Job randomJob(IplImage* a, IplImage* b, bool areConstants, Random& random)
{
    Job job{a, b, {}, {}, {}, {}};
    job.alphas = {areConstants, random.next(), random.next()};
    job.form = {random.between(0, 5), random.between(0, 1), random.between(0, 1), 255};
    return job;
}

// Both functions with one rectangle alone.
void expectPlainWith(uint64_t seed, MaybeRect Job::*which, const QuibRect& rect)
{
    Random random(seed);
    for (const bool second : {false, true}) {
        const Image a = makeRandomHandle(20, 16, 32, random);
        const Image b = makeRandomHandle(12, 9, 32, random);
        Job job = randomJob(a.get(), b.get(), second, random);
        job.*which = rect;
        expectPlainByEngine(job);
    }
}

// Not empty after clipping, and now and then past the edges.
QuibRect randomRect(const IplImage* image, Random& random)
{
    const int32_t left = random.between(-3, image->width - 1);
    const int32_t top = random.between(-3, image->height - 1);
    return {left, top, random.between(std::max(left, 0) + 1, image->width + 3),
            random.between(std::max(top, 0) + 1, image->height + 3)};
}

// Both functions, for refusals that they share.
QuibStatus callEither(bool second, IplImage* a, IplImage* b, IplImage** result)
{
    return second ? QuibComposition2(a, b, 255, 255, result, nullptr, nullptr, nullptr, 0)
                  : QuibComposition1(a, b, result, nullptr, nullptr, nullptr, 0, 0, 0);
}

} // namespace

// --- Refusals ----------------------------------------------------------------------------

TEST(QuibComposition, RefusesBadHandlesWithTheText)
{
    for (const bool second : {false, true}) {
        Image good = makeHandle(3, 3, 32);
        IplImage* result = good.get();
        EXPECT_BAD_HANDLE(callEither(second, nullptr, good.get(), &result));
        EXPECT_BAD_HANDLE(callEither(second, good.get(), nullptr, &result));
        Image empty = makeHandle(3, 3, 32);
        iplDeallocateImage(empty.get());
        EXPECT_BAD_HANDLE(callEither(second, good.get(), empty.get(), &result));
        EXPECT_EQ(good->alphaChannel, 0);
        EXPECT_EQ(result, good.get());
    }
}

TEST(QuibComposition, RefusesANullResultAndLeavesTheInputs)
{
    for (const bool second : {false, true}) {
        const Image a = makeHandle(3, 3, 32);
        const Image b = makeHandle(3, 3, 32);
        quibLastError[0] = 0;
        EXPECT_EQ(callEither(second, a.get(), b.get(), nullptr), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(quibLastError[0], 0);
        EXPECT_EQ(a->alphaChannel, 0);
    }
}

TEST(QuibComposition, PassesOnTheStatusOfABadRecordAndLeavesBoth)
{
    const CleanStatus clean;
    for (const bool second : {false, true}) {
        const Image a = makeHandle(3, 3, 32);
        const Image b = makeHandle(3, 3, 32);
        IplImage* result = nullptr;
        b->align = 7;
        EXPECT_EQ(callEither(second, a.get(), b.get(), &result), IPL_BadAlign);
        a->origin = 5;
        EXPECT_EQ(callEither(second, a.get(), b.get(), &result), IPL_BadOrigin);
        EXPECT_EQ(result, nullptr);
        EXPECT_EQ(a->alphaChannel, 0);
        EXPECT_EQ(b->alphaChannel, 0);
    }
}

TEST(QuibComposition, RefusesRecordsWithoutFourChannelsAndLeavesTheirAlphaDeclared)
{
    for (const bool second : {false, true}) {
        for (const int32_t bitDepth : {1, 8, 24}) {
            for (const bool isA : {false, true}) {
                const CleanStatus clean;
                const Image small = makeHandle(5, 3, bitDepth);
                const Image good = makeHandle(5, 3, 32);
                IplImage* const a = isA ? small.get() : good.get();
                IplImage* const b = isA ? good.get() : small.get();
                IplImage* result = nullptr;
                quibLastError[0] = 0;
                EXPECT_EQ(callEither(second, a, b, &result), QUIB_BAD_ARGUMENT);
                EXPECT_EQ(small->alphaChannel, 4);
                EXPECT_EQ(good->alphaChannel, 4);
                EXPECT_EQ(result, nullptr);
                EXPECT_EQ(quibLastError[0], 0);
                EXPECT_EQ(iplGetStatus(), IPL_BadAlphaChannel);
            }
        }
    }
}

TEST(QuibComposition, LeavesOtherTypesAndDepthsToTheEngine)
{
    const Image a = makeHandle(3, 3, 32);
    const Image b = makeHandle(3, 3, 32);
    const Image deep = makeImage(3, 3, 4, IPL_DEPTH_16U);
    const Image isSigned = makeImage(3, 3, 4, IPL_DEPTH_8S);
    IplImage* result = nullptr;
    const char* const badType = "compositeType != 0 && compositeType != 1 && compositeType != 2 && "
                                "compositeType != 3 && compositeType != 4 && compositeType != 5";
    EXPECT_REPORT(QuibComposition1(a.get(), b.get(), &result, nullptr, nullptr, nullptr, 6, 0, 0),
                  -5, "iplAlphaComposite", badType, "iplalpha");
    EXPECT_REPORT(QuibComposition2(a.get(), b.get(), 1, 2, &result, nullptr, nullptr, nullptr, -1),
                  -5, "iplAlphaCompositeC", badType, "iplalpha");
    EXPECT_REPORT(QuibComposition1(a.get(), b.get(), &result, nullptr, nullptr, nullptr, 0, 2, 0),
                  -5, "iplAlphaComposite", "premulAlpha != 0 && premulAlpha != 1", "iplalpha");
    EXPECT_REPORT(QuibComposition1(a.get(), b.get(), &result, nullptr, nullptr, nullptr, 0, 0, 2),
                  -5, "iplAlphaComposite", "divideMode != 0 && divideMode != 1", "iplalpha");
    EXPECT_REPORT(callEither(false, deep.get(), b.get(), &result), -5, "iplAlphaComposite",
                  "srcImageA->depth != dstImage->depth", "iplalpha");
    EXPECT_REPORT(callEither(true, isSigned.get(), isSigned.get(), &result), -5,
                  "iplAlphaCompositeC", "dstImage->depth != 8 && dstImage->depth != 16",
                  "iplalpha");
}

// --- Rectangles --------------------------------------------------------------------------

TEST(QuibComposition, ShowsTheCallerTheClippedRectangles)
{
    for (const bool second : {false, true}) {
        const Image a = makeHandle(10, 8, 32);
        const Image b = makeHandle(6, 4, 32);
        Job job{a.get(), b.get(), {}, {}, {}, {second, 9, 9}};
        job.rectA = QuibRect{-5, -6, 50, 60};
        job.rectB = QuibRect{1, -1, 50, 3};
        // Clipped to B, which the result is a clone of.
        job.rectResult = QuibRect{-1, 2, 9, 7};
        compose(job);
        EXPECT_TRUE(sameRect(*job.rectA, 0, 0, 10, 8));
        EXPECT_TRUE(sameRect(*job.rectB, 1, 0, 6, 3));
        EXPECT_TRUE(sameRect(*job.rectResult, 0, 2, 6, 4));
    }
}

TEST(QuibComposition, SharesTheRegionOfAWithAllThree)
{
    // Clipped to A alone: it passes B's edges.
    expectPlainWith(11, &Job::rectA, {3, 2, 30, 30});
}

TEST(QuibComposition, SharesTheRegionOfBWithTheResultAlone)
{
    expectPlainWith(12, &Job::rectB, {3, 2, 10, 9});
}

TEST(QuibComposition, GivesTheResultARegionOfItsOwn)
{
    expectPlainWith(13, &Job::rectResult, {5, 4, 10, 9});
}

TEST(QuibComposition, TakesOneRectangleForAllThreePlaces)
{
    Random random(14);
    const Image a = makeRandomHandle(20, 16, 32, random);
    const Image b = makeRandomHandle(12, 9, 32, random);
    QuibRect rect{4, 3, 18, 12};
    IplImage* result = nullptr;
    ASSERT_EQ(QuibComposition1(a.get(), b.get(), &result, &rect, &rect, &rect, 0, 0, 0), QUIB_OK);
    const Image owner(result);
    EXPECT_EQ(rect.right, 12);
    EXPECT_EQ(rect.bottom, 9);
    Job job{a.get(), b.get(), QuibRect{4, 3, 18, 12}, QuibRect{4, 3, 12, 9}, QuibRect{4, 3, 12, 9},
            {}};
    EXPECT_EQ(bytesOf(result), plainByEngine(job));
}

TEST(QuibComposition1, AnEmptyRectangleEndsTheCallWithTheClone)
{
    Random random(15);
    const QuibRect empties[] = {{4, 4, 4, 8},   {4, 8, 8, 8},
                                {20, 0, 30, 9}, {9, 0, 2, 9},
                                {-9, 0, 0, 9},  {INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN}};
    for (const QuibRect& empty : empties) {
        const Image a = makeRandomHandle(20, 16, 32, random);
        const Image b = makeRandomHandle(12, 9, 32, random);
        Job job{a.get(), b.get(), empty, QuibRect{1, 1, 5, 5}, {}, {}};
        const Image result = compose(job);
        EXPECT_EQ(bytesOf(result.get()), bytesOf(b.get()));
        expectCleared({a.get(), b.get(), result.get()});
        const QuibRect shown = clipped(empty, a.get());
        EXPECT_EQ(job.rectA->left, shown.left);
        EXPECT_EQ(job.rectA->bottom, shown.bottom);
        // What comes after is not clipped any more.
        EXPECT_EQ(job.rectB->right, 5);
    }
}

TEST(QuibComposition1, AnEmptyRectangleLeavesTheRegionsBeforeItInTheInputs)
{
    Random random(16);
    const Image a = makeRandomHandle(20, 16, 32, random);
    const Image b = makeRandomHandle(12, 9, 32, random);
    Job job{a.get(), b.get(), QuibRect{2, 3, 9, 8}, {}, QuibRect{5, 5, 5, 5}, {}};
    const Image result = compose(job);
    EXPECT_EQ(bytesOf(result.get()), bytesOf(b.get()));
    expectCleared({result.get()});
    EXPECT_EQ(a->alphaChannel, 0);
    EXPECT_EQ(b->alphaChannel, 0);
    ASSERT_NE(a->roi, nullptr);
    ASSERT_NE(b->roi, nullptr);
    EXPECT_NE(a->roi, b->roi);
    for (const IplROI* roi : {a->roi, b->roi}) {
        EXPECT_EQ(roi->coi, 0);
        EXPECT_EQ(roi->xOffset, 2);
        EXPECT_EQ(roi->yOffset, 3);
        EXPECT_EQ(roi->width, 7);
        EXPECT_EQ(roi->height, 5);
    }
    // They belong to the records: QuibFree frees them, as these images do.
}

TEST(QuibComposition1, AnEmptyRectangleLeavesOneRegionInAHandleThatIsBothInputs)
{
    const Image both = makeHandle(9, 9, 32);
    Job job{both.get(),           both.get(),           QuibRect{1, 1, 5, 5},
            QuibRect{2, 2, 4, 4}, QuibRect{0, 3, 9, 3}, {}};
    const Image result = compose(job);
    ASSERT_NE(both->roi, nullptr);
    EXPECT_EQ(both->roi->xOffset, 2);
}

TEST(QuibComposition2, AnEmptyRectangleEndsTheProcess)
{
    const Image a = makeHandle(20, 16, 32);
    const Image b = makeHandle(12, 9, 32);
    Job job{a.get(), b.get(), QuibRect{5, 5, 5, 9}, {}, {}, {true, 1, 2}};
    EXPECT_REPORT(compose(job), IPL_BadROISize, "iplAlphaCompositeC", "Incorrect Image",
                  "iplalpha");
}

TEST(QuibComposition2, ClearsTheRecordsWhenTheReportOfAnEmptyRectangleReturns)
{
    Random random(17);
    const RecordedReports reports;
    const Image a = makeRandomHandle(20, 16, 32, random);
    const Image b = makeRandomHandle(12, 9, 32, random);
    Job job{a.get(), b.get(), QuibRect{5, 5, 5, 9}, {}, {}, {true, 1, 2}};
    const Image result = compose(job);
    EXPECT_EQ(reports.all().size(), 1u);
    EXPECT_EQ(bytesOf(result.get()), bytesOf(b.get()));
    expectCleared({a.get(), b.get(), result.get()});
}

TEST(QuibComposition2, ARectangleWhoseSizeWrapsHasNothingInside)
{
    Random random(18);
    const RecordedReports reports;
    const Image a = makeRandomHandle(20, 16, 32, random);
    const Image b = makeRandomHandle(12, 9, 32, random);
    Job job{a.get(), b.get(), QuibRect{INT32_MAX, 5, INT32_MIN, 9}, {}, {}, {true, 1, 2}};
    const Image result = compose(job);
    EXPECT_TRUE(reports.all().empty());
    EXPECT_EQ(bytesOf(result.get()), bytesOf(b.get()));
}

// --- Results -----------------------------------------------------------------------------

TEST(QuibComposition1, WritesTheResultsAlpha)
{
    const Image a = makePixel({100, 200, 50, 128});
    const Image b = makePixel({10, 20, 30, 100});
    Job job{a.get(), b.get(), {}, {}, {}, {}};
    const Image result = compose(job);
    // mul(100, 128) is 50, mul(10, 100) 3 and mul(127, 3) 1; r is 128 + mul(127, 100).
    EXPECT_EQ(bytesOf(result.get()), (std::vector<uint8_t>{51, 103, 30, 177}));
}

TEST(QuibComposition2, LeavesTheFourthBytesOfTheSecondInput)
{
    const Image a = makePixel({100, 200, 50, 1});
    const Image b = makePixel({10, 20, 30, 2});
    Job job{a.get(), b.get(), {}, {}, {}, {true, 128, 100}};
    const Image result = compose(job);
    EXPECT_EQ(bytesOf(result.get()), (std::vector<uint8_t>{51, 103, 30, 2}));
}

TEST(QuibComposition2, TakesTheLowByteOfTheConstants)
{
    Random random(21);
    const Image a = makeRandomHandle(9, 5, 32, random);
    const Image b = makeRandomHandle(9, 5, 32, random);
    Job low{a.get(), b.get(), {}, {}, {}, {true, 0xFF, 0x01}};
    Job high{a.get(), b.get(), {}, {}, {}, {true, 0x1FF, 0xFFFFFF01u}};
    EXPECT_EQ(bytesOf(compose(high).get()), bytesOf(compose(low).get()));
}

TEST(QuibComposition, CopiesARegionOfTheCallersWholeAndTakesItAway)
{
    Random random(22);
    for (const bool second : {false, true}) {
        const Image a = makeRandomHandle(9, 5, 32, random);
        const Image b = makeRandomHandle(9, 5, 32, random);
        const std::vector<uint8_t> before = bytesOf(b.get());
        // The program's own, which nobody frees.
        IplROI roi{2, 3, 1, 4, 3};
        a->roi = &roi;
        Job job{a.get(), b.get(), {}, {}, {}, {second, 255, 0}};
        const Image result = compose(job);
        expectCleared({a.get(), b.get(), result.get()});
        for (int32_t y = 0; y < 5; ++y) {
            for (int32_t x = 0; x < 9; ++x) {
                const bool inside = x >= 3 && x < 7 && y >= 1 && y < 4;
                for (const int32_t c : {0, 2})
                    EXPECT_EQ(element(result.get(), x, y, c), element(b.get(), x, y, c));
                const IplImage* from = inside ? a.get() : b.get();
                if (second || !inside) {
                    EXPECT_EQ(element(result.get(), x, y, 1), element(from, x, y, 1));
                }
            }
        }
        EXPECT_NE(bytesOf(result.get()), before);
        EXPECT_EQ(roi.coi, 2);
    }
}

TEST(QuibComposition, LosesRegionsThatRectanglesReplace)
{
    Random random(23);
    for (const bool second : {false, true}) {
        const Image a = makeRandomHandle(20, 16, 32, random);
        const Image b = makeRandomHandle(12, 9, 32, random);
        Job job = randomJob(a.get(), b.get(), second, random);
        job.rectA = QuibRect{3, 2, 9, 8};
        job.rectB = QuibRect{1, 1, 9, 8};
        const std::vector<uint8_t> expected = plainByEngine(job);
        IplROI roiA{2, 3, 1, 4, 3};
        IplROI roiB{1, 2, 2, 3, 3};
        a->roi = &roiA;
        b->roi = &roiB;
        const Image result = compose(job);
        EXPECT_EQ(bytesOf(result.get()), expected);
        expectCleared({a.get(), b.get(), result.get()});
    }
}

TEST(QuibComposition, KeepsTheRestOfTheSecondInputBesideASmallFirst)
{
    Random random(24);
    for (const bool second : {false, true}) {
        const Image a = makeRandomHandle(7, 30, 32, random);
        const Image b = makeRandomHandle(12, 9, 32, random);
        expectPlainByEngine(randomJob(a.get(), b.get(), second, random));
    }
}

TEST(QuibComposition, KeepsThePaddingOfTheRows)
{
    Random random(25);
    for (const bool second : {false, true}) {
        const Image a = makeRandomHandle(5, 4, 32, random);
        const Image b = makeRandomPadded(5, 4, random);
        expectPlainByEngine(randomJob(a.get(), b.get(), second, random));
    }
}

TEST(QuibComposition, KeepsToTheMasksOfTheInputs)
{
    Random random(26);
    for (int round = 0; round < 40; ++round) {
        const Image a = makeRandomHandle(20, 16, 32, random);
        const Image b = makeRandomHandle(12, 9, 32, random);
        if (round % 3 != 0)
            giveMaskAtOddOffset(a.get(), random);
        if (round % 3 != 1)
            giveMaskAtOddOffset(b.get(), random);
        Job job = randomJob(a.get(), b.get(), random.coin(), random);
        if (random.coin())
            job.rectResult = randomRect(b.get(), random);
        expectPlainByEngine(job);
    }
}

TEST(QuibComposition, ComposesAHandleWithItself)
{
    Random random(27);
    for (const bool second : {false, true}) {
        const Image both = makeRandomHandle(20, 16, 32, random);
        expectPlainByEngine(randomJob(both.get(), both.get(), second, random));
        // The second region replaces the first.
        Job job = randomJob(both.get(), both.get(), second, random);
        job.rectB = QuibRect{3, 3, 9, 9};
        Job equal = job;
        equal.rectA = QuibRect{3, 3, 9, 9};
        const std::vector<uint8_t> expected = plainByEngine(equal);
        job.rectA = QuibRect{1, 1, 19, 15};
        EXPECT_EQ(bytesOf(compose(job).get()), expected);
        expectCleared({both.get()});
    }
}

TEST(QuibComposition, TakesRecordsOf16Bits)
{
    Random random(28);
    const Image a = makeImage(5, 4, 4, IPL_DEPTH_16U);
    const Image b = makeImage(5, 4, 4, IPL_DEPTH_16U);
    randomise(a.get(), random);
    randomise(b.get(), random);
    Job job{a.get(), b.get(), {}, {}, {}, {}};
    const Image result = compose(job);
    for (int32_t c = 0; c < 4; ++c) {
        const auto at = [c](const Image& image, int32_t channel) {
            return static_cast<uint32_t>(element(image.get(), 2, 1, channel < 0 ? c : channel));
        };
        const PlainComposite form{plainOver, 0, 0, 65535};
        const uint32_t expected =
            c == 3 ? plainAlpha(plainOver, at(a, 3), at(b, 3), 65535)
                   : plainElement(form, at(a, -1), at(b, -1), at(a, 3), at(b, 3));
        EXPECT_EQ(at(result, -1), expected);
    }
}

TEST(QuibComposition, IsPlainForRandomHandlesAndRectangles)
{
    forEachLevel([] {
        Random random(29);
        for (int round = 0; round < 1500; ++round) {
            const Image a = makeRandomHandleUpTo(50, 12, 32, random);
            const Image b = makeRandomHandleUpTo(50, 12, 32, random);
            Job job = randomJob(a.get(), b.get(), random.coin(), random);
            if (random.coin())
                job.rectA = randomRect(a.get(), random);
            if (random.coin())
                job.rectB = randomRect(b.get(), random);
            if (random.coin())
                job.rectResult = randomRect(b.get(), random);
            // A region that is A's alone may lie outside B: nothing is left to do.
            ASSERT_NO_FATAL_FAILURE(expectPlainByEngine(job));
        }
    });
}

TEST(QuibComposition, StaysInsideTheInputs)
{
    forEachLevel([] {
        Random random(30);
        for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
            for (int32_t width = 1; width < 40; ++width) {
                const GuardedHandle a(width, 3, 32, guard);
                const GuardedHandle b(width, 3, 32, guard);
                a.makeReadOnly();
                b.makeReadOnly();
                for (const bool second : {false, true})
                    ASSERT_NO_FATAL_FAILURE(
                        expectPlainByEngine(randomJob(a.get(), b.get(), second, random)));
            }
        }
    });
}
