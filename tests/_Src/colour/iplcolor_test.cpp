#include "_Src/ipl.h"

#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"
#include "tests/support/tiles.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

constexpr uint32_t srcDepths[] = {IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32S};
constexpr uint32_t grayDepths[] = {IPL_DEPTH_16U, IPL_DEPTH_8U, IPL_DEPTH_1U};
constexpr int32_t orders[] = {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE};

void setSequence(IplImage* image, const char* sequence)
{
    std::memcpy(image->channelSeq, sequence, 4);
}

Image makeColours(int32_t width, int32_t height, uint32_t depth, int32_t channels = 3,
                  int32_t dataOrder = IPL_DATA_ORDER_PIXEL, const char* sequence = "BGR\0")
{
    Image image = makeImage(width, height, channels, depth, dataOrder);
    setSequence(image.get(), sequence);
    return image;
}

// What one pixel becomes.
double grayOf(uint32_t srcDepth, uint32_t dstDepth, double blue, double green, double red)
{
    const Image src = makeColours(1, 1, srcDepth);
    const Image dst = makeImage(1, 1, 1, dstDepth);
    putElement(src.get(), 0, 0, 0, blue);
    putElement(src.get(), 0, 0, 1, green);
    putElement(src.get(), 0, 0, 2, red);
    iplColorToGray(src.get(), dst.get());
    return element(dst.get(), 0, 0, 0);
}

double grayOf(uint32_t srcDepth, uint32_t dstDepth, double all)
{
    return grayOf(srcDepth, dstDepth, all, all, all);
}

// The table of pairs of depths.
int64_t plainGray(uint32_t srcDepth, uint32_t dstDepth, int64_t b, int64_t g, int64_t r)
{
    const int64_t sum = 18 * b + 183 * g + 54 * r;
    const auto wide = [&](int shift) {
        return 37 * (b >> shift) + 366 * (g >> shift) + 109 * (r >> shift);
    };
    if (srcDepth == IPL_DEPTH_8U)
        return dstDepth == IPL_DEPTH_8U    ? sum >> 8
               : dstDepth == IPL_DEPTH_16U ? sum
                                           : sum >> 8 > 127;
    if (srcDepth == IPL_DEPTH_16U)
        return dstDepth == IPL_DEPTH_8U    ? sum >> 16
               : dstDepth == IPL_DEPTH_16U ? sum >> 8
                                           : sum >> 8 > 32767;
    return dstDepth == IPL_DEPTH_8U    ? (wide(11) >> 21) & 0xFF
           : dstDepth == IPL_DEPTH_16U ? (wide(11) >> 13) & 0xFFFF
                                       : wide(10) > 0x1FFFFFFF;
}

// `expected` has dst's bytes before, and gets those after.
void convertPlainly(const IplImage* src, IplImage* expected)
{
    const bool redFirst = src->channelSeq[0] == 'R';
    for (int32_t y = 0; y < std::min(src->height, expected->height); ++y) {
        for (int32_t x = 0; x < std::min(src->width, expected->width); ++x) {
            const auto channel = [&](int32_t c) {
                return static_cast<int64_t>(element(src, x, y, c));
            };
            putElement(expected, x, y, 0,
                       static_cast<double>(plainGray(src->depth, expected->depth,
                                                     channel(redFirst ? 2 : 0), channel(1),
                                                     channel(redFirst ? 0 : 2))));
        }
    }
}

Image cloneOf(const IplImage* image)
{
    return Image(iplCloneImage(image));
}

// Calls work(src, dst) for all depths, orders and sequences, with random pixels.
template<class Work>
void forEachColourPair(Random& random, Work work)
{
    for (const uint32_t srcDepth : srcDepths) {
        for (const uint32_t dstDepth : grayDepths) {
            for (const int32_t order : orders) {
                for (const char* sequence : {"BGR\0", "RGB\0", "BGRA", "RGBA"}) {
                    const Image src = makeColours(random.between(1, 70), random.between(1, 6),
                                                  srcDepth, sequence[3] ? 4 : 3, order, sequence);
                    const Image dst = makeImage(random.between(1, 70), random.between(1, 6), 1,
                                                dstDepth, random.between(0, 1));
                    randomise(src.get(), random);
                    randomise(dst.get(), random);
                    ASSERT_NO_FATAL_FAILURE(work(src.get(), dst.get()))
                        << srcDepth << " to " << dstDepth << ", " << order << sequence;
                }
            }
        }
    }
}

