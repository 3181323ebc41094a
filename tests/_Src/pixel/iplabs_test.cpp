#include "_Src/ipl.h"

#include "tests/support/levels.h"
#include "tests/support/one_pixel.h"
#include "tests/support/pixel_cases.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace
{

constexpr uint32_t signedDepths[] = {IPL_DEPTH_8S, IPL_DEPTH_16S, IPL_DEPTH_32S, IPL_DEPTH_32F};

double plainAbs(uint32_t depth, double a, double)
{
    if (depth == IPL_DEPTH_32F)
        return 0.0 > a ? -a : a;
    return saturated(depth, std::abs(static_cast<int64_t>(a)));
}

// --- Channels, by rules of its own ------------------------------------------------------------

int32_t namedChannel(const IplImage* image)
{
    return image->nChannels != 1 ? coiOf(image) : 0;
}

// False where it refuses.
bool channelsAgree(const IplImage* src, const IplImage* dst)
{
    if ((namedChannel(src) != 0) != (namedChannel(dst) != 0))
        return false;
    if (namedChannel(src) != 0)
        return true;
    const auto colours = [](const IplImage* image) {
        return image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
    };
    return colours(src) == colours(dst) || src->nChannels == dst->nChannels;
}

PlainJob absJob(const IplImage* src, IplImage* dst)
{
    PlainJob job{src, nullptr, dst, std::min(src->nChannels, dst->nChannels), 0, 0, 0};
    if (src->alphaChannel != 0 && dst->alphaChannel != 0)
        job.channels = src->nChannels - 1;
    if (namedChannel(src) != 0) {
        job.channels = 1;
        job.firstA = namedChannel(src) - 1;
        job.firstDst = namedChannel(dst) - 1;
    }
    return job;
}

// Images of one depth and order; their channels may or may not agree.
Arrangement anyTwo(uint32_t depth, Random& random)
{
    const int32_t order = random.between(0, 1);
    const int32_t count = random.between(1, 4);
    const auto image = [&] {
        Shape shape{count + random.between(0, 1), 0, 0};
        shape.alphaChannel = random.coin() ? shape.nChannels : 0;
        shape.coi = random.between(0, 2) == 0 ? random.between(1, shape.nChannels) : 0;
        return imageOfShape(depth, order, shape, random);
    };
    return {image(), nullptr, image()};
}

void runAbs(const IplImage* a, const IplImage*, IplImage* dst)
{
    iplAbs(a, dst);
}

} // namespace

TEST(IplAbs, GivesTheLargestElementForTheSmallest)
{
    EXPECT_EQ(resultOf(iplAbs, IPL_DEPTH_8S, -128), 127);
    EXPECT_EQ(resultOf(iplAbs, IPL_DEPTH_8S, -127), 127);
    EXPECT_EQ(resultOf(iplAbs, IPL_DEPTH_16S, -32768), 32767);
    EXPECT_EQ(resultOf(iplAbs, IPL_DEPTH_16S, -5), 5);
    EXPECT_EQ(resultOf(iplAbs, IPL_DEPTH_32S, INT_MIN), INT_MAX);
    EXPECT_EQ(resultOf(iplAbs, IPL_DEPTH_32S, 7), 7);
    EXPECT_EQ(resultOf(iplAbs, IPL_DEPTH_32F, -0.5), 0.5);
}

TEST(IplAbs, KeepsNegativeZeroAndNegativeNaNs)
{
    const Image src = makeImage(3, 1, 1, IPL_DEPTH_32F);
    const Image dst = makeImage(3, 1, 1, IPL_DEPTH_32F);
    const uint32_t words[3] = {0x80000000u, 0xFFC01234u, 0xFF800000u};
    std::memcpy(src->imageData, words, sizeof words);
    iplAbs(src.get(), dst.get());
    uint32_t results[3];
    std::memcpy(results, dst->imageData, sizeof results);
    EXPECT_EQ(results[0], 0x80000000u);
    EXPECT_EQ(results[1], 0xFFC01234u);
    EXPECT_EQ(results[2], 0x7F800000u);
}

TEST(IplAbs, GivesThePlainResultForRandomImages)
{
    forEachLevel([] {
        const CleanStatus clean;
        for (const uint32_t depth : signedDepths) {
            Random random(depth);
            for (int round = 0; round < 400; ++round) {
                const Arrangement images = anyTwo(depth, random);
                const IplImage* src = images.a.get();
                IplImage* dst = images.dst.get();
                if (!channelsAgree(src, dst)) {
                    const RecordedReports reports;
                    const std::vector<uint8_t> before = bytesOf(dst);
                    iplAbs(src, dst);
                    ASSERT_EQ(reports.all().size(), 1u) << images.text();
                    ASSERT_EQ(bytesOf(dst), before);
                    continue;
                }
                const Twin expected(dst);
                plainOperation(absJob(src, expected.get()), plainAbs);
                iplAbs(src, dst);
                ASSERT_EQ(bytesOf(dst), bytesOf(expected.get())) << images.text();
            }
        }
    });
}

