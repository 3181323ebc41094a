#include "_Src/ipl.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/levels.h"
#include "tests/support/pixel_cases.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace
{

constexpr int32_t axes[] = {0, 1, -1};

// --- The plain form ------------------------------------------------------------------------

// The smallest size of all regions.
Area extentOf(const IplImage* src, const IplImage* dst)
{
    Area size = areaOf(src);
    shrinkTo(&size, dst);
    shrinkTo(&size, src->maskROI);
    shrinkTo(&size, dst->maskROI);
    return size;
}

void plainMirror(const IplImage* src, IplImage* dst, int32_t flipAxis)
{
    const Area size = extentOf(src, dst);
    const Area from = areaOf(src);
    const Area to = areaOf(dst);
    const std::vector<int32_t> srcChannels = channelsOf(src);
    const std::vector<int32_t> dstChannels = channelsOf(dst);
    for (int32_t y = 0; y < size.height; ++y) {
        for (int32_t x = 0; x < size.width; ++x) {
            const int32_t srcX = flipAxis == 0 ? x : size.width - 1 - x;
            const int32_t srcY = flipAxis == 1 ? y : size.height - 1 - y;
            if (!maskLets(src->maskROI, srcX, srcY) || !maskLets(dst->maskROI, x, y))
                continue;
            for (size_t c = 0; c < dstChannels.size(); ++c)
                putElement(dst, to.x + x, to.y + y, dstChannels[c],
                           element(src, from.x + srcX, from.y + srcY, srcChannels[c]));
        }
    }
}

Operation mirrorBy(int32_t flipAxis)
{
    return [flipAxis](const IplImage* src, const IplImage*, IplImage* dst) {
        iplMirror(const_cast<IplImage*>(src), dst, flipAxis);
    };
}

void expectPlain(const Arrangement& images, int32_t flipAxis)
{
    SCOPED_TRACE(images.text() + " by " + std::to_string(flipAxis));
    const Twin expected(images.dst.get());
    plainMirror(images.a.get(), expected.get(), flipAxis);
    iplMirror(images.a.get(), images.dst.get(), flipAxis);
    ASSERT_EQ(bytesOf(images.dst.get()), bytesOf(expected.get()));
}

void expectPlainInPlace(IplImage* image, int32_t flipAxis)
{
    SCOPED_TRACE(describe(image) + " by " + std::to_string(flipAxis));
    const Twin source(image);
    const Twin expected(image);
    plainMirror(source.get(), expected.get(), flipAxis);
    iplMirror(image, image, flipAxis);
    ASSERT_EQ(bytesOf(image), bytesOf(expected.get()));
}

// Calls work(depth, axis, random) so many times for each depth and axis.
template<class Work>
void forEachCase(int rounds, uint64_t seed, Work work)
{
    for (const uint32_t depth : allDepths) {
        Random random(seed + depth);
        for (int round = 0; round < rounds; ++round)
            for (const int32_t axis : axes)
                if (!testing::Test::HasFatalFailure())
                    work(depth, axis, random);
    }
}

// --- Worked images ---------------------------------------------------------------------------

// One row for each string, one element for each character.
Image imageOf(const std::vector<std::string>& rows)
{
    Image image = makeImage(static_cast<int32_t>(rows[0].size()), static_cast<int32_t>(rows.size()),
                            1, IPL_DEPTH_8U);
    for (int32_t y = 0; y < image->height; ++y)
        std::memcpy(rowOf(image.get(), y), rows[static_cast<size_t>(y)].data(), rows[0].size());
    return image;
}

std::vector<std::string> textOf(const IplImage* image)
{
    std::vector<std::string> rows;
    for (int32_t y = 0; y < image->height; ++y)
        rows.emplace_back(reinterpret_cast<const char*>(rowOf(image, y)),
                          static_cast<size_t>(image->width));
    return rows;
}

using Rows = std::vector<std::string>;

// A mask of the image, '1' where it lets a pixel be written.
void giveMask(IplImage* image, const Rows& rows)
{
    Image mask = makeImage(static_cast<int32_t>(rows[0].size()), static_cast<int32_t>(rows.size()),
                           1, IPL_DEPTH_1U);
    for (int32_t y = 0; y < mask->height; ++y)
        for (int32_t x = 0; x < mask->width; ++x)
            putElement(mask.get(), x, y, 0,
                       rows[static_cast<size_t>(y)][static_cast<size_t>(x)] == '1');
    image->maskROI = mask.release();
}

void expectReport(const IplImage* src, const IplImage* dst, int32_t flipAxis, const char* text)
{
    EXPECT_REPORT(iplMirror(const_cast<IplImage*>(src), const_cast<IplImage*>(dst), flipAxis), -5,
                  "iplMirror", text, "iplmirr");
}

} // namespace

