#include "_Src/ipl.h"

#include "tests/support/failing_allocation.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/regions.h"
#include "tests/support/report.h"
#include "tests/support/tiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

namespace
{

constexpr uint32_t integerDepths[] = {IPL_DEPTH_1U,  IPL_DEPTH_8U,  IPL_DEPTH_8S,
                                      IPL_DEPTH_16U, IPL_DEPTH_16S, IPL_DEPTH_32S};

// --- The plain forms ------------------------------------------------------------------

bool isAlphaAlone(const IplImage* image)
{
    return !image->roi && image->alphaChannel != 0 && image->nChannels == 1;
}

void plainSet(IplImage* image, int32_t value)
{
    Area size = areaOf(image);
    const Area area = size;
    shrinkTo(&size, image->maskROI);
    if (isAlphaAlone(image))
        return;
    for (int32_t y = 0; y < size.height; ++y)
        for (int32_t x = 0; x < size.width; ++x)
            if (maskLets(image->maskROI, x, y))
                for (const int32_t c : channelsOf(image))
                    putElement(image, area.x + x, area.y + y, c, saturated(image->depth, value));
}

// Copies one element, whatever its bits mean.
void copyElement(IplImage* dst, int32_t dstX, int32_t dstY, int32_t dstC, const IplImage* src,
                 int32_t srcX, int32_t srcY, int32_t srcC)
{
    if (src->depth == IPL_DEPTH_1U) {
        putElement(dst, dstX, dstY, 0, element(src, srcX, srcY, 0));
        return;
    }
    const auto place = [](const IplImage* image, int32_t x, int32_t y, int32_t c) {
        const int32_t bytes = static_cast<int32_t>(image->depth & IPL_DEPTH_MASK) / 8;
        if (image->dataOrder == IPL_DATA_ORDER_PLANE)
            return rowOf(image, y + c * image->height) + x * bytes;
        return rowOf(image, y) + (x * image->nChannels + c) * bytes;
    };
    std::memcpy(place(dst, dstX, dstY, dstC), place(src, srcX, srcY, srcC),
                (src->depth & IPL_DEPTH_MASK) / 8);
}

void plainCopy(const IplImage* src, IplImage* dst)
{
    const Area from = areaOf(src);
    const Area to = areaOf(dst);
    Area size = from;
    for (const IplImage* other :
         {static_cast<const IplImage*>(dst), static_cast<const IplImage*>(src->maskROI),
          static_cast<const IplImage*>(dst->maskROI)})
        shrinkTo(&size, other);
    if (isAlphaAlone(src) || isAlphaAlone(dst))
        return;
    const std::vector<int32_t> srcChannels = channelsOf(src);
    const std::vector<int32_t> dstChannels = channelsOf(dst);
    for (int32_t y = 0; y < size.height; ++y)
        for (int32_t x = 0; x < size.width; ++x)
            if (maskLets(src->maskROI, x, y) && maskLets(dst->maskROI, x, y))
                for (size_t c = 0; c < srcChannels.size(); ++c)
                    copyElement(dst, to.x + x, to.y + y, dstChannels[c], src, from.x + x,
                                from.y + y, srcChannels[c]);
}

void expectPlainCopy(IplImage* src, IplImage* dst)
{
    const Twin expected(dst);
    plainCopy(src, expected.get());
    const std::vector<uint8_t> source = bytesOf(src);
    iplCopy(src, dst);
    ASSERT_EQ(bytesOf(dst), bytesOf(expected.get())) << describe(src) << " -> " << describe(dst);
    ASSERT_EQ(bytesOf(src), source);
}

// --- Random images --------------------------------------------------------------------

struct FillShape {
    uint32_t depth;
    int32_t nChannels;
    int32_t dataOrder;
    int32_t alphaChannel; // 0 or nChannels
};

Image randomFilled(const FillShape& shape, Random& random)
{
    const int32_t align = 4 << random.between(0, 3);
    Image image = makeImage(random.between(1, 30), random.between(1, 12), shape.nChannels,
                            shape.depth, shape.dataOrder, align, shape.alphaChannel);
    random.fill(image->imageData, static_cast<size_t>(image->imageSize));
    return image;
}

FillShape randomShape(uint32_t depth, Random& random)
{
    FillShape shape{depth, 1, random.between(0, 1), 0};
    if (depth != IPL_DEPTH_1U) {
        shape.nChannels = random.between(1, 5);
        shape.alphaChannel = random.between(0, 3) == 0 ? shape.nChannels : 0;
    }
    return shape;
}

int32_t randomCoi(const IplImage* image, Random& random)
{
    return random.coin() ? 0 : random.between(1, image->nChannels);
}

int32_t fillValue(Random& random)
{
    constexpr int32_t values[] = {INT_MIN, -40000, -129, -128, -1,    0,     1,      2,
                                  127,     128,    255,  300,  32768, 65535, 100000, INT_MAX};
    return random.coin() ? values[random.between(0, 15)] : random.between(-300, 300);
}

} // namespace

