#include "_Src/ipl.h"

#include "kernels/area.h"
#include "tests/support/guarded_image.h"
#include "tests/support/levels.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"
#include "tests/support/scaling.h"
#include "tests/support/tiles.h"

#include <gtest/gtest.h>

namespace
{

constexpr const char* reductionModeText =
    "interpolate != IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC or IPL_INTER_SUPER";

int32_t usedMode(const IplImage* src, const Factors& factors, int32_t mode)
{
    const Area from = areaOf(src);
    const bool exactX = factors.xSrc % factors.xDst == 0;
    const bool exactY = factors.ySrc % factors.yDst == 0;
    const bool stays = src->width >= 4 && src->height >= 4 &&
                       (mode == IPL_INTER_SUPER || !exactX || !exactY) &&
                       factors.xDst * from.width / factors.xSrc >= 1 &&
                       factors.yDst * from.height / factors.ySrc >= 1;
    if (!stays || (src->depth == IPL_DEPTH_1U && mode != IPL_INTER_SUPER))
        return IPL_INTER_NN;
    return mode;
}

// The part of pixel i, in units of 1 / dst pixels, that lies under destination
// pixel k, which is src units long.
int64_t overlap(int64_t i, int64_t k, int64_t dst, int64_t src)
{
    const int64_t least = std::max(i * dst, k * src);
    const int64_t most = std::min((i + 1) * dst, (k + 1) * src);
    return std::max<int64_t>(most - least, 0);
}

// The average of the area under a destination pixel, of the region at `from`.
double areaAverage(const IplImage* src, const Area& from, const Factors& f, int32_t x, int32_t y,
                   int32_t channel)
{
    double sum = 0;
    const auto first = [](int32_t k, int32_t dstFactor, int32_t srcFactor) {
        return static_cast<int32_t>(static_cast<int64_t>(k) * srcFactor / dstFactor);
    };
    for (int32_t j = first(y, f.yDst, f.ySrc); j <= first(y + 1, f.yDst, f.ySrc); ++j) {
        for (int32_t i = first(x, f.xDst, f.xSrc); i <= first(x + 1, f.xDst, f.xSrc); ++i) {
            const int64_t weight = overlap(i, x, f.xDst, f.xSrc) * overlap(j, y, f.yDst, f.ySrc);
            if (weight > 0)
                sum += static_cast<double>(weight) * element(src, from.x + i, from.y + j, channel);
        }
    }
    return sum / (static_cast<double>(f.xSrc) * f.ySrc);
}

Expected expectedAverage(uint32_t depth, double average, bool isWhole)
{
    if (depth == IPL_DEPTH_1U)
        return exactly(average >= 0.5);
    if (depth == IPL_DEPTH_32F)
        return rounded(depth, average, 0.02);
    if (isWhole)
        return exactly(std::floor(average + 0.5));
    return rounded(depth, average, depth == IPL_DEPTH_8U ? 0.002 : 0.2);
}

void decimateAndCheck(IplImage* src, IplImage* dst, const Factors& factors, int32_t mode)
{
    const Area from = areaOf(src);
    const Area to = areaOf(dst);
    const int32_t used = usedMode(src, factors, mode);
    const auto extent = [](int32_t dstFactor, int32_t srcFactor, int32_t size, int32_t most) {
        return std::min(std::max(dstFactor * size / srcFactor, 1), most);
    };
    const int32_t width = extent(factors.xDst, factors.xSrc, from.width, to.width);
    const int32_t height = extent(factors.yDst, factors.ySrc, from.height, to.height);
    const bool isWhole = factors.xSrc % factors.xDst == 0 && factors.ySrc % factors.yDst == 0;
    const int32_t tapMode = std::min(used, 2);
    const std::vector<Taps> columns =
        tapsOfAll(decimatePlaces(factors.xDst, factors.xSrc, width), from.x, src->width, tapMode);
    const std::vector<Taps> rows =
        tapsOfAll(decimatePlaces(factors.yDst, factors.ySrc, height), from.y, src->height, tapMode);
    const std::vector<int32_t> channels = channelsOf(src);
    const IplImage* mask = src->maskROI ? src->maskROI : dst->maskROI;
    const Comparison comparison{
        dst,
        bytesOf(dst),
        plainMask(mask, factors, width, height),
        width,
        height,
        [&](int32_t x, int32_t y, size_t c) {
            if (used != IPL_INTER_SUPER)
                return expectedSample(src, columns[x], rows[y], channels[c]);
            return expectedAverage(src->depth, areaAverage(src, from, factors, x, y, channels[c]),
                                   isWhole);
        }};
    iplDecimate(src, dst, factors.xDst, factors.xSrc, factors.yDst, factors.ySrc, mode);
    comparison.check();
}

// A reduction, or none, by at most `largest` on each axis.
Factors randomReduction(int32_t largest, Random& random)
{
    const auto pair = [&](int32_t* dst, int32_t* src) {
        *dst = random.coin() ? 1 : random.between(1, 6);
        *src = random.coin() ? *dst * random.between(1, largest)
                             : random.between(*dst, *dst * largest);
    };
    Factors factors{};
    pair(&factors.xDst, &factors.xSrc);
    pair(&factors.yDst, &factors.ySrc);
    return factors;
}

Factors randomReductionOf(const ImagePair& pair, Random& random)
{
    const Area from = areaOf(pair.src.get());
    const Area to = areaOf(pair.dst.get());
    if (random.coin() && to.width <= from.width && to.height <= from.height)
        return {to.width, from.width, to.height, from.height};
    return randomReduction(4, random);
}

Image ramp(int32_t width, int32_t height)
{
    Image image = makeImage(width, height, 1, IPL_DEPTH_8U);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            putElement(image.get(), x, y, 0, 10 * y + x);
    return image;
}

} // namespace

