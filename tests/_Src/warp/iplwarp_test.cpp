#include "_Src/ipl.h"
#include "tests/support/images.h"
#include "tests/support/quads.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

constexpr double identity2[2][3]{{1, 0, 0}, {0, 1, 0}};
constexpr double identity3[3][3]{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
constexpr double affine[2][3]{{2, 0.5, 10}, {-1, 3, 20}};

Quad sentinel()
{
    return boxQuad(-1, -2, -3, -4);
}

struct Shift {
    double x;
    double y;
};

Shift rotateShift(double xCenter, double yCenter, double angle)
{
    Shift shift{1000, 2000};
    iplGetRotateShift(xCenter, yCenter, angle, &shift.x, &shift.y);
    return shift;
}

void expectShift(double xCenter, double yCenter, double angle, double x, double y)
{
    const Shift shift = rotateShift(xCenter, yCenter, angle);
    EXPECT_EQ(shift.x, 1000 + x) << angle;
    EXPECT_EQ(shift.y, 2000 + y) << angle;
}

} // namespace

// --- Quadrangles of images -----------------------------------------------------------------

TEST(IplGetAffineQuad, IsThatOfTheRegion)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_8U);
    Quad quad{};
    iplGetAffineQuad(image.get(), affine, quad.at);
    EXPECT_EQ(quad, (Quad{{{10, 20}, {28, 11}, {30.5, 26}, {12.5, 35}}}));
    setRoi(image.get(), 0, 4, 2, 100, 100);
    iplGetAffineQuad(image.get(), identity2, quad.at);
    EXPECT_EQ(quad, boxQuad(4, 2, 9, 5));
}

TEST(IplGetPerspectiveQuad, IsThatOfTheRegion)
{
    const Image image = makeImage(5, 3, 1, IPL_DEPTH_8U);
    const double coeffs[3][3]{{2, 0, 4}, {0, 3, 6}, {0, 0.5, 1}};
    Quad quad{};
    iplGetPerspectiveQuad(image.get(), coeffs, quad.at);
    EXPECT_EQ(quad, (Quad{{{4, 6}, {12, 6}, {6, 6}, {2, 6}}}));
    setRoi(image.get(), 0, 1, 1, 2, 2);
    iplGetPerspectiveQuad(image.get(), identity3, quad.at);
    EXPECT_EQ(quad, boxQuad(1, 1, 2, 2));
}

TEST(IplGetPerspectiveQuad, HasNoWidthForAnImageOfOneColumn)
{
    const Image image = makeImage(1, 3, 1, IPL_DEPTH_8U);
    Quad quad{};
    iplGetPerspectiveQuad(image.get(), identity3, quad.at);
    EXPECT_EQ(quad, boxQuad(0, 0, 0, 2));
}

TEST(IplGetQuad, RefusesABadImage)
{
    Quad quad = sentinel();
    EXPECT_REPORT(iplGetAffineQuad(nullptr, identity2, quad.at), -9, "iplGetAffineQuad",
                  "Incorrect Image", "iplwarp");
    EXPECT_REPORT(iplGetPerspectiveQuad(nullptr, identity3, quad.at), -9, "iplGetPerspectiveQuad",
                  "Incorrect Image", "iplwarp");
    const RecordedReports reports;
    iplGetAffineQuad(nullptr, identity2, quad.at);
    iplGetPerspectiveQuad(nullptr, identity3, quad.at);
    EXPECT_EQ(quad, sentinel());
}

TEST(IplGetQuad, RefusesARegionOutsideTheImage)
{
    const Image image = makeImage(5, 3, 1, IPL_DEPTH_8U);
    setRoi(image.get(), 0, 5, 0, 1, 1);
    Quad quad = sentinel();
    EXPECT_REPORT(iplGetAffineQuad(image.get(), identity2, quad.at), -5, "iplGetAffineQuad",
                  "Bad rect ROI", "iplwarp");
    EXPECT_REPORT(iplGetPerspectiveQuad(image.get(), identity3, quad.at), -5,
                  "iplGetPerspectiveQuad", "Bad rect ROI", "iplwarp");
    const RecordedReports reports;
    iplGetAffineQuad(image.get(), identity2, quad.at);
    EXPECT_EQ(quad, sentinel());
}

// --- Bounds ----------------------------------------------------------------------------------

