#include "_Src/size/iplZoom.h"

#include "tests/support/guarded_image.h"
#include "tests/support/levels.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"
#include "tests/support/scaling.h"
#include "tests/support/tiles.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>

namespace
{

constexpr const char* modeText = "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR "
                                 "&& interpolate != IPL_INTER_CUBIC";
constexpr const char* depthText =
    "srcImage->depth != IPL_DEPTH_1U && srcImage->depth != IPL_DEPTH_8U && "
    "srcImage->depth != IPL_DEPTH_16U && srcImage->depth != IPL_DEPTH_32F";

// The worker's result is that of the plain form.
void zoomAndCheck(IplImage* src, IplImage* dst, const Factors& factors, int32_t mode)
{
    const Area from = areaOf(src);
    const Area to = areaOf(dst);
    int32_t used = mode;
    if (src->depth == IPL_DEPTH_1U || src->width < 2 || src->height < 2)
        used = IPL_INTER_NN;
    else if (mode == IPL_INTER_CUBIC && (src->width < 4 || src->height < 4))
        used = IPL_INTER_LINEAR;
    const int32_t width = zoomReach(factors.xDst, factors.xSrc, from.width, to.width);
    const int32_t height = zoomReach(factors.yDst, factors.ySrc, from.height, to.height);
    const std::vector<Taps> columns = tapsOfAll(
        zoomPlaces(factors.xDst, factors.xSrc, from.width, width, used), from.x, src->width, used);
    const std::vector<Taps> rows =
        tapsOfAll(zoomPlaces(factors.yDst, factors.ySrc, from.height, height, used), from.y,
                  src->height, used);
    const std::vector<int32_t> channels = channelsOf(src);
    const Comparison comparison{
        dst,
        bytesOf(dst),
        plainMask(src->maskROI ? src->maskROI : dst->maskROI, factors, width, height),
        width,
        height,
        [&](int32_t x, int32_t y, size_t c) {
            return expectedSample(src, columns[x], rows[y], channels[c]);
        }};
    ownZoom(src, dst, factors.xDst, factors.xSrc, factors.yDst, factors.ySrc, mode);
    comparison.check();
}

Factors randomFactors(const ImagePair& pair, Random& random)
{
    const Area from = areaOf(pair.src.get());
    const Area to = areaOf(pair.dst.get());
    if (random.coin())
        return {to.width, from.width, to.height, from.height};
    return {random.between(1, 9), random.between(1, 5), random.between(1, 9), random.between(1, 5)};
}

Image row8(const std::vector<uint8_t>& values, int32_t height)
{
    Image image = makeImage(static_cast<int32_t>(values.size()), height, 1, IPL_DEPTH_8U);
    for (int32_t y = 0; y < height; ++y)
        std::copy(values.begin(), values.end(), rowOf(image.get(), y));
    return image;
}

} // namespace

// --- Refusals --------------------------------------------------------------------------

TEST(IplZoom, RefusesAShrinkingAxisBeforeItLooksAtTheImages)
{
    EXPECT_REPORT(iplZoom(nullptr, nullptr, 1, 2, 2, 1, 0), -5, "iplZoom",
                  "xDst < xSrc || yDst < ySrc", "iplZoom");
    EXPECT_REPORT(iplZoom(nullptr, nullptr, 2, 1, 1, 2, 0), -5, "iplZoom",
                  "xDst < xSrc || yDst < ySrc", "iplZoom");
}

TEST(IplZoom, RefusesABadImageWithItsStatus)
{
    const Image image = makeImage(4, 4, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplZoom(nullptr, image.get(), 1, 1, 1, 1, 0), -9, "iplZoom", "Incorrect Image",
                  "iplZoom");
    const Image bad = makeImage(4, 4, 1, IPL_DEPTH_8U);
    bad->align = 5;
    EXPECT_REPORT(iplZoom(image.get(), bad.get(), 1, 1, 1, 1, 0), -21, "iplZoom", "Incorrect Image",
                  "iplZoom");
    const RecordedReports reports;
    iplZoom(bad.get(), nullptr, 1, 1, 1, 1, 7);
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-21, "iplZoom", "Incorrect Image", "iplZoom"}}));
}

