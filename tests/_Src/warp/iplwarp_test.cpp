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