// --- iplSet ------------------------------------------------------------------------------

TEST(IplSet, RefusesABadImage)
{
    EXPECT_REPORT(iplSet(nullptr, 0), -9, "iplSet", "Incorrect Image", "iplsce");
    const Image image = makeImage(3, 3, 1, IPL_DEPTH_8U);
    image->origin = 2;
    EXPECT_REPORT(iplSet(image.get(), 0), -20, "iplSet", "Incorrect Image", "iplsce");
}

TEST(IplSet, RefusesFloatImages)
{
    const Image image = makeImage(3, 3, 1, IPL_DEPTH_32F);
    EXPECT_REPORT(iplSet(image.get(), 0), -17, "iplSet", "You should use iplSetFP for this image",
                  "iplsce");
}

TEST(IplSet, WritesNothingBeforeARefusal)
{
    const Image image = makeImage(3, 3, 1, IPL_DEPTH_32F);
    const std::vector<uint8_t> before = bytesOf(image.get());
    const RecordedReports reports;
    iplSet(image.get(), 7);
    EXPECT_EQ(reports.all().size(), 1u);
    EXPECT_EQ(iplGetStatus(), -17);
    EXPECT_EQ(bytesOf(image.get()), before);
}

TEST(IplSet, ClampsTheValueToTheDepth)
{
    const auto stored = [](uint32_t depth, int32_t value) {
        const Image image = makeImage(3, 3, 1, depth);
        iplSet(image.get(), value);
        return element(image.get(), 2, 2, 0);
    };
    EXPECT_EQ(stored(IPL_DEPTH_8U, 300), 255);
    EXPECT_EQ(stored(IPL_DEPTH_8U, -1), 0);
    EXPECT_EQ(stored(IPL_DEPTH_1U, 2), 1);
    EXPECT_EQ(stored(IPL_DEPTH_1U, -1), 0);
    EXPECT_EQ(stored(IPL_DEPTH_8S, 200), 127);
    EXPECT_EQ(stored(IPL_DEPTH_8S, -200), -128);
    EXPECT_EQ(stored(IPL_DEPTH_16U, 70000), 65535);
    EXPECT_EQ(stored(IPL_DEPTH_16S, -70000), -32768);
    EXPECT_EQ(stored(IPL_DEPTH_32S, INT_MIN), INT_MIN);
    // Opaque black as a signed value is negative.
    EXPECT_EQ(stored(IPL_DEPTH_8U, static_cast<int32_t>(0xFF000000u)), 0);
    EXPECT_EQ(stored(IPL_DEPTH_1U, static_cast<int32_t>(0xFF000000u)), 0);
}

TEST(IplSet, GivesThePlainResultForRandomImages)
{
    forEachLevel([] {
        Random random(21);
        for (int round = 0; round < 2000; ++round) {
            const uint32_t depth = integerDepths[random.between(0, 5)];
            const Image image = randomFilled(randomShape(depth, random), random);
            if (random.coin())
                giveRandomRoi(image.get(), randomCoi(image.get(), random), random);
            if (random.coin())
                giveMaskAtOddOffset(image.get(), random);
            const int32_t value = fillValue(random);
            const Twin expected(image.get());
            plainSet(expected.get(), value);
            iplSet(image.get(), value);
            ASSERT_EQ(bytesOf(image.get()), bytesOf(expected.get()))
                << describe(image.get()) << " value " << value;
        }
    });
}