TEST(IplZoom, RefusesTheAreaAverage)
{
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(8, 8, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplZoom(src.get(), dst.get(), 2, 1, 2, 1, 3), -5, "iplZoom", modeText, "iplZoom");
    iplSet(src.get(), 9);
    const RecordedReports reports;
    iplZoom(src.get(), dst.get(), 2, 1, 2, 1, 3);
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-5, "iplZoom", modeText, "iplZoom"}}));
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(64, 0));
}

TEST(IplZoom, RefusesSignedDepths)
{
    for (const uint32_t depth : {IPL_DEPTH_8S, IPL_DEPTH_16S, IPL_DEPTH_32S}) {
        const Image src = makeImage(4, 4, 1, depth);
        const Image dst = makeImage(8, 8, 1, depth);
        EXPECT_REPORT(iplZoom(src.get(), dst.get(), 2, 1, 2, 1, 0), -5, "iplZoom", depthText,
                      "iplZoom");
    }
}

TEST(IplZoom, ReportsEveryFailingTestBeforeItGivesUp)
{
    const Image src = makeImage(4, 4, 3, IPL_DEPTH_8S, IPL_DATA_ORDER_PIXEL);
    const Image dst = makeImage(4, 4, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    const RecordedReports reports;
    iplZoom(src.get(), dst.get(), 0, 0, -1, -2, 4);
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{
                  {-5, "iplZoom", modeText, "iplZoom"},
                  {-5, "iplZoom", "srcImage->depth != dstImage->depth", "iplZoom"},
                  {-5, "iplZoom", depthText, "iplZoom"},
                  {-5, "iplZoom", "srcImage->dataOrder != dstImage->dataOrder", "iplZoom"},
                  {-5, "iplZoom", "xDst <= 0 || xSrc <= 0", "iplZoom"},
                  {-5, "iplZoom", "yDst <= 0 || ySrc <= 0", "iplZoom"},
              }));
}

TEST(IplZoom, RefusesEachArgumentByItsOwnText)
{
    const Image src = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const Image deep = makeImage(4, 4, 3, IPL_DEPTH_16U);
    const Image planes = makeImage(4, 4, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    EXPECT_REPORT(iplZoom(src.get(), deep.get(), 1, 1, 1, 1, 0), -5, "iplZoom",
                  "srcImage->depth != dstImage->depth", "iplZoom");
    EXPECT_REPORT(iplZoom(src.get(), planes.get(), 1, 1, 1, 1, 0), -5, "iplZoom",
                  "srcImage->dataOrder != dstImage->dataOrder", "iplZoom");
    EXPECT_REPORT(iplZoom(src.get(), deep.get(), 1, 1, 1, 1, 4), -5, "iplZoom", modeText,
                  "iplZoom");
    const Image dst = makeImage(4, 4, 3, IPL_DEPTH_8U);
    EXPECT_REPORT(iplZoom(src.get(), dst.get(), 1, 0, 1, 1, 0), -5, "iplZoom",
                  "xDst <= 0 || xSrc <= 0", "iplZoom");
    EXPECT_REPORT(iplZoom(src.get(), dst.get(), 1, 1, 1, 0, 0), -5, "iplZoom",
                  "yDst <= 0 || ySrc <= 0", "iplZoom");
}

TEST(IplZoom, RefusesAnImageOntoItself)
{
    const Image image = makeImage(4, 4, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplZoom(image.get(), image.get(), 1, 1, 1, 1, 0), -5, "iplZoom",
                  "This function isn`t in-plase function", "iplZoom");
    const RecordedReports reports;
    iplZoom(image.get(), image.get(), 1, 1, 1, 1, 9);
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-5, "iplZoom", modeText, "iplZoom"}}));
}

