#include "_Src/ipl.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/levels.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"
#include "tests/support/window.h"

#include <cmath>
#include <limits>

namespace
{

// --- The plain form ----------------------------------------------------------------------

void blur(const IplImage* src, IplImage* dst, const PlainWindow& window)
{
    iplBlur(src, dst, window.nCols, window.nRows, window.anchorX, window.anchorY);
}

// The mean of all pixels of a row.
double meanOf(uint32_t depth, const std::vector<double>& values)
{
    const int32_t count = static_cast<int32_t>(values.size());
    const Image src = makeImage(count, 1, 1, depth);
    const Image dst = makeImage(count, 1, 1, depth);
    for (int32_t x = 0; x < count; ++x)
        putElement(src.get(), x, 0, 0, values[static_cast<size_t>(x)]);
    iplBlur(src.get(), dst.get(), count, 1, 0, 0);
    return element(dst.get(), 0, 0, 0);
}

Image randomWide(uint32_t depth, int32_t channels, Random& random)
{
    Image image = makeImage(random.between(40, 150), random.between(20, 40), channels, depth);
    fillTelling(image.get(), random);
    return image;
}

} // namespace

// --- Worked values -----------------------------------------------------------------------

TEST(iplBlur, RoundsHalvesUp)
{
    EXPECT_EQ(meanOf(IPL_DEPTH_8U, {0, 1}), 1);
    EXPECT_EQ(meanOf(IPL_DEPTH_8U, {1, 1, 2}), 1);
    EXPECT_EQ(meanOf(IPL_DEPTH_8U, {1, 2, 2}), 2);
    EXPECT_EQ(meanOf(IPL_DEPTH_8U, {0, 1, 2, 3}), 2);
    EXPECT_EQ(meanOf(IPL_DEPTH_8S, {0, -1}), 0);
    EXPECT_EQ(meanOf(IPL_DEPTH_8S, {-1, -2}), -1);
    EXPECT_EQ(meanOf(IPL_DEPTH_8S, {-1, -2, -2}), -2);
    EXPECT_EQ(meanOf(IPL_DEPTH_16S, {-32768, -32767}), -32767);
    EXPECT_EQ(meanOf(IPL_DEPTH_16U, {65535, 65534}), 65535);
    EXPECT_EQ(meanOf(IPL_DEPTH_32S, {INT32_MAX, INT32_MAX - 1}), INT32_MAX);
    EXPECT_EQ(meanOf(IPL_DEPTH_32S, {INT32_MIN, INT32_MIN}), INT32_MIN);
}

TEST(iplBlur, HalfOfTheBitsAreEnough)
{
    EXPECT_EQ(meanOf(IPL_DEPTH_1U, {1, 0}), 1);
    EXPECT_EQ(meanOf(IPL_DEPTH_1U, {1, 0, 0}), 0);
    EXPECT_EQ(meanOf(IPL_DEPTH_1U, {1, 0, 1}), 1);
}

TEST(iplBlur, FloatsAreSummedInDouble)
{
    EXPECT_EQ(meanOf(IPL_DEPTH_32F, {1, 2}), 1.5);
    EXPECT_EQ(meanOf(IPL_DEPTH_32F, {16777216, 1, 1, 1}), static_cast<float>(16777219 * 0.25));
    EXPECT_EQ(meanOf(IPL_DEPTH_32F, {3e38, 3e38, 3e38}), static_cast<float>(3e38f));
    EXPECT_EQ(meanOf(IPL_DEPTH_32F, {1, 0, 0}), static_cast<float>(1.0 / 3));
}

TEST(iplBlur, AnInfinityStaysInItsWindows)
{
    const Image src = makeImage(9, 5, 1, IPL_DEPTH_32F);
    const Image dst = makeImage(9, 5, 1, IPL_DEPTH_32F);
    putElement(src.get(), 4, 2, 0, std::numeric_limits<double>::infinity());
    iplBlur(src.get(), dst.get(), 3, 3, 1, 1);
    for (int32_t y = 0; y < 5; ++y)
        for (int32_t x = 0; x < 9; ++x)
            EXPECT_EQ(std::isinf(element(dst.get(), x, y, 0)),
                      std::abs(x - 4) <= 1 && std::abs(y - 2) <= 1);
}

