#include "_Src/ipl.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/levels.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"
#include "tests/support/window.h"

namespace
{

constexpr uint32_t unsignedDepths[] = {IPL_DEPTH_1U, IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32F};

struct Sizes {
    int32_t x;
    int32_t y;
};

PlainWindow windowOfSizes(const Sizes& sizes)
{
    return {std::max(sizes.x, 1), std::max(sizes.y, 1), sizes.x / 2, sizes.y / 2};
}

Sizes randomSizes(Random& random)
{
    return {random.between(0, 7), random.between(0, 7)};
}

void blurOnly(const IplImage* src, IplImage* dst, const Sizes& sizes)
{
    iplDecimateBlur(src, dst, 3, 3, 7, 7, IPL_INTER_LINEAR, sizes.x, sizes.y);
}

// As the function takes them: channels of interest in both images or in neither.
Arrangement randomImages(uint32_t depth, Random& random)
{
    for (;;) {
        Arrangement images = randomAlikeImages(depth, false, random);
        const auto begins = [](const IplImage* image) {
            return !image->roi ||
                   (image->roi->xOffset < image->width && image->roi->yOffset < image->height);
        };
        if ((coiOf(images.a.get()) > 0) == (coiOf(images.dst.get()) > 0) &&
            begins(images.a.get()) && begins(images.dst.get()))
            return images;
    }
}

// Blurs the whole image, whatever its region and mask.
void blurPlainly(const IplImage* src, IplImage* blurred, const Sizes& sizes)
{
    IplImage whole = *src;
    IplROI all{coiOf(src), 0, 0, src->width, src->height};
    whole.roi = &all;
    whole.maskROI = nullptr;
    IplImage target = *blurred;
    target.roi = &all;
    target.maskROI = nullptr;
    plainFilter(plainJob(&whole, nullptr, &target), windowOfSizes(sizes), plainMean(src->depth));
}

} // namespace

// --- Worked values -----------------------------------------------------------------------

TEST(iplDecimateBlur, EqualFactorsAreABlur)
{
    const Image src = makeImage(4, 1, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(4, 1, 1, IPL_DEPTH_8U);
    for (int32_t x = 0; x < 4; ++x)
        putElement(src.get(), x, 0, 0, 10 * x + 1);
    iplDecimateBlur(src.get(), dst.get(), 4, 4, 1, 1, IPL_INTER_NN, 2, 1);
    // (0, 1), (1, 11), (11, 21), (21, 31): the pixel is the second of two.
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 1);
    EXPECT_EQ(element(dst.get(), 1, 0, 0), 6);
    EXPECT_EQ(element(dst.get(), 3, 0, 0), 26);
}

TEST(iplDecimateBlur, ReducesAfterTheBlur)
{
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(2, 2, 1, IPL_DEPTH_8U);
    for (int32_t i = 0; i < 16; ++i)
        putElement(src.get(), i % 4, i / 4, 0, i % 4 * 30);
    iplSetBorderMode(src.get(), IPL_BORDER_REPLICATE, 15, 0);
    const int64_t held = liveBlocks();
    iplDecimateBlur(src.get(), dst.get(), 1, 2, 1, 2, IPL_INTER_NN, 3, 1);
    EXPECT_EQ(liveBlocks(), held);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 10);
    EXPECT_EQ(element(dst.get(), 1, 1, 0), 60);
}

TEST(iplDecimateBlur, AMaskSizeOfNothingIsOne)
{
    Random random(1);
    const Image src = makeImage(9, 9, 3, IPL_DEPTH_16U);
    const Image dst = makeImage(9, 9, 3, IPL_DEPTH_16U);
    randomise(src.get(), random);
    blurOnly(src.get(), dst.get(), {0, 0});
    for (int32_t x = 0; x < 9; ++x)
        EXPECT_EQ(element(dst.get(), x, 5, 2), element(src.get(), x, 5, 2));
}

// --- Plain forms -------------------------------------------------------------------------