TEST(IplZoom, RefusesChannelsThatDoNotMatch)
{
    const char* const text = "srcImage COI != dstImage COI";
    const Image three = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const Image one = makeImage(4, 4, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplZoom(three.get(), one.get(), 1, 1, 1, 1, 0), -2, "iplZoom", text, "iplZoom");
    const Image other = makeImage(4, 4, 3, IPL_DEPTH_8U);
    setRoi(three.get(), 2, 0, 0, 4, 4);
    EXPECT_REPORT(iplZoom(three.get(), other.get(), 1, 1, 1, 1, 0), -2, "iplZoom", text, "iplZoom");
    EXPECT_REPORT(iplZoom(other.get(), three.get(), 1, 1, 1, 1, 0), -2, "iplZoom", text, "iplZoom");
    // One channel of interest and one channel in all match.
    iplSet(three.get(), 77);
    iplZoom(three.get(), one.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(element(one.get(), 3, 3, 0), 77);
}

TEST(IplZoom, DoesNothingAfterAFailureThatWasNotReported)
{
    const CleanStatus clean;
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    iplSet(src.get(), 200);
    iplSetStatus(-25);
    iplZoom(src.get(), dst.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(iplGetStatus(), -25);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(16, 0));
}

TEST(IplZoom, IgnoresTheOrigin)
{
    const Image src = makeImage(2, 2, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(2, 2, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 0, IPL_ORIGIN_BL);
    putElement(src.get(), 0, 0, 0, 50);
    iplZoom(src.get(), dst.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 50);
}

TEST(IplZoom, LeavesAnImageOfAlphaAlone)
{
    const Image alpha = makeImage(4, 4, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 1);
    const Image plain = makeImage(4, 4, 1, IPL_DEPTH_8U);
    std::memset(alpha->imageData, 200, 16);
    iplZoom(alpha.get(), plain.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(bytesOf(plain.get()), std::vector<uint8_t>(16, 0));
    iplZoom(plain.get(), alpha.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(bytesOf(alpha.get()), std::vector<uint8_t>(16, 200));
    setRoi(alpha.get(), 1, 0, 0, 4, 4);
    iplZoom(alpha.get(), plain.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(bytesOf(plain.get()), std::vector<uint8_t>(16, 0));
}

TEST(IplZoom, DoesNothingForARegionOutsideTheImage)
{
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    iplSet(src.get(), 200);
    setRoi(src.get(), 0, 4, 0, 2, 2);
    iplZoom(src.get(), dst.get(), 1, 1, 1, 1, 0);
    setRoi(src.get(), 0, 0, 0, 4, 4);
    setRoi(dst.get(), 0, 0, 9, 2, 2);
    iplZoom(src.get(), dst.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(16, 0));
}

TEST(OwnZoom, ReportsUnderIplZoomsName)
{
    EXPECT_REPORT(ownZoom(nullptr, nullptr, 1, 2, 1, 2, 0), -9, "iplZoom", "Incorrect Image",
                  "iplZoom");
}

// --- Nearest -----------------------------------------------------------------------------

TEST(IplZoom, CopiesAtEqualFactors)
{
    Random random(1);
    for (const uint32_t depth : {IPL_DEPTH_1U, IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32F}) {
        const Image src = makeImage(19, 7, depth == IPL_DEPTH_1U ? 1 : 3, depth);
        const Image dst = makeImage(19, 7, depth == IPL_DEPTH_1U ? 1 : 3, depth);
        randomise(src.get(), random);
        for (int32_t mode = 0; mode < 3; ++mode) {
            std::memset(dst->imageData, 0, static_cast<size_t>(dst->imageSize));
            iplZoom(src.get(), dst.get(), 7, 7, 3, 3, mode);
            for (int32_t y = 0; y < 7; ++y)
                for (int32_t x = 0; x < 19; ++x)
                    for (int32_t c = 0; c < src->nChannels; ++c)
                        ASSERT_EQ(element(dst.get(), x, y, c), element(src.get(), x, y, c))
                            << "depth " << depth << " mode " << mode;
        }
    }
}

TEST(IplZoom, RepeatsEachPixelByAWholeFactor)
{
    const Image src = row8({10, 20, 30}, 2);
    const Image dst = makeImage(9, 4, 1, IPL_DEPTH_8U);
    putElement(src.get(), 0, 1, 0, 99);
    iplZoom(src.get(), dst.get(), 3, 1, 4, 2, 0);
    const std::vector<int32_t> first{10, 10, 10, 20, 20, 20, 30, 30, 30};
    EXPECT_EQ(rowValues(dst, 0), first);
    EXPECT_EQ(rowValues(dst, 1), first);
    EXPECT_EQ(rowValues(dst, 2), (std::vector<int32_t>{99, 99, 99, 20, 20, 20, 30, 30, 30}));
    EXPECT_EQ(rowValues(dst, 3), rowValues(dst, 2));
}

TEST(IplZoom, StartsFromTheFirstPixelsCentreAtOtherFactors)
{
    // 4 pixels to 6: positions 0.5 + i * 3 / 5.
    const Image src = row8({10, 20, 30, 40}, 1);
    const Image dst = makeImage(6, 1, 1, IPL_DEPTH_8U);
    iplZoom(src.get(), dst.get(), 3, 2, 1, 1, 0);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{10, 20, 20, 30, 30, 40}));
}

TEST(OwnZoom, GrowsOneAxisAndShrinksTheOther)
{
    const Image src = row8({10, 20, 30, 40}, 2);
    const Image dst = makeImage(2, 4, 1, IPL_DEPTH_8U);
    ownZoom(src.get(), dst.get(), 2, 4, 4, 2, 0);
    for (int32_t y = 0; y < 4; ++y)
        EXPECT_EQ(rowValues(dst, y), (std::vector<int32_t>{10, 30}));
}

// --- The modes an image is large enough for ------------------------------------------------

TEST(IplZoom, TakesLinearForCubicInAnImageOfThreeByThree)
{
    Random random(2);
    const Image src = makeImage(3, 3, 3, IPL_DEPTH_8U);
    randomise(src.get(), random);
    const Image cubic = makeImage(8, 8, 3, IPL_DEPTH_8U);
    const Image linear = makeImage(8, 8, 3, IPL_DEPTH_8U);
    iplZoom(src.get(), cubic.get(), 8, 3, 8, 3, 2);
    iplZoom(src.get(), linear.get(), 8, 3, 8, 3, 1);
    EXPECT_EQ(bytesOf(cubic.get()), bytesOf(linear.get()));
}

TEST(IplZoom, TakesNearestInAnImageOfOneRow)
{
    const Image src = row8({0, 100, 200, 50, 60}, 1);
    const Image dst = makeImage(10, 1, 1, IPL_DEPTH_8U);
    for (int32_t mode = 0; mode < 3; ++mode) {
        iplSet(dst.get(), 1);
        iplZoom(src.get(), dst.get(), 2, 1, 1, 1, mode);
        EXPECT_EQ(rowValues(dst, 0),
                  (std::vector<int32_t>{0, 0, 100, 100, 200, 200, 50, 50, 60, 60}));
    }
}

TEST(IplZoom, ChoosesTheModeByTheWholeImageNotTheRegion)
{
    // A region of one column has its only pixel for both ends.
    const Image src = row8({0, 100, 200, 50, 60}, 5);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    for (const int32_t x : {0, 2, 4}) {
        setRoi(src.get(), 0, x, 1, 1, 1);
        iplZoom(src.get(), dst.get(), 4, 1, 4, 1, 1);
        EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(16, rowOf(src.get(), 0)[x]));
    }
}

// --- Bilinear and cubic ----------------------------------------------------------------------

TEST(IplZoom, MeetsTheEndPixelsOfTheSourceInLinearMode)
{
    const Image src = row8({0, 255}, 2);
    const Image dst = makeImage(5, 2, 1, IPL_DEPTH_8U);
    iplZoom(src.get(), dst.get(), 5, 2, 1, 1, 1);
    // Quarters of 255, cut.
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{0, 63, 127, 191, 255}));
}