#define EXPECT_GRAY_REFUSED(src, dst, text)                                                        \
    EXPECT_REPORT(iplColorToGray(src, dst), -5, "iplColorToGray", text, "owncolor")

} // namespace

// --- Refusals ------------------------------------------------------------------------------

TEST(IplColorToGray, RefusesBadRecords)
{
    const Image good = makeColours(2, 2, IPL_DEPTH_8U);
    const Image dst = makeImage(2, 2, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplColorToGray(nullptr, dst.get()), -9, "iplColorToGray", "Incorrect Image",
                  "iplcolor");
    EXPECT_REPORT(iplColorToGray(good.get(), nullptr), -9, "iplColorToGray", "Incorrect Image",
                  "iplcolor");
    const Image bad = makeColours(2, 2, IPL_DEPTH_8U);
    bad->align = 5;
    EXPECT_REPORT(iplColorToGray(bad.get(), nullptr), -21, "iplColorToGray", "Incorrect Image",
                  "iplcolor");
    iplDeallocateImage(good.get());
    EXPECT_REPORT(iplColorToGray(good.get(), dst.get()), -12, "iplColorToGray", "Incorrect Image",
                  "iplcolor");
}

TEST(IplColorToGray, EndsAtABadRecord)
{
    const Image good = makeColours(2, 2, IPL_DEPTH_8U);
    const Image bad = makeImage(2, 2, 1, IPL_DEPTH_8U);
    iplSet(good.get(), 200);
    bad->align = 5;
    const RecordedReports reports;
    iplColorToGray(good.get(), bad.get());
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{{-21, "iplColorToGray", "Incorrect Image", "iplcolor"}}));
    EXPECT_EQ(bytesOf(bad.get()), std::vector<uint8_t>(8, 0));
}

TEST(IplColorToGray, RefusesModelsAndSequences)
{
    const Image src = makeColours(2, 2, IPL_DEPTH_8U);
    const Image dst = makeImage(2, 2, 1, IPL_DEPTH_8U);
    EXPECT_GRAY_REFUSED(dst.get(), src.get(), "colorModel must be RGB instead of GRAY ");
    setSequence(src.get(), "GRBA");
    EXPECT_GRAY_REFUSED(src.get(), src.get(), "channelSeq must be RGB or BGR instead of GRBA ");
    setSequence(src.get(), "RGB\0");
    EXPECT_GRAY_REFUSED(src.get(), src.get(), "colorModel must be GRAY instead of RGB ");
    std::memcpy(dst->colorModel, "Grey", 4);
    EXPECT_GRAY_REFUSED(src.get(), dst.get(), "colorModel must be GRAY instead of Grey ");
    std::memcpy(dst->colorModel, "Gray", 4);
    setSequence(dst.get(), "YG\0\0");
    EXPECT_GRAY_REFUSED(src.get(), dst.get(), "channelSeq must be G instead of YG ");
}

TEST(IplColorToGray, RefusesSeveralChannelsInPixelsAndOtherOrigins)
{
    const Image src = makeColours(2, 2, IPL_DEPTH_8U);
    const Image dst = makeImage(2, 2, 2, IPL_DEPTH_8U);
    std::memcpy(dst->colorModel, "GRAY", 4);
    setSequence(dst.get(), "G   ");
    dst->origin = IPL_ORIGIN_BL;
    EXPECT_GRAY_REFUSED(src.get(), dst.get(),
                        "(dst-> dataOrder == IPL_DATA_ORDER_PIXEL) && (dst-> nChannels != 1)");
    dst->dataOrder = IPL_DATA_ORDER_PLANE;
    EXPECT_GRAY_REFUSED(src.get(), dst.get(), "src->origin != dst->origin");
}