// --- Refusals -----------------------------------------------------------------------------

TEST(IplDecimate, RefusesABadImageWithItsStatusAndReturnsAtOnce)
{
    const Image image = makeImage(4, 4, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplDecimate(nullptr, image.get(), 1, 1, 1, 1, 0), -9, "Decimate",
                  "Incorrect Image", "ipldecim");
    const Image bad = makeImage(4, 4, 1, IPL_DEPTH_8U);
    bad->origin = 2;
    EXPECT_REPORT(iplDecimate(image.get(), bad.get(), 1, 1, 1, 1, 0), -20, "Decimate",
                  "Incorrect Image", "ipldecim");
    const RecordedReports reports;
    iplDecimate(bad.get(), nullptr, 0, 0, 0, 0, 9);
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{{-20, "Decimate", "Incorrect Image", "ipldecim"}}));
}

TEST(IplDecimate, RefusesEachArgumentByItsOwnText)
{
    const auto refuses = [](IplImage* src, IplImage* dst, const Factors& f, int32_t mode,
                            int32_t status, const char* text) {
        EXPECT_REPORT(iplDecimate(src, dst, f.xDst, f.xSrc, f.yDst, f.ySrc, mode), status,
                      "Decimate", text, "ipldecim");
    };
    const Factors same{1, 1, 1, 1};
    const Image src = makeImage(8, 8, 3, IPL_DEPTH_8U);
    const Image dst = makeImage(8, 8, 3, IPL_DEPTH_8U);
    const Image deep = makeImage(8, 8, 3, IPL_DEPTH_16U);
    const Image bottom = makeImage(8, 8, 3, IPL_DEPTH_8U, 0, 4, 0, IPL_ORIGIN_BL);
    const Image planes = makeImage(8, 8, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    const Image one = makeImage(8, 8, 1, IPL_DEPTH_8U);
    refuses(src.get(), src.get(), same, 0, -5, "srcImage == dstImage");
    refuses(src.get(), deep.get(), same, 0, -17, "srcImage->depth != dstImage->depth");
    refuses(src.get(), bottom.get(), same, 0, -20, "srcImage->origin != dstImage->origin");
    refuses(src.get(), planes.get(), same, 0, -19, "srcImage->dataOrder != dstImage->dataOrder");
    refuses(src.get(), one.get(), same, 0, -15, "srcImage->nChannels != dstImage->nChannels");
    refuses(src.get(), dst.get(), same, 4, -5, reductionModeText);
    refuses(src.get(), dst.get(), same, -1, -5, reductionModeText);
    refuses(src.get(), dst.get(), {0, 1, 1, 1}, 0, -5, "xDst <= 0");
    refuses(src.get(), dst.get(), {1, 0, 1, 1}, 0, -5, "xSrc <= 0");
    refuses(src.get(), dst.get(), {1, 1, 0, 1}, 0, -5, "yDst <= 0");
    refuses(src.get(), dst.get(), {1, 1, 1, 0}, 0, -5, "ySrc <= 0");
    refuses(src.get(), dst.get(), {2, 1, 1, 1}, 0, -5, "xDst > xSrc");
    refuses(src.get(), dst.get(), {1, 1, 2, 1}, 0, -5, "yDst > ySrc");
    for (const uint32_t depth : {IPL_DEPTH_8S, IPL_DEPTH_16S, IPL_DEPTH_32S}) {
        const Image from = makeImage(4, 4, 1, depth);
        const Image to = makeImage(4, 4, 1, depth);
        refuses(from.get(), to.get(), same, 0, -17, "depth != 1U, 8U, 16U or 32F");
    }
}

TEST(IplDecimate, RefusesAChannelOfInterestOnOneSideOnly)
{
    const Image src = makeImage(8, 8, 3, IPL_DEPTH_8U);
    const Image dst = makeImage(8, 8, 3, IPL_DEPTH_8U);
    setRoi(src.get(), 2, 0, 0, 8, 8);
    EXPECT_REPORT(iplDecimate(src.get(), dst.get(), 1, 1, 1, 1, 0), -24, "Decimate",
                  "srcImage->roi->coi > 0 && dstImage->roi->coi == 0", "ipldecim");
    EXPECT_REPORT(iplDecimate(dst.get(), src.get(), 1, 1, 1, 1, 0), -24, "Decimate",
                  "dstImage->roi->coi > 0 && srcImage->roi->coi == 0", "ipldecim");
    // Against a single channel, or another channel of interest, it goes.
    iplSet(src.get(), 90);
    const Image one = makeImage(8, 8, 1, IPL_DEPTH_8U);
    iplDecimate(src.get(), one.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(element(one.get(), 7, 7, 0), 90);
    const Image oneAndAlpha = makeImage(8, 8, 2, IPL_DEPTH_8U, 0, 4, 2);
    iplDecimate(src.get(), oneAndAlpha.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(element(oneAndAlpha.get(), 7, 7, 0), 90);
    EXPECT_EQ(element(oneAndAlpha.get(), 7, 7, 1), 0);
    setRoi(dst.get(), 3, 0, 0, 8, 8);
    iplDecimate(src.get(), dst.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(element(dst.get(), 7, 7, 2), 90);
    EXPECT_EQ(element(dst.get(), 7, 7, 1), 0);
    putElement(oneAndAlpha.get(), 7, 7, 0, 33);
    iplDecimate(oneAndAlpha.get(), dst.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(element(dst.get(), 7, 7, 2), 33);
}

TEST(IplDecimate, ReportsEveryFailingTestInOrderBeforeItGivesUp)
{
    const Image src = makeImage(4, 4, 3, IPL_DEPTH_16S, IPL_DATA_ORDER_PIXEL);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE, 4, 0, IPL_ORIGIN_BL);
    const auto report = [](int32_t status, const char* text) {
        return Report{status, "Decimate", text, "ipldecim"};
    };
    {
        const RecordedReports reports;
        iplDecimate(src.get(), dst.get(), -1, -2, 0, -1, 5);
        EXPECT_EQ(reports.all(),
                  (std::vector<Report>{report(-17, "srcImage->depth != dstImage->depth"),
                                       report(-17, "depth != 1U, 8U, 16U or 32F"),
                                       report(-20, "srcImage->origin != dstImage->origin"),
                                       report(-19, "srcImage->dataOrder != dstImage->dataOrder"),
                                       report(-15, "srcImage->nChannels != dstImage->nChannels"),
                                       report(-5, reductionModeText), report(-5, "xDst <= 0"),
                                       report(-5, "xSrc <= 0"), report(-5, "yDst <= 0"),
                                       report(-5, "ySrc <= 0"), report(-5, "xDst > xSrc"),
                                       report(-5, "yDst > ySrc")}));
    }
    const RecordedReports reports;
    iplDecimate(src.get(), src.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(reports.all(), (std::vector<Report>{report(-5, "srcImage == dstImage"),
                                                  report(-17, "depth != 1U, 8U, 16U or 32F")}));
}

TEST(IplDecimate, DoesNothingAfterAFailureThatWasNotReported)
{
    const CleanStatus clean;
    const Image src = ramp(4, 4);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    iplSetStatus(-25);
    iplDecimate(src.get(), dst.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(iplGetStatus(), -25);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(16, 0));
}

TEST(IplDecimate, DoesNothingForARegionOutsideTheImage)
{
    const Image src = ramp(4, 4);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    setRoi(src.get(), 0, 4, 0, 2, 2);
    iplDecimate(src.get(), dst.get(), 1, 1, 1, 1, 0);
    setRoi(src.get(), 0, 0, 0, 4, 4);
    setRoi(dst.get(), 0, 0, 9, 2, 2);
    iplDecimate(src.get(), dst.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(16, 0));
}

TEST(IplDecimate, LeavesImagesOfAlphaAlone)
{
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U, 0, 4, 1);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U, 0, 4, 1);
    std::memset(src->imageData, 200, 16);
    for (int32_t mode = 0; mode < 4; ++mode)
        iplDecimate(src.get(), dst.get(), 1, 2, 1, 2, mode);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(16, 0));
}

// --- Samples --------------------------------------------------------------------------------

TEST(IplDecimate, HalvesByNearestUnlessAskedToAverage)
{
    const Image src = ramp(4, 4);
    const Image dst = makeImage(2, 2, 1, IPL_DEPTH_8U);
    for (int32_t mode = 0; mode < 3; ++mode) {
        iplSet(dst.get(), 0);
        iplDecimate(src.get(), dst.get(), 1, 2, 1, 2, mode);
        EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{0, 2}));
        EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{20, 22}));
    }
    // (0 + 1 + 10 + 11) / 4 = 5.5, up.
    iplDecimate(src.get(), dst.get(), 1, 2, 1, 2, 3);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{6, 8}));
    EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{26, 28}));
}