TEST(IplZoom, CutsTheLinesAndTheResultInsteadOfRounding)
{
    // Halves of 255 and 254 in both directions: ((254 + 255) / 2) cut to 254.
    const Image src = row8({254, 255}, 2);
    const Image dst = makeImage(3, 3, 1, IPL_DEPTH_8U);
    iplZoom(src.get(), dst.get(), 3, 2, 3, 2, 1);
    EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{254, 254, 255}));
}

TEST(IplZoom, RoundsSixteenBitSamples)
{
    const Image src = makeImage(2, 2, 1, IPL_DEPTH_16U);
    putElement(src.get(), 1, 0, 0, 65535);
    putElement(src.get(), 1, 1, 0, 65535);
    const Image dst = makeImage(5, 2, 1, IPL_DEPTH_16U);
    iplZoom(src.get(), dst.get(), 5, 2, 1, 1, 1);
    // 16383.75, 32767.5 (to the even neighbour), 49151.25.
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{0, 16384, 32768, 49151, 65535}));
}

TEST(IplZoom, PassesThroughTheSourcePixelsInCubicMode)
{
    const Image src = row8({10, 200, 40, 90, 0, 255}, 4);
    const Image dst = makeImage(11, 4, 1, IPL_DEPTH_8U);
    iplZoom(src.get(), dst.get(), 11, 6, 1, 1, 2);
    for (int32_t x = 0; x < 6; ++x)
        EXPECT_EQ(element(dst.get(), 2 * x, 2, 0), element(src.get(), x, 2, 0));
    // Halfway between nodes 1 and 2: (-10 + 9 * 200 + 9 * 40 - 90) / 16 = 128.75.
    EXPECT_EQ(element(dst.get(), 3, 2, 0), 129);
    // Halfway between nodes 2 and 3 of the last window: (40 - 5 * 90 + 15 * 0 + 5 * 255) / 16.
    EXPECT_EQ(element(dst.get(), 9, 2, 0), 54);
}

