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

constexpr uint32_t dstDepths[] = {IPL_DEPTH_8U, IPL_DEPTH_8S, IPL_DEPTH_16U, IPL_DEPTH_16S,
                                  IPL_DEPTH_32S};

Image makeRandomBits(int32_t width, int32_t height, Random& random, int32_t origin = IPL_ORIGIN_TL)
{
    const int32_t order = random.coin() ? IPL_DATA_ORDER_PIXEL : IPL_DATA_ORDER_PLANE;
    Image bits = makeImage(width, height, 1, IPL_DEPTH_1U, order, 4, 0, origin);
    randomise(bits.get(), random);
    return bits;
}

// `expected` has dst's bytes before, and gets those after.
void expandPlainly(const IplImage* src, IplImage* expected, int32_t zero, int32_t one)
{
    const bool flips = src->origin != expected->origin;
    const int32_t channels = expected->nChannels - (expected->alphaChannel ? 1 : 0);
    for (int32_t y = 0; y < src->height; ++y)
        for (int32_t x = 0; x < src->width; ++x)
            for (int32_t c = 0; c < channels; ++c)
                putElement(expected, x, y, c,
                           element(src, x, flips ? src->height - 1 - y : y, 0) != 0 ? one : zero);
}

// Calls work(src, dst, zero, one) for all depths, channels, orders and origins.
template<class Work>
void forEachBitonalPair(Random& random, Work work)
{
    for (const uint32_t depth : dstDepths) {
        for (const int32_t channels : {1, 3, 4}) {
            for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
                for (const int32_t origin : {IPL_ORIGIN_TL, IPL_ORIGIN_BL}) {
                    const Image src = makeRandomBits(random.between(1, 90), random.between(1, 20),
                                                     random, random.between(0, 1));
                    const int32_t alpha = random.coin() ? channels : 0;
                    const Image dst = makeImage(src->width, src->height, channels, depth, order, 4,
                                                alpha, origin);
                    randomise(dst.get(), random);
                    const int32_t low = static_cast<int32_t>(lowOf(depth));
                    const int32_t high = static_cast<int32_t>(highOf(depth));
                    ASSERT_NO_FATAL_FAILURE(work(src.get(), dst.get(), random.between(low, high),
                                                 random.between(low, high)));
                }
            }
        }
    }
}

void expectNotExpanded(const IplImage* src, IplImage* dst, int32_t zero, int32_t one,
                       const std::string& text)
{
    EXPECT_REPORT(iplBitonalToGray(src, dst, zero, one), -5, "iplBitonalToGray", text,
                  "..\\_Src\\iplbitnl");
}

} // namespace

// --- Refusals -------------------------------------------------------------------------------

TEST(IplBitonalToGray, RefusesBadRecords)
{
    const Image bits = makeImage(2, 2, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(2, 2, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplBitonalToGray(nullptr, dst.get(), 0, 1), -9, "iplBitonalToGray",
                  "Incorrect Image", "..\\_Src\\iplbitnl");
    EXPECT_REPORT(iplBitonalToGray(bits.get(), nullptr, 0, 1), -9, "iplBitonalToGray",
                  "Incorrect Image", "..\\_Src\\iplbitnl");
}

TEST(IplBitonalToGray, RefusesSizesChannelsAndDepthsInTheirOrder)
{
    const Image bits = makeImage(2, 2, 1, IPL_DEPTH_1U);
    const auto dst = [](int32_t width, int32_t height, uint32_t depth) {
        return makeImage(width, height, 1, depth);
    };
    expectNotExpanded(bits.get(), dst(3, 3, IPL_DEPTH_8U).get(), 0, 1,
                      "(srcImage->height != dstImage->height)");
    expectNotExpanded(bits.get(), dst(3, 2, IPL_DEPTH_8U).get(), 0, 1,
                      "(srcImage->width != dstImage->width)");
    expectNotExpanded(makeImage(2, 2, 3, IPL_DEPTH_8U).get(), dst(2, 2, IPL_DEPTH_32F).get(), 0, 1,
                      "(srcImage->nChannels != 1)");
    expectNotExpanded(makeImage(2, 2, 1, IPL_DEPTH_8U).get(), dst(2, 2, IPL_DEPTH_32F).get(), 0, 1,
                      "(srcImage->depth != 1)");
    expectNotExpanded(bits.get(), dst(2, 2, IPL_DEPTH_32F).get(), 0, 1, "(dstImage->depth == 32)");
    expectNotExpanded(bits.get(), dst(2, 2, IPL_DEPTH_1U).get(), 0, 1, "(dstImage->depth == 1)");
}

TEST(IplBitonalToGray, RefusesScalesOutsideTheRange)
{
    const Image bits = makeImage(2, 2, 1, IPL_DEPTH_1U);
    const struct {
        uint32_t depth;
        const char* name;
        int32_t low;
        int32_t high;
    } ranges[] = {{IPL_DEPTH_8S, "(0x80000000| 8)", -128, 127},
                  {IPL_DEPTH_8U, "8", 0, 255},
                  {IPL_DEPTH_16S, "(0x80000000|16)", -32768, 32767},
                  {IPL_DEPTH_16U, "16", 0, 65535}};
    for (const auto& [depth, name, low, high] : ranges) {
        const Image dst = makeImage(2, 2, 1, depth);
        const std::string head = "((dstImage->depth == " + std::string(name) + ") && (";
        const std::string above = " > " + std::to_string(high) + "))";
        const std::string below = " < " + std::to_string(low) + "))";
        expectNotExpanded(bits.get(), dst.get(), high + 1, high + 1, head + "ZeroScale" + above);
        expectNotExpanded(bits.get(), dst.get(), low - 1, high + 1, head + "ZeroScale" + below);
        expectNotExpanded(bits.get(), dst.get(), low, high + 1, head + "OneScale" + above);
        expectNotExpanded(bits.get(), dst.get(), high, low - 1, head + "OneScale" + below);
        iplBitonalToGray(bits.get(), dst.get(), low, high); // both ends are taken
        EXPECT_EQ(element(dst.get(), 0, 0, 0), low);
    }
}

TEST(IplBitonalToGray, TakesAnyScaleAtSigned32Bits)
{
    const Image bits = makeImage(2, 1, 1, IPL_DEPTH_1U);
    *bits->imageData = 0x40;
    const Image dst = makeImage(2, 1, 1, IPL_DEPTH_32S);
    iplBitonalToGray(bits.get(), dst.get(), INT32_MIN, INT32_MAX);
    EXPECT_EQ(element(dst.get(), 0, 0, 0), INT32_MIN);
    EXPECT_EQ(element(dst.get(), 1, 0, 0), INT32_MAX);
}

// --- Pixels ----------------------------------------------------------------------------------

TEST(IplBitonalToGray, ExpandsIntoEveryDepthOrderAndOrigin)
{
    forEachLevel([] {
        Random random(1);
        for (int round = 0; round < 4; ++round) {
            forEachBitonalPair(random, [](IplImage* src, IplImage* dst, int32_t zero, int32_t one) {
                const Image expected(iplCloneImage(dst));
                expandPlainly(src, expected.get(), zero, one);
                iplBitonalToGray(src, dst, zero, one);
                ASSERT_EQ(bytesOf(dst), bytesOf(expected.get()));
            });
        }
    });
}

TEST(IplBitonalToGray, PassesRegionsBy)
{
    Random random(2);
    const Image src = makeRandomBits(30, 5, random);
    const Image dst = makeImage(30, 5, 1, IPL_DEPTH_8U);
    const Image expected(iplCloneImage(dst.get()));
    expandPlainly(src.get(), expected.get(), 10, 20);
    setRoi(src.get(), 1, 9, 1, 3, 2);
    setRoi(dst.get(), 0, 1, 1, 2, 2);
    iplBitonalToGray(src.get(), dst.get(), 10, 20);
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(expected.get()));
}