TEST(IplSet, KeepsTheAlphaChannel)
{
    const Image image = makeImage(3, 2, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4);
    iplSet(image.get(), 9);
    for (int32_t c = 0; c < 4; ++c)
        EXPECT_EQ(element(image.get(), 1, 1, c), c == 3 ? 0 : 9);
    setRoi(image.get(), 4, 0, 0, 3, 2);
    iplSet(image.get(), 7);
    EXPECT_EQ(element(image.get(), 1, 1, 3), 7);
}

TEST(IplSet, DoesNothingSilentlyForARegionOutsideTheImage)
{
    const Image image = makeImage(3, 2, 1, IPL_DEPTH_8U);
    setRoi(image.get(), 0, 3, 0, 3, 2);
    iplSet(image.get(), 9);
    giveRandomMask(image.get(), 3, 2, *std::make_unique<Random>(1));
    setRoi(image.get(), 0, 0, 0, 3, 2);
    setRoi(image->maskROI, 0, 0, 2, 3, 2);
    iplSet(image.get(), 9);
    EXPECT_EQ(bytesOf(image.get()), std::vector<uint8_t>(8, 0));
}

TEST(IplSet, LooksAtAnOldFailureAtDepthOneUnderAMaskAlone)
{
    const CleanStatus clean;
    Random random(22);
    const Image gray = makeImage(9, 3, 1, IPL_DEPTH_8U);
    const Image bits = makeImage(9, 3, 1, IPL_DEPTH_1U);
    giveRandomMask(gray.get(), 9, 3, random);
    EXPECT_EQ(iplCheckImage(nullptr), -9);
    iplSet(gray.get(), 1);
    iplSet(bits.get(), 1);
    EXPECT_EQ(element(bits.get(), 8, 2, 0), 1);
    EXPECT_EQ(iplGetStatus(), -9);
    giveRandomMask(bits.get(), 9, 3, random);
    EXPECT_REPORT(iplSet(bits.get(), 0), -1, "iplSet", "", "iplsce");
    EXPECT_REPORT(iplSet(bits.get(), 1), -1, "iplSet", "", "iplsce");
}

TEST(IplSet, LeavesTheMaskAsItWasAndOnTheRecord)
{
    Random random(23);
    for (const int32_t value : {0, 1}) {
        const Image image = randomFilled({IPL_DEPTH_1U, 1, 0, 0}, random);
        const IplImage* mask = giveRandomMask(image.get(), 40, 14, random);
        const std::vector<uint8_t> before = bytesOf(mask);
        iplSet(image.get(), value);
        EXPECT_EQ(image->maskROI, mask);
        EXPECT_EQ(bytesOf(mask), before);
    }
}

TEST(IplSet, LeavesBitsUnderAMaskToLogic)
{
    Random random(25);
    // Alpha alone has no channels, and the mask has one.
    const Image alpha = makeImage(9, 3, 1, IPL_DEPTH_1U, 0, 4, 1);
    giveRandomMask(alpha.get(), 9, 3, random);
    EXPECT_REPORT(iplSet(alpha.get(), 1), -5, "iplOr", "(nChSrcB != nChDst)", "iplor");
    EXPECT_REPORT(iplSet(alpha.get(), 0), -5, "iplAnd", "(nChSrcB != nChDst)", "ipland");
}

TEST(IplSet, FillsTiledImagesAsUntiledOnes)
{
    Random random(24);
    for (int round = 0; round < 600; ++round) {
        const uint32_t depth = integerDepths[random.between(0, 5)];
        const Image image = randomFilled(randomShape(depth, random), random);
        if (random.coin())
            giveRandomRoi(image.get(), randomCoi(image.get(), random), random);
        if (random.coin())
            giveMaskAtOddOffset(image.get(), random);
        const int32_t value = fillValue(random);
        TiledTwin tiled(image.get(), 8 * random.between(1, 3), 8 * random.between(1, 2));
        const Twin result(image.get());
        iplSet(tiled.get(), value);
        tiled.collect(result.get());
        iplSet(image.get(), value);
        ASSERT_EQ(bytesOf(result.get()), bytesOf(image.get())) << describe(image.get());
    }
}