TEST(IplZoom, ClampsCubicOvershoots)
{
    const Image src = row8({255, 0, 0, 255, 255, 0}, 4);
    const Image dst = makeImage(11, 4, 1, IPL_DEPTH_8U);
    iplZoom(src.get(), dst.get(), 11, 6, 1, 1, 2);
    EXPECT_EQ(element(dst.get(), 3, 0, 0), 0);
    EXPECT_EQ(element(dst.get(), 7, 0, 0), 255);
}

TEST(IplZoom, ReadsPastTheRegionInCubicModeWhereTheImageGoesOn)
{
    const Image src = row8({10, 200, 40, 90, 0, 255}, 4);
    const Image dst = makeImage(3, 4, 1, IPL_DEPTH_8U);
    setRoi(src.get(), 0, 2, 0, 2, 4);
    iplZoom(src.get(), dst.get(), 3, 2, 1, 1, 2);
    // The middle: (-200 + 9 * 40 + 9 * 90 - 0) / 16 = 60.625.
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{40, 61, 90}));
}

// --- Extent and masks --------------------------------------------------------------------------

TEST(IplZoom, LeavesWhatTheSourceDoesNotReach)
{
    const Image src = row8({10, 20, 30}, 1);
    const Image dst = makeImage(10, 3, 1, IPL_DEPTH_8U);
    iplSet(dst.get(), 7);
    // 3 * 5 / 2 = 7.5 pixels: 7.
    iplZoom(src.get(), dst.get(), 5, 2, 2, 1, 0);
    EXPECT_EQ(rowValues(dst, 0)[6], 30);
    EXPECT_EQ(rowValues(dst, 0)[7], 7);
    EXPECT_EQ(rowValues(dst, 1)[6], 30);
    EXPECT_EQ(rowValues(dst, 2)[0], 7);
}

TEST(OwnZoom, WritesOnePixelAtLeast)
{
    const Image src = row8({10, 20, 30}, 1);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    ownZoom(src.get(), dst.get(), 1, 100, 1, 100, 0);
    std::vector<uint8_t> expected(16, 0);
    expected[0] = 10;
    EXPECT_EQ(bytesOf(dst.get()), expected);
}

TEST(IplZoom, TakesAHugeFactorWithoutOverflow)
{
    const Image src = row8({10, 20, 30, 40}, 4);
    const Image dst = makeImage(9, 2, 1, IPL_DEPTH_8U);
    for (int32_t mode = 0; mode < 3; ++mode) {
        iplSet(dst.get(), 0);
        iplZoom(src.get(), dst.get(), INT_MAX, 1, INT_MAX, 1, mode);
        EXPECT_EQ(rowValues(dst, 1), std::vector<int32_t>(9, 10));
    }
}

TEST(IplZoom, WritesWhereTheResampledMaskIsSet)
{
    const Image src = row8({10, 20, 30}, 2);
    const Image dst = makeImage(6, 4, 1, IPL_DEPTH_8U);
    src->maskROI = makeImage(3, 2, 1, IPL_DEPTH_1U).release();
    dst->maskROI = makeImage(6, 4, 1, IPL_DEPTH_1U).release();
    putElement(src->maskROI, 1, 1, 0, 1);
    iplZoom(src.get(), dst.get(), 2, 1, 2, 1, 0);
    for (int32_t y = 0; y < 4; ++y)
        EXPECT_EQ(rowValues(dst, y),
                  (y < 2 ? std::vector<int32_t>(6, 0) : std::vector<int32_t>{0, 0, 20, 20, 0, 0}));
}