TEST(iplDecimateBlur, WithEqualFactorsIsThePlainFormAtEveryLevel)
{
    forEachLevel([] {
        Random random(2);
        for (const uint32_t depth : unsignedDepths) {
            for (int i = 0; i < 60; ++i) {
                const Sizes sizes = randomSizes(random);
                ASSERT_NO_FATAL_FAILURE(expectPlainFilter(
                    randomImages(depth, random), windowOfSizes(sizes),
                    [&](const IplImage* src, IplImage* dst, const PlainWindow&) {
                        blurOnly(src, dst, sizes);
                    },
                    plainMean(depth)));
            }
        }
    });
}

TEST(iplDecimateBlur, IsAReductionOfThePlainBlur)
{
    forEachLevel([] {
        Random random(3);
        for (const uint32_t depth : unsignedDepths) {
            for (int i = 0; i < 60; ++i) {
                const Arrangement images = randomImages(depth, random);
                images.dst->origin = images.a->origin;
                const Sizes sizes = randomSizes(random);
                const int32_t mode = random.between(0, 2);
                const int32_t xDst = random.between(1, 5);
                const int32_t yDst = random.between(1, 5);
                const int32_t xSrc = xDst + random.between(1, 7);
                const int32_t ySrc = yDst + random.between(0, 7);
                const Twin blurred(images.a.get());
                blurPlainly(images.a.get(), blurred.get(), sizes);
                const Twin expected(images.dst.get());
                iplDecimate(blurred.get(), expected.get(), xDst, xSrc, yDst, ySrc, mode);
                iplDecimateBlur(images.a.get(), images.dst.get(), xDst, xSrc, yDst, ySrc, mode,
                                sizes.x, sizes.y);
                ASSERT_EQ(bytesOf(images.dst.get()), bytesOf(expected.get())) << images.text();
            }
        }
    });
}

TEST(iplDecimateBlur, TilesGiveTheSame)
{
    Random random(4);
    for (const uint32_t depth : unsignedDepths) {
        for (int i = 0; i < 30; ++i) {
            const Arrangement images = randomImages(depth, random);
            const int32_t xSrc = random.between(3, 5);
            const Sizes sizes = randomSizes(random);
            ASSERT_NO_FATAL_FAILURE(expectSameFilterInTiles(
                images, windowOfSizes(sizes),
                [&](const IplImage* src, IplImage* dst, const PlainWindow&) {
                    iplDecimateBlur(src, dst, 3, xSrc, 3, 3, IPL_INTER_LINEAR, sizes.x, sizes.y);
                },
                random));
        }
    }
}

TEST(iplDecimateBlur, TakesTheChannelsThatBothHave)
{
    Random random(5);
    for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
        for (const auto& [from, to] : {std::pair(3, 5), std::pair(5, 3)}) {
            for (const int32_t xSrc : {3, 4}) {
                const Image src = makeImage(12, 8, from, IPL_DEPTH_8U, order);
                const Image dst = makeImage(12, 8, to, IPL_DEPTH_8U, order);
                randomise(src.get(), random);
                iplDecimateBlur(src.get(), dst.get(), 3, xSrc, 1, 1, IPL_INTER_LINEAR, 3, 3);
                for (int32_t c = 0; c < to; ++c) {
                    const Image one = makeImage(12, 8, 1, IPL_DEPTH_8U, order);
                    const Image result = makeImage(12, 8, 1, IPL_DEPTH_8U, order);
                    for (int32_t p = 0; p < 96 && c < from; ++p)
                        putElement(one.get(), p % 12, p / 12, 0,
                                   element(src.get(), p % 12, p / 12, c));
                    iplDecimateBlur(one.get(), result.get(), 3, xSrc, 1, 1, IPL_INTER_LINEAR, 3, 3);
                    for (int32_t p = 0; p < 96; ++p)
                        ASSERT_EQ(element(dst.get(), p % 12, p / 12, c),
                                  c < from ? element(result.get(), p % 12, p / 12, 0) : 0);
                }
            }
        }
    }
}

TEST(iplDecimateBlur, StaysInsideImagesOfOtherSizes)
{
    Random random(6);
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
        for (const int32_t bitDepth : {1, 8, 24, 32}) {
            const GuardedHandle src(37, 11, bitDepth, guard);
            randomise(src.get(), random);
            src.makeReadOnly();
            for (const int32_t width : {5, 37, 60}) {
                const GuardedHandle dst(width, 9, bitDepth, guard);
                for (const int32_t factor : {1, 2, 3})
                    iplDecimateBlur(src.get(), dst.get(), 2, 1 + factor, 1, factor, IPL_INTER_CUBIC,
                                    18, 5);
            }
        }
    }
}

