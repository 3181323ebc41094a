#include "_Src/ipl.h"

#include "tests/support/one_pixel.h"
#include "tests/support/pixel_cases.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{

double plainProductScale(uint32_t depth, double a, double b)
{
    const int64_t t = static_cast<int64_t>(a) * static_cast<int64_t>(b);
    return static_cast<double>(((t >> depth) + t + 1) >> depth);
}

constexpr const char* file = "iplalpha";

} // namespace

TEST(IplMultiplySScale, MultipliesAndDividesByTheLargestElement)
{
    EXPECT_EQ(resultOf(iplMultiplySScale, IPL_DEPTH_8U, 255, 255), 255);
    EXPECT_EQ(resultOf(iplMultiplySScale, IPL_DEPTH_8U, 77, 255), 77);
    EXPECT_EQ(resultOf(iplMultiplySScale, IPL_DEPTH_8U, 254, 254), 253);
    EXPECT_EQ(resultOf(iplMultiplySScale, IPL_DEPTH_8U, 200, 128), 100);
    EXPECT_EQ(resultOf(iplMultiplySScale, IPL_DEPTH_16U, 65535, 12345), 12345);
    EXPECT_EQ(resultOf(iplMultiplySScale, IPL_DEPTH_16U, 65534, 65534), 65533);
    EXPECT_EQ(resultOf(iplMultiplySScale, IPL_DEPTH_16U, 1, 65534), 0);
}

TEST(IplMultiplySScale, ClampsTheValue)
{
    EXPECT_EQ(resultOf(iplMultiplySScale, IPL_DEPTH_8U, 77, 300), 77);
    EXPECT_EQ(resultOf(iplMultiplySScale, IPL_DEPTH_8U, 77, -1), 0);
    EXPECT_EQ(resultOf(iplMultiplySScale, IPL_DEPTH_16U, 777, INT_MAX), 777);
    EXPECT_EQ(resultOf(iplMultiplySScale, IPL_DEPTH_16U, 777, INT_MIN), 0);
}

TEST(IplMultiplyScale, GivesThePlainResultForImagesOfDifferingOrders)
{
    Random random(91);
    for (const uint32_t depth : {IPL_DEPTH_8U, IPL_DEPTH_16U}) {
        for (int round = 0; round < 200; ++round) {
            const int32_t count = random.between(1, 5);
            const auto image = [&] {
                const int32_t alpha = random.coin() ? count + 1 : 0;
                return imageOfShape(depth, random.between(0, 1), {alpha ? alpha : count, alpha, 0},
                                    random);
            };
            const Arrangement images{image(), image(), image()};
            if (round % 2)
                expectPlainResult(images, iplMultiplyScale, plainProductScale);
            else
                expectSameInTiles(images, iplMultiplyScale, random);
        }
    }
}

TEST(IplMultiplySScale, TakesAChannelOfInterestOnOneSideAlone)
{
    const Image three = makeImage(2, 1, 3, IPL_DEPTH_8U);
    const Image one = makeImage(2, 1, 1, IPL_DEPTH_8U);
    putElement(three.get(), 1, 0, 2, 200);
    setRoi(three.get(), 3, 0, 0, 2, 1);
    iplMultiplySScale(three.get(), one.get(), 255);
    EXPECT_EQ(element(one.get(), 1, 0, 0), 200);
    setRoi(three.get(), 1, 0, 0, 2, 1);
    iplMultiplySScale(one.get(), three.get(), 128);
    EXPECT_EQ(element(three.get(), 1, 0, 0), 100);
    EXPECT_EQ(element(three.get(), 1, 0, 2), 200);
}

TEST(IplMultiplySScale, WritesNoAlphaUnlessItIsAskedFor)
{
    const Image src = makeImage(1, 1, 4, IPL_DEPTH_8U, 0, 4, 4);
    const Image dst = makeImage(1, 1, 4, IPL_DEPTH_8U, 0, 4, 4);
    for (int32_t c = 0; c < 4; ++c)
        putElement(src.get(), 0, 0, c, 90);
    iplMultiplySScale(src.get(), dst.get(), 255);
    EXPECT_EQ(element(dst.get(), 0, 0, 2), 90);
    EXPECT_EQ(element(dst.get(), 0, 0, 3), 0);
    const Image alpha = makeImage(1, 1, 1, IPL_DEPTH_8U, 0, 4, 1);
    setRoi(alpha.get(), 1, 0, 0, 1, 1);
    putElement(alpha.get(), 0, 0, 0, 60);
    iplMultiplySScale(alpha.get(), alpha.get(), 128);
    EXPECT_EQ(element(alpha.get(), 0, 0, 0), 30);
}

// --- Refusals ----------------------------------------------------------------------------------

TEST(IplMultiplySScale, RefusesInTheOrderOfItsChecks)
{
    const char* name = "iplMultiplySScale";
    const auto refused = [name](const IplImage* src, IplImage* dst, int32_t status,
                                const char* text) {
        EXPECT_REPORT(iplMultiplySScale(src, dst, 3), status, name, text, file);
    };
    const Image good = makeImage(3, 3, 3, IPL_DEPTH_8U);
    const Image bad = makeImage(3, 3, 1, IPL_DEPTH_16S, 0, 4, 1);
    refused(nullptr, nullptr, -5, "dstImage==0");
    bad->align = 5;
    refused(nullptr, bad.get(), -21, "Incorrect Image");
    refused(nullptr, good.get(), -5, "srcImage==0");
    refused(bad.get(), good.get(), -21, "Incorrect Image");
    bad->align = 4;
    refused(good.get(), bad.get(), -5, "dstImage->alphaChannel == 1 && dstImage->roi == 0");
    refused(bad.get(), good.get(), -5, "srcImage->alphaChannel == 1 && srcImage->roi == 0");
    setRoi(bad.get(), 0, 0, 0, 3, 3);
    refused(good.get(), bad.get(), -5, "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1");
    refused(bad.get(), good.get(), -5, "srcImage->alphaChannel == 1 && srcImage->roi->coi != 1");
    bad->roi->coi = 1;
    refused(good.get(), bad.get(), -5, "dstImage->depth != 8 && dstImage->depth != 16");
    refused(bad.get(), good.get(), -5, "srcImage->depth != dstImage->depth");
}