TEST(IplGetBound, IsTheLeastAndGreatestOfTheQuadrangle)
{
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_8U);
    double bound[2][2]{};
    iplGetAffineBound(image.get(), affine, bound);
    EXPECT_EQ(bound[0][0], 10);
    EXPECT_EQ(bound[0][1], 11);
    EXPECT_EQ(bound[1][0], 30.5);
    EXPECT_EQ(bound[1][1], 35);
    iplGetPerspectiveBound(image.get(), identity3, bound);
    EXPECT_EQ(bound[0][0], 0);
    EXPECT_EQ(bound[0][1], 0);
    EXPECT_EQ(bound[1][0], 9);
    EXPECT_EQ(bound[1][1], 5);
}

TEST(IplGetBound, PassesAFailureOnAsABackTrace)
{
    const RecordedReports reports;
    double bound[2][2]{{7, 7}, {7, 7}};
    iplGetAffineBound(nullptr, identity2, bound);
    iplGetPerspectiveBound(nullptr, identity3, bound);
    EXPECT_EQ(reports.all(), (std::vector<Report>{
                                 {-9, "iplGetAffineQuad", "Incorrect Image", "iplwarp"},
                                 {-1, "iplGetAffineBound", "", "iplwarp"},
                                 {-9, "iplGetPerspectiveQuad", "Incorrect Image", "iplwarp"},
                                 {-1, "iplGetPerspectiveBound", "", "iplwarp"},
                             }));
    EXPECT_EQ(bound[0][0], 7);
    EXPECT_EQ(bound[1][1], 7);
}

TEST(IplGetBound, EndsTheProcessForAFailureThatWasLeftBehind)
{
    const CleanStatus clean;
    const Image image = makeImage(10, 6, 3, IPL_DEPTH_8U);
    double bound[2][2]{};
    iplSetStatus(-25);
    EXPECT_REPORT(iplGetAffineBound(image.get(), identity2, bound), -1, "iplGetAffineBound", "",
                  "iplwarp");
    EXPECT_REPORT(iplGetPerspectiveBound(image.get(), identity3, bound), -1,
                  "iplGetPerspectiveBound", "", "iplwarp");
}

// --- Coefficients from a quadrangle ------------------------------------------------------------

TEST(IplGetPerspectiveTransform, TakesTheRegionToTheQuadrangle)
{
    const Image image = makeImage(10, 6, 1, IPL_DEPTH_8U);
    const Quad quad{{{3, 4}, {50, 9}, {42, 33}, {-5, 27}}};
    double coeffs[3][3];
    iplGetPerspectiveTransform(image.get(), coeffs, quad.at);
    Quad back{};
    iplGetPerspectiveQuad(image.get(), coeffs, back.at);
    for (int32_t i = 0; i < 8; ++i)
        EXPECT_NEAR(back.at[i / 2][i % 2], quad.at[i / 2][i % 2], 1e-12);
    const Quad other = reversed(quad);
    iplGetPerspectiveTransform(image.get(), coeffs, other.at);
    iplGetPerspectiveQuad(image.get(), coeffs, back.at);
    EXPECT_NEAR(back.at[1][0], -5, 1e-12);
}

TEST(IplGetPerspectiveTransform, RefusesTheQuadrangleBeforeTheRegion)
{
    const Image image = makeImage(1, 6, 1, IPL_DEPTH_8U);
    setRoi(image.get(), 0, 7, 7, 1, 1);
    double coeffs[3][3]{{7}};
    const char* const name = "iplGetPerspectiveTransform";
    EXPECT_REPORT(iplGetPerspectiveTransform(nullptr, coeffs, sentinel().at), -9, name,
                  "Incorrect Image", "iplwarp");
    EXPECT_REPORT(iplGetPerspectiveTransform(image.get(), coeffs, boxQuad(1, 1, 1, 1).at), -5, name,
                  "Quadrangle is degenerate to triangle or length or point", "iplwarp");
    const Quad concave{{{0, 0}, {10, 0}, {2, 2}, {0, 10}}};
    EXPECT_REPORT(iplGetPerspectiveTransform(image.get(), coeffs, concave.at), -5, name,
                  "Quadrangle is concave", "iplwarp");
    const Quad good = boxQuad(1, 1, 9, 9);
    EXPECT_REPORT(iplGetPerspectiveTransform(image.get(), coeffs, good.at), -5, name,
                  "Bad rect ROI", "iplwarp");
    setRoi(image.get(), 0, 0, 0, 1, 6);
    EXPECT_REPORT(iplGetPerspectiveTransform(image.get(), coeffs, good.at), -5, name,
                  "image Rectangle ROI is degenerate to length or point", "iplwarp");
    const Image flat = makeImage(6, 1, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplGetPerspectiveTransform(flat.get(), coeffs, good.at), -5, name,
                  "image Rectangle ROI is degenerate to length or point", "iplwarp");
    const RecordedReports reports;
    iplGetPerspectiveTransform(flat.get(), coeffs, good.at);
    iplGetPerspectiveTransform(flat.get(), coeffs, concave.at);
    EXPECT_EQ(reports.all().size(), 2u);
    EXPECT_EQ(coeffs[0][0], 7);
}