TEST(IplAbs, GivesTheSameInTiles)
{
    const CleanStatus clean;
    for (const uint32_t depth : signedDepths) {
        Random random(depth + 1);
        for (int round = 0; round < 150; ++round) {
            const Arrangement images = anyTwo(depth, random);
            if (channelsAgree(images.a.get(), images.dst.get()))
                expectSameInTiles(images, runAbs, random);
        }
    }
}

TEST(IplAbs, TreatsAlphaAsAChannelUnlessBothImagesHaveIt)
{
    const auto touched = [](int32_t srcAlpha, int32_t dstAlpha) {
        const Image src = makeImage(1, 1, 4, IPL_DEPTH_8S, 0, 4, srcAlpha);
        const Image dst = makeImage(1, 1, 4, IPL_DEPTH_8S, 0, 4, dstAlpha);
        for (int32_t c = 0; c < 4; ++c)
            putElement(src.get(), 0, 0, c, -9);
        iplAbs(src.get(), dst.get());
        return element(dst.get(), 0, 0, 3);
    };
    EXPECT_EQ(touched(0, 0), 9);
    EXPECT_EQ(touched(4, 0), 9);
    EXPECT_EQ(touched(0, 4), 9);
    EXPECT_EQ(touched(4, 4), 0);
}

TEST(IplAbs, CopiesToUnsignedDepthsByTheRulesOfCopy)
{
    const CleanStatus clean;
    Random random(81);
    for (const uint32_t depth : {IPL_DEPTH_1U, IPL_DEPTH_8U, IPL_DEPTH_16U}) {
        for (int round = 0; round < 100; ++round) {
            const Arrangement images = randomArrangement(depth, 1, random);
            images.dst->origin = images.a->origin;
            const Twin expected(images.dst.get());
            iplCopy(images.a.get(), expected.get());
            iplAbs(images.a.get(), images.dst.get());
            ASSERT_EQ(bytesOf(images.dst.get()), bytesOf(expected.get())) << images.text();
        }
    }
    const Image top = makeImage(3, 3, 1, IPL_DEPTH_8U);
    const Image bottom = makeImage(3, 3, 1, IPL_DEPTH_8U, 0, 4, 0, IPL_ORIGIN_BL);
    EXPECT_REPORT(iplAbs(top.get(), bottom.get()), -5, "iplCopy",
                  "srcImage->origin != dstImage->origin", "iplsce");
    // The destination's depth decides, and copying refuses the source's.
    const Image deep = makeImage(3, 3, 1, IPL_DEPTH_16S);
    EXPECT_REPORT(iplAbs(deep.get(), top.get()), -5, "iplCopy",
                  "srcImage->depth != dstImage->depth", "iplsce");
}

TEST(IplAbs, ReportsThatCopyingFailed)
{
    const RecordedReports reports;
    const Image top = makeImage(3, 3, 1, IPL_DEPTH_8U);
    const Image bottom = makeImage(3, 3, 1, IPL_DEPTH_8U, 0, 4, 0, IPL_ORIGIN_BL);
    iplAbs(top.get(), bottom.get());
    EXPECT_EQ(reports.all(), (std::vector<Report>{
                                 {-5, "iplCopy", "srcImage->origin != dstImage->origin", "iplsce"},
                                 {-1, "iplAbs", "iplCopy is failed", "iplabs"}}));
}

TEST(IplAbs, ReportsBothNullImagesBeforeItEnds)
{
    EXPECT_REPORT(iplAbs(nullptr, nullptr), -5, "iplAbs", "srcImage==0", "iplabs");
    const RecordedReports reports;
    const Image image = makeImage(3, 3, 1, IPL_DEPTH_8S);
    iplAbs(nullptr, nullptr);
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-5, "iplAbs", "srcImage==0", "iplabs"},
                                                  {-5, "iplAbs", "dstImage==0", "iplabs"}}));
    iplSetStatus(0);
    iplAbs(image.get(), nullptr);
    EXPECT_EQ(reports.all().size(), 3u);
    EXPECT_EQ(reports.all()[2], (Report{-5, "iplAbs", "dstImage==0", "iplabs"}));
}