// --- Refusals ----------------------------------------------------------------------------

namespace
{

struct Call {
    int32_t xDst = 1;
    int32_t xSrc = 2;
    int32_t yDst = 1;
    int32_t ySrc = 2;
    int32_t interpolate = IPL_INTER_NN;
    int32_t xMaskSize = 3;
    int32_t yMaskSize = 3;
};

void expectNotReduced(const IplImage* src, IplImage* dst, const Call& call, int32_t status,
                      const char* text)
{
    EXPECT_REPORT(iplDecimateBlur(src, dst, call.xDst, call.xSrc, call.yDst, call.ySrc,
                                  call.interpolate, call.xMaskSize, call.yMaskSize),
                  status, "iplDecimateBlur", text, "ipldext");
}

} // namespace

TEST(iplDecimateBlur, RefusesInItsOrder)
{
    // All is wrong at first, and mended from the first to the last.
    Call call{0, -1, 0, -1, IPL_INTER_SUPER, -1, -1};
    expectNotReduced(
        nullptr, nullptr, call, -5,
        "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR && interpolate "
        "!= IPL_INTER_CUBIC");
    call.interpolate = IPL_INTER_CUBIC;
    expectNotReduced(nullptr, nullptr, call, -9, "Incorrect Image");
    const Image src = makeImage(8, 8, 3, IPL_DEPTH_8S);
    expectNotReduced(src.get(), nullptr, call, -9, "Incorrect Image");
    const Image deeper = makeImage(8, 8, 4, IPL_DEPTH_16U, IPL_DATA_ORDER_PLANE, 4, 4);
    expectNotReduced(src.get(), deeper.get(), call, -5, "(srcImage->depth!=dstImage->depth)");
    const Image planes = makeImage(8, 8, 3, IPL_DEPTH_8S, IPL_DATA_ORDER_PLANE, 4, 3);
    expectNotReduced(src.get(), planes.get(), call, -5,
                     "(srcImage->dataOrder!=dstImage->dataOrder)");
    const Image alpha = makeImage(8, 8, 3, IPL_DEPTH_8S, IPL_DATA_ORDER_PIXEL, 4, 3);
    expectNotReduced(src.get(), alpha.get(), call, -5,
                     "(srcImage->alphaChannel!=dstImage->alphaChannel)");
    expectNotReduced(src.get(), src.get(), call, -5, "(srcImage->depth & IPL_DEPTH_SIGN)");
    const Image good = makeImage(8, 8, 3, IPL_DEPTH_8U);
    expectNotReduced(good.get(), good.get(), call, -5, "(xDst>xSrc||yDst>ySrc)");
    call.xSrc = call.ySrc = 0;
    expectNotReduced(good.get(), good.get(), call, -5, "((xDst <= 0)||(yDst<=0))");
    call = {1, 1, 0, 1, IPL_INTER_NN, -1, 3};
    expectNotReduced(good.get(), good.get(), call, -5, "((xDst <= 0)||(yDst<=0))");
    call.yDst = 1;
    expectNotReduced(good.get(), good.get(), call, -5, "(xMaskSize<0||yMaskSize<0)");
    call.xMaskSize = 3;
    call.yMaskSize = -1;
    expectNotReduced(good.get(), good.get(), call, -5, "(xMaskSize<0||yMaskSize<0)");
    expectNotReduced(good.get(), good.get(), Call{}, -5, "This function isn`t in-plase function");
}