TEST(IplSet, FetchesEachTileForWritingAndReleasesIt)
{
    const Image image = makeImage(20, 20, 3, IPL_DEPTH_8U);
    TiledImage tiled(image.get(), 8, 16);
    setRoi(tiled.get(), 0, 6, 15, 12, 2);
    iplSet(tiled.get(), 5);
    EXPECT_EQ(tiled.log, fetches(toWrite, {{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}}));
}

TEST(IplSet, EndsAtATileThatDoesNotCome)
{
    const Image image = makeImage(20, 9, 1, IPL_DEPTH_8U);
    TiledImage tiled(image.get(), 8, 8);
    tiled.failFrom = 2;
    EXPECT_REPORT(iplSet(tiled.get(), 5), -2, "iplSet", "Error get tile to write", "iplsce");
    const RecordedReports reports;
    iplSet(tiled.get(), 5);
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{{-2, "iplSet", "Error get tile to write", "iplsce"}}));
    // The first tile is filled; the second is neither released nor gone past.
    EXPECT_EQ(tiled.log, (std::vector<TileCall>{{0, 0, 2}, {0, 0, 4}, {1, 0, 2}}));
    tiled.collect(image.get());
    EXPECT_EQ(element(image.get(), 7, 7, 0), 5);
    EXPECT_EQ(element(image.get(), 8, 0, 0), 0);
    EXPECT_EQ(element(image.get(), 0, 8, 0), 0);
}

// --- iplCopy -----------------------------------------------------------------------------

TEST(IplCopy, RefusesBadImages)
{
    const Image good = makeImage(3, 3, 1, IPL_DEPTH_8U);
    const Image bad = makeImage(3, 3, 1, IPL_DEPTH_8U);
    bad->align = 5;
    EXPECT_REPORT(iplCopy(nullptr, nullptr), -9, "iplCopy", "Incorrect Image", "iplsce");
    EXPECT_REPORT(iplCopy(bad.get(), nullptr), -21, "iplCopy", "Incorrect Image", "iplsce");
    EXPECT_REPORT(iplCopy(good.get(), bad.get()), -21, "iplCopy", "Incorrect Image", "iplsce");
    // The same bad record is refused before it is found to be the same.
    EXPECT_REPORT(iplCopy(bad.get(), bad.get()), -21, "iplCopy", "Incorrect Image", "iplsce");
}

TEST(IplCopy, EndsAtABadImage)
{
    const Image good = makeImage(3, 3, 1, IPL_DEPTH_8U);
    const Image bad = makeImage(3, 3, 1, IPL_DEPTH_16U);
    iplSet(good.get(), 200);
    bad->align = 5;
    const RecordedReports reports;
    iplCopy(good.get(), bad.get());
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-21, "iplCopy", "Incorrect Image", "iplsce"}}));
    EXPECT_EQ(bytesOf(bad.get()), std::vector<uint8_t>(24, 0));
}

