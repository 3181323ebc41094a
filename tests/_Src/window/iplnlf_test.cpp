#include "_Src/ipl.h"

#include "tests/support/levels.h"
#include "tests/support/pace.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"
#include "tests/support/window.h"

#include <array>
#include <cmath>

namespace
{

using RankFilter = void (*)(const IplImage*, IplImage*, int32_t, int32_t, int32_t, int32_t);

struct NamedFilter {
    const char* name;
    RankFilter filter;
    PlainFilter plain;
};

double plainMedian(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

const NamedFilter filters[] = {
    {"iplMaxFilter", iplMaxFilter,
     [](const std::vector<double>& window) {
         return *std::max_element(window.begin(), window.end());
     }},
    {"iplMinFilter", iplMinFilter,
     [](const std::vector<double>& window) {
         return *std::min_element(window.begin(), window.end());
     }},
    {"iplMedianFilter", iplMedianFilter, plainMedian},
};

// Of an even number of bits, the median is the lower one.
PlainFilter plainOf(const NamedFilter& filter, uint32_t depth)
{
    if (filter.filter != iplMedianFilter || depth != IPL_DEPTH_1U)
        return filter.plain;
    return [](const std::vector<double>& window) {
        const ptrdiff_t ones = std::count(window.begin(), window.end(), 1.0);
        return ones >= static_cast<ptrdiff_t>(window.size()) / 2 + 1 ? 1 : 0;
    };
}

FilterCall rankCallOf(RankFilter filter)
{
    return [filter](const IplImage* src, IplImage* dst, const PlainWindow& window) {
        filter(src, dst, window.nCols, window.nRows, window.anchorX, window.anchorY);
    };
}

// As the rank filters take them: alike in channels and alpha.
Arrangement randomRankImages(uint32_t depth, Random& random)
{
    return randomAlikeImages(depth, true, random);
}

// Of few values, so that many are equal.
void makePoor(IplImage* image, Random& random)
{
    for (int32_t y = 0; y < image->height; ++y)
        for (int32_t x = 0; x < image->width; ++x)
            for (int32_t c = 0; c < image->nChannels; ++c)
                putElement(image, x, y, c, random.between(0, 2));
}

// Windows of the sizes that have a way of their own.
PlainWindow randomWindowOf(int32_t most, Random& random)
{
    PlainWindow window = randomPlainWindow(most, random);
    if (random.coin()) {
        window.nCols = window.nRows = random.coin() ? 3 : 5;
        window.anchorX = random.between(0, window.nCols - 1);
        window.anchorY = random.between(0, window.nRows - 1);
    }
    return window;
}

// --- Colours ---------------------------------------------------------------------

void plainColourMedian(const IplImage* src, IplImage* dst, const PlainWindow& window)
{
    const Area areaSrc = areaOf(src);
    const Area areaDst = areaOf(dst);
    Area size = areaDst;
    for (const IplImage* image : {src, static_cast<const IplImage*>(src->maskROI),
                                  static_cast<const IplImage*>(dst->maskROI)})
        shrinkTo(&size, image);
    for (int32_t y = 0; y < size.height; ++y) {
        for (int32_t x = 0; x < size.width; ++x) {
            if (!maskLets(src->maskROI, x, y) || !maskLets(dst->maskROI, x, y))
                continue;
            std::vector<std::array<double, 3>> pixels;
            for (int32_t j = 0; j < window.nRows; ++j)
                for (int32_t i = 0; i < window.nCols; ++i) {
                    std::array<double, 3> pixel{};
                    for (int32_t c = 0; c < 3; ++c)
                        pixel[static_cast<size_t>(c)] =
                            elementAround(src, areaSrc.x + x - window.anchorX + i,
                                          areaSrc.y + y - window.anchorY + j, c);
                    pixels.push_back(pixel);
                }
            const bool floats = src->depth == IPL_DEPTH_32F;
            std::vector<double> totals(pixels.size());
            for (size_t i = 0; i < pixels.size(); ++i) {
                for (size_t j = i + 1; j < pixels.size(); ++j) {
                    double distance = 0;
                    for (size_t c = 0; c < 3; ++c) {
                        const double difference =
                            floats ? static_cast<float>(pixels[i][c] - pixels[j][c])
                                   : pixels[i][c] - pixels[j][c];
                        distance += std::fabs(difference);
                        if (floats)
                            distance = static_cast<float>(distance);
                    }
                    for (const size_t k : {i, j})
                        totals[k] = floats ? static_cast<float>(totals[k] + distance)
                                           : totals[k] + distance;
                }
            }
            const size_t best = static_cast<size_t>(std::min_element(totals.begin(), totals.end()) -
                                                    totals.begin());
            for (int32_t c = 0; c < 3; ++c)
                putElement(dst, areaDst.x + x, areaDst.y + y, c,
                           pixels[best][static_cast<size_t>(c)]);
        }
    }
}

constexpr uint32_t colourDepths[] = {IPL_DEPTH_8U, IPL_DEPTH_8S, IPL_DEPTH_16U, IPL_DEPTH_16S,
                                     IPL_DEPTH_32F};

// Each image in an order of its own.
Arrangement randomColourImages(uint32_t depth, Random& random)
{
    const int32_t alpha = random.coin() ? 4 : 0;
    const auto image = [&] {
        return imageOfShape(depth, random.between(0, 1), {alpha ? 4 : 3, alpha, 0}, random);
    };
    Arrangement images{image(), nullptr, image()};
    giveRandomBorders(images.a.get(), random);
    return images;
}

} // namespace

// --- Worked values -------------------------------------------------------------------

TEST(iplMedianFilter, OfFourValuesIsTheUpperMiddleOne)
{
    const Image src = makeImage(2, 2, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(2, 2, 1, IPL_DEPTH_8U);
    for (int32_t i = 0; i < 4; ++i)
        putElement(src.get(), i % 2, i / 2, 0, 4 - i);
    iplMedianFilter(src.get(), dst.get(), 2, 2, 0, 0);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 3);
}

TEST(iplMedianFilter, OfBitsIsSetByMoreThanHalf)
{
    const Image src = makeImage(2, 1, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(2, 1, 1, IPL_DEPTH_1U);
    putElement(src.get(), 0, 0, 0, 1);
    iplMedianFilter(src.get(), dst.get(), 2, 1, 0, 0);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 0);
    putElement(src.get(), 1, 0, 0, 1);
    iplMedianFilter(src.get(), dst.get(), 2, 1, 0, 0);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 1);
}