TEST(iplBlur, AWindowOfOneIsACopy)
{
    Random random(1);
    for (const uint32_t depth : allDepths) {
        const Image src = makeImage(21, 5, 1, depth);
        const Image dst = makeImage(21, 5, 1, depth);
        fillTelling(src.get(), random);
        if (depth == IPL_DEPTH_32F)
            putElement(src.get(), 3, 3, 0, -0.0);
        iplBlur(src.get(), dst.get(), 1, 1, 0, 0);
        for (int32_t y = 0; y < 5; ++y)
            for (int32_t x = 0; x < 21; ++x)
                EXPECT_EQ(element(dst.get(), x, y, 0), element(src.get(), x, y, 0));
        EXPECT_EQ(std::signbit(element(dst.get(), 3, 3, 0)),
                  std::signbit(element(src.get(), 3, 3, 0)));
    }
}

TEST(iplBlur, AConstantImageStaysConstant)
{
    Random random(2);
    for (const uint32_t depth : allDepths) {
        for (int i = 0; i < 40; ++i) {
            const Image src = makeImage(23, 9, 3, depth == IPL_DEPTH_1U ? IPL_DEPTH_8U : depth);
            const double value = depth == IPL_DEPTH_32F ? static_cast<float>(random.next()) / 7.0f
                                 : i == 0               ? static_cast<double>(highOf(src->depth))
                                 : i == 1               ? static_cast<double>(lowOf(src->depth))
                                                        : wrapped(src->depth, random.next());
            for (int32_t p = 0; p < 23 * 9 * 3; ++p)
                putElement(src.get(), p / 3 % 23, p / 69, p % 3, value);
            const std::vector<uint8_t> before = bytesOf(src.get());
            iplSetBorderMode(src.get(), IPL_BORDER_REPLICATE, 15, 0);
            const PlainWindow window = randomPlainWindow(40, random);
            blur(src.get(), src.get(), window);
            EXPECT_EQ(bytesOf(src.get()), before) << depth << describe(window);
        }
    }
}

TEST(iplBlur, LeavesAlpha)
{
    Random random(3);
    const Image src = makeImage(9, 9, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4);
    const Image dst = makeImage(9, 9, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4);
    randomise(src.get(), random);
    iplBlur(src.get(), dst.get(), 3, 3, 1, 1);
    for (int32_t x = 0; x < 9; ++x)
        EXPECT_EQ(element(dst.get(), x, 4, 3), 0);
}

// --- Plain forms -------------------------------------------------------------------------

TEST(iplBlur, IsThePlainFormAtEveryLevel)
{
    forEachLevel([] {
        Random random(4);
        for (const uint32_t depth : allDepths)
            for (int i = 0; i < 100; ++i)
                ASSERT_NO_FATAL_FAILURE(expectPlainFilter(randomFilterImages(depth, random),
                                                          randomPlainWindow(12, random), blur,
                                                          plainMean(depth)));
    });
}

TEST(iplBlur, LargerImagesAreThePlainForm)
{
    forEachLevel([] {
        Random random(5);
        for (const uint32_t depth : {IPL_DEPTH_8U, IPL_DEPTH_8S, IPL_DEPTH_16U, IPL_DEPTH_32F}) {
            for (const int32_t channels : {1, 2, 3, 4, 5}) {
                Image src = randomWide(depth, channels, random);
                const Arrangement images{std::move(src), nullptr,
                                         randomWide(depth, channels, random)};
                ASSERT_NO_FATAL_FAILURE(expectPlainFilter(images, randomPlainWindow(12, random),
                                                          blur, plainMean(depth)));
            }
        }
    });
}

TEST(iplBlur, WindowsPastTheImageAreThePlainForm)
{
    Random random(6);
    for (const uint32_t depth : allDepths) {
        // Past what sums of each width hold, too.
        for (const PlainWindow& window : {PlainWindow{41, 37, 3, 30}, PlainWindow{190, 180, 189, 0},
                                          PlainWindow{3, 300, 1, 9}, PlainWindow{300, 3, 299, 1}}) {
            Image src = makeImage(5, 4, 1, depth);
            fillTelling(src.get(), random);
            giveRandomBorders(src.get(), random);
            const Arrangement images{std::move(src), nullptr, makeImage(5, 4, 1, depth)};
            ASSERT_NO_FATAL_FAILURE(expectPlainFilter(images, window, blur, plainMean(depth)));
        }
    }
}