TEST(IplCopy, RefusesImagesThatDoNotMatch)
{
    const Image a = makeImage(3, 3, 3, IPL_DEPTH_8U);
    const Image depth = makeImage(3, 3, 3, IPL_DEPTH_8S, IPL_DATA_ORDER_PLANE, 4, 0, IPL_ORIGIN_BL);
    EXPECT_REPORT(iplCopy(a.get(), depth.get()), -5, "iplCopy",
                  "srcImage->depth != dstImage->depth", "iplsce");
    depth->depth = IPL_DEPTH_8U;
    EXPECT_REPORT(iplCopy(a.get(), depth.get()), -5, "iplCopy",
                  "srcImage->origin != dstImage->origin", "iplsce");
    depth->origin = IPL_ORIGIN_TL;
    EXPECT_REPORT(iplCopy(a.get(), depth.get()), -5, "iplCopy",
                  "srcImage->dataOrder != dstImage->dataOrder", "iplsce");
    const Image one = makeImage(3, 3, 1, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    EXPECT_REPORT(iplCopy(a.get(), one.get()), -5, "iplCopy",
                  "srcImage->dataOrder != dstImage->dataOrder", "iplsce");
}

TEST(IplCopy, RefusesDifferingCountsOfChannels)
{
    const char* text =
        "Number of processed channels of srcImage != Number of processed channels of dstImage";
    const Image three = makeImage(3, 3, 3, IPL_DEPTH_8U);
    const Image one = makeImage(3, 3, 1, IPL_DEPTH_8U);
    const Image alpha = makeImage(3, 3, 3, IPL_DEPTH_8U, 0, 4, 3);
    EXPECT_REPORT(iplCopy(three.get(), one.get()), -5, "iplCopy", text, "iplsce");
    EXPECT_REPORT(iplCopy(three.get(), alpha.get()), -5, "iplCopy", text, "iplsce");
}

TEST(IplCopy, ReturnsForEmptyRegionsAndAlphaAloneBeforeItCountsChannels)
{
    const CleanStatus clean;
    const Image three = makeImage(3, 3, 3, IPL_DEPTH_8U);
    const Image alphaAlone = makeImage(3, 3, 1, IPL_DEPTH_8U, 0, 4, 1);
    iplCopy(three.get(), alphaAlone.get());
    iplCopy(alphaAlone.get(), three.get());
    const Image one = makeImage(3, 3, 1, IPL_DEPTH_8U);
    setRoi(one.get(), 0, 3, 0, 1, 1);
    iplCopy(three.get(), one.get());
    iplCopy(one.get(), three.get());
    EXPECT_EQ(iplGetStatus(), 0);
}

TEST(IplCopy, DoesNothingWhenAnEarlierCheckFailed)
{
    const CleanStatus clean;
    Random random(31);
    const Image src = randomFilled({IPL_DEPTH_8U, 3, 0, 0}, random);
    const Image dst = randomFilled({IPL_DEPTH_8U, 3, 0, 0}, random);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    EXPECT_EQ(iplCheckImage(nullptr), -9);
    iplCopy(src.get(), dst.get());
    EXPECT_EQ(bytesOf(dst.get()), before);
    EXPECT_EQ(iplGetStatus(), -9);
    // Not even different channel counts are reported then, but a depth is.
    const Image one = makeImage(3, 3, 1, IPL_DEPTH_8U);
    iplCopy(src.get(), one.get());
    const Image deep = makeImage(3, 3, 1, IPL_DEPTH_16U);
    EXPECT_REPORT(iplCopy(one.get(), deep.get()), -5, "iplCopy",
                  "srcImage->depth != dstImage->depth", "iplsce");
}

TEST(IplCopy, OntoItselfDoesNothing)
{
    Random random(32);
    const Image image = randomFilled({IPL_DEPTH_8U, 3, 0, 0}, random);
    const std::vector<uint8_t> before = bytesOf(image.get());
    iplCopy(image.get(), image.get());
    EXPECT_EQ(bytesOf(image.get()), before);
}

TEST(IplCopy, MovesTheChannelOfInterestIntoAOneChannelImage)
{
    Random random(33);
    const Image src = makeImage(11, 4, 3, IPL_DEPTH_8U);
    randomise(src.get(), random);
    const Image dst = makeImage(11, 4, 1, IPL_DEPTH_8U);
    setRoi(src.get(), 2, 0, 0, 11, 4);
    iplCopy(src.get(), dst.get());
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 11; ++x)
            EXPECT_EQ(element(dst.get(), x, y, 0), element(src.get(), x, y, 1));
}

TEST(IplCopy, TakesDifferingOrdersOfOneChannelEach)
{
    Random random(34);
    for (const uint32_t depth : allDepths) {
        for (const int32_t order : {0, 1}) {
            const Image src = randomFilled({depth, 1, order, 0}, random);
            const Image dst = randomFilled({depth, 1, 1 - order, 0}, random);
            expectPlainCopy(src.get(), dst.get());
        }
    }
}