// --- Turns about a centre
// -------------------------------------------------------------------------

TEST(IplGetRotateShift, IsExactAtRightAngles)
{
    expectShift(30, 7, 0, 0, 0);
    expectShift(30, 7, 360, 0, 0);
    expectShift(30, 7, 90, 23, 37);
    expectShift(30, 7, 180, 60, 14);
    expectShift(30, 7, 270, 37, -23);
    expectShift(30, 7, 450, 23, 37);
    expectShift(30, 7, -90, 37, -23);
    expectShift(30, 7, -270, 23, 37);
}

TEST(IplGetRotateShift, TakesTheTurnAtOtherAngles)
{
    // Sine and cosine of 30 degrees: 1/2 and the root of 3/4, to the last bit.
    const double sine = 0x1.fffffffffffffp-2;
    const double cosine = 0x1.bb67ae8584cabp-1;
    expectShift(30, 7, 30, (30 - cosine * 30) - 7 * sine, (sine * 30 + 7) - 7 * cosine);
    // The centre stays where it is.
    const Shift shift = rotateShift(12, 34, 77.5);
    const double t = 77.5 * 0.017453292519943295;
    EXPECT_NEAR(std::cos(t) * 12 + std::sin(t) * 34 + shift.x - 1000, 12, 1e-11);
    EXPECT_NEAR(-std::sin(t) * 12 + std::cos(t) * 34 + shift.y - 2000, 34, 1e-11);
}

TEST(IplGetRotateShift, TakesAnglesThatAreNoNumbers)
{
    EXPECT_TRUE(std::isnan(rotateShift(3, 4, std::numeric_limits<double>::quiet_NaN()).x));
    EXPECT_TRUE(std::isnan(rotateShift(3, 4, std::numeric_limits<double>::infinity()).y));
    EXPECT_TRUE(std::isfinite(rotateShift(3, 4, 1e300).x));
}

// --- Refusals of the warps
// --------------------------------------------------------------------------

namespace
{

constexpr const char* modeText = "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR "
                                 "&& interpolate != IPL_INTER_CUBIC";
constexpr const char* channelsText = "Number of processed channels of srcImage != "
                                     "Number of processed channels of dstImage";
const Quad goodQuad = boxQuad(0, 0, 5, 5);

void warpAffine(IplImage* src, IplImage* dst, int32_t interpolate = 0)
{
    iplWarpAffine(src, dst, identity2, interpolate);
}
void warpQuad(IplImage* src, IplImage* dst, int32_t interpolate = 0, int32_t warpFlag = 0)
{
    iplWarpPerspectiveQ(src, dst, goodQuad.at, warpFlag, interpolate);
}

} // namespace

TEST(IplWarp, RefusesABadImageAtOnce)
{
    const Image image = makeImage(6, 6, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(warpAffine(nullptr, image.get()), -9, "iplWarpAffine", "Incorrect Image",
                  "iplwarp");
    EXPECT_REPORT(warpQuad(image.get(), nullptr), -9, "iplWarpPerspectiveQ", "Incorrect Image",
                  "iplwarp");
    const RecordedReports reports;
    warpQuad(nullptr, nullptr, 9, 9);
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{{-9, "iplWarpPerspectiveQ", "Incorrect Image", "iplwarp"}}));
}