TEST(IplDecimate, TakesTwoThirdsBilinearly)
{
    const Image src = ramp(6, 6);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    iplDecimate(src.get(), dst.get(), 2, 3, 2, 3, 1);
    // Columns 0, 1.5, 3, 4.5; rows likewise, ten times as steep.
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{0, 1, 3, 4}));
    EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{15, 16, 18, 19}));
    EXPECT_EQ(rowValues(dst, 3), (std::vector<int32_t>{45, 46, 48, 49}));
}

TEST(IplDecimate, SamplesOneFractionalAxis)
{
    const Image src = ramp(6, 6);
    const Image dst = makeImage(4, 3, 1, IPL_DEPTH_8U);
    iplDecimate(src.get(), dst.get(), 2, 3, 1, 2, 1);
    EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{20, 21, 23, 24}));
    const Image other = makeImage(3, 4, 1, IPL_DEPTH_8U);
    iplDecimate(src.get(), other.get(), 1, 2, 2, 3, 1);
    EXPECT_EQ(rowValues(other, 1), (std::vector<int32_t>{15, 17, 19}));
}

TEST(IplDecimate, TakesNearestInAnImageBelowFourByFour)
{
    const Image src = ramp(3, 9);
    const Image dst = makeImage(2, 6, 1, IPL_DEPTH_8U);
    for (int32_t mode = 0; mode < 4; ++mode) {
        iplSet(dst.get(), 0);
        iplDecimate(src.get(), dst.get(), 2, 3, 2, 3, mode);
        EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{10, 11}));
    }
}