// --- Tiles -----------------------------------------------------------------------------------

TEST(IplBitonalToGray, ExpandsTilesAsWholeImages)
{
    Random random(3);
    forEachBitonalPair(random, [](IplImage* src, IplImage* dst, int32_t zero, int32_t one) {
        const Image expected(iplCloneImage(dst));
        expandPlainly(src, expected.get(), zero, one);
        TiledImage from(src, 24, 8);
        TiledImage to(dst, 16, 16);
        iplBitonalToGray(from.get(), to.get(), zero, one);
        const Image result(iplCloneImage(expected.get()));
        to.collect(result.get());
        ASSERT_EQ(bytesOf(result.get()), bytesOf(expected.get()));
        iplBitonalToGray(src, to.get(), one, zero);
        iplBitonalToGray(from.get(), dst, zero, one);
        ASSERT_EQ(bytesOf(dst), bytesOf(expected.get()));
    });
}

TEST(IplBitonalToGray, ReportsTilesThatDoNotCome)
{
    for (const int32_t origin : {IPL_ORIGIN_TL, IPL_ORIGIN_BL}) {
        const Image bits = makeImage(20, 20, 1, IPL_DEPTH_1U);
        const Image dst = makeImage(20, 20, 1, IPL_DEPTH_8U, 0, 4, 0, origin);
        TiledImage tiled(bits.get(), 8, 8);
        tiled.failFrom = 2;
        expectNotExpanded(tiled.get(), dst.get(), 0, 1, "(srcImage->tileInfo->tileData == NULL)");
        TiledImage tiledDst(dst.get(), 8, 8);
        tiledDst.failFrom = 0;
        expectNotExpanded(bits.get(), tiledDst.get(), 0, 1,
                          "(dstImage->tileInfo->tileData == NULL)");
    }
}

TEST(IplBitonalToGray, ReportsOnceForRowsThatChangePlaces)
{
    const Image bits = makeImage(20, 20, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(20, 20, 1, IPL_DEPTH_8U, 0, 4, 0, IPL_ORIGIN_BL);
    TiledImage tiled(bits.get(), 8, 8);
    tiled.failFrom = 8;
    const RecordedReports reports;
    iplBitonalToGray(tiled.get(), dst.get(), 7, 9);
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-5, "iplBitonalToGray",
                                                   "(srcImage->tileInfo->tileData == NULL)",
                                                   "..\\_Src\\iplbitnl"}}));
    // A row of three tiles, fetched and released, and the second one's first and second.
    EXPECT_EQ(tiled.log.size(), 9u);
    EXPECT_EQ(element(dst.get(), 19, 0, 0), 7);
    EXPECT_EQ(element(dst.get(), 0, 2, 0), 0);
}