TEST(IplCopy, LeavesBitsAroundARegionAtOddOffsets)
{
    Random random(35);
    for (int32_t srcX = 0; srcX < 9; ++srcX) {
        for (int32_t dstX = 0; dstX < 9; ++dstX) {
            for (const int32_t width : {1, 5, 8, 17, 30}) {
                const Image src = makeImage(40, 2, 1, IPL_DEPTH_1U);
                const Image dst = makeImage(40, 2, 1, IPL_DEPTH_1U);
                randomise(src.get(), random);
                randomise(dst.get(), random);
                setRoi(src.get(), 0, srcX, 0, width, 2);
                setRoi(dst.get(), 0, dstX, 0, 31, 2);
                ASSERT_NO_FATAL_FAILURE(expectPlainCopy(src.get(), dst.get()));
            }
        }
    }
}

namespace
{

struct Pair {
    Image src;
    Image dst;
};

// Two images that iplCopy accepts, with whatever regions and masks chance gives.
Pair randomPair(Random& random)
{
    const uint32_t depth = allDepths[random.between(0, 6)];
    const FillShape shape = randomShape(depth, random);
    Pair pair{randomFilled(shape, random), nullptr};
    FillShape other = shape;
    const int32_t coi = randomCoi(pair.src.get(), random);
    // One channel on each side, or as many as the other has.
    if (coi > 0 && depth != IPL_DEPTH_1U)
        other.nChannels = random.between(1, 5);
    other.alphaChannel = shape.alphaChannel != 0 ? other.nChannels : 0;
    if (coi > 0 && random.coin())
        other.alphaChannel = 0;
    pair.dst = randomFilled(other, random);
    if (coi > 0)
        giveRandomRoi(pair.dst.get(), random.between(1, other.nChannels), random);
    else if (random.coin())
        giveRandomRoi(pair.dst.get(), 0, random);
    if (coi > 0 || random.coin())
        giveRandomRoi(pair.src.get(), coi, random);
    if (random.between(0, 2) == 0)
        giveMaskAtOddOffset(pair.src.get(), random);
    if (random.between(0, 2) == 0)
        giveMaskAtOddOffset(pair.dst.get(), random);
    return pair;
}

} // namespace

TEST(IplCopy, GivesThePlainResultForRandomPairs)
{
    forEachLevel([] {
        const CleanStatus clean;
        Random random(36);
        for (int round = 0; round < 4000; ++round) {
            const Pair pair = randomPair(random);
            ASSERT_NO_FATAL_FAILURE(expectPlainCopy(pair.src.get(), pair.dst.get()));
        }
    });
}

TEST(IplCopy, TakesOneMaskThatBothImagesShare)
{
    Random random(37);
    for (const uint32_t depth : {IPL_DEPTH_1U, IPL_DEPTH_8U}) {
        const Image src = makeImage(20, 6, 1, depth);
        const Image dst = makeImage(20, 6, 1, depth);
        randomise(src.get(), random);
        randomise(dst.get(), random);
        dst->maskROI = giveRandomMask(src.get(), 20, 6, random);
        expectPlainCopy(src.get(), dst.get());
        EXPECT_EQ(dst->maskROI, src->maskROI);
        dst->maskROI = nullptr;
    }
}

TEST(IplCopy, ReadsTheSourcesMaskBeforeItWritesIt)
{
    // The destination itself is the source's mask.
    Random random(39);
    const Image src = makeImage(21, 4, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(21, 4, 1, IPL_DEPTH_1U);
    randomise(src.get(), random);
    randomise(dst.get(), random);
    const Twin before(dst.get());
    src->maskROI = dst.get();
    iplCopy(src.get(), dst.get());
    EXPECT_EQ(src->maskROI, dst.get());
    src->maskROI = nullptr;
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 21; ++x)
            ASSERT_EQ(element(dst.get(), x, y, 0),
                      element(before.get(), x, y, 0) != 0 ? element(src.get(), x, y, 0) : 0);
}