// --- Worked cases ------------------------------------------------------------------------------

TEST(IplMirror, ReversesRowsColumnsOrBoth)
{
    const Image src = imageOf({"abc", "def"});
    const Image dst = imageOf({"...", "..."});
    iplMirror(src.get(), dst.get(), 0);
    EXPECT_EQ(textOf(dst.get()), (Rows{"def", "abc"}));
    iplMirror(src.get(), dst.get(), 1);
    EXPECT_EQ(textOf(dst.get()), (Rows{"cba", "fed"}));
    iplMirror(src.get(), dst.get(), -1);
    EXPECT_EQ(textOf(dst.get()), (Rows{"fed", "cba"}));
}

TEST(IplMirror, ExchangesTheRowsOfAnOddHeightAndKeepsTheMiddleOne)
{
    const Image image = imageOf({"aA", "bB", "cC", "dD", "eE"});
    iplMirror(image.get(), image.get(), 0);
    EXPECT_EQ(textOf(image.get()), (Rows{"eE", "dD", "cC", "bB", "aA"}));
    iplMirror(image.get(), image.get(), 1);
    EXPECT_EQ(textOf(image.get()), (Rows{"Ee", "Dd", "Cc", "Bb", "Aa"}));
    iplMirror(image.get(), image.get(), -1);
    EXPECT_EQ(textOf(image.get()), (Rows{"aA", "bB", "cC", "dD", "eE"}));
}

TEST(IplMirror, ReversesTheCommonExtentOfTheRegions)
{
    const Image src = imageOf({"abcdef", "ghijkl", "mnopqr"});
    const Image dst = imageOf({".....", ".....", ".....", "....."});
    setRoi(src.get(), 0, 1, 1, 100, 100); // 5 x 2 of it inside
    setRoi(dst.get(), 0, 1, 2, 3, 7);     // 3 x 2
    iplMirror(src.get(), dst.get(), -1);
    EXPECT_EQ(textOf(dst.get()), (Rows{".....", ".....", ".pon.", ".jih."}));
}

TEST(IplMirror, DoesNothingForARegionPastTheImage)
{
    const CleanStatus clean;
    const Image src = imageOf({"abc", "def"});
    const Image dst = imageOf({"...", "..."});
    setRoi(src.get(), 0, 3, 0, 1, 1);
    iplMirror(src.get(), dst.get(), 0);
    setRoi(src.get(), 0, 0, 0, 1, 1);
    setRoi(dst.get(), 0, 0, 2, 1, 1);
    iplMirror(src.get(), dst.get(), 0);
    iplMirror(dst.get(), dst.get(), 0);
    EXPECT_EQ(textOf(dst.get()), (Rows{"...", "..."}));
    EXPECT_EQ(iplGetStatus(), 0);
}

TEST(IplMirror, TheSourcesMaskTravelsWithThePicture)
{
    const Image src = imageOf({"abcd", "efgh"});
    giveMask(src.get(), {"1100", "0001"});
    const Image dst = imageOf({"....", "...."});
    iplMirror(src.get(), dst.get(), 1);
    EXPECT_EQ(textOf(dst.get()), (Rows{"..ba", "h..."}));
}