TEST(iplMaxFilter, SeesTheBorderConstantInACorner)
{
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    iplSetBorderMode(src.get(), IPL_BORDER_CONSTANT, 15, 77);
    iplMaxFilter(src.get(), dst.get(), 3, 3, 1, 1);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), 77);
    EXPECT_EQ(element(dst.get(), 1, 1, 0), 0);
}

TEST(iplMinFilter, ReadsBesideTheRegion)
{
    const Image src = makeImage(5, 1, 1, IPL_DEPTH_16S);
    const Image dst = makeImage(5, 1, 1, IPL_DEPTH_16S);
    for (int32_t x = 0; x < 5; ++x)
        putElement(src.get(), x, 0, 0, -10 + x);
    setRoi(src.get(), 0, 2, 0, 1, 1);
    iplMinFilter(src.get(), dst.get(), 2, 1, 1, 0);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), -9);
    EXPECT_EQ(element(dst.get(), 1, 0, 0), 0);
}

TEST(iplColorMedianFilter, OfEqualTotalsTakesTheFirst)
{
    const Image src = makeImage(2, 1, 3, IPL_DEPTH_8U);
    const Image dst = makeImage(2, 1, 3, IPL_DEPTH_8U);
    putElement(src.get(), 0, 0, 1, 9);
    iplColorMedianFilter(src.get(), dst.get(), 2, 1, 0, 0);
    EXPECT_EQ(element(dst.get(), 0, 0, 1), 9);
    iplSetBorderMode(src.get(), IPL_BORDER_REPLICATE, 15, 0);
    iplColorMedianFilter(src.get(), dst.get(), 2, 1, 1, 0);
    EXPECT_EQ(element(dst.get(), 1, 0, 1), 9);
}