TEST(iplBlur, HugeWindowsOfTheLargestElementsAreExact)
{
    for (const uint32_t depth : {IPL_DEPTH_8U, IPL_DEPTH_16U}) {
        const Image src = makeImage(3, 2, 1, depth);
        const Image dst = makeImage(3, 2, 1, depth);
        for (int32_t i = 0; i < 6; ++i)
            putElement(src.get(), i % 3, i / 3, 0, static_cast<double>(highOf(depth)));
        iplSetBorderMode(src.get(), IPL_BORDER_REFLECT, 15, 0);
        putElement(src.get(), 0, 0, 0, 0);
        // One of six pixels is 0: five sixths of the range.
        iplBlur(src.get(), dst.get(), 3000, 3000, 1500, 1500);
        EXPECT_EQ(element(dst.get(), 0, 0, 0),
                  std::floor(static_cast<double>(highOf(depth)) * 5 / 6 + 0.5));
    }
}

TEST(iplBlur, TilesGiveTheSame)
{
    Random random(7);
    for (const uint32_t depth : allDepths)
        for (int i = 0; i < 25; ++i)
            ASSERT_NO_FATAL_FAILURE(expectSameFilterInTiles(
                randomFilterImages(depth, random), randomPlainWindow(9, random), blur, random));
}

TEST(iplBlur, InPlaceReadsUnchangedPixels)
{
    forEachLevel([] {
        Random random(8);
        for (const uint32_t depth : allDepths) {
            for (int i = 0; i < 25; ++i) {
                Arrangement images = randomFilterImages(depth, random);
                IplImage* image = images.a.get();
                const PlainWindow window = randomPlainWindow(9, random);
                const Twin source(image);
                copyBorders(source.get(), image);
                const Twin expected(image);
                plainFilter(plainJob(source.get(), nullptr, expected.get()), window,
                            plainMean(depth));
                blur(image, image, window);
                ASSERT_EQ(bytesOf(image), bytesOf(expected.get()))
                    << images.text() << describe(window);
            }
        }
    });
}

TEST(iplBlur, TouchesNothingOutsideTheBlocks)
{
    forEachLevel([] {
        Random random(9);
        for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
            for (const int32_t bitDepth : {1, 8, 24, 32}) {
                const GuardedHandle src(37, 9, bitDepth, guard);
                const GuardedHandle dst(37, 9, bitDepth, guard);
                randomise(src.get(), random);
                src.makeReadOnly();
                for (const int32_t size : {1, 3, 8})
                    iplBlur(src.get(), dst.get(), size, size, size / 2, size / 2);
            }
        }
    });
}

// --- Refusals ----------------------------------------------------------------------------

namespace
{

void expectNotBlurred(const IplImage* src, IplImage* dst, const PlainWindow& window, int32_t status,
                      const char* text)
{
    EXPECT_REPORT(blur(src, dst, window), status, "iplBlur", text, "iplblur");
}

} // namespace

TEST(iplBlur, RefusesBadWindowsFirst)
{
    expectNotBlurred(nullptr, nullptr, {-1, 0, -1, 0}, -5, "(nRows<0||nCols<0)");
    expectNotBlurred(nullptr, nullptr, {0, -1, -1, 0}, -5, "(nRows<0||nCols<0)");
    expectNotBlurred(nullptr, nullptr, {3, 3, -1, 3}, -5, "(anchorX<0||anchorY<0)");
    expectNotBlurred(nullptr, nullptr, {3, 3, 3, -1}, -5, "(anchorX<0||anchorY<0)");
    expectNotBlurred(nullptr, nullptr, {3, 3, 3, 0}, -5, "(anchorX>=nCols||anchorY>=nRows)");
    expectNotBlurred(nullptr, nullptr, {3, 3, 0, 3}, -5, "(anchorX>=nCols||anchorY>=nRows)");
    // No columns are not too few.
    expectNotBlurred(nullptr, nullptr, {0, 3, 0, 0}, -5, "(anchorX>=nCols||anchorY>=nRows)");
}