TEST(IplMirror, TakesTheBitsOfAMaskOfAlphaAlone)
{
    for (const bool hasRegion : {false, true}) {
        const Image src = imageOf({"abcd", "efgh"});
        giveMask(src.get(), {"1100", "0001"});
        src->maskROI->alphaChannel = 1;
        if (hasRegion)
            setRoi(src->maskROI, 0, 0, 0, 4, 2);
        const Image dst = imageOf({"....", "...."});
        // What new memory holds plays no part.
        const FilledMemory memory(0xFF);
        iplMirror(src.get(), dst.get(), 1);
        EXPECT_EQ(textOf(dst.get()), (Rows{"..ba", "h..."}));
    }
}

TEST(IplMirror, TheDestinationsMaskStays)
{
    const Image src = imageOf({"abcd", "efgh"});
    const Image dst = imageOf({"....", "...."});
    giveMask(dst.get(), {"1100", "0001"});
    iplMirror(src.get(), dst.get(), 1);
    EXPECT_EQ(textOf(dst.get()), (Rows{"dc..", "...e"}));
}

TEST(IplMirror, WritesWhereBothMasksHaveAOne)
{
    const Image src = imageOf({"abcd", "efgh"});
    giveMask(src.get(), {"1101", "0111"}); // turned round: 1011 and 1110
    const Image dst = imageOf({"....", "...."});
    giveMask(dst.get(), {"1110", "0011"});
    iplMirror(src.get(), dst.get(), 1);
    EXPECT_EQ(textOf(dst.get()), (Rows{"d.b.", "..f."}));
}

TEST(IplMirror, AMaskLowersTheExtent)
{
    const Image src = imageOf({"abcd", "efgh"});
    const Image dst = imageOf({"....", "...."});
    giveMask(dst.get(), {"111111"});
    setRoi(dst->maskROI, 0, 3, 0, 100, 1);
    iplMirror(src.get(), dst.get(), 1);
    EXPECT_EQ(textOf(dst.get()), (Rows{"cba.", "...."}));
}

TEST(IplMirror, LeavesTheAlphaOfTheDestination)
{
    Random random(1);
    for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
        const Image src = makeImage(5, 3, 4, IPL_DEPTH_8U, order, 4, 4);
        const Image dst = makeImage(5, 3, 4, IPL_DEPTH_8U, order, 4, 4);
        randomise(src.get(), random);
        randomise(dst.get(), random);
        const Twin before(dst.get());
        iplMirror(src.get(), dst.get(), 1);
        for (int32_t y = 0; y < 3; ++y)
            for (int32_t x = 0; x < 5; ++x)
                for (int32_t c = 0; c < 4; ++c)
                    ASSERT_EQ(element(dst.get(), x, y, c), c == 3
                                                               ? element(before.get(), x, y, 3)
                                                               : element(src.get(), 4 - x, y, c));
    }
}

TEST(IplMirror, DoesNothingForAlphaAlone)
{
    const Image src = makeImage(3, 2, 1, IPL_DEPTH_8U, 0, 4, 1);
    const Image dst = makeImage(3, 2, 1, IPL_DEPTH_8U, 0, 4, 1);
    putElement(src.get(), 0, 0, 0, 7);
    for (IplImage* target : {dst.get(), src.get()}) {
        iplMirror(src.get(), target, 1);
        EXPECT_EQ(element(src.get(), 0, 0, 0), 7);
        EXPECT_EQ(element(dst.get(), 2, 0, 0), 0);
    }
}

// --- Random images -----------------------------------------------------------------------------

TEST(IplMirror, DoesNothingForTheRegionOfAlphaAloneInAnyOrders)
{
    for (const uint32_t depth : {IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32F}) {
        for (int32_t orders = 0; orders < 4; ++orders) {
            const Image src = makeImage(2, 2, 1, depth, orders & 1);
            const Image dst = makeImage(2, 2, 1, depth, orders >> 1);
            src->alphaChannel = dst->alphaChannel = 1;
            src->roi = iplCreateROI(0, 0, 0, 2, 2);
            dst->roi = iplCreateROI(0, 0, 0, 2, 2);
            putElement(src.get(), 0, 0, 0, 7);
            const std::vector<uint8_t> before = bytesOf(dst.get());
            for (const int32_t axis : axes)
                iplMirror(src.get(), dst.get(), axis);
            EXPECT_EQ(bytesOf(dst.get()), before) << orders;
        }
    }
}