TEST(IplZoom, ResamplesTheDestinationsMaskToo)
{
    const Image src = row8({10, 20, 30}, 2);
    const Image dst = makeImage(6, 4, 1, IPL_DEPTH_8U);
    dst->maskROI = makeImage(6, 4, 1, IPL_DEPTH_1U).release();
    putElement(dst->maskROI, 2, 0, 0, 1);
    iplZoom(src.get(), dst.get(), 2, 1, 2, 1, 0);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{0, 0, 0, 0, 30, 30}));
    EXPECT_EQ(rowValues(dst, 1), rowValues(dst, 0));
    EXPECT_EQ(rowValues(dst, 2), std::vector<int32_t>(6, 0));
}

// A mask's order and origin change nothing.
TEST(IplZoom, TakesMasksInPlaneOrderAndOfEitherOrigin)
{
    Random random(61);
    const Image src = makeImage(13, 9, 1, IPL_DEPTH_8U);
    randomise(src.get(), random);
    IplImage* const mask = giveRandomMask(src.get(), src->width, src->height, random);
    for (int32_t mode = 0; mode < 3; ++mode) {
        const Image plain = makeImage(26, 18, 1, IPL_DEPTH_8U);
        mask->dataOrder = IPL_DATA_ORDER_PIXEL;
        mask->origin = IPL_ORIGIN_TL;
        iplZoom(src.get(), plain.get(), 2, 1, 2, 1, mode);
        EXPECT_NE(bytesOf(plain.get()), std::vector<uint8_t>(bytesOf(plain.get()).size(), 0));
        for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
            mask->dataOrder = order;
            mask->origin = IPL_ORIGIN_BL;
            const Image dst = makeImage(26, 18, 1, IPL_DEPTH_8U);
            iplZoom(src.get(), dst.get(), 2, 1, 2, 1, mode);
            EXPECT_EQ(bytesOf(dst.get()), bytesOf(plain.get())) << "order " << order;
        }
    }
}

TEST(IplZoom, WritesNothingWhereTheMaskDoesNotReach)
{
    const Image src = row8({10, 20, 30}, 2);
    const Image dst = makeImage(6, 4, 1, IPL_DEPTH_8U);
    src->maskROI = makeImage(2, 1, 1, IPL_DEPTH_1U).release();
    iplSet(src->maskROI, 1);
    iplZoom(src.get(), dst.get(), 2, 1, 2, 1, 0);
    EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{10, 10, 20, 20, 0, 0}));
    EXPECT_EQ(rowValues(dst, 2), std::vector<int32_t>(6, 0));
}

// --- Random images ------------------------------------------------------------------------------

TEST(OwnZoom, IsThePlainFormAtEveryDepthOrderRegionMaskAndMode)
{
    expectPlainForm(3, 40, randomFactors, 2, zoomAndCheck);
}

TEST(OwnZoom, IsThePlainFormOnWideRows)
{
    forEachLevel([] {
        Random random(4);
        for (int round = 0; round < 60; ++round) {
            const int32_t channels = random.between(1, 4);
            const Image src =
                makeImage(random.between(40, 300), random.between(2, 6), channels, IPL_DEPTH_8U);
            const Image dst =
                makeImage(random.between(40, 500), random.between(2, 9), channels, IPL_DEPTH_8U);
            randomise(src.get(), random);
            const Factors factors{dst->width, src->width, dst->height, src->height};
            const int32_t mode = random.between(0, 2);
            SCOPED_TRACE(describe(src.get()) + " to " + describe(dst.get()) +
                         describe(factors, mode));
            zoomAndCheck(src.get(), dst.get(), factors, mode);
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    });
}

TEST(OwnZoom, KeepsInfinitiesOutOfPixelsThatTheyDoNotWeighIn)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const Image src = makeImage(5, 5, 1, IPL_DEPTH_32F);
    for (int32_t y = 0; y < 5; ++y)
        for (int32_t x = 0; x < 5; ++x)
            putElement(src.get(), x, y, 0,
                       x == 2 || y == 4 ? infinity : static_cast<float>(10 * y + x));
    const Image same = makeImage(5, 5, 1, IPL_DEPTH_32F);
    const Image twice = makeImage(9, 9, 1, IPL_DEPTH_32F);
    for (const int32_t mode : {IPL_INTER_LINEAR, IPL_INTER_CUBIC}) {
        ownZoom(src.get(), same.get(), 1, 1, 1, 1, mode);
        EXPECT_EQ(bytesOf(same.get()), bytesOf(src.get()));
        ownZoom(src.get(), twice.get(), 9, 5, 9, 5, mode);
        for (int32_t y = 0; y < 5; ++y)
            for (int32_t x = 0; x < 5; ++x)
                EXPECT_EQ(element(twice.get(), 2 * x, 2 * y, 0), element(src.get(), x, y, 0));
    }
}