TEST(IplDecimate, CopiesAtEqualFactors)
{
    const Image src = ramp(7, 5);
    const Image dst = makeImage(7, 5, 1, IPL_DEPTH_8U);
    for (int32_t mode = 0; mode < 4; ++mode) {
        iplSet(dst.get(), 0);
        iplDecimate(src.get(), dst.get(), 3, 3, 2, 2, mode);
        for (int32_t y = 0; y < 5; ++y)
            EXPECT_EQ(rowValues(dst, y), rowValues(src, y));
    }
}

TEST(IplDecimate, WritesOnlyWholeDestinationPixels)
{
    const Image src = ramp(5, 5);
    const Image dst = makeImage(5, 5, 1, IPL_DEPTH_8U);
    iplSet(dst.get(), 99);
    iplDecimate(src.get(), dst.get(), 1, 2, 1, 2, 3);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{6, 8, 99, 99, 99}));
    EXPECT_EQ(rowValues(dst, 2), std::vector<int32_t>(5, 99));
}

TEST(IplDecimate, TakesOnePixelByNearestOfARegionBelowOneDestinationPixel)
{
    const Image src = ramp(5, 5);
    const Image dst = makeImage(5, 5, 1, IPL_DEPTH_8U);
    setRoi(src.get(), 0, 1, 1, 3, 3);
    for (int32_t mode = 0; mode < 4; ++mode) {
        iplSet(dst.get(), 99);
        iplDecimate(src.get(), dst.get(), 1, 4, 1, 4, mode);
        EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{11, 99, 99, 99, 99}));
        EXPECT_EQ(rowValues(dst, 1), std::vector<int32_t>(5, 99));
    }
    // On one axis alone the other shrinks by nearest too.
    iplSet(dst.get(), 99);
    iplDecimate(src.get(), dst.get(), 2, 3, 1, 4, 3);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{11, 12, 99, 99, 99}));
    EXPECT_EQ(rowValues(dst, 1), std::vector<int32_t>(5, 99));
}