TEST(iplColorMedianFilter, LeavesAlpha)
{
    const Image src = makeImage(3, 3, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4);
    const Image dst = makeImage(3, 3, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4);
    std::memset(src->imageData, 9, static_cast<size_t>(src->imageSize));
    putElement(dst.get(), 1, 1, 3, 200);
    iplColorMedianFilter(src.get(), dst.get(), 3, 3, 1, 1);
    EXPECT_EQ(element(dst.get(), 1, 1, 0), 9);
    EXPECT_EQ(element(dst.get(), 1, 1, 3), 200);
}

// --- Plain forms -----------------------------------------------------------------------

TEST(RankFilters, AreThePlainOnesAtEveryLevel)
{
    forEachLevel([] {
        Random random(7);
        for (const NamedFilter& filter : filters) {
            SCOPED_TRACE(filter.name);
            for (const uint32_t depth : allDepths) {
                for (int i = 0; depth != IPL_DEPTH_32F && i < 60; ++i) {
                    Arrangement images = randomRankImages(depth, random);
                    if (random.coin())
                        makePoor(images.a.get(), random);
                    ASSERT_NO_FATAL_FAILURE(expectPlainFilter(images, randomWindowOf(12, random),
                                                              rankCallOf(filter.filter),
                                                              plainOf(filter, depth)));
                }
            }
        }
    });
}

TEST(RankFilters, WideImagesAreThePlainOnes)
{
    forEachLevel([] {
        Random random(8);
        for (const NamedFilter& filter : filters) {
            SCOPED_TRACE(filter.name);
            for (const uint32_t depth : {IPL_DEPTH_8U, IPL_DEPTH_16S}) {
                const auto wide = [&, depth = depth] {
                    Image image = makeImage(random.between(500, 700), 7, 1, depth);
                    randomise(image.get(), random);
                    return image;
                };
                Arrangement images{wide(), nullptr, wide()};
                giveRandomBorders(images.a.get(), random);
                ASSERT_NO_FATAL_FAILURE(expectPlainFilter(images, randomPlainWindow(9, random),
                                                          rankCallOf(filter.filter),
                                                          plainOf(filter, depth)));
            }
        }
    });
}

TEST(RankFilters, WindowsPastTheImageAreThePlainOnes)
{
    Random random(9);
    size_t turn = 0;
    for (const NamedFilter& filter : filters) {
        SCOPED_TRACE(filter.name);
        for (const uint32_t depth : allDepths) {
            if (depth == IPL_DEPTH_32F)
                continue;
            Image src = makeImage(5, 4, 1, depth);
            Image dst = makeImage(5, 4, 1, depth);
            fillTelling(src.get(), random);
            giveRandomBorders(src.get(), random);
            const Arrangement images{std::move(src), nullptr, std::move(dst)};
            std::vector<PlainWindow> windows{{41, 37, 3, 30}, {190, 180, 189, 0}};
            // Past what the histograms of columns hold.
            if (depth == IPL_DEPTH_8U || depth == IPL_DEPTH_8S)
                windows.insert(windows.end(), {{257, 256, 100, 255}, {5000, 1, 7, 0}});
            constexpr size_t step = stepOfCases(size_t{2});
            for (size_t i = turn++ % step; i < windows.size(); i += step)
                ASSERT_NO_FATAL_FAILURE(expectPlainFilter(
                    images, windows[i], rankCallOf(filter.filter), plainOf(filter, depth)));
        }
    }
}

TEST(RankFilters, AnEndlessWindowLeavesTheImage)
{
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    std::memset(dst->imageData, 5, static_cast<size_t>(dst->imageSize));
    const std::vector<uint8_t> before = bytesOf(dst.get());
    for (const NamedFilter& filter : filters) {
        filter.filter(src.get(), dst.get(), INT32_MAX, INT32_MAX, 0, INT32_MAX - 1);
        filter.filter(src.get(), dst.get(), 1, INT32_MAX, 0, 0);
        filter.filter(src.get(), dst.get(), INT32_MAX, 1, 7, 0);
        EXPECT_EQ(bytesOf(dst.get()), before);
    }
}