TEST(OwnZoom, WorksOnTiledImagesAsOnUntiledOnes)
{
    expectTilesMakeNoDifference(5, randomFactors, 2,
                                [](IplImage* src, IplImage* dst, const Factors& f, int32_t mode) {
                                    ownZoom(src, dst, f.xDst, f.xSrc, f.yDst, f.ySrc, mode);
                                });
}

TEST(OwnZoom, FetchesTheTilesThatItsRegionReaches)
{
    const Image image = makeImage(64, 40, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(20, 20, 1, IPL_DEPTH_8U);
    TiledImage tiled(image.get(), 16, 8);
    tiled.get()->roi = iplCreateROI(0, 36, 28, 4, 1);
    for (int32_t mode = 0; mode < 3; ++mode) {
        tiled.log.clear();
        ownZoom(tiled.get(), dst.get(), 3, 2, 3, 2, mode);
        EXPECT_EQ(tiled.log, fetches(toRead, {{2, 3}}));
    }
    iplDeallocate(tiled.get(), IPL_IMAGE_ROI);
}

TEST(OwnZoom, ReportsATileThatDoesNotCome)
{
    const Image image = makeImage(20, 9, 1, IPL_DEPTH_8U);
    TiledImage tiled(image.get(), 8, 8);
    tiled.failFrom = 2;
    EXPECT_REPORT(ownZoom(tiled.get(), image.get(), 1, 1, 1, 1, 0), -3, "iplZoom",
                  "srcImage->tileInfo->callBack crash", "iplZoom");
    EXPECT_REPORT(ownZoom(image.get(), tiled.get(), 1, 1, 1, 1, 0), -3, "iplZoom",
                  "dstImage->tileInfo->callBack crash", "iplZoom");
}

TEST(OwnZoom, WritesNothingWithoutATile)
{
    const ReportsReturn back;
    const Image image = makeImage(20, 9, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(20, 9, 1, IPL_DEPTH_8U);
    iplSet(image.get(), 200);
    TiledImage tiled(image.get(), 8, 8);
    tiled.failFrom = 2;
    ownZoom(tiled.get(), dst.get(), 1, 1, 1, 1, 0);
    EXPECT_EQ(iplGetStatus(), IPL_StsInternal);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(180, 0));
}

TEST(OwnZoom, WritesNothingWithoutMemory)
{
    expectNothingWithoutMemory(
        2, [](IplImage* src, IplImage* dst, int32_t mode) { ownZoom(src, dst, 3, 2, 3, 2, mode); });
}

TEST(OwnZoom, ReadsAndWritesNoByteOutsideTheRows)
{
    forEachLevel([] {
        Random random(6);
        for (int round = 0; round < 200; ++round) {
            const int32_t bitDepth = 8 * random.between(1, 4) % 32 == 16 ? 8 : 24;
            const Guard guard = random.coin() ? Guard::afterEnd : Guard::beforeStart;
            const GuardedHandle src(random.between(1, 40), random.between(1, 5), bitDepth, guard);
            const GuardedHandle dst(random.between(1, 70), random.between(1, 9), bitDepth, guard);
            randomise(src.get(), random);
            src.makeReadOnly();
            zoomAndCheck(src.get(), dst.get(), {dst->width, src->width, dst->height, src->height},
                         random.between(0, 2));
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    });
}