// --- Areas ------------------------------------------------------------------------------------

TEST(IplDecimate, AveragesMoreRowsThanASumOfBytesHolds)
{
    // In single precision the sum of so many ones ends one short.
    const int32_t rows = quib::areaTallestSpan + 1;
    const Image src = makeImage(1, rows, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(1, 1, 1, IPL_DEPTH_8U);
    iplSet(src.get(), 1);
    iplDecimate(src.get(), dst.get(), 1, 1, 1, rows, IPL_INTER_SUPER);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 1);
}

TEST(IplDecimate, SharesACutPixelBetweenTwoAreas)
{
    const Image src = makeImage(6, 6, 1, IPL_DEPTH_8U);
    for (int32_t y = 0; y < 6; ++y)
        for (int32_t x = 0; x < 6; ++x)
            putElement(src.get(), x, y, 0, x == 1 || x == 4 ? 90 : 30);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    iplDecimate(src.get(), dst.get(), 2, 3, 2, 3, 3);
    // (30 + 90 / 2) / 1.5 = 50.
    for (int32_t y = 0; y < 4; ++y)
        EXPECT_EQ(rowValues(dst, y), std::vector<int32_t>(4, 50));
}

TEST(IplDecimate, AddsUpBoundariesThatAreNearlyWhole)
{
    // Each area starts 0.00005 of a pixel further in than the one before.
    const Image src = makeImage(400, 4, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(400, 4, 1, IPL_DEPTH_8U);
    for (int32_t x = 0; x < 400; ++x)
        for (int32_t y = 0; y < 4; ++y)
            putElement(src.get(), x, y, 0, x % 2 == 0 ? 0 : 255);
    iplDecimate(src.get(), dst.get(), 20000, 20001, 1, 1, 3);
    // Area 300 takes 0.985 of pixel 300 and 0.01505 of the next one.
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 0);
    EXPECT_EQ(element(dst.get(), 1, 0, 0), 255);
    EXPECT_EQ(element(dst.get(), 300, 0, 0), 4);
    EXPECT_EQ(element(dst.get(), 301, 0, 0), 251);
    EXPECT_EQ(element(dst.get(), 398, 0, 0), 5);
}

TEST(IplDecimate, TakesABoundaryCloseToAWholePixelForWhole)
{
    const Image src = makeImage(8, 4, 1, IPL_DEPTH_32F);
    const Image dst = makeImage(8, 4, 1, IPL_DEPTH_32F);
    for (int32_t y = 0; y < 4; ++y)
        putElement(src.get(), 1, y, 0, 1000);
    // At 1.00005 the first area ends; the second takes all of pixel 1.
    iplDecimate(src.get(), dst.get(), 20000, 20001, 1, 1, 3);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 0);
    EXPECT_NEAR(element(dst.get(), 1, 0, 0), 1000 / 1.00005, 0.001);
    // At 1.99995 it ends with pixel 1.
    iplDecimate(src.get(), dst.get(), 20000, 39999, 1, 1, 3);
    EXPECT_NEAR(element(dst.get(), 0, 0, 0), 1000 / 1.99995, 0.001);
    EXPECT_EQ(element(dst.get(), 1, 0, 0), 0);
}