TEST(IplCopy, CopiesBitsUnderAMaskOfAnotherOriginWithoutTheMasksOwn)
{
    Random random(44);
    for (const bool onSource : {false, true}) {
        const Image src = makeImage(21, 6, 1, IPL_DEPTH_1U);
        const Image dst = makeImage(21, 6, 1, IPL_DEPTH_1U);
        randomise(src.get(), random);
        randomise(dst.get(), random);
        IplImage* const mask = giveRandomMask(onSource ? src.get() : dst.get(), 21, 6, random);
        mask->origin = IPL_ORIGIN_BL;
        IplImage* const inner = giveRandomMask(mask, 21, 6, random);
        inner->origin = IPL_ORIGIN_BL;
        const RecordedReports reports;
        expectPlainCopy(src.get(), dst.get());
        EXPECT_EQ(reports.all(), std::vector<Report>{});
        EXPECT_EQ(mask->maskROI, inner);
        iplDeallocate(inner, IPL_IMAGE_ALL);
        mask->maskROI = nullptr;
    }
}

TEST(IplCopy, TakesTwoMasksOfAnotherOrigin)
{
    Random random(45);
    for (const uint32_t depth : {IPL_DEPTH_1U, IPL_DEPTH_8U}) {
        const Image src = makeImage(21, 6, 1, depth);
        const Image dst = makeImage(21, 6, 1, depth);
        randomise(src.get(), random);
        randomise(dst.get(), random);
        giveRandomMask(src.get(), 21, 6, random)->origin = IPL_ORIGIN_BL;
        giveRandomMask(dst.get(), 21, 6, random);
        const RecordedReports reports;
        expectPlainCopy(src.get(), dst.get());
        EXPECT_EQ(reports.all(), std::vector<Report>{});
    }
}