TEST(IplMirror, GivesThePlainResultForRandomImages)
{
    forEachLevel([] {
        forEachCase(60, 10, [](uint32_t depth, int32_t axis, Random& random) {
            expectPlain(randomArrangement(depth, 1, random), axis);
        });
    });
}

TEST(IplMirror, GivesThePlainResultInPlace)
{
    forEachLevel([] {
        forEachCase(60, 20, [](uint32_t depth, int32_t axis, Random& random) {
            const Arrangement images = randomArrangement(depth, 1, random);
            iplDeallocate(images.dst.get(), IPL_IMAGE_MASK);
            expectPlainInPlace(images.dst.get(), axis);
        });
    });
}

TEST(IplMirror, MirrorsBetweenDataOrders)
{
    forEachCase(40, 30, [](uint32_t depth, int32_t axis, Random& random) {
        if (depth == IPL_DEPTH_1U)
            return;
        const int32_t count = random.between(1, 4);
        const auto image = [&](int32_t order) {
            return imageOfShape(depth, order,
                                random.coin() ? Shape{count, 0, 0} : Shape{count + 1, count + 1, 0},
                                random);
        };
        const int32_t order = random.between(0, 1);
        expectPlain({image(order), nullptr, image(1 - order)}, axis);
    });
}

TEST(IplMirror, MirrorsWideRows)
{
    Random random(40);
    for (const int32_t axis : axes) {
        for (const uint32_t depth : allDepths) {
            for (const int32_t nChannels : {1, 3, 4}) {
                if (depth == IPL_DEPTH_1U && nChannels > 1)
                    continue;
                const auto image = [&] {
                    Image made = makeImage(1000 + random.between(0, 70), 5, nChannels, depth);
                    randomise(made.get(), random);
                    setRoi(made.get(), 0, random.between(0, 40), 0, 2000, 5);
                    return made;
                };
                const Arrangement images{image(), nullptr, image()};
                expectPlain(images, axis);
                expectPlainInPlace(images.dst.get(), axis);
            }
        }
    }
}

TEST(IplMirror, TouchesNothingOutsideTheBlocks)
{
    Random random(50);
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
        for (const int32_t bitDepth : {1, 8, 24, 32}) {
            for (int32_t width = 1; width < 70; width += 3) {
                const GuardedHandle src(width, 3, bitDepth, guard);
                const GuardedHandle dst(width, 3, bitDepth, guard);
                randomise(src.get(), random);
                const int32_t coi = random.between(0, src->nChannels);
                setRoi(src.get(), coi, 0, 0, width, 3);
                setRoi(dst.get(), coi, 0, 0, width, 3);
                for (const int32_t axis : axes) {
                    const Twin expected(dst.get());
                    plainMirror(src.get(), expected.get(), axis);
                    iplMirror(src.get(), dst.get(), axis);
                    ASSERT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
                    iplMirror(dst.get(), dst.get(), axis);
                    const Twin back(expected.get());
                    plainMirror(expected.get(), back.get(), axis);
                    ASSERT_EQ(bytesOf(dst.get()), bytesOf(back.get()));
                }
            }
        }
    }
}

// --- Tiles
// -----------------------------------------------------------------------------------------

TEST(IplMirror, GivesTheSameInTiles)
{
    forEachCase(60, 60, [](uint32_t depth, int32_t axis, Random& random) {
        const Arrangement images = randomArrangement(depth, 1, random);
        expectSameInTiles(images, mirrorBy(axis), random);
    });
}