TEST(IplColorToGray, RefusesOtherDepths)
{
    const auto isTold = [](uint32_t srcDepth, uint32_t dstDepth) {
        return std::count(std::begin(srcDepths), std::end(srcDepths), srcDepth) > 0 &&
               std::count(std::begin(grayDepths), std::end(grayDepths), dstDepth) > 0;
    };
    for (const uint32_t srcDepth : allDepths) {
        for (const uint32_t dstDepth : allDepths) {
            if (srcDepth == IPL_DEPTH_1U)
                continue; // has one channel alone
            const Image src = makeColours(2, 2, srcDepth);
            const Image dst = makeImage(2, 2, 1, dstDepth);
            const RecordedReports reports;
            iplColorToGray(src.get(), dst.get());
            const std::vector<Report> expected{
                {-5, "ownColorToGray", "Error in-out depth. 32S,16U,8U=> 16U,8U,1U are valid now",
                 "Ownctog"}};
            EXPECT_EQ(reports.all(), isTold(srcDepth, dstDepth) ? std::vector<Report>{} : expected);
        }
    }
}

TEST(IplColorToGray, ReportsAPairOfDepthsOnceForAllTiles)
{
    const Image src = makeColours(40, 40, IPL_DEPTH_8S);
    TiledImage tiled(src.get(), 8, 8);
    const Image dst = makeImage(40, 40, 1, IPL_DEPTH_8U);
    const RecordedReports reports;
    iplColorToGray(tiled.get(), dst.get());
    EXPECT_EQ(reports.all().size(), 1u);
}

// --- Values ---------------------------------------------------------------------------------

TEST(IplColorToGray, MakesWhiteOneLess)
{
    EXPECT_EQ(grayOf(IPL_DEPTH_8U, IPL_DEPTH_8U, 255), 254);
    EXPECT_EQ(grayOf(IPL_DEPTH_8U, IPL_DEPTH_16U, 255), 65025);
    EXPECT_EQ(grayOf(IPL_DEPTH_16U, IPL_DEPTH_16U, 65535), 65279);
    EXPECT_EQ(grayOf(IPL_DEPTH_16U, IPL_DEPTH_8U, 65535), 254);
    EXPECT_EQ(grayOf(IPL_DEPTH_32S, IPL_DEPTH_16U, 2147483647), 65535);
    EXPECT_EQ(grayOf(IPL_DEPTH_32S, IPL_DEPTH_8U, 2147483647), 255);
}

TEST(IplColorToGray, WeighsBlueGreenAndRed)
{
    EXPECT_EQ(grayOf(IPL_DEPTH_8U, IPL_DEPTH_16U, 1, 0, 0), 18);
    EXPECT_EQ(grayOf(IPL_DEPTH_8U, IPL_DEPTH_16U, 0, 1, 0), 183);
    EXPECT_EQ(grayOf(IPL_DEPTH_8U, IPL_DEPTH_16U, 0, 0, 1), 54);
    // 37 << 17, and so on, shifted by 13: what the low 11 bits hold is lost.
    EXPECT_EQ(grayOf(IPL_DEPTH_32S, IPL_DEPTH_16U, 1 << 28, 0, 0), 37 << 4);
    EXPECT_EQ(grayOf(IPL_DEPTH_32S, IPL_DEPTH_16U, 0, 1 << 28, 2047), 366 << 4);
    EXPECT_EQ(grayOf(IPL_DEPTH_32S, IPL_DEPTH_16U, 0, 2047, 1 << 28), 109 << 4);
}

TEST(IplColorToGray, SetsABitAboveTheMiddle)
{
    EXPECT_EQ(grayOf(IPL_DEPTH_16U, IPL_DEPTH_1U, 32896), 0); // 255 * 32896 >> 8 is 32767
    EXPECT_EQ(grayOf(IPL_DEPTH_16U, IPL_DEPTH_1U, 32897), 1);
    EXPECT_EQ(grayOf(IPL_DEPTH_8U, IPL_DEPTH_1U, 128), 0);
    EXPECT_EQ(grayOf(IPL_DEPTH_8U, IPL_DEPTH_1U, 129), 1);
    EXPECT_EQ(grayOf(IPL_DEPTH_32S, IPL_DEPTH_1U, (1 << 30) - 1), 0);
    EXPECT_EQ(grayOf(IPL_DEPTH_32S, IPL_DEPTH_1U, 1 << 30), 1);
    EXPECT_EQ(grayOf(IPL_DEPTH_32S, IPL_DEPTH_1U, -2147483648.0), 0);
}

