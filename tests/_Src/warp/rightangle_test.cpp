#include "_Src/warp/rightangle.h"

#include "tests/support/levels.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"
#include "tests/support/scaling.h"
#include "tests/support/warps.h"

#include <gtest/gtest.h>

namespace
{

// Every processed element to where a turn by right angles takes it.
void plainRotate(const IplImage* src, IplImage* dst, int32_t angle, int32_t xShift, int32_t yShift)
{
    IplCorners from{};
    IplCorners to{};
    if (!ownRoiCorners(src, &from, true) || !ownRoiCorners(dst, &to, true))
        return;
    const std::vector<int32_t> srcChannels = channelsOf(src);
    const std::vector<int32_t> dstChannels = channelsOf(dst);
    for (int32_t y = from.y1; y <= from.y2; ++y)
        for (int32_t x = from.x1; x <= from.x2; ++x) {
            const int32_t xTo = xShift + (angle == 90 ? y : angle == 180 ? -x : -y);
            const int32_t yTo = yShift + (angle == 90 ? -x : angle == 180 ? -y : x);
            if (xTo < to.x1 || xTo > to.x2 || yTo < to.y1 || yTo > to.y2)
                continue;
            for (size_t c = 0; c < srcChannels.size(); ++c)
                putElement(dst, xTo, yTo, dstChannels[c], element(src, x, y, srcChannels[c]));
        }
}

void expectRotates(const ImagePair& pair, Random& random)
{
    const int32_t angle = 90 * random.between(1, 3);
    const int32_t xShift = random.between(-10, 60);
    const int32_t yShift = random.between(-10, 60);
    SCOPED_TRACE(describe(pair.src.get()) + " to " + describe(pair.dst.get()) + " by " +
                 std::to_string(angle));
    const Twin expected(pair.dst.get());
    plainRotate(pair.src.get(), expected.get(), angle, xShift, yShift);
    iplRotate(pair.src.get(), pair.dst.get(), angle - 360 * random.between(0, 2), xShift, yShift,
              random.between(-5, 99));
    ASSERT_EQ(bytesOf(pair.dst.get()), bytesOf(expected.get()));
}

constexpr const char* turnChannelsText = "Number of processed channels of srcImage != "
                                         "Number of processed channels of dstImage";

} // namespace

TEST(IplRotateRightAngle, MovesNoBitsOfAlphaAlone)
{
    const Image src = makeImage(2, 2, 1, IPL_DEPTH_1U);
    const Image dst = makeImage(2, 2, 1, IPL_DEPTH_1U);
    iplSet(src.get(), 1);
    iplSet(dst.get(), 0);
    src->alphaChannel = dst->alphaChannel = 1;
    src->roi = iplCreateROI(0, 0, 0, 2, 2);
    dst->roi = iplCreateROI(0, 0, 0, 2, 2);
    const std::vector<uint8_t> before = bytesOf(dst.get());
    iplRotate(src.get(), dst.get(), 90.0, 0.0, 1.0, IPL_INTER_NN);
    EXPECT_EQ(bytesOf(dst.get()), before);
}

TEST(IplRotateRightAngle, MovesEveryPixelToItsPlace)
{
    forEachLevel([] {
        Random random(1);
        for (int round = 0; round < 2000; ++round) {
            constexpr uint32_t depths[]{IPL_DEPTH_1U, IPL_DEPTH_8U, IPL_DEPTH_16U, IPL_DEPTH_32F};
            const ImagePair pair = randomPair(depths[random.between(0, 3)], 50, random);
            expectRotates(pair, random);
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    });
}

TEST(IplRotateRightAngle, MovesHandles)
{
    forEachLevel([] {
        Random random(2);
        for (int round = 0; round < 200; ++round) {
            constexpr int32_t depths[]{8, 24, 32, 32};
            const int32_t depth = depths[random.between(0, 3)];
            const ImagePair pair{makeRandomHandleUpTo(90, 90, depth, random),
                                 makeRandomHandleUpTo(90, 90, depth, random)};
            expectRotates(pair, random);
            ASSERT_FALSE(::testing::Test::HasFailure());
        }
    });
}

TEST(IplRotateRightAngle, TurnsCounterClockwise)
{
    const Image src = makeImage(3, 2, 1, IPL_DEPTH_8U);
    for (int32_t i = 0; i < 6; ++i)
        putElement(src.get(), i % 3, i / 3, 0, i + 1);
    const Image dst = makeImage(2, 3, 1, IPL_DEPTH_8U);
    iplRotate(src.get(), dst.get(), 90, 0, 2, 1);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{3, 6}));
    EXPECT_EQ(rowValues(dst, 1), (std::vector<int32_t>{2, 5}));
    EXPECT_EQ(rowValues(dst, 2), (std::vector<int32_t>{1, 4}));
    iplRotate(src.get(), dst.get(), -90, 1, 0, 1);
    EXPECT_EQ(rowValues(dst, 0), (std::vector<int32_t>{4, 1}));
    EXPECT_EQ(rowValues(dst, 2), (std::vector<int32_t>{6, 3}));
}