TEST(IplMirror, GivesTheSameInPlaceInTiles)
{
    forEachCase(40, 70, [](uint32_t depth, int32_t axis, Random& random) {
        const Arrangement images = randomArrangement(depth, 1, random);
        IplImage* const image = images.dst.get();
        iplDeallocate(image, IPL_IMAGE_MASK);
        const TiledTwin tiled(image, 8 * random.between(1, 3), 8 * random.between(1, 2));
        const Twin result(image);
        iplMirror(tiled.get(), tiled.get(), axis);
        tiled.collect(result.get());
        iplMirror(image, image, axis);
        ASSERT_EQ(bytesOf(result.get()), bytesOf(image)) << describe(image);
    });
}

TEST(IplMirror, FetchesTheSourcesTilesFromTheFarEdge)
{
    const Image image = makeImage(20, 8, 1, IPL_DEPTH_8U);
    const TiledTwin src(image.get(), 8, 8);
    const Image dst = makeImage(20, 8, 1, IPL_DEPTH_8U);
    iplMirror(src.get(), dst.get(), 1);
    EXPECT_EQ(src.log, fetches(toRead, {{2, 0}, {1, 0}, {0, 0}}));
}

TEST(IplMirror, RefusesATileThatDoesNotCome)
{
    const Image image = makeImage(20, 20, 1, IPL_DEPTH_8U);
    TiledTwin tiled(image.get(), 8, 8);
    tiled.failFrom = 4;
    EXPECT_REPORT(iplMirror(tiled.get(), image.get(), 0), -2, "iplMirror", "Error get tile to read",
                  "iplmirr");
    EXPECT_REPORT(iplMirror(image.get(), tiled.get(), 0), -2, "iplMirror",
                  "Error get tile to write", "iplmirr");
    const ReportsReturn back;
    iplMirror(tiled.get(), image.get(), 0);
    EXPECT_EQ(iplGetStatus(), -2);
    EXPECT_EQ(tiled.log.size(), 5u);
}

// --- Refusals
// --------------------------------------------------------------------------------------

TEST(IplMirror, RefusesBadImages)
{
    const Image good = imageOf({"abc"});
    const Image bad = imageOf({"abc"});
    bad->width = 0;
    EXPECT_REPORT(iplMirror(nullptr, bad.get(), 0), -9, "iplMirror", "Incorrect Image", "iplmirr");
    EXPECT_REPORT(iplMirror(bad.get(), nullptr, 0), -10, "iplMirror", "Incorrect Image", "iplmirr");
    EXPECT_REPORT(iplMirror(good.get(), nullptr, 0), -9, "iplMirror", "Incorrect Image", "iplmirr");
    EXPECT_REPORT(iplMirror(good.get(), bad.get(), 0), -10, "iplMirror", "Incorrect Image",
                  "iplmirr");
    setRoi(good.get(), 2, 0, 0, 1, 1);
    EXPECT_REPORT(iplMirror(good.get(), good.get(), 0), -24, "iplMirror", "Incorrect Image",
                  "iplmirr");
}

TEST(IplMirror, RefusesAMaskInPlaceFirst)
{
    const Image image = imageOf({"abc"});
    giveMask(image.get(), {"111"});
    expectReport(image.get(), image.get(), 2,
                 "(srcImage==dstImage && srcImage->maskROI != ((void *)0))");
}

TEST(IplMirror, RefusesDifferentDepthsBeforeTheAxis)
{
    const Image bytes = imageOf({"abc"});
    const Image halves = makeImage(3, 1, 1, IPL_DEPTH_16U);
    const Image signedBytes = makeImage(3, 1, 1, IPL_DEPTH_8S);
    expectReport(bytes.get(), halves.get(), 2, "(srcImage->depth!=dstImage->depth)");
    expectReport(bytes.get(), signedBytes.get(), 0, "(srcImage->depth!=dstImage->depth)");
}

TEST(IplMirror, RefusesOtherAxesBeforeAlpha)
{
    const Image src = makeImage(3, 1, 1, IPL_DEPTH_1U, 0, 4, 1);
    for (const int32_t axis : {2, -2, INT32_MAX, INT32_MIN})
        expectReport(src.get(), src.get(), axis, "((flipAxis>1)||(flipAxis<-1))");
}