TEST(IplDecimate, KeepsAConstantImage)
{
    for (const uint32_t depth : {IPL_DEPTH_8U, IPL_DEPTH_16U}) {
        const int32_t value = depth == IPL_DEPTH_8U ? 255 : 65535;
        const Image src = makeImage(97, 61, 1, depth);
        const Image dst = makeImage(97, 61, 1, depth);
        iplSet(src.get(), value);
        for (int32_t width = 1; width <= 97; width += 3) {
            iplSet(dst.get(), 0);
            iplDecimate(src.get(), dst.get(), width, 97, 1 + width / 2, 61, 3);
            for (int32_t x = 0; x < width; ++x)
                ASSERT_EQ(element(dst.get(), x, width / 2, 0), value) << width << ", " << x;
        }
    }
}

TEST(IplDecimate, SetsABitWhoseAreaIsHalfSetOrMore)
{
    const Image src = makeImage(8, 4, 1, IPL_DEPTH_1U);
    // Blocks of 2 by 2 with one, two, three and four bits.
    for (const auto& [x, y] :
         {std::pair{0, 0}, {2, 0}, {3, 1}, {4, 0}, {5, 0}, {5, 1}, {6, 0}, {6, 1}, {7, 0}, {7, 1}})
        putElement(src.get(), x, y, 0, 1);
    const Image dst = makeImage(4, 2, 1, IPL_DEPTH_1U);
    iplDecimate(src.get(), dst.get(), 1, 2, 1, 2, 3);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{0, 1, 1, 1}));
    EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{0, 0, 0, 0}));
}

TEST(IplDecimate, SetsABitWhoseCutAreaIsExactlyHalfSet)
{
    // 4 pixels to 3: pixels 0 and 3 whole with a third of 1 or 2; columns 1 and
    // 2 alone are half of the middle area each.
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_1U);
    for (int32_t y = 0; y < 4; ++y)
        putElement(src.get(), 1, y, 0, 1);
    const Image dst = makeImage(3, 3, 1, IPL_DEPTH_1U);
    iplDecimate(src.get(), dst.get(), 3, 4, 3, 4, 3);
    for (int32_t y = 0; y < 3; ++y)
        EXPECT_EQ(rowValues(dst, y), (std::vector<int32_t>{0, 1, 0}));
}

TEST(IplDecimate, SetsNoBitOfALargeBlockJustBelowHalf)
{
    // Two blocks of 100 by 100, the one with 4999 bits, the other with 5000.
    const Image src = makeImage(200, 100, 1, IPL_DEPTH_1U);
    for (int32_t i = 0; i < 5000; ++i) {
        putElement(src.get(), i % 100, i / 100, 0, i < 4999);
        putElement(src.get(), 100 + i % 100, i / 100, 0, 1);
    }
    const Image dst = makeImage(2, 1, 1, IPL_DEPTH_1U);
    iplDecimate(src.get(), dst.get(), 1, 100, 1, 100, 3);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{0, 1}));
    // Cut areas of 50.5 by 50.5: 2550.25 pixels, one of 1275 bits, and one of 1276.
    const Image cut = makeImage(4, 4, 1, IPL_DEPTH_1U);
    std::memset(src->imageData, 0, static_cast<size_t>(src->imageSize));
    for (int32_t i = 0; i < 1276; ++i) {
        putElement(src.get(), i % 50, i / 50, 0, i < 1275);
        putElement(src.get(), 101 + i % 50, i / 50, 0, 1);
    }
    iplDecimate(src.get(), cut.get(), 2, 101, 2, 101, 3);
    EXPECT_EQ(rowValues(cut, 0), (std::vector<int32_t>{0, 0, 1, 0}));
}