TEST(iplDecimateBlur, RefusesOneChannelOfInterest)
{
    const Image chosen = makeImage(8, 8, 3, IPL_DEPTH_8U);
    const Image whole = makeImage(8, 8, 3, IPL_DEPTH_8U);
    setRoi(chosen.get(), 2, 8, 8, 1, 1);
    expectNotReduced(chosen.get(), whole.get(), {}, -5,
                     "srcImage->roi->coi > 0 && dstImage->roi == NULL");
    expectNotReduced(whole.get(), chosen.get(), {}, -5,
                     "dstImage->roi->coi > 0 && srcImage->roi == NULL");
    setRoi(whole.get(), 0, 8, 8, 1, 1);
    expectNotReduced(chosen.get(), whole.get(), {}, -5,
                     "srcImage->roi->coi > 0 && dstImage->roi->coi == 0");
    expectNotReduced(whole.get(), chosen.get(), {}, -5,
                     "dstImage->roi->coi > 0 && srcImage->roi->coi == 0");
}

TEST(iplDecimateBlur, RefusesRegionsThatBeginOutside)
{
    const Image src = makeImage(8, 6, 3, IPL_DEPTH_8U);
    const Image dst = makeImage(7, 5, 3, IPL_DEPTH_8U);
    setRoi(src.get(), 0, 8, 6, 1, 1);
    setRoi(dst.get(), 0, 7, 5, 1, 1);
    expectNotReduced(src.get(), dst.get(), {}, -5, "srcImage->roi->xOffset >= srcImage->width");
    src->roi->xOffset = 7;
    expectNotReduced(src.get(), dst.get(), {}, -5, "srcImage->roi->yOffset >= srcImage->height");
    src->roi->yOffset = 5;
    expectNotReduced(src.get(), dst.get(), {}, -5, "dstImage->roi->xOffset >= dstImage->width");
    dst->roi->xOffset = 6;
    expectNotReduced(src.get(), dst.get(), {}, -5, "dstImage->roi->yOffset >= dstImage->height");
}

TEST(iplDecimateBlur, AcceptsOtherOriginsAndAlphaAlone)
{
    const RecordedReports reports;
    Random random(7);
    const Image src = makeImage(8, 6, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 0, IPL_ORIGIN_BL);
    const Image dst = makeImage(8, 6, 3, IPL_DEPTH_8U);
    const Image alpha = makeImage(8, 6, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 1);
    const Image same = makeImage(8, 6, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 1);
    randomise(alpha.get(), random);
    for (const int32_t xSrc : {1, 2}) {
        iplDecimateBlur(src.get(), dst.get(), 1, xSrc, 1, 1, IPL_INTER_NN, 3, 3);
        iplDecimateBlur(alpha.get(), same.get(), 1, xSrc, 1, 1, IPL_INTER_NN, 3, 3);
    }
    EXPECT_TRUE(reports.all().empty());
    EXPECT_EQ(element(same.get(), 0, 0, 0), 0);
}

TEST(iplDecimateBlur, ReportsWhenThereIsNoMemory)
{
    const RecordedReports reports;
    const Image src = makeImage(8, 6, 3, IPL_DEPTH_8U);
    const Image dst = makeImage(8, 6, 3, IPL_DEPTH_8U);
    iplDecimateBlur(src.get(), dst.get(), 1, 1, 1, 1, IPL_INTER_NN, INT32_MAX, INT32_MAX);
    iplDecimateBlur(src.get(), dst.get(), 1, 2, 1, 1, IPL_INTER_NN, INT32_MAX, INT32_MAX);
    const std::vector<Report> told(2, {-4, "iplDecimateBlur", "Allocation failure", "ipldext"});
    EXPECT_EQ(reports.all(), told);
    iplSetStatus(0);
}

TEST(iplDecimateBlur, ReportsThatThereIsNoMemoryForTheBlurredImage)
{
    const Image src = makeImage(8, 6, 3, IPL_DEPTH_8U);
    const Image dst = makeImage(8, 6, 3, IPL_DEPTH_8U);
    iplSet(src.get(), 200);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    const RecordedReports reports;
    {
        const FailingAllocation failure;
        iplDecimateBlur(src.get(), dst.get(), 1, 2, 1, 2, IPL_INTER_NN, 3, 3);
    }
    EXPECT_EQ(
        reports.all(),
        (std::vector<Report>{{-4, "iplCloneImage",
                              "Not enough memory to allocate header for clone image", "iplClone"},
                             {-4, "iplDecimateBlur", "Allocation failure", "ipldext"}}));
    EXPECT_EQ(bytesOf(dst.get()), before);
}