TEST(IplMirror, RefusesAlphaOfBits)
{
    const Image alpha = makeImage(3, 1, 1, IPL_DEPTH_1U, 0, 4, 1);
    const Image plain = makeImage(3, 1, 1, IPL_DEPTH_1U);
    expectReport(alpha.get(), alpha.get(), 0, "(srcImage->depth==1 && srcImage->alphaChannel!=0)");
    expectReport(plain.get(), alpha.get(), 0, "(dstImage->depth==1 && dstImage->alphaChannel!=0)");
}

TEST(IplMirror, RefusesDifferentNumbersOfChannels)
{
    const Image three = makeImage(3, 1, 3, IPL_DEPTH_8U);
    const Image four = makeImage(3, 1, 4, IPL_DEPTH_8U);
    const Image withAlpha = makeImage(3, 1, 4, IPL_DEPTH_8U, 0, 4, 4);
    expectReport(three.get(), four.get(), 0, "(nChannelsSrc != nChannelsDst)");
    expectReport(four.get(), withAlpha.get(), 0, "(nChannelsSrc != nChannelsDst)");
    setRoi(three.get(), 1, 0, 0, 3, 1);
    expectReport(three.get(), four.get(), 0, "(nChannelsSrc != nChannelsDst)");
}

TEST(IplMirror, ReturnsAtOnceAfterAReport)
{
    const ReportsReturn back;
    const Image src = imageOf({"abc"});
    const Image dst = imageOf({"..."});
    iplMirror(src.get(), dst.get(), 2);
    EXPECT_EQ(iplGetStatus(), -5);
    EXPECT_EQ(textOf(dst.get()), Rows{"..."});
}

TEST(IplMirror, EndsAtABadImageAndAtATileThatDoesNotCome)
{
    const ReportsReturn back;
    const Image src = makeImage(20, 20, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(20, 20, 1, IPL_DEPTH_8U);
    iplSet(src.get(), 200);
    dst->align = 5;
    iplMirror(src.get(), dst.get(), 0);
    EXPECT_EQ(iplGetStatus(), -21);
    dst->align = 4;
    TiledTwin tiled(dst.get(), 8, 8);
    tiled.failFrom = 2;
    iplSetStatus(0);
    iplMirror(src.get(), tiled.get(), 0);
    EXPECT_EQ(iplGetStatus(), -2);
    // One piece was written, and no tile is asked for after the one that did not come.
    EXPECT_EQ(tiled.log.size(), 3u);
    tiled.collect(dst.get());
    EXPECT_EQ(element(dst.get(), 7, 7, 0), 200);
    EXPECT_EQ(element(dst.get(), 8, 0, 0), 0);
}

TEST(IplMirror, LeavesTilesInPlaceWithoutMemoryForACopy)
{
    const ReportsReturn back;
    const Image image = makeImage(20, 20, 1, IPL_DEPTH_8U);
    TiledTwin tiled(image.get(), 8, 8);
    {
        const FailingAllocation failing(0);
        iplMirror(tiled.get(), tiled.get(), 0);
    }
    EXPECT_EQ(iplGetStatus(), -4);
    EXPECT_TRUE(tiled.log.empty());
}

TEST(IplMirror, ReportsThatMemoryRunsOut)
{
    const ReportsReturn back;
    const Image src = makeImage(9, 4, 4, IPL_DEPTH_8U, 0, 4, 4);
    const Image dst = makeImage(9, 4, 4, IPL_DEPTH_8U, 0, 4, 4);
    Random random(80);
    randomise(src.get(), random);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    {
        const FailingAllocation failing(0);
        iplMirror(src.get(), dst.get(), 1);
    }
    EXPECT_EQ(iplGetStatus(), -4);
    giveRandomMask(src.get(), 9, 4, random);
    for (int allocation = 0; allocation < 3; ++allocation) {
        iplSetStatus(0);
        const FailingAllocation failing(allocation);
        iplMirror(src.get(), dst.get(), 1);
        EXPECT_EQ(iplGetStatus(), -4);
    }
    EXPECT_EQ(bytesOf(dst.get()), before);
}