TEST(IplAbs, DoesNothingSilentlyAfterAnEarlierFailure)
{
    const CleanStatus clean;
    const Image src = makeImage(3, 3, 1, IPL_DEPTH_8S);
    const Image dst = makeImage(3, 3, 2, IPL_DEPTH_16S);
    putElement(src.get(), 0, 0, 0, -1);
    EXPECT_EQ(iplCheckImage(nullptr), -9);
    iplAbs(src.get(), dst.get());
    iplAbs(src.get(), src.get());
    EXPECT_EQ(element(src.get(), 0, 0, 0), -1);
    EXPECT_EQ(iplGetStatus(), -9);
}

TEST(IplAbs, EndsAtABadImage)
{
    const Image good = makeImage(3, 3, 1, IPL_DEPTH_8S);
    const Image bad = makeImage(3, 3, 1, IPL_DEPTH_8S);
    putElement(good.get(), 0, 0, 0, -1);
    bad->align = 5;
    const RecordedReports reports;
    iplAbs(good.get(), bad.get());
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-21, "iplAbs", "Incorrect Image", "iplabs"}}));
    EXPECT_EQ(element(bad.get(), 0, 0, 0), 0);
}

TEST(IplAbs, RefusesImagesThatDoNotMatch)
{
    const auto refused = [](const Image& src, const Image& dst, int32_t status, const char* text) {
        EXPECT_REPORT(iplAbs(src.get(), dst.get()), status, "iplAbs", text, "iplabs");
    };
    const Image good = makeImage(3, 3, 3, IPL_DEPTH_8S);
    const Image bad = makeImage(3, 3, 4, IPL_DEPTH_16S, IPL_DATA_ORDER_PLANE);
    setRoi(bad.get(), 2, 0, 0, 3, 3);
    bad->align = 5;
    refused(good, bad, -21, "Incorrect Image");
    refused(bad, good, -21, "Incorrect Image");
    bad->align = 4;
    refused(good, bad, -5, "(srcImage->depth != dstImage->depth)");
    bad->depth = IPL_DEPTH_8S;
    refused(good, bad, -5, "(srcImage->dataOrder != dstImage->dataOrder)");
    bad->dataOrder = IPL_DATA_ORDER_PIXEL;
    refused(good, bad, -5, "(nChSrcCoi != nChDstCoi)");
    refused(bad, good, -5, "(nChSrcCoi != nChDstCoi)");
    bad->roi->coi = 0;
    refused(good, bad, -5, "(srcImage->nChannels != dstImage->nChannels)");
    // One channel is no channel of interest.
    const Image one = makeImage(3, 3, 1, IPL_DEPTH_8S);
    setRoi(one.get(), 1, 0, 0, 3, 3);
    bad->roi->coi = 2;
    refused(one, bad, -5, "(nChSrcCoi != nChDstCoi)");
    bad->roi->coi = 0;
    refused(one, bad, -5, "(srcImage->nChannels != dstImage->nChannels)");
    bad->alphaChannel = 4;
    iplAbs(good.get(), bad.get());
}

// --- Tiles ---------------------------------------------------------------------------------------

namespace
{

// A callback that keeps tileData on release.
void keepTile(const IplImage* image, int32_t, int32_t, int32_t)
{
    image->tileInfo->tileData = static_cast<char*>(image->tileInfo->id);
}

} // namespace

TEST(IplAbs, RefusesTilesThatDoNotComeOrGo)
{
    const Image plain = makeImage(16, 8, 1, IPL_DEPTH_16S);
    TiledImage tiled(plain.get(), 8, 8);
    tiled.failFrom = 2;
    EXPECT_REPORT(iplAbs(tiled.get(), plain.get()), -5, "iplAbs",
                  "(srcImage->tileInfo->tileData == 0)", "iplabs");
    EXPECT_REPORT(iplAbs(plain.get(), tiled.get()), -5, "iplAbs",
                  "(dstImage->tileInfo->tileData == 0)", "iplabs");
    tiled->tileInfo->callBack = keepTile;
    tiled->tileInfo->id = plain->imageData;
    EXPECT_REPORT(iplAbs(tiled.get(), plain.get()), -5, "iplAbs",
                  "(srcImage->tileInfo->tileData != 0)", "iplabs");
    EXPECT_REPORT(iplAbs(plain.get(), tiled.get()), -5, "iplAbs",
                  "(dstImage->tileInfo->tileData != 0)", "iplabs");
    // The last release of a stripe counts as well.
    setRoi(tiled.get(), 0, 0, 0, 8, 8);
    EXPECT_REPORT(iplAbs(tiled.get(), plain.get()), -5, "iplAbs",
                  "(srcImage->tileInfo->tileData != 0)", "iplabs");
    // The other members do not look.
    iplSquare(tiled.get(), plain.get());
}