TEST(RankFilters, TilesGiveTheSame)
{
    Random random(10);
    for (const NamedFilter& filter : filters) {
        SCOPED_TRACE(filter.name);
        for (const uint32_t depth : allDepths)
            for (int i = 0; depth != IPL_DEPTH_32F && i < 12; ++i)
                ASSERT_NO_FATAL_FAILURE(expectSameFilterInTiles(randomRankImages(depth, random),
                                                                randomWindowOf(9, random),
                                                                rankCallOf(filter.filter), random));
    }
}

TEST(RankFilters, AMissingTileEndsThemSilently)
{
    const Image image = makeImage(20, 20, 1, IPL_DEPTH_8U);
    TiledImage tiles(image.get(), 8, 8);
    tiles.failFrom = 4;
    const RecordedReports reports;
    iplMaxFilter(tiles.get(), image.get(), 3, 3, 1, 1);
    tiles.failFrom = 8;
    iplMedianFilter(image.get(), tiles.get(), 3, 3, 1, 1);
    EXPECT_TRUE(reports.all().empty());
}

TEST(iplColorMedianFilter, IsThePlainOneAtEveryLevel)
{
    forEachLevel([] {
        Random random(11);
        for (const uint32_t depth : colourDepths) {
            for (int i = 0; i < 40; ++i) {
                const Arrangement images = randomColourImages(depth, random);
                if (random.coin())
                    makePoor(images.a.get(), random);
                const PlainWindow window = randomPlainWindow(i % 10 == 0 ? 12 : 4, random);
                const Twin expected(images.dst.get());
                plainColourMedian(images.a.get(), expected.get(), window);
                rankCallOf(iplColorMedianFilter)(images.a.get(), images.dst.get(), window);
                ASSERT_EQ(bytesOf(images.dst.get()), bytesOf(expected.get()))
                    << images.text() << describe(window);
            }
        }
    });
}

TEST(iplColorMedianFilter, WideImagesAreThePlainOnes)
{
    Random random(12);
    for (const int32_t alpha : {0, 4}) {
        const auto wide = [&] {
            Image image = makeImage(150, 5, alpha ? 4 : 3, IPL_DEPTH_8U, 0, 4, alpha);
            randomise(image.get(), random);
            return image;
        };
        const Image src = wide();
        const Image dst = wide();
        const Twin expected(dst.get());
        plainColourMedian(src.get(), expected.get(), {3, 3, 1, 1});
        iplColorMedianFilter(src.get(), dst.get(), 3, 3, 1, 1);
        ASSERT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
    }
}

TEST(iplColorMedianFilter, TilesGiveTheSame)
{
    Random random(13);
    for (const uint32_t depth : colourDepths)
        for (int i = 0; i < 12; ++i)
            ASSERT_NO_FATAL_FAILURE(expectSameFilterInTiles(
                randomColourImages(depth, random), randomPlainWindow(4, random),
                rankCallOf(iplColorMedianFilter), random));
}

// --- Refusals ----------------------------------------------------------------------------

namespace
{

// Runs a filter where reports come back, and expects these.
void expectReports(const char* name, const std::function<void()>& call,
                   const std::vector<std::pair<int32_t, const char*>>& expected)
{
    SCOPED_TRACE(name);
    const RecordedReports reports;
    call();
    std::vector<Report> all;
    for (const auto& [status, text] : expected)
        all.push_back({status, name, text, "iplnlf"});
    EXPECT_EQ(reports.all(), all);
}

struct Pair {
    Image src;
    Image dst;
};

Pair makePair(int32_t channels, uint32_t depth, int32_t alpha = 0)
{
    return {makeImage(4, 4, channels, depth, 0, 4, alpha),
            makeImage(4, 4, channels, depth, 0, 4, alpha)};
}

void expectRefusal(const Pair& images, const NamedFilter& filter, const char* text)
{
    expectReports(filter.name,
                  [&] { filter.filter(images.src.get(), images.dst.get(), 3, 3, 1, 1); },
                  {{-5, text}});
}

const NamedFilter colourFilter{"iplColorMedianFilter", iplColorMedianFilter, nullptr};

} // namespace

