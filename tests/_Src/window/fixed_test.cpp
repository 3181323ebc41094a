#include "_Src/window/fixed.h"

#include "tests/support/levels.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"
#include "tests/support/window.h"

#include <cmath>

namespace
{

// --- The plain form: each filter's taps written out --------------------------------------

const std::vector<double> plainTaps[] = {
    {-1, 0, 1, -1, 0, 1, -1, 0, 1},
    {-1, -1, -1, 0, 0, 0, 1, 1, 1},
    {-1, 0, 1, -2, 0, 2, -1, 0, 1},
    {-1, -2, -1, 0, 0, 0, 1, 2, 1},
    {-1, -1, -1, -1, 8, -1, -1, -1, -1},
    {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 24,
     -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
    {1, 2, 1, 2, 4, 2, 1, 2, 1},
    {1, 4, 6, 4, 1, 4, 16, 24, 16, 4, 6, 24, 36, 24, 6, 4, 16, 24, 16, 4, 1, 4, 6, 4, 1},
    std::vector<double>(9, 1),
    std::vector<double>(25, 1),
    {-1, -1, -1, -1, 9, -1, -1, -1, -1},
};

double plainFloat(int32_t filter, double sum, double middle)
{
    if (filter <= 5)
        return static_cast<float>(std::fabs(sum));
    if (filter <= 7)
        return static_cast<float>(sum / (filter == 6 ? 16 : 256));
    if (filter == 10)
        return static_cast<float>(sum);
    const float mean = static_cast<float>(sum * (1.0 / (filter == 8 ? 9 : 25)));
    return static_cast<float>(middle) - mean;
}

double plainBit(int32_t filter, double sum, double middle)
{
    if (filter <= 5)
        return sum != 0;
    if (filter <= 7)
        return sum / (filter == 6 ? 16 : 256) >= 0.5;
    return middle == 1 && sum / (filter == 8 ? 9 : 25) < 0.5;
}

double plainInteger(uint32_t depth, int32_t filter, double sum, double middle)
{
    if (filter <= 5)
        return saturated(depth, static_cast<int64_t>(std::fabs(sum)));
    if (filter <= 7)
        return std::floor(sum / (filter == 6 ? 16 : 256) + 0.5);
    if (filter == 10)
        return saturated(depth, static_cast<int64_t>(sum));
    const double n = filter == 8 ? 9 : 25;
    // Exact: the sum is a whole number below 2^37.
    const double mean = std::floor((2 * sum + n) / (2 * n));
    const double range = depth == IPL_DEPTH_8U ? 256 : depth == IPL_DEPTH_16U ? 65536 : 0;
    return saturated(depth, static_cast<int64_t>(middle - mean + range / 2));
}

PlainFilter plainFixed(uint32_t depth, int32_t filter)
{
    return [depth, filter](const std::vector<double>& window) {
        double sum = 0;
        for (size_t i = 0; i < window.size(); ++i)
            if (plainTaps[filter][i] != 0)
                sum += plainTaps[filter][i] * window[i];
        const double middle = window[window.size() / 2];
        if (depth == IPL_DEPTH_32F)
            return plainFloat(filter, sum, middle);
        return depth == IPL_DEPTH_1U ? plainBit(filter, sum, middle)
                                     : plainInteger(depth, filter, sum, middle);
    };
}

PlainWindow fixedWindowOf(int32_t filter)
{
    const int32_t size = plainTaps[filter].size() == 9 ? 3 : 5;
    return {size, size, size / 2, size / 2};
}

FilterCall fixedCallOf(int32_t filter)
{
    return [filter](const IplImage* src, IplImage* dst, const PlainWindow&) {
        EXPECT_EQ(iplFixedFilter(src, dst, filter), IPL_StsOk);
    };
}

bool isIdentity(uint32_t depth, int32_t filter)
{
    return depth == IPL_DEPTH_1U && filter == 10;
}

template<class Visit>
void forEachFilter(Visit visit)
{
    for (int32_t filter = 0; filter < ownFixedFilters; ++filter) {
        SCOPED_TRACE(filter);
        for (const uint32_t depth : allDepths)
            if (!isIdentity(depth, filter))
                visit(depth, filter);
    }
}

// What a filter makes of the pixel in the middle of an image of 3 x 3.
double resultOf(int32_t filter, uint32_t depth, const std::vector<double>& pixels)
{
    const Image src = makeImage(3, 3, 1, depth);
    const Image dst = makeImage(3, 3, 1, depth);
    for (int32_t i = 0; i < 9; ++i)
        putElement(src.get(), i % 3, i / 3, 0, pixels[static_cast<size_t>(i)]);
    EXPECT_EQ(iplFixedFilter(src.get(), dst.get(), filter), IPL_StsOk);
    return element(dst.get(), 1, 1, 0);
}

// The same of an image of one value, with what lies around it the same.
double resultOfConstant(int32_t filter, uint32_t depth, double value)
{
    const Image src = makeImage(4, 4, 1, depth);
    const Image dst = makeImage(4, 4, 1, depth);
    for (int32_t i = 0; i < 16; ++i)
        putElement(src.get(), i % 4, i / 4, 0, value);
    iplSetBorderMode(src.get(), IPL_BORDER_REPLICATE, 15, 0);
    EXPECT_EQ(iplFixedFilter(src.get(), dst.get(), filter), IPL_StsOk);
    return element(dst.get(), 3, 0, 0);
}

} // namespace

// --- Worked values -----------------------------------------------------------------------

TEST(iplFixedFilter, GradientsAreAbsoluteDifferences)
{
    const std::vector<double> rising = {0, 5, 10, 0, 5, 10, 0, 5, 10};
    const std::vector<double> falling = {9, 9, 9, 5, 5, 5, 1, 1, 1};
    EXPECT_EQ(resultOf(0, IPL_DEPTH_8U, rising), 30);
    EXPECT_EQ(resultOf(1, IPL_DEPTH_8U, rising), 0);
    EXPECT_EQ(resultOf(2, IPL_DEPTH_8U, rising), 40);
    EXPECT_EQ(resultOf(3, IPL_DEPTH_8U, rising), 0);
    EXPECT_EQ(resultOf(0, IPL_DEPTH_8U, falling), 0);
    EXPECT_EQ(resultOf(1, IPL_DEPTH_8U, falling), 24);
    EXPECT_EQ(resultOf(3, IPL_DEPTH_16S, falling), 32);
}

TEST(iplFixedFilter, GradientsAreSaturated)
{
    const std::vector<double> edge = {0, 0, 255, 0, 0, 255, 0, 0, 255};
    EXPECT_EQ(resultOf(2, IPL_DEPTH_8U, edge), 255);
    EXPECT_EQ(resultOf(2, IPL_DEPTH_16U, edge), 1020);
    EXPECT_EQ(resultOf(2, IPL_DEPTH_8S, {-128, 0, 0, -128, 0, 0, -128, 0, 0}), 127);
    EXPECT_EQ(resultOf(2, IPL_DEPTH_32F, {-128, 0, 0, -128, 0, 0, -128, 0, 0}), 512);
}

TEST(iplFixedFilter, LaplaciansOfAConstantAreZero)
{
    for (const uint32_t depth : allDepths)
        for (const int32_t filter : {4, 5})
            EXPECT_EQ(resultOfConstant(filter, depth, 1), 0);
    EXPECT_EQ(resultOf(4, IPL_DEPTH_8U, {0, 0, 0, 0, 10, 0, 0, 0, 0}), 80);
    EXPECT_EQ(resultOf(4, IPL_DEPTH_8U, {1, 1, 1, 1, 0, 1, 1, 1, 1}), 8);
    EXPECT_EQ(resultOf(5, IPL_DEPTH_16U, {0, 0, 0, 0, 10, 0, 0, 0, 0}), 240);
}

TEST(iplFixedFilter, GaussiansRoundHalvesUp)
{
    // 8 / 16, 7 / 16; the middle of 5 x 5 weighs 36, the edges 24 and the corners 16.
    EXPECT_EQ(resultOf(6, IPL_DEPTH_8U, {0, 0, 0, 0, 2, 0, 0, 0, 0}), 1);
    EXPECT_EQ(resultOf(6, IPL_DEPTH_8U, {0, 0, 0, 0, 1, 1, 1, 0, 0}), 0);
    EXPECT_EQ(resultOf(6, IPL_DEPTH_8S, {0, 0, 0, 0, -2, 0, 0, 0, 0}), 0);
    EXPECT_EQ(resultOf(6, IPL_DEPTH_8S, {0, 0, 0, 0, -2, 0, 0, 0, -1}), -1);
    EXPECT_EQ(resultOf(7, IPL_DEPTH_8U, {0, 1, 0, 1, 2, 0, 1, 0, 0}), 1);
    EXPECT_EQ(resultOf(7, IPL_DEPTH_8U, {0, 0, 0, 0, 3, 0, 1, 0, 0}), 0);
    EXPECT_EQ(resultOf(6, IPL_DEPTH_32F, {0, 0, 0, 0, 1, 0, 0, 0, 0}), 0.25);
}

TEST(iplFixedFilter, LowAndHighPassFiltersOfAConstant)
{
    for (const uint32_t depth : allDepths) {
        const double high = depth == IPL_DEPTH_8U ? 128 : depth == IPL_DEPTH_16U ? 32768 : 0;
        EXPECT_EQ(resultOfConstant(6, depth, 1), 1);
        EXPECT_EQ(resultOfConstant(7, depth, 1), 1);
        EXPECT_EQ(resultOfConstant(8, depth, 1), high);
        EXPECT_EQ(resultOfConstant(9, depth, 1), high);
        EXPECT_EQ(resultOfConstant(10, depth, 1), 1);
    }
    EXPECT_EQ(resultOfConstant(7, IPL_DEPTH_8U, 255), 255);
    EXPECT_EQ(resultOfConstant(7, IPL_DEPTH_8S, -128), -128);
    EXPECT_EQ(resultOfConstant(7, IPL_DEPTH_16S, -32768), -32768);
    EXPECT_EQ(resultOfConstant(7, IPL_DEPTH_32S, INT32_MIN), INT32_MIN);
}

TEST(iplFixedFilter, HighPassFiltersSubtractARoundedMean)
{
    // Means of 13 / 9 and 14 / 9.
    EXPECT_EQ(resultOf(8, IPL_DEPTH_8U, {1, 1, 1, 1, 5, 1, 1, 1, 1}), 128 + 5 - 1);
    EXPECT_EQ(resultOf(8, IPL_DEPTH_8U, {1, 1, 1, 1, 6, 1, 1, 1, 1}), 128 + 6 - 2);
    EXPECT_EQ(resultOf(8, IPL_DEPTH_8U, {0, 0, 0, 0, 255, 0, 0, 0, 0}), 255);
    EXPECT_EQ(resultOf(8, IPL_DEPTH_8U, {255, 255, 255, 255, 0, 255, 255, 255, 255}), 0);
    EXPECT_EQ(resultOf(8, IPL_DEPTH_16S, {0, 0, 0, 0, -9, 0, 0, 0, 0}), -8);
}

TEST(iplFixedFilter, SharpensAndSaturates)
{
    EXPECT_EQ(resultOf(10, IPL_DEPTH_8U, {9, 9, 9, 9, 10, 9, 9, 9, 9}), 18);
    EXPECT_EQ(resultOf(10, IPL_DEPTH_8U, {9, 9, 9, 9, 5, 9, 9, 9, 9}), 0);
    EXPECT_EQ(resultOf(10, IPL_DEPTH_8U, {0, 0, 0, 0, 100, 0, 0, 0, 0}), 255);
    EXPECT_EQ(resultOf(10, IPL_DEPTH_8S, {9, 9, 9, 9, 5, 9, 9, 9, 9}), -27);
    EXPECT_EQ(resultOf(10, IPL_DEPTH_32S, {0, 0, 0, 0, INT32_MIN, 0, 0, 0, 0}), INT32_MIN);
}

TEST(iplFixedFilter, BitsAreAskedWhatTheValueIs)
{
    const uint32_t bits = IPL_DEPTH_1U;
    EXPECT_EQ(resultOf(0, bits, {0, 0, 1, 0, 0, 0, 0, 0, 0}), 1);
    EXPECT_EQ(resultOf(0, bits, {1, 0, 1, 0, 1, 0, 0, 0, 0}), 0);
    EXPECT_EQ(resultOf(4, bits, {1, 1, 1, 1, 1, 1, 1, 1, 0}), 1);
    EXPECT_EQ(resultOf(6, bits, {0, 1, 0, 1, 1, 0, 0, 0, 0}), 1);
    EXPECT_EQ(resultOf(6, bits, {1, 1, 0, 0, 1, 0, 0, 0, 0}), 0);
    EXPECT_EQ(resultOf(8, bits, {1, 1, 1, 0, 1, 0, 0, 0, 0}), 1);
    EXPECT_EQ(resultOf(8, bits, {1, 1, 1, 1, 1, 0, 0, 0, 0}), 0);
    EXPECT_EQ(resultOf(8, bits, {1, 0, 0, 0, 0, 0, 0, 0, 0}), 0);
}

TEST(iplFixedFilter, AnInfinityBesideAGradientLeavesIt)
{
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(resultOf(2, IPL_DEPTH_32F, {0, infinity, 1, 0, infinity, 1, 0, 0, 1}), 4);
}

TEST(iplFixedFilter, SharpenedBitsAreCopied)
{
    Random random(1);
    const Image src = makeImage(19, 5, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(19, 5, 1, IPL_DEPTH_1U);
    randomise(src.get(), random);
    EXPECT_EQ(iplFixedFilter(src.get(), dst.get(), 10), IPL_StsOk);
    for (int32_t y = 0; y < 5; ++y)
        for (int32_t x = 0; x < 19; ++x)
            EXPECT_EQ(element(dst.get(), x, y, 0), element(src.get(), x, y, 0));
    const Image other = makeImage(19, 5, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PIXEL, 4, 0, 1);
    EXPECT_REPORT(iplFixedFilter(src.get(), other.get(), 10), -5, "iplCopy",
                  "srcImage->origin != dstImage->origin", "iplsce");
}

// --- Plain forms -------------------------------------------------------------------------

TEST(iplFixedFilter, IsThePlainFormAtEveryLevel)
{
    forEachLevel([] {
        Random random(2);
        forEachFilter([&](uint32_t depth, int32_t filter) {
            for (int i = 0; i < 25; ++i)
                ASSERT_NO_FATAL_FAILURE(expectPlainFilter(
                    randomAlikeImages(depth, false, random), fixedWindowOf(filter),
                    fixedCallOf(filter), plainFixed(depth, filter)));
        });
    });
}

TEST(iplFixedFilter, WideImagesAreThePlainForm)
{
    forEachLevel([] {
        Random random(3);
        forEachFilter([&](uint32_t depth, int32_t filter) {
            const auto wide = [&, depth = depth] {
                Image image = makeImage(random.between(60, 200), 6, 1, depth);
                fillTelling(image.get(), random);
                return image;
            };
            Arrangement images{wide(), nullptr, wide()};
            giveRandomBorders(images.a.get(), random);
            ASSERT_NO_FATAL_FAILURE(expectPlainFilter(
                images, fixedWindowOf(filter), fixedCallOf(filter), plainFixed(depth, filter)));
        });
    });
}

TEST(iplFixedFilter, TilesGiveTheSame)
{
    Random random(4);
    forEachFilter([&](uint32_t depth, int32_t filter) {
        for (int i = 0; i < 6; ++i)
            ASSERT_NO_FATAL_FAILURE(expectSameFilterInTiles(randomAlikeImages(depth, false, random),
                                                            fixedWindowOf(filter),
                                                            fixedCallOf(filter), random));
    });
}

TEST(iplFixedFilter, ExtremesOfEveryDepthAreExact)
{
    forEachLevel([] {
        Random random(5);
        for (int32_t filter = 0; filter < ownFixedFilters; ++filter) {
            SCOPED_TRACE(filter);
            for (const uint32_t depth : integerDepths) {
                if (isIdentity(depth, filter))
                    continue;
                const Image src = makeImage(50, 9, 1, depth);
                const Image dst = makeImage(50, 9, 1, depth);
                for (int32_t i = 0; i < 450; ++i)
                    putElement(src.get(), i % 50, i / 50, 0,
                               static_cast<double>(random.coin() ? lowOf(depth) : highOf(depth)));
                iplSetBorderMode(src.get(), IPL_BORDER_REFLECT, 15, 0);
                const Twin expected(dst.get());
                plainFilter(plainJob(src.get(), nullptr, expected.get()), fixedWindowOf(filter),
                            plainFixed(depth, filter));
                iplFixedFilter(src.get(), dst.get(), filter);
                ASSERT_EQ(bytesOf(dst.get()), bytesOf(expected.get())) << depth;
            }
        }
    });
}

// --- Refusals ----------------------------------------------------------------------------

namespace
{

void expectNotFiltered(const IplImage* src, IplImage* dst, int32_t filter, int32_t status,
                       const char* text)
{
    EXPECT_REPORT(iplFixedFilter(src, dst, filter), status, "iplFixedFilter", text, "iplnlf");
}

} // namespace

TEST(iplFixedFilter, RefusesUnknownFilters)
{
    const Image src = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const Image dst = makeImage(4, 4, 3, IPL_DEPTH_8U);
    expectNotFiltered(src.get(), dst.get(), 11, -5, "Unknow filter.");
    expectNotFiltered(src.get(), dst.get(), -1, -5, "Unknow filter.");
}

TEST(iplFixedFilter, RefusesInItsOrder)
{
    // All is wrong at first, and mended from the first to the last.
    const Image src = makeImage(4, 4, 3, IPL_DEPTH_8U);
    expectNotFiltered(nullptr, nullptr, 11, -9, "Incorrect Image");
    expectNotFiltered(src.get(), nullptr, 11, -9, "Incorrect Image");
    expectNotFiltered(src.get(), src.get(), 11, -5, "(srcImage==dstImage)");
    const Image deeper =
        makeImage(4, 4, 4, IPL_DEPTH_16U, IPL_DATA_ORDER_PLANE, 4, 4, IPL_ORIGIN_BL);
    expectNotFiltered(src.get(), deeper.get(), 11, -5, "srcImage->depth!=dstImage->depth");
    const Image wider = makeImage(4, 4, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE, 4, 4);
    expectNotFiltered(src.get(), wider.get(), 11, -5, "srcImage->nChannels!=dstImage->nChannels");
    const Image withAlpha = makeImage(4, 4, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE, 4, 3);
    expectNotFiltered(src.get(), withAlpha.get(), 11, -5,
                      "srcImage->alphaChannel!=dstImage->alphaChannel");
    const Image planes = makeImage(4, 4, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    setRoi(planes.get(), 2, 0, 0, 4, 4);
    expectNotFiltered(src.get(), planes.get(), 11, -5, "srcImage->dataOrder!=dstImage->dataOrder");
    const Image pixels = makeImage(4, 4, 3, IPL_DEPTH_8U);
    setRoi(pixels.get(), 2, 0, 0, 4, 4);
    expectNotFiltered(src.get(), pixels.get(), 11, -24,
                      "Number of interset channel input and output Image is not equal.");
}

TEST(iplFixedFilter, ComparesTheOrderOfBitsToo)
{
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PLANE);
    expectNotFiltered(src.get(), dst.get(), 0, -5, "srcImage->dataOrder!=dstImage->dataOrder");
}

TEST(iplFixedFilter, AnOldFailureEndsItBeforeTheFilterIsTested)
{
    const CleanStatus status;
    const RecordedReports reports;
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    std::memset(src->imageData, 9, static_cast<size_t>(src->imageSize));
    iplSetStatus(-10);
    EXPECT_EQ(iplFixedFilter(src.get(), dst.get(), 6), -10);
    EXPECT_EQ(iplFixedFilter(src.get(), dst.get(), 11), -10);
    EXPECT_TRUE(reports.all().empty());
    EXPECT_EQ(element(dst.get(), 1, 1, 0), 0);
}

TEST(iplFixedFilter, AlphaAloneIsLeft)
{
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 1);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 1);
    std::memset(src->imageData, 9, static_cast<size_t>(src->imageSize));
    EXPECT_EQ(iplFixedFilter(src.get(), dst.get(), 11), IPL_StsOk);
    EXPECT_EQ(element(dst.get(), 1, 1, 0), 0);
}