TEST(IplDecimate, SetsNoBitOfACutAreaJustBelowHalf)
{
    // 73 pixels to 72. The area at (36, 36) meets four pixels, and takes 36 * 37
    // of 73 * 73 parts of each of two: 0.49991 together.
    const Image src = makeImage(73, 73, 1, IPL_DEPTH_1U);
    putElement(src.get(), 37, 36, 0, 1);
    putElement(src.get(), 36, 37, 0, 1);
    const Image dst = makeImage(72, 72, 1, IPL_DEPTH_1U);
    iplDecimate(src.get(), dst.get(), 72, 73, 72, 73, 3);
    EXPECT_EQ(element(dst.get(), 36, 36, 0), 0);
    // The fourth, with 37 * 37 parts, is more than half with either.
    putElement(src.get(), 37, 37, 0, 1);
    iplDecimate(src.get(), dst.get(), 72, 73, 72, 73, 3);
    EXPECT_EQ(element(dst.get(), 36, 36, 0), 1);
}

TEST(IplDecimate, ReportsThatThereIsNoMemoryForTheSums)
{
    // A row of more sums than a block can have. No pixel is read.
    const Image src = makeImage(8, 4, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(4, 2, 1, IPL_DEPTH_1U);
    src->width = 600000000;
    src->widthStep = 75000000;
    src->imageSize = 300000000;
    const char* const text = "Can't create temporary buffer for interpolate = IPL_INTER_SUPER";
    EXPECT_REPORT(iplDecimate(src.get(), dst.get(), 1, 2, 1, 2, 3), -4, "iplDecimate", text,
                  "ipldecim");
    const RecordedReports reports;
    iplDecimate(src.get(), dst.get(), 1, 2, 1, 2, 3);
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-4, "iplDecimate", text, "ipldecim"}}));
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(8, 0));
}

TEST(IplDecimate, AveragesABlockTooLargeForShortSums)
{
    const Image src = makeImage(600, 900, 3, IPL_DEPTH_8U);
    Random random(1);
    randomise(src.get(), random);
    const Image dst = makeImage(2, 2, 3, IPL_DEPTH_8U);
    forEachLevel([&] { decimateAndCheck(src.get(), dst.get(), {1, 300, 1, 450}, 3); });
}

// --- Masks, tiles, random images -----------------------------------------------------------------

TEST(IplDecimate, WritesWhereTheResampledMaskIsSet)
{
    const Image src = ramp(8, 8);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    dst->maskROI = makeImage(8, 8, 1, IPL_DEPTH_1U).release();
    for (int32_t x = 0; x < 8; ++x)
        putElement(dst->maskROI, x, 2, 0, x % 4 == 0);
    for (int32_t mode = 0; mode < 4; ++mode) {
        iplDecimate(src.get(), dst.get(), 1, 2, 1, 2, mode);
        const int32_t more = mode == 3 ? 6 : 0;
        EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{0, 0, 0, 0}));
        EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{20 + more, 0, 24 + more, 0}));
    }
}

// A mask's order and origin change nothing.
TEST(IplDecimate, TakesMasksInPlaneOrderAndOfEitherOrigin)
{
    Random random(62);
    const Image src = makeImage(27, 18, 1, IPL_DEPTH_8U);
    randomise(src.get(), random);
    IplImage* const mask = giveRandomMask(src.get(), src->width, src->height, random);
    for (int32_t mode = 0; mode < 4; ++mode) {
        const Image plain = makeImage(18, 12, 1, IPL_DEPTH_8U);
        mask->dataOrder = IPL_DATA_ORDER_PIXEL;
        mask->origin = IPL_ORIGIN_TL;
        iplDecimate(src.get(), plain.get(), 2, 3, 2, 3, mode);
        EXPECT_NE(bytesOf(plain.get()), std::vector<uint8_t>(bytesOf(plain.get()).size(), 0));
        for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
            mask->dataOrder = order;
            mask->origin = IPL_ORIGIN_BL;
            const Image dst = makeImage(18, 12, 1, IPL_DEPTH_8U);
            iplDecimate(src.get(), dst.get(), 2, 3, 2, 3, mode);
            EXPECT_EQ(bytesOf(dst.get()), bytesOf(plain.get())) << "order " << order;
        }
    }
}

TEST(IplDecimate, IsThePlainFormAtEveryDepthOrderRegionMaskAndMode)
{
    expectPlainForm(2, 60, randomReductionOf, 3, decimateAndCheck);
}