TEST(RankFilters, RefuseBadImagesAndWindowsFirst)
{
    for (const NamedFilter& filter : {filters[0], filters[1], filters[2], colourFilter}) {
        Pair images = makePair(3, IPL_DEPTH_8U);
        IplImage* src = images.src.get();
        IplImage* dst = images.dst.get();
        const auto call = [&](const IplImage* from, IplImage* to, int32_t nCols, int32_t nRows,
                              int32_t anchorX, int32_t anchorY) {
            return [=] { filter.filter(from, to, nCols, nRows, anchorX, anchorY); };
        };
        expectReports(filter.name, call(nullptr, nullptr, 0, 0, 0, 0), {{-9, "Incorrect Image"}});
        expectReports(filter.name, call(src, nullptr, 0, 0, 0, 0), {{-9, "Incorrect Image"}});
        expectReports(filter.name, call(src, src, 3, 0, 3, 0),
                      {{-5, "(anchorX>=nCols)||(anchorX<0)"}});
        expectReports(filter.name, call(src, src, 3, 0, -1, 0),
                      {{-5, "(anchorX>=nCols)||(anchorX<0)"}});
        expectReports(filter.name, call(src, src, 3, 3, 0, 3),
                      {{-5, "(anchorY>=nRows)||(anchorY<0)"}});
        expectReports(filter.name, call(src, src, 3, 3, 0, -1),
                      {{-5, "(anchorY>=nRows)||(anchorY<0)"}});
        expectReports(filter.name, call(src, src, 3, 3, 0, 0), {{-5, "(srcImage==dstImage)"}});
        const Image other = makeImage(4, 4, 2, IPL_DEPTH_32F);
        expectReports(filter.name, call(other.get(), dst, 3, 3, 0, 0),
                      {{-5, "srcImage->depth!=dstImage->depth"}});
    }
}

TEST(RankFilters, RefuseImagesThatDoNotAgree)
{
    for (const NamedFilter& filter : filters) {
        Pair images = makePair(3, IPL_DEPTH_32F);
        expectRefusal(images, filter, "srcImage->depth==32");
        images = makePair(3, IPL_DEPTH_8U);
        images.dst = makeImage(4, 4, 4, IPL_DEPTH_8U, 1, 4, 4);
        expectRefusal(images, filter, "srcImage->nChannels!=dstImage->nChannels");
        images.src = makeImage(4, 4, 4, IPL_DEPTH_8U);
        expectRefusal(images, filter, "srcImage->alphaChannel!=dstImage->alphaChannel");
        images.src = makeImage(4, 4, 4, IPL_DEPTH_8U, 0, 4, 4);
        expectRefusal(images, filter, "srcImage->dataOrder!=dstImage->dataOrder");
        images = makePair(3, IPL_DEPTH_8U);
        setRoi(images.src.get(), 1, 0, 0, 4, 4);
        expectRefusal(images, filter,
                      "Number of interset channel input and output Image is not equal.");
    }
}

TEST(RankFilters, BitsOfTwoOrdersAgree)
{
    Pair images = makePair(1, IPL_DEPTH_1U);
    images.dst->dataOrder = IPL_DATA_ORDER_PLANE;
    putElement(images.src.get(), 1, 1, 0, 1);
    const RecordedReports reports;
    iplMaxFilter(images.src.get(), images.dst.get(), 3, 3, 1, 1);
    EXPECT_TRUE(reports.all().empty());
    EXPECT_EQ(element(images.dst.get(), 2, 2, 0), 1);
}