TEST(iplBlur, RefusesChannelsThatDoNotAgree)
{
    const Image three = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const Image four = makeImage(4, 4, 4, IPL_DEPTH_8U);
    expectNotBlurred(three.get(), four.get(), {1, 1, 0, 0}, -15, "bad channel's number");
    setRoi(three.get(), 2, 0, 0, 4, 4);
    expectNotBlurred(three.get(), four.get(), {1, 1, 0, 0}, -15, "bad channel's number");
    four->alphaChannel = 2;
    expectNotBlurred(four.get(), four.get(), {1, 1, 0, 0}, -18, "bad alpha channel's number");
    expectNotBlurred(three.get(), four.get(), {1, 1, 0, 0}, -18, "bad alpha channel's number");
}

TEST(iplBlur, EndsAtChannelsThatDoNotAgree)
{
    const Image three = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const Image four = makeImage(4, 4, 4, IPL_DEPTH_8U);
    iplSet(three.get(), 200);
    const std::vector<uint8_t> before = bytesOf(four.get());
    const RecordedReports reports;
    iplBlur(three.get(), four.get(), 1, 1, 0, 0);
    // Its channels are too few besides.
    four->alphaChannel = 2;
    iplBlur(makeImage(4, 4, 4, IPL_DEPTH_8U).get(), four.get(), 1, 1, 0, 0);
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{{-15, "iplBlur", "bad channel's number", "iplblur"},
                                   {-18, "iplBlur", "bad alpha channel's number", "iplblur"}}));
    EXPECT_EQ(bytesOf(four.get()), before);
}

TEST(iplBlur, LeavesAloneWhatIsNoImage)
{
    const CleanStatus status;
    const RecordedReports reports;
    Random random(10);
    const Image image = makeImage(4, 4, 1, IPL_DEPTH_8U);
    randomise(image.get(), random);
    const std::vector<uint8_t> before = bytesOf(image.get());
    const Image deeper = makeImage(4, 4, 1, IPL_DEPTH_16U);
    const Image broken = makeImage(4, 4, 1, IPL_DEPTH_8U);
    broken->width = 0;
    for (const IplImage* src :
         {static_cast<const IplImage*>(nullptr), static_cast<const IplImage*>(deeper.get()),
          static_cast<const IplImage*>(broken.get())}) {
        iplBlur(src, image.get(), 3, 3, 1, 1);
        iplBlur(image.get(), const_cast<IplImage*>(src), 3, 3, 1, 1);
    }
    EXPECT_EQ(bytesOf(image.get()), before);
    EXPECT_TRUE(reports.all().empty());
    EXPECT_EQ(iplGetStatus(), 0);
    const Image alpha = makeImage(4, 4, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 1);
    iplBlur(alpha.get(), alpha.get(), 3, 3, 1, 1);
    EXPECT_TRUE(reports.all().empty());
}

TEST(iplBlur, ImagesOfOtherOrdersAreBlurredAllTheSame)
{
    Random random(11);
    for (int i = 0; i < 20; ++i) {
        Image src = makeImage(13, 7, 3, IPL_DEPTH_8U, i & 1);
        randomise(src.get(), random);
        const Arrangement images{std::move(src), nullptr,
                                 makeImage(13, 7, 3, IPL_DEPTH_8U, ~i & 1)};
        ASSERT_NO_FATAL_FAILURE(
            expectPlainFilter(images, randomPlainWindow(9, random), blur, plainMean(IPL_DEPTH_8U)));
    }
}

TEST(iplBlur, ReportsWhenThereIsNoMemory)
{
    const CleanStatus status;
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const std::vector<Report> told = {{-4, "iplBlur", "Allocation failure", "iplblur"}};
    for (int32_t passing = 0;; ++passing) {
        const RecordedReports reports;
        int32_t asked = 0;
        {
            const FailingAllocation failure(passing);
            iplBlur(src.get(), dst.get(), 3, 3, 1, 1);
            asked = failure.asked();
        }
        if (asked <= passing)
            break;
        EXPECT_EQ(reports.all(), told) << passing;
    }
    const RecordedReports reports;
    iplBlur(src.get(), dst.get(), INT32_MAX, INT32_MAX, 0, INT32_MAX - 1);
    EXPECT_EQ(reports.all(), told);
    TiledImage tiles(src.get(), 8, 8);
    tiles.failFrom = 0;
    const RecordedReports more;
    iplBlur(tiles.get(), dst.get(), 3, 3, 1, 1);
    EXPECT_EQ(more.all(), told);
}