TEST(IplCopy, LeavesTwoMasksToLogic)
{
    Random random(40);
    const Image src = makeImage(9, 3, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(9, 3, 1, IPL_DEPTH_8U);
    giveRandomMask(src.get(), 9, 3, random);
    giveRandomMask(dst.get(), 9, 3, random);
    // A mask that is alpha alone has no channels for it; one mask is only read.
    dst->maskROI->alphaChannel = 1;
    EXPECT_REPORT(iplCopy(src.get(), dst.get()), -5, "iplAnd", "(nChSrcB != nChDst)", "ipland");
    src->maskROI->alphaChannel = 1;
    EXPECT_REPORT(iplCopy(src.get(), dst.get()), -5, "iplAnd", "(nChSrcA != nChDst)", "ipland");
    iplDeallocate(dst->maskROI, IPL_IMAGE_ALL);
    dst->maskROI = nullptr;
    randomise(src.get(), random);
    expectPlainCopy(src.get(), dst.get());
}

TEST(IplCopy, PassesARefusalOfLogicOnAsABackTrace)
{
    Random random(43);
    const Image src = makeImage(9, 3, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(9, 3, 1, IPL_DEPTH_1U, 0, 4, 1);
    giveRandomMask(src.get(), 9, 3, random);
    EXPECT_REPORT(iplCopy(src.get(), dst.get()), -5, "iplAnd", "(nChSrcB != nChDst)", "ipland");
    const RecordedReports reports;
    iplCopy(src.get(), dst.get());
    ASSERT_FALSE(reports.all().empty());
    EXPECT_EQ(reports.all().back(), (Report{-1, "iplCopy", "", "iplsce"}));
}

TEST(IplCopy, TakesTheMaskOfOneOfTwoMasksAsAThird)
{
    Random random(42);
    const Image src = makeImage(9, 3, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(9, 3, 1, IPL_DEPTH_8U);
    randomise(src.get(), random);
    giveRandomMask(src.get(), 9, 3, random);
    const Image inner = makeImage(9, 3, 1, IPL_DEPTH_1U);
    randomise(inner.get(), random);
    giveRandomMask(dst.get(), 9, 3, random)->maskROI = inner.get();
    const Twin before(dst.get());
    const Twin expected(dst.get());
    plainCopy(src.get(), expected.get());
    iplCopy(src.get(), dst.get());
    dst->maskROI->maskROI = nullptr;
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 9; ++x)
            EXPECT_EQ(
                element(dst.get(), x, y, 0),
                element(maskLets(inner.get(), x, y) ? expected.get() : before.get(), x, y, 0));
}

TEST(IplCopy, LeavesTheDestinationWhenMemoryForItsMaskRunsOut)
{
    Random random(41);
    for (const uint32_t depth : {IPL_DEPTH_1U, IPL_DEPTH_8U}) {
        const Image src = makeImage(9, 3, 1, depth);
        const Image dst = makeImage(9, 3, 1, depth);
        randomise(src.get(), random);
        const IplImage* const srcMask = giveRandomMask(src.get(), 9, 3, random);
        const IplImage* const dstMask = giveRandomMask(dst.get(), 9, 3, random);
        const std::vector<uint8_t> before = bytesOf(dst.get());
        // The header and the pixels of the masks' product.
        for (const int32_t allocation : {0, 1}) {
            const RecordedReports reports;
            {
                const FailingAllocation failing(allocation);
                iplCopy(src.get(), dst.get());
            }
            EXPECT_EQ(reports.all().size(), 1u);
            EXPECT_EQ(bytesOf(dst.get()), before);
            EXPECT_EQ(src->maskROI, srcMask);
            EXPECT_EQ(dst->maskROI, dstMask);
        }
    }
}

TEST(IplCopy, CopiesTiledImagesAsUntiledOnes)
{
    const CleanStatus clean;
    Random random(38);
    for (int round = 0; round < 1500; ++round) {
        Pair pair = randomPair(random);
        const int which = random.between(1, 3); // source, destination, both
        const auto tileSide = [&] { return 8 * random.between(1, 3); };
        TiledTwin tiledSrc(pair.src.get(), tileSide(), tileSide());
        TiledTwin tiledDst(pair.dst.get(), tileSide(), tileSide());
        const Twin result(pair.dst.get());
        IplImage* src = which & 1 ? tiledSrc.get() : pair.src.get();
        IplImage* dst = which & 2 ? tiledDst.get() : result.get();
        iplCopy(src, dst);
        if (which & 2)
            tiledDst.collect(result.get());
        iplCopy(pair.src.get(), pair.dst.get());
        ASSERT_EQ(bytesOf(result.get()), bytesOf(pair.dst.get()))
            << which << ": " << describe(pair.src.get()) << " -> " << describe(pair.dst.get());
    }
}

TEST(IplCopy, FetchesTheTilesOfTheSourceForReading)
{
    const Image plain = makeImage(20, 20, 1, IPL_DEPTH_8U);
    TiledImage src(plain.get(), 8, 8);
    setRoi(src.get(), 0, 7, 6, 5, 4);
    iplCopy(src.get(), plain.get());
    EXPECT_EQ(src.log, fetches(toRead, {{0, 0}, {1, 0}, {0, 1}, {1, 1}}));
}

TEST(IplCopy, CutsAtTheTilesOfTheDestinationFirst)
{
    const Image plain = makeImage(16, 8, 1, IPL_DEPTH_8U);
    TiledImage src(plain.get(), 8, 8);
    TiledImage dst(plain.get(), 16, 8);
    setRoi(src.get(), 0, 4, 0, 8, 8);
    iplCopy(src.get(), dst.get());
    EXPECT_EQ(dst.log, fetches(toWrite, {{0, 0}}));
    EXPECT_EQ(src.log, fetches(toRead, {{0, 0}, {1, 0}}));
}

TEST(IplCopy, EndsAtATileThatDoesNotCome)
{
    const Image plain = makeImage(20, 9, 1, IPL_DEPTH_8U);
    TiledImage tiled(plain.get(), 8, 8);
    tiled.failFrom = 2;
    EXPECT_REPORT(iplCopy(tiled.get(), plain.get()), -2, "iplCopy", "Error get tile to read",
                  "iplsce");
    EXPECT_REPORT(iplCopy(plain.get(), tiled.get()), -2, "iplCopy", "Error get tile to write",
                  "iplsce");
    const RecordedReports reports;
    iplCopy(plain.get(), tiled.get());
    EXPECT_EQ(tiled.log, (std::vector<TileCall>{{0, 0, 2}, {0, 0, 4}, {1, 0, 2}}));
    EXPECT_EQ(reports.all().size(), 1u);
}