TEST(IplWarp, ReportsEveryDifferenceBeforeItGivesUp)
{
    const Image src = makeImage(6, 6, 3, IPL_DEPTH_8S);
    const Image dst = makeImage(6, 6, 3, IPL_DEPTH_8U, IPL_DATA_ORDER_PLANE, 4, 0, IPL_ORIGIN_BL);
    const std::vector<const char*> texts{
        "srcImage->depth != dstImage->depth", "srcImage->origin != dstImage->origin",
        "srcImage->dataOrder != dstImage->dataOrder", "srcImage->depth & IPL_DEPTH_SIGN"};
    const RecordedReports reports;
    warpAffine(src.get(), dst.get(), 3);
    ASSERT_EQ(reports.all().size(), 4u);
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(reports.all()[i], (Report{-5, "iplWarpAffine", texts[i], "iplwarp"}));
    warpQuad(src.get(), dst.get(), 3, 2);
    ASSERT_EQ(reports.all().size(), 9u);
    EXPECT_EQ(reports.all()[8],
              (Report{-5, "iplWarpPerspectiveQ", "warpFlag != 0 && warpFlag != 1", "iplwarp"}));
}

TEST(IplWarp, ChecksTheFlagBeforeThePlace)
{
    const Image image = makeImage(6, 6, 3, IPL_DEPTH_8U);
    const char* const text = "This function is not in-place function";
    EXPECT_REPORT(warpAffine(image.get(), image.get()), -5, "iplWarpAffine", text, "iplwarp");
    const RecordedReports reports;
    warpQuad(image.get(), image.get(), 0, -1);
    EXPECT_EQ(reports.all(), (std::vector<Report>{{-5, "iplWarpPerspectiveQ",
                                                   "warpFlag != 0 && warpFlag != 1", "iplwarp"},
                                                  {-5, "iplWarpPerspectiveQ", text, "iplwarp"}}));
}

TEST(IplWarp, TakesAnyOrderForBitsAndSingleChannels)
{
    const RecordedReports reports;
    for (const uint32_t depth : {IPL_DEPTH_1U, IPL_DEPTH_8U}) {
        const Image src = makeImage(6, 6, 1, depth);
        const Image dst = makeImage(6, 6, 1, depth, IPL_DATA_ORDER_PLANE);
        putElement(src.get(), 4, 3, 0, 1);
        warpAffine(src.get(), dst.get());
        EXPECT_EQ(element(dst.get(), 4, 3, 0), 1);
    }
    EXPECT_TRUE(reports.all().empty());
}

TEST(IplWarp, RefusesOtherModes)
{
    const Image src = makeImage(6, 6, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(6, 6, 1, IPL_DEPTH_8U);
    for (const int32_t mode : {3, -1, 19, 32, 18 + 32}) {
        const RecordedReports reports;
        warpAffine(src.get(), dst.get(), mode);
        iplSetStatus(0);
        warpQuad(src.get(), dst.get(), mode);
        EXPECT_EQ(reports.all(),
                  (std::vector<Report>{{-5, "iplWarpAffine", modeText, "iplwarp"},
                                       {-5, "iplWarpPerspectiveQ", modeText, "iplwarp"}}))
            << mode;
        EXPECT_EQ(iplGetStatus(), -5);
    }
    EXPECT_REPORT(warpQuad(src.get(), dst.get(), 3, 1), -5, "iplWarpPerspectiveQ", modeText,
                  "iplwarp");
    const RecordedReports reports;
    for (const int32_t mode : {0, 1, 2, 16, 17, 18})
        warpAffine(src.get(), dst.get(), mode);
    EXPECT_TRUE(reports.all().empty());
}

TEST(IplWarpAffine, RefusesAMatrixWithoutAnInverse)
{
    const Image src = makeImage(6, 6, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(6, 6, 1, IPL_DEPTH_8U);
    const char* const text = "Determinant of transform matrix == 0.0";
    const double flat[2][3]{{1, 2, 0}, {2, 4, 0}};
    EXPECT_REPORT(iplWarpAffine(src.get(), dst.get(), flat, 0), -5, "iplWarpAffine", text,
                  "iplwarp");
    const double tiny[2][3]{{-1e-7, 0, 0}, {0, 1, 0}};
    EXPECT_REPORT(iplWarpAffine(src.get(), dst.get(), tiny, 7), -5, "iplWarpAffine", text,
                  "iplwarp");
    const double noNumber[2][3]{{notANumber, 0, 0}, {0, 1, 0}};
    EXPECT_REPORT(iplWarpAffine(src.get(), dst.get(), noNumber, 0), -5, "iplWarpAffine", text,
                  "iplwarp");
    const double small[2][3]{{1.5e-7, 0, 0}, {0, 1, 0}};
    const RecordedReports reports;
    iplWarpAffine(src.get(), dst.get(), small, 0);
    EXPECT_TRUE(reports.all().empty());
}

TEST(IplWarpAffine, PassesOnThatTheRegionIsOutside)
{
    const Image src = makeImage(6, 6, 1, IPL_DEPTH_8U);
    setRoi(src.get(), 0, 6, 0, 2, 2);
    const Image dst = makeImage(6, 6, 1, IPL_DEPTH_8U);
    const RecordedReports reports;
    warpAffine(src.get(), dst.get(), 7);
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{{-5, "iplGetAffineQuad", "Bad rect ROI", "iplwarp"},
                                   {-1, "iplWarpAffine", "", "iplwarp"}}));
}