TEST(IplRotateRightAngle, AcceptsSourcesOnePixelWideAndAnyMode)
{
    const Image src = makeImage(1, 3, 1, IPL_DEPTH_8U);
    putElement(src.get(), 0, 2, 0, 9);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    iplRotate(src.get(), dst.get(), 180, 3, 3, 77);
    EXPECT_EQ(element(dst.get(), 3, 1, 0), 9);
    EXPECT_EQ(bytesOf(dst.get())[7], 9);
}

TEST(IplRotateRightAngle, DoesNothingWhereNothingLands)
{
    const Image src = makeImage(4, 4, 1, IPL_DEPTH_8U);
    iplSet(src.get(), 9);
    const Image dst = makeImage(4, 4, 1, IPL_DEPTH_8U);
    for (const double shift : {-4.0, 8.0, 1e12, -1e300, infinity, -infinity})
        for (const double angle : {90.0, 180.0, 270.0}) {
            iplRotate(src.get(), dst.get(), angle, shift, 3, 0);
            iplRotate(src.get(), dst.get(), angle, 3, shift, 0);
        }
    setRoi(src.get(), 0, 4, 0, 1, 1);
    iplRotate(src.get(), dst.get(), 90, 0, 3, 0);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(16, 0));
}

TEST(IplRotateRightAngle, ChecksLikeTheFamilyUnderItsOwnName)
{
    const Image src = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const Image one = makeImage(4, 4, 1, IPL_DEPTH_8U);
    const Image deep = makeImage(4, 4, 3, IPL_DEPTH_16U);
    EXPECT_REPORT(iplRotate(nullptr, src.get(), 90, 0, 0, 0), -9, "iplRotate", "Incorrect Image",
                  "iplwarp");
    EXPECT_REPORT(iplRotate(src.get(), nullptr, 90, 0, 0, 0), -9, "iplRotate", "Incorrect Image",
                  "iplwarp");
    EXPECT_REPORT(iplRotate(src.get(), deep.get(), 90, 0, 0, 0), -5, "iplRotate",
                  "srcImage->depth != dstImage->depth", "iplwarp");
    EXPECT_REPORT(iplRotate(src.get(), src.get(), 180, 0, 0, 0), -5, "iplRotate",
                  "This function is not in-place function", "iplwarp");
    EXPECT_REPORT(iplRotate(src.get(), one.get(), 270, 0, 0, 0), -5, "iplRotate", turnChannelsText,
                  "iplwarp");
}

// --- Other angles ----------------------------------------------------------------------------

TEST(IplRotate, TakesTheGeneralRouteForOtherAnglesAndShifts)
{
    // Refusals under the name of the affine warp tell the route.
    const Image src = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const Image deep = makeImage(4, 4, 3, IPL_DEPTH_16U);
    const auto route = [&](double angle, double xShift, double yShift) {
        const RecordedReports reports;
        iplRotate(src.get(), deep.get(), angle, xShift, yShift, 0);
        return reports.all();
    };
    const std::vector<Report> general{
        {-5, "iplWarpAffine", "srcImage->depth != dstImage->depth", "iplwarp"},
        {-1, "iplRotate", "", "iplwarp"}};
    EXPECT_EQ(route(360, 0, 0), general);
    EXPECT_EQ(route(0, 0, 0), general);
    EXPECT_EQ(route(90, 0.5, 0), general);
    EXPECT_EQ(route(270, 0, -0.5), general);
    EXPECT_EQ(route(89.5, 0, 0), general);
    EXPECT_EQ(route(notANumber, 0, 0), general);
    EXPECT_EQ(route(450, 3, -4).size(), 1u);
    EXPECT_EQ(route(-180, 3, -4).size(), 1u);
}

TEST(IplRotate, IsAnAffineWarp)
{
    Random random(3);
    for (const double angle : {0.0, 17.0, 90.0, 180.0, 222.25, 270.0, 359.5}) {
        const Image src = makeRandomHandle(21, 17, 32, random);
        const Image turned = makeRandomHandle(30, 30, 32, random);
        const Twin warped(turned.get());
        double sine = std::sin(angle * 0.017453292519943295);
        double cosine = std::cos(angle * 0.017453292519943295);
        if (angle == 90.0 || angle == 180.0 || angle == 270.0) {
            sine = std::round(sine);
            cosine = std::round(cosine);
        }
        const double coeffs[2][3]{{cosine, sine, 8.5}, {-sine, cosine, 12.25}};
        iplRotate(src.get(), turned.get(), angle, 8.5, 12.25, 17);
        iplWarpAffine(src.get(), warped.get(), coeffs, 17);
        EXPECT_EQ(bytesOf(turned.get()), bytesOf(warped.get())) << angle;
    }
}

TEST(IplRotate, PassesAStaleFailureOn)
{
    const CleanStatus clean;
    const Image src = makeImage(4, 4, 3, IPL_DEPTH_8U);
    const Image dst = makeImage(4, 4, 3, IPL_DEPTH_8U);
    iplSetStatus(-25);
    EXPECT_REPORT(iplRotate(src.get(), dst.get(), 30, 0, 0, 0), -1, "iplRotate", "", "iplwarp");
    // The route of right angles leaves silently.
    iplRotate(src.get(), dst.get(), 90, 0, 3, 0);
    EXPECT_EQ(iplGetStatus(), -25);
}