TEST(IplMultiplySScale, RefusesDifferingCountsOfChannels)
{
    const char* name = "iplMultiplySScale";
    const Image three = makeImage(3, 3, 3, IPL_DEPTH_8U);
    const Image four = makeImage(3, 3, 4, IPL_DEPTH_8U);
    EXPECT_REPORT(iplMultiplySScale(three.get(), four.get(), 3), -5, name,
                  "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != "
                  "(dstImage->nChannels - (dstImage->alphaChannel != 0))",
                  file);
    setRoi(four.get(), 2, 0, 0, 3, 3);
    EXPECT_REPORT(iplMultiplySScale(three.get(), four.get(), 3), -5, name,
                  "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != "
                  "(dstImage->roi->coi > 0)",
                  file);
    EXPECT_REPORT(iplMultiplySScale(four.get(), three.get(), 3), -5, name,
                  "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != "
                  "(srcImage->roi->coi > 0)",
                  file);
}

TEST(IplMultiplyScale, RefusesInTheOrderOfItsChecks)
{
    const char* name = "iplMultiplyScale";
    const auto refused = [name](const IplImage* a, const IplImage* b, IplImage* dst, int32_t status,
                                const char* text) {
        EXPECT_REPORT(iplMultiplyScale(a, b, dst), status, name, text, file);
    };
    const Image good = makeImage(3, 3, 3, IPL_DEPTH_8U);
    const Image bad = makeImage(3, 3, 1, IPL_DEPTH_16U, 0, 4, 1);
    refused(nullptr, nullptr, nullptr, -5, "dstImage==0");
    refused(nullptr, nullptr, good.get(), -5, "srcImageA==0");
    refused(good.get(), nullptr, good.get(), -5, "srcImageB==0");
    bad->align = 5;
    refused(bad.get(), nullptr, good.get(), -21, "Incorrect Image");
    refused(good.get(), bad.get(), good.get(), -21, "Incorrect Image");
    bad->align = 4;
    refused(bad.get(), good.get(), good.get(), -5,
            "srcImageA->alphaChannel == 1 && srcImageA->roi == 0");
    refused(good.get(), bad.get(), good.get(), -5,
            "srcImageB->alphaChannel == 1 && srcImageB->roi == 0");
    setRoi(bad.get(), 1, 0, 0, 3, 3);
    refused(bad.get(), good.get(), good.get(), -5, "srcImageA->depth != dstImage->depth");
    refused(good.get(), bad.get(), good.get(), -5, "srcImageB->depth != dstImage->depth");
    bad->depth = IPL_DEPTH_8U;
    bad->roi->coi = 1;
    refused(bad.get(), good.get(), good.get(), -5,
            "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImageA->roi->coi > 0)");
    const Image four = makeImage(3, 3, 4, IPL_DEPTH_8U);
    refused(good.get(), four.get(), good.get(), -5,
            "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != "
            "(dstImage->nChannels - (dstImage->alphaChannel != 0))");
    setRoi(good.get(), 2, 0, 0, 3, 3);
    refused(good.get(), four.get(), good.get(), -5,
            "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != (dstImage->roi->coi > 0)");
}

TEST(IplMultiplyScale, LooksAtAnOldFailureUnderMoreThanOneMask)
{
    const CleanStatus clean;
    Random random(92);
    const Image a = makeImage(3, 3, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(3, 3, 1, IPL_DEPTH_8U);
    giveRandomMask(a.get(), 3, 3, random);
    EXPECT_EQ(iplCheckImage(nullptr), -9);
    iplMultiplySScale(a.get(), dst.get(), 2);
    EXPECT_REPORT(iplMultiplyScale(a.get(), a.get(), dst.get()), -1, "iplMultiplyScale",
                  "Bad masks for images", file);
    giveRandomMask(dst.get(), 3, 3, random);
    EXPECT_REPORT(iplMultiplySScale(a.get(), dst.get(), 2), -1, "iplMultiplySScale",
                  "Bad masks for images", file);
}

TEST(IplMultiplyScale, EndsAtATileThatDoesNotCome)
{
    const Image plain = makeImage(16, 8, 1, IPL_DEPTH_8U);
    TiledImage tiled(plain.get(), 8, 8);
    tiled.failFrom = 2;
    const char* text = "ERROR in Tiling callBack";
    EXPECT_REPORT(iplMultiplyScale(tiled.get(), plain.get(), plain.get()), -2, "iplMultiplyScale",
                  text, file);
    EXPECT_REPORT(iplMultiplyScale(plain.get(), tiled.get(), plain.get()), -2, "iplMultiplyScale",
                  text, file);
    EXPECT_REPORT(iplMultiplySScale(plain.get(), tiled.get(), 1), -2, "iplMultiplySScale", text,
                  file);
}