TEST(IplWarpPerspectiveQ, RefusesTheQuadrangleBeforeTheMode)
{
    const Image src = makeImage(6, 6, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(6, 6, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(iplWarpPerspectiveQ(src.get(), dst.get(), boxQuad(1, 1, 1, 4).at, 0, 7), -5,
                  "iplWarpPerspectiveQ", "Quadrangle is degenerate to triangle or length or point",
                  "iplwarp");
    const Quad concave{{{0, 0}, {10, 0}, {2, 2}, {0, 10}}};
    EXPECT_REPORT(iplWarpPerspectiveQ(src.get(), dst.get(), concave.at, 1, 7), -5,
                  "iplWarpPerspectiveQ", "Quadrangle is concave", "iplwarp");
}

TEST(IplWarpPerspective, TakesTheQuadrangleOfTheSourceOrTheDestination)
{
    Random random(1);
    const Image src = makeImage(9, 7, 3, IPL_DEPTH_8U);
    randomise(src.get(), random);
    const double coeffs[3][3]{{1.2, 0.1, 2}, {0.2, 0.9, 1}, {0.001, 0.002, 1}};
    for (int32_t warpFlag = 0; warpFlag < 2; ++warpFlag) {
        const Image byCoeffs = makeImage(14, 10, 3, IPL_DEPTH_8U);
        const Image byQuad = makeImage(14, 10, 3, IPL_DEPTH_8U);
        Quad quad{};
        iplGetPerspectiveQuad(warpFlag ? byQuad.get() : src.get(), coeffs, quad.at);
        iplWarpPerspective(src.get(), byCoeffs.get(), coeffs, warpFlag, 1);
        iplWarpPerspectiveQ(src.get(), byQuad.get(), quad.at, warpFlag, 1);
        EXPECT_EQ(bytesOf(byCoeffs.get()), bytesOf(byQuad.get()));
        EXPECT_NE(bytesOf(byQuad.get()), std::vector<uint8_t>(byQuad->imageSize, 0));
    }
}

TEST(IplWarpPerspective, PassesFailuresOn)
{
    const Image src = makeImage(6, 6, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(6, 6, 1, IPL_DEPTH_8U);
    const RecordedReports reports;
    iplWarpPerspective(nullptr, dst.get(), identity3, 0, 0);
    iplSetStatus(0);
    iplWarpPerspective(src.get(), nullptr, identity3, 5, 0);
    iplSetStatus(0);
    iplWarpPerspective(src.get(), dst.get(), identity3, 5, 0);
    EXPECT_EQ(reports.all(),
              (std::vector<Report>{
                  {-9, "iplGetPerspectiveQuad", "Incorrect Image", "iplwarp"},
                  {-1, "iplWarpPerspective", "", "iplwarp"},
                  {-9, "iplGetPerspectiveQuad", "Incorrect Image", "iplwarp"},
                  {-1, "iplWarpPerspective", "", "iplwarp"},
                  {-5, "iplWarpPerspectiveQ", "warpFlag != 0 && warpFlag != 1", "iplwarp"},
                  {-1, "iplWarpPerspective", "", "iplwarp"},
              }));
}

TEST(IplWarp, LeavesSilentlyAfterAFailureThatWasLeftBehind)
{
    const CleanStatus clean;
    const Image src = makeImage(6, 6, 1, IPL_DEPTH_8U);
    iplSet(src.get(), 9);
    const Image dst = makeImage(6, 6, 1, IPL_DEPTH_8U);
    iplSetStatus(-25);
    warpAffine(src.get(), dst.get());
    warpQuad(src.get(), dst.get());
    EXPECT_EQ(iplGetStatus(), -25);
    EXPECT_EQ(element(dst.get(), 3, 3, 0), 0);
    EXPECT_REPORT(iplWarpPerspective(src.get(), dst.get(), identity3, 0, 0), -1,
                  "iplWarpPerspective", "", "iplwarp");
}

TEST(IplWarp, RefusesRegionsOfOneColumnOrRow)
{
    const Image src = makeImage(6, 6, 1, IPL_DEPTH_8U);
    const Image dst = makeImage(6, 6, 1, IPL_DEPTH_8U);
    setRoi(src.get(), 0, 2, 0, 1, 6);
    const char* const srcText = "srcImage Rectangle ROI is degenerate to length or point";
    EXPECT_REPORT(warpAffine(src.get(), dst.get()), -5, "iplWarpAffine", srcText, "iplwarp");
    EXPECT_REPORT(warpQuad(src.get(), dst.get()), -5, "iplWarpPerspectiveQ", srcText, "iplwarp");
    setRoi(src.get(), 0, 0, 5, 6, 4);
    EXPECT_REPORT(warpAffine(src.get(), dst.get()), -5, "iplWarpAffine", srcText, "iplwarp");
    // The other way round it is the destination's that counts.
    const Image column = makeImage(6, 1, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(warpQuad(src.get(), column.get(), 0, 1), -5, "iplWarpPerspectiveQ",
                  "dstImage Rectangle ROI is degenerate to length or point", "iplwarp");
    const RecordedReports reports;
    warpQuad(src.get(), dst.get(), 0, 1);
    EXPECT_TRUE(reports.all().empty());
}

TEST(IplWarp, RefusesChannelsThatDoNotMatch)
{
    const Image three = makeImage(6, 6, 3, IPL_DEPTH_8U);
    const Image one = makeImage(6, 6, 1, IPL_DEPTH_8U);
    EXPECT_REPORT(warpAffine(three.get(), one.get()), -5, "iplWarpAffine", channelsText, "iplwarp");
    for (const int32_t warpFlag : {0, 1})
        EXPECT_REPORT(warpQuad(three.get(), one.get(), 0, warpFlag), -5, "iplWarpPerspectiveQ",
                      channelsText, "iplwarp");
    setRoi(three.get(), 2, 0, 0, 6, 6);
    putElement(three.get(), 3, 3, 1, 9);
    const RecordedReports reports;
    warpAffine(three.get(), one.get());
    EXPECT_EQ(element(one.get(), 3, 3, 0), 9);
    // Alpha takes no part: 4 channels with it go onto 3.
    const Image alpha = makeImage(6, 6, 4, IPL_DEPTH_8U, IPL_DATA_ORDER_PIXEL, 4, 4);
    const Image other = makeImage(6, 6, 3, IPL_DEPTH_8U);
    putElement(alpha.get(), 2, 1, 2, 8);
    warpQuad(alpha.get(), other.get());
    EXPECT_EQ(element(other.get(), 2, 1, 2), 8);
    EXPECT_TRUE(reports.all().empty());
}

TEST(IplWarp, DoesNothingForADestinationRegionOutsideTheImage)
{
    const Image src = makeImage(6, 6, 1, IPL_DEPTH_8U);
    iplSet(src.get(), 9);
    const Image dst = makeImage(6, 6, 1, IPL_DEPTH_8U);
    setRoi(dst.get(), 0, 6, 6, 3, 3);
    const RecordedReports reports;
    warpAffine(src.get(), dst.get());
    warpQuad(src.get(), dst.get(), 0, 0);
    warpQuad(src.get(), dst.get(), 0, 1);
    setRoi(src.get(), 0, 6, 6, 3, 3);
    warpQuad(src.get(), dst.get(), 0, 0);
    EXPECT_TRUE(reports.all().empty());
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(makeImage(6, 6, 1, IPL_DEPTH_8U).get()));
}

TEST(IplWarp, SmoothsOnlyQuadranglesOnRectangles)
{
    Random random(2);
    const Image src = makeImage(9, 9, 1, IPL_DEPTH_8U);
    randomise(src.get(), random);
    const Quad quad{{{1, 0}, {7, 1}, {8, 7}, {0, 8}}};
    for (int32_t warpFlag = 0; warpFlag < 2; ++warpFlag) {
        const Image hard = makeImage(9, 9, 1, IPL_DEPTH_8U);
        const Image soft = makeImage(9, 9, 1, IPL_DEPTH_8U);
        iplWarpPerspectiveQ(src.get(), hard.get(), quad.at, warpFlag, 1);
        iplWarpPerspectiveQ(src.get(), soft.get(), quad.at, warpFlag, 17);
        EXPECT_EQ(bytesOf(hard.get()) == bytesOf(soft.get()), warpFlag == 1);
    }
}