TEST(IplDecimate, IsThePlainFormOnWideRows)
{
    forEachLevel([] {
        Random random(3);
        for (int round = 0; round < 100; ++round) {
            const int32_t channels = random.between(1, 4);
            const Image src =
                makeImage(random.between(40, 600), random.between(4, 20), channels, IPL_DEPTH_8U);
            const Image dst = makeImage(src->width, src->height, channels, IPL_DEPTH_8U);
            randomise(src.get(), random);
            const Factors factors = randomReduction(5, random);
            const int32_t mode = random.between(1, 3);
            SCOPED_TRACE(describe(src.get()) + describe(factors, mode));
            decimateAndCheck(src.get(), dst.get(), factors, mode);
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    });
}

TEST(IplDecimate, WorksOnTiledImagesAsOnUntiledOnes)
{
    expectTilesMakeNoDifference(4, randomReductionOf, 3,
                                [](IplImage* src, IplImage* dst, const Factors& f, int32_t mode) {
                                    iplDecimate(src, dst, f.xDst, f.xSrc, f.yDst, f.ySrc, mode);
                                });
}

TEST(IplDecimate, FetchesTheTilesThatItsRegionReaches)
{
    const Image image = makeImage(64, 40, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(8, 8, 1, IPL_DEPTH_8U);
    TiledImage tiled(image.get(), 16, 8);
    // Columns 20 to 27 and rows 19 to 21, and three more on each side.
    tiled.get()->roi = iplCreateROI(0, 20, 19, 8, 3);
    for (int32_t mode = 0; mode < 4; ++mode) {
        tiled.log.clear();
        iplDecimate(tiled.get(), dst.get(), 2, 3, 2, 3, mode);
        EXPECT_EQ(tiled.log, fetches(toRead, {{1, 2}, {1, 3}}));
    }
    iplSetROI(tiled.get()->roi, 0, 29, 13, 1, 1);
    tiled.log.clear();
    iplDecimate(tiled.get(), dst.get(), 1, 1, 1, 1, 1);
    EXPECT_EQ(tiled.log, fetches(toRead, {{1, 1}, {2, 1}, {1, 2}, {2, 2}}));
    iplDeallocate(tiled.get(), IPL_IMAGE_ROI);
}

TEST(IplDecimate, ReportsATileThatDoesNotCome)
{
    const Image image = makeImage(20, 9, 1, IPL_DEPTH_8U);
    TiledImage tiled(image.get(), 8, 8);
    tiled.failFrom = 2;
    EXPECT_REPORT(iplDecimate(tiled.get(), image.get(), 1, 1, 1, 1, 0), -3, "iplDecimate",
                  "srcImage->tileInfo->callBack crash", "ipldecim");
    EXPECT_REPORT(iplDecimate(image.get(), tiled.get(), 1, 1, 1, 1, 0), -3, "iplDecimate",
                  "dstImage->tileInfo->callBack crash", "ipldecim");
}

TEST(IplDecimate, WritesNothingWithoutMemory)
{
    expectNothingWithoutMemory(3, [](IplImage* src, IplImage* dst, int32_t mode) {
        iplDecimate(src, dst, 2, 3, 2, 3, mode);
    });
    expectNothingWithoutMemory(3, [](IplImage* src, IplImage* dst, int32_t mode) {
        iplDecimate(src, dst, 1, 2, 1, 2, mode);
    });
}

TEST(IplDecimate, ReadsAndWritesNoByteOutsideTheRows)
{
    forEachLevel([] {
        Random random(5);
        for (int round = 0; round < 300; ++round) {
            const int32_t bitDepth = random.coin() ? 8 : 24;
            const Guard guard = random.coin() ? Guard::afterEnd : Guard::beforeStart;
            const GuardedHandle src(random.between(4, 120), random.between(4, 12), bitDepth, guard);
            randomise(src.get(), random);
            src.makeReadOnly();
            Factors factors = randomReduction(4, random);
            const int32_t width = std::max(factors.xDst * src->width / factors.xSrc, 1);
            const int32_t height = std::max(factors.yDst * src->height / factors.ySrc, 1);
            const GuardedHandle dst(width, height, bitDepth, guard);
            decimateAndCheck(src.get(), dst.get(), factors, random.between(0, 3));
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    });
}