TEST(RankFilters, DoNothingWithAnOldFailure)
{
    const CleanStatus status;
    for (const NamedFilter& filter : filters) {
        Pair images = makePair(1, IPL_DEPTH_8U);
        putElement(images.src.get(), 1, 1, 0, 9);
        putElement(images.dst.get(), 1, 1, 0, 4);
        iplSetStatus(-10);
        filter.filter(images.src.get(), images.dst.get(), 1, 1, 0, 0);
        EXPECT_EQ(element(images.dst.get(), 1, 1, 0), 4) << filter.name;
        EXPECT_EQ(iplGetStatus(), -10);
    }
    // The colours' filter does not ask.
    Pair images = makePair(3, IPL_DEPTH_8U);
    putElement(images.src.get(), 1, 1, 0, 9);
    iplColorMedianFilter(images.src.get(), images.dst.get(), 1, 1, 0, 0);
    EXPECT_EQ(element(images.dst.get(), 1, 1, 0), 9);
}

TEST(RankFilters, DoNothingWithAlphaAlone)
{
    Pair images = makePair(1, IPL_DEPTH_8U, 1);
    putElement(images.src.get(), 1, 1, 0, 9);
    const RecordedReports reports;
    iplMaxFilter(images.src.get(), images.dst.get(), 3, 3, 1, 1);
    EXPECT_TRUE(reports.all().empty());
    EXPECT_EQ(element(images.dst.get(), 1, 1, 0), 0);
}

TEST(RankFilters, DoNothingWithARegionPastTheImage)
{
    Pair images = makePair(3, IPL_DEPTH_8U);
    setRoi(images.src.get(), 0, 4, 0, 4, 4);
    std::memset(images.src->imageData, 9, static_cast<size_t>(images.src->imageSize));
    const RecordedReports reports;
    for (const NamedFilter& filter : {filters[0], filters[1], filters[2], colourFilter})
        filter.filter(images.src.get(), images.dst.get(), 3, 3, 1, 1);
    EXPECT_TRUE(reports.all().empty());
    EXPECT_EQ(bytesOf(images.dst.get()),
              std::vector<uint8_t>(static_cast<size_t>(images.dst->imageSize)));
}

TEST(iplColorMedianFilter, RefusesWhatIsNotThreeColours)
{
    Pair images = makePair(1, IPL_DEPTH_1U);
    expectRefusal(images, colourFilter, "srcImage->depth==1");
    images = makePair(3, IPL_DEPTH_32S);
    expectRefusal(images, colourFilter, "srcImage->depth==(0x80000000|32)");
    images = makePair(2, IPL_DEPTH_8U);
    images.dst = makeImage(4, 4, 3, IPL_DEPTH_8U);
    expectRefusal(images, colourFilter, "srcImage->nChannels!=dstImage->nChannels");
    expectRefusal(makePair(2, IPL_DEPTH_8U), colourFilter, "srcImage->nChannels<3");
    expectRefusal(makePair(5, IPL_DEPTH_8U), colourFilter, "srcImage->nChannels>4");
    expectRefusal(makePair(3, IPL_DEPTH_8U, 3), colourFilter,
                  "(srcImage->nChannels==3)&&(srcImage->alphaChannel!=0)");
    expectRefusal(makePair(4, IPL_DEPTH_8U), colourFilter,
                  "(srcImage->nChannels==4)&&(srcImage->alphaChannel==0)");
    images = makePair(3, IPL_DEPTH_8U);
    setRoi(images.src.get(), 2, 0, 0, 4, 4);
    setRoi(images.dst.get(), 2, 0, 0, 4, 4);
    expectRefusal(images, colourFilter, "srcImage->roi->coi!=0");
    setRoi(images.src.get(), 0, 0, 0, 4, 4);
    expectRefusal(images, colourFilter, "dstImage->roi->coi!=0");
}

TEST(RankFilters, ARefusalEndsTheProcess)
{
    const Image image = makeImage(4, 4, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplMedianFilter(image.get(), image.get(), 3, 3, 1, 1), -5, "iplMedianFilter",
                  "(srcImage==dstImage)", "iplnlf");
}