TEST(IplColorToGray, ConvertsEveryPairOfDepthsOrdersAndSequences)
{
    forEachLevel([] {
        Random random(1);
        for (int round = 0; round < 6; ++round) {
            forEachColourPair(random, [](IplImage* src, IplImage* dst) {
                const Image expected = cloneOf(dst);
                convertPlainly(src, expected.get());
                iplColorToGray(src, dst);
                ASSERT_EQ(bytesOf(dst), bytesOf(expected.get()));
            });
        }
    });
}

TEST(IplColorToGray, WritesTheFirstOfSeveralPlanes)
{
    Random random(2);
    const Image src = makeColours(9, 3, IPL_DEPTH_8U);
    const Image dst = makeImage(9, 3, 2, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE);
    std::memcpy(dst->colorModel, "GRAY", 4);
    setSequence(dst.get(), "G   ");
    randomise(src.get(), random);
    randomise(dst.get(), random);
    const Image expected = cloneOf(dst.get());
    convertPlainly(src.get(), expected.get());
    iplColorToGray(src.get(), dst.get());
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
}

TEST(IplColorToGray, PassesRegionsByAndKeepsThem)
{
    Random random(3);
    const Image src = makeColours(20, 5, IPL_DEPTH_8U, 4, IPL_DATA_ORDER_PIXEL, "RGBA");
    const Image dst = makeImage(20, 5, 1, IPL_DEPTH_8U);
    randomise(src.get(), random);
    const Image expected = cloneOf(dst.get());
    convertPlainly(src.get(), expected.get());
    setRoi(src.get(), 2, 3, 1, 4, 2);
    setRoi(dst.get(), 0, 1, 1, 2, 2);
    iplColorToGray(src.get(), dst.get());
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
    EXPECT_EQ(src->roi->xOffset, 3);
    EXPECT_EQ(dst->roi->width, 2);
}

TEST(IplColorToGray, ReadsInsideARecordOfTooFewChannels)
{
    const Image src = makeImage(4, 1, 1, IPL_DEPTH_8U);
    std::memcpy(src->colorModel, "RGB", 4);
    setSequence(src.get(), "BGR\0");
    std::memset(src->imageData, 255, 4);
    const Image dst = makeImage(4, 1, 1, IPL_DEPTH_8U);
    iplColorToGray(src.get(), dst.get());
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(4, 254));
}

// --- Tiles -----------------------------------------------------------------------------------

TEST(IplColorToGray, ConvertsTilesAsWholeImages)
{
    Random random(4);
    forEachColourPair(random, [&](IplImage* src, IplImage* dst) {
        const Image expected = cloneOf(dst);
        convertPlainly(src, expected.get());
        TiledImage from(src, 24, 8);
        TiledImage to(dst, 16, 8);
        iplColorToGray(from.get(), to.get());
        const Image result = cloneOf(expected.get());
        to.collect(result.get());
        for (int32_t y = 0; y < dst->height; ++y)
            for (int32_t x = 0; x < dst->width; ++x)
                ASSERT_EQ(element(result.get(), x, y, 0), element(expected.get(), x, y, 0));
        iplColorToGray(from.get(), dst);
        ASSERT_EQ(bytesOf(dst), bytesOf(expected.get()));
    });
}

TEST(IplColorToGray, ReportsTilesThatDoNotCome)
{
    const Image src = makeColours(20, 20, IPL_DEPTH_8U);
    const Image dst = makeImage(20, 20, 1, IPL_DEPTH_8U);
    TiledImage tiled(src.get(), 8, 8);
    tiled.failFrom = 2;
    EXPECT_REPORT(iplColorToGray(tiled.get(), dst.get()), -2, "iplColorToGray",
                  "Error get tile to read", "iplcolor");
    TiledImage tiledDst(dst.get(), 8, 8);
    tiledDst.failFrom = 2;
    EXPECT_REPORT(iplColorToGray(src.get(), tiledDst.get()), -2, "iplColorToGray",
                  "Error get tile to write", "iplcolor");
}
